// A record of every access made to the board.
#ifndef ZVGSIM_BOARD_ACCESS_TRACE_H
#define ZVGSIM_BOARD_ACCESS_TRACE_H

#include <stdio.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "board/space.h"

namespace zvgsim {

struct Access {
  Space space = Space::mmio;
  bool write = false;
  unsigned width = 0;   // bytes
  uint64_t offset = 0;  // inside the space
  uint64_t value = 0;   // read or written
  unsigned card = 0;
  std::string note = {};  // something other than an access; the fields above mean nothing then

  // "r4 mmio 0x110105 0x2", "w1 mmio 0x103d4 0xb0"; "card 1: " in front for any card but the
  // first; "# " in front of a note.
  std::string text() const;
  bool operator==(const Access&) const = default;
};

// Off at first; costs nothing then. What is recorded is kept in memory, or goes to a file as
// text, one line each, when there is one.
class AccessTrace {
 public:
  bool on() const { return on_; }
  void start() { on_ = true; }
  void stop() { on_ = false; }

  // Starts, with everything going to file, unbuffered by line. The file stays the caller's.
  void start(FILE* file);

  void record(const Access& access);
  void note(std::string_view text);

  const std::vector<Access>& entries() const { return entries_; }
  // The entries as text, one line each, without newlines.
  std::vector<std::string> lines() const;
  void clear() { entries_.clear(); }
  // The lines since the last call, and forgets them.
  std::vector<std::string> take();

 private:
  bool on_ = false;
  FILE* file_ = nullptr;
  std::vector<Access> entries_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_ACCESS_TRACE_H
