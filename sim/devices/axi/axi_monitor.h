// The monitors on the ports of the chip's bus.
#ifndef ZVGSIM_DEVICES_AXI_AXI_MONITOR_H
#define ZVGSIM_DEVICES_AXI_AXI_MONITOR_H

#include "board/board.h"

namespace zvgsim {

// Puts the monitors where the generation has them: a control, a measuring period, flags and 22
// ports on RQ302; bare counters of 28 ports on the others, which always run.
//
// The counters of a port hold what its traffic came to in the last whole period. On RQ302 a period
// that ends sets the port's data-update flag, which the next read of the flags clears. A control of
// 0 stops the monitors; writing the control or the period begins a period anew.
void install_axi_monitors(Board& board);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AXI_AXI_MONITOR_H
