// What a DisplayPort sink says about the link to it.
#ifndef ZVG_SERVICE_DISPLAY_DP_LINK_STATUS_H
#define ZVG_SERVICE_DISPLAY_DP_LINK_STATUS_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "service/json.h"

namespace zvg {

struct LinkLane {
  bool clock = false;
  bool equalised = false;
  bool symbol_lock = false;
  unsigned swing = 0;
  unsigned preemphasis = 0;
  bool swing_limit = false;  // the transmitter said that it has no higher level
  bool preemphasis_limit = false;

  bool up() const { return clock && equalised && symbol_lock; }
};

struct LinkStatus {
  static constexpr uint32_t first_setting = 0x100;  // seven bytes from there
  static constexpr uint32_t settings = 7;
  static constexpr uint32_t first_status = 0x200;  // eight
  static constexpr uint32_t statuses = 8;

  uint8_t rate_code = 0;
  unsigned lanes = 0;  // in use
  std::array<LinkLane, 4> lane{};
  bool aligned = false;

  bool up() const;
  // "lane 2 has no clock recovery, ..."; empty when the link is up.
  std::string problems() const;
  Json json() const;
};

// settings and statuses: the registers from first_setting and first_status on.
LinkStatus link_status(std::span<const uint8_t> settings, std::span<const uint8_t> statuses);

// "2.7 Gbit/s", or "unknown" for a code that is none.
std::string link_rate_text(uint8_t code);

}  // namespace zvg

#endif  // ZVG_SERVICE_DISPLAY_DP_LINK_STATUS_H
