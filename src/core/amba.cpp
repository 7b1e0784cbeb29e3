// Accesses through the bridge to the chip's on-chip bus.
#include <stdint.h>

#include "core/chip.h"
#include "core/mmio.h"
#include "core/poll.h"
#include "hw/blocks/amba_bridge.h"
#include "hw/bus.h"

namespace zvg::core {

using namespace hw::amba;

namespace {

constexpr unsigned status_repeats = 15;
constexpr useconds_t status_step_us = 50;

constexpr int write_timed_out = -1;
constexpr int read_timed_out = -2;

void put(uint32_t index, uint8_t value) {
  zvgCrtcWriteByte(index, value);
}

void strobe(uint8_t value) {
  put(command, value);
  put(command, 0);
}

// The lanes of a 16-byte line that an access of a width covers.
template <typename Value>
struct Lanes {
  static constexpr uint64_t mask = (line_size - 1) & ~(sizeof(Value) - 1);
  static constexpr uint32_t all = (1u << sizeof(Value)) - 1;

  static uint8_t first(uint64_t address) { return static_cast<uint8_t>(address & mask); }
  static uint16_t enables(uint64_t address) { return static_cast<uint16_t>(all << first(address)); }
  static uint8_t select(uint64_t address, unsigned k) {
    return static_cast<uint8_t>((k + lane_valid) | first(address));
  }
};

// direction: 0 or address_is_write.
void send_address(uint64_t address, uint8_t direction) {
  const uint64_t line = address & ~uint64_t{line_size - 1};
  for (int i = 0; i < int{hw::bus_address_bytes}; ++i) {
    put(address_byte, static_cast<uint8_t>(line >> (8 * i)));
    put(address_select, static_cast<uint8_t>(1u << i) | direction);
    strobe(take_address);
  }
  if (const uint8_t mode = chip().amba_bus_mode; mode != 0) put(bus_mode, mode);
}

// Starts the transfer and waits until the bridge reports its end. A report that comes with the
// last repeat is too late for the bridge's own timer.
bool run(uint8_t start) {
  strobe(start);
  put(status, 0);
  const uint8_t done = chip().amba_done;
  uint8_t value = 0;
  const auto read = [&] {
    value = 0;
    zvgCrtcReadByte(status, &value);
    return 0;
  };
  return read_wait_compare(
             status_repeats, sleeping(status_step_us), read,
             [&] { return (value & status_mask) == done; }, LastRead::comes_too_late) == 0;
}

template <typename Value>
int amba_write(uint64_t address, Value value) {
  send_address(address, address_is_write);
  put(write_lane, 0);
  strobe(take_write_lane);
  for (unsigned k = 0; k < sizeof(Value); ++k) {
    put(write_data, static_cast<uint8_t>(uint64_t{value} >> (8 * k)));
    put(write_lane, Lanes<Value>::select(address, k));
    strobe(take_write_lane);
  }
  const uint16_t enables = Lanes<Value>::enables(address);
  put(enables_byte, static_cast<uint8_t>(enables));
  put(enables_select, enables_low);
  strobe(take_enables);
  put(enables_byte, static_cast<uint8_t>(enables >> 8));
  put(enables_select, enables_high);
  strobe(take_enables);
  if (!run(start_write)) return write_timed_out;
  strobe(acknowledge);
  return 0;
}

template <typename Value>
int amba_read(uint64_t address, Value* value) {
  send_address(address, 0);
  if (!run(start_read)) return read_timed_out;
  uint64_t wide = 0;
  for (unsigned k = 0; k < sizeof(Value); ++k) {
    put(read_lane, Lanes<Value>::select(address, k));
    strobe(take_read_lane);
    uint8_t byte = 0;
    zvgCrtcReadByte(read_data, &byte);
    wide |= uint64_t{byte} << (8 * k);
  }
  // The bridge wants the end of the read confirmed by a second start.
  if (!run(start_read)) return read_timed_out;
  strobe(acknowledge);
  *value = static_cast<Value>(wide);
  return 0;
}

}  // namespace

}  // namespace zvg::core

using zvg::core::amba_read;
using zvg::core::amba_write;

int zvgAmbaReadByte(uint64_t address, uint8_t* value) {
  return amba_read(address, value);
}
int zvgAmbaReadWord(uint64_t address, uint16_t* value) {
  return amba_read(address, value);
}
int zvgAmbaReadLong(uint64_t address, uint32_t* value) {
  return amba_read(address, value);
}
int zvgAmbaReadQuad(uint64_t address, uint64_t* value) {
  return amba_read(address, value);
}
int zvgAmbaWriteByte(uint64_t address, uint8_t value) {
  return amba_write(address, value);
}
int zvgAmbaWriteWord(uint64_t address, uint16_t value) {
  return amba_write(address, value);
}
int zvgAmbaWriteLong(uint64_t address, uint32_t value) {
  return amba_write(address, value);
}
int zvgAmbaWriteQuad(uint64_t address, uint64_t value) {
  return amba_write(address, value);
}

int zvgAmbaMskWriteByte(uint64_t address, uint8_t mask, uint8_t value) {
  return zvg::core::masked_write(zvgAmbaReadByte, zvgAmbaWriteByte, address, mask, value);
}
