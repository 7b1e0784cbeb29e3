// LTC2990: four inputs and the supply. Registers, codes and scale factors from its data sheet.
#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "power/sensing_chip.h"
#include "util_zvg.h"

namespace {

using namespace zvg::power;

constexpr uint32_t first_address = 0x4C;

enum Register : uint8_t {
  status_register = 0x00,
  control_register = 0x01,
  trigger_register = 0x02,
  results_register = 0x04,  // internal temperature, V1 to V4, supply
};

constexpr uint8_t control_single_shot = 0x40;
constexpr uint8_t control_all = 0x18;  // measure everything that the mode names

enum Mode : uint8_t { two_pairs = 6, four_inputs = 7 };

constexpr uint8_t status_busy = 0x01;
constexpr uint8_t ready_pairs = 0x14;
constexpr uint8_t ready_inputs = 0x3C;

constexpr uint32_t results_size = 12;
constexpr int inputs = 4;

struct Results {
  int16_t input[inputs + 1];  // the supply last
};

SensingChip chip_at(uint32_t bus, uint32_t index) {
  return {bus, first_address + index};
}

// Says when a transfer failed. Returns its code.
int report(int result) {
  if (result != 0) fprintf(stderr, "error: i2c operation error (%d)\n", result);
  return result;
}

int read(const SensingChip& chip, Register reg, uint8_t* bytes, uint32_t count) {
  return report(chip.read(reg, bytes, count));
}

int write(const SensingChip& chip, Register reg, uint8_t value) {
  return report(chip.write(reg, value));
}

// wait: measures once and waits for the end; otherwise the chip measures again and again.
int measure(const SensingChip& chip, Mode mode, bool wait) {
  uint8_t unused[results_size];
  const auto control = static_cast<uint8_t>((wait ? control_single_shot : 0) | control_all | mode);
  int result = read(chip, results_register, unused, sizeof unused);
  // Without either write the chip goes on as it was, and its results are those of another mode.
  if (result == 0) result = write(chip, control_register, control);
  if (result == 0) result = write(chip, trigger_register, 0);
  if (result != 0) return result;

  uint8_t status = 0;
  const auto look = [&] { return read(chip, status_register, &status, 1); };
  result = look();
  if (result == 0 && wait) {
    result = wait_until(look, [&] { return (status & status_busy) == 0; }).value_or(busy_timeout);
  }
  if (result == 0) {
    const uint8_t ready = mode == two_pairs ? ready_pairs : ready_inputs;
    result = wait_until(look, [&] { return (status & ready) == ready; }).value_or(ready_timeout);
  }
  if (result != 0) fprintf(stderr, "error: wait LTC2990 timeout (%d)\n", result);
  return result;
}

// Bit 14 is the sign, of single-ended inputs too; bit 15 only says that the result is fresh.
constexpr int16_t signed_code(uint16_t code) {
  return static_cast<int16_t>((code & 0x4000) != 0 ? code | 0x8000 : code & 0x7FFF);
}

// Returns whether the inputs' results were read and are all fresh. What could not be read is 0.
bool read_results(const SensingChip& chip, Results* results) {
  *results = {};
  uint8_t bytes[results_size];
  if (read(chip, results_register, bytes, sizeof bytes) != 0) return false;
  bool valid = true;
  for (int i = 0; i <= inputs; ++i) {
    const int number = i + 1;  // the supply counts as V5
    const uint16_t code = big_endian(bytes + 2 * number);
    if ((code & result_valid) == 0) {
      printf("LTC2990 V%d=%x is not valid\n", number, code);
      if (i < inputs) valid = false;
    }
    results->input[i] = signed_code(code);
  }
  return valid;
}

int run(uint32_t bus, uint32_t index, Mode mode, uint32_t wait, Results* results) {
  const SensingChip chip = chip_at(bus, index);
  if (const int result = measure(chip, mode, wait != 0)) return result;
  // Whatever the reading came to, the conversion is made.
  if (!read_results(chip, results)) puts(invalid_voltage);
  return 0;
}

double amperes(int16_t code, int milliohms) {
  return milliohms > 0 ? code * 19.42 * 1000.0 / milliohms / 1e6 : 0;
}

void store_supply(float* output, const Results& results) {
  store(output, ltc_volts(results.input[inputs]) + ltc_supply_offset);
}

}  // namespace

int zvgLTC2990GetVolt4(uint32_t bus, uint32_t index, float* v1, float* v2, float* v3, float* v4,
                       float* supply, uint32_t wait) {
  Results results;
  if (const int result = run(bus, index, four_inputs, wait, &results)) return result;
  float* const outputs[inputs] = {v1, v2, v3, v4};
  for (int i = 0; i < inputs; ++i) store(outputs[i], ltc_volts(results.input[i]));
  store_supply(supply, results);
  return 0;
}

int zvgLTC2990GetCurrent2(uint32_t bus, uint32_t index, int r1, int r2, float* i1, float* i2,
                          float* supply, uint32_t wait) {
  Results results;
  if (const int result = run(bus, index, two_pairs, wait, &results)) return result;
  // A pair's voltage stands in the first of its two inputs.
  store(i1, amperes(results.input[0], r1));
  store(i2, amperes(results.input[2], r2));
  store_supply(supply, results);
  return 0;
}
