#include "env/white_point.h"

#include <algorithm>

namespace zvg::env {

WhitePoint white_point(int32_t kelvin) {
  kelvin = std::clamp(kelvin, blackbody_first_kelvin, blackbody_last_kelvin);
  const int32_t row = (kelvin - blackbody_first_kelvin) / blackbody_step_kelvin;
  const WhitePoint& below = zvg_blackbody_table[row];
  const WhitePoint& above = zvg_blackbody_table[std::min(row + 1, blackbody_rows - 1)];
  const float alpha = static_cast<float>(kelvin % blackbody_step_kelvin) / blackbody_step_kelvin;
  WhitePoint white;
  for (int c = 0; c < channels; ++c) {
    // The sum is made in double precision and rounded once; the upper row's share is a float.
    white.factor[c] = static_cast<float>((1.0 - alpha) * below.factor[c] + alpha * above.factor[c]);
  }
  return white;
}

}  // namespace zvg::env
