// The PHY of a DisplayPort transmitter. Its inner configuration is behind a bus of its own (CDB).
#ifndef ZVG_HW_BLOCKS_DP_PHY_H
#define ZVG_HW_BLOCKS_DP_PHY_H

#include "hw/register.h"

namespace zvg::hw::dp_phy {

enum Offset : uint32_t {
  cdb_address = 0x00,
  cdb_write_data = 0x04,
  cdb_command = 0x08,
  cdb_status = 0x0C,
  cdb_read_data = 0x10,
  phy_set_up = 0x14,
  cdb_go = 0x18,
  phy_enable = 0x40,
  common_ready = 0x44,
  lane_enable_48 = 0x48,
  lane_enable_4c = 0x4C,
  phy_run = 0x50,
  reset_release = 0x54,
  set_up_58 = 0x58,
  power_request = 0x60,
  power_acknowledge = 0x64,
  lane_pll_enable = 0x68,
  lane_pll_acknowledge = 0x6C,
  preemphasis = 0xA0,    // lanes 0 to 3: 0xA0 to 0xAC
  voltage_swing = 0xB0,  // lanes 0 to 3: 0xB0 to 0xBC
};

constexpr uint32_t size = 0x10000;
constexpr uint32_t lane_stride = 4;

enum CdbCommand : uint32_t { cdb_read = 2, cdb_write = 3 };
constexpr uint32_t cdb_ready = 1;  // all of the status, after a good read

constexpr uint32_t lane_bits = 0xF;
constexpr uint32_t released = 0xF;
constexpr uint32_t last_power_state = 3;
constexpr uint32_t power_states = 0x1F;  // a bit a state
constexpr uint32_t level_bits = 3;       // inverted

namespace map {

inline constexpr Value command_values[] = {{cdb_read, "read"}, {cdb_write, "write"}};
inline constexpr Value power_values[] = {{1, "a0"}, {2, "a1"}, {4, "a2"}, {8, "a3"}};

inline constexpr Field address_fields[] = {field("address", 0xFFFF, "on the configuration bus")};
inline constexpr Field data_fields[] = {field("data", 0xFFFF, "of the transfer")};
inline constexpr Field command_fields[] = {
    field("command", 3, "what the transfer does", command_values),
};
inline constexpr Field status_fields[] = {field("ready", cdb_ready, "no transfer is under way")};
inline constexpr Field go_fields[] = {field("go", 1, "starts the transfer")};
inline constexpr Field enable_fields[] = {field("enable", 1, "1 = on")};
inline constexpr Field ready_fields[] = {field("ready", 1, "the common block is ready")};
inline constexpr Field lanes_fields[] = {field("lanes", lane_bits, "a bit a lane")};
inline constexpr Field run_fields[] = {field("run", 1, "0 holds the PHY in reset")};
inline constexpr Field release_fields[] = {
    field("released", released, "resets that are released, lowest first"),
};
inline constexpr Field request_fields[] = {
    field("state", power_states, "a bit for the wanted power state", power_values),
};
inline constexpr Field acknowledge_fields[] = {
    field("state", power_states, "a bit for the power state", power_values),
};
inline constexpr Field locked_fields[] = {field("locked", 1, "the lanes' PLLs run")};
inline constexpr Field level_fields[] = {
    field("level", level_bits, "0 to 3, all bits inverted"),
};

inline constexpr Register registers[] = {
    {"cdb_address", cdb_address, 32, rw, "address of a transfer", address_fields},
    {"cdb_write_data", cdb_write_data, 32, rw, "what is written", data_fields},
    {"cdb_command", cdb_command, 32, rw, "direction of a transfer", command_fields},
    {"cdb_status", cdb_status, 32, ro, "state of the bus", status_fields},
    {"cdb_read_data", cdb_read_data, 32, ro, "what was read", data_fields},
    {"phy_set_up", phy_set_up, 32, rw, "begins the set-up", enable_fields},
    {"cdb_go", cdb_go, 32, rw, "starts a transfer", go_fields, Effect::write_starts},
    {"phy_enable", phy_enable, 32, rw, "the PHY", enable_fields},
    {"common_ready", common_ready, 32, ro, "the common block", ready_fields},
    {"lane_enable_48", lane_enable_48, 32, rw, "lanes that are on", lanes_fields},
    {"lane_enable_4c", lane_enable_4c, 32, rw, "lanes that are on", lanes_fields},
    {"phy_run", phy_run, 32, rw, "reset of the PHY", run_fields},
    {"reset_release", reset_release, 32, rw, "resets of its parts", release_fields},
    {"set_up_58", set_up_58, 32, rw, "0xF during the set-up", lanes_fields},
    {"power_request", power_request, 32, rw, "asks for a power state", request_fields},
    {"power_acknowledge", power_acknowledge, 32, ro, "power state", acknowledge_fields},
    {"lane_pll_enable", lane_pll_enable, 32, rw, "PLLs of the lanes", enable_fields},
    {"lane_pll_acknowledge", lane_pll_acknowledge, 32, ro, "PLLs of the lanes", locked_fields},
    {.name = "preemphasis",
     .offset = preemphasis,
     .width = 32,
     .access = rw,
     .description = "pre-emphasis of a lane",
     .fields = level_fields,
     .count = 4,
     .stride = lane_stride},
    {.name = "voltage_swing",
     .offset = voltage_swing,
     .width = 32,
     .access = rw,
     .description = "voltage swing of a lane",
     .fields = level_fields,
     .count = 4,
     .stride = lane_stride},
};

inline constexpr Block block = {"dp_phy",  Space::mmio, "DisplayPort PHY",
                                registers, size,        &Chip::dp_phys};

}  // namespace map

}  // namespace zvg::hw::dp_phy

#endif  // ZVG_HW_BLOCKS_DP_PHY_H
