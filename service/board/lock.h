// Keeps two processes apart that would spoil each other's work on a board.
#ifndef ZVG_SERVICE_BOARD_LOCK_H
#define ZVG_SERVICE_BOARD_LOCK_H

#include <chrono>
#include <string>

#include "service/board/stop.h"

namespace zvg {

// How long to wait for another process's end, and what ends the wait.
struct Patience {
  std::chrono::seconds wait{0};
  const Stop* stop = nullptr;
};

// A lock of the whole system on a file, which the kernel takes back however its holder ends.
// Advisory: it counts among those who ask for it, root too.
class Lock {
 public:
  enum class Kind { exclusive, shared };

  Lock() = default;  // of nothing
  // On a node that is there. what: for "WHAT is in use by process N (name)". Throws an Error
  // (busy) when somebody else has it; (not_connected) when it cannot be opened.
  static Lock on_node(const std::string& path, const std::string& what, const Patience& patience);
  // On a name, which is a file in a folder that every user shares.
  static Lock on_name(const std::string& name, const std::string& what, Kind kind,
                      const Patience& patience, const std::string& folder = lock_folder());

  ~Lock();
  Lock(Lock&& other) noexcept;
  Lock& operator=(Lock&& other) noexcept;

  // The folder of the names: the system's, because root and other users have to meet there; else
  // the user's own.
  static std::string lock_folder();

 private:
  explicit Lock(int fd) : fd_(fd) {}
  static Lock wait_for(int fd, const std::string& what, Kind kind, const Patience& patience);

  int fd_ = -1;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_LOCK_H
