#include "edid/cea_data_blocks.h"

#include <stdio.h>
#include <string.h>

#include "edid/report_text.h"
#include "edid/video_code.h"

namespace zvg::edid {
namespace {

// Tags (bits 7:5 of the header) and the tags that follow tag 7 in the next byte.
enum DataBlockTag : uint8_t {
  tag_audio = 1,
  tag_video = 2,
  tag_vendor = 3,
  tag_speakers = 4,
  tag_transfer_characteristic = 5,
  tag_extended = 7,
};
constexpr int no_extended_tag = -1;
enum ExtendedTag : uint8_t {
  ext_video_capability = 0,
  ext_vendor_video = 1,
  ext_colorimetry = 5,
  ext_hdr_static_metadata = 6,
  ext_video_format_preference = 13,
  ext_ycbcr420_video = 14,
  ext_ycbcr420_capability_map = 15,
  ext_vendor_audio = 17,
  ext_infoframe = 32,
};

// Bytes of the HDMI vendor block behind its physical address; what follows them is a list.
enum HdmiField {
  hdmi_deep_color = 6,
  hdmi_max_tmds_clock = 7,
  hdmi_presence = 8,
  hdmi_first_latency = 9,
  hdmi_last_latency = 12,
  hdmi_3d = 13,
  hdmi_list_lengths = 14,
};

void print_audio(const uint8_t*, int length) {
  constexpr int audio_descriptor_size = 3;
  if (length % audio_descriptor_size != 0) {
    puts("\tSome errors occurred here in the audio data block!");
    return;
  }
  printf("\tAudio Data Block lenth:%d\n", length);
  printf("\tCEA short Audio Descriptor count:%d\n", length / audio_descriptor_size);
}

void print_video(const uint8_t* block, int length) {
  printf("Video Data Block Count:%d\n", length);
  for (int i = 1; i <= length; ++i) {
    printf("\t*%d", i);
    print_video_code(block[i]);
  }
}

void print_hdmi_deep_color(uint8_t byte) {
  constexpr FlagLine lines[] = {
      {0x80, "\tsupports_AI :\tsupported", "\tsupports_AI :\tnot-supported"},
      {0x40, "\tDC_48bit : \tsupported", "\tDC_48bit : \tnot-supported"},
      {0x20, "\tDC_36bit : \tsupported", "\tDC_36bit : \tnot-supported"},
      {0x10, "\tDC_30bit : \tsupported", "\tDC_30bit : \tnot-supported"},
      {0x08, "\tDC_YC444 : \tsupported", "\tDC_YC444 : \tnot-supported"},
      {0x01, "\tDVI_Dual : \tsupported", "\tDVI_Dual : \tnot-supported"},
  };
  print_flag_lines(byte, lines);
}

void print_hdmi_extension_field(int index, uint8_t value) {
  constexpr int tmds_clock_unit_mhz = 5;
  if (index == hdmi_deep_color) {
    print_hdmi_deep_color(value);
  } else if (index == hdmi_max_tmds_clock) {
    printf("\tMax TMDS Clock: %dMHz\n", value * tmds_clock_unit_mhz);
  } else if (index == hdmi_presence) {
    printf("\tHere is some info in byte:%d,value:%x\n", index, value);
  } else if (index >= hdmi_first_latency && index <= hdmi_last_latency) {
    printf("\tHere is some info about Latency in byte:%d,value :%x\n", index, value);
  } else if (index == hdmi_3d) {
    printf("\tHere is some info about 3d,value :%x\n", value);
  } else if (index == hdmi_list_lengths) {
    printf("\tHDMI_VIC_LEN:%d\tHDMI_3D_LEN:%d\n", value >> 5, value & 0x1F);
  } else {
    puts("\tHere is some info about HDMI_VIC_4k or HDMI_3D");
  }
}

void print_vendor(const uint8_t* block, int length) {
  constexpr uint8_t hdmi_identifier[3] = {0x03, 0x0C, 0x00};
  if (memcmp(block + 1, hdmi_identifier, sizeof hdmi_identifier) != 0) {
    printf("\tIEEE Registration Identifier:%x%x%x\n", block[3], block[2], block[1]);
    return;
  }
  printf("\tSource Physical Address: A:%d B:%d C:%d D:%d\n", block[4] >> 4, block[4] & 0x0F,
         block[5] >> 4, block[5] & 0x0F);
  if (length < hdmi_deep_color) return;
  puts("\tSupport extension fields");
  for (int i = hdmi_deep_color; i <= length; ++i) print_hdmi_extension_field(i, block[i]);
}

void print_colorimetry(const uint8_t* block, int) {
  constexpr FlagWord words[] = {
      {0x80, "xvYCC601\t"}, {0x40, "xvYCC709\t"},  {0x20, "sYCC601\t"},   {0x10, "AdobeYCC601\t"},
      {0x08, "AdobeRGB\t"}, {0x04, "BT2020RBG\t"}, {0x02, "BT2020YCC\t"}, {0x01, "BT2020cYCC\t"},
  };
  constexpr uint8_t metadata_limit = 16;
  fputs("\tColorimetry Supports:", stdout);
  print_flag_words(block[2], words);
  if (block[3] < metadata_limit) printf("\nMD3_MD2_MD1_MD0:%x\n", block[3]);
}

void print_video_capability(const uint8_t* block, int) {
  constexpr uint8_t s_pt = 0x30;
  constexpr uint8_t s_it = 0x0C;
  constexpr FlagLine quantization[] = {
      {0x80, "\tQY:Selectable (via AVI YQ)", nullptr},
      {0x40, "\tQS:Selectable (via AVI Q)", nullptr},
  };
  const auto print_scan = [](const char* label) {
    printf("\t%s:Supports both over-and underscan\n", label);
    printf("\t%s:Always Underscanned\n", label);
  };
  // The flags are taken from the byte behind the two-byte payload, deliberately.
  const uint8_t flags = block[3];
  print_flag_lines(flags, quantization);
  if (flags & s_pt) print_scan("S_PT");
  if (flags & s_it) print_scan("S_IT");
  // The CE lines hang on the PT bits, not on bits of their own.
  if (flags & s_pt) print_scan("S_CE");
}

void print_ycbcr420_video(const uint8_t* block, int length) {
  for (int i = 2; i <= length; ++i) print_video_code(block[i]);
}

void print_ycbcr420_capability_map(const uint8_t* block, int length) {
  constexpr int max_positions = 50;
  int printed = 0;
  for (int position = 0; position < 8 * (length - 1); ++position) {
    if (!((block[2 + position / 8] >> (position % 8)) & 1)) continue;
    if (printed++ == max_positions) return;
    printf("\tThe no.%d VDB supports YCBCR420\n", position + 1);
  }
}

// A kind of data block: the first row that fits a block prints it.
struct Kind {
  uint8_t tag;
  int extended_tag;
  int min_length;
  int max_length;
  const char* title;
  void (*print)(const uint8_t* block, int length);  // null: the title's line tells the length
};

constexpr int any = data_block_length_mask;  // as a maximum

constexpr Kind kinds[] = {
    {tag_audio, no_extended_tag, 0, any, "Audio Data Block", print_audio},
    {tag_video, no_extended_tag, 0, any, "Video Data Block", print_video},
    {tag_vendor, no_extended_tag, 0, any, "HDMI Vendor Specific Data Block", print_vendor},
    {tag_speakers, no_extended_tag, 0, any, "Speaker Allocation Data Block", nullptr},
    {tag_transfer_characteristic, no_extended_tag, 0, any,
     "VESA Display Transfer Characteristic Data Block", nullptr},
    {tag_extended, ext_colorimetry, 3, 3, "Colorimetry Data Block", print_colorimetry},
    {tag_extended, ext_video_capability, 2, 2, "cea_ext_Video Capability Data Block",
     print_video_capability},
    {tag_extended, ext_vendor_video, 5, any, "Vendor-Specific Video Data Block", nullptr},
    {tag_extended, ext_vendor_audio, 5, any, "Vendor-Specific Audio Data Block", nullptr},
    {tag_extended, ext_infoframe, 8, any, "InfoFrame Data Block", nullptr},
    {tag_extended, ext_ycbcr420_video, 1, any, "The SVDs that only support YCBCR420",
     print_ycbcr420_video},
    {tag_extended, ext_ycbcr420_capability_map, 1, any, "YCBCR420 Capability Map Data Block",
     print_ycbcr420_capability_map},
    {tag_extended, ext_video_format_preference, 1, any, "Video Format Preference Data Block",
     nullptr},
    {tag_extended, ext_hdr_static_metadata, 1, any, "HDR Static Metadata Data Block", nullptr},
};

}  // namespace

void print_data_block(const uint8_t* block) {
  const int tag = block[0] >> 5;
  const int length = block[0] & data_block_length_mask;
  for (const Kind& kind : kinds) {
    if (kind.tag != tag || length < kind.min_length || length > kind.max_length) continue;
    if (kind.extended_tag != no_extended_tag && kind.extended_tag != block[1]) continue;
    if (kind.print == nullptr) {
      printf("%s\tlenth:%d\n", kind.title, length);
    } else {
      puts(kind.title);
      kind.print(block, length);
    }
    return;
  }
}

}  // namespace zvg::edid
