#include "devices/hdmi/hdmi_transmitter.h"

#include <algorithm>
#include <memory>

#include "devices/block_bases.h"
#include "devices/monitor/monitor.h"
#include "hw/blocks/hdmi_transmitter.h"

namespace zvgsim {

namespace {

using namespace hw::hdmi;

// The masters count SCL in periods of the block's 54 MHz clock.
constexpr uint64_t block_clock_mhz = 54;
struct ResetValue {
  Offset at;
  uint8_t value;
};
constexpr ResetValue reset_values[] = {
    {phy_config, phy_power_down},     {phy_i2c_slave, HdmiPhy::slave_address},
    {phy_i2c_divider, i2c_fast_mode}, {ddc_divider, i2c_fast_mode},
    {ddc_scl_high_msb, 0x01},         {ddc_scl_high_lsb, 0x04},
    {ddc_scl_low_msb, 0x01},          {ddc_scl_low_lsb, 0x0E},
    {ddc_fast_scl_high_lsb, 0x30},    {ddc_fast_scl_low_lsb, 0x57},
};

constexpr uint64_t phy_standard_period = microseconds(10);
constexpr uint64_t phy_fast_period = 2500;

}  // namespace

HdmiTransmitter::HdmiTransmitter(Board& board, unsigned port)
    : ByteBlock(board, hdmi_base + port * hdmi_stride),
      settings_(board.config().of<HdmiSettings>().port[port]),
      faults_(board.faults().of<HdmiFaults>().port[port]),
      ddc_(board.ddc(port)) {
  for (const ResetValue& reset : reset_values) store(reset.at, reset.value);
  auto phy = std::make_unique<HdmiPhy>(milliseconds(settings_.pll_lock_ms));
  phy_ = phy.get();
  phy_bus_.attach(std::move(phy));
  ddc_.unheard = [this](uint8_t address) {
    const auto& nack = faults_.ddc_nack;
    return std::find(nack.begin(), nack.end(), address) != nack.end();
  };
  if (!settings_.edid.empty())
    ddc_.attach(std::make_unique<Monitor>(settings_.edid, faults_.ddc_nack_at_byte));
  if (settings_.timing) {
    program_frame_composer(*settings_.timing);
    store(phy_config, phy_power_on);
    phy_->set_locked();
  }
}

void HdmiTransmitter::program_frame_composer(const ModeTiming& t) {
  const uint32_t hblank = t.htotal - t.hactive;
  const uint32_t hdelay = t.hsync_start - t.hactive;
  const uint32_t hwidth = t.hsync_end - t.hsync_start;
  const uint32_t values[] = {
      t.hactive,
      t.hactive >> 8,
      hblank,
      hblank >> 8,
      t.vactive,
      t.vactive >> 8,
      t.vtotal - t.vactive,
      hdelay,
      hdelay >> 8,
      hwidth,
      hwidth >> 8,
      t.vsync_start - t.vactive,
      t.vsync_end - t.vsync_start,
      t.clock,
      t.clock >> 8,
      t.clock >> 16,
  };
  uint32_t at = h_active;
  for (const uint32_t value : values) store(at++, static_cast<uint8_t>(value));
}

// I2C masters -----------------------------------------------------------------------------------

void HdmiTransmitter::Master::settle(uint64_t now) {
  if (!busy || now < done_at) return;
  busy = false;
  status |= outcome;
}

bool HdmiTransmitter::byte_out(Master& master, I2cBus& bus, uint8_t byte) {
  master.clocks += 9;
  return bus.write(byte);
}

bool HdmiTransmitter::address_out(Master& master, I2cBus& bus, uint8_t address, bool read) {
  master.clocks += 10;
  return bus.start(address & 0x7F, read);
}

uint8_t HdmiTransmitter::byte_in(Master& master, I2cBus& bus) {
  master.clocks += 9;
  return bus.read();
}

// The wires are played through at once; what the registers show comes when the transfer's time has
// passed.
void HdmiTransmitter::begin(Master& master, bool hangs, bool acknowledged, uint64_t period) {
  master.busy = true;
  master.clocks += 1;  // stop
  master.done_at = hangs ? UINT64_MAX : now() + master.clocks * period;
  master.outcome = acknowledged ? i2c_done : i2c_error;
}

uint64_t HdmiTransmitter::ddc_period() {
  const bool fast = (stored(ddc_divider) & i2c_fast_mode) != 0;
  const auto count = [this](uint32_t high_byte) {
    return uint64_t{stored(high_byte)} << 8 | stored(high_byte + 1);
  };
  const uint64_t counts = count(fast ? ddc_fast_scl_high_msb : ddc_scl_high_msb) +
                          count(fast ? ddc_fast_scl_low_msb : ddc_scl_low_msb);
  return std::max<uint64_t>(counts, 1) * 1000 / block_clock_mhz;
}

uint64_t HdmiTransmitter::phy_period() {
  return (stored(phy_i2c_divider) & i2c_fast_mode) != 0 ? phy_fast_period : phy_standard_period;
}

void HdmiTransmitter::ddc_operation(uint8_t operation) {
  Master& master = ddc_master_;
  master.settle(now());
  if (master.busy) return;
  master.clocks = 0;
  const uint8_t slave = stored(ddc_slave);
  bool acknowledged = true;
  switch (operation) {
    case i2c_segmented_read:
      acknowledged = address_out(master, ddc_, stored(ddc_segment_slave), false) &&
                     byte_out(master, ddc_, stored(ddc_segment));
      [[fallthrough]];
    case i2c_read:
      acknowledged = acknowledged && address_out(master, ddc_, slave, false) &&
                     byte_out(master, ddc_, stored(ddc_offset)) &&
                     address_out(master, ddc_, slave, true);
      if (acknowledged) store(ddc_read_data, byte_in(master, ddc_));
      break;
    case i2c_write:
      acknowledged = address_out(master, ddc_, slave, false) &&
                     byte_out(master, ddc_, stored(ddc_offset)) &&
                     byte_out(master, ddc_, stored(ddc_write_data));
      break;
    default:
      return;
  }
  ddc_.stop();
  begin(master, faults_.ddc_busy, acknowledged, ddc_period());
}

void HdmiTransmitter::phy_operation(uint8_t operation) {
  Master& master = phy_master_;
  master.settle(now());
  if (master.busy) return;
  master.clocks = 0;
  const uint8_t slave = stored(phy_i2c_slave);
  bool acknowledged = address_out(master, phy_bus_, slave, false) &&
                      byte_out(master, phy_bus_, stored(phy_i2c_address));
  switch (operation) {
    case i2c_read:
      acknowledged = acknowledged && address_out(master, phy_bus_, slave, true);
      if (acknowledged) {
        store(phy_i2c_read_high, byte_in(master, phy_bus_));
        store(phy_i2c_read_low, byte_in(master, phy_bus_));
      }
      break;
    case i2c_write:
      acknowledged = acknowledged && byte_out(master, phy_bus_, stored(phy_i2c_write_high)) &&
                     byte_out(master, phy_bus_, stored(phy_i2c_write_low));
      break;
    default:
      return;
  }
  phy_bus_.stop();
  begin(master, faults_.phy_busy, acknowledged, phy_period());
}

// PHY -------------------------------------------------------------------------------------------

bool HdmiTransmitter::pll_locked() {
  return settings_.pixel_clock && !faults_.pll_never_locks && phy_->locked(now());
}

uint8_t HdmiTransmitter::phy_status() {
  const bool plugged = settings_.hot_plug.value_or(!settings_.edid.empty());
  const unsigned sense = settings_.receiver_sense.value_or(plugged ? 0xF : 0x0);
  return static_cast<uint8_t>((pll_locked() ? phy_pll_locked : 0) | (plugged ? phy_hot_plug : 0) |
                              sense << phy_receiver_sense_shift);
}

// The PLL makes the TMDS clock out of the pixel clock.
uint8_t HdmiTransmitter::clock_status() {
  return static_cast<uint8_t>((settings_.pixel_clock ? clock_pixel_on : 0) |
                              (pll_locked() ? clock_tmds_on : 0));
}

void HdmiTransmitter::power_phy(uint8_t configuration) {
  phy_->set_power(
      (configuration & phy_power_down) == 0 && (configuration & phy_transmitter_on) != 0, now());
}

// Registers -------------------------------------------------------------------------------------

uint8_t HdmiTransmitter::read_byte(uint32_t offset) {
  switch (offset) {
    case hw::hdmi::ddc_status:
      ddc_master_.settle(now());
      return ddc_master_.status;
    case hw::hdmi::phy_i2c_status:
      phy_master_.settle(now());
      return phy_master_.status;
    case hw::hdmi::phy_status:
      return phy_status();
    case hw::hdmi::clock_status:
      return clock_status();
    case hw::hdmi::ddc_operation:
    case phy_i2c_operation:
      return 0;  // they start a transfer and keep nothing
    default:
      return stored(offset);
  }
}

void HdmiTransmitter::write_byte(uint32_t offset, uint8_t value) {
  switch (offset) {
    case hw::hdmi::ddc_status:
      ddc_master_.settle(now());
      ddc_master_.status &= static_cast<uint8_t>(~value);
      return;
    case hw::hdmi::phy_i2c_status:
      phy_master_.settle(now());
      phy_master_.status &= static_cast<uint8_t>(~value);
      return;
    case hw::hdmi::phy_status:
    case hw::hdmi::clock_status:
    case ddc_read_data:
    case phy_i2c_read_high:
    case phy_i2c_read_low:
      return;  // read-only
    case hw::hdmi::ddc_operation:
      ddc_operation(value);
      return;
    case phy_i2c_operation:
      phy_operation(value);
      return;
    case phy_config:
      store(offset, value);
      power_phy(value);
      return;
    case phy_reset:
      store(offset, value);
      phy_->set_reset((value & phy_reset_held) != 0, now());
      return;
    default:
      store(offset, value);
  }
}

namespace {

void place(Board& board) {
  for (unsigned port = 0; port < hdmi_ports; ++port) {
    board.attach(hdmi_base + port * hdmi_stride, hdmi_stride,
                 std::make_unique<HdmiTransmitter>(board, port));
  }
}

}  // namespace

Model hdmi_model() {
  return {.read = read_hdmi, .read_faults = read_hdmi_faults, .place = place};
}

}  // namespace zvgsim
