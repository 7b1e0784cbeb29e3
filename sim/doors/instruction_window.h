// Where an instruction that touched trapped memory (trapped_memory.h) is carried out.
#ifndef ZVGSIM_DOORS_INSTRUCTION_WINDOW_H
#define ZVGSIM_DOORS_INSTRUCTION_WINDOW_H

#ifdef __x86_64__

#include <signal.h>
#include <sys/ucontext.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "doors/instruction.h"
#include "doors/trap_tables.h"

namespace zvgsim {

constexpr size_t max_width = 64;
constexpr size_t max_floating_state = 16384;

struct Operand {
  TrappedRange range;
  uintptr_t address = 0;
  OperandUse use;
  uint8_t* shadow = nullptr;  // where the copy finds it

  bool there() const { return use.width != 0; }
  uint64_t offset() const { return range.offset + (address - range.begin); }
};

enum class Stage : uint8_t {
  writes,         // on a page that cannot be written
  extent,         // against the end of a page
  filling,        // what comes out of one filling
  other_filling,  // and of another
  run,            // for good
};

// Pages of its own for one instruction at a time, and all that is to be known about it meanwhile.
struct Window {
  enum Page : unsigned { code_page, below_data, data_page, above_data, constant_page, pages = 6 };

  std::atomic<bool> busy{false};
  uint8_t* base = nullptr;

  Stage stage = Stage::run;
  uintptr_t at = 0;  // the instruction's own address
  Instruction instruction;
  Operand moved;        // by the segment's base
  Operand destination;  // a string instruction's: by rdi
  unsigned attempt = 0;
  bool writes = false;
  bool locked = false;  // the model

  siginfo_t cause;
  gregset_t registers;
  uint64_t mask = 0;
  uint64_t segment = 0;
  greg_t rdi_shift = 0;

  // Of the first filling.
  uint8_t outcome[max_width];
  gregset_t outcome_registers;

  // The thread's own, where trials have changed it; nothing otherwise.
  size_t floating_size = 0;
  uint8_t floating_state[max_floating_state];

  uint8_t* page(Page number) const { return base + number * page_size; }
  bool holds(uintptr_t address, Page number) const {
    return address / page_size == reinterpret_cast<uintptr_t>(page(number)) / page_size;
  }
};

// False when the pages cannot be had.
bool create_windows();

// More threads at a time than there are windows wait for each other.
Window& acquire_window();
void release_window(Window& window);
// In a child after a fork: threads that were in a window do not exist there.
void release_all_windows();

// The one whose code the instruction is; null when it is none's.
Window* window_at(uintptr_t instruction);

}  // namespace zvgsim

#endif  // __x86_64__

#endif  // ZVGSIM_DOORS_INSTRUCTION_WINDOW_H
