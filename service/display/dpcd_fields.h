// The fields of a DisplayPort sink's registers, by the names of the DisplayPort standard.
#ifndef ZVG_SERVICE_DISPLAY_DPCD_FIELDS_H
#define ZVG_SERVICE_DISPLAY_DPCD_FIELDS_H

#include <cstdint>
#include <span>
#include <string>

namespace zvg {

struct DpcdField {
  uint32_t address;
  uint8_t mask;
  const char* name;
  std::string (*text)(uint8_t value);  // of the field, moved down to bit 0

  uint8_t of(uint8_t byte) const;
};

// Receiver capabilities, link configuration and link status, in the order of addresses.
std::span<const DpcdField> dpcd_fields();

}  // namespace zvg

#endif  // ZVG_SERVICE_DISPLAY_DPCD_FIELDS_H
