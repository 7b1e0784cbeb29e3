// The registers behind a device record, and the controller's count-down timer.
#include <errno.h>
#include <stdint.h>
#include <stdio.h>

#include "core/poll.h"
#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

bool valid(const zvg_dptx* device) {
  return reinterpret_cast<uintptr_t>(device->base) + device->block_offset != 0;
}

int report_invalid(const char* operation, int line) {
  return fprintf(stderr, "%s(%d): invalid dp_dev\n", operation, line);
}

// Offsets are summed in 64 bits: one that is too large must not come round to another register.
uint32_t read(const zvg_dptx* device, uint64_t offset) {
  return zvgRegReadLongBase(device->base, device->block_offset + offset);
}

int write(const zvg_dptx* device, uint64_t offset, uint32_t value) {
  const uint64_t base = reinterpret_cast<uintptr_t>(device->base);
  return zvgRegWriteLong(base + device->block_offset + offset, value);
}

// What a read through an invalid record gives.
constexpr uint32_t no_value = static_cast<uint32_t>(-EINVAL);

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

uint32_t zvg_dptx_reg_read(const zvg_dptx* device, uint32_t reg) {
  if (!valid(device)) {
    report_invalid(__func__, __LINE__);
    return no_value;
  }
  return read(device, uint64_t{controller_offset} + reg);
}

int zvg_dptx_reg_write(const zvg_dptx* device, uint32_t reg, uint32_t value) {
  if (!valid(device)) return report_invalid(__func__, __LINE__);
  return write(device, uint64_t{controller_offset} + reg, value);
}

uint32_t zvg_dptx_phy_reg_read(const zvg_dptx* device, uint32_t reg) {
  if (!valid(device)) {
    report_invalid(__func__, __LINE__);
    return no_value;
  }
  return read(device, reg);
}

int zvg_dptx_phy_reg_write(const zvg_dptx* device, uint32_t reg, uint32_t value) {
  if (!valid(device)) return report_invalid(__func__, __LINE__);
  return write(device, reg, value);
}

void zvg_dptx_tmr_init(const zvg_dptx* device) {
  zvg_dptx_reg_write(device, timer, 0);
}

void zvg_dptx_tmr_set_value(const zvg_dptx* device, uint32_t ticks) {
  const uint32_t old = zvg_dptx_reg_read(device, timer);
  zvg_dptx_reg_write(device, timer, (ticks & timer_count) | (old & timer_kept));
}

void zvg_dptx_tmr_enable(const zvg_dptx* device, int on) {
  const uint32_t old = zvg_dptx_reg_read(device, timer);
  zvg_dptx_reg_write(device, timer, on != 0 ? old | timer_on : old & ~timer_on);
}

uint32_t zvg_dptx_tmr_get_value(const zvg_dptx* device) {
  return zvg_dptx_reg_read(device, timer) & timer_count;
}

void zvg_dptx_tmr_wait(const zvg_dptx* device, uint32_t ticks) {
  zvg_dptx_tmr_init(device);
  zvg_dptx_tmr_set_value(device, ticks);
  zvg_dptx_tmr_enable(device, 1);
  // Behind a valid record the wait has no bound: nothing but the counter ends it. An invalid record
  // has no counter.
  zvg::core::look_then_wait(zvg::core::endless, zvg::core::at_once,
                            [=] { return zvg_dptx_tmr_get_value(device) == 0 || !valid(device); });
}

int zvg_dptx_hpd_sense(const zvg_dptx* device) {
  return static_cast<int>(zvg_dptx_reg_read(device, hot_plug) & 1);
}
