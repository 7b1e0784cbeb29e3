// The body of a thread that samples the AXI monitors of RQ302 for ever.
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include "monitor/rq302_registers.h"
#include "util_zvg.h"

namespace zvg::monitor::rq302 {

namespace {

constexpr uint32_t serial_period = 300000000;
constexpr uint32_t serial_control = 20;

constexpr int sleep_ms = 250;
constexpr int serial_sleep_ms = 0;  // the link itself is slow enough

constexpr uint32_t samples_a_dot = 1000;

// The one place where the thread can be cancelled, if its caller lets it be cancelled at all.
void sleep_cancellably(useconds_t microseconds, int callers_state) {
  pthread_setcancelstate(callers_state, nullptr);
  usleep(microseconds);
  pthread_testcancel();  // whatever a sleep of nothing does
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}

}  // namespace

}  // namespace zvg::monitor::rq302

void* zvg_thread_rq302monitor(void* suffix) {
  using namespace zvg::monitor::rq302;
  // A pass that ended half-way would leave a file open, and rows cut off or missing.
  int callers_state = PTHREAD_CANCEL_ENABLE;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &callers_state);
  const bool serial = get_s_type() == ZVG_MODE_SERIAL;
  if (serial) {
    uint32_t now = 0;
    zvgRegWriteLong(address_of(axi::period), serial_period);
    zvgRegWriteLong(address_of(axi::control), serial_control);
    zvgRegReadLong(address_of(axi::period), &now);
    printf("now_cycly_time: %d\n", static_cast<int>(now));
  }
  const int pause_ms = serial ? serial_sleep_ms : sleep_ms;
  printf("log_cycles: %d ms\n\r", pause_ms);
  for (uint32_t n = 0;; ++n) {
    sleep_cancellably(static_cast<useconds_t>(pause_ms) * 1000, callers_state);
    zvgMonitorAxiTrans_RQ302(n, static_cast<const char*>(suffix));
    printf("cycle times :%d\n\r", static_cast<int>(n + 1));
    if ((n + 1) % samples_a_dot == 0) printf(".\n\r");
  }
}
