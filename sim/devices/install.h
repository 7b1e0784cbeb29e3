// The devices of a board.
#ifndef ZVGSIM_DEVICES_INSTALL_H
#define ZVGSIM_DEVICES_INSTALL_H

namespace zvgsim {

class Board;

// Puts every device that the board's generation has at its block's base.
void install_devices(Board& board);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_INSTALL_H
