// Requests to the driver's node.
#ifndef ZVG_CORE_DRIVER_REQUESTS_H
#define ZVG_CORE_DRIVER_REQUESTS_H

#include <stdint.h>
#include <sys/ioctl.h>

#include "core/access_failures.h"
#include "core/connection.h"
#include "hw/driver_requests.h"

namespace zvg::core {

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
