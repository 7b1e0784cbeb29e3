#include "service/display/dp_link_status.h"

#include <stdio.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "service/board/error.h"
#include "service/number.h"

namespace zvg {

namespace {

// Places in the two groups of registers.
constexpr size_t rate_setting = 0;
constexpr size_t lane_count_setting = 1;
constexpr size_t lane_settings = 3;
constexpr size_t lane_statuses = 2;
constexpr size_t alignment_status = 4;

constexpr uint8_t lane_count_bits = 0x1F;

}  // namespace

std::string link_rate_text(uint8_t code) {
  constexpr uint8_t codes[] = {0x06, 0x09, 0x0A, 0x0C, 0x14, 0x1E};
  if (std::find(std::begin(codes), std::end(codes), code) == std::end(codes)) {
    return "unknown (" + hex(code, 2) + ")";
  }
  const unsigned hundredths = code * 27u;  // of a Gbit/s
  return hundredths % 10 == 0 ? format("%u.%u Gbit/s", hundredths / 100, hundredths / 10 % 10)
                              : format("%u.%02u Gbit/s", hundredths / 100, hundredths % 100);
}

LinkStatus link_status(std::span<const uint8_t> settings, std::span<const uint8_t> statuses) {
  LinkStatus link;
  link.rate_code = settings[rate_setting];
  link.lanes = std::min<unsigned>(settings[lane_count_setting] & lane_count_bits, 4);
  link.aligned = (statuses[alignment_status] & 1) != 0;
  for (size_t i = 0; i < link.lane.size(); ++i) {
    const uint8_t setting = settings[lane_settings + i];
    const auto status = static_cast<uint8_t>(statuses[lane_statuses + i / 2] >> (i % 2 * 4));
    link.lane[i] = {.clock = (status & 1) != 0,
                    .equalised = (status & 2) != 0,
                    .symbol_lock = (status & 4) != 0,
                    .swing = setting & 3u,
                    .preemphasis = setting >> 3 & 3u,
                    .swing_limit = (setting & 0x04) != 0,
                    .preemphasis_limit = (setting & 0x20) != 0};
  }
  return link;
}

bool LinkStatus::up() const {
  return lanes != 0 && aligned &&
         std::all_of(lane.begin(), lane.begin() + lanes, [](const LinkLane& l) { return l.up(); });
}

std::string LinkStatus::problems() const {
  std::string text;
  const auto add = [&](const std::string& problem) {
    text += (text.empty() ? "" : ", ") + problem;
  };
  if (lanes == 0) add("no lane is in use");
  for (unsigned i = 0; i < lanes; ++i) {
    const LinkLane& l = lane[i];
    if (!l.clock) {
      add(format("lane %u has no clock recovery", i));
    } else if (!l.equalised) {
      add(format("lane %u is not equalised", i));
    } else if (!l.symbol_lock) {
      add(format("lane %u has no symbol lock", i));
    }
  }
  if (lanes != 0 && !aligned) add("the lanes are not aligned");
  return text;
}

Json LinkStatus::json() const {
  Json all = Json::array();
  for (unsigned i = 0; i < lanes; ++i) {
    all.push_back({{"lane", i},
                   {"clock_recovery", lane[i].clock},
                   {"equalised", lane[i].equalised},
                   {"symbol_lock", lane[i].symbol_lock},
                   {"swing", lane[i].swing},
                   {"pre_emphasis", lane[i].preemphasis}});
  }
  return {{"up", up()}, {"rate_code", hex(rate_code, 2)}, {"lanes", all}, {"aligned", aligned}};
}

}  // namespace zvg
