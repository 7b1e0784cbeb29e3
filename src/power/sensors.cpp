// The on-die sensors for process, voltage and temperature (PVT).
#include <errno.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "core/driver_requests.h"
#include "util_zvg.h"

namespace zvg::power {

namespace {

// Offsets in system control.
constexpr uint32_t pvt_selector = 0x170;
constexpr uint32_t pvt_data = 0x174;

constexpr uint32_t code_mask = 0x3FF;
constexpr useconds_t conversion_us = 1'100'000;
constexpr uint32_t code_size = sizeof(uint32_t);

constexpr uint32_t types = 5;

// RQ301 converts one sensor at a time: the index is added to the selector.
constexpr uint32_t rq301_selectors[types] = {0xF0000, 0xF0100, 0xF0600, 0xF0200, 0xF0400};

// RQ302 converts both sensors at once: half a register for each.
constexpr uint32_t rq302_selectors[types] = {0x01E201E2, 0x01E601E6, 0x01FA01FA, 0x01EA01EA,
                                             0x01F201F2};
constexpr uint32_t bits_per_sensor = 16;

uint64_t system_control(uint32_t offset) {
  return uint64_t{zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL]} + offset;
}

int code_by_driver(uint32_t type, uint32_t index, uint32_t* code) {
  using namespace core;
  hw::driver::CommandRecord record = {g_connection.card, type, {index, code_size}, {}};
  const int result = issue(hw::driver::request_command, &record);
  if (result != 0) {
    printf("card %d: Geting Pvt code failed with type %d and index %d\n",
           static_cast<int>(g_connection.card), static_cast<int>(type), static_cast<int>(index));
    return result;
  }
  memcpy(code, record.result, sizeof *code);
  return 0;
}

// The selector keeps its value between calls and processes: only a change costs a conversion.
int code_by_registers(uint32_t type, uint32_t index, uint32_t* code) {
  const uint32_t device_id = get_device_id();
  const bool rq302 = device_id == ZVG_DEVICE_RQ302;
  if (!rq302 && device_id != ZVG_DEVICE_RQ301) {
    printf("device id 0x%x is not supported!\n", device_id);
    return -EINVAL;
  }
  uint32_t selector = 0;
  if (const int result = zvgRegReadLong(system_control(pvt_selector), &selector)) return result;
  if (type >= types) {
    printf("failed to get Pvt code with error type %d\n", static_cast<int>(type));
    return -EINVAL;
  }
  const uint32_t wanted = rq302 ? rq302_selectors[type] : rq301_selectors[type] + index;
  if (selector != wanted) {
    const int result = zvgRegWriteLong(system_control(pvt_selector), wanted);
    if (result != 0) return result;
    usleep(conversion_us);
  }
  uint32_t data = 0;
  if (const int result = zvgRegReadLong(system_control(pvt_data), &data)) return result;
  const uint32_t shift = rq302 ? bits_per_sensor * index % 32 : 0;
  *code = data >> shift & code_mask;
  return 0;
}

// How many sensors a function takes on each generation. Unknown chips count as RQ301.
struct SensorCount {
  const char* function;
  uint32_t rq301;
  uint32_t rq302;
};

constexpr SensorCount temperature_sensors = {"zvgSensorTemp", 2, 2};
constexpr SensorCount process_sensors = {"zvgSensorProcess", 2, 1};

bool rejected(const SensorCount& sensors, uint32_t index) {
  const bool rq302 = get_device_id() == ZVG_DEVICE_RQ302;
  if (index < (rq302 ? sensors.rq302 : sensors.rq301)) return false;
  printf("%s: invalid index %d for %s\n", sensors.function, static_cast<int>(index),
         rq302 ? "RQ302" : "RQ301");
  return true;
}

// A code, put through a conversion.
template <typename Value, typename Convert>
int read_sensor(const SensorCount& sensors, uint32_t type, uint32_t index, Value* value,
                Convert convert) {
  if (rejected(sensors, index)) return -EINVAL;
  uint32_t code = 0;
  const int result = zvgPvtGetCode(type, index, &code);
  if (result == 0 && value != nullptr) *value = convert(code);
  return result;
}

double code_to_volt(uint32_t code) {
  return (code * 0.00059677 + 0.51106) * 1000.0 * 0.001;
}

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

int zvgPvtGetCode(uint32_t type, uint32_t index, uint32_t* code) {
  uint32_t value = 0;
  const int result = get_s_type() == ZVG_MODE_DRIVER ? code_by_driver(type, index, &value)
                                                     : code_by_registers(type, index, &value);
  if (result == 0 && code != nullptr) *code = value;
  return result;
}

double code_to_temp(int code) {
  const double c = code;
  return pow(c, 4) * 1.603e-11 + pow(c, 3) * 1.561e-8 + c * c * -0.0001509 + c * 0.3341 - 62.86;
}

int zvgSensorTemp(uint32_t index, double* celsius) {
  return read_sensor(temperature_sensors, ZVG_PVT_TEMPERATURE, index, celsius,
                     [](uint32_t code) { return code_to_temp(static_cast<int>(code)); });
}

int zvgSensorVolt(uint32_t index, double* volts) {
  // The message names the temperature function here, too.
  return read_sensor(temperature_sensors, ZVG_PVT_VOLTAGE, index, volts, code_to_volt);
}

int zvgSensorProcess(uint32_t type, uint32_t index, uint32_t* code) {
  return read_sensor(process_sensors, type, index, code, [](uint32_t value) { return value; });
}
