#include "devices/monitor/monitor.h"

namespace zvgsim {

namespace {

constexpr size_t segment_size = 256;
constexpr uint8_t erased = 0xFF;

}  // namespace

Monitor::Monitor(std::vector<uint8_t> edid, const HdmiPortFaults& faults)
    : edid_(std::move(edid)), faults_(faults) {}

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
      return faults_.ddc_nack_at_byte != segment_ * segment_size + byte;
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
