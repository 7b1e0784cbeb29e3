// The AXI monitors of RQ302: where they are, whatever chip the connection leads to.
#ifndef ZVG_MONITOR_RQ302_REGISTERS_H
#define ZVG_MONITOR_RQ302_REGISTERS_H

#include "hw/blocks/axi_monitor_rq302.h"
#include "hw/generations.h"

namespace zvg::monitor::rq302 {

namespace axi = hw::axi_rq302;

constexpr uint32_t address_of(axi::Offset reg) {
  return hw::rq302_chip.rq302_axi_control.first + reg;
}

}  // namespace zvg::monitor::rq302

#endif  // ZVG_MONITOR_RQ302_REGISTERS_H
