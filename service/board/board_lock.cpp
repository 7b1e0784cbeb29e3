// Who may use the board, and who may not meanwhile.
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <util_zvg.h>

#include "service/board/board.h"
#include "service/board/identity.h"

namespace zvg {

void Board::lock_line() {
  locks_.push_back(Lock::on_node(route_.device, "the serial line " + route_.device, patience()));
}

// Those who do not ask for locks, such as a terminal program, cannot open the line either. Not a
// pseudo-terminal: there it would outlive a killed holder.
void Board::claim_line(bool claimed) const {
  struct stat status;
  if (isatty(descriptor_) == 0 || fstat(descriptor_, &status) != 0) return;
  constexpr unsigned first_pty = 136, last_pty = 143;
  const unsigned kind = major(status.st_rdev);
  if (kind < first_pty || kind > last_pty) ioctl(descriptor_, claimed ? TIOCEXCL : TIOCNXCL);
}

void Board::lock_exclusively() {
  if (door() == Door::serial || !locks_.empty()) return;
  if (identity_.empty()) return lock_by_pci(patience());
  // Names of files are short and without slashes.
  const auto number = static_cast<unsigned long long>(std::hash<std::string>()(identity_));
  locks_.push_back(Lock::on_name(format("board-%016llx", number), "the board",
                                 Lock::Kind::exclusive, patience()));
}

// The driver tells the place of its first card only. Who cannot tell which board it is keeps all
// others away, and they it.
void Board::lock_by_pci(const Patience& patience) {
  constexpr uint32_t first_bar = 0x10, end_of_bars = 0x28;
  std::vector<uint64_t> places;
  if (door() == Door::memory) places.push_back(route_.registers.base);
  if (door() == Door::driver && route_.card == 0) {
    std::vector<uint32_t> words;
    probing([&] {
      for (uint32_t at = first_bar; at < end_of_bars; at += 4) {
        uint32_t word = 0;
        if (zvgPciRead(at, &word) == 0) words.push_back(word);
      }
    });
    places = memory_bars(words);
  }
  std::optional<std::string> function;
  for (const uint64_t place : places) {
    if (!function) function = pci_function_at(place);
  }
  locks_.push_back(Lock::on_name("boards", "the board",
                                 function ? Lock::Kind::shared : Lock::Kind::exclusive, patience));
  if (function) {
    locks_.push_back(Lock::on_name("board-" + *function, "the board at " + *function,
                                   Lock::Kind::exclusive, patience));
  }
}

}  // namespace zvg
