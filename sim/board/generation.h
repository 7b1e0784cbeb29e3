// The generations of the chip.
#ifndef ZVGSIM_BOARD_GENERATION_H
#define ZVGSIM_BOARD_GENERATION_H

#include <cstdint>
#include <string_view>

namespace zvgsim {

enum class Generation { rq300, rq301, rq302 };

// What the driver answers when it is asked for the device id. An RQ300 says that it is an RQ301.
constexpr uint32_t device_id(Generation generation) {
  return generation == Generation::rq302 ? 0x202 : 0x201;
}

// "RQ300", "RQ301" or "RQ302".
constexpr std::string_view name(Generation generation) {
  switch (generation) {
    case Generation::rq300:
      return "RQ300";
    case Generation::rq301:
      return "RQ301";
    case Generation::rq302:
      return "RQ302";
  }
  return "";
}

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_GENERATION_H
