// EDIDs that the chip's microcontroller reads.
#ifndef ZVGCTL_MCU_H
#define ZVGCTL_MCU_H

#include <cstdint>
#include <string>
#include <vector>

namespace zvgctl {

// The library waits for the microcontroller without an end.
inline constexpr unsigned mcu_deadline = 30;

struct McuTarget {
  int first, second;  // selectors of the monitor's bus, 0 to 15 each
};

// "FIRST:SECOND". Throws a usage Failure that calls the argument by its name.
McuTarget parse_mcu_target(const char* name, const std::string& text);

// The first two blocks at the most; warns when there are more. Throws a Failure without a monitor.
std::vector<uint8_t> read_mcu_edid(const McuTarget& target);

}  // namespace zvgctl

#endif  // ZVGCTL_MCU_H
