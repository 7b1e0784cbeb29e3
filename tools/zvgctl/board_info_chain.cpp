#include "zvgctl/board_info_chain.h"

#include <algorithm>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

constexpr uint32_t area_begin = 0x70200;
constexpr uint32_t area_end = 0x80000;
constexpr uint32_t slot = 512;
constexpr uint32_t header = 64;
constexpr unsigned magic = 0x0709;
constexpr unsigned edid_type = 0x5044;

// Header fields.
enum Field : uint32_t {
  magic_field = 0,
  type_field = 2,
  id_field = 4,
  sub_index_field = 6,
  data_offset_field = 8,
  data_size_field = 10,
  checksum_field = 12,
  next_field = 14,
};

unsigned sum(std::span<const uint8_t> bytes) {
  unsigned total = 0;
  for (size_t i = 0; i < bytes.size(); ++i) total += bytes[i] << (i % 2 == 0 ? 0 : 8);
  return total & 0xFFFF;
}

}  // namespace

bool BoardInfoChain::is_edid(const Entry& entry) {
  return entry.type == edid_type && entry.sub_index == 0;
}

unsigned BoardInfoChain::word(uint32_t address) const {
  const uint32_t at = address - first_sector;
  return bytes_[at] | bytes_[at + 1] << 8;
}

void BoardInfoChain::set_word(uint32_t address, unsigned value) {
  const uint32_t at = address - first_sector;
  bytes_[at] = static_cast<uint8_t>(value);
  bytes_[at + 1] = static_cast<uint8_t>(value >> 8);
}

std::vector<BoardInfoChain::Entry> BoardInfoChain::entries() const {
  std::vector<Entry> list;
  constexpr size_t most = (area_end - area_begin) / slot;
  uint32_t address = area_begin;
  while (list.size() < most && address + header <= area_end &&
         word(address + magic_field) == magic) {
    Entry entry = {address,
                   word(address + type_field),
                   word(address + id_field),
                   word(address + sub_index_field),
                   {},
                   false};
    const uint32_t begin = address + word(address + data_offset_field);
    const uint32_t size = word(address + data_size_field);
    // With the byte that an odd size is summed up with.
    if (begin + size + size % 2 <= area_end) {
      const auto first = bytes_.begin() + (begin - first_sector);
      entry.data.assign(first, first + size);
      const unsigned total = sum(std::span(first, first + size + size % 2));
      entry.valid = ((total + word(address + checksum_field)) & 0xFFFF) == 0;
    }
    const bool valid = entry.valid;
    list.push_back(std::move(entry));
    const unsigned next = word(address + next_field);
    if (!valid || next == 0) break;
    address = area_begin + next;
  }
  return list;
}

void BoardInfoChain::put_slot(uint32_t address, unsigned output, unsigned next,
                              std::span<const uint8_t> edid) {
  const auto begin = bytes_.begin() + (address - first_sector);
  std::fill_n(begin, slot, uint8_t{0});
  set_word(address + magic_field, magic);
  set_word(address + type_field, edid_type);
  set_word(address + id_field, output);
  set_word(address + data_offset_field, header);
  set_word(address + data_size_field, static_cast<unsigned>(edid.size()));
  set_word(address + checksum_field, -sum(edid));
  set_word(address + next_field, next);
  std::copy(edid.begin(), edid.end(), begin + header);
}

void BoardInfoChain::set_edid(unsigned output, std::span<const uint8_t> edid) {
  const std::vector<Entry> chain = entries();
  for (const Entry& entry : chain) {
    if (!entry.valid) {
      fail(
          "the board information at 0x%06x is damaged: its checksum is wrong, and what is behind "
          "it "
          "could be lost",
          entry.address);
    }
  }
  const auto own = std::find_if(chain.begin(), chain.end(), [output](const Entry& entry) {
    return is_edid(entry) && entry.id == output;
  });
  if (own != chain.end()) {
    put_slot(own->address, output, word(own->address + next_field), edid);
    return;
  }
  uint32_t address = area_begin;
  if (!chain.empty()) {
    // Behind everything that the chain uses.
    for (const Entry& entry : chain) {
      const uint32_t end = entry.address + word(entry.address + data_offset_field) +
                           static_cast<uint32_t>(entry.data.size());
      const uint32_t slots = std::max<uint32_t>(1, (end - entry.address + slot - 1) / slot);
      address = std::max(address, entry.address + slots * slot);
    }
    if (address + slot > area_end) fail("the board information has no room for another entry");
    set_word(chain.back().address + next_field, address - area_begin);
  }
  put_slot(address, output, 0, edid);
}

}  // namespace zvgctl
