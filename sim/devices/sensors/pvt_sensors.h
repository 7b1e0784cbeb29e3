// The on-die sensors for process, voltage and temperature, in the system control block.
#ifndef ZVGSIM_DEVICES_SENSORS_PVT_SENSORS_H
#define ZVGSIM_DEVICES_SENSORS_PVT_SENSORS_H

#include <cstdint>
#include <optional>

#include "board/board.h"
#include "board/device.h"
#include "devices/sensors/sensor_settings.h"
#include "hw/blocks/pvt.h"

namespace zvgsim {

using zvg::hw::pvt_types;

// The 10-bit code of a sensor at a time in nanoseconds.
// REQUIRES: type < pvt_types, index < pvt_sensors.
uint32_t pvt_code(const SensorSettings& sensors, unsigned type, unsigned index, uint64_t now);

// A write to the selector starts converting what it names, again and again; the data register keeps
// the last finished conversion. RQ302 converts both sensors at once. A selector that names no
// sensor converts nothing. The block's other registers are plain storage.
class PvtSensors : public Device {
 public:
  static constexpr uint32_t size = zvg::hw::pvt::size;

  PvtSensors(Board& board, uint32_t base);

  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

 private:
  void update_data();
  // What the data register shows for a selector at a time; nothing when it names no sensor.
  std::optional<uint32_t> convert(uint32_t selector, uint64_t time) const;

  Board& board_;
  const SensorSettings& settings_;
  const uint32_t base_;
  uint64_t selected_at_ = 0;  // ns
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_SENSORS_PVT_SENSORS_H
