#include "service/display/dp_channel.h"

#include <errno.h>

#include <algorithm>

#include "service/board/error.h"
#include "service/edid/edid_image.h"
#include "service/number.h"

namespace zvg {

namespace {

constexpr uint32_t first_block = 0x500000;
constexpr uint32_t block_size = 0x20000;
constexpr uint32_t hot_plug_register = 0x10128;
constexpr uint32_t usual_divider = 100;

constexpr uint32_t longest_transfer = 16;
constexpr uint32_t transfer_done = 0x10000;
constexpr uint32_t i2c_write_open = 0x400;
constexpr uint8_t edid_slave = 0x50;
constexpr uint8_t segment_slave = 0x30;
constexpr size_t segment_size = 256;
constexpr size_t extensions_offset = 0x7E;

// What a transfer's status word says.
std::string status_text(uint32_t status) {
  if (status == 0) return "the AUX engine is busy";
  switch (status >> 8 & 0xFF) {
    case 1:
      return "the sink does not answer";
    case 2:
      return "the sink's reply is damaged";
    case 3:
      return "the transmitter reports no end of the transfer";
    default:
      break;
  }
  switch (status & 0xFF) {
    case 1:
      return "the sink refuses it";
    case 2:
    case 8:
      return "the sink puts it off for ever";
    default:
      return format("reply code %s", hex(status & 0xFF).c_str());
  }
}

}  // namespace

zvg_dptx dp_device(uint32_t port) {
  return {nullptr, first_block + port * block_size, static_cast<int>(port), 2, 2};
}

DpChannel::DpChannel(Board& board, uint32_t port, Way way)
    : board_(board), port_(port), way_(way), device_(dp_device(port)) {
  if (way == Way::driver) {
    if (board.door() != Door::driver) {
      throw_error(ErrorKind::bad_argument,
                  "--via-driver: the driver makes transfers for its own boards only; use --driver");
    }
    return;
  }
  // Says whether the board can be read at all, before the library takes zeros for answers.
  plugged();
  if (zvg_dptx_get_clk_divider(&device_) == 0) zvg_dptx_set_clk_divider(&device_, usual_divider);
}

bool DpChannel::plugged() const {
  return board_.read_register(device_.block_offset + hot_plug_register, 4) != 0;
}

void DpChannel::expect_sink() const {
  if (way_ == Way::driver || plugged()) return;
  throw_error(ErrorKind::access,
              "DP %u: no sink is plugged in, or it is off (zvgctl dp status shows all ports)",
              port_);
}

std::vector<uint8_t> DpChannel::read(uint32_t address, uint32_t count) {
  std::vector<uint8_t> bytes(count);
  for (uint32_t done = 0; done < count;) {
    const uint32_t chunk = std::min(count - done, longest_transfer);
    uint8_t* const to = bytes.data() + done;
    const uint32_t at = address + done;
    if (way_ == Way::driver) {
      const int result = zvgDpAuxReadBuf(port_, at, to, chunk);
      if (result != 0) {
        throw_error(ErrorKind::access, "DP %u: the driver cannot read DPCD %s: %s", port_,
                    hex(at, 5).c_str(), reason(result, errno).c_str());
      }
    } else if (const uint32_t status = zvg_dptx_aux_dpcd_read_blk(&device_, at, to, chunk);
               status != transfer_done) {
      throw_error(ErrorKind::access, "DP %u: cannot read DPCD %s: %s", port_, hex(at, 5).c_str(),
                  status_text(status).c_str());
    }
    done += chunk;
  }
  return bytes;
}

void DpChannel::write(uint32_t address, uint8_t value) {
  if (way_ == Way::driver) {
    const int result = zvgDpAuxWrite(port_, address, value);
    if (result != 0) {
      throw_error(ErrorKind::access, "DP %u: the driver cannot write DPCD %s: %s", port_,
                  hex(address, 5).c_str(), reason(result, errno).c_str());
    }
    return;
  }
  const uint32_t status = zvg_dptx_aux_dpcd_write_blk(&device_, address, &value, 1);
  if (status != transfer_done) {
    throw_error(ErrorKind::access, "DP %u: cannot write DPCD %s: %s", port_,
                hex(address, 5).c_str(), status_text(status).c_str());
  }
}

// Leaves the transaction open: an end would take the pointer back.
void DpChannel::select_segment(uint8_t segment) {
  zvg_dptx_aux_write_fifo(&device_, &segment, 1);
  zvg_dptx_aux_send_request(&device_, i2c_write_open, segment_slave, 1, 0, 0);
  zvg_dptx_aux_wait_reply(&device_);
}

std::vector<uint8_t> DpChannel::edid() {
  if (way_ == Way::driver) {
    std::vector<uint8_t> bytes(512);
    uint32_t count = 0;
    const int result = zvgDpAuxEdidGet(port_, bytes.data(), &count);
    if (result != 0 || count % edid_block_size != 0 || count == 0) {
      throw_error(ErrorKind::access, "DP %u: the driver cannot fetch the EDID: %s", port_,
                  reason(result, errno).c_str());
    }
    bytes.resize(count);
    return bytes;
  }
  std::vector<uint8_t> bytes;
  size_t blocks = 1;
  for (size_t block = 0; block < blocks; ++block) {
    const size_t at = block * edid_block_size;
    bytes.resize(at + edid_block_size);
    if (at >= segment_size) select_segment(static_cast<uint8_t>(at / segment_size));
    const int result = zvg_dptx_i2c_read_req(&device_, edid_slave, static_cast<uint8_t>(at),
                                             bytes.data() + at, edid_block_size);
    if (result != 0) {
      throw_error(
          ErrorKind::access,
          "DP %u: block %zu of the EDID could not be read: the sink has none, or stopped answering",
          port_, block);
    }
    if (block == 0) blocks = size_t{bytes[extensions_offset]} + 1;
  }
  return bytes;
}

}  // namespace zvg
