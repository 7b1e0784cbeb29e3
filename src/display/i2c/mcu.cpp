// The chip's microcontroller: requests over a page of shared registers, among them I2C transfers.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "core/poll.h"
#include "util_zvg.h"

namespace {

enum Page : uint32_t {
  alive = 0x3FF00,
  parameter_c = 0x3FF10,
  parameter_a = 0x3FF11,
  completion = 0x3FF12,
  doorbell = 0x3FF13,
  parameter_b = 0x3FF14,  // the slave's address
  request_kind = 0x3FF19,
  start_offset = 0x3FF1A,
  done = 0x3FF1C,
  target = 0x3FF20,
  fifo = 0x3FF80,
};

constexpr uint32_t alive_signature = 0xDEADBEEF;
constexpr uint32_t done_signature = 0x55AA55AA;
constexpr uint8_t completion_failed = 0x04;
constexpr uint8_t kind_i2c_read = 0x80;
constexpr uint8_t doorbell_ring = 0xAA;

constexpr uint32_t controller_reset = 0x308068;
constexpr uint32_t reset_assert = 0xFFFFFF00;
constexpr uint32_t reset_release = 0xFFFFFF08;
constexpr unsigned boot_s = 1;

constexpr useconds_t first_look_us = 5'000;
constexpr useconds_t look_step_us = 1'000;

constexpr uint32_t edid_slave = 0x50;
constexpr size_t edid_block = 128;
constexpr size_t edid_extension_count = 126;

// Fetches one EDID block. Returns whether the controller could.
bool fetch_block(int first_selector, int second_selector, uint8_t offset, uint8_t* block) {
  zvg_mcu_request request = {};
  request.second_selector = static_cast<uint8_t>(second_selector);
  request.first_selector = static_cast<uint8_t>(first_selector);
  request.offset = offset;
  request.length = edid_block;
  request.buffer = block;
  return zvg_mcu_handle(&request) >= 0;
}

}  // namespace

int ResetMcu(int a, uint32_t b, int c, uint32_t low_select, uint32_t high_select) {
  uint32_t signature = 0;
  zvgRegReadLong(alive, &signature);
  if (signature != alive_signature) {
    zvgRegWriteLong(controller_reset, reset_assert);
    zvgRegWriteLong(controller_reset, reset_release);
    sleep(boot_s);
  }
  zvgRegWriteByte(parameter_a, static_cast<uint8_t>(a));
  zvgRegWriteLong(parameter_b, b);
  zvgRegWriteByte(parameter_c, static_cast<uint8_t>(c));
  return zvgRegWriteByte(target,
                         static_cast<uint8_t>((high_select << 4 & 0xF0) | (low_select & 0x0F)));
}

int zvg_dp_mcu_fifo_read(uint8_t* buffer, int count) {
  for (int i = 0; i < count; ++i) zvgRegReadByte(fifo + static_cast<uint32_t>(i), buffer + i);
  return count < 1 ? 0 : count;
}

int zvg_mcu_handle(struct zvg_mcu_request* request) {
  ResetMcu(1, edid_slave, 0, request->first_selector, request->second_selector);
  zvgRegWriteByte(request_kind, kind_i2c_read);
  zvgRegWriteByte(start_offset, request->offset);
  zvgRegWriteByte(doorbell, doorbell_ring);
  usleep(first_look_us);
  // The controller always answers in the end; how long a slave may hold its clock is not known.
  uint32_t signature = 0;
  zvg::core::look_then_wait(zvg::core::endless, zvg::core::sleeping(look_step_us), [&] {
    zvgRegReadLong(done, &signature);
    return signature == done_signature;
  });
  uint8_t status = 0;
  zvgRegReadByte(completion, &status);
  const int result = (status & completion_failed) != 0
                         ? -EPIPE
                         : zvg_dp_mcu_fifo_read(request->buffer, request->length);
  zvgRegWriteLong(done, 0);
  return result;
}

void* mcu_i2c_get_edid(int first_selector, int second_selector, void* out, uint32_t* length) {
  // The working buffer stays allocated: the library's contract.
  size_t held = edid_block;
  uint8_t* edid = static_cast<uint8_t*>(calloc(held, 1));
  if (edid == nullptr) {
    puts("new is error");
    *length = 0;
    return out;
  }
  // A block that could not be fetched reads as zeros.
  if (!fetch_block(first_selector, second_selector, 0, edid)) puts("read edid failed-");
  const size_t size = (edid[edid_extension_count] + size_t{1}) * edid_block;
  if (size > held) {
    if (void* const grown = realloc(edid, size)) {
      edid = static_cast<uint8_t*>(grown);
      memset(edid + held, 0, size - held);
      held = size;
    } else {
      puts("new is error");
    }
    // One extension block is all that the request's offset reaches; the others stay zero.
    uint8_t nowhere[edid_block];
    uint8_t* const second = held > edid_block ? edid + edid_block : nowhere;
    if (!fetch_block(first_selector, second_selector, edid_block, second)) {
      puts("read edid failed--");
    }
  }
  memcpy(out, edid, held);
  memset(static_cast<uint8_t*>(out) + held, 0, size - held);
  *length = static_cast<uint32_t>(size);
  return out;
}
