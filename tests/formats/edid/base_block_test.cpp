// The fields of the base block.
#include "formats/edid/base_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace zvg::formats::edid;

class BaseBlockFields : public testing::Test {
 protected:
  void put(size_t at, const std::vector<uint8_t>& bytes) {
    std::copy(bytes.begin(), bytes.end(), edid_.begin() + static_cast<ptrdiff_t>(at));
  }
  BaseBlock parse() const { return parse_base_block(edid_.data()); }

  std::vector<uint8_t> edid_ = std::vector<uint8_t>(128, 0);
};

TEST_F(BaseBlockFields, Identification) {
  // "ZVG": 26, 22, 7 in five bits each, under a top bit that is not used.
  put(0x08, {0xEA, 0xC7, 0x34, 0x12, 0x78, 0x56, 0x34, 0xF2, 53, 35, 1, 4});
  const Identification id = parse_identification(edid_.data());
  EXPECT_EQ(id.manufacturer[0], 26);
  EXPECT_EQ(id.manufacturer[1], 22);
  EXPECT_EQ(id.manufacturer[2], 7);
  EXPECT_EQ(id.product, 0x1234);
  EXPECT_EQ(id.serial, 0xF2345678u);
  EXPECT_EQ(id.week, 53);
  EXPECT_EQ(id.year, 2025);
  EXPECT_EQ(id.version, 1);
  EXPECT_EQ(id.revision, 4);
  EXPECT_EQ(parse().identification.product, 0x1234);
}

TEST_F(BaseBlockFields, DigitalInput) {
  put(0x14, {0xAD});
  const VideoInput input = parse().video_input;
  const auto* const digital = std::get_if<DigitalInput>(&input);
  ASSERT_NE(digital, nullptr);
  EXPECT_EQ(digital->color_depth, 2);
  EXPECT_EQ(digital->interface_standard, 13);
}

TEST_F(BaseBlockFields, AnalogInput) {
  put(0x14, {0x55});
  const VideoInput input = parse().video_input;
  const auto* const analog = std::get_if<AnalogInput>(&input);
  ASSERT_NE(analog, nullptr);
  EXPECT_EQ(analog->signal_level, 2);
  EXPECT_TRUE(analog->setup_expected);
  EXPECT_FALSE(analog->separate_sync);
  EXPECT_TRUE(analog->composite_sync);
  EXPECT_FALSE(analog->sync_on_green);
  EXPECT_TRUE(analog->serration);
}

TEST_F(BaseBlockFields, SizeAndGamma) {
  put(0x15, {52, 29, 120});
  EXPECT_EQ(parse().width_cm, 52);
  EXPECT_EQ(parse().height_cm, 29);
  EXPECT_DOUBLE_EQ(parse().gamma.value(), 2.2);
  put(0x17, {255});
  EXPECT_EQ(parse().gamma, std::nullopt);
  put(0x17, {0});
  EXPECT_DOUBLE_EQ(parse().gamma.value(), 1.0);
}

TEST_F(BaseBlockFields, Features) {
  put(0x18, {0xAA});
  const Features odd = parse().features;
  EXPECT_TRUE(odd.standby);
  EXPECT_FALSE(odd.suspend);
  EXPECT_TRUE(odd.active_off);
  EXPECT_EQ(odd.color, 1);
  EXPECT_FALSE(odd.srgb_default);
  EXPECT_TRUE(odd.preferred_is_native);
  EXPECT_FALSE(odd.continuous_frequency);
  put(0x18, {0x55});
  const Features even = parse().features;
  EXPECT_FALSE(even.standby);
  EXPECT_TRUE(even.suspend);
  EXPECT_FALSE(even.active_off);
  EXPECT_EQ(even.color, 2);
  EXPECT_TRUE(even.srgb_default);
  EXPECT_FALSE(even.preferred_is_native);
  EXPECT_TRUE(even.continuous_frequency);
}

TEST_F(BaseBlockFields, ChromaticityHasTenBits) {
  // Low bits: red 3 0, green 1 2; blue 2 1, white 0 3.
  put(0x19, {0xC6, 0x93, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xFF});
  const Chromaticity points = parse().chromaticity;
  EXPECT_EQ(points.red.x, 4 * 1 + 3);
  EXPECT_EQ(points.red.y, 4 * 2 + 0);
  EXPECT_EQ(points.green.x, 4 * 3 + 1);
  EXPECT_EQ(points.green.y, 4 * 4 + 2);
  EXPECT_EQ(points.blue.x, 4 * 5 + 2);
  EXPECT_EQ(points.blue.y, 4 * 6 + 1);
  EXPECT_EQ(points.white.x, 4 * 7 + 0);
  EXPECT_EQ(points.white.y, 1023);
}

TEST_F(BaseBlockFields, ChromaticityCodesAreFractions) {
  EXPECT_FLOAT_EQ(chroma_value(0), 0.0f);
  EXPECT_FLOAT_EQ(chroma_value(512), 0.5f);
  EXPECT_FLOAT_EQ(chroma_value(655), 655.0f / 1024);
  EXPECT_FLOAT_EQ(rounded_chroma_value(655), 0.640f);
  EXPECT_FLOAT_EQ(rounded_chroma_value(64), 0.063f) << "half of 0.0625 goes up";
}

TEST_F(BaseBlockFields, EstablishedTimings) {
  put(0x23, {0x01, 0x80, 0xFF});
  const BaseBlock base = parse();
  for (size_t i = 0; i < 17; ++i) {
    EXPECT_EQ(base.established[i], i == 0 || i == 15 || i == 16) << i;
  }
}

TEST_F(BaseBlockFields, StandardTimingsAndDescriptors) {
  put(0x13, {3});
  put(0x26, {0xD1, 0xC0});
  put(0x34, {0x81, 0x80});
  put(0x36 + 3 * 18, {0, 0, 0, 0xFC, 0, 'A', '\n'});
  const BaseBlock base = parse();
  ASSERT_TRUE(base.standard_timings[0]);
  EXPECT_EQ(base.standard_timings[0]->width, 1920);
  EXPECT_EQ(base.standard_timings[0]->height, 1080);
  EXPECT_FALSE(base.standard_timings[1]);
  ASSERT_TRUE(base.standard_timings[7]);
  EXPECT_EQ(base.standard_timings[7]->height, 1024);
  EXPECT_TRUE(std::holds_alternative<UndefinedDescriptor>(base.timing_blocks[0]));
  EXPECT_TRUE(std::holds_alternative<ProductName>(base.timing_blocks[3]));
}

TEST_F(BaseBlockFields, ExtensionCount) {
  put(0x7E, {3});
  EXPECT_EQ(parse().extension_count, 3);
  EXPECT_EQ(parse_extension_count(edid_.data()), 3);
}

TEST(StandardTimings, HaveFourAspects) {
  const struct {
    uint8_t bytes[2];
    int revision, width, height, refresh;
  } rows[] = {
      {{0xD1, 0x00}, 3, 1920, 1200, 60},  {{0xD1, 0x00}, 2, 1920, 1920, 60},
      {{0xD1, 0x40}, 3, 1920, 1440, 60},  {{0x81, 0x8F}, 3, 1280, 1024, 75},
      {{0xD1, 0xFF}, 0, 1920, 1080, 123}, {{0x00, 0x40}, 3, 248, 186, 60},
  };
  for (const auto& row : rows) {
    const auto timing = parse_standard_timing(row.bytes, row.revision);
    ASSERT_TRUE(timing);
    EXPECT_EQ(timing->width, row.width);
    EXPECT_EQ(timing->height, row.height);
    EXPECT_EQ(timing->refresh_hz, row.refresh);
  }
}

TEST(StandardTimings, FillersAreNone) {
  for (const uint8_t filler : std::vector<uint8_t>{0x00, 0x01, 0x20}) {
    const uint8_t bytes[] = {filler, filler};
    EXPECT_EQ(parse_standard_timing(bytes, 3), std::nullopt);
  }
  const uint8_t both[] = {0x01, 0x00};
  EXPECT_TRUE(parse_standard_timing(both, 3));
}

}  // namespace
