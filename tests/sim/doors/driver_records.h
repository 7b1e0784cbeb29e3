// The records of the driver's requests, byte by byte, as a program writes them down that has its
// own copy of the contract.
#ifndef ZVG_TESTS_SIM_DOORS_DRIVER_RECORDS_H
#define ZVG_TESTS_SIM_DOORS_DRIVER_RECORDS_H

#include <cstdint>

namespace zvgsim::driver {

enum Request : unsigned {
  register_access = 0x01,
  ddc_read = 0x02,
  kernel_version = 0x03,
  pci_access = 0x04,
  information = 0x05,
  kernel_memory = 0x06,
  operate_3d = 0x07,
  operate_2d = 0x08,
  operate_dac = 0x09,
  operate_hdmi = 0x0A,
  operate_dvo = 0x0B,
  auxiliary = 0x0C,  // also the DDR controller's generic operation
  operate_spi = 0x0E,
  i2c_transfer = 0x0F,
  query = 0x10,
  command = 0x11,
  ioport_access = 0x12,
  lut_load = 0x13,
  power_state = 0x14,
  fan_rate = 0x15,
  fan_automatic = 0x16,  // without a record
  test_temperature = 0x17,
};

enum Operation : uint32_t { op_read = 0, op_write = 1 };
enum Bar : uint32_t { bar_vram = 0, bar_mmio = 2 };

struct RegisterAccess {
  uint32_t card, bar, op, width;
  uint64_t offset, value;
};

struct DdcRead {
  uint32_t card, channel, reserved;
  int32_t result;
  uint8_t data[512];
  uint32_t count;
};

struct KernelVersion {
  uint32_t words[4];
};

struct PciAccess {
  uint32_t card, op, offset, value;
};

struct Information {
  uint32_t card, used, reserved, free;
};

struct KernelMemory {
  uint64_t address;
  uint32_t op, width;
  uint64_t value;
};

struct Generic {
  uint32_t arguments[4];
  uint64_t value;
};

// A transfer on the AUX channel of a DisplayPort output; the DDR controller's generic operation
// has its arguments in the same place.
struct Auxiliary {
  uint32_t zero, port, operation, address, length;
  uint8_t data[512];
};

struct LutLoad {
  uint32_t crtc, size;
  uint64_t red, green, blue;  // addresses in the caller
};

struct I2cTransfer {
  uint32_t card, bus, device, reg, op, length;
  uint8_t data[512];
  int32_t result;
};

struct Query {
  uint32_t card, key;
  uint8_t data[128];
};

struct Command {
  uint32_t card, command, arguments[2];
  uint32_t result[16];
};

struct IoportAccess {
  uint8_t port, value, op;
};

struct PowerState {
  uint32_t op, state;
};

struct FanRate {
  uint32_t percent;
};

struct TestTemperature {
  uint32_t celsius;
};

static_assert(sizeof(RegisterAccess) == 32);
static_assert(sizeof(DdcRead) == 532);
static_assert(sizeof(KernelVersion) == 16);
static_assert(sizeof(PciAccess) == 16);
static_assert(sizeof(Information) == 16);
static_assert(sizeof(KernelMemory) == 24);
static_assert(sizeof(Generic) == 24);
static_assert(sizeof(Auxiliary) == 532);
static_assert(sizeof(LutLoad) == 32);
static_assert(sizeof(I2cTransfer) == 540);
static_assert(sizeof(Query) == 136);
static_assert(sizeof(Command) == 80);
static_assert(sizeof(IoportAccess) == 3);
static_assert(sizeof(PowerState) == 8);
static_assert(sizeof(FanRate) == 4);
static_assert(sizeof(TestTemperature) == 4);

enum QueryKey : uint32_t {
  query_device_id = 0,
  query_axi_clock = 1,
  query_vpu_clock = 2,
  query_3d_clock = 3,
  query_2d_clock = 4,
  query_ddr_clock = 5,
  query_3d_cores = 6,
  query_2d_cores = 7,
  query_cards = 8,
  query_gop_version = 9,
  query_memory_channels = 10,
  query_engine_load = 11,
  query_firmware_version = 12,
};

// Commands below the first one are the types of on-die sensors: their codes are asked for.
enum CommandNumber : uint32_t { command_dump_free_vram = 5 };

enum AuxOperation : uint32_t { aux_write = 0, aux_read = 1, aux_fetch_edid = 2 };

enum PowerStates : uint32_t { power_states = 3 };

constexpr uint32_t ddc_channels = 16;
constexpr uint32_t i2c_max_length = 512;

// What the driver puts into the result word of I2C and DDC transfers.
enum I2cResult : int32_t {
  i2c_succeeded = 0,
  i2c_no_channel = -1,
  i2c_no_device = -2,
  i2c_no_acknowledge = -3,
  i2c_bad_argument = -4,
};

}  // namespace zvgsim::driver

#endif  // ZVG_TESTS_SIM_DOORS_DRIVER_RECORDS_H
