// The chips on the board's I2C buses.
#ifndef ZVGSIM_DEVICES_I2C_I2C_CHIPS_H
#define ZVGSIM_DEVICES_I2C_I2C_CHIPS_H

#include "board/board.h"

namespace zvgsim {

// Puts what the board's configuration names on the buses: power monitors, memories, video decoders.
void install_i2c_chips(Board& board);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_I2C_I2C_CHIPS_H
