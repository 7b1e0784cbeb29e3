// Programming pages, four bytes or one byte a frame, and verifying them.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "core/poll.h"
#include "flash/spi_modify.h"
#include "util_zvg.h"

namespace zvg::flash {

void configure_to_modify() {
  write({{enable, 0},
         {control, bytes_transmit},
         {clock_divider, divider},
         {interrupt_mask, all_interrupts},
         {slave_select, 1},
         {enable, 1}});
  if (!short_command(write_enable)) puts("SPI BASIC CONFIG ERROR");
}

bool enable_write() {
  write({{enable, 0}, {control, bytes_transmit}, {enable, 1}});
  return short_command(write_enable);
}

}  // namespace zvg::flash

using namespace zvg::flash;

namespace {

// Bytes of one program command, four or one a frame.
int quad_page() {
  return static_cast<int>(fifo_chip().spi_program_frames * 4);
}
int standard_page() {
  return static_cast<int>(fifo_chip().spi_program_frames);
}

constexpr int quad_budget = 80;
constexpr unsigned program_repeats = 21;
constexpr useconds_t program_step_us = 700;

int failed() {
  puts("SPI PROGRAM ERROR");
  return -1;
}

int finished(int verified) {
  if (verified != 0) return failed();
  puts("SPI PROGRAM SUCCESSS");
  return 0;
}

// Waits until the flash has taken a page, then enables the next write.
bool finish_page() {
  uint32_t flash_status = 0;
  configure_for_one_answer();
  const auto end = zvg::core::read_wait_compare(
      program_repeats, zvg::core::sleeping(program_step_us),
      [&] { return read_flash_status(read_status_1, &flash_status); },
      [&] { return (flash_status & flash_busy) == 0; });
  if (!end) puts("ERROR: FLASH PROGRAM BUSY");
  return end == 0 && enable_write();
}

bool program_quad_page(const uint32_t* words, int count, uint32_t address) {
  write({{enable, 0},
         {control, quad_transmit},
         {enhanced_control, quad_program_format},
         {enable, 1}});
  queue({quad_page_program, address});
  for (int i = 0; i < count; ++i) write(data, swapped(words[i]));
  write(slave_select, 1);
  return wait_for(Awaited::idle) && finish_page();
}

bool program_page(const uint8_t* bytes, int count, uint32_t address) {
  write({{enable, 0}, {control, bytes_transmit}, {enable, 1}});
  queue({page_program, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF});
  for (int i = 0; i < count; ++i) write(data, bytes[i]);
  write(slave_select, 1);
  return wait_for(Awaited::idle) && finish_page();
}

// Reads back with the given function and compares as far as strings go: up to a zero byte that
// both have at the same place.
template <typename Unit>
int check(const uint8_t* expected, uint32_t address, int length,
          int (*read_back)(Unit*, uint32_t, int)) {
  // A quad read fills whole words.
  const size_t size = (length > 0 ? (static_cast<size_t>(length) + 3) / 4 * 4 : 0) + 1;
  void* const bytes = malloc(size);
  if (bytes == nullptr) {
    perror("Malloc buf_spi error");
    return -1;
  }
  memset(bytes, 0, size);
  read_back(static_cast<Unit*>(bytes), address, length);
  // Nothing to compare comes without a place for it.
  const bool equal =
      length <= 0 || strncmp(reinterpret_cast<const char*>(expected), static_cast<char*>(bytes),
                             static_cast<size_t>(length)) == 0;
  free(bytes);
  puts(equal ? "SPI CHECK DATA SUCCESS" : "SPI CHECK DATA ERROR");
  return equal ? 0 : -1;
}

}  // namespace

int zvgSpiCheckData(const uint8_t* expected, uint32_t address, int length) {
  return check(expected, address, length, zvgSpiReadBuffer);
}

int zvgSpiCheckDataStandard(const uint8_t* expected, uint32_t address, int length) {
  return check(expected, address, length, zvgSpiReadBufferStandard);
}

int zvgSpiProgram(const uint32_t* data, uint32_t address, int length) {
  const int page = quad_page();
  zvgSpiExitCrmMode();
  configure_to_modify();
  fputs("..", stdout);
  if (!enable_quad_mode(quad_budget)) return failed();
  const uint32_t* words = data;
  uint32_t at = address;
  for (int remaining = length; remaining > 0;) {
    const int n = std::min(remaining, page);
    const int count = (n + 3) / 4;
    if (!program_quad_page(words, count, at)) return failed();
    words += count;
    at += static_cast<uint32_t>(n);
    remaining -= n;
  }
  puts("..");
  return finished(zvgSpiCheckData(reinterpret_cast<const uint8_t*>(data), address, length));
}

int zvgSpiProgramStandard(const uint8_t* data, uint32_t address, int length) {
  const int page = standard_page();
  zvgSpiExitCrmMode();
  configure_to_modify();
  fputs("..", stdout);
  if (!enable_write()) return failed();
  const uint8_t* bytes = data;
  uint32_t at = address;
  for (int remaining = length; remaining > 0;) {
    const int n = std::min(remaining, page);
    if (!program_page(bytes, n, at)) return failed();
    bytes += n;
    at += static_cast<uint32_t>(n);
    remaining -= n;
  }
  puts("..");
  return finished(zvgSpiCheckDataStandard(data, address, length));
}
