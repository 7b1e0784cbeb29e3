// The AUX channel of a transmitter: the engine, and native transfers of DPCD bytes.
#include "display/dp/aux_channel.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <optional>

#include "core/poll.h"
#include "display/dp/registers.h"

namespace zvg::display::dp {

namespace {

enum WaitResult : uint32_t { received = 0, timed_out = 1, in_error = 2, never_came = 3 };

// Polls a reply wait makes for each unit of the clock divider.
constexpr uint32_t polls_per_divider = 500;

int is_set(const zvg_dptx* device, ControllerRegister reg, uint32_t bit) {
  return (zvg_dptx_reg_read(device, reg) & bit) != 0;
}

Reply exchange(const zvg_dptx* device, Request request, uint32_t address, uint32_t length) {
  zvg_dptx_aux_send_request(device, request, address, length, 0, 0);
  return take_reply(device);
}

}  // namespace

Reply take_reply(const zvg_dptx* device) {
  const uint32_t wait = zvg_dptx_aux_wait_reply(device);
  zvg_dptx_reg_read(device, interrupt_status);
  return {wait, zvg_dptx_aux_reply_code(device)};
}

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

void zvg_dptx_set_clk_divider(const zvg_dptx* device, uint32_t divider) {
  zvg_dptx_reg_write(device, aux_clock_divider, divider);
}

uint32_t zvg_dptx_get_clk_divider(const zvg_dptx* device) {
  return zvg_dptx_reg_read(device, aux_clock_divider);
}

int zvg_dptx_aux_ready(const zvg_dptx* device) {
  return is_set(device, aux_status, aux_busy) == 0;
}

int zvg_dptx_aux_hpd_status(const zvg_dptx* device) {
  return zvg_dptx_reg_read(device, hot_plug) != 0;
}

void zvg_dptx_aux_send_request(const zvg_dptx* device, uint32_t command, uint32_t address,
                               uint32_t length, int flag_a, int flag_b) {
  uint32_t word = command | ((length - 1) & aux_length);
  if (flag_a != 0) word |= aux_flag_a;
  if (flag_b != 0) word |= aux_flag_b;
  zvg_dptx_reg_write(device, aux_address, address);
  zvg_dptx_reg_write(device, aux_command, word);
}

int zvg_dptx_aux_reply_timeout(const zvg_dptx* device) {
  return is_set(device, aux_signal, aux_timeout);
}

int zvg_dptx_aux_reply_error(const zvg_dptx* device) {
  return is_set(device, aux_status, aux_error);
}

int zvg_dptx_aux_reply_received(const zvg_dptx* device) {
  return is_set(device, aux_signal, aux_received);
}

uint32_t zvg_dptx_aux_reply_code(const zvg_dptx* device) {
  return zvg_dptx_reg_read(device, aux_reply_code);
}

uint32_t zvg_dptx_aux_wait_reply(const zvg_dptx* device) {
  const uint32_t budget = zvg_dptx_get_clk_divider(device) * polls_per_divider;
  const auto look = [=]() -> std::optional<WaitResult> {
    if (zvg_dptx_aux_reply_timeout(device)) return timed_out;
    if (zvg_dptx_aux_reply_error(device)) return in_error;
    if (zvg_dptx_aux_reply_received(device)) return received;
    return std::nullopt;
  };
  // A busy wait: replies come within a few hundred microseconds.
  return zvg::core::look_then_wait(budget, zvg::core::at_once, look).value_or(never_came);
}

void zvg_dptx_aux_read_fifo(const zvg_dptx* device, uint8_t* buf, uint32_t n) {
  for (uint32_t i = 0; i < n; ++i) {
    buf[i] = static_cast<uint8_t>(zvg_dptx_reg_read(device, aux_reply_fifo));
  }
}

void zvg_dptx_aux_write_fifo(const zvg_dptx* device, const uint8_t* buf, uint32_t n) {
  for (uint32_t i = 0; i < n; ++i) zvg_dptx_reg_write(device, aux_write_fifo, buf[i]);
}

uint32_t zvg_dptx_aux_dpcd_read_blk(const zvg_dptx* device, uint32_t address, uint8_t* buf,
                                    uint32_t length) {
  memset(buf, 0, length);
  if (!zvg_dptx_aux_ready(device)) return 0;
  Reply reply = {};
  zvg::core::look_then_wait(
      aux_tries, [=] { zvg_dptx_tmr_wait(device, deferral_ticks); },
      [&] {
        reply = exchange(device, native_read, address, length);
        return reply.code != native_deferred;
      },
      zvg::core::LastWait::left_out);
  if (reply.good()) zvg_dptx_aux_read_fifo(device, buf, length);
  return transfer_made | reply.bits();
}

uint32_t zvg_dptx_aux_dpcd_write_blk(const zvg_dptx* device, uint32_t address, const uint8_t* buf,
                                     uint32_t length) {
  if (!zvg_dptx_aux_ready(device)) return 0;
  Reply reply = {};
  // Unlike a read, a deferred write is repeated at once: its bytes have to be pushed again anyway.
  zvg::core::look_then_wait(aux_tries, zvg::core::at_once, [&] {
    zvg_dptx_aux_write_fifo(device, buf, length);
    reply = exchange(device, native_write, address, length);
    return reply.code != native_deferred;
  });
  return transfer_made | reply.bits();
}

int zvg_dptx_aux_read(const zvg_dptx* device, uint32_t address, uint8_t* byte) {
  if (succeeded(zvg_dptx_aux_dpcd_read_blk(device, address, byte, 1))) return 0;
  fprintf(stderr, "dp %d: aux read byte error\n", device->port);
  return -1;
}

int zvg_dptx_aux_read_blk(const zvg_dptx* device, uint32_t address, uint8_t* buf, int length) {
  while (length > 0) {
    const uint32_t chunk = std::min(static_cast<uint32_t>(length), max_aux_bytes);
    if (!succeeded(zvg_dptx_aux_dpcd_read_blk(device, address, buf, chunk))) {
      fprintf(stderr, "dp %d: aux read buffer error\n", device->port);
      return -1;
    }
    address += chunk;
    buf += chunk;
    length -= static_cast<int>(chunk);
  }
  return 0;
}

int zvg_dptx_aux_write(const zvg_dptx* device, uint32_t address, uint32_t value) {
  const auto byte = static_cast<uint8_t>(value);
  const uint32_t status = zvg_dptx_aux_dpcd_write_blk(device, address, &byte, 1);
  if (succeeded(status)) return 0;
  fprintf(stderr, "dp %d: aux write byte error(0x%x)\n", device->port, status);
  return -1;
}
