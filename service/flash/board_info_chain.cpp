#include "service/flash/board_info_chain.h"

#include <algorithm>

#include "service/board/error.h"

namespace zvg {

using namespace zvg::formats::board_info;

std::vector<BoardInfoChain::Entry> BoardInfoChain::entries() const {
  const std::span<const uint8_t> sectors = bytes_;
  Chain chain(sectors.subspan<area_begin - first_sector, area_end - area_begin>());
  std::vector<Entry> list;
  while (const auto entry = chain.next()) {
    list.push_back(
        {entry->address, entry->header, {entry->data.begin(), entry->data.end()}, entry->valid});
  }
  return list;
}

void BoardInfoChain::put_edid(uint32_t address, uint16_t output, uint16_t next,
                              std::span<const uint8_t> edid) {
  Header header = edid_header(output, edid.data(), static_cast<uint16_t>(edid.size()));
  header.next = next;
  put_slot(header, edid, at(address));
}

void BoardInfoChain::set_edid(uint16_t output, std::span<const uint8_t> edid) {
  const std::vector<Entry> chain = entries();
  for (const Entry& entry : chain) {
    if (!entry.valid) {
      throw_error(
          ErrorKind::bad_data,
          "the board information at 0x%06x is damaged: its checksum is wrong, and what is behind "
          "it "
          "could be lost",
          entry.address);
    }
  }
  const auto own = std::find_if(chain.begin(), chain.end(), [output](const Entry& entry) {
    return entry.header.is_edid_of(output);
  });
  if (own != chain.end()) {
    put_edid(own->address, output, own->header.next, edid);
    return;
  }
  uint32_t address = area_begin;
  if (!chain.empty()) {
    // Behind everything that the chain uses.
    for (const Entry& entry : chain) {
      const auto used = entry.header.data_offset + static_cast<uint32_t>(entry.data.size());
      const uint32_t slots = std::max<uint32_t>(1, (used + slot_size - 1) / slot_size);
      address = std::max(address, entry.address + slots * slot_size);
    }
    if (address + slot_size > area_end) {
      throw_error(ErrorKind::bad_data, "the board information has no room for another entry");
    }
    Header last = chain.back().header;
    last.next = static_cast<uint16_t>(address - area_begin);
    put_header(last, at(chain.back().address));
  }
  put_edid(address, output, 0, edid);
}

}  // namespace zvg
