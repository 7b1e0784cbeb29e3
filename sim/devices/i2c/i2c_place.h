// Where a chip stands on the board's I2C buses.
#ifndef ZVGSIM_DEVICES_I2C_I2C_PLACE_H
#define ZVGSIM_DEVICES_I2C_I2C_PLACE_H

#include <cstdint>

#include "board/board_config.h"
#include "board/file_table.h"

namespace zvgsim {

// Reads the table's keys 'bus' and 'address'. False when they are not right, or the place is
// another chip's: two would answer at once.
bool read_i2c_place(FileTable& table, BoardConfig& config, unsigned* bus, uint8_t* address,
                    uint8_t first, uint8_t last);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_I2C_I2C_PLACE_H
