// The AXI monitors of RQ302.
#ifndef ZVG_MONITOR_RQ302_REGISTERS_H
#define ZVG_MONITOR_RQ302_REGISTERS_H

#include <stdint.h>

namespace zvg::monitor::rq302 {

constexpr uint32_t control = 0x288800;
constexpr uint32_t timeout_flags = 0x288804;
constexpr uint32_t period = 0x288808;  // cycles
constexpr uint32_t data_update_flags = 0x288FDC;

// The addresses that a port's slots hold: two low words and the high bytes of both, at an offset
// from the control register that is the port's own.
constexpr uint32_t slots = control;

}  // namespace zvg::monitor::rq302

#endif  // ZVG_MONITOR_RQ302_REGISTERS_H
