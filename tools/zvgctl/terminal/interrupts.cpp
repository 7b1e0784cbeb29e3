#include "zvgctl/terminal/interrupts.h"

#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include <initializer_list>

namespace zvgctl {

namespace {

// All of this is read by signal handlers: fixed storage, and only calls that are safe there.
char partial_file[4096];
volatile sig_atomic_t serial_fd = -1;
char deadline_text[256];
size_t deadline_size = 0;
char terminal_text[256];
termios terminal_settings;
volatile sig_atomic_t notices = 0;

// The board's UART runs from 27 MHz; its divisor for 9600 baud is 2812.
constexpr uint8_t lead_in_frame[11] = {0xFF};
constexpr uint8_t divisor_9600_frame[11] = {0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0x0A, 0xFC};

void tidy_up() {
  if (terminal_text[0] != '\0') {
    [[maybe_unused]] const ssize_t ignored =
        write(STDOUT_FILENO, terminal_text, strlen(terminal_text));
    tcsetattr(STDOUT_FILENO, TCSANOW, &terminal_settings);
  }
  if (partial_file[0] != '\0') unlink(partial_file);
  if (serial_fd >= 0) {
    // Nothing can be done about a line that takes nothing any more.
    if (write(serial_fd, lead_in_frame, sizeof lead_in_frame) > 0) {
      [[maybe_unused]] const ssize_t ignored =
          write(serial_fd, divisor_9600_frame, sizeof divisor_9600_frame);
    }
  }
}

void end_by_signal(int signal_number) {
  tidy_up();
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

void end_by_deadline(int) {
  tidy_up();
  [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, deadline_text, deadline_size);
  _exit(1);
}

constexpr int noticed_signals[] = {SIGINT, SIGTERM};

void handle(int signal_number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(signal_number, &action, nullptr);
}

}  // namespace

void catch_interrupts() {
  for (const int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
    handle(signal_number, end_by_signal);
}

void remove_when_interrupted(const char* path) {
  partial_file[0] = '\0';
  if (path != nullptr && strlen(path) < sizeof partial_file) strcpy(partial_file, path);
}

void leave_at_9600_when_interrupted(int fd) {
  serial_fd = fd;
}

void restore_terminal_when_interrupted(const char* text) {
  terminal_text[0] = '\0';
  if (text == nullptr || strlen(text) >= sizeof terminal_text) return;
  if (tcgetattr(STDOUT_FILENO, &terminal_settings) == 0) strcpy(terminal_text, text);
}

InterruptNotice::InterruptNotice() {
  notices = 0;
  struct sigaction action = {};  // without SA_RESTART
  action.sa_handler = [](int signal_number) {
    notices = 1;
    handle(signal_number, end_by_signal);
  };
  for (const int signal_number : noticed_signals) sigaction(signal_number, &action, nullptr);
}

InterruptNotice::~InterruptNotice() {
  for (const int signal_number : noticed_signals) handle(signal_number, end_by_signal);
}

bool InterruptNotice::came() {
  return notices != 0;
}

void set_deadline(unsigned seconds) {
  const int size = snprintf(deadline_text, sizeof deadline_text,
                            "zvgctl: not done within the deadline of %u s, gave up: the board does "
                            "not answer as it should, or needs a longer --deadline (0 for none)\n",
                            seconds);
  deadline_size = size > 0 ? static_cast<size_t>(size) : 0;
  handle(SIGALRM, end_by_deadline);
  alarm(seconds);
}

}  // namespace zvgctl
