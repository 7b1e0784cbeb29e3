#include "devices/sensors/sensor_settings.h"

#include "board/file_table.h"

namespace zvgsim {

void read_sensors(FileTable& root, BoardConfig& config) {
  root.table("sensors", [&](FileTable& table) {
    auto& sensors = config.of<SensorSettings>();
    // What 10-bit codes can say.
    table.numbers("temperature", &sensors.temperature,
                  [](const FileValue& value, Signal* signal) { value.signal(signal, -62, 155); });
    table.numbers("voltage", &sensors.voltage, [](const FileValue& value, Signal* signal) {
      value.signal(signal, 0.512, 1.12);
    });
    table.numbers("process", &sensors.process,
                  [](const FileValue& value, uint32_t* code) { value.number(code, 0, 0x3FF); });
    table.number("conversion_ms", &sensors.conversion_ms, 0, 60'000);
  });
}

}  // namespace zvgsim
