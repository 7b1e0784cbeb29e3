// Where each generation has its hardware blocks in the MMIO space.
#include <string.h>

#include "util_zvg.h"

uint32_t zvg_gpu_hardware[ZVG_HW_WORDS] = {
    0x308400,                                // system control
    0x30AC00,                                // SPI flash controller
    0x308000,                                // clocks and PLLs
    0x800000, 0x30A000,                      // not used by this library
    4,                                       // DDR channels
    0x3C0000, 0x3C8000, 0x3D0000, 0x3D8000,  // DDR controllers
    0x400000, 0x440000, 0x480000, 0x4C0000,  // DDR PHYs
};

namespace {

// RQ302 has two DDR channels; the entries of the other two repeat channel 0.
constexpr uint32_t rq302_bases[ZVG_HW_WORDS] = {
    0x288400, 0x28AC00, 0x288000, 0x300000, 0x28A000, 2,        0x280000,
    0x130000, 0x280000, 0x280000, 0x2C0000, 0x1C0000, 0x2C0000, 0x2C0000,
};

}  // namespace

uint32_t* set_rq302_reg_base(void) {
  memcpy(zvg_gpu_hardware, rq302_bases, sizeof rq302_bases);
  return zvg_gpu_hardware;
}
