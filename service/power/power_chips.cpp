#include "service/power/power_chips.h"

#include <stdio.h>
#include <unistd.h>
#include <util_zvg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

#include "service/board/error.h"
#include "service/files/input_file.h"
#include "service/i2c/i2c_error.h"
#include "service/number.h"
#include "service/seam/library_messages.h"
#include "service/text.h"

namespace zvg {

namespace {

constexpr unsigned last_bus = 5;

struct Traits {
  const char* name;
  PowerChip chip;
  uint8_t first_address, last_address;
  size_t senses;
};
constexpr Traits chips[] = {
    {"ltc2990", PowerChip::ltc2990, 0x4C, 0x4F, 2},
    {"ltc2991", PowerChip::ltc2991, 0x48, 0x4F, 4},
    // Three channels, two of which the library measures; the chip answers it at one address only.
    {"ina3221", PowerChip::ina3221, 0x40, 0x40, 2},
};

const Traits& traits(PowerChip chip) {
  return *std::find_if(std::begin(chips), std::end(chips),
                       [chip](const Traits& one) { return one.chip == chip; });
}

const Traits* find_chip(std::string_view name) {
  const auto* const found = std::find_if(std::begin(chips), std::end(chips),
                                         [name](const Traits& one) { return one.name == name; });
  return found == std::end(chips) ? nullptr : found;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t begin = 0;
  for (size_t end; (end = text.find(separator, begin)) != std::string::npos; begin = end + 1) {
    parts.push_back(text.substr(begin, end - begin));
  }
  parts.push_back(text.substr(begin));
  return parts;
}

// The library takes whole milliohms, and none below 1.
int whole(double milliohms) {
  return milliohms > 0 ? std::max(1, static_cast<int>(std::lround(milliohms))) : 0;
}

void expect_measured(const PowerMonitor& monitor, int result) {
  if (result == 0) return;
  constexpr int stays_busy = -1, never_ready = -2;
  const char* const chip = chip_name(monitor.chip);
  if (result == stays_busy || result == never_ready) {
    // The master's codes are the same numbers: an absent chip ends as "never ready", too.
    uint8_t byte = 0;
    const int probe = static_cast<int>(zvgI2cRead(monitor.bus, monitor.address, 0, 1, &byte));
    if (probe != 0) fail_i2c(monitor.bus, monitor.address, probe, chip);
    throw_error(
        ErrorKind::timeout, "%s on I2C bus %u, address 0x%02x: %s within 10 s", chip, monitor.bus,
        monitor.address,
        result == stays_busy ? "its conversion did not end" : "its results did not get ready");
  }
  fail_i2c(monitor.bus, monitor.address, result, chip);
}

// The rows of an LTC chip: a pair with a sense resistor is one rail, whose volts are those behind
// the resistor; the other inputs stand alone.
std::vector<Rail> rails(const PowerMonitor& monitor, const std::vector<float>& volts, float supply,
                        const std::vector<double>& amperes) {
  std::vector<Rail> list;
  for (size_t pair = 0; pair < volts.size() / 2; ++pair) {
    const bool sensed = pair < monitor.senses.size() && monitor.senses[pair].milliohms > 0;
    const auto input = [&](size_t i) { return "V" + std::to_string(2 * pair + i); };
    if (sensed) {
      const std::string& name = monitor.senses[pair].name;
      list.push_back({monitor.name, name.empty() ? input(1) + "-" + input(2) : name,
                      volts[2 * pair + 1], amperes[pair]});
    } else {
      list.push_back({monitor.name, input(1), volts[2 * pair], {}});
      list.push_back({monitor.name, input(2), volts[2 * pair + 1], {}});
    }
  }
  list.push_back({monitor.name, "supply", supply, {}});
  return list;
}

double resistor(const PowerMonitor& monitor, size_t i) {
  return i < monitor.senses.size() ? monitor.senses[i].milliohms : 0;
}

bool has_resistor(const PowerMonitor& monitor) {
  return std::any_of(monitor.senses.begin(), monitor.senses.end(),
                     [](const PowerMonitor::Sense& sense) { return sense.milliohms > 0; });
}

// What the library computed for whole milliohms, for the real resistor.
double corrected(double amperes, double milliohms) {
  const int used = whole(milliohms);
  return used > 0 ? amperes * used / milliohms : 0;
}

std::vector<Rail> measure_ltc2990(const PowerMonitor& monitor) {
  constexpr uint8_t first_address = 0x4C;
  const auto index = static_cast<uint32_t>(monitor.address - first_address);
  std::vector<float> v(4);
  float supply = 0;
  expect_measured(monitor,
                  zvgLTC2990GetVolt4(monitor.bus, index, &v[0], &v[1], &v[2], &v[3], &supply, 1));
  std::vector<double> amperes(2);
  if (has_resistor(monitor)) {
    float i[2] = {};
    expect_measured(monitor,
                    zvgLTC2990GetCurrent2(monitor.bus, index, whole(resistor(monitor, 0)),
                                          whole(resistor(monitor, 1)), &i[0], &i[1], nullptr, 1));
    for (size_t k = 0; k < 2; ++k) amperes[k] = corrected(i[k], resistor(monitor, k));
  }
  return rails(monitor, v, supply, amperes);
}

// The library reports a negative current as a positive one beyond the chip's range: the code's sign
// bit counts into the magnitude.
double with_sign(double amperes, double milliohms) {
  constexpr double amperes_a_code_and_ohm = 19.075e-6;
  constexpr double sign = 0x4000, wrap = 0x8000;
  const double code = amperes * milliohms / 1000 / amperes_a_code_and_ohm;
  return code > sign - 0.5 ? (code - wrap) * amperes_a_code_and_ohm / (milliohms / 1000) : amperes;
}

std::vector<Rail> measure_ltc2991(const PowerMonitor& monitor) {
  constexpr uint8_t first_address = 0x48;
  const auto index = static_cast<uint32_t>(monitor.address - first_address);
  std::vector<float> v(8);
  float supply = 0;
  expect_measured(monitor, zvgLTC2991GetVolt8(monitor.bus, index, &v[0], &v[1], &v[2], &v[3], &v[4],
                                              &v[5], &v[6], &v[7], &supply, 1));
  std::vector<double> amperes(4);
  if (has_resistor(monitor)) {
    float i[4] = {};
    uint32_t r[4];
    for (size_t k = 0; k < 4; ++k) r[k] = static_cast<uint32_t>(whole(resistor(monitor, k)));
    expect_measured(monitor, zvgLTC2991GetCurrent4(monitor.bus, index, r[0], r[1], r[2], r[3],
                                                   &i[0], &i[1], &i[2], &i[3], nullptr, 1));
    for (size_t k = 0; k < 4; ++k) {
      if (r[k] > 0)
        amperes[k] = with_sign(corrected(i[k], resistor(monitor, k)), resistor(monitor, k));
    }
  }
  return rails(monitor, v, supply, amperes);
}

std::vector<Rail> measure_ina3221(const PowerMonitor& monitor) {
  // Each call starts a conversion and reads what is there already: the second one reads the first
  // one's results.
  constexpr useconds_t conversions_us = 5000;
  float mv[2] = {};
  expect_measured(monitor, zvgINA3221GetVolt2(monitor.bus, nullptr, nullptr));
  usleep(conversions_us);
  expect_measured(monitor, zvgINA3221GetVolt2(monitor.bus, &mv[0], &mv[1]));
  std::vector<Rail> list;
  for (size_t k = 0; k < 2; ++k) {
    const double milliohms = resistor(monitor, k);
    const std::string name = k < monitor.senses.size() ? monitor.senses[k].name : "";
    Rail rail = {monitor.name, name.empty() ? "CH" + std::to_string(k + 1) : name, {}, {}};
    if (milliohms > 0) rail.amperes = mv[k] / milliohms;
    list.push_back(rail);
  }
  return list;
}

std::vector<Rail> measure_chip(const PowerMonitor& monitor) {
  switch (monitor.chip) {
    case PowerChip::ltc2990:
      return measure_ltc2990(monitor);
    case PowerChip::ltc2991:
      return measure_ltc2991(monitor);
    case PowerChip::ina3221:
      return measure_ina3221(monitor);
  }
  return {};
}

std::string default_name(const PowerMonitor& monitor) {
  return format("%s@%u:%02x", chip_name(monitor.chip), monitor.bus, monitor.address);
}

[[noreturn]] void wrong_file(const std::string& path, const toml::node& node,
                             const std::string& what) {
  throw_error(ErrorKind::bad_data, "%s:%u: %s", path.c_str(), node.source().begin.line,
              what.c_str());
}

PowerMonitor read_monitor(const std::string& path, const toml::table& table) {
  const Traits* const chip = find_chip(table["chip"].value_or(std::string_view()));
  if (chip == nullptr) {
    wrong_file(path, table, "expected chip = \"ltc2990\", \"ltc2991\" or \"ina3221\"");
  }
  const int64_t bus = table["bus"].value_or(int64_t{-1});
  const int64_t address = table["address"].value_or(int64_t{-1});
  if (bus < 0 || bus > last_bus) wrong_file(path, table, "expected a bus = 0 to 5");
  if (address < chip->first_address || address > chip->last_address) {
    wrong_file(
        path, table,
        format("expected an address = 0x%02x to 0x%02x", chip->first_address, chip->last_address));
  }
  PowerMonitor monitor = {chip->chip,
                          static_cast<unsigned>(bus),
                          static_cast<uint8_t>(address),
                          table["name"].value_or(std::string()),
                          {}};
  if (monitor.name.empty()) monitor.name = default_name(monitor);
  if (const toml::array* const shunts = table["shunts"].as_array()) {
    for (const toml::node& node : *shunts) {
      const toml::table* const shunt = node.as_table();
      if (shunt == nullptr || monitor.senses.size() == chip->senses) break;
      const double milliohms = (*shunt)["milliohms"].value_or(1.0);
      if (!(milliohms > 0)) wrong_file(path, node, "expected milliohms above 0");
      monitor.senses.push_back({milliohms, (*shunt)["name"].value_or(std::string())});
    }
  }
  return monitor;
}

}  // namespace

const char* chip_name(PowerChip chip) {
  return traits(chip).name;
}

PowerMonitor parse_power_monitor(const std::string& text) {
  const std::vector<std::string> parts = split(text, ':');
  const Traits* const chip = find_chip(parts[0]);
  if (chip == nullptr || parts.size() < 3 || parts.size() > 4) {
    throw_error(ErrorKind::bad_argument,
                "--chip: expected CHIP:BUS:ADDRESS[:MILLIOHMS,...] with ltc2990, ltc2991 or "
                "ina3221, such as ltc2990:1:0x4c:5,5; found '%s'",
                text.c_str());
  }
  PowerMonitor monitor = {chip->chip,
                          static_cast<unsigned>(parse_number("BUS", parts[1], last_bus)),
                          static_cast<uint8_t>(parse_number("ADDRESS", parts[2], 0x7F)),
                          "",
                          {}};
  if (monitor.address < chip->first_address || monitor.address > chip->last_address) {
    throw_error(ErrorKind::bad_argument, "--chip: an %s is at 0x%02x to 0x%02x, not at 0x%02x",
                chip->name, chip->first_address, chip->last_address, monitor.address);
  }
  monitor.name = default_name(monitor);
  if (parts.size() == 4) {
    for (const std::string& milliohms : split(parts[3], ',')) {
      char* end = nullptr;
      const double value = strtod(milliohms.c_str(), &end);
      if (milliohms.empty() || *end != '\0' || !(value >= 0) || value > 1e6) {
        throw_error(ErrorKind::bad_argument,
                    "--chip: expected milliohms, 0 for an input without a resistor; found '%s'",
                    milliohms.c_str());
      }
      monitor.senses.push_back({value, ""});
    }
    if (monitor.senses.size() > chip->senses) {
      throw_error(ErrorKind::bad_argument, "--chip: an %s has at most %zu sense resistors",
                  chip->name, chip->senses);
    }
  }
  return monitor;
}

std::vector<PowerMonitor> load_power_monitors(const std::string& path) {
  constexpr size_t most_bytes = size_t{1} << 20;
  std::vector<PowerMonitor> monitors;
  try {
    const toml::table board = toml::parse(read_input_text(path, most_bytes, "a board file"), path);
    if (const toml::array* const tables = board["power_monitors"].as_array()) {
      for (const toml::node& node : *tables) {
        if (const toml::table* const table = node.as_table()) {
          monitors.push_back(read_monitor(path, *table));
        }
      }
    }
  } catch (const toml::parse_error& error) {
    throw_error(ErrorKind::bad_data, "%s:%u: %s", path.c_str(), error.source().begin.line,
                std::string(error.description()).c_str());
  }
  if (monitors.empty())
    throw_error(ErrorKind::bad_data, "%s names no [[power_monitors]]", path.c_str());
  return monitors;
}

Json to_json(const Rail& rail) {
  // Steps of 0.3 mV, and of 4 mA where a resistor has 5 milliohms.
  constexpr int decimals_of_volts = 4, decimals = 3;
  const auto number = [](const std::optional<double>& value, int places) {
    return value ? Json(rounded(*value, places)) : Json();
  };
  return {{"chip", rail.chip},
          {"rail", rail.name},
          {"volts", number(rail.volts, decimals_of_volts)},
          {"amperes", number(rail.amperes, decimals)},
          {"watts", number(rail.watts(), decimals)}};
}

std::vector<Rail> measure(const PowerMonitor& monitor) {
  // Results that could not be read are zeros to the library, and no error.
  const MessageTap errors({"error: i2c operation"});
  const MessageTap lines({"error: i2c operation"}, {}, seam::Stream::out);
  std::vector<Rail> list = measure_chip(monitor);
  fflush(stdout);
  if (errors.count() + lines.count() != 0) {
    throw_error(ErrorKind::access,
                "%s on I2C bus %u, address 0x%02x: its results could not be read",
                chip_name(monitor.chip), monitor.bus, monitor.address);
  }
  return list;
}

}  // namespace zvg
