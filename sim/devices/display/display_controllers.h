// What firmware left the display controllers programmed with.
#ifndef ZVGSIM_DEVICES_DISPLAY_DISPLAY_CONTROLLERS_H
#define ZVGSIM_DEVICES_DISPLAY_DISPLAY_CONTROLLERS_H

#include <cstdint>

namespace zvgsim {

class Board;

// The PLL word that comes nearest to a pixel clock in kHz.
uint32_t pll_word(uint32_t clock);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DISPLAY_DISPLAY_CONTROLLERS_H
