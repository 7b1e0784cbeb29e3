#include "zvgctl/connection.h"

#include <util_zvg.h>

#include <algorithm>
#include <utility>

#include "service/number.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/library_text.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr unsigned longest_deadline = 86400;
constexpr unsigned longest_wait = 86400;

// Serial lines take thousands of characters for what a bus does in a moment.
constexpr unsigned serial_deadline = 300;

unsigned deadline_seconds(const Context& context, unsigned default_deadline, Door door) {
  if (!context.deadline.empty()) {
    return static_cast<unsigned>(parse_number("--deadline", context.deadline, longest_deadline));
  }
  const bool slow = door == Door::serial && default_deadline != 0;
  return slow ? std::max(serial_deadline, default_deadline) : default_deadline;
}

// What comes before the board is opened.
Route prepare(const Context& context, unsigned default_deadline) {
  Route route = parse_connection(context.connection);
  const unsigned deadline = deadline_seconds(context, default_deadline, route.door);
  if (context.json) reserve_stdout_for_json();
  if (deadline != 0) zvgctl::set_deadline(deadline);
  return route;
}

std::chrono::seconds deadline(const Context& context, unsigned default_deadline) {
  const Door door = parse_connection(context.connection).door;
  return std::chrono::seconds(deadline_seconds(context, default_deadline, door));
}

std::chrono::seconds wait(const Context& context) {
  if (context.wait.empty()) return std::chrono::seconds(0);
  return std::chrono::seconds(parse_number("--wait", context.wait, longest_wait));
}

zvg::DeadBoard policy(const Context& context) {
  return context.shows_dead || context.dead_ok ? zvg::DeadBoard::shown : zvg::DeadBoard::refused;
}

std::optional<zvg::Error> shown_dead;

}  // namespace

Connection::Connection(const Context& context, unsigned default_deadline, bool any_chip)
    : Board(prepare(context, default_deadline), {.transport = context.transport(),
                                                 .any_chip = any_chip,
                                                 .log = print_library_text,
                                                 .deadline = deadline(context, default_deadline),
                                                 .stop = &board_stop(),
                                                 .dead_board = policy(context),
                                                 .only_reads = context.only_reads,
                                                 .wait = wait(context),
                                                 .identity = virtual_board_identity()}),
      dead_ok_(context.dead_ok) {
  // On the virtual board the line ends inside this process and goes with it.
  if (door() == Door::serial && !on_virtual_board()) leave_at_9600_when_interrupted(descriptor());
}

Connection::~Connection() {
  if (const auto found = dead()) {
    if (dead_ok_) {
      warn("warning: %s", found->what());
    } else {
      shown_dead = found;
    }
  }
  zvgctl::set_deadline(0);
  leave_at_9600_when_interrupted(-1);
}

std::optional<zvg::Error> found_dead_board() {
  return std::exchange(shown_dead, std::nullopt);
}

void Connection::set_deadline(std::chrono::seconds limit) {
  Board::set_deadline(limit);
  zvgctl::set_deadline(static_cast<unsigned>(limit.count()));
}

std::string Connection::generation_name() const {
  // Through the driver RQ300 and RQ301 are the same.
  return zvg::generation_name(generation());
}

}  // namespace zvgctl
