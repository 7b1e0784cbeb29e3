// The HDMI ports of the board, and what can be wrong with them.
#ifndef ZVGSIM_DEVICES_HDMI_HDMI_SETTINGS_H
#define ZVGSIM_DEVICES_HDMI_HDMI_SETTINGS_H

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "board/board_config.h"
#include "devices/display/mode_timing.h"

namespace zvgsim {

// One port and the monitor on it.
struct HdmiPortSettings {
  std::vector<uint8_t> edid;              // empty: nothing answers on the DDC bus
  std::optional<bool> hot_plug;           // not set: plugged when there is an EDID
  std::optional<uint8_t> receiver_sense;  // bits 0 to 3, a receiver each; not set: all if plugged
  std::optional<ModeTiming> timing;       // set: the firmware left the port driving this mode
  bool pixel_clock = true;                // the pixel clock reaches the transmitter
  unsigned pll_lock_ms = 3;               // from power-up to the PHY's lock
};

struct HdmiSettings {
  std::array<HdmiPortSettings, hdmi_ports> port;
};

struct HdmiPortFaults {
  std::vector<uint8_t> ddc_nack;             // addresses that nobody acknowledges
  std::optional<uint32_t> ddc_nack_at_byte;  // the EDID byte whose offset is not acknowledged
  bool ddc_busy = false;                     // the DDC bus hangs: no transfer ever ends
  bool phy_busy = false;                     // the same for the PHY's I2C bus
  bool pll_never_locks = false;
};

struct HdmiFaults {
  std::array<HdmiPortFaults, hdmi_ports> port;
};

void read_hdmi(FileTable& root, BoardConfig& config);
void read_hdmi_faults(FileTable& faults, FaultConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_HDMI_HDMI_SETTINGS_H
