#include "devices/models.h"

// A line each; NAME_model() is in the model's own folder. A model that looks for a part of another
// comes after it.
// clang-format off
#define ZVGSIM_MODELS(model) \
  model(clocks)              \
  model(pci)                 \
  model(fan)                 \
  model(vga)                 \
  model(hdmi)                \
  model(dp)                  \
  model(display)             \
  model(axi)                 \
  model(ddr)                 \
  model(power_monitors)      \
  model(i2c)                 \
  model(video)               \
  model(mcu)                 \
  model(flash)               \
  model(sensors)             \
  model(amba)
// clang-format on

namespace zvgsim {

#define ZVGSIM_DECLARE(name) Model name##_model();
ZVGSIM_MODELS(ZVGSIM_DECLARE)
#undef ZVGSIM_DECLARE

std::span<const Model> models() {
#define ZVGSIM_ROW(name) name##_model(),
  static const Model list[] = {ZVGSIM_MODELS(ZVGSIM_ROW)};
#undef ZVGSIM_ROW
  return list;
}

}  // namespace zvgsim
