// The data blocks of a CEA-861 extension.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"

namespace edidtest {
namespace {

void expect_block(int tag, const Bytes& payload, const std::string& text) {
  expect_data_blocks(Cea().data_block(tag, payload), text + "\n\n");
}

Bytes zeros(size_t size, Bytes first = {}) {
  first.resize(size);
  return first;
}

TEST(DataBlock, Audio) {
  for (size_t count = 0; count <= 10; ++count) {
    expect_block(1, Bytes(3 * count, 0x07),
                 "Audio Data Block\n"
                 "\tAudio Data Block lenth:" +
                     std::to_string(3 * count) +
                     "\n\tCEA short Audio Descriptor count:" + std::to_string(count) + "\n");
  }
  for (const size_t length : {1, 2, 4, 5, 31}) {
    expect_block(1, Bytes(length, 0x07),
                 "Audio Data Block\n"
                 "\tSome errors occurred here in the audio data block!\n");
  }
}

TEST(DataBlock, Video) {
  expect_block(2, {0x90, 0x04, 0x00},
               "Video Data Block\n"
               "Video Data Block Count:3\n"
               "\t*1\tNative Format:\tnative\n"
               "\t\tVideo Descriptor: Index[16]\tFormats:1920x1080\tFiled Rate:60"
               "\tPicture Aspect Ratio: 16:9\n"
               "\t*2\tNative Format:\tnot-native\n"
               "\t\tVideo Descriptor: Index[4]\tFormats:1280x720\tFiled Rate:60"
               "\tPicture Aspect Ratio: 16:9\n"
               "\t*3\tThe VIC is reserved for the future\n");
  expect_block(2, {}, "Video Data Block\nVideo Data Block Count:0\n");
}

TEST(DataBlock, VideoOfFullLength) {
  std::string text = "Video Data Block\nVideo Data Block Count:31\n";
  for (int i = 1; i <= 31; ++i) {
    text += "\t*" + std::to_string(i) +
            "\tNative Format:\tnot-native\n"
            "\t\tVideo Descriptor: Index[1]\tFormats:640x480\tFiled Rate:60"
            "\tPicture Aspect Ratio: 4:3\n";
  }
  expect_block(2, Bytes(31, 1), text);
}

const char vendor[] = "HDMI Vendor Specific Data Block\n";

TEST(DataBlock, VendorOfAnotherIdentifier) {
  expect_block(3, {0xD8, 0x5D, 0xC4, 0x01, 0x78},
               std::string(vendor) + "\tIEEE Registration Identifier:c45dd8\n");
  expect_block(3, {0x03, 0x0C, 0x0A}, std::string(vendor) + "\tIEEE Registration Identifier:ac3\n");
  expect_block(3, {0x03, 0x0D, 0x00, 0x10, 0x00, 0xFF, 0xFF},
               std::string(vendor) + "\tIEEE Registration Identifier:0d3\n");
  expect_block(3, {0x04, 0x0C, 0x00}, std::string(vendor) + "\tIEEE Registration Identifier:0c4\n");
}

TEST(DataBlock, VendorIdentifierMayReachIntoTheNextBlock) {
  // Its length is not looked at: 03, then the header 0x00 and the first byte of the timings.
  expect_data_blocks(Cea().data_block(3, {0x03}).data_block(0, {}),
                     std::string(vendor) + "\tIEEE Registration Identifier:003\n\n\n\n\n");
}

TEST(DataBlock, VendorOfLengthZeroHasOneToo) {
  expect_block(3, {}, std::string(vendor) + "\tIEEE Registration Identifier:000\n");
}

TEST(DataBlock, HdmiVendorWithoutExtensionFields) {
  expect_block(3, {0x03, 0x0C, 0x00, 0x12, 0x34},
               std::string(vendor) + "\tSource Physical Address: A:1 B:2 C:3 D:4\n");
  expect_block(3, {0x03, 0x0C, 0x00, 0xFE, 0xDC},
               std::string(vendor) + "\tSource Physical Address: A:15 B:14 C:13 D:12\n");
  // Too short for its address: what follows is read.
  expect_block(3, {0x03, 0x0C, 0x00},
               std::string(vendor) + "\tSource Physical Address: A:0 B:0 C:0 D:0\n");
}

const char deep_color_none[] =
    "\tsupports_AI :\tnot-supported\n"
    "\tDC_48bit : \tnot-supported\n"
    "\tDC_36bit : \tnot-supported\n"
    "\tDC_30bit : \tnot-supported\n"
    "\tDC_YC444 : \tnot-supported\n"
    "\tDVI_Dual : \tnot-supported\n";

const std::string hdmi = std::string(vendor) +
                         "\tSource Physical Address: A:1 B:0 C:0 D:0\n"
                         "\tSupport extension fields\n";

TEST(DataBlock, HdmiVendorDeepColor) {
  struct {
    uint8_t bits;
    const char* clear;
    const char* set;
  } const rows[] = {
      {0x80, "\tsupports_AI :\tnot-supported\n", "\tsupports_AI :\tsupported\n"},
      {0x40, "\tDC_48bit : \tnot-supported\n", "\tDC_48bit : \tsupported\n"},
      {0x20, "\tDC_36bit : \tnot-supported\n", "\tDC_36bit : \tsupported\n"},
      {0x10, "\tDC_30bit : \tnot-supported\n", "\tDC_30bit : \tsupported\n"},
      {0x08, "\tDC_YC444 : \tnot-supported\n", "\tDC_YC444 : \tsupported\n"},
      {0x01, "\tDVI_Dual : \tnot-supported\n", "\tDVI_Dual : \tsupported\n"},
  };
  for (const auto& row : rows) {
    std::string text = deep_color_none;
    text.replace(text.find(row.clear), std::string(row.clear).size(), row.set);
    expect_block(3, {0x03, 0x0C, 0x00, 0x10, 0x00, row.bits}, hdmi + text);
  }
  expect_block(3, {0x03, 0x0C, 0x00, 0x10, 0x00, 0x06}, hdmi + deep_color_none);  // reserved bits
}

TEST(DataBlock, HdmiVendorEveryExtensionField) {
  expect_block(3,
               {0x03, 0x0C, 0x00, 0x10, 0x00, 0xB8, 0x44, 0xE0, 0x0A, 0x1B, 0x2C, 0xFF, 0x80, 0x65,
                0x01, 0x02, 0x03},
               hdmi +
                   "\tsupports_AI :\tsupported\n"
                   "\tDC_48bit : \tnot-supported\n"
                   "\tDC_36bit : \tsupported\n"
                   "\tDC_30bit : \tsupported\n"
                   "\tDC_YC444 : \tsupported\n"
                   "\tDVI_Dual : \tnot-supported\n"
                   "\tMax TMDS Clock: 340MHz\n"
                   "\tHere is some info in byte:8,value:e0\n"
                   "\tHere is some info about Latency in byte:9,value :a\n"
                   "\tHere is some info about Latency in byte:10,value :1b\n"
                   "\tHere is some info about Latency in byte:11,value :2c\n"
                   "\tHere is some info about Latency in byte:12,value :ff\n"
                   "\tHere is some info about 3d,value :80\n"
                   "\tHDMI_VIC_LEN:3\tHDMI_3D_LEN:5\n"
                   "\tHere is some info about HDMI_VIC_4k or HDMI_3D\n"
                   "\tHere is some info about HDMI_VIC_4k or HDMI_3D\n"
                   "\tHere is some info about HDMI_VIC_4k or HDMI_3D\n");
}

TEST(DataBlock, HdmiVendorOfEveryLength) {
  // Fields 7 to 31 of a payload of zeros.
  std::string text = hdmi + deep_color_none;
  expect_block(3, {0x03, 0x0C, 0x00, 0x10, 0x00, 0x00}, text);
  for (size_t length = 7; length <= 31; ++length) {
    const std::string number = std::to_string(length);
    if (length == 7) {
      text += "\tMax TMDS Clock: 0MHz\n";
    } else if (length == 8) {
      text += "\tHere is some info in byte:8,value:0\n";
    } else if (length <= 12) {
      text += "\tHere is some info about Latency in byte:" + number + ",value :0\n";
    } else if (length == 13) {
      text += "\tHere is some info about 3d,value :0\n";
    } else if (length == 14) {
      text += "\tHDMI_VIC_LEN:0\tHDMI_3D_LEN:0\n";
    } else {
      text += "\tHere is some info about HDMI_VIC_4k or HDMI_3D\n";
    }
    expect_block(3, zeros(length, {0x03, 0x0C, 0x00, 0x10, 0x00}), text);
  }
}

TEST(DataBlock, SpeakersAndTransferCharacteristic) {
  for (const size_t length : {0, 1, 3, 31}) {
    const std::string tail = "\tlenth:" + std::to_string(length) + "\n";
    expect_block(4, Bytes(length, 0x11), "Speaker Allocation Data Block" + tail);
    expect_block(5, Bytes(length, 0x11), "VESA Display Transfer Characteristic Data Block" + tail);
  }
}

TEST(DataBlock, UnassignedTagsSayNothing) {
  for (const int tag : {0, 6}) {
    for (const size_t length : {0, 3, 31}) expect_block(tag, Bytes(length, 0x05), "");
  }
}

TEST(DataBlock, Colorimetry) {
  struct {
    uint8_t bits;
    const char* words;
  } const rows[] = {
      {0x80, "xvYCC601\t"},
      {0x40, "xvYCC709\t"},
      {0x20, "sYCC601\t"},
      {0x10, "AdobeYCC601\t"},
      {0x08, "AdobeRGB\t"},
      {0x04, "BT2020RBG\t"},
      {0x02, "BT2020YCC\t"},
      {0x01, "BT2020cYCC\t"},
      {0x00, ""},
      {0xFF,
       "xvYCC601\txvYCC709\tsYCC601\tAdobeYCC601\tAdobeRGB\tBT2020RBG\tBT2020YCC\tBT2020cYCC\t"},
  };
  for (const auto& row : rows) {
    expect_block(7, {5, row.bits, 0x01},
                 std::string("Colorimetry Data Block\n\tColorimetry Supports:") + row.words +
                     "\nMD3_MD2_MD1_MD0:1\n");
  }
}

TEST(DataBlock, ColorimetryMetadata) {
  const std::string text = "Colorimetry Data Block\n\tColorimetry Supports:xvYCC601\t";
  expect_block(7, {5, 0x80, 0x00}, text + "\nMD3_MD2_MD1_MD0:0\n");
  expect_block(7, {5, 0x80, 0x0F}, text + "\nMD3_MD2_MD1_MD0:f\n");
  // Beyond four bits: no line of its own, and nothing ends the words' line but the empty lines.
  expect_block(7, {5, 0x80, 0x10}, text);
  expect_block(7, {5, 0x80, 0xFF}, text);
}

TEST(DataBlock, ColorimetryOfAnotherLengthSaysNothing) {
  for (const size_t length : {1, 2, 4, 31}) expect_block(7, zeros(length, {5}), "");
}

const char s_pt[] = "\tS_PT:Supports both over-and underscan\n\tS_PT:Always Underscanned\n";
const char s_it[] = "\tS_IT:Supports both over-and underscan\n\tS_IT:Always Underscanned\n";
const char s_ce[] = "\tS_CE:Supports both over-and underscan\n\tS_CE:Always Underscanned\n";

TEST(DataBlock, VideoCapabilityReadsTheByteBehindIt) {
  struct {
    uint8_t flags;
    std::string text;
  } const rows[] = {
      {0x80, "\tQY:Selectable (via AVI YQ)\n"},
      {0x40, "\tQS:Selectable (via AVI Q)\n"},
      {0xC0, "\tQY:Selectable (via AVI YQ)\n\tQS:Selectable (via AVI Q)\n"},
      {0x10, std::string(s_pt) + s_ce},
      {0x20, std::string(s_pt) + s_ce},
      {0x30, std::string(s_pt) + s_ce},
      {0x14, std::string(s_pt) + s_it + s_ce},
      {0x28, std::string(s_pt) + s_it + s_ce},
      {0x04, s_it},
      {0x08, s_it},
      {0x0C, s_it},
      {0x03, ""},  // its own bits give the CE lines nothing
      {0x07, s_it},
      {0xFF, std::string("\tQY:Selectable (via AVI YQ)\n\tQS:Selectable (via AVI Q)\n") + s_pt +
                 s_it + s_ce},
  };
  for (const auto& row : rows) {
    // The byte behind the block is the first of the timings, where it is a pixel clock.
    expect_data_blocks(Cea().data_block(7, {0, 0xFF}).timings({row.flags}),
                       "cea_ext_Video Capability Data Block\n" + row.text + "\n\n",
                       "Detailed timing mode: \n\tIgnore tiny modes\n");
  }
  expect_block(7, {0, 0xFF}, "cea_ext_Video Capability Data Block\n");
}

TEST(DataBlock, VideoCapabilityOfAnotherLengthSaysNothing) {
  for (const size_t length : {1, 3, 31}) expect_block(7, zeros(length, {0, 0xFF, 0xFF}), "");
}

struct LengthRow {
  uint8_t extended_tag;
  size_t min_length;
  const char* title;
};

TEST(DataBlock, KindsThatOnlyTellTheirLength) {
  const LengthRow rows[] = {
      {1, 5, "Vendor-Specific Video Data Block"},
      {17, 5, "Vendor-Specific Audio Data Block"},
      {32, 8, "InfoFrame Data Block"},
      {13, 1, "Video Format Preference Data Block"},
      {6, 1, "HDR Static Metadata Data Block"},
  };
  for (const LengthRow& row : rows) {
    for (size_t length = 1; length <= 31; ++length) {
      expect_block(7, zeros(length, {row.extended_tag}),
                   length < row.min_length
                       ? std::string()
                       : row.title + std::string("\tlenth:") + std::to_string(length) + "\n");
    }
  }
}

TEST(DataBlock, ExtendedTagsThatSayNothing) {
  for (const uint8_t tag :
       std::vector<uint8_t>{2, 3, 4, 7, 8, 12, 16, 18, 19, 31, 33, 64, 120, 255}) {
    for (const size_t length : {1, 2, 3, 5, 31}) expect_block(7, zeros(length, {tag}), "");
  }
}

TEST(DataBlock, AnExtendedTagNeedsALength) {
  // The block is its header; the next header stands where its tag would be.
  expect_data_blocks(Cea().data_block(7, {}).data_block(0, Bytes(6)), "\n\n\n\n");   // 6
  expect_data_blocks(Cea().data_block(7, {}).data_block(0, Bytes(13)), "\n\n\n\n");  // 13
  expect_data_blocks(Cea().data_block(7, {}).data_block(0, Bytes(14)), "\n\n\n\n");  // 14
  expect_data_blocks(Cea().data_block(7, {}).data_block(0, Bytes(15)), "\n\n\n\n");  // 15
}

TEST(DataBlock, Ycbcr420Video) {
  expect_block(7, {14, 0x60, 0xE5},
               "The SVDs that only support YCBCR420\n"
               "\tNative Format:\tnative\n"
               "\t\tVideo Descriptor: Index[96]\tFormats:3840x2160\tFiled Rate:50"
               "\tPicture Aspect Ratio: 16:9\n"
               "\tNative Format:\tnative\n"
               "\t\tVideo Descriptor: Index[229]\tFormats:Unknown\tFiled Rate:0"
               "\tPicture Aspect Ratio: Error!\n");
  expect_block(7, {14}, "The SVDs that only support YCBCR420\n");
}

std::string supports_420(int position) {
  return "\tThe no." + std::to_string(position) + " VDB supports YCBCR420\n";
}

TEST(DataBlock, Ycbcr420CapabilityMap) {
  const std::string title = "YCBCR420 Capability Map Data Block\n";
  expect_block(7, {15}, title);
  expect_block(7, {15, 0x00}, title);
  expect_block(7, {15, 0x01}, title + supports_420(1));
  expect_block(7, {15, 0x80}, title + supports_420(8));
  expect_block(7, {15, 0x12, 0x81},
               title + supports_420(2) + supports_420(5) + supports_420(9) + supports_420(16));
  // The last position of the longest block.
  Bytes payload = zeros(31, {15});
  payload[30] = 0x80;
  expect_block(7, payload, title + supports_420(240));
}

TEST(DataBlock, Ycbcr420CapabilityMapEndsWithItsBlock) {
  // All bits of what follows, up to the next block's header, are set.
  expect_data_blocks(Cea().data_block(7, {15, 0x80}).data_block(7, Bytes(31, 0xFF)),
                     "YCBCR420 Capability Map Data Block\n" + supports_420(8) + "\n\n\n\n");
}

TEST(DataBlock, Ycbcr420CapabilityMapEndsAtFifty) {
  std::string text = "YCBCR420 Capability Map Data Block\n";
  for (int i = 1; i <= 50; ++i) text += supports_420(i);
  Bytes payload(31, 0xFF);
  payload[0] = 15;
  expect_block(7, payload, text);

  // 49 and 50 set bits are all told, the 51st is not.
  payload = {15, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x80};
  text = "YCBCR420 Capability Map Data Block\n";
  for (int i = 1; i <= 48; ++i) text += supports_420(i);
  expect_block(7, payload, text + supports_420(64));
  payload.back() = 0x81;
  expect_block(7, payload, text + supports_420(57) + supports_420(64));
  payload.back() = 0x91;
  expect_block(7, payload, text + supports_420(57) + supports_420(61));
}

TEST(DataBlock, MixedCollection) {
  const Cea cea = Cea()
                      .data_block(2, {0x01})
                      .data_block(1, {0x09, 0x07, 0x07})
                      .data_block(4, {0x01, 0x00, 0x00})
                      .data_block(3, {0x03, 0x0C, 0x00, 0x20, 0x00})
                      .data_block(7, {6, 0x07, 0x01});
  expect_data_blocks(cea,
                     "Video Data Block\n"
                     "Video Data Block Count:1\n"
                     "\t*1\tNative Format:\tnot-native\n"
                     "\t\tVideo Descriptor: Index[1]\tFormats:640x480\tFiled Rate:60"
                     "\tPicture Aspect Ratio: 4:3\n\n\n"
                     "Audio Data Block\n"
                     "\tAudio Data Block lenth:3\n"
                     "\tCEA short Audio Descriptor count:1\n\n\n"
                     "Speaker Allocation Data Block\tlenth:3\n\n\n"
                     "HDMI Vendor Specific Data Block\n"
                     "\tSource Physical Address: A:2 B:0 C:0 D:0\n\n\n"
                     "HDR Static Metadata Data Block\tlenth:3\n\n\n");
}

}  // namespace
}  // namespace edidtest
