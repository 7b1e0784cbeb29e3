// A monitor's EDID as the driver reads it from a DDC channel.
#include <errno.h>
#include <stdio.h>

#include "core/connection.h"
#include "core/driver_requests.h"
#include "util_zvg.h"

using zvg::core::g_connection;
using zvg::core::issue;
using zvg::hw::driver::DdcRecord;
using zvg::hw::driver::request_ddc;

int zvgDDCRead(uint32_t channel, uint32_t* result, uint64_t* data_ptr, uint32_t* count) {
  if (channel >= zvg::hw::driver::ddc_channels) return -EINVAL;
  if (g_connection.mode != ZVG_MODE_DRIVER) {
    printf("ddc command is not support with current type: %d\n", g_connection.mode);
    return -1;
  }
  // Callers get a pointer into the record: it stays until the next call.
  static DdcRecord record;
  record.card = g_connection.card;
  record.channel = channel;
  record.reserved = 0;
  const int returned = issue(request_ddc, &record);
  // Also when the request failed: the record tells then what the call before left.
  if (result != nullptr) *result = static_cast<uint32_t>(record.result);
  if (data_ptr != nullptr) *data_ptr = reinterpret_cast<uintptr_t>(record.data);
  if (count != nullptr) *count = record.count;
  return returned;
}
