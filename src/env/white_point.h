// The white point that a colour temperature stands for.
#ifndef ZVG_ENV_WHITE_POINT_H
#define ZVG_ENV_WHITE_POINT_H

#include <stdint.h>

namespace zvg::env {

constexpr int channels = 3;  // red, green, blue

struct WhitePoint {
  float factor[channels];
};

constexpr int32_t blackbody_rows = 242;
constexpr int32_t blackbody_first_kelvin = 1000;
constexpr int32_t blackbody_step_kelvin = 100;
constexpr int32_t blackbody_last_kelvin =
    blackbody_first_kelvin + (blackbody_rows - 1) * blackbody_step_kelvin;

extern const WhitePoint zvg_blackbody_table[blackbody_rows];

// A temperature needs the row above it, too: these are the ones between two rows.
constexpr int32_t lowest_kelvin = blackbody_first_kelvin;
constexpr int32_t highest_kelvin = blackbody_last_kelvin - 1;

// Interpolates between the rows around a temperature. One beyond the table gives its end.
WhitePoint white_point(int32_t kelvin);

}  // namespace zvg::env

#endif  // ZVG_ENV_WHITE_POINT_H
