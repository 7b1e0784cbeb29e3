#include "service/power/sensors.h"

#include <errno.h>
#include <util_zvg.h>

#include <nlohmann/json.hpp>

#include "service/board/board.h"
#include "service/seam/library_messages.h"

namespace zvg {

void expect_sensor_read(int result, const char* what, uint32_t sensor) {
  if (result == 0) return;
  throw_error(ErrorKind::access, "cannot read the %s of sensor %u: %s", what, sensor,
              reason(result, errno).c_str());
}

DieReadings read_die() {
  const StdoutOnStderr remarks;
  DieReadings readings;
  // A type at a time: over the registers, another one takes a conversion.
  for (uint32_t i = 0; i < die_sensors; ++i) {
    expect_sensor_read(zvgSensorTemp(i, &readings.celsius[i]), "temperature", i);
  }
  for (uint32_t i = 0; i < die_sensors; ++i) {
    expect_sensor_read(zvgSensorVolt(i, &readings.volts[i]), "voltage", i);
  }
  return readings;
}

Json to_json(const DieReadings& readings) {
  Json list = Json::array();
  for (uint32_t i = 0; i < die_sensors; ++i) {
    list.push_back({{"sensor", i},
                    {"celsius", rounded(readings.celsius[i], 2)},
                    {"volts", rounded(readings.volts[i], 4)}});
  }
  return list;
}

}  // namespace zvg
