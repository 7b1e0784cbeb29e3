#include "board/fault_plan.h"

#include <errno.h>

#include <algorithm>

#include "board/virtual_clock.h"

namespace zvgsim {

FaultPlan::FaultPlan(const FaultConfig& config)
    : Settings(config),
      random_(config.seed),
      gone_at_(config.node_gone_at_request),
      uart_(config.uart) {
  for (const DriverFault& fault : config.driver) driver_.push_back({fault, 0});
}

// The random number is drawn by hand: the standard's distributions differ between libraries.
bool FaultPlan::strikes(uint64_t from, uint64_t count, double probability, uint64_t seen) {
  if (from != 0) return seen >= from && seen - from < count;
  constexpr double range = 18446744073709551616.0;  // 2^64
  return static_cast<double>(random_()) < probability * range;
}

int FaultPlan::driver_request(unsigned number) {
  if (node_gone()) return ENODEV;
  ++requests_;
  int error = 0;
  for (CountedDriverFault& fault : driver_) {
    if (fault.number && *fault.number != number) continue;
    ++fault.seen;
    if (strikes(fault.request, fault.count, fault.probability, fault.seen) && error == 0) {
      error = fault.error;
    }
  }
  return error;
}

FaultPlan::Reply FaultPlan::uart_reply() {
  Reply reply;
  ++replies_;
  for (const UartFault& fault : uart_) {
    if (!strikes(fault.reply, fault.count, fault.probability, replies_)) continue;
    switch (fault.action) {
      case UartAction::drop:
        reply.drop = true;
        break;
      case UartAction::corrupt: {
        const uint64_t draw = random_();
        // Never 0: the byte does change.
        reply.flip ^= static_cast<uint32_t>(1 + (draw & 0xFE)) << (8 * (draw >> 8 & 3));
        break;
      }
      case UartAction::cut:
        reply.keep = std::min(reply.keep, fault.bytes);
        break;
      case UartAction::delay:
        reply.delay += milliseconds(fault.delay_ms);
        break;
      case UartAction::noise:
        reply.noise_bytes += fault.bytes;
        break;
    }
  }
  return reply;
}

}  // namespace zvgsim
