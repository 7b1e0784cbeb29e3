// How registers are described. A block's own file has its names and numbers, for programs, and a
// table built from the same ones, for people: what a register is for and what its bits mean.
#ifndef ZVG_HW_REGISTER_H
#define ZVG_HW_REGISTER_H

#include <stdint.h>

#include "hw/bases.h"
#include "hw/generations.h"

namespace zvg::hw {

// A table that stands elsewhere.
template <typename Item>
struct List {
  const Item* items = nullptr;
  uint32_t count = 0;

  constexpr List() = default;
  template <uint32_t length>
  constexpr List(const Item (&table)[length]) : items(table), count(length) {}

  constexpr const Item* begin() const { return items; }
  constexpr const Item* end() const { return items + count; }
  constexpr uint32_t size() const { return count; }
  constexpr const Item& operator[](uint32_t i) const { return items[i]; }
};

// Where a register is reached.
enum class Space : uint8_t {
  mmio,  // an offset in the register space
  crtc,  // an index of the VGA's index and data pair
  dpcd,  // an address in a DisplayPort sink
  cdb,   // an address on the configuration bus of a DisplayPort PHY
  pci,   // an offset in the configuration space
};

enum class Access : uint8_t { read_write, read_only, write_only };
inline constexpr Access rw = Access::read_write;
inline constexpr Access ro = Access::read_only;
inline constexpr Access wo = Access::write_only;

// What else an access does. Registers with an effect are read or written only by whoever means it.
enum class Effect : uint8_t {
  none,
  read_takes,    // a read takes something out: a FIFO, or flags that it clears
  write_starts,  // a write starts something
  write_clears,  // ones that are written clear bits
};

// What a number in a field means. The raw value of a field comes first in each formula.
enum class Unit : uint8_t {
  none,
  pll_mhz,        // a PLL configuration word, from the 27 MHz reference
  pixel_khz,      // a display controller's PLL word
  pvt_celsius,    // a temperature code
  pvt_volt,       // a voltage code
  kilohertz,      // as it stands
  per_mille,      // as it stands
  link_rate_270,  // times 270 Mbit/s
};

// A name for one value of a field.
struct Value {
  uint32_t value;
  const char* name;
};

// Bits low to high of a register, both included.
struct Field {
  const char* name;
  uint8_t low;
  uint8_t high;
  const char* description;
  List<Value> values = {};
  Unit unit = Unit::none;

  constexpr uint32_t mask() const {
    return static_cast<uint32_t>(((uint64_t{1} << (high - low + 1)) - 1) << low);
  }
};

// The field of a mask, whose bits are neighbours.
constexpr Field field(const char* name, uint32_t mask, const char* description,
                      List<Value> values = {}, Unit unit = Unit::none) {
  uint8_t low = 0;
  while ((mask >> low & 1) == 0) ++low;
  uint8_t high = low;
  while (high < 31 && (mask >> (high + 1) & 1) != 0) ++high;
  return {name, low, high, description, values, unit};
}

constexpr int64_t unknown_reset = -1;

struct Register {
  const char* name;
  uint32_t offset;
  uint8_t width;  // bits
  Access access;
  const char* description;
  List<Field> fields = {};
  Effect effect = Effect::none;
  int64_t reset = unknown_reset;  // what it holds after a reset, where that is known
  uint32_t count = 1;             // of equal registers
  uint32_t stride = 0;            // addresses from one of them to the next
};

// Registers that stand together, once or several times.
struct Block {
  const char* name;
  Space space;
  const char* description;
  List<Register> registers;
  uint32_t size;  // of the addresses that belong to an instance
  // Where the instances are; a block that is not in the MMIO space counts from 0 and has as many
  // instances as the block that leads to it.
  Bases Chip::*instances;
  // Which of several blocks of a name a chip has; null: whichever chip has instances has this one.
  bool (*fits)(const Chip& chip) = nullptr;

  constexpr uint32_t instance_count(const Chip& chip) const {
    return fits == nullptr || fits(chip) ? (chip.*instances).count : 0;
  }
  constexpr uint32_t base(const Chip& chip, uint32_t instance) const {
    return space == Space::mmio ? (chip.*instances).base(instance) : 0;
  }
};

}  // namespace zvg::hw

#endif  // ZVG_HW_REGISTER_H
