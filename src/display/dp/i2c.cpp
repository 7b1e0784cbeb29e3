// I2C over an AUX channel: the sink's EDID and whatever else is on its bus.
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "core/poll.h"
#include "display/dp/aux_channel.h"
#include "display/dp/ports.h"
#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

// One read of a slave, whose phases share a budget of deferrals.
class Read {
 public:
  explicit Read(const zvg_dptx* device) : device_(device) {}

  // The offset that the slave is to read from. Returns whether the slave took it.
  bool send_offset(uint8_t slave, uint8_t offset) {
    return repeat_while_deferred([=, this] {
             zvg_dptx_aux_write_fifo(device_, &offset, 1);
             zvg_dptx_reg_write(device_, aux_address, slave);
             zvg_dptx_reg_write(device_, aux_command, i2c_write_open);
           })
        .good();
  }

  // Reads up to 16 bytes. Returns whether the transaction is still without an error.
  bool receive(Request request, uint8_t* buf, uint32_t length) {
    const Reply reply = repeat_while_deferred(
        [=, this] { zvg_dptx_reg_write(device_, aux_command, request | (length - 1)); });
    status_ |= reply.bits();
    if (reply.good()) zvg_dptx_aux_read_fifo(device_, buf, length);
    return (status_ & 0xFFFF) == 0;
  }

  uint32_t status() const { return status_; }

 private:
  // Every deferral is followed by a wait, that of the last unit of the budget too.
  template <typename Send>
  Reply repeat_while_deferred(Send send) {
    Reply reply = {};
    core::look_then_wait(
        budget_, [this] { zvg_dptx_tmr_wait(device_, deferral_ticks); },
        [&] {
          send();
          reply = take_reply(device_);
          if (reply.code == i2c_deferred) --budget_;
          return reply.code != i2c_deferred;
        });
    return reply;
  }

  const zvg_dptx* device_;
  unsigned budget_ = aux_tries;
  uint32_t status_ = transfer_made;  // and the replies of all phases that were not repeated
};

// The last chunk, of 1 to 16 bytes: the transaction ends with a byte of its own.
void receive_last(Read& read, uint8_t* buf, uint32_t length) {
  const uint32_t open = length - 1;
  if (open > 0 && !read.receive(i2c_read_open, buf, open)) return;
  read.receive(i2c_read_and_end, buf + open, 1);
}

int fail_read(const zvg_dptx* device) {
  fprintf(stderr, "dp %d: aux i2c read buffer error\n", device->port);
  return -1;
}

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvg_dptx_i2c_read_req(const zvg_dptx* device, uint8_t slave, uint8_t offset, uint8_t* buf,
                          int length) {
  Read read(device);
  if (!zvg_dptx_aux_ready(device) || !read.send_offset(slave, offset)) return fail_read(device);
  // The slave address stands for the whole of the read: chunks and repeats only write the command.
  zvg_dptx_reg_write(device, aux_address, slave);
  if (length < 1) return 0;
  auto left = static_cast<uint32_t>(length);
  memset(buf, 0, left);
  while (left > max_aux_bytes) {
    if (!read.receive(i2c_read_open, buf, max_aux_bytes)) {
      fprintf(stderr, "dp %d: aux i2c read reply error 0x%x\n", device->port, read.status());
      return fail_read(device);
    }
    buf += max_aux_bytes;
    left -= max_aux_bytes;
  }
  receive_last(read, buf, left);
  return succeeded(read.status()) ? 0 : fail_read(device);
}

int zvg_dptx_i2c_raw_write_req(const zvg_dptx* device, uint8_t slave, uint8_t value) {
  // Pushed twice, deliberately: every board in the field has been driven so.
  const uint8_t pushed[] = {value, value};
  Reply reply = {};
  bool taken = false;
  if (zvg_dptx_aux_ready(device)) {
    zvg::core::look_then_wait(
        aux_tries, [=] { zvg_dptx_tmr_wait(device, deferral_ticks); },
        [&] {
          zvg_dptx_aux_write_fifo(device, pushed, sizeof pushed);
          zvg_dptx_reg_write(device, aux_address, slave);
          zvg_dptx_reg_write(device, aux_command, i2c_write_and_end);
          reply = take_reply(device);
          return reply.code != i2c_deferred;
        },
        zvg::core::LastWait::left_out);
    taken = reply.good();
  }
  if (taken) return 0;
  fprintf(stderr, "dp %d: aux i2c write data error\n", device->port);
  return -1;
}

int zvgDpI2cRead(uint32_t port, int slave, int offset, uint8_t* byte) {
  return zvgDpI2cReadBuf(port, static_cast<uint32_t>(slave), static_cast<uint32_t>(offset), byte,
                         1);
}

int zvgDpI2cReadBuf(uint32_t port, uint32_t slave, uint32_t offset, uint8_t* buf, uint32_t length) {
  if (port > last_port) return refuse_channel(port);
  return zvg_dptx_i2c_read_req(&record_for_transfer(port), static_cast<uint8_t>(slave),
                               static_cast<uint8_t>(offset), buf, static_cast<int>(length));
}
