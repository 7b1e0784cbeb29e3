#include "doors/trapped_memory.h"

#ifdef __x86_64__

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "doors/fault_signals.h"
#include "doors/instruction.h"
#include "doors/instruction_window.h"
#include "doors/trap_tables.h"

namespace zvgsim {

namespace {

constexpr greg_t trap_flag = 0x100;
constexpr greg_t resume_flag = 0x10000;

// ---- The segment whose base moves an operand ---------------------------------------------------

bool has_segment_instructions() {
  constexpr unsigned long fsgsbase = 2;
  static const bool has = (getauxval(AT_HWCAP2) & fsgsbase) != 0;
  return has;
}

constexpr uint8_t segment_prefix = 0x65;  // gs, which programs leave alone

uint64_t segment_base() {
  uint64_t base = 0;
  asm volatile("rdgsbase %0" : "=r"(base));
  return base;
}

void set_segment_base(uint64_t base) {
  asm volatile("wrgsbase %0" : : "r"(base));
}

// ---- An interrupted thread ---------------------------------------------------------------------

uintptr_t address_in(const gregset_t& registers, int number) {
  return static_cast<uintptr_t>(registers[number]);
}

// The part of the frame that belongs to the thread; the rest tells about the fault.
constexpr int own_registers[] = {REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13,
                                 REG_R14, REG_R15, REG_RDI, REG_RSI, REG_RBP, REG_RBX,
                                 REG_RDX, REG_RAX, REG_RCX, REG_RSP, REG_RIP, REG_EFL};

void copy_registers(const gregset_t& from, gregset_t& to) {
  for (const int number : own_registers) to[number] = from[number];
}

bool same_outcome(const gregset_t& a, const gregset_t& b) {
  return std::all_of(std::begin(own_registers), std::end(own_registers),
                     [&](int number) { return a[number] == b[number]; });
}

// The size of a frame's floating-point state, which says itself how much it is more than the
// classic 512 bytes.
size_t floating_size_of(const void* state) {
  constexpr size_t classic_size = 512, extension_at = 464;
  constexpr uint32_t extension_magic = 0x46505853;
  struct {
    uint32_t magic, extended_size;
    uint64_t features;
    uint32_t size;
  } extension;
  memcpy(&extension, static_cast<const uint8_t*>(state) + extension_at, sizeof extension);
  return extension.magic == extension_magic ? extension.size : classic_size;
}

// Calls function(window) on the stack that the thread was using, below what is in use there. The
// stack of a handler may be a small one, and models are programs like others.
void call_on_program_stack(void (*function)(Window&), Window& window, const ucontext_t& context) {
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  const auto alternate = reinterpret_cast<uintptr_t>(context.uc_stack.ss_sp);
  const auto within = [&](uintptr_t address) {
    return (context.uc_stack.ss_flags & SS_DISABLE) == 0 && address >= alternate &&
           address - alternate < context.uc_stack.ss_size;
  };
  const uintptr_t program_stack = address_in(window.registers, REG_RSP);
  if (!within(here) || within(program_stack)) {
    function(window);
    return;
  }
  constexpr uintptr_t red_zone = 128;
  const uintptr_t top = (program_stack - red_zone) & ~uintptr_t{63};
  Window* argument = &window;
  // The callee keeps rbx.
  asm volatile(
      "movq %%rsp, %%rbx\n\t"
      "movq %[top], %%rsp\n\t"
      "call *%[function]\n\t"
      "movq %%rbx, %%rsp"
      : "+D"(argument)
      : [top] "r"(top), [function] "r"(function)
      : "rbx", "rax", "rcx", "rdx", "rsi", "r8", "r9", "r10", "r11", "memory", "cc", "xmm0", "xmm1",
        "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12",
        "xmm13", "xmm14", "xmm15");
}

// ---- The model's part --------------------------------------------------------------------------

template <typename Each>
void for_parts(const Operand& operand, Each each) {
  for (unsigned done = 0; done < operand.use.width;) {
    const unsigned left = operand.use.width - done;
    const unsigned width = left >= 8 ? 8 : left >= 4 ? 4 : left >= 2 ? 2 : 1;
    each(operand.offset() + done, operand.shadow + done, width);
    done += width;
  }
}

void load(const Operand& operand) {
  for_parts(operand, [&](uint64_t offset, uint8_t* shadow, unsigned width) {
    const uint64_t value = operand.range.model->load(offset, width);
    memcpy(shadow, &value, width);
  });
}

void store(const Operand& operand) {
  for_parts(operand, [&](uint64_t offset, const uint8_t* shadow, unsigned width) {
    uint64_t value = 0;
    memcpy(&value, shadow, width);
    operand.range.model->store(offset, width, value);
  });
}

AccessModel& model_of(const Window& window) {
  return *(window.moved.there() ? window.moved : window.destination).range.model;
}

void ask_model(Window& window) {
  model_of(window).lock();
  window.locked = true;
  bool modifies = false;
  for (const Operand* operand : {&window.moved, &window.destination}) {
    if (operand->use.load) load(*operand);
    modifies = modifies || (operand->use.load && operand->use.store);
  }
  if (modifies) return;
  window.locked = false;
  model_of(window).unlock();
}

void tell_model(Window& window) {
  if (!window.moved.use.store && !window.destination.use.store) return;
  if (!window.locked) model_of(window).lock();
  for (const Operand* operand : {&window.moved, &window.destination}) {
    if (operand->use.store) store(*operand);
  }
  window.locked = false;
  model_of(window).unlock();
}

// ---- One instruction ---------------------------------------------------------------------------

// A signal, as its handler may change it for the program.
struct Fault {
  int* signal;
  siginfo_t* info;
  ucontext_t& context;

  uintptr_t address() const { return reinterpret_cast<uintptr_t>(info->si_addr); }
};

constexpr unsigned widths[] = {1, 2, 4, 8, 10, 16, 32, max_width};

// Where an operand lies within a page, so that its alignment stays what it was. One at the very
// beginning of a page stays there: if it began on the page before, that shows.
uintptr_t place_of(uintptr_t address, uintptr_t room) {
  return address % page_size == 0 ? 0 : room + address % max_width;
}

constexpr uintptr_t room = 1024;
constexpr uintptr_t destination_room = 3072;

void arm(Window& window, ucontext_t& context) {
  gregset_t& registers = context.uc_mcontext.gregs;
  copy_registers(window.registers, registers);
  uint8_t* const code = window.page(Window::code_page);
  registers[REG_RIP] = static_cast<greg_t>(reinterpret_cast<uintptr_t>(code));
  registers[REG_EFL] |= trap_flag;
  registers[REG_RDI] += window.rdi_shift;
  // No handler of the program may run in between. What a thread does to itself has to get through.
  sigset_t mask;
  sigfillset(&mask);
  for (const int signal : {SIGSEGV, SIGTRAP, SIGBUS, SIGFPE, SIGILL}) sigdelset(&mask, signal);
  memcpy(&context.uc_sigmask, &mask, sizeof window.mask);
  const bool moves = window.moved.shadow != nullptr;
  set_segment_base(moves ? reinterpret_cast<uintptr_t>(window.moved.shadow) - window.moved.address
                         : 0);
  memcpy(context.uc_mcontext.fpregs, window.floating_state, window.floating_size);
}

void fill(Window& window) {
  for (size_t i = 0; i < max_width; ++i) {
    const auto byte = static_cast<uint8_t>(0x5B + 0x25 * i);
    window.moved.shadow[i] = window.stage == Stage::filling ? byte : static_cast<uint8_t>(~byte);
  }
}

void try_out(Window& window, Stage stage, ucontext_t& context) {
  window.stage = stage;
  uint8_t* const data = window.page(Window::data_page);
  switch (stage) {
    case Stage::writes:
      window.moved.shadow =
          window.page(Window::constant_page) + place_of(window.moved.address, room);
      break;
    case Stage::extent:
      window.moved.shadow = data + page_size - widths[window.attempt];
      break;
    default:
      window.moved.shadow = data + place_of(window.moved.address, room);
      fill(window);
  }
  arm(window, context);
}

// The thread as it was before the instruction, or behind it with what came of it.
void leave(Window& window, ucontext_t& context, bool done) {
  gregset_t& registers = context.uc_mcontext.gregs;
  if (done) {
    const uintptr_t code = reinterpret_cast<uintptr_t>(window.page(Window::code_page));
    const uintptr_t size = address_in(registers, REG_RIP) - code;
    // A repeated instruction that is not at its end stands where it stood.
    const uintptr_t next = size == 0 ? window.at : window.at + size - 1;
    registers[REG_RIP] = static_cast<greg_t>(next);
    registers[REG_RDI] -= window.rdi_shift;
    registers[REG_EFL] &= ~trap_flag;
    registers[REG_EFL] |= window.registers[REG_EFL] & trap_flag;
  } else {
    copy_registers(window.registers, registers);
    memcpy(context.uc_mcontext.fpregs, window.floating_state, window.floating_size);
  }
  memcpy(&context.uc_sigmask, &window.mask, sizeof window.mask);
  set_segment_base(window.segment);
  if (window.locked) {
    window.locked = false;
    model_of(window).unlock();
  }
  release_window(window);
}

// The fault that the instruction began with is the program's own after all. Always false, as the
// answer of the handler.
bool give_up(Window& window, const Fault& fault) {
  *fault.signal = SIGSEGV;
  *fault.info = window.cause;
  memcpy(fault.context.uc_mcontext.gregs, window.registers, sizeof window.registers);
  leave(window, fault.context, false);
  return false;
}

bool refuse(Window& window, const Fault& fault) {
  char text[160];
  char code[2 * Instruction::max_size + 1];
  for (size_t i = 0; i < Instruction::max_size; ++i) {
    snprintf(code + 2 * i, 3, "%02x", window.instruction.bytes()[i]);
  }
  const int size = snprintf(text, sizeof text,
                            "zvgsim: the instruction at 0x%llx (%s) cannot be carried out on the "
                            "register aperture\n",
                            static_cast<unsigned long long>(window.at), code);
  if (write(STDERR_FILENO, text, static_cast<size_t>(size)) < 0) {
    // Nobody listens.
  }
  return give_up(window, fault);
}

bool allowed(const Operand& operand) {
  const int needed = (operand.use.load ? PROT_READ : 0) | (operand.use.store ? PROT_WRITE : 0);
  return (operand.range.protection & needed) == needed &&
         operand.use.width <= operand.range.end - operand.address;
}

bool run(Window& window, const Fault& fault) {
  window.stage = Stage::run;
  uint8_t* const data = window.page(Window::data_page);
  if (window.moved.there()) {
    if (!allowed(window.moved)) return give_up(window, fault);
    window.moved.shadow = data + place_of(window.moved.address, room);
  }
  if (window.destination.there()) {
    if (!allowed(window.destination)) return give_up(window, fault);
    window.destination.shadow = data + destination_room + window.destination.address % max_width;
    window.rdi_shift = static_cast<greg_t>(reinterpret_cast<uintptr_t>(window.destination.shadow) -
                                           window.destination.address);
  }
  call_on_program_stack(ask_model, window, fault.context);
  arm(window, fault.context);
  return true;
}

bool conclude(Window& window, const Fault& fault, const OperandUse& use) {
  if (!window.instruction.is_masked()) remember_use(window.at, window.instruction, use);
  window.moved.use = use;
  return run(window, fault);
}

// A thread touched trapped memory: everything about the instruction begins here.
bool begin(const TrappedRange& range, const Fault& fault) {
  Window& window = acquire_window();
  const gregset_t& registers = fault.context.uc_mcontext.gregs;
  window.cause = *fault.info;
  window.at = address_in(registers, REG_RIP);
  window.instruction = Instruction(window.at);
  window.moved = {};
  window.destination = {};
  window.rdi_shift = 0;
  window.floating_size = 0;
  memcpy(window.registers, registers, sizeof window.registers);
  window.registers[REG_EFL] &= ~resume_flag;
  memcpy(&window.mask, &fault.context.uc_sigmask, sizeof window.mask);
  window.segment = segment_base();

  uint8_t* const code = window.page(Window::code_page);
  code[0] = segment_prefix;
  memcpy(code + 1, window.instruction.bytes().data(), Instruction::max_size);

  if (window.instruction.is_bound()) return refuse(window, fault);
  if (window.instruction.is_string()) {
    const auto& uses = window.instruction.string();
    const auto place = [](Operand& operand, uintptr_t where, const OperandUse& use) {
      if (use.width == 0 || !find_range(where, &operand.range)) return;
      operand.address = where;
      operand.use = use;
    };
    place(window.moved, address_in(registers, REG_RSI), uses.source);
    place(window.destination, address_in(registers, REG_RDI), uses.destination);
    if (!window.moved.there() && !window.destination.there()) return refuse(window, fault);
    return run(window, fault);
  }
  window.moved.range = range;
  window.moved.address = fault.address();
  window.moved.use = window.instruction.known();
  if (window.moved.there() || recall_use(window.at, window.instruction, &window.moved.use)) {
    return run(window, fault);
  }
  const size_t size = floating_size_of(fault.context.uc_mcontext.fpregs);
  if (size > max_floating_state) return refuse(window, fault);
  memcpy(window.floating_state, fault.context.uc_mcontext.fpregs, size);
  window.floating_size = size;
  try_out(window, Stage::writes, fault.context);
  return true;
}

// The instruction in the window has been carried out.
bool step_done(Window& window, const Fault& fault) {
  switch (window.stage) {
    case Stage::writes:
      window.writes = false;
      window.attempt = 0;
      try_out(window, Stage::extent, fault.context);
      return true;
    case Stage::extent: {
      const unsigned width = widths[window.attempt];
      if (!window.writes) return conclude(window, fault, {width, true, false});
      if (window.instruction.modifies()) return conclude(window, fault, {width, true, true});
      window.moved.use.width = width;
      try_out(window, Stage::filling, fault.context);
      return true;
    }
    case Stage::filling:
      memcpy(window.outcome, window.moved.shadow, sizeof window.outcome);
      copy_registers(fault.context.uc_mcontext.gregs, window.outcome_registers);
      try_out(window, Stage::other_filling, fault.context);
      return true;
    case Stage::other_filling: {
      const unsigned width = window.moved.use.width;
      const bool same = memcmp(window.outcome, window.moved.shadow, width) == 0 &&
                        same_outcome(window.outcome_registers, fault.context.uc_mcontext.gregs);
      return conclude(window, fault, {width, !same, true});
    }
    default:
      call_on_program_stack(tell_model, window, fault.context);
      leave(window, fault.context, true);
      return true;
  }
}

// The instruction in the window could not be carried out. An operand that is not aligned as its
// instruction wants it is a fault without an address.
bool step_failed(Window& window, const Fault& fault) {
  const uintptr_t address = fault.address();
  const int code = fault.info->si_code;
  const bool somewhere = code == SEGV_MAPERR || code == SEGV_ACCERR;
  if (window.stage == Stage::writes && somewhere && window.holds(address, Window::constant_page)) {
    window.writes = true;
    window.attempt = 0;
    try_out(window, Stage::extent, fault.context);
    return true;
  }
  if (window.stage == Stage::extent && (!somewhere || window.holds(address, Window::above_data))) {
    if (++window.attempt == std::size(widths)) return refuse(window, fault);
    try_out(window, Stage::extent, fault.context);
    return true;
  }
  TrappedRange range;
  const auto base = reinterpret_cast<uintptr_t>(window.base);
  const bool still_there = somewhere && find_range(address, &range);
  const bool reaches_out = somewhere && address - base < Window::pages * page_size;
  if (still_there || reaches_out) return refuse(window, fault);
  leave(window, fault.context, false);
  return false;
}

bool on_fault(int* signal, siginfo_t* info, ucontext_t& context) {
  const Fault fault = {signal, info, context};
  if (info->si_code <= 0) return false;  // sent by somebody
  const uintptr_t instruction = address_in(context.uc_mcontext.gregs, REG_RIP);
  if (Window* const window = window_at(instruction)) {
    return *signal == SIGTRAP ? step_done(*window, fault) : step_failed(*window, fault);
  }
  if (*signal != SIGSEGV || info->si_code != SEGV_ACCERR) return false;
  TrappedRange range;
  const bool fetches = fault.address() == instruction;
  return !fetches && find_range(fault.address(), &range) && begin(range, fault);
}

// ---- Around a fork -----------------------------------------------------------------------------

sigset_t mask_before_fork;  // guarded by the tables' lock

void before_fork() {
  sigset_t all, before;
  sigfillset(&all);
  real_pthread_sigmask(SIG_SETMASK, &all, &before);
  lock_trap_tables();
  mask_before_fork = before;
}

void after_fork() {
  const sigset_t before = mask_before_fork;
  unlock_trap_tables();
  real_pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void after_fork_in_child() {
  release_all_windows();
  after_fork();
}

}  // namespace

bool can_trap_memory() {
  static const bool can = [] {
    const QuietScope quiet;
    if (!has_segment_instructions() || !create_windows()) return false;
    create_trap_tables();
    pthread_atfork(before_fork, after_fork, after_fork_in_child);
    return true;
  }();
  return can;
}

void* map_trapped(void* address, size_t length, int protection, int flags, AccessModel& model,
                  uint64_t offset) {
  if (offset % page_size != 0) {
    errno = EINVAL;
    return MAP_FAILED;
  }
  take_fault_signals(on_fault);
  // Of the caller's flags those that choose the place.
  const int place = flags & (MAP_FIXED | MAP_FIXED_NOREPLACE | MAP_32BIT);
  const QuietScope quiet;
  void* const memory =
      mmap(address, length, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | place, -1, 0);
  if (memory == MAP_FAILED) return MAP_FAILED;
  const auto begin = reinterpret_cast<uintptr_t>(memory);
  add_range({begin, begin + length, protection, &model, offset});
  return memory;
}

void forget_trapped(const void* address, size_t length) {
  if (!fault_signals_taken()) return;
  const QuietScope quiet;
  forget_range(reinterpret_cast<uintptr_t>(address), length);
}

void forget_trapped(const AccessModel& model) {
  const QuietScope quiet;
  forget_ranges_of(model);
}

}  // namespace zvgsim

#else

#include <errno.h>
#include <sys/mman.h>

namespace zvgsim {

bool can_trap_memory() {
  return false;
}

void* map_trapped(void*, size_t, int, int, AccessModel&, uint64_t) {
  errno = ENODEV;
  return MAP_FAILED;
}

void forget_trapped(const void*, size_t) {}
void forget_trapped(const AccessModel&) {}

}  // namespace zvgsim

#endif
