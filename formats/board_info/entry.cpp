#include "formats/board_info/entry.h"

#include <string.h>

namespace zvg::formats::board_info {

namespace {

// Where a header's numbers are.
enum Offset : size_t {
  magic_at = 0,
  type_at = 2,
  id_at = 4,
  sub_index_at = 6,
  data_offset_at = 8,
  data_size_at = 10,
  checksum_at = 12,
  next_at = 14,
};

}  // namespace

std::optional<uint32_t> Header::next_address() const {
  if (next == 0) return std::nullopt;
  return area_begin + next;
}

bool Header::matches(const uint8_t* data) const {
  return checksum == negated_sum(data, (data_size + 1u) / 2);
}

Header parse_header(const uint8_t* bytes) {
  return {.magic = u16(bytes + magic_at),
          .type = u16(bytes + type_at),
          .id = u16(bytes + id_at),
          .sub_index = u16(bytes + sub_index_at),
          .data_offset = u16(bytes + data_offset_at),
          .data_size = u16(bytes + data_size_at),
          .checksum = u16(bytes + checksum_at),
          .next = u16(bytes + next_at)};
}

Header edid_header(uint16_t output, const uint8_t* edid, uint16_t size) {
  return {.magic = record_magic,
          .type = edid_type,
          .id = output,
          .data_offset = header_size,
          .data_size = size,
          .checksum = negated_sum(edid, size / 2u)};
}

void put_header(const Header& header, uint8_t* bytes) {
  put_u16(bytes + magic_at, header.magic);
  put_u16(bytes + type_at, header.type);
  put_u16(bytes + id_at, header.id);
  put_u16(bytes + sub_index_at, header.sub_index);
  put_u16(bytes + data_offset_at, header.data_offset);
  put_u16(bytes + data_size_at, header.data_size);
  put_u16(bytes + checksum_at, header.checksum);
  put_u16(bytes + next_at, header.next);
}

void put_slot(const Header& header, std::span<const uint8_t> data, uint8_t* slot) {
  memset(slot, 0, slot_size);
  put_header(header, slot);
  if (!data.empty()) memcpy(slot + header_size, data.data(), data.size());
}

std::optional<Entry> Chain::next() {
  if (!address_ || *address_ + header_size > area_end || taken_ == most_entries) {
    return std::nullopt;
  }
  const uint32_t at = *address_ - area_begin;
  Entry entry = {*address_, parse_header(area_.data() + at), {}, false};
  const Header& header = entry.header;
  if (!header.is_entry()) return std::nullopt;
  ++taken_;
  const size_t begin = size_t{at} + header.data_offset;
  const size_t summed_up = (header.data_size + size_t{1}) / 2 * 2;
  if (begin + summed_up <= area_.size()) {
    entry.data = area_.subspan(begin, header.data_size);
    entry.valid = header.matches(area_.data() + begin);
  }
  address_ = entry.valid ? header.next_address() : std::nullopt;
  return entry;
}

}  // namespace zvg::formats::board_info
