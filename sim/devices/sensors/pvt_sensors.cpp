#include "devices/sensors/pvt_sensors.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "devices/block_bases.h"
#include "hw/blocks/pvt.h"

namespace zvgsim {

namespace {

enum Type : unsigned { temperature = 0, voltage = 1, first_process = 2 };

// From the sensor's data sheet; both rise with the code.
double celsius_of(double code) {
  return 1.603e-11 * std::pow(code, 4) + 1.561e-8 * std::pow(code, 3) - 1.509e-4 * code * code +
         0.3341 * code - 62.86;
}

double volt_of(double code) {
  return 5.9677e-4 * code + 0.51106;
}

// The code whose value comes nearest.
template <typename Convert>
uint32_t code_of(double value, Convert convert) {
  uint32_t low = 0;
  uint32_t high = hw::pvt::code_mask;
  while (low < high) {
    const uint32_t middle = (low + high) / 2;
    if (convert(middle + 0.5) < value) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

}  // namespace

uint32_t pvt_code(const SensorSettings& sensors, unsigned type, unsigned index, uint64_t now) {
  switch (type) {
    case temperature:
      return code_of(sensors.temperature[index].at(now), celsius_of);
    case voltage:
      return code_of(sensors.voltage[index].at(now), volt_of);
    default:
      return sensors.process[type - first_process];
  }
}

PvtSensors::PvtSensors(Board& board, uint32_t base)
    : board_(board), settings_(board.config().of<SensorSettings>()), base_(base) {
  // As the firmware's last look at the temperature left it.
  const uint32_t selector = hw::chip_of(board.generation()).pvt_selectors[temperature];
  board.mmio_storage().write(base + hw::pvt::selector, 4, selector);
  board.mmio_storage().write(base + hw::pvt::data, 4, *convert(selector, board.clock().now()));
  selected_at_ = board.clock().now();
}

std::optional<uint32_t> PvtSensors::convert(uint32_t selector, uint64_t time) const {
  const hw::Chip& chip = hw::chip_of(board_.generation());
  for (unsigned type = 0; type < pvt_types; ++type) {
    const uint32_t index = selector - chip.pvt_selectors[type];
    if (chip.pvt_converts_all && index == 0) {
      return pvt_code(settings_, type, 0, time) | pvt_code(settings_, type, 1, time)
                                                      << hw::pvt_sensor_bits;
    }
    if (!chip.pvt_converts_all && index < pvt_sensors) {
      return pvt_code(settings_, type, index, time);
    }
  }
  return std::nullopt;
}

void PvtSensors::update_data() {
  const uint64_t period = std::max<uint64_t>(1, milliseconds(settings_.conversion_ms));
  const uint64_t finished = (board_.clock().now() - selected_at_) / period;
  if (finished == 0) return;
  Memory& registers = board_.mmio_storage();
  const auto selector = static_cast<uint32_t>(registers.read(base_ + hw::pvt::selector, 4));
  const auto codes = convert(selector, selected_at_ + finished * period);
  if (codes) registers.write(base_ + hw::pvt::data, 4, *codes);
}

uint64_t PvtSensors::read(uint64_t offset, unsigned width) {
  update_data();
  return board_.mmio_storage().read(base_ + offset, width);
}

void PvtSensors::write(uint64_t offset, unsigned width, uint64_t value) {
  Memory& registers = board_.mmio_storage();
  update_data();
  const uint64_t data = registers.read(base_ + hw::pvt::data, 4);
  const uint64_t selector = registers.read(base_ + hw::pvt::selector, 4);
  registers.write(base_ + offset, width, value);
  registers.write(base_ + hw::pvt::data, 4, data);  // not writable
  if (registers.read(base_ + hw::pvt::selector, 4) != selector) {
    selected_at_ = board_.clock().now();
  }
}

namespace {

void place(Board& board) {
  const uint32_t base = block_bases(board.generation()).system_control;
  board.attach(base, PvtSensors::size, std::make_unique<PvtSensors>(board, base));
}

}  // namespace

Model sensors_model() {
  return {.read = read_sensors, .place = place};
}

}  // namespace zvgsim
