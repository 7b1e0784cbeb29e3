// The power-monitor chips of a board, and what they measure.
#ifndef ZVG_SERVICE_POWER_POWER_CHIPS_H
#define ZVG_SERVICE_POWER_POWER_CHIPS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "service/json.h"

namespace zvg {

enum class PowerChip { ltc2990, ltc2991, ina3221 };

// Where a chip is and which of its pairs of inputs (INA3221: channels) have sense resistors.
struct PowerMonitor {
  struct Sense {
    double milliohms = 0;  // 0: none, the inputs count one by one
    std::string name;
  };
  PowerChip chip;
  unsigned bus;
  uint8_t address;
  std::string name;
  std::vector<Sense> senses;
};

// One line of a measurement.
struct Rail {
  std::string chip;
  std::string name;
  std::optional<double> volts;
  std::optional<double> amperes;

  std::optional<double> watts() const {
    return volts && amperes ? std::optional(*volts * *amperes) : std::nullopt;
  }
};

// Rounded to what the chips resolve; null for what was not measured.
Json to_json(const Rail& rail);

const char* chip_name(PowerChip chip);

// "CHIP:BUS:ADDRESS[:MILLIOHMS,...]". Throws an Error (bad_argument).
PowerMonitor parse_power_monitor(const std::string& text);

// The [[power_monitors]] of a board file. Throws an Error for a file that cannot be read, or that
// names none.
std::vector<PowerMonitor> load_power_monitors(const std::string& path);

// Measures once. Throws an Error when the chip does not answer or does not get ready, and when its
// results could not be read.
std::vector<Rail> measure(const PowerMonitor& monitor);

}  // namespace zvg

#endif  // ZVG_SERVICE_POWER_POWER_CHIPS_H
