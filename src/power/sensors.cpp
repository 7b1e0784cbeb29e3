// The on-die sensors for process, voltage and temperature (PVT).
#include <errno.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "core/chip.h"
#include "core/driver_requests.h"
#include "hw/blocks/pvt.h"
#include "util_zvg.h"

namespace zvg::power {

namespace {

constexpr useconds_t conversion_us = 1'100'000;
constexpr uint32_t code_size = sizeof(uint32_t);

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
  const hw::Chip* const chip = core::known_chip();
  if (chip == nullptr) {
    printf("device id 0x%x is not supported!\n", get_device_id());
    return -EINVAL;
  }
  uint32_t selector = 0;
  if (const int result = zvgRegReadLong(system_control(hw::pvt::selector), &selector))
    return result;
  if (type >= hw::pvt_types) {
    printf("failed to get Pvt code with error type %d\n", static_cast<int>(type));
    return -EINVAL;
  }
  const bool all = chip->pvt_converts_all;
  const uint32_t wanted = chip->pvt_selectors[type] + (all ? 0 : index);
  if (selector != wanted) {
    const int result = zvgRegWriteLong(system_control(hw::pvt::selector), wanted);
    if (result != 0) return result;
    usleep(conversion_us);
  }
  uint32_t data = 0;
  if (const int result = zvgRegReadLong(system_control(hw::pvt::data), &data)) return result;
  const uint32_t shift = all ? hw::pvt_sensor_bits * index % 32 : 0;
  *code = data >> shift & hw::pvt::code_mask;
  return 0;
}

bool rejected(const char* function, uint32_t sensors, uint32_t index) {
  if (index < sensors) return false;
  printf("%s: invalid index %d for %s\n", function, static_cast<int>(index), core::chip().name);
  return true;
}

// A code, put through a conversion.
template <typename Value, typename Convert>
int read_sensor(uint32_t type, uint32_t index, Value* value, Convert convert) {
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
  if (rejected(__func__, zvg::hw::pvt_sensors, index)) return -EINVAL;
  return read_sensor(ZVG_PVT_TEMPERATURE, index, celsius,
                     [](uint32_t code) { return code_to_temp(static_cast<int>(code)); });
}

int zvgSensorVolt(uint32_t index, double* volts) {
  // The message names the temperature function here, too.
  if (rejected("zvgSensorTemp", zvg::hw::pvt_sensors, index)) return -EINVAL;
  return read_sensor(ZVG_PVT_VOLTAGE, index, volts, code_to_volt);
}

int zvgSensorProcess(uint32_t type, uint32_t index, uint32_t* code) {
  if (rejected(__func__, zvg::core::chip().pvt_process_sensors, index)) return -EINVAL;
  return read_sensor(type, index, code, [](uint32_t value) { return value; });
}
