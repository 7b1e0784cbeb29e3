// The CEA-861 extension: its general information, its data blocks, its timings.
#include "formats/edid/cea_extension.h"

#include <gtest/gtest.h>

#include <vector>

#include "formats/edid/video_code.h"

namespace {

using namespace zvg::formats::edid;

using Bytes = std::vector<uint8_t>;

// With 128 bytes, zeros behind those given.
CeaExtension extension(Bytes bytes) {
  bytes.resize(128, 0);
  return parse_cea_extension(bytes);
}

std::vector<DataBlock> walk(const CeaExtension& extension) {
  DataBlocks blocks(extension);
  std::vector<DataBlock> list;
  while (const auto block = blocks.next()) list.push_back(*block);
  EXPECT_FALSE(blocks.next()) << "an end is an end";
  return list;
}

// Readable in full, whatever its length says, as long as it is there.
class OneBlock {
 public:
  explicit OneBlock(Bytes bytes) : bytes_(std::move(bytes)) { bytes_.resize(32, 0xEE); }
  DataBlock parse() const { return parse_data_block(bytes_.data()); }

 private:
  Bytes bytes_;
};

TEST(CeaFields, GeneralInformation) {
  const CeaExtension odd = extension({0x02, 3, 20, 0xA5});
  EXPECT_EQ(odd.version, 3);
  EXPECT_EQ(odd.timings_offset, 20);
  EXPECT_TRUE(odd.underscans_it_formats);
  EXPECT_FALSE(odd.basic_audio);
  EXPECT_TRUE(odd.ycbcr_444);
  EXPECT_FALSE(odd.ycbcr_422);
  EXPECT_EQ(odd.native_timings, 5);
  const CeaExtension even = extension({0x02, 1, 0, 0x5A});
  EXPECT_FALSE(even.underscans_it_formats);
  EXPECT_TRUE(even.basic_audio);
  EXPECT_FALSE(even.ycbcr_444);
  EXPECT_TRUE(even.ycbcr_422);
  EXPECT_EQ(even.native_timings, 10);
}

TEST(CeaFields, TimingsFillTheBlock) {
  const struct {
    uint8_t offset;
    size_t count;
  } rows[] = {{4, 6}, {20, 6}, {21, 5}, {110, 1}, {111, 0}, {128, 0}, {255, 0}, {0, 7}};
  for (const auto& row : rows) {
    EXPECT_EQ(extension({2, 3, row.offset, 0}).timing_count(), row.count) << int{row.offset};
  }
}

TEST(CeaFields, TimingsFollowTheDataBlocks) {
  Bytes bytes = {2, 3, 6, 0, 0x41, 0x10};
  bytes.resize(6 + 18, 0);
  bytes[6 + 18 - 18] = 0x10;  // a pixel clock of 160 kHz
  Bytes second = {0, 0, 0, 0xFA, 0, 0xD1, 0x00};
  bytes.insert(bytes.end(), second.begin(), second.end());
  const CeaExtension cea = extension(bytes);
  const TimingBlock first = cea.timing(0, 4);
  ASSERT_TRUE(std::holds_alternative<DetailedTiming>(first));
  EXPECT_EQ(std::get<DetailedTiming>(first).pixel_clock_khz, 160);
  EXPECT_EQ(std::get<StandardTimings>(cea.timing(1, 4)).timings[0]->height, 1200);
  EXPECT_EQ(std::get<StandardTimings>(cea.timing(1, 1)).timings[0]->height, 1920);
}

TEST(CeaWalk, TakesBlocksUpToTheTimings) {
  const CeaExtension cea = extension({2, 3, 12, 0, 0x42, 1, 2, 0x80, 0x23, 9, 7, 1, 0x55});
  const std::vector<DataBlock> blocks = walk(cea);
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(blocks[0].kind, DataBlockKind::video);
  EXPECT_EQ(blocks[0].length, 2);
  EXPECT_EQ(blocks[1].kind, DataBlockKind::speakers);
  EXPECT_EQ(blocks[1].length, 0);
  EXPECT_EQ(blocks[2].kind, DataBlockKind::audio);
  EXPECT_EQ(blocks[2].payload()[2], 1);
}

TEST(CeaWalk, EndsAtABlockThatDoesNotFit) {
  EXPECT_EQ(walk(extension({2, 3, 8, 0, 0x41, 1, 0x42, 1, 1, 0x41, 1})).size(), 1u);
  EXPECT_EQ(walk(extension({2, 3, 9, 0, 0x41, 1, 0x42, 1, 1, 0x41, 1})).size(), 2u);
  EXPECT_TRUE(walk(extension({2, 3, 4, 0, 0x41, 1})).empty());
  EXPECT_TRUE(walk(extension({2, 3, 0, 0, 0x41, 1})).empty());
}

TEST(CeaWalk, ReadsZerosBehindItsBytes) {
  Bytes bytes(128, 0xFF);
  bytes[0] = 2;
  bytes[2] = 255;
  // Four blocks of 31 bytes from offset 4 on end at 132; then come empty ones, up to 255.
  const CeaExtension cea = parse_cea_extension(bytes);
  const std::vector<DataBlock> blocks = walk(cea);
  ASSERT_EQ(blocks.size(), 4u + (255 - 132));
  EXPECT_EQ(blocks[3].length, 31);
  EXPECT_EQ(blocks[3].bytes[27], 0xFF);
  EXPECT_EQ(blocks[3].bytes[28], 0);
  EXPECT_EQ(blocks.back().length, 0);
  EXPECT_EQ(blocks.back().kind, DataBlockKind::unknown);
}

TEST(CeaWalk, ReadsWhatFollowsWhenItIsGiven) {
  Bytes bytes(300, 0xFF);
  bytes[2] = 255;
  EXPECT_EQ(walk(parse_cea_extension(bytes)).size(), 7u);
}

TEST(DataBlockKinds, GoByTag) {
  const struct {
    uint8_t header;
    DataBlockKind kind;
  } rows[] = {
      {0x00, DataBlockKind::unknown},  {0x21, DataBlockKind::audio},
      {0x5F, DataBlockKind::video},    {0x60, DataBlockKind::vendor},
      {0x83, DataBlockKind::speakers}, {0xA2, DataBlockKind::transfer_characteristic},
      {0xC1, DataBlockKind::unknown},
  };
  for (const auto& row : rows) {
    const OneBlock one({row.header});
    const DataBlock block = one.parse();
    EXPECT_EQ(block.kind, row.kind) << int{row.header};
    EXPECT_EQ(block.length, row.header & 31);
    EXPECT_EQ(block.payload().size(), static_cast<size_t>(row.header & 31));
  }
}

TEST(DataBlockKinds, OfTag7GoByTheNextByteAndTheirLength) {
  const struct {
    uint8_t tag;
    DataBlockKind kind;
    int shortest, longest;
  } rows[] = {
      {0, DataBlockKind::video_capability, 2, 2},
      {1, DataBlockKind::vendor_video, 5, 31},
      {2, DataBlockKind::unknown, 0, 31},
      {5, DataBlockKind::colorimetry, 3, 3},
      {6, DataBlockKind::hdr_static_metadata, 1, 31},
      {13, DataBlockKind::video_format_preference, 1, 31},
      {14, DataBlockKind::ycbcr420_video, 1, 31},
      {15, DataBlockKind::ycbcr420_capability_map, 1, 31},
      {17, DataBlockKind::vendor_audio, 5, 31},
      {32, DataBlockKind::infoframe, 8, 31},
      {255, DataBlockKind::unknown, 0, 31},
  };
  for (const auto& row : rows) {
    for (int length = 0; length < 32; ++length) {
      const OneBlock one({static_cast<uint8_t>(0xE0 | length), row.tag});
      const DataBlock block = one.parse();
      const bool fits = length >= row.shortest && length <= row.longest;
      EXPECT_EQ(block.kind, fits ? row.kind : DataBlockKind::unknown)
          << int{row.tag} << ", " << length;
      EXPECT_EQ(block.payload().size(), static_cast<size_t>(length == 0 ? 0 : length - 1));
    }
  }
}

TEST(DataBlockFields, Audio) {
  EXPECT_EQ(audio_descriptor_count(OneBlock({0x26}).parse()), 2);
  EXPECT_EQ(audio_descriptor_count(OneBlock({0x20}).parse()), 0);
  EXPECT_EQ(audio_descriptor_count(OneBlock({0x25}).parse()), std::nullopt);
}

TEST(DataBlockFields, VendorIdentifierIsLowByteFirst) {
  EXPECT_EQ(vendor_identifier(OneBlock({0x63, 0xD8, 0x5D, 0xC4}).parse()), 0xC45DD8u);
  EXPECT_EQ(vendor_identifier(OneBlock({0x65, 0x03, 0x0C, 0x00}).parse()), hdmi_identifier);
}

TEST(DataBlockFields, HdmiOfFullLength) {
  const OneBlock one({0x71, 0x03, 0x0C, 0x00, 0x12, 0x34, 0xA9, 0x3C, 0x80, 1, 2, 3, 4, 0x60, 0x61,
                      0x11, 0x22, 0x33});
  const HdmiBlock hdmi = parse_hdmi_block(one.parse());
  const std::array<uint8_t, 4> address = {1, 2, 3, 4};
  EXPECT_EQ(hdmi.physical_address, address);
  ASSERT_TRUE(hdmi.deep_color);
  EXPECT_TRUE(hdmi.deep_color->supports_ai);
  EXPECT_FALSE(hdmi.deep_color->bits_48);
  EXPECT_TRUE(hdmi.deep_color->bits_36);
  EXPECT_FALSE(hdmi.deep_color->bits_30);
  EXPECT_TRUE(hdmi.deep_color->ycbcr_444);
  EXPECT_TRUE(hdmi.deep_color->dvi_dual);
  EXPECT_EQ(hdmi.max_tmds_clock_mhz, 300);
  EXPECT_EQ(hdmi.presence, 0x80);
  EXPECT_EQ(Bytes(hdmi.latencies.begin(), hdmi.latencies.end()), Bytes({1, 2, 3, 4}));
  EXPECT_EQ(hdmi.three_d, 0x60);
  EXPECT_EQ(hdmi.list_lengths, 0x61);
  EXPECT_EQ(Bytes(hdmi.lists.begin(), hdmi.lists.end()), Bytes({0x11, 0x22, 0x33}));
}

TEST(DataBlockFields, HdmiEndsWithItsLength) {
  for (uint8_t length = 0; length < 32; ++length) {
    SCOPED_TRACE(int{length});
    const OneBlock one({static_cast<uint8_t>(0x60 | length), 0x03, 0x0C, 0x00});
    const HdmiBlock hdmi = parse_hdmi_block(one.parse());
    EXPECT_EQ(hdmi.physical_address[0], 0xE) << "read in any case";
    EXPECT_EQ(hdmi.deep_color.has_value(), length >= 6);
    EXPECT_EQ(hdmi.max_tmds_clock_mhz.has_value(), length >= 7);
    EXPECT_EQ(hdmi.presence.has_value(), length >= 8);
    EXPECT_EQ(hdmi.latencies.size(), length < 9 ? 0u : length > 12 ? 4u : length - 8u);
    EXPECT_EQ(hdmi.three_d.has_value(), length >= 13);
    EXPECT_EQ(hdmi.list_lengths.has_value(), length >= 14);
    EXPECT_EQ(hdmi.lists.size(), length < 15 ? 0u : length - 14u);
  }
}

TEST(DataBlockFields, Colorimetry) {
  const Colorimetry odd = parse_colorimetry(OneBlock({0xE3, 5, 0xAA, 0x07}).parse());
  EXPECT_TRUE(odd.xvycc_601);
  EXPECT_FALSE(odd.xvycc_709);
  EXPECT_TRUE(odd.sycc_601);
  EXPECT_FALSE(odd.adobe_ycc_601);
  EXPECT_TRUE(odd.adobe_rgb);
  EXPECT_FALSE(odd.bt2020_rgb);
  EXPECT_TRUE(odd.bt2020_ycc);
  EXPECT_FALSE(odd.bt2020_cycc);
  EXPECT_EQ(odd.metadata, 7);
  const Colorimetry even = parse_colorimetry(OneBlock({0xE3, 5, 0x55, 0xFF}).parse());
  EXPECT_TRUE(even.xvycc_709);
  EXPECT_TRUE(even.adobe_ycc_601);
  EXPECT_TRUE(even.bt2020_rgb);
  EXPECT_TRUE(even.bt2020_cycc);
  EXPECT_EQ(even.metadata, 0xFF);
}

TEST(DataBlockFields, VideoCapability) {
  const VideoCapability capability = parse_video_capability(0x9E);
  EXPECT_TRUE(capability.ycc_quantization_selectable);
  EXPECT_FALSE(capability.rgb_quantization_selectable);
  EXPECT_EQ(capability.preferred_scan, 1);
  EXPECT_EQ(capability.it_scan, 3);
  EXPECT_EQ(capability.ce_scan, 2);
  EXPECT_TRUE(parse_video_capability(0x40).rgb_quantization_selectable);
}

TEST(DataBlockFields, Ycbcr420Map) {
  const OneBlock one({0xE3, 15, 0x01, 0x82});
  EXPECT_EQ(ycbcr420_map_size(one.parse()), 16);
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(in_ycbcr420_map(one.parse(), i), i == 0 || i == 9 || i == 15) << i;
  }
  EXPECT_EQ(ycbcr420_map_size(OneBlock({0xE1, 15}).parse()), 0);
}

TEST(VideoCodes, HaveANumberAndANativeFlag) {
  using Native = VideoCode::Native;
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const VideoCode parsed = parse_video_code(static_cast<uint8_t>(code));
    const bool reserved = code == 0 || code == 128 || code >= 254;
    EXPECT_EQ(parsed.reserved, reserved);
    if (reserved) continue;
    const bool flagged = code > 128 && code < 193;
    EXPECT_EQ(parsed.native, code < 65 ? Native::no : flagged ? Native::yes : Native::untold);
    EXPECT_EQ(parsed.number, flagged ? code - 128 : code);
    EXPECT_EQ(parsed.format != nullptr, code < 108 || flagged);
  }
  EXPECT_STREQ(parse_video_code(16).format->name, "1920x1080");
  EXPECT_EQ(parse_video_code(16).format, parse_video_code(144).format);
}

}  // namespace
