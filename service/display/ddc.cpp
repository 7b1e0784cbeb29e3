#include "service/display/ddc.h"

#include <unistd.h>

#include "service/board/error.h"
#include "service/display/hdmi_registers.h"

namespace zvg {

namespace {

// A byte takes a third of a millisecond at 100 kHz; monitors may stretch the clock.
constexpr int status_reads = 2000;
constexpr useconds_t status_step_us = 100;

constexpr uint32_t segment_size = 256;

}  // namespace

void Ddc::put(uint64_t reg, uint64_t value) {
  board_.write_register(hdmi_base(hdmi_) + reg, 1, value);
}

void Ddc::begin(uint8_t slave, uint8_t offset) {
  put(ddc_status, ddc_both);
  put(ddc_slave, slave);
  put(ddc_offset, offset);
  put(ddc_mute, ddc_both);
}

void Ddc::run(uint64_t operation, const char* deed, uint8_t slave, uint32_t offset) {
  put(ddc_operation, operation);
  for (int i = 0; i < status_reads; ++i) {
    const uint64_t status = board_.read_register(hdmi_base(hdmi_) + ddc_status, 1);
    if ((status & ddc_done) != 0) return;
    if ((status & ddc_error) != 0) {
      throw_error(ErrorKind::access,
                  "HDMI %u: nothing acknowledged the %s of DDC address 0x%02x, offset 0x%x", hdmi_,
                  deed, slave, offset);
    }
    usleep(status_step_us);
  }
  throw_error(ErrorKind::access,
              "HDMI %u: the DDC master did not finish the %s of address 0x%02x, offset 0x%x", hdmi_,
              deed, slave, offset);
}

void Ddc::write(uint8_t slave, uint8_t offset, uint8_t value) {
  begin(slave, offset);
  put(ddc_write_data, value);
  run(ddc_operation_write, "write", slave, offset);
}

uint8_t Ddc::read_behind_two_blocks(uint32_t offset) {
  put(ddc_segment_slave, edid_segment_slave);
  put(ddc_segment, offset / segment_size);
  begin(edid_slave, static_cast<uint8_t>(offset));
  run(ddc_operation_segment_read, "read", edid_slave, offset);
  return static_cast<uint8_t>(board_.read_register(hdmi_base(hdmi_) + ddc_read_data, 1));
}

}  // namespace zvg
