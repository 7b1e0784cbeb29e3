#include "flash/spi_controller.h"

#include <stdio.h>

#include <algorithm>

#include "core/chip.h"
#include "core/poll.h"
#include "hw/blocks/clocks.h"
#include "hw/blocks/system_control.h"

namespace zvg::flash {

namespace {

constexpr unsigned look_repeats = 21;

uint32_t address_of(Offset reg) {
  return zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + reg;
}

bool is_there(Awaited awaited, uint32_t value) {
  switch (awaited) {
    case Awaited::sent:
      return value == sent_and_idle;
    case Awaited::received:
      return (value & status_received) != 0;
    case Awaited::chunk:
      return (value & status_receive_full) != 0;
    case Awaited::idle:
      return (value & status_busy) == 0;
  }
  return false;
}

}  // namespace

void write(Offset reg, uint32_t value) {
  zvgRegWriteLong(address_of(reg), value);
}

void write(std::initializer_list<std::pair<Offset, uint32_t>> values) {
  for (const auto& [reg, value] : values) write(reg, value);
}

uint32_t read(Offset reg) {
  uint32_t value = 0;
  zvgRegReadLong(address_of(reg), &value);
  return value;
}

void queue(std::initializer_list<uint32_t> frames) {
  write(slave_select, 0);
  for (const uint32_t frame : frames) write(data, frame);
}

void send(std::initializer_list<uint32_t> frames) {
  queue(frames);
  write(slave_select, 1);
}

bool wait_for(Awaited awaited) {
  uint32_t value = 0;
  const auto look = [&] {
    value = read(status);
    return 0;
  };
  return core::read_wait_compare(look_repeats, core::sleeping(look_step_us), look,
                                 [&] { return is_there(awaited, value); }) == 0;
}

bool command(std::initializer_list<uint32_t> frames) {
  send(frames);
  return wait_for(Awaited::sent);
}

bool short_command(Opcode opcode) {
  write(data, opcode);
  return wait_for(Awaited::sent);
}

void configure_for_one_answer() {
  write({{enable, 0}, {control, bytes_command_receive}, {frame_count, 0}, {enable, 1}});
}

int read_flash_status(Opcode opcode, uint32_t* value) {
  write(data, opcode);
  if (!wait_for(Awaited::received)) return no_answer;
  *value = read(data) & 0xFF;
  return 0;
}

void write_thresholds(uint32_t value) {
  for (const Offset reg : {transmit_threshold, receive_threshold, transmit_level, receive_level}) {
    write(reg, value);
  }
}

void prepare_clock() {
  if (!core::chip().spi_clock_gated) return;
  constexpr uint32_t on = hw::clocks::spi_clock_on;
  const uint32_t gate = zvg_gpu_hardware[ZVG_HW_CLOCK] + hw::clocks::clock_select;
  uint32_t value = 0;
  zvgRegReadLong(gate, &value);
  if ((value & on) == 0) zvgRegWriteLong(gate, value | on);
}

const hw::Chip& fifo_chip() {
  return core::chip_or(hw::Generation::rq302);
}

bool enable_quad_mode(int budget) {
  if (!short_command(write_enable)) return false;
  if (!short_command(volatile_status_write_enable)) return false;
  if (!command({write_status, 0, flash_quad_ready})) return false;

  int left = budget + 1;  // the first look costs nothing
  uint32_t value = 0;
  const auto ask_until = [&](Opcode opcode, int repeats, auto right) {
    configure_for_one_answer();
    const auto ask = [&] {
      --left;
      return read_flash_status(opcode, &value);
    };
    // The last answer comes too late, whatever it is.
    return core::read_wait_compare(
        static_cast<unsigned>(repeats), core::at_once, ask, [&] { return right(value); },
        core::LastRead::comes_too_late);
  };
  auto end = ask_until(read_status_1, budget + 1, [](uint32_t v) { return (v & flash_busy) == 0; });
  if (end == 0) {
    // Asked a second time also when the first register has used the budget up.
    end = ask_until(read_status_2, std::max(left, 1),
                    [](uint32_t v) { return v == flash_quad_ready; });
  }
  if (!end) puts("SPI NOT EXIT XIP MODE");
  return end == 0;
}

}  // namespace zvg::flash

using namespace zvg::flash;

int zvgSpiExitCrmMode(void) {
  using namespace zvg::hw::system_control;
  constexpr uint32_t chip_with_continuous_read =
      zvg::hw::chip_of(zvg::hw::Generation::rq301).flash_identifier;
  constexpr uint32_t short_threshold = 7;

  const uint32_t system = zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL];
  uint32_t left = 0;
  zvgRegReadLong(system + continuous_read_left, &left);
  if ((left & left_continuous_read) != 0) return 0;
  uint32_t chip = 0;
  zvgRegReadLong(system + identifier, &chip);
  if (chip >> identifier_shift == chip_with_continuous_read) {
    write({{enable, 0},
           {control, quad_continuous_exit},
           {frame_count, 3},
           {clock_divider, divider},
           {transmit_threshold, short_threshold},
           {receive_threshold, short_threshold},
           {interrupt_mask, all_interrupts},
           {sample_delay, 1},
           {enhanced_control, continuous_exit_format},
           {slave_select, 1},
           {enable, 1}});
    zvgRegWriteLong(continuous_exit_strobe, 1);
    read(control);  // the strobe lasts as long as this access
    zvgRegWriteLong(continuous_exit_strobe, 0);
  }
  return zvgRegWriteLong(system + continuous_read_left, left | left_continuous_read);
}
