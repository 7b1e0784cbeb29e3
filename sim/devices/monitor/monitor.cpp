#include "devices/monitor/monitor.h"

#include <utility>

namespace zvgsim {

namespace {

constexpr size_t segment_size = 256;
constexpr uint8_t erased = 0xFF;

const std::optional<uint32_t> no_fault;

}  // namespace

Monitor::Monitor(std::vector<uint8_t> edid) : Monitor(std::move(edid), no_fault) {}

Monitor::Monitor(std::vector<uint8_t> edid, const std::optional<uint32_t>& nack_at_byte)
    : edid_(std::move(edid)), nack_at_byte_(nack_at_byte) {}

bool Monitor::start(uint8_t address, bool read) {
  if (address == segment_address && edid_.size() > segment_size) {
    expects_ = Expects::segment;
    return !read;
  }
  if (address != rom_address) return false;
  expects_ = read ? Expects::data : Expects::offset;
  return true;
}

bool Monitor::write(uint8_t byte) {
  switch (expects_) {
    case Expects::segment:
      segment_ = byte;
      return true;
    case Expects::offset:
      offset_ = byte;
      expects_ = Expects::data;
      return nack_at_byte_ != segment_ * segment_size + byte;
    case Expects::data:
      return false;  // it is read-only
  }
  return false;
}

uint8_t Monitor::read() {
  const size_t at = segment_ * segment_size + offset_++;
  return at < edid_.size() ? edid_[at] : erased;
}

void Monitor::stop() {
  segment_ = 0;
}

}  // namespace zvgsim
