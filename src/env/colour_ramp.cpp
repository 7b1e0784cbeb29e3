// Colour ramps: what a gamma, a brightness and a colour temperature make of a channel's values.
#include <math.h>
#include <stdint.h>
#include <stdlib.h>

#include "env/white_point.h"
#include "util_zvg.h"

namespace zvg::env {

namespace {

constexpr double full_scale = 65536;
constexpr uint32_t lut_entries = 256;

// A channel of a setting. The factors are single precision, what is computed with them double.
class Curve {
 public:
  Curve(const zvg_color_setting& setting, const WhitePoint& white, int channel)
      : brightness_(setting.brightness),
        white_(white.factor[channel]),
        exponent_(1.0 / setting.gamma[channel]) {}

  double operator()(double in) const {
    const double out = in * brightness_ * white_;
    return exponent_ == 1.0 ? out : pow(out, exponent_);  // the same, and the usual case
  }

 private:
  float brightness_;
  float white_;
  double exponent_;
};

// Truncates and keeps the low 16 bits; a value that is no number in range gives 0.
uint16_t to_entry(double value) {
  constexpr double limit = 9.2e18;  // of a 64-bit integer
  if (!(value > -limit && value < limit)) return 0;
  return static_cast<uint16_t>(static_cast<int64_t>(value));
}

// One curve at a time, over its own array, so that each runs through memory once.
template <typename Value, typename Apply>
void fill(Value* const (&values)[channels], int32_t size, const zvg_color_setting& setting,
          Apply apply) {
  if (size < 1) return;
  const WhitePoint white = white_point(setting.temperature);
  for (int c = 0; c < channels; ++c) {
    const Curve curve(setting, white, c);
    for (int32_t i = 0; i < size; ++i) values[c][i] = apply(curve, values[c][i]);
  }
}

uint64_t address_of(const uint16_t* entries) {
  return reinterpret_cast<uintptr_t>(entries);
}

}  // namespace

}  // namespace zvg::env

using namespace zvg::env;

void colorramp_fill(uint16_t* red, uint16_t* green, uint16_t* blue, int32_t size,
                    const zvg_color_setting* setting) {
  fill({red, green, blue}, size, *setting, [](const Curve& curve, uint16_t in) {
    return to_entry(curve(in / full_scale) * full_scale);
  });
}

void colorramp_fill_float(float* red, float* green, float* blue, int32_t size,
                          const zvg_color_setting* setting) {
  fill({red, green, blue}, size, *setting,
       [](const Curve& curve, float in) { return static_cast<float>(curve(in)); });
}

zvg_crtc_lut* zvg_set_color(const zvg_color_setting* setting) {
  auto* const lut = static_cast<zvg_crtc_lut*>(malloc(sizeof(zvg_crtc_lut)));
  auto* const red = static_cast<uint16_t*>(malloc(channels * lut_entries * sizeof(uint16_t)));
  if (lut == nullptr || red == nullptr) {
    free(lut);
    free(red);
    return nullptr;
  }
  uint16_t* const green = red + lut_entries;
  uint16_t* const blue = green + lut_entries;
  for (uint32_t i = 0; i < lut_entries; ++i) {
    red[i] = green[i] = blue[i] = static_cast<uint16_t>(i * lut_entries);
  }
  colorramp_fill(red, green, blue, lut_entries, setting);
  *lut = {setting->crtc, lut_entries, address_of(red), address_of(green), address_of(blue)};
  return lut;
}
