// The host with its cards.
#ifndef ZVGSIM_MACHINE_MACHINE_H
#define ZVGSIM_MACHINE_MACHINE_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "board/board.h"

namespace zvgsim {

// Reads a board file with everything that the models of a machine understand (board_file.h).
// Throws BoardFileError.
BoardConfig load_board_file(const std::string& path);

// Cards with all models on them, and what they share: time, trace, faults and kernel memory.
class Machine {
 public:
  explicit Machine(BoardConfig config, VirtualClock::Mode mode = VirtualClock::Mode::virtual_time);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  const BoardConfig& config() const { return config_; }
  VirtualClock& clock() { return clock_; }
  AccessTrace& trace() { return trace_; }
  FaultPlan& faults() { return faults_; }

  // REQUIRES: index < cards().
  Board& card(size_t index = 0) { return *cards_[index]; }
  size_t cards() const { return cards_.size(); }

  // Kernel memory, by kernel virtual address. False outside the configured range.
  bool kmem_read(uint64_t address, unsigned width, uint64_t* value);
  bool kmem_write(uint64_t address, unsigned width, uint64_t value);

  // The driver's power state: 0 performance, 1 save, 2 standby.
  uint32_t power_state() const { return power_state_; }
  void set_power_state(uint32_t state) { power_state_ = state; }

  // Held by a door while it answers one request. The accesses of several threads come one after
  // another, as they do on a real bus.
  std::mutex& lock() { return lock_; }

 private:
  bool kmem_decodes(uint64_t address, unsigned width) const;

  const BoardConfig config_;
  VirtualClock clock_;
  AccessTrace trace_;
  FaultPlan faults_;
  Memory kernel_memory_;
  std::vector<std::unique_ptr<Board>> cards_;
  uint32_t power_state_ = 0;
  std::mutex lock_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_MACHINE_MACHINE_H
