// The chip's microcontroller: a page of registers that it shares with the host, and its reset.
#ifndef ZVG_HW_BLOCKS_MCU_H
#define ZVG_HW_BLOCKS_MCU_H

#include "hw/register.h"

namespace zvg::hw::mcu {

enum Offset : uint32_t {
  alive = 0x00,
  parameter_c = 0x10,
  parameter_a = 0x11,
  completion = 0x12,
  doorbell = 0x13,
  parameter_b = 0x14,  // the slave's address
  request_kind = 0x19,
  start_offset = 0x1A,
  done = 0x1C,
  target = 0x20,
  fifo = 0x80,
};

constexpr uint32_t size = 0x100;
constexpr uint32_t fifo_size = 128;

constexpr uint32_t alive_signature = 0xDEADBEEF;
constexpr uint32_t done_signature = 0x55AA55AA;
constexpr uint8_t completion_failed = 0x04;
constexpr uint8_t kind_i2c_read = 0x80;
constexpr uint8_t doorbell_ring = 0xAA;
constexpr uint8_t target_first = 0x0F;
constexpr uint8_t target_second = 0xF0;
constexpr unsigned target_second_shift = 4;

// Reset register: the controller runs while the bit is set.
constexpr uint32_t reset_released = 0x08;
constexpr uint32_t reset_other_bits = 0xFFFFFF00;

namespace map {

inline constexpr Value alive_values[] = {{alive_signature, "running"}};
inline constexpr Value done_values[] = {{done_signature, "done"}};
inline constexpr Value kind_values[] = {{kind_i2c_read, "i2c_read"}};
inline constexpr Value ring_values[] = {{doorbell_ring, "ring"}};

inline constexpr Field alive_fields[] = {
    field("signature", 0xFFFFFFFF, "whether the controller runs", alive_values),
};
inline constexpr Field completion_fields[] = {
    field("failed", completion_failed, "the transaction failed"),
};
inline constexpr Field doorbell_fields[] = {
    field("ring", 0xFF, "hands the request over", ring_values),
};
inline constexpr Field slave_fields[] = {field("address", 0x7F, "7-bit I2C address")};
inline constexpr Field kind_fields[] = {field("kind", 0xFF, "of the request", kind_values)};
inline constexpr Field done_fields[] = {
    field("signature", 0xFFFFFFFF, "set at the end of a request", done_values),
};
inline constexpr Field target_fields[] = {
    field("second", target_second, "second selector"),
    field("first", target_first, "first selector"),
};

inline constexpr Register registers[] = {
    {"alive", alive, 32, ro, "sign of life", alive_fields},
    {"parameter_c", parameter_c, 8, rw, "third parameter of a request"},
    {"parameter_a", parameter_a, 8, rw, "first parameter of a request"},
    {"completion", completion, 8, rw, "how the request ended", completion_fields},
    {"doorbell", doorbell, 8, rw, "starts a request", doorbell_fields, Effect::write_starts},
    {"parameter_b", parameter_b, 32, rw, "address of the slave", slave_fields},
    {"request_kind", request_kind, 8, rw, "what is asked for", kind_fields},
    {"start_offset", start_offset, 8, rw, "place in the slave"},
    {"done", done, 32, rw, "end of a request; a zero arms it again", done_fields},
    {"target", target, 8, rw, "bus of the slave", target_fields},
    {.name = "fifo",
     .offset = fifo,
     .width = 8,
     .access = rw,
     .description = "a byte of the result",
     .count = fifo_size,
     .stride = 1},
};
inline constexpr Block block = {
    "mcu",     Space::mmio, "page that is shared with the microcontroller",
    registers, size,        &Chip::mcu};

inline constexpr Field reset_fields[] = {
    field("released", reset_released, "the microcontroller runs"),
};
inline constexpr Register reset_registers[] = {
    {"control", 0, 32, rw, "reset of the microcontroller", reset_fields},
};
inline constexpr Block reset_block = {"mcu_reset",     Space::mmio, "reset of the microcontroller",
                                      reset_registers, 4,           &Chip::mcu_reset};

}  // namespace map

}  // namespace zvg::hw::mcu

#endif  // ZVG_HW_BLOCKS_MCU_H
