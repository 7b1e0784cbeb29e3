// LTC2991: eight inputs and the supply. Registers, codes and scale factors from its data sheet.
#include <stdint.h>
#include <stdio.h>

#include "power/sensing_chip.h"
#include "util_zvg.h"

namespace {

using namespace zvg::power;

constexpr uint32_t first_address = 0x48;

enum Register : uint8_t {
  ready_register = 0x00,   // a bit an input
  enable_register = 0x01,  // and the chip's status
  control_1_to_4 = 0x06,
  control_5_to_8 = 0x07,
  acquisition_register = 0x08,
  inputs_register = 0x0A,
  supply_register = 0x1C,
};

constexpr uint8_t control_differential = 0x11;  // both pairs of a control register
constexpr uint8_t acquisition_repeated = 0x10;
constexpr uint8_t enable_all = 0xF8;
constexpr uint8_t status_busy = 0x04;
constexpr uint8_t ready_pairs = 0x15;

enum class Mode { eight_inputs, four_pairs };

constexpr int inputs = 8;

struct Results {
  uint16_t input[inputs];  // without the flag of a fresh result
  uint16_t supply;
};

int failed(int result) {
  printf("error: i2c operation error (%d)\n", result);
  return result;
}

// Replaces the bits of a register.
int change(const SensingChip& chip, Register reg, uint8_t value, uint8_t bits, bool set) {
  return chip.write(reg, static_cast<uint8_t>(set ? value | bits : value & ~bits));
}

// Programs the mode and starts the conversions. Leaves the first status in *status.
int start(const SensingChip& chip, Mode mode, bool wait, uint8_t* status) {
  uint8_t low = 0, high = 0, acquisition = 0, enable = 0;
  const bool pairs = mode == Mode::four_pairs;
  int result = chip.read(control_1_to_4, &low);
  if (result == 0) result = chip.read(control_5_to_8, &high);
  if (result == 0) result = change(chip, control_1_to_4, low, control_differential, pairs);
  if (result == 0) result = change(chip, control_5_to_8, high, control_differential, pairs);
  if (result == 0) result = chip.read(acquisition_register, &acquisition);
  if (result == 0) {
    result = change(chip, acquisition_register, acquisition, acquisition_repeated, !wait);
  }
  if (result == 0) result = chip.read(enable_register, &enable);
  if (result == 0) result = change(chip, enable_register, enable, enable_all, true);
  if (result == 0) result = chip.read(enable_register, status);
  return result == 0 ? 0 : failed(result);
}

// Waits until done() likes what was read of the register; *value holds the first reading.
template <typename Done>
int wait_for(const SensingChip& chip, Register reg, uint8_t* value, int timeout, Done done) {
  const auto look = [&] {
    const int result = chip.read(reg, value);
    if (result != 0) printf("err: i2c operation error (%d)\n", result);
    return result;
  };
  const int result = wait_until(look, done).value_or(timeout);
  if (result != 0) printf("error: wait LTC2991 timeout (%d)\n", result);
  return result;
}

int measure(const SensingChip& chip, Mode mode, bool wait) {
  uint8_t status = 0, ready = 0;
  if (const int result = start(chip, mode, wait, &status)) return result;
  if (wait) {
    const int result = wait_for(chip, enable_register, &status, busy_timeout,
                                [&] { return (status & status_busy) == 0; });
    if (result != 0) return result;
  }
  if (const int result = chip.read(ready_register, &ready)) return failed(result);
  return wait_for(chip, ready_register, &ready, ready_timeout, [&] {
    return mode == Mode::four_pairs ? (ready & ready_pairs) == ready_pairs : ready != 0;
  });
}

// Takes the flag off a result word and says when it is not set. Inputs count from 0.
bool take_code(const uint8_t* bytes, int number, uint16_t* code) {
  const uint16_t word = big_endian(bytes);
  *code = word & 0x7FFF;
  if ((word & result_valid) != 0) return true;
  printf("LTC2991 V%d=%x is not valid\n", number, word);
  return false;
}

// Returns whether the inputs' results were read and are all fresh. What could not be read is 0.
bool read_results(const SensingChip& chip, Results* results) {
  *results = {};
  uint8_t bytes[2 * inputs], supply[2];
  int result = chip.read(inputs_register, bytes, sizeof bytes);
  if (result == 0) result = chip.read(supply_register, supply, sizeof supply);
  if (result != 0) {
    failed(result);
    return false;
  }
  bool valid = true;
  for (int i = 0; i < inputs; ++i) {
    if (!take_code(bytes + 2 * i, i, &results->input[i])) valid = false;
  }
  take_code(supply, 0, &results->supply);  // V0 stands for the supply, too
  return valid;
}

int run(uint32_t bus, uint32_t index, Mode mode, uint32_t wait, Results* results) {
  const SensingChip chip = {bus, first_address + index};
  if (const int result = measure(chip, mode, wait != 0)) return result;
  // Whatever the reading came to, the conversion is made.
  if (!read_results(chip, results)) puts(invalid_voltage);
  return 0;
}

double volts(uint16_t code) {
  return ltc_volts(code & 0x3FFF);
}

double amperes(uint16_t code, uint32_t milliohms) {
  constexpr uint16_t sign = 0x4000;
  if (milliohms < 1) return 0;
  if ((code & sign) == 0) return (code & 0x3FFF) * 19.075 * 1000.0 / milliohms / 1e6;
  // Negated twice: a negative reading counts as positive, its sign bit in the magnitude.
  const int magnitude = static_cast<int16_t>(code) & 0x3FFFF;
  return -static_cast<float>(-magnitude * 19.075 * 1000.0 / milliohms / 1e6);
}

void store_supply(float* output, const Results& results) {
  store(output, volts(results.supply) + ltc_supply_offset);
}

}  // namespace

int zvgLTC2991GetVolt8(uint32_t bus, uint32_t index, float* v1, float* v2, float* v3, float* v4,
                       float* v5, float* v6, float* v7, float* v8, float* supply, uint32_t wait) {
  Results results;
  if (const int result = run(bus, index, Mode::eight_inputs, wait, &results)) return result;
  float* const outputs[inputs] = {v1, v2, v3, v4, v5, v6, v7, v8};
  for (int i = 0; i < inputs; ++i) store(outputs[i], volts(results.input[i]));
  store_supply(supply, results);
  return 0;
}

int zvgLTC2991GetCurrent4(uint32_t bus, uint32_t index, uint32_t r1, uint32_t r2, uint32_t r3,
                          uint32_t r4, float* i1, float* i2, float* i3, float* i4, float* supply,
                          uint32_t wait) {
  Results results;
  if (const int result = run(bus, index, Mode::four_pairs, wait, &results)) return result;
  const struct {
    float* output;
    uint32_t milliohms;
  } pairs[] = {{i1, r1}, {i2, r2}, {i3, r3}, {i4, r4}};
  // A pair's voltage stands in the second of its two inputs.
  int input = 1;
  for (const auto& pair : pairs) {
    store(pair.output, amperes(results.input[input], pair.milliohms));
    input += 2;
  }
  store_supply(supply, results);
  return 0;
}
