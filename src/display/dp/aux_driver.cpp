// AUX transfers that the kernel driver makes: one request each.
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "core/driver_requests.h"
#include "util_zvg.h"

using zvg::core::issue;
using zvg::hw::driver::AuxRecord;
using zvg::hw::driver::request_aux;

int zvgDpAuxRead(uint32_t port, uint32_t address, uint8_t* byte) {
  return zvgDpAuxReadBuf(port, address, byte, 1);
}

int zvgDpAuxReadBuf(uint32_t port, uint32_t address, uint8_t* buf, uint32_t length) {
  constexpr uint32_t longest = 16;
  if (length > longest) {
    printf("size %d is out of range\n", static_cast<int>(length));
    return -1;
  }
  AuxRecord record = {0, port, AuxRecord::read, address, length, {}};
  const int result = issue(request_aux, &record);
  if (result == 0 && length != 0) memcpy(buf, record.data, length);
  return result;
}

int zvgDpAuxWrite(uint32_t port, uint32_t address, int value) {
  AuxRecord record = {0, port, AuxRecord::write, address, 1, {static_cast<uint8_t>(value)}};
  return issue(request_aux, &record);
}

int zvgDpAuxEdidGet(uint32_t port, uint8_t* buf, uint32_t* length) {
  AuxRecord record = {0, port, AuxRecord::fetch_edid, 0, 0, {}};
  const int result = issue(request_aux, &record);
  if (result != 0) return result;
  // The driver cannot have delivered more than the record holds, whatever it says.
  *length = std::min<uint32_t>(record.length, sizeof record.data);
  memcpy(buf, record.data, *length);
  return result;
}
