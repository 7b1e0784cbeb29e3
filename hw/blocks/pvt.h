// The on-die sensors for process, voltage and temperature, in the system control block.
#ifndef ZVG_HW_BLOCKS_PVT_H
#define ZVG_HW_BLOCKS_PVT_H

#include "hw/register.h"

namespace zvg::hw::pvt {

enum Offset : uint32_t {
  selector = 0x170,
  data = 0x174,
};

constexpr uint32_t size = 0x400;

constexpr uint32_t code_mask = 0x3FF;

namespace map {

inline constexpr Value rq301_selector_values[] = {
    {rq301_chip.pvt_selectors[0], "temperature_0"},
    {rq301_chip.pvt_selectors[0] + 1, "temperature_1"},
    {rq301_chip.pvt_selectors[1], "voltage_0"},
    {rq301_chip.pvt_selectors[1] + 1, "voltage_1"},
    {rq301_chip.pvt_selectors[2], "process_a_0"},
    {rq301_chip.pvt_selectors[2] + 1, "process_a_1"},
    {rq301_chip.pvt_selectors[3], "process_b_0"},
    {rq301_chip.pvt_selectors[3] + 1, "process_b_1"},
    {rq301_chip.pvt_selectors[4], "process_c_0"},
    {rq301_chip.pvt_selectors[4] + 1, "process_c_1"},
};
inline constexpr Value rq302_selector_values[] = {
    {rq302_chip.pvt_selectors[0], "temperature"}, {rq302_chip.pvt_selectors[1], "voltage"},
    {rq302_chip.pvt_selectors[2], "process_a"},   {rq302_chip.pvt_selectors[3], "process_b"},
    {rq302_chip.pvt_selectors[4], "process_c"},
};

inline constexpr Field rq301_selector_fields[] = {
    field("sensor", 0xFFFFFFFF, "the sensor that is converted", rq301_selector_values),
};
inline constexpr Field rq302_selector_fields[] = {
    field("sensor", 0xFFFFFFFF, "the type of sensor that is converted", rq302_selector_values),
};
// What a code means depends on what was selected.
inline constexpr Field rq301_data_fields[] = {
    field("code", code_mask, "of the selected sensor"),
};
inline constexpr Field rq302_data_fields[] = {
    field("sensor_1", code_mask << pvt_sensor_bits, "code of the second sensor"),
    field("sensor_0", code_mask, "code of the first sensor"),
};

inline constexpr Register rq301_registers[] = {
    {"selector", selector, 32, rw, "sensor to convert; a new value starts", rq301_selector_fields},
    {"data", data, 32, ro, "the last conversion", rq301_data_fields},
};
inline constexpr Register rq302_registers[] = {
    {"selector", selector, 32, rw, "sensors to convert; a new value starts", rq302_selector_fields},
    {"data", data, 32, ro, "the last conversion", rq302_data_fields},
};

inline constexpr Block rq301_block = {"pvt",
                                      Space::mmio,
                                      "on-die sensors, one at a time",
                                      rq301_registers,
                                      size,
                                      &Chip::system_control,
                                      [](const Chip& chip) { return !chip.pvt_converts_all; }};
inline constexpr Block rq302_block = {"pvt",
                                      Space::mmio,
                                      "on-die sensors, both of a type at once",
                                      rq302_registers,
                                      size,
                                      &Chip::system_control,
                                      [](const Chip& chip) { return chip.pvt_converts_all; }};

}  // namespace map

}  // namespace zvg::hw::pvt

#endif  // ZVG_HW_BLOCKS_PVT_H
