#include "devices/i2c/i2c_place.h"

#include <set>
#include <string>
#include <utility>

namespace zvgsim {

namespace {

// Of the chips that were read so far.
struct I2cPlaces {
  std::set<std::pair<unsigned, uint8_t>> taken;  // bus and address
};

}  // namespace

bool read_i2c_place(FileTable& table, BoardConfig& config, unsigned* bus, uint8_t* address,
                    uint8_t first, uint8_t last) {
  const bool bus_known = table.needed("bus", bus, 0, i2c_buses - 1);
  const bool address_known = table.needed("address", address, first, last);
  if (!bus_known || !address_known) return false;
  if (!config.of<I2cPlaces>().taken.insert({*bus, *address}).second) {
    table.problem("bus " + std::to_string(*bus) + " has another chip at " + hex(*address));
    return false;
  }
  return true;
}

}  // namespace zvgsim
