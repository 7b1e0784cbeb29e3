// The kernel driver: what it answers to a request, wherever the request comes from.
#ifndef ZVGSIM_DOORS_DRIVER_H
#define ZVGSIM_DOORS_DRIVER_H

#include <vector>

#include "doors/caller_memory.h"
#include "machine/machine.h"

namespace zvgsim {

// Each request has a record of exactly the size that its number encodes.
//   ENOTTY   a number that the driver does not know, also for a wrong size, type or direction
//   EFAULT   kernel memory outside its range; tables that the caller does not have
//   ENODEV   a card that is not there
//   EINVAL   a field out of its range
// and whatever the fault plan says.
class Driver {
 public:
  explicit Driver(Machine& machine) : machine_(machine) {}

  // False for the one request without a record: its argument means nothing.
  static bool has_record(unsigned long request);
  // The record's size; 0 without one, and for a number that the driver does not know.
  static size_t record_size(unsigned long request);

  // What the answer will read of the caller's memory besides the record. A request that would be
  // refused for its record's sake reads nothing.
  static std::vector<CallerRange> reads(unsigned long request, const void* record);

  // Answers a request on its record, which need not be aligned; returns 0 or an errno. A request
  // that fails leaves the record alone, as a driver does that fails before it copies back.
  int answer(unsigned long request, void* record, CallerMemory& caller);

 private:
  Machine& machine_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_DRIVER_H
