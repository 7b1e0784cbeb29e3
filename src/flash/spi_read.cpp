// Flash content, four bytes or one byte a frame.
#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "core/poll.h"
#include "flash/spi_controller.h"
#include "util_zvg.h"

using namespace zvg::flash;

namespace {

// Bytes that the FIFO holds, four or one a frame.
int quad_chunk() {
  return static_cast<int>(fifo_chip().spi_fifo_frames * 4);
}
int standard_chunk() {
  return static_cast<int>(fifo_chip().spi_fifo_frames);
}

constexpr int quad_budget = 800;
constexpr unsigned busy_repeats = 801;

constexpr int words_of(int bytes) {
  return (bytes + 3) / 4;
}

int failed() {
  puts("SPI READ ERROR");
  return -1;
}

int succeeded(int length) {
  printf("SPI READ 0x%x SUCCESS\n", static_cast<unsigned>(length));
  return 0;
}

void configure_quad_read(uint32_t frames) {
  write({{enable, 0},
         {control, quad_receive},
         {frame_count, frames},
         {sample_delay, 1},
         {enhanced_control, quad_read_format},
         {enable, 1}});
}

// Whether the end of a chunk's transfer is waited for before its frames are taken.
enum class ChunkEnd { awaited, taken_for_granted };

int read_chunks(uint32_t* buffer, uint32_t address, int length, int chunk, ChunkEnd end) {
  for (int remaining = length; remaining > 0;) {
    const int n = std::min(remaining, chunk);
    const int words = words_of(n);
    write(receive_threshold, static_cast<uint32_t>(words - 1));
    send({quad_output_read, address});
    if (!wait_for(Awaited::chunk)) return failed();
    if (end == ChunkEnd::awaited && !wait_for(Awaited::idle)) return failed();
    for (int i = 0; i < words; ++i) *buffer++ = swapped(read(data));
    address += static_cast<uint32_t>(n);
    remaining -= n;
  }
  return succeeded(length);
}

}  // namespace

int zvgSpiReadBuffer(uint32_t* buffer, uint32_t address, int length) {
  prepare_clock();
  const uint32_t frames = fifo_chip().spi_fifo_frames - 1;
  zvgSpiExitCrmMode();
  write({{enable, 0}, {control, bytes_transmit}, {clock_divider, divider}});
  write_thresholds(frames);
  write({{interrupt_mask, all_interrupts}, {slave_select, 1}, {enable, 1}, {slave_select, 1}});
  if (!enable_quad_mode(quad_budget)) return failed();
  configure_quad_read(frames);
  return read_chunks(buffer, address, length, quad_chunk(), ChunkEnd::awaited);
}

int zvgSpiReadBufferStandard(uint8_t* buffer, uint32_t address, int length) {
  prepare_clock();
  const int chunk = standard_chunk();
  zvgSpiExitCrmMode();
  write({{enable, 0}, {clock_divider, divider}, {control, bytes_command_receive}});
  write_thresholds(deepest_threshold);
  write({{interrupt_mask, all_interrupts}, {slave_select, 1}, {enable, 1}});
  send({read_status_1});
  if (!wait_for(Awaited::received)) return failed();
  uint32_t flash_status = read(data);
  const auto end = zvg::core::wait_read_compare(
      busy_repeats, zvg::core::at_once,
      [&] { return read_flash_status(read_status_1, &flash_status); },
      [&] { return (flash_status & flash_busy) == 0; });
  if (!end) puts("FLASH BUSY");
  if (end != 0) return failed();
  write({{enable, 0}, {control, bytes_command_receive}, {frame_count, 255}, {enable, 1}});
  for (int remaining = length; remaining > 0;) {
    const int n = std::min(remaining, chunk);
    write(receive_threshold, static_cast<uint32_t>(words_of(n) - 1));
    send({read_data, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF});
    if (!wait_for(Awaited::chunk)) return failed();
    for (int i = 0; i < n; ++i) *buffer++ = static_cast<uint8_t>(read(data));
    address += static_cast<uint32_t>(n);
    remaining -= n;
  }
  return succeeded(length);
}

int zvgSpiDebugRead(uint32_t* buffer, uint32_t address, int length) {
  const int chunk = quad_chunk();
  prepare_clock();
  zvgSpiExitCrmMode();
  configure_quad_read(255);  // on every generation
  return read_chunks(buffer, address, length, chunk, ChunkEnd::taken_for_granted);
}
