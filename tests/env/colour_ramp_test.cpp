// Colour ramps: white points, brightness and gamma.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <array>

#include "util_zvg.h"

namespace {

using testing::Each;

constexpr zvg_color_setting neutral = {0, 6500, {1, 1, 1}, 1};

// The white point of a temperature, as a full-scale float ramp shows it.
std::array<float, 3> white_of(int32_t kelvin) {
  zvg_color_setting setting = neutral;
  setting.temperature = kelvin;
  float red = 1, green = 1, blue = 1;
  colorramp_fill_float(&red, &green, &blue, 1, &setting);
  return {red, green, blue};
}

TEST(ColourRamp, Records) {
  EXPECT_EQ(sizeof(zvg_color_setting), 24u);
  EXPECT_EQ(offsetof(zvg_color_setting, temperature), 4u);
  EXPECT_EQ(offsetof(zvg_color_setting, gamma), 8u);
  EXPECT_EQ(offsetof(zvg_color_setting, brightness), 20u);
  EXPECT_EQ(sizeof(zvg_crtc_lut), 32u);
  EXPECT_EQ(offsetof(zvg_crtc_lut, size), 4u);
  EXPECT_EQ(offsetof(zvg_crtc_lut, red), 8u);
  EXPECT_EQ(offsetof(zvg_crtc_lut, green), 16u);
  EXPECT_EQ(offsetof(zvg_crtc_lut, blue), 24u);
}

TEST(ColourRamp, WhitePointsOfTheTable) {
  const struct {
    int32_t kelvin;
    float red, green, blue;
  } rows[] = {
      {1000, 1.0f, 0.18172716f, 0.0f},
      {1900, 1.0f, 0.51943421f, 0.0f},
      {2000, 1.0f, 0.54360080f, 0.08679949f},
      {3000, 1.0f, 0.71976954f, 0.42860153f},
      {6500, 1.0f, 1.0f, 1.0f},
      {6600, 0.98947906f, 0.99348724f, 1.0f},
      {11000, 0.76076645f, 0.84531481f, 1.0f},
      {25000, 0.62774187f, 0.75306976f, 1.0f},
      {25100, 0.62740338f, 0.75282961f, 1.0f},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(white_of(row.kelvin), (std::array{row.red, row.green, row.blue})) << row.kelvin;
  }
}

// What the whole table has in common, and a sum that changes with any row of it.
TEST(ColourRamp, TableIsWhole) {
  double sum = 0;
  std::array<float, 3> before = white_of(1000);
  for (int32_t kelvin = 1000; kelvin <= 25100; kelvin += 100) {
    const auto white = white_of(kelvin);
    if (kelvin <= 6500) {
      EXPECT_EQ(white[0], 1.0f) << kelvin;
      EXPECT_GE(white[1], before[1]) << kelvin;
    } else {
      EXPECT_LT(white[0], before[0]) << kelvin;
      EXPECT_LT(white[1], before[1]) << kelvin;
    }
    EXPECT_EQ(white[2] == 1.0f, kelvin >= 6500) << kelvin;
    EXPECT_EQ(white[2] == 0.0f, kelvin <= 1900) << kelvin;
    EXPECT_GE(white[2], before[2]) << kelvin;
    const int32_t row = (kelvin - 1000) / 100 + 1;
    for (size_t c = 0; c < 3; ++c)
      sum += white[c] * static_cast<float>(row) * static_cast<double>(c + 1);
    before = white;
  }
  EXPECT_NEAR(sum, 154413.381503, 1e-4);
}

TEST(ColourRamp, WhitePointIsInterpolated) {
  // Halfway and three quarters of the way from 6500 K to 6600 K.
  EXPECT_EQ(white_of(6550)[0], static_cast<float>(0.5 * 1.0f + 0.5f * 0.98947906f));
  EXPECT_EQ(white_of(6550)[1], static_cast<float>(0.5 * 1.0f + 0.5f * 0.99348724f));
  EXPECT_EQ(white_of(6575)[0], static_cast<float>(0.25 * 1.0f + 0.75f * 0.98947906f));
  EXPECT_EQ(white_of(6550)[2], 1.0f);
  EXPECT_GT(white_of(1999)[2], white_of(1950)[2]);
  for (int32_t kelvin = 6501; kelvin < 6600; ++kelvin) {
    const float alpha = static_cast<float>((kelvin % 100) / 100.0);
    EXPECT_EQ(white_of(kelvin)[0], static_cast<float>((1.0 - alpha) * 1.0f + alpha * 0.98947906f))
        << kelvin;
  }
}

TEST(ColourRamp, TemperaturesBeyondTheTableTakeItsEnds) {
  for (const int32_t kelvin : {999, 0, -100, -6550, INT32_MIN}) {
    EXPECT_EQ(white_of(kelvin), white_of(1000)) << kelvin;
  }
  for (const int32_t kelvin : {25101, 30000, INT32_MAX}) {
    EXPECT_EQ(white_of(kelvin), white_of(25100)) << kelvin;
  }
}

TEST(ColourRamp, IntegersAreTruncated) {
  const uint16_t in[] = {0, 1, 255, 256, 0x7FFF, 0x8000, 0xFF00, 0xFFFF};
  const zvg_color_setting settings[] = {
      neutral,
      {0, 6500, {1, 1, 1}, 0.5f},
      {0, 6500, {2.2f, 1.8f, 0.5f}, 1},
      {0, 3450, {2.2f, 2.2f, 2.2f}, 0.9f},
      {0, 12345, {1.1f, 0.9f, 1.0f}, 0.33f},
  };
  for (const auto& setting : settings) {
    const auto white = white_of(setting.temperature);
    uint16_t out[3][8];
    for (auto& channel : out) memcpy(channel, in, sizeof in);
    colorramp_fill(out[0], out[1], out[2], 8, &setting);
    for (size_t c = 0; c < 3; ++c) {
      for (size_t i = 0; i < 8; ++i) {
        const double value = pow(static_cast<double>(in[i]) / 65536 * setting.brightness * white[c],
                                 1.0 / setting.gamma[c]);
        EXPECT_EQ(out[c][i], static_cast<uint16_t>(static_cast<int>(value * 65536)));
      }
    }
  }
}

TEST(ColourRamp, IntegersKeepTheirLowSixteenBits) {
  zvg_color_setting setting = neutral;
  setting.brightness = 3;
  uint16_t red[] = {0x8000, 0x5555, 0xFFFF}, green[3] = {}, blue[3] = {};
  colorramp_fill(red, green, blue, 3, &setting);
  EXPECT_THAT(red, testing::ElementsAre(0x8000, 0xFFFF, 0xFFFD));
  setting.brightness = -1;
  uint16_t one[] = {0x100};
  colorramp_fill(one, green, blue, 1, &setting);
  EXPECT_EQ(one[0], 0xFF00);
  setting.brightness = INFINITY;
  one[0] = 1;
  colorramp_fill(one, green, blue, 1, &setting);
  EXPECT_EQ(one[0], 0);
}

TEST(ColourRamp, FloatsAreNotScaled) {
  const zvg_color_setting setting = {0, 5000, {2.2f, 1.0f, 0.45f}, 0.8f};
  const auto white = white_of(5000);
  float out[3][5];
  const float in[] = {0, 0.1f, 0.5f, 0.999f, 1};
  for (auto& channel : out) memcpy(channel, in, sizeof in);
  colorramp_fill_float(out[0], out[1], out[2], 5, &setting);
  for (size_t c = 0; c < 3; ++c) {
    for (size_t i = 0; i < 5; ++i) {
      EXPECT_EQ(out[c][i],
                static_cast<float>(pow(static_cast<double>(in[i]) * setting.brightness * white[c],
                                       1.0 / setting.gamma[c])));
    }
  }
}

TEST(ColourRamp, NoSizeNoChange) {
  for (const int32_t size : {0, -1, INT32_MIN}) {
    uint16_t entry = 0x1234;
    float value = 0.5f;
    zvg_color_setting setting = neutral;
    setting.brightness = 0;
    colorramp_fill(&entry, &entry, &entry, size, &setting);
    colorramp_fill_float(&value, &value, &value, size, &setting);
    EXPECT_EQ(entry, 0x1234);
    EXPECT_EQ(value, 0.5f);
  }
}

const uint16_t* entries(uint64_t address) {
  return reinterpret_cast<const uint16_t*>(static_cast<uintptr_t>(address));
}

void release(zvg_crtc_lut* lut) {
  free(const_cast<uint16_t*>(entries(lut->red)));
  free(lut);
}

TEST(ColourRamp, NeutralTableIsTheIdentity) {
  zvg_color_setting setting = neutral;
  setting.crtc = 3;
  zvg_crtc_lut* const lut = zvg_set_color(&setting);
  EXPECT_EQ(lut->crtc, 3u);
  EXPECT_EQ(lut->size, 256u);
  EXPECT_EQ(lut->green, lut->red + 512);
  EXPECT_EQ(lut->blue, lut->green + 512);
  for (unsigned i = 0; i < 3 * 256; ++i) ASSERT_EQ(entries(lut->red)[i], (i & 255) * 256);
  release(lut);
}

TEST(ColourRamp, TableIsCorrectedByTheSetting) {
  const zvg_color_setting setting = {1, 3000, {2.2f, 1.5f, 1.0f}, 0.75f};
  zvg_crtc_lut* const lut = zvg_set_color(&setting);
  uint16_t expected[3][256];
  for (auto& channel : expected) {
    for (unsigned i = 0; i < 256; ++i) channel[i] = static_cast<uint16_t>(i * 256);
  }
  colorramp_fill(expected[0], expected[1], expected[2], 256, &setting);
  EXPECT_EQ(memcmp(entries(lut->red), expected, sizeof expected), 0);
  EXPECT_NE(entries(lut->red)[255], entries(lut->blue)[255]);
  release(lut);
}

}  // namespace
