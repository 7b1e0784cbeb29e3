// Whether the board is there at all: a card that is off the bus, powered down, or somewhere else
// than was thought reads as ones, everywhere.
#ifndef ZVG_SERVICE_BOARD_LIVENESS_H
#define ZVG_SERVICE_BOARD_LIVENESS_H

#include <cstdint>
#include <optional>

#include "service/board/error.h"
#include "service/board/route.h"

namespace zvg {

// What to do about a board that is dead: end what goes on with it, or let it see what it reads.
enum class DeadBoard { refused, shown };

// One read of anything else than ones shows that the board is there, and nothing more is read.
// Until then, whoever reads ones, or is about to change something, makes it ask: three registers,
// of which none reads as ones on any chip.
class Liveness {
 public:
  // only_reads: what is written is but a means of reading.
  Liveness(Door door, DeadBoard policy, bool only_reads)
      : door_(door), policy_(policy), only_reads_(only_reads) {}

  // The board gave that value, width bytes wide. May ask.
  void saw(uint64_t value, unsigned width) {
    if (!seen_) look_at(value, width);
  }
  // Something is about to be written. May ask.
  void before_write() {
    if (!only_reads_ && !seen_ && !asked_) ask();
  }
  // Asks, the first time; throws an Error (dead_board) when the board is dead and that is refused.
  void ask();

  // That error when it was found dead.
  std::optional<Error> dead() const;

 private:
  void look_at(uint64_t value, unsigned width);

  const Door door_;
  const DeadBoard policy_;
  const bool only_reads_;
  bool seen_ = false;
  bool asked_ = false;
  bool dead_ = false;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_LIVENESS_H
