// Board information: a chain of small entries in an area of the flash, among them EDIDs for outputs
// whose display cannot be asked. An entry is a header and, where the header says, its data.
#ifndef ZVG_FORMATS_BOARD_INFO_ENTRY_H
#define ZVG_FORMATS_BOARD_INFO_ENTRY_H

#include <stddef.h>
#include <stdint.h>

#include <optional>
#include <span>

#include "formats/board_info/record.h"

namespace zvg::formats::board_info {

// The area in the flash. The first entry stands at its begin; new ones begin a slot of their own.
constexpr uint32_t area_begin = 0x70200;
constexpr uint32_t area_end = 0x80000;
constexpr uint32_t slot_size = 512;
constexpr uint32_t header_size = 64;
constexpr uint32_t most_slot_data = slot_size - header_size;

// No chain is longer. One that leads back to an entry before would have no end otherwise.
constexpr int most_entries = (area_end - area_begin) / slot_size;

constexpr uint16_t edid_type = 0x5044;

// Eight 16-bit numbers; the other 48 bytes of a header are reserved.
struct Header {
  uint16_t magic = 0;  // record_magic
  uint16_t type = 0;
  uint16_t id = 0;  // of an EDID: the output it belongs to
  uint16_t sub_index = 0;
  uint16_t data_offset = 0;  // from the header's begin
  uint16_t data_size = 0;    // bytes
  uint16_t checksum = 0;     // with it the 16-bit words of the data add up to 0
  uint16_t next = 0;         // the next header's offset from area_begin; 0 ends the chain

  bool is_entry() const { return magic == record_magic; }
  bool is_edid() const { return type == edid_type && sub_index == 0; }
  bool is_edid_of(uint32_t output) const { return is_edid() && id == output; }
  // The next header's address in the flash; none at the chain's end.
  std::optional<uint32_t> next_address() const;
  // Whether the data has this header's checksum. data: the header's data_size bytes, of an odd
  // size one more: the byte behind the data is summed up with it.
  bool matches(const uint8_t* data) const;
};

// bytes: header_size of them.
Header parse_header(const uint8_t* bytes);

// The header of an output's EDID that is the last of its chain. The data follows the header; the
// last byte of an odd size is left out of the checksum. edid: size bytes.
Header edid_header(uint16_t output, const uint8_t* edid, uint16_t size);

// Writes the numbers; the reserved bytes stay what they are.
void put_header(const Header& header, uint8_t* bytes);

// The header and behind it the data, the rest of the slot zero. slot: slot_size bytes. data: most
// most_slot_data of them.
void put_slot(const Header& header, std::span<const uint8_t> data, uint8_t* slot);

// An entry of a copy of the area.
struct Entry {
  uint32_t address;  // of the header, in the flash
  Header header;
  std::span<const uint8_t> data;  // in the copy; empty when it would reach over the area's end
  bool valid;                     // the data is there and has its checksum
};

// Walks the chain in a copy of the area. An entry that is not valid is the last one.
class Chain {
 public:
  // area: from area_begin to area_end. It stays the caller's, who keeps it while entries are used.
  explicit Chain(std::span<const uint8_t, area_end - area_begin> area) : area_(area) {}

  // None at the end: behind the last entry, or where the next one should be and is not.
  std::optional<Entry> next();

 private:
  std::span<const uint8_t, area_end - area_begin> area_;
  std::optional<uint32_t> address_ = area_begin;
  int taken_ = 0;
};

}  // namespace zvg::formats::board_info

#endif  // ZVG_FORMATS_BOARD_INFO_ENTRY_H
