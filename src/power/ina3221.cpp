// INA3221: shunt voltages of two of its three channels. Registers and codes from its data sheet.
#include <stdint.h>
#include <stdio.h>

#include <initializer_list>

#include "power/sensing_chip.h"
#include "util_zvg.h"

namespace {

using namespace zvg::power;

constexpr uint32_t address = 0x40;

enum Register : uint8_t {
  configuration_register = 0x00,
  shunt_1_register = 0x01,
  shunt_2_register = 0x03,
};

// Channels 1 to 3 on, no averaging, shunt voltages once.
constexpr uint8_t configuration[] = {0x71, 0x21};

// Millivolts of a shunt register: 40 microvolts a step, from bit 3 up.
constexpr float millivolts(uint16_t word) {
  if ((word & 0x8000) == 0) return static_cast<float>(word >> 3) * 40.0f / 1000.0f;
  const int magnitude = (static_cast<uint16_t>(-(word & 0x7FFF)) >> 3) & 0xFFF;
  return -(static_cast<float>(magnitude) * 40.0f / 1000.0f);
}

// Measures both shunts. A channel that cannot be read is reported and counts as 0.
int measure(uint32_t bus, const char* invalid, float shunts[2]) {
  const SensingChip chip = {bus, address};
  uint8_t set_up[] = {configuration[0], configuration[1]};
  const int result =
      static_cast<int>(zvgI2cWrite(bus, address, configuration_register, sizeof set_up, set_up));
  if (result != 0) {
    printf("error: i2c operation err (%d)\n", result);
    return result;
  }
  int channel = 0;
  for (const Register reg : {shunt_1_register, shunt_2_register}) {
    uint8_t bytes[2] = {};
    const int error = chip.read(reg, bytes, sizeof bytes);
    if (error != 0) {
      printf("error: i2c operation error (%d)\n", error);
      puts(invalid);
    }
    shunts[channel++] = error == 0 ? millivolts(big_endian(bytes)) : 0;
  }
  return 0;
}

// One division in single precision.
float amperes(float shunt_millivolts, float milliohms) {
  return milliohms >= 1 ? shunt_millivolts / milliohms : 0;
}

}  // namespace

int zvgINA3221GetVolt2(uint32_t bus, float* v1, float* v2) {
  float shunts[2] = {};
  if (const int result = measure(bus, invalid_voltage, shunts)) return result;
  store(v1, shunts[0]);
  store(v2, shunts[1]);
  return 0;
}

int zvgINA3221GetCurrent2(uint32_t bus, int r1, uint32_t r2, float* i1, float* i2) {
  float shunts[2] = {};
  const int result = measure(bus, "invalid raw data voltage is exist", shunts);
  if (result != 0) return result;
  store(i1, amperes(shunts[0], static_cast<float>(r1)));
  store(i2, amperes(shunts[1], static_cast<float>(r2)));
  return 0;
}
