// The clock block: five PLLs, the clocks' selection, the post-dividers.
#ifndef ZVG_HW_BLOCKS_CLOCKS_H
#define ZVG_HW_BLOCKS_CLOCKS_H

#include "hw/register.h"

namespace zvg::hw::clocks {

enum Offset : uint32_t {
  control = 0x00,
  devpll = 0x04,
  dev2pll = 0x08,
  gpupll = 0x0C,
  gpu2pll = 0x10,
  fifth_pll = 0x14,
  pixel_plls = 0x18,  // one word a display controller
  clock_select = 0x30,
  post_dividers = 0x34,  // 4 bits an output of devpll and dev2pll
  pll_lock = 0x50,
};

constexpr uint32_t size = 0x400;
constexpr uint32_t reference_khz = 27000;

// Control. A PLL's power-down bit is also that of its lock in pll_lock.
constexpr uint32_t off_devpll = 1u << 31;
constexpr uint32_t off_dev2pll = 1u << 30;
constexpr uint32_t off_gpupll = 1u << 29;
constexpr uint32_t off_gpu2pll = 1u << 28;

// Control, as it came with RQ301.
namespace tree_rq301 {
constexpr uint32_t bypass_devpll = 1u << 15;
constexpr uint32_t bypass_dev2pll = 1u << 14;
constexpr uint32_t bypass_gpupll = 1u << 13;
constexpr uint32_t bypass_gpu2pll = 1u << 12;
constexpr uint32_t enable_devpll = 1u << 0;
constexpr uint32_t enable_dev2pll = 1u << 1;
constexpr uint32_t enable_gpupll_3d = 1u << 2;
constexpr uint32_t enable_gpupll_2d = 1u << 3;
constexpr uint32_t enable_gpupll = enable_gpupll_3d | enable_gpupll_2d;
}  // namespace tree_rq301

// Control and configuration, as they came with RQ302: a PLL is bypassed in its own word.
namespace tree_rq302 {
constexpr uint32_t off_fifth_pll = 3u << 22;
constexpr uint32_t enable_gpu2pll = 3u << 0;
constexpr uint32_t enable_dev2pll = 3u << 2;
constexpr uint32_t config_bypass = 1u << 31;
constexpr uint32_t config_bypass_fifth_pll = 3u << 30;
}  // namespace tree_rq302

// Clock selection.
constexpr uint32_t select_device_plls = 1u << 0;     // set: devpll, dev2pll; clear: the reference
constexpr uint32_t select_3d_gpu2pll = 1u << 8;      // set: gpu2pll; clear: gpupll
constexpr uint32_t select_shader_gpu2pll = 1u << 9;  // the same
constexpr uint32_t select_2d = 1u << 10;             // which PLLs it chooses from: per clock tree
constexpr uint32_t select_3d_and_shader = select_3d_gpu2pll | select_shader_gpu2pll;

// The SPI controller has its clock from the same bit where that is gated.
constexpr uint32_t spi_clock_on = select_device_plls;

// Lock status.
constexpr uint32_t lock_gpu2pll = off_gpu2pll;
constexpr uint32_t lock_gpupll = off_gpupll;
constexpr uint32_t lock_dev2pll = off_dev2pll;

// A PLL's configuration word: 2 * reference * (multiplier + 1) / (input_divider + 1) >> shift.
constexpr uint32_t config_band = 0xF;
constexpr uint32_t config_shift = 0x7 << 4;
constexpr uint32_t config_input_divider = 0x1F << 8;
constexpr uint32_t config_multiplier = 0x1FF << 16;
constexpr uint32_t config_post_divider = 0xFu << 28;

// A display controller's PLL word, of the same form with a wider divider and a second one behind.
constexpr uint32_t pixel_shift = 0x7 << 4;
constexpr uint32_t pixel_input_divider = 0x3F << 8;
constexpr uint32_t pixel_multiplier = 0x1FF << 16;
constexpr uint32_t pixel_post_divider = 0xFu << 28;

namespace map {

inline constexpr Value off_values[] = {{0, "on"}, {1, "off"}};
inline constexpr Value bypass_values[] = {{0, "pll"}, {1, "reference"}};
inline constexpr Value enable_values[] = {{0, "disabled"}, {1, "enabled"}};
inline constexpr Value lock_values[] = {{0, "unlocked"}, {1, "locked"}};
inline constexpr Value device_values[] = {{0, "reference"}, {1, "plls"}};
inline constexpr Value gpu_values[] = {{0, "gpupll"}, {1, "gpu2pll"}};
inline constexpr Value rq301_2d_values[] = {{0, "devpll"}, {1, "gpupll"}};
inline constexpr Value rq302_2d_values[] = {{0, "dev2pll"}, {1, "gpu2pll"}};

inline constexpr Field rq301_control_fields[] = {
    field("devpll_off", off_devpll, "devpll is powered down", off_values),
    field("dev2pll_off", off_dev2pll, "dev2pll is powered down", off_values),
    field("gpupll_off", off_gpupll, "gpupll is powered down", off_values),
    field("gpu2pll_off", off_gpu2pll, "gpu2pll is powered down", off_values),
    field("devpll_bypass", tree_rq301::bypass_devpll, "what devpll gives out", bypass_values),
    field("dev2pll_bypass", tree_rq301::bypass_dev2pll, "what dev2pll gives out", bypass_values),
    field("gpupll_bypass", tree_rq301::bypass_gpupll, "what gpupll gives out", bypass_values),
    field("gpu2pll_bypass", tree_rq301::bypass_gpu2pll, "what gpu2pll gives out", bypass_values),
    field("gpupll_2d_enable", tree_rq301::enable_gpupll_2d, "gpupll's output for 2D",
          enable_values),
    field("gpupll_3d_enable", tree_rq301::enable_gpupll_3d, "gpupll's output for 3D",
          enable_values),
    field("dev2pll_enable", tree_rq301::enable_dev2pll, "dev2pll's output", enable_values),
    field("devpll_enable", tree_rq301::enable_devpll, "devpll's output", enable_values),
};
inline constexpr Field rq302_control_fields[] = {
    field("devpll_off", off_devpll, "devpll is powered down", off_values),
    field("dev2pll_off", off_dev2pll, "dev2pll is powered down", off_values),
    field("gpupll_off", off_gpupll, "gpupll is powered down", off_values),
    field("gpu2pll_off", off_gpu2pll, "gpu2pll is powered down", off_values),
    field("fifth_pll_off", tree_rq302::off_fifth_pll, "the fifth PLL is off with either bit"),
    field("dev2pll_enable", tree_rq302::enable_dev2pll, "outputs of dev2pll"),
    field("gpu2pll_enable", tree_rq302::enable_gpu2pll, "outputs of gpu2pll"),
};
inline constexpr Field rq301_config_fields[] = {
    field("post_divider", config_post_divider, "output divider, less one"),
    field("multiplier", config_multiplier, "feedback multiplier, less one"),
    field("input_divider", config_input_divider, "reference divider, less one"),
    field("shift", config_shift, "the output is shifted right by this"),
    field("band", config_band, "loop band for the comparator's frequency"),
};
inline constexpr Field rq302_config_fields[] = {
    field("bypass", tree_rq302::config_bypass, "what the PLL gives out", bypass_values),
    field("multiplier", config_multiplier, "feedback multiplier, less one"),
    field("input_divider", config_input_divider, "reference divider, less one"),
    field("shift", config_shift, "the output is shifted right by this"),
    field("band", config_band, "loop band for the comparator's frequency"),
};
inline constexpr Field rq302_fifth_fields[] = {
    field("bypass", tree_rq302::config_bypass_fifth_pll, "bypassed when both bits are set"),
    field("multiplier", config_multiplier, "feedback multiplier, less one"),
    field("input_divider", config_input_divider, "reference divider, less one"),
    field("shift", config_shift, "the output is shifted right by this"),
    field("band", config_band, "loop band for the comparator's frequency"),
};
inline constexpr Field pixel_fields[] = {
    field("post_divider", pixel_post_divider, "output divider, less one"),
    field("multiplier", pixel_multiplier, "feedback multiplier, less one"),
    field("input_divider", pixel_input_divider, "reference divider, less one"),
    field("shift", pixel_shift, "the output is shifted right by this"),
};
inline constexpr Field rq301_select_fields[] = {
    field("select_2d", select_2d, "source of the 2D clock", rq301_2d_values),
    field("select_shader", select_shader_gpu2pll, "source of the 3D shader clock", gpu_values),
    field("select_3d", select_3d_gpu2pll, "source of the 3D core clock", gpu_values),
    field("select_device", select_device_plls, "source of the device clocks", device_values),
};
inline constexpr Field rq302_select_fields[] = {
    field("select_2d", select_2d, "source of the 2D clock", rq302_2d_values),
    field("select_shader", select_shader_gpu2pll, "source of the 3D shader clock", gpu_values),
    field("select_3d", select_3d_gpu2pll, "source of the 3D core clock", gpu_values),
    field("select_device", select_device_plls, "source of the device clocks; SPI has none without",
          device_values),
};
// The outputs of devpll are numbered from opposite ends.
inline constexpr Field rq301_divider_fields[] = {
    field("axi", 0xF << 8, "AXI clock, less one"),
    field("devpll_2", 0xF << 4, "second output of devpll, less one"),
    field("apb", 0xF << 0, "APB clock, less one"),
};
inline constexpr Field rq302_divider_fields[] = {
    field("core_2d", 0xFu << 28, "2D clock from dev2pll, less one"),
    field("vpu", 0xF << 20, "VPU clock, less one"),
    field("pcie", 0xF << 16, "PCIe clock, less one"),
    field("apb", 0xF << 8, "APB clock, less one"),
    field("devpll_2", 0xF << 4, "second output of devpll, less one"),
    field("axi", 0xF << 0, "AXI clock, less one"),
};
inline constexpr Field lock_fields[] = {
    field("dev2pll", lock_dev2pll, "dev2pll", lock_values),
    field("gpupll", lock_gpupll, "gpupll", lock_values),
    field("gpu2pll", lock_gpu2pll, "gpu2pll", lock_values),
};

inline constexpr Register rq301_registers[] = {
    {"control", control, 32, rw, "enable, bypass and power-down of the PLLs", rq301_control_fields},
    {"devpll", devpll, 32, rw, "configuration of the AXI and APB PLL", rq301_config_fields},
    {"dev2pll", dev2pll, 32, rw, "configuration of the PCIe and VPU PLL", rq301_config_fields},
    {"gpupll", gpupll, 32, rw, "configuration of the first graphics PLL", rq301_config_fields},
    {"gpu2pll", gpu2pll, 32, rw, "configuration of the second graphics PLL", rq301_config_fields},
    {"fifth_pll", fifth_pll, 32, rw, "configuration of the fifth PLL", rq301_config_fields},
    {.name = "pixel_pll",
     .offset = pixel_plls,
     .width = 32,
     .access = rw,
     .description = "configuration of a display controller's PLL",
     .fields = pixel_fields,
     .count = 4,
     .stride = 4},
    {"clock_select", clock_select, 32, rw, "which PLL a clock comes from", rq301_select_fields},
    {"post_dividers", post_dividers, 32, rw, "dividers behind devpll", rq301_divider_fields},
    {"pll_lock", pll_lock, 32, ro, "which PLLs are locked", lock_fields},
};
inline constexpr Register rq302_registers[] = {
    {"control", control, 32, rw, "enable and power-down of the PLLs", rq302_control_fields},
    {"devpll", devpll, 32, rw, "configuration of the AXI and APB PLL", rq302_config_fields},
    {"dev2pll", dev2pll, 32, rw, "configuration of the PCIe and VPU PLL", rq302_config_fields},
    {"gpupll", gpupll, 32, rw, "configuration of the first graphics PLL", rq302_config_fields},
    {"gpu2pll", gpu2pll, 32, rw, "configuration of the second graphics PLL", rq302_config_fields},
    {"fifth_pll", fifth_pll, 32, rw, "configuration of the fifth PLL", rq302_fifth_fields},
    {.name = "pixel_pll",
     .offset = pixel_plls,
     .width = 32,
     .access = rw,
     .description = "configuration of a display controller's PLL",
     .fields = pixel_fields,
     .count = 4,
     .stride = 4},
    {"clock_select", clock_select, 32, rw, "which PLL a clock comes from", rq302_select_fields},
    {"post_dividers", post_dividers, 32, rw, "dividers behind devpll and dev2pll",
     rq302_divider_fields},
    {"pll_lock", pll_lock, 32, ro, "which PLLs are locked", lock_fields},
};

inline constexpr Block rq301_block = {
    "clocks",
    Space::mmio,
    "clocks and PLLs",
    rq301_registers,
    size,
    &Chip::clocks,
    [](const Chip& chip) { return chip.clock_tree == ClockTree::rq301; }};
inline constexpr Block rq302_block = {
    "clocks",
    Space::mmio,
    "clocks and PLLs",
    rq302_registers,
    size,
    &Chip::clocks,
    [](const Chip& chip) { return chip.clock_tree == ClockTree::rq302; }};

}  // namespace map

}  // namespace zvg::hw::clocks

#endif  // ZVG_HW_BLOCKS_CLOCKS_H
