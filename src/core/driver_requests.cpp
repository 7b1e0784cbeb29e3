// The calls that are nothing but one driver request.
#include "core/driver_requests.h"

#include <stdio.h>
#include <string.h>

namespace zvg::core {

using namespace hw::driver;

namespace {

// One record for every PCI access. Its card field is never filled: the request always names card 0.
PciRecord pci_record;

int pci_access(uint32_t op, uint32_t offset, uint32_t value) {
  pci_record.op = op;
  pci_record.offset = offset;
  pci_record.value = value;
  return issue(request_pci, &pci_record);
}

int generic_operation(unsigned long request, uint32_t arg0, uint32_t arg1, uint32_t arg2,
                      uint32_t arg3, uint64_t value) {
  GenericRecord record = {{arg0, arg1, arg2, arg3}, value};
  return issue(request, &record);
}

}  // namespace

}  // namespace zvg::core

using namespace zvg::core;
using namespace zvg::hw::driver;

int zvg3DOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_3d, arg0, arg1, arg2, arg3, value);
}

int zvg2DOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_2d, arg0, arg1, arg2, arg3, value);
}

int zvgDacOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_dac, arg0, arg1, arg2, arg3, value);
}

int zvgHDMIOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_hdmi, arg0, arg1, arg2, arg3, value);
}

int zvgDvoOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_dvo, arg0, arg1, arg2, arg3, value);
}

int zvgSpiOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  return generic_operation(request_spi, arg0, arg1, arg2, arg3, value);
}

int zvgDDROperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3, uint64_t value) {
  // The number says 532 bytes, so 532 bytes are handed over, zero beyond the operation itself.
  DdrRecord record = {{{arg0, arg1, arg2, arg3}, value}, {}};
  return issue(request_ddr, &record);
}

int zvgI2cOperate(uint32_t bus, uint32_t device, uint32_t reg, uint32_t op, uint32_t length,
                  void* data) {
  constexpr uint32_t capacity = sizeof(I2cRecord::data);
  const uint32_t size = length < capacity ? length : capacity;
  I2cRecord record = {g_connection.card, bus, device, reg, op, size, {}, 0};
  if (op == ZVG_OP_WRITE && size != 0) memcpy(record.data, data, size);
  const int result = issue(request_i2c, &record);
  if (result != 0) {
    printf("ioctl zvg_ioctl_i2c error\n");
    return result;
  }
  if (op == ZVG_OP_READ && size != 0) memcpy(data, record.data, size);
  return record.result;
}

int zvgQueryOperate(int key, void* buffer) {
  // The driver takes its input from the first byte; the rest of the buffer stays here.
  QueryRecord record = {g_connection.card, static_cast<uint32_t>(key), {}};
  memcpy(record.data, buffer, 1);
  const int result = issue(request_query, &record);
  memcpy(buffer, record.data, sizeof record.data);
  return result;
}

int zvgQueryInt(unsigned key, uint32_t* value) {
  uint8_t answer[sizeof(QueryRecord::data)] = {};
  memcpy(answer, value, sizeof *value);
  const int result = zvgQueryOperate(static_cast<int>(key), answer);
  if (result == 0) memcpy(value, answer, sizeof *value);
  return result;
}

int zvgKrtcoreVer(uint32_t* major, uint32_t* minor, uint32_t* patch, uint32_t* build) {
  VersionRecord record = {};
  const int result = issue(request_version, &record);
  uint32_t* const outputs[] = {major, minor, patch, build};
  for (int i = 0; i < 4; ++i) {
    if (outputs[i] != nullptr) *outputs[i] = record.number[i];
  }
  return result;
}

int zvgPciRead(uint32_t offset, uint32_t* value) {
  const int result = pci_access(ZVG_OP_READ, offset, *value);
  *value = pci_record.value;
  return result;
}

int zvgPciWrite(uint32_t offset, uint32_t value) {
  return pci_access(ZVG_OP_WRITE, offset, value);
}

int zvgInfoRead(void* info) {
  memcpy(info, &g_connection.card, sizeof g_connection.card);
  return issue(request_info, info);
}

int zvgDumpVramFree(void) {
  CommandRecord record = {g_connection.card, command_dump_free_vram, {}, {}};
  const int result = issue(request_command, &record);
  if (result != 0) printf("card %d: dump vram node failed\n", static_cast<int>(g_connection.card));
  return result;
}
