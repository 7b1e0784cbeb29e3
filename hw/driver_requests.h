// The request contract of the kernel driver's node: numbers and records, byte for byte.
#ifndef ZVG_HW_DRIVER_REQUESTS_H
#define ZVG_HW_DRIVER_REQUESTS_H

#include <stdint.h>

namespace zvg::hw::driver {

constexpr char node[] = "/dev/zvgrw";

// What the op word of most records holds.
enum Operation : uint32_t { op_read = 0, op_write = 1 };

// Records ---------------------------------------------------------------------------------------

struct RegisterRecord {
  uint32_t card;
  uint32_t bar;
  uint32_t op;
  uint32_t width;  // bytes
  uint64_t offset;
  uint64_t value;  // in and out
};

struct DdcRecord {
  uint32_t card;
  uint32_t channel;
  uint32_t reserved;
  int32_t result;  // an I2cResult
  uint8_t data[512];
  uint32_t count;
};

struct VersionRecord {
  uint32_t number[4];
};

struct PciRecord {
  uint32_t card;
  uint32_t op;
  uint32_t offset;
  uint32_t value;
};

struct InfoRecord {
  uint32_t card;
  uint32_t used;  // video memory, as the next one but one
  uint32_t reserved;
  uint32_t free;
};

struct KmemRecord {
  uint64_t address;
  uint32_t op;
  uint32_t width;  // bytes
  uint64_t value;
};

struct GenericRecord {
  uint32_t arg[4];
  uint64_t value;
};

// A transfer on the auxiliary channel of a DisplayPort output.
struct AuxRecord {
  enum Operation : uint32_t { write = 0, read = 1, fetch_edid = 2 };

  uint32_t reserved;
  uint32_t port;
  uint32_t operation;
  uint32_t address;
  uint32_t length;  // in; out for the EDID
  uint8_t data[512];
};

// The DDR operation shares its number with the auxiliary channel, whose records are this long.
struct DdrRecord {
  GenericRecord operation;
  uint8_t unused[508];
} __attribute__((packed));

struct I2cRecord {
  uint32_t card;
  uint32_t bus;
  uint32_t device;
  uint32_t reg;
  uint32_t op;
  uint32_t length;
  uint8_t data[512];
  int32_t result;  // an I2cResult
};

struct QueryRecord {
  uint32_t card;
  uint32_t key;
  uint8_t data[128];  // its first byte is the question's argument
};

struct CommandRecord {
  uint32_t card;
  uint32_t command;
  uint32_t argument[2];
  uint32_t result[16];
};

struct IoportRecord {
  uint8_t port;
  uint8_t value;
  uint8_t op;
};

// Entries of 16 bits; the addresses are the caller's.
struct LutRecord {
  uint32_t crtc;
  uint32_t size;
  uint64_t red;
  uint64_t green;
  uint64_t blue;
};

struct PowerRecord {
  uint32_t op;
  uint32_t state;
};

struct FanRateRecord {
  uint32_t percent;
};

struct TemperatureRecord {
  uint32_t celsius;  // for a test
};

static_assert(sizeof(RegisterRecord) == 32 && sizeof(DdcRecord) == 532);
static_assert(sizeof(VersionRecord) == 16 && sizeof(PciRecord) == 16 && sizeof(InfoRecord) == 16);
static_assert(sizeof(KmemRecord) == 24 && sizeof(GenericRecord) == 24 && sizeof(AuxRecord) == 532);
static_assert(sizeof(DdrRecord) == 532 && sizeof(I2cRecord) == 540 && sizeof(QueryRecord) == 136);
static_assert(sizeof(CommandRecord) == 80 && sizeof(IoportRecord) == 3 && sizeof(LutRecord) == 32);
static_assert(sizeof(PowerRecord) == 8 && sizeof(FanRateRecord) == 4);
static_assert(sizeof(TemperatureRecord) == 4);

// Requests --------------------------------------------------------------------------------------

enum class Number : uint8_t {
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

// A request is the type letter, a number, the record's size and, with a record, both directions.
constexpr char request_type = 'd';

constexpr unsigned long request_of(unsigned number, unsigned long record_size) {
  constexpr unsigned long both_directions = 3;
  const unsigned long directions = record_size != 0 ? both_directions : 0;
  return directions << 30 | record_size << 16 | static_cast<unsigned long>(request_type) << 8 |
         number;
}

template <typename Record>
constexpr unsigned long request_of(Number number) {
  return request_of(static_cast<unsigned>(number), sizeof(Record));
}

constexpr unsigned long request_register = request_of<RegisterRecord>(Number::register_access);
constexpr unsigned long request_ddc = request_of<DdcRecord>(Number::ddc_read);
constexpr unsigned long request_version = request_of<VersionRecord>(Number::kernel_version);
constexpr unsigned long request_pci = request_of<PciRecord>(Number::pci_access);
constexpr unsigned long request_info = request_of<InfoRecord>(Number::information);
constexpr unsigned long request_kmem = request_of<KmemRecord>(Number::kernel_memory);
constexpr unsigned long request_3d = request_of<GenericRecord>(Number::operate_3d);
constexpr unsigned long request_2d = request_of<GenericRecord>(Number::operate_2d);
constexpr unsigned long request_dac = request_of<GenericRecord>(Number::operate_dac);
constexpr unsigned long request_hdmi = request_of<GenericRecord>(Number::operate_hdmi);
constexpr unsigned long request_dvo = request_of<GenericRecord>(Number::operate_dvo);
constexpr unsigned long request_ddr = request_of<DdrRecord>(Number::auxiliary);
constexpr unsigned long request_aux = request_of<AuxRecord>(Number::auxiliary);
constexpr unsigned long request_spi = request_of<GenericRecord>(Number::operate_spi);
constexpr unsigned long request_i2c = request_of<I2cRecord>(Number::i2c_transfer);
constexpr unsigned long request_query = request_of<QueryRecord>(Number::query);
constexpr unsigned long request_command = request_of<CommandRecord>(Number::command);
constexpr unsigned long request_ioport = request_of<IoportRecord>(Number::ioport_access);
constexpr unsigned long request_lut = request_of<LutRecord>(Number::lut_load);
constexpr unsigned long request_power = request_of<PowerRecord>(Number::power_state);
constexpr unsigned long request_fan_rate = request_of<FanRateRecord>(Number::fan_rate);
constexpr unsigned long request_clear_fan =
    request_of(static_cast<unsigned>(Number::fan_automatic), 0);
constexpr unsigned long request_temperature =
    request_of<TemperatureRecord>(Number::test_temperature);

// Questions, commands and answers ---------------------------------------------------------------

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

// Operations of the power record.
enum PowerOperation : uint32_t { power_get = 0, power_set = 1 };
constexpr uint32_t power_states = 3;

constexpr uint32_t ddc_channels = 16;
constexpr uint32_t i2c_channels = 6;

// What the driver puts into the result word of I2C and DDC transfers.
enum I2cResult : int32_t {
  i2c_succeeded = 0,
  i2c_no_channel = -1,
  i2c_no_device = -2,
  i2c_no_acknowledge = -3,
  i2c_bad_argument = -4,
};

}  // namespace zvg::hw::driver

#endif  // ZVG_HW_DRIVER_REQUESTS_H
