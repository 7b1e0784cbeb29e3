#include "zvgctl/terminal/interrupts.h"

#include <errno.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <termios.h>
#include <unistd.h>

#include <exception>
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
volatile sig_atomic_t board_is_open = 0;
volatile sig_atomic_t stopped_by = 0;  // the signal
volatile sig_atomic_t late_ticks = 0;

zvg::Stop stop;

// A signal that comes just before a wait does not end it: the next one does.
constexpr long tick_us = 250'000;
constexpr int patience_ticks = 40;

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
    ioctl(serial_fd, TIOCNXCL);
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

void tick_after(unsigned seconds, long microseconds) {
  const bool never = seconds == 0 && microseconds == 0;
  const itimerval timer = {{0, never ? 0 : tick_us},
                           {static_cast<time_t>(seconds), static_cast<suseconds_t>(microseconds)}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

void stop_board() {
  const int saved_errno = errno;
  stop.request(zvg::Stop::Cause::cancelled);
  tick_after(0, tick_us);
  errno = saved_errno;
}

void stop_or_end(int signal_number) {
  if (board_is_open == 0 || stopped_by != 0) {
    end_by_signal(signal_number);
    return;
  }
  stopped_by = signal_number;
  stop_board();
}

void on_tick(int) {
  const int saved_errno = errno;
  stop.request(zvg::Stop::Cause::deadline);  // unless it was stopped before
  late_ticks = late_ticks + 1;
  if (stop.cause() == zvg::Stop::Cause::deadline && late_ticks > patience_ticks) {
    tidy_up();
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, deadline_text, deadline_size);
    _exit(1);
  }
  errno = saved_errno;
}

constexpr int stopping_signals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int noticed_signals[] = {SIGINT, SIGTERM};

// Waits end by it: there is no SA_RESTART.
void handle(int signal_number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigaction(signal_number, &action, nullptr);
}

}  // namespace

void catch_interrupts() {
  for (const int signal_number : {SIGQUIT, SIGPIPE}) handle(signal_number, end_by_signal);
  for (const int signal_number : stopping_signals) handle(signal_number, stop_or_end);
}

zvg::Stop& board_stop() {
  return stop;
}

StoppableBoard::StoppableBoard() {
  board_is_open = 1;
}

StoppableBoard::~StoppableBoard() {
  board_is_open = 0;
}

void end_as_interrupted() {
  if (stopped_by != 0) end_by_signal(stopped_by);
}

void catch_terminate() {
  std::set_terminate([] {
    tidy_up();
    constexpr char text[] = "zvgctl: internal error: an exception had nowhere to go\n";
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text, sizeof text - 1);
    _exit(1);
  });
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

InterruptNotice::InterruptNotice(Board board) {
  static volatile sig_atomic_t stops = 0;
  notices = 0;
  stops = board == Board::stopped ? 1 : 0;
  for (const int signal_number : noticed_signals) {
    handle(signal_number, [](int number) {
      notices = 1;
      if (stops != 0) stop_board();
      handle(number, end_by_signal);
    });
  }
}

InterruptNotice::~InterruptNotice() {
  for (const int signal_number : noticed_signals) handle(signal_number, stop_or_end);
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
  handle(SIGALRM, on_tick);
  tick_after(seconds, 0);
}

}  // namespace zvgctl
