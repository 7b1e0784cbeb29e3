#include "devices/flash/board_data.h"

#include <algorithm>
#include <string>

namespace zvgsim {

namespace {

// Little-endian fields and the checksum of the records.
void put16(std::vector<uint8_t>& bytes, uint32_t at, unsigned value) {
  bytes[at] = static_cast<uint8_t>(value);
  bytes[at + 1] = static_cast<uint8_t>(value >> 8);
}
unsigned negated_sum(const std::vector<uint8_t>& bytes, uint32_t at, size_t words) {
  unsigned sum = 0;
  for (size_t i = 0; i < words; ++i) sum += bytes[at + 2 * i] | bytes[at + 2 * i + 1] << 8;
  return -sum & 0xFFFF;
}

constexpr unsigned record_magic = 0x0709;

void put_serial(std::vector<uint8_t>& bytes, const std::string& serial) {
  constexpr uint32_t record = 0x1BFC00;
  constexpr uint32_t text = 64;
  constexpr unsigned type = 0x4E53;
  std::fill_n(bytes.begin() + record, 128, uint8_t{0});
  std::copy(serial.begin(), serial.end(), bytes.begin() + record + text);
  put16(bytes, record, record_magic);
  put16(bytes, record + 2, type);
  put16(bytes, record + 6, static_cast<unsigned>(serial.size()));
  put16(bytes, record + 8, negated_sum(bytes, record + text, serial.size() / 2));
}

void put_edids(std::vector<uint8_t>& bytes, const std::vector<FlashEdid>& edids) {
  constexpr uint32_t area = 0x70200, slot = 512, header = 64;
  constexpr unsigned type = 0x5044;
  for (size_t i = 0; i < edids.size(); ++i) {
    const auto at = static_cast<uint32_t>(area + i * slot);
    const FlashEdid& one = edids[i];
    std::fill_n(bytes.begin() + at, slot, uint8_t{0});
    std::copy(one.edid.begin(), one.edid.end(), bytes.begin() + at + header);
    put16(bytes, at, record_magic);
    put16(bytes, at + 2, type);
    put16(bytes, at + 4, one.output);
    put16(bytes, at + 8, header);
    put16(bytes, at + 10, static_cast<unsigned>(one.edid.size()));
    put16(bytes, at + 12, negated_sum(bytes, at + header, one.edid.size() / 2));
    put16(bytes, at + 14, i + 1 == edids.size() ? 0 : static_cast<unsigned>((i + 1) * slot));
  }
}

}  // namespace

std::vector<uint8_t> board_data(const FlashSettings& settings) {
  std::vector<uint8_t> bytes(flash_size, 0xFF);
  if (!settings.serial.empty()) put_serial(bytes, settings.serial);
  put_edids(bytes, settings.edids);
  return bytes;
}

}  // namespace zvgsim
