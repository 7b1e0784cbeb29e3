// Who the card says that it is.
#ifndef ZVGSIM_DEVICES_PCI_PCI_SETTINGS_H
#define ZVGSIM_DEVICES_PCI_PCI_SETTINGS_H

#include <cstdint>

namespace zvgsim {

struct PciSettings {
  // 0: made up from the generation.
  uint16_t vendor = 0x5A56, device = 0, subsystem_vendor = 0x5A56, subsystem = 1;
  uint8_t revision = 1;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_PCI_PCI_SETTINGS_H
