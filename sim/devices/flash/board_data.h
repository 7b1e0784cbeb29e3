// What the factory writes into a board's flash.
#ifndef ZVGSIM_DEVICES_FLASH_BOARD_DATA_H
#define ZVGSIM_DEVICES_FLASH_BOARD_DATA_H

#include <cstdint>
#include <vector>

#include "devices/flash/flash_settings.h"

namespace zvgsim {

// The content of a new flash: the records of the serial number and of the EDIDs, erased elsewhere.
std::vector<uint8_t> board_data(const FlashSettings& settings);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_FLASH_BOARD_DATA_H
