// The generations of the chip.
#ifndef ZVGSIM_BOARD_GENERATION_H
#define ZVGSIM_BOARD_GENERATION_H

#include <cstdint>
#include <string_view>

#include "hw/generations.h"

namespace zvgsim {

namespace hw = zvg::hw;

using hw::Generation;

// What the driver answers when it is asked for the device id. An RQ300 says that it is an RQ301.
constexpr uint32_t device_id(Generation generation) {
  return hw::chip_of(generation).device_id;
}

// "RQ300", "RQ301" or "RQ302".
constexpr std::string_view name(Generation generation) {
  return hw::chip_of(generation).name;
}

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_GENERATION_H
