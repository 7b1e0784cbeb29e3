// The request contract of the driver's node "/dev/zvgrw": numbers and records, byte for byte.
#ifndef ZVG_CORE_DRIVER_REQUESTS_H
#define ZVG_CORE_DRIVER_REQUESTS_H

#include <stddef.h>
#include <stdint.h>
#include <sys/ioctl.h>

#include "core/access_failures.h"
#include "core/connection.h"

namespace zvg::core {

// Register access, of which mmio.cpp keeps the one instance.
struct RegisterRecord {
  uint32_t card;
  uint32_t bar;
  uint32_t op;
  uint32_t width;
  uint64_t offset;
  uint64_t value;  // in and out
};

struct DdcRecord {
  uint32_t card;
  uint32_t channel;
  uint32_t reserved;
  uint32_t result;
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

struct KmemRecord {
  uint64_t address;
  uint32_t op;
  uint32_t width;
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
  uint32_t result;
};

struct QueryRecord {
  uint32_t card;
  uint32_t key;
  uint8_t data[128];
};

struct CommandRecord {
  uint32_t card;
  uint32_t command;
  uint32_t argument[2];
  uint8_t result[64];
};

struct IoportRecord {
  uint8_t port;
  uint8_t value;
  uint8_t op;
};

struct PowerRecord {
  uint32_t op;
  uint32_t state;
};

static_assert(sizeof(RegisterRecord) == 32 && offsetof(RegisterRecord, offset) == 16 &&
              offsetof(RegisterRecord, value) == 24);
static_assert(sizeof(DdcRecord) == 532 && offsetof(DdcRecord, data) == 16 &&
              offsetof(DdcRecord, count) == 528);
static_assert(sizeof(VersionRecord) == 16);
static_assert(sizeof(PciRecord) == 16 && offsetof(PciRecord, value) == 12);
static_assert(sizeof(KmemRecord) == 24 && offsetof(KmemRecord, op) == 8 &&
              offsetof(KmemRecord, value) == 16);
static_assert(sizeof(GenericRecord) == 24 && offsetof(GenericRecord, value) == 16);
static_assert(sizeof(AuxRecord) == 532 && offsetof(AuxRecord, data) == 20);
static_assert(sizeof(DdrRecord) == 532);
static_assert(sizeof(I2cRecord) == 540 && offsetof(I2cRecord, data) == 24 &&
              offsetof(I2cRecord, result) == 536);
static_assert(sizeof(QueryRecord) == 136 && offsetof(QueryRecord, data) == 8);
static_assert(sizeof(CommandRecord) == 80 && offsetof(CommandRecord, result) == 16);
static_assert(sizeof(IoportRecord) == 3);
static_assert(sizeof(PowerRecord) == 8);
static_assert(sizeof(zvg_crtc_lut) == 32 && offsetof(zvg_crtc_lut, blue) == 24);
static_assert(sizeof(zvg_info) == 16 && offsetof(zvg_info, free) == 12);

// Request numbers: type letter 'd', both directions, the record's size.
template <typename Record>
constexpr unsigned long request_number(unsigned number) {
  return _IOC(_IOC_READ | _IOC_WRITE, 'd', number, sizeof(Record));
}

constexpr unsigned long request_register = request_number<RegisterRecord>(0x01);
constexpr unsigned long request_ddc = request_number<DdcRecord>(0x02);
constexpr unsigned long request_version = request_number<VersionRecord>(0x03);
constexpr unsigned long request_pci = request_number<PciRecord>(0x04);
constexpr unsigned long request_info = request_number<zvg_info>(0x05);
constexpr unsigned long request_kmem = request_number<KmemRecord>(0x06);
constexpr unsigned long request_3d = request_number<GenericRecord>(0x07);
constexpr unsigned long request_2d = request_number<GenericRecord>(0x08);
constexpr unsigned long request_dac = request_number<GenericRecord>(0x09);
constexpr unsigned long request_hdmi = request_number<GenericRecord>(0x0A);
constexpr unsigned long request_dvo = request_number<GenericRecord>(0x0B);
constexpr unsigned long request_ddr = request_number<DdrRecord>(0x0C);
constexpr unsigned long request_aux = request_number<AuxRecord>(0x0C);
constexpr unsigned long request_spi = request_number<GenericRecord>(0x0E);
constexpr unsigned long request_i2c = request_number<I2cRecord>(0x0F);
constexpr unsigned long request_query = request_number<QueryRecord>(0x10);
constexpr unsigned long request_command = request_number<CommandRecord>(0x11);
constexpr unsigned long request_ioport = request_number<IoportRecord>(0x12);
constexpr unsigned long request_lut = request_number<zvg_crtc_lut>(0x13);
constexpr unsigned long request_power = request_number<PowerRecord>(0x14);
constexpr unsigned long request_fan_rate = request_number<uint32_t>(0x15);     // per cent
constexpr unsigned long request_clear_fan = _IOC(_IOC_NONE, 'd', 0x16, 0);     // no record
constexpr unsigned long request_temperature = request_number<uint32_t>(0x17);  // a test value

static_assert(request_register == 0xC0206401 && request_ddr == 0xC214640C &&
              request_aux == 0xC214640C && request_lut == 0xC0206413 && request_i2c == 0xC21C640F &&
              request_query == 0xC0886410 && request_command == 0xC0506411 &&
              request_ioport == 0xC0036412 && request_power == 0xC0086414 &&
              request_fan_rate == 0xC0046415 && request_clear_fan == 0x6416 &&
              request_temperature == 0xC0046417);

// Commands of the driver command record.
constexpr uint32_t command_dump_vram_nodes = 5;

// Issues a request on the connection's descriptor, whatever it is. Returns ioctl's result.
//
// address: what the request is about, where that is an address; for whoever asks what failed.
inline int issue(unsigned long request, void* record, uint64_t address = 0) {
  const int result = ioctl(g_connection.fd, request, record);
  if (result < 0) [[unlikely]] {
    note_failed_access(FailedAccess::request, request, address);
  }
  return result;
}

}  // namespace zvg::core

#endif  // ZVG_CORE_DRIVER_REQUESTS_H
