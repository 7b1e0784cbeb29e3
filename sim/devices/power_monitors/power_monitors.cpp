// The power monitors on the board's I2C buses.
#include <memory>

#include "board/board.h"
#include "devices/power_monitors/ina3221.h"
#include "devices/power_monitors/ltc299x.h"
#include "devices/power_monitors/power_monitor_settings.h"

namespace zvgsim {

namespace {

std::unique_ptr<I2cDevice> make(Board& board, const PowerMonitorSettings& settings) {
  switch (settings.chip) {
    case PowerChip::ltc2990:
      return std::make_unique<Ltc2990>(board, settings);
    case PowerChip::ltc2991:
      return std::make_unique<Ltc2991>(board, settings);
    case PowerChip::ina3221:
      return std::make_unique<Ina3221>(board, settings);
  }
  return nullptr;
}

void place(Board& board) {
  for (const PowerMonitorSettings& monitor : board.config().of<PowerMonitors>().list) {
    board.i2c(monitor.bus).attach(make(board, monitor));
  }
}

}  // namespace

Model power_monitors_model() {
  return {.read = read_power_monitors, .place = place};
}

}  // namespace zvgsim
