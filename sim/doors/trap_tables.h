// What is known about trapped memory (trapped_memory.h): where it is, and which instructions have
// met it. Looked into by signal handlers.
#ifndef ZVGSIM_DOORS_TRAP_TABLES_H
#define ZVGSIM_DOORS_TRAP_TABLES_H

#include <cstddef>
#include <cstdint>

#include "doors/instruction.h"

namespace zvgsim {

class AccessModel;

constexpr uintptr_t page_size = 4096;

struct TrappedRange {
  uintptr_t begin = 0;
  uintptr_t end = 0;
  int protection = 0;
  AccessModel* model = nullptr;
  uint64_t offset = 0;  // of begin, in the model
};

// Before all else, and not in a handler.
void create_trap_tables();

// One lock guards the tables, held for a look only. REQUIRES, of all that follows: all signals are
// blocked.

bool find_range(uintptr_t address, TrappedRange* found);
// In place of what was in its range before.
void add_range(const TrappedRange& range);
// Whole pages: those that the bytes are on.
void forget_range(uintptr_t begin, size_t length);
void forget_ranges_of(const AccessModel& model);

// What an instruction does with its operand in memory, once it was tried out. The table may forget.
bool recall_use(uintptr_t address, const Instruction& instruction, OperandUse* use);
void remember_use(uintptr_t address, const Instruction& instruction, const OperandUse& use);

// Around a fork, so that nobody is looking while it happens.
void lock_trap_tables();
void unlock_trap_tables();

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_TRAP_TABLES_H
