// The readings of the on-die sensors.
#ifndef ZVGCTL_SENSORS_H
#define ZVGCTL_SENSORS_H

#include <cstdint>

namespace zvgctl {

constexpr uint32_t die_sensors = 2;

struct DieReadings {
  double celsius[die_sensors];
  double volts[die_sensors];
};

// Reads all of them. Throws a Failure when one cannot be read.
DieReadings read_die();

}  // namespace zvgctl

#endif  // ZVGCTL_SENSORS_H
