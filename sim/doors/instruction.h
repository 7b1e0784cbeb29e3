// As much of an x86-64 instruction as carrying it out elsewhere takes.
#ifndef ZVGSIM_DOORS_INSTRUCTION_H
#define ZVGSIM_DOORS_INSTRUCTION_H

#include <array>
#include <cstdint>

namespace zvgsim {

// What an instruction does with its operand in memory.
struct OperandUse {
  unsigned width = 0;  // bytes
  bool load = false;
  bool store = false;
};

// No decoder: prefixes and opcode tell the few instructions apart that an experiment cannot.
class Instruction {
 public:
  static constexpr unsigned max_size = 15;
  using Bytes = std::array<uint8_t, max_size>;

  Instruction() = default;
  // REQUIRES: the code at address can be executed.
  explicit Instruction(uintptr_t address);

  const Bytes& bytes() const { return bytes_; }

  // movs, cmps, stos, lods and scas have their operands at rsi and rdi, and no prefix moves the one
  // at rdi. The uses have no width where the instruction has no such operand.
  struct StringUse {
    OperandUse source, destination;
  };
  bool is_string() const { return string_.source.width != 0 || string_.destination.width != 0; }
  const StringUse& string() const { return string_; }

  // What is told rather than tried: a division may fail on trial data, and a locked access must not
  // be tried across the end of a page. The width is 0 for all others.
  const OperandUse& known() const { return known_; }

  // Reads what it writes, though some of its results (x & 0) do not show it.
  bool modifies() const { return modifies_; }

  // Cannot be carried out elsewhere: it goes on elsewhere itself, or has operands in many places.
  bool is_bound() const { return bound_; }

  // The bytes that it touches depend on a mask.
  bool is_masked() const { return masked_; }

 private:
  Bytes bytes_{};
  StringUse string_;
  OperandUse known_;
  bool modifies_ = false;
  bool bound_ = false;
  bool masked_ = false;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_INSTRUCTION_H
