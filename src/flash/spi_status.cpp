// Single commands to the flash, and its status registers.
#include <stdio.h>

#include "core/poll.h"
#include "flash/spi_controller.h"
#include "util_zvg.h"

using namespace zvg::flash;

namespace {

void prepare_to_transmit() {
  prepare_clock();
  zvgSpiExitCrmMode();
  write({{enable, 0}, {control, bytes_transmit}, {clock_divider, divider}});
  write_thresholds(deepest_threshold);
  write({{interrupt_mask, all_interrupts}, {slave_select, 1}, {enable, 1}});
}

// What a failed status read returns is what printing its line did: not negative.
int status_failed() {
  return puts("Read STATUSREG ERROR");
}

int status_succeeded() {
  read(status);
  puts("Read STATUSREG SUCCESS");
  return 0;
}

// Asks again and again until the value is right. What the last time brings comes too late.
template <typename Right>
int settle(Opcode opcode, uint32_t value, unsigned repeats, const char* exhausted, Right right) {
  const auto ask = [&] {
    send({opcode});
    if (!wait_for(Awaited::received)) return no_answer;
    value = read(data) & 0xFF;
    return 0;
  };
  const auto end = zvg::core::wait_read_compare(
      repeats, zvg::core::at_once, ask, [&] { return right(value); },
      zvg::core::LastRead::comes_too_late);
  if (end == 0) return status_succeeded();
  if (!end) puts(exhausted);
  return status_failed();
}

}  // namespace

int zvgSpiEnableReg(uint32_t cmd) {
  prepare_to_transmit();
  if (!command({cmd})) {
    puts("ENABLE ERROR");
    return -1;
  }
  constexpr uint32_t write_disable = 0x04;
  switch (cmd) {
    case write_enable:
      puts("ENABLE WRITE DONE");
      break;
    case write_disable:
      puts("DISABLE WRITE DONE");
      break;
    case volatile_status_write_enable:
      puts("ENABLE WRITE_STATUS_REG DONE");
      break;
    default:
      break;
  }
  return 0;
}

int zvgSpiWriteStatusReg(uint32_t value) {
  prepare_to_transmit();
  if (!command({write_status, 0, value})) {
    puts("QSPI MODE ENBALE ERROR");
    return -1;
  }
  if (value == flash_quad_ready) puts("QSPI MODE ENABLE DONE");
  if (value == 0) puts("QSPI MODE DISABLE DONE");
  return 0;
}

int zvgSpiReadStatusReg(uint32_t cmd) {
  prepare_clock();
  zvgSpiExitCrmMode();
  write(
      {{enable, 0}, {control, bytes_command_receive}, {frame_count, 0}, {clock_divider, divider}});
  write_thresholds(deepest_threshold);
  write({{interrupt_mask, all_interrupts}, {enable, 1}});
  send({cmd});
  if (!wait_for(Awaited::received)) return status_failed();
  const uint32_t value = read(data) & 0xFF;
  // One time more for the busy bit than for quad enable.
  if (cmd == read_status_1) {
    printf("05H(SR) = 0x%x\n", value);
    return settle(read_status_1, value, 801, "FLASH BUSY",
                  [](uint32_t v) { return (v & flash_busy) == 0; });
  }
  if (cmd == read_status_2) {
    printf("35H(SR) = 0x%x\n", value);
    return settle(read_status_2, value, 800, "QSPI MODE ENABLE ERROR",
                  [](uint32_t v) { return v == flash_quad_ready; });
  }
  return status_succeeded();
}
