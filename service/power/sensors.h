// The readings of the on-die sensors.
#ifndef ZVG_SERVICE_POWER_SENSORS_H
#define ZVG_SERVICE_POWER_SENSORS_H

#include <cstdint>

#include "service/json.h"

namespace zvg {

constexpr uint32_t die_sensors = 2;

struct DieReadings {
  double celsius[die_sensors];
  double volts[die_sensors];
};

// Reads all of them. Throws an Error when one cannot be read.
DieReadings read_die();

// A list: a sensor each, rounded to what it resolves.
Json to_json(const DieReadings& readings);

// Throws an Error (access) unless the library read a sensor. what: "temperature", "voltage" ...
void expect_sensor_read(int result, const char* what, uint32_t sensor);

}  // namespace zvg

#endif  // ZVG_SERVICE_POWER_SENSORS_H
