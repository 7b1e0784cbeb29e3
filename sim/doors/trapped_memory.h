// Memory of the program whose every load and store is answered by a model.
//
// The pages give no access for as long as they are mapped. The thread that touches them faults; a
// copy of its one instruction is then carried out on a few bytes of its own, which the model filled
// before or takes from after, and the thread goes on behind it. As no page is ever opened, another
// thread cannot slip by.
//
// The copy gets a segment prefix that moves its operand, so that no register changes and nothing
// has to be known of its addressing. How wide the operand is, and whether it is read, written or
// both, is tried out when an instruction is met for the first time: against a page that cannot be
// written, against the end of one, and on two different fillings.
//
// What is left: instructions that jump through the memory, use it as their stack, gather or
// scatter, move more than 64 bytes, or have a prefix of their own for the thread's segments end as
// faults of the program, after a line on standard error. The kernel does not see the memory
// (write() from it fails with EFAULT), and changes of its protection are not followed. A trial on a
// new instruction may show the trial's filling for a moment at a second operand of it elsewhere.
#ifndef ZVGSIM_DOORS_TRAPPED_MEMORY_H
#define ZVGSIM_DOORS_TRAPPED_MEMORY_H

#include <cstddef>
#include <cstdint>

namespace zvgsim {

// Answers accesses of 1, 2, 4 or 8 bytes at any alignment; wider ones come as several, in ascending
// order. Called in a signal handler of the thread that makes the access, on that thread's stack,
// between lock() and unlock(). Both accesses of a read-modify-write are in one such pair.
class AccessModel {
 public:
  virtual ~AccessModel() = default;
  virtual void lock() = 0;
  virtual void unlock() = 0;
  virtual uint64_t load(uint64_t offset, unsigned width) = 0;
  virtual void store(uint64_t offset, unsigned width, uint64_t value) = 0;
};

// Whether this machine can trap memory at all.
bool can_trap_memory();

// Maps memory as mmap() does with address, length, protection and flags; its first byte is at
// offset of the model, which outlives the mapping. Takes SIGSEGV and SIGTRAP over
// (fault_signals.h). REQUIRES: can_trap_memory().
void* map_trapped(void* address, size_t length, int protection, int flags, AccessModel& model,
                  uint64_t offset);

// The program unmaps this range, or maps something else in its place.
void forget_trapped(const void* address, size_t length);

// The model ends: from now on its memory is what it looks like, without access.
void forget_trapped(const AccessModel& model);

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_TRAPPED_MEMORY_H
