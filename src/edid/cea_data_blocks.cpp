#include "edid/cea_data_blocks.h"

#include <stdio.h>

#include "edid/report_text.h"
#include "edid/video_code.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

void print_audio(const DataBlock& block) {
  const std::optional<int> count = audio_descriptor_count(block);
  if (!count) {
    puts("\tSome errors occurred here in the audio data block!");
    return;
  }
  printf("\tAudio Data Block lenth:%d\n", block.length);
  printf("\tCEA short Audio Descriptor count:%d\n", *count);
}

void print_video(const DataBlock& block) {
  printf("Video Data Block Count:%d\n", block.length);
  int number = 0;
  for (const uint8_t code : block.payload()) {
    printf("\t*%d", ++number);
    print_video_code(code);
  }
}

void print_deep_color(const HdmiDeepColor& color) {
  print_flag_lines({
      {color.supports_ai, "\tsupports_AI :\tsupported", "\tsupports_AI :\tnot-supported"},
      {color.bits_48, "\tDC_48bit : \tsupported", "\tDC_48bit : \tnot-supported"},
      {color.bits_36, "\tDC_36bit : \tsupported", "\tDC_36bit : \tnot-supported"},
      {color.bits_30, "\tDC_30bit : \tsupported", "\tDC_30bit : \tnot-supported"},
      {color.ycbcr_444, "\tDC_YC444 : \tsupported", "\tDC_YC444 : \tnot-supported"},
      {color.dvi_dual, "\tDVI_Dual : \tsupported", "\tDVI_Dual : \tnot-supported"},
  });
}

// The extension fields, as far as the block is long.
void print_hdmi_extension(const HdmiBlock& hdmi) {
  constexpr int presence_byte = 8;  // the latencies follow
  if (!hdmi.deep_color) return;
  puts("\tSupport extension fields");
  print_deep_color(*hdmi.deep_color);
  if (hdmi.max_tmds_clock_mhz) printf("\tMax TMDS Clock: %dMHz\n", *hdmi.max_tmds_clock_mhz);
  int byte = presence_byte;
  if (hdmi.presence) printf("\tHere is some info in byte:%d,value:%x\n", byte, *hdmi.presence);
  for (const uint8_t latency : hdmi.latencies) {
    printf("\tHere is some info about Latency in byte:%d,value :%x\n", ++byte, latency);
  }
  if (hdmi.three_d) printf("\tHere is some info about 3d,value :%x\n", *hdmi.three_d);
  if (hdmi.list_lengths) {
    printf("\tHDMI_VIC_LEN:%d\tHDMI_3D_LEN:%d\n", *hdmi.list_lengths >> 5,
           *hdmi.list_lengths & 0x1F);
  }
  for (size_t i = 0; i < hdmi.lists.size(); ++i) {
    puts("\tHere is some info about HDMI_VIC_4k or HDMI_3D");
  }
}

void print_vendor(const DataBlock& block) {
  const uint32_t identifier = vendor_identifier(block);
  if (identifier != hdmi_identifier) {
    printf("\tIEEE Registration Identifier:%x%x%x\n", identifier >> 16, identifier >> 8 & 0xFF,
           identifier & 0xFF);
    return;
  }
  const HdmiBlock hdmi = parse_hdmi_block(block);
  const auto& [a, b, c, d] = hdmi.physical_address;
  printf("\tSource Physical Address: A:%d B:%d C:%d D:%d\n", a, b, c, d);
  print_hdmi_extension(hdmi);
}

void print_colorimetry(const DataBlock& block) {
  constexpr uint8_t metadata_limit = 16;
  const Colorimetry supports = parse_colorimetry(block);
  fputs("\tColorimetry Supports:", stdout);
  print_flag_words({
      {supports.xvycc_601, "xvYCC601\t"},
      {supports.xvycc_709, "xvYCC709\t"},
      {supports.sycc_601, "sYCC601\t"},
      {supports.adobe_ycc_601, "AdobeYCC601\t"},
      {supports.adobe_rgb, "AdobeRGB\t"},
      {supports.bt2020_rgb, "BT2020RBG\t"},
      {supports.bt2020_ycc, "BT2020YCC\t"},
      {supports.bt2020_cycc, "BT2020cYCC\t"},
  });
  if (supports.metadata < metadata_limit) printf("\nMD3_MD2_MD1_MD0:%x\n", supports.metadata);
}

void print_video_capability_block(const DataBlock& block) {
  const auto print_scan = [](const char* label) {
    printf("\t%s:Supports both over-and underscan\n", label);
    printf("\t%s:Always Underscanned\n", label);
  };
  // The flags are taken from the byte behind the two-byte payload, deliberately.
  const VideoCapability capability = parse_video_capability(block.bytes[3]);
  print_flag_lines({
      {capability.ycc_quantization_selectable, "\tQY:Selectable (via AVI YQ)", nullptr},
      {capability.rgb_quantization_selectable, "\tQS:Selectable (via AVI Q)", nullptr},
  });
  if (capability.preferred_scan != 0) print_scan("S_PT");
  if (capability.it_scan != 0) print_scan("S_IT");
  // The CE lines hang on the PT bits, not on bits of their own.
  if (capability.preferred_scan != 0) print_scan("S_CE");
}

void print_ycbcr420_video(const DataBlock& block) {
  for (const uint8_t code : block.payload()) print_video_code(code);
}

void print_ycbcr420_capability_map(const DataBlock& block) {
  constexpr int max_positions = 50;
  int printed = 0;
  for (int position = 0; position < ycbcr420_map_size(block); ++position) {
    if (!in_ycbcr420_map(block, position)) continue;
    if (printed++ == max_positions) return;
    printf("\tThe no.%d VDB supports YCBCR420\n", position + 1);
  }
}

struct Kind {
  DataBlockKind kind;
  const char* title;
  void (*print)(const DataBlock& block);  // null: the title's line tells the length
};

using enum DataBlockKind;
constexpr Kind kinds[] = {
    {audio, "Audio Data Block", print_audio},
    {video, "Video Data Block", print_video},
    {vendor, "HDMI Vendor Specific Data Block", print_vendor},
    {speakers, "Speaker Allocation Data Block", nullptr},
    {transfer_characteristic, "VESA Display Transfer Characteristic Data Block", nullptr},
    {colorimetry, "Colorimetry Data Block", print_colorimetry},
    {video_capability, "cea_ext_Video Capability Data Block", print_video_capability_block},
    {vendor_video, "Vendor-Specific Video Data Block", nullptr},
    {vendor_audio, "Vendor-Specific Audio Data Block", nullptr},
    {infoframe, "InfoFrame Data Block", nullptr},
    {ycbcr420_video, "The SVDs that only support YCBCR420", print_ycbcr420_video},
    {ycbcr420_capability_map, "YCBCR420 Capability Map Data Block", print_ycbcr420_capability_map},
    {video_format_preference, "Video Format Preference Data Block", nullptr},
    {hdr_static_metadata, "HDR Static Metadata Data Block", nullptr},
};

}  // namespace

void print_data_block(const DataBlock& block) {
  for (const Kind& kind : kinds) {
    if (kind.kind != block.kind) continue;
    if (kind.print == nullptr) {
      printf("%s\tlenth:%d\n", kind.title, block.length);
    } else {
      puts(kind.title);
      kind.print(block);
    }
  }
}

}  // namespace zvg::edid
