#include "doors/instruction.h"

#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zvgsim {

namespace {

constexpr uintptr_t page_size = 4096;

// The next page may not be there: then the instruction ends before it.
void read_code(uintptr_t address, Instruction::Bytes& bytes) {
  if (address % page_size <= page_size - bytes.size()) {
    memcpy(bytes.data(), reinterpret_cast<const void*>(address), bytes.size());
    return;
  }
  const size_t here = page_size - address % page_size;
  memcpy(bytes.data(), reinterpret_cast<const void*>(address), here);
  const iovec local = {bytes.data() + here, bytes.size() - here};
  const iovec remote = {reinterpret_cast<void*>(address + here), bytes.size() - here};
  process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
}

enum class Encoding : uint8_t { legacy, vex, evex };

// The map is 0 for one-byte opcodes, 1 for those after 0x0F, 2 and 3 after 0x0F 0x38 and 0x0F 0x3A.
struct Opcode {
  Encoding encoding = Encoding::legacy;
  unsigned map = 0;
  uint8_t code = 0;
  uint8_t modrm = 0;
  bool quad = false;  // operands of 8 bytes
  bool word = false;  // operands of 2 bytes
  bool lock = false;
  bool short_addresses = false;

  unsigned extension() const { return modrm >> 3 & 7; }
  // The width of instructions whose code's lowest bit tells bytes from the rest.
  unsigned width() const { return (code & 1) == 0 ? 1 : full_width(); }
  unsigned full_width() const { return quad ? 8 : word ? 2 : 4; }
};

Opcode opcode_of(const Instruction::Bytes& bytes) {
  Opcode opcode;
  size_t at = 0;
  const auto next = [&]() -> uint8_t { return at < bytes.size() ? bytes[at++] : uint8_t{0}; };
  uint8_t byte = next();
  for (bool prefix = true; prefix;) {
    switch (byte) {
      case 0x66:
        opcode.word = true;
        break;
      case 0x67:
        opcode.short_addresses = true;
        break;
      case 0xF0:
        opcode.lock = true;
        break;
      case 0xF2:
      case 0xF3:
      case 0x26:
      case 0x2E:
      case 0x36:
      case 0x3E:
      case 0x64:
      case 0x65:
        break;
      default:
        prefix = false;
        continue;
    }
    if (at == bytes.size()) return opcode;
    byte = next();
  }
  if ((byte & 0xF0) == 0x40) {  // REX
    opcode.quad = (byte & 0x08) != 0;
    byte = next();
  }
  if (byte == 0xC5) {
    opcode.encoding = Encoding::vex;
    opcode.map = 1;
    next();
  } else if (byte == 0xC4) {
    opcode.encoding = Encoding::vex;
    opcode.map = next() & 0x1F;
    next();
  } else if (byte == 0x62) {
    opcode.encoding = Encoding::evex;
    opcode.map = next() & 0x07;
    next();
    next();
  } else if (byte == 0x0F) {
    opcode.map = 1;
    byte = next();
    if (byte == 0x38 || byte == 0x3A) {
      opcode.map = byte == 0x38 ? 2 : 3;
      byte = next();
    }
  }
  opcode.code = opcode.encoding == Encoding::legacy ? byte : next();
  opcode.modrm = next();
  return opcode;
}

bool is(const Opcode& opcode, unsigned map) {
  return opcode.encoding == Encoding::legacy && opcode.map == map;
}

Instruction::StringUse string_use(const Opcode& opcode) {
  if (!is(opcode, 0)) return {};
  const OperandUse load = {opcode.width(), true, false};
  const OperandUse store = {opcode.width(), false, true};
  switch (opcode.code & 0xFE) {
    case 0xA4:
      return {load, store};  // movs
    case 0xA6:
      return {load, load};  // cmps
    case 0xAA:
      return {{}, store};  // stos
    case 0xAC:
      return {load, {}};  // lods
    case 0xAE:
      return {{}, load};  // scas
    default:
      return {};
  }
}

OperandUse known_use(const Opcode& opcode) {
  const bool divides = is(opcode, 0) && (opcode.code & 0xFE) == 0xF6 && opcode.extension() >= 6;
  if (divides) return {opcode.width(), true, false};
  const bool exchanges = is(opcode, 0) && (opcode.code & 0xFE) == 0x86;
  if (!opcode.lock && !exchanges) return {};
  unsigned width = opcode.width();
  if (is(opcode, 1)) {
    switch (opcode.code) {
      case 0xAB:  // bts, btr, btc
      case 0xB3:
      case 0xBA:
      case 0xBB:
        width = opcode.full_width();
        break;
      case 0xC7:  // cmpxchg8b, cmpxchg16b
        width = opcode.quad ? 16 : 8;
        break;
      default:
        break;
    }
  }
  return {width, true, true};
}

// Logic that can bring constants, and shifts that can shift everything out.
bool is_modification(const Opcode& opcode) {
  if (is(opcode, 0)) {
    const uint8_t code = opcode.code;
    return (code < 0x38 && (code & 7) < 2) || (code >= 0x80 && code <= 0x83) || code == 0xC0 ||
           code == 0xC1 || (code >= 0xD0 && code <= 0xD3);
  }
  return is(opcode, 1) && (opcode.code & 0xF6) == 0xA4;  // shld, shrd
}

bool is_bound_to_place(const Opcode& opcode) {
  if (is(opcode, 0)) {
    const bool branch = opcode.code == 0xFF && opcode.extension() >= 2 && opcode.extension() <= 5;
    return branch || (opcode.short_addresses && string_use(opcode).destination.width != 0);
  }
  const bool gathers = opcode.code >= 0x90 && opcode.code <= 0x93;
  const bool scatters = opcode.code >= 0xA0 && opcode.code <= 0xA3;
  return opcode.encoding != Encoding::legacy && opcode.map == 2 && (gathers || scatters);
}

bool has_mask(const Opcode& opcode) {
  if (opcode.encoding == Encoding::evex) return true;
  const bool moves_masked =
      (opcode.code >= 0x2C && opcode.code <= 0x2F) || opcode.code == 0x8C || opcode.code == 0x8E;
  if (opcode.encoding == Encoding::vex && opcode.map == 2) return moves_masked;
  return opcode.map == 1 && opcode.code == 0xF7;  // maskmovdqu
}

}  // namespace

Instruction::Instruction(uintptr_t address) {
  read_code(address, bytes_);
  const Opcode opcode = opcode_of(bytes_);
  string_ = string_use(opcode);
  known_ = known_use(opcode);
  modifies_ = is_modification(opcode);
  bound_ = is_bound_to_place(opcode);
  masked_ = has_mask(opcode);
}

}  // namespace zvgsim
