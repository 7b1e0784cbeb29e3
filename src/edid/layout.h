// Sizes that all of the EDID decoder shares, and where the fields of the two blocks are.
#ifndef ZVG_EDID_LAYOUT_H
#define ZVG_EDID_LAYOUT_H

#include <stddef.h>
#include <stdint.h>

namespace zvg::edid {

constexpr size_t block_size = 128;
constexpr size_t edid_size = 2 * block_size;  // the base block and one extension
constexpr size_t descriptor_size = 18;
constexpr size_t checksum_offset = block_size - 1;
constexpr uint8_t cea_tag = 0x02;  // first byte of a CEA-861 extension

// Offsets in the base block.
namespace base {
constexpr size_t header = 0x00;
constexpr size_t manufacturer = 0x08;   // three 5-bit letters, big-endian
constexpr size_t product_code = 0x0A;   // 16 bits, little-endian
constexpr size_t serial_number = 0x0C;  // 32 bits, little-endian
constexpr size_t week = 0x10;
constexpr size_t year = 0x11;  // since 1990
constexpr size_t version = 0x12;
constexpr size_t revision = 0x13;
constexpr size_t video_input = 0x14;
constexpr size_t width_cm = 0x15;
constexpr size_t height_cm = 0x16;
constexpr size_t gamma = 0x17;  // (gamma - 1) * 100
constexpr size_t features = 0x18;
constexpr size_t chroma_low_rg = 0x19;     // bits 1:0 of the red and green coordinates
constexpr size_t chroma_low_bw = 0x1A;     // bits 1:0 of the blue and white coordinates
constexpr size_t chroma_high = 0x1B;       // eight bytes: bits 9:2, red x first
constexpr size_t established = 0x23;       // three bytes
constexpr size_t standard_timings = 0x26;  // eight pairs
constexpr size_t descriptors = 0x36;       // four of 18 bytes
constexpr size_t extension_count = 0x7E;
}  // namespace base

// Offsets in a CEA-861 extension block.
namespace cea {
constexpr size_t version = 1;
constexpr size_t timings_offset = 2;  // where the detailed timings start, in the block
constexpr size_t features = 3;
constexpr size_t data_blocks = 4;
}  // namespace cea

// A 16-bit field, low byte first.
constexpr int u16(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8;
}

}  // namespace zvg::edid

#endif  // ZVG_EDID_LAYOUT_H
