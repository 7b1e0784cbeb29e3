// The data blocks of a CEA-861 extension. They are views into its bytes.
#ifndef ZVG_FORMATS_EDID_CEA_DATA_BLOCKS_H
#define ZVG_FORMATS_EDID_CEA_DATA_BLOCKS_H

#include <stdint.h>

#include <array>
#include <optional>
#include <span>

namespace zvg::formats::edid {

constexpr int data_block_max_length = 0x1F;
constexpr int data_block_max_size = 1 + data_block_max_length;  // with its header byte

enum class DataBlockKind : uint8_t {
  unknown,  // or of a length that its kind cannot have
  audio,
  video,
  vendor,
  speakers,
  transfer_characteristic,
  video_capability,
  vendor_video,
  colorimetry,
  hdr_static_metadata,
  video_format_preference,
  ycbcr420_video,
  ycbcr420_capability_map,
  vendor_audio,
  infoframe,
};

// The parsers of the kinds read their fields where they belong, whatever the block's length says:
// fields of a block that is too short are those of what follows it.
struct DataBlock {
  DataBlockKind kind;
  int length;            // bytes behind the header byte
  const uint8_t* bytes;  // data_block_max_size of them, the header byte first

  // The payload: behind the header byte, and behind the tag of an extended kind.
  std::span<const uint8_t> payload() const;
};

// CTA-861-G, 7.5. bytes: data_block_max_size of them, the header byte first.
DataBlock parse_data_block(const uint8_t* bytes);

// CTA-861-G, 7.5.2: three bytes a short audio descriptor. None when the length is no multiple of
// it.
std::optional<int> audio_descriptor_count(const DataBlock& block);

// CTA-861-G, 7.5.4: the organisation that a vendor's block belongs to, low byte first.
constexpr uint32_t hdmi_identifier = 0x000C03;
uint32_t vendor_identifier(const DataBlock& block);

// HDMI 1.4b, 8.3.2: the vendor block of hdmi_identifier. What lies behind its length is not there.
struct HdmiDeepColor {
  bool supports_ai;
  bool bits_48;
  bool bits_36;
  bool bits_30;
  bool ycbcr_444;
  bool dvi_dual;
};
struct HdmiBlock {
  std::array<uint8_t, 4> physical_address;
  std::optional<HdmiDeepColor> deep_color;
  std::optional<int> max_tmds_clock_mhz;
  std::optional<uint8_t> presence;      // flags of what follows
  std::span<const uint8_t> latencies;   // up to four bytes
  std::optional<uint8_t> three_d;       // flags
  std::optional<uint8_t> list_lengths;  // bits 7:5 of the format codes, 4:0 of the 3D structures
  std::span<const uint8_t> lists;
};
HdmiBlock parse_hdmi_block(const DataBlock& block);

// CTA-861-G, 7.5.5.
struct Colorimetry {
  bool xvycc_601;
  bool xvycc_709;
  bool sycc_601;
  bool adobe_ycc_601;
  bool adobe_rgb;
  bool bt2020_rgb;
  bool bt2020_ycc;
  bool bt2020_cycc;
  uint8_t metadata;  // bits 3:0: metadata profiles
};
Colorimetry parse_colorimetry(const DataBlock& block);

// CTA-861-G, 7.5.6.
struct VideoCapability {
  bool ycc_quantization_selectable;
  bool rgb_quantization_selectable;
  uint8_t preferred_scan;  // codes of two bits, of the preferred timing, IT and CE formats
  uint8_t it_scan;
  uint8_t ce_scan;
};
VideoCapability parse_video_capability(uint8_t flags);

// CTA-861-G, 7.5.11: whether the n-th short video descriptor, from 0 on, supports YCbCr 4:2:0, too.
int ycbcr420_map_size(const DataBlock& block);
bool in_ycbcr420_map(const DataBlock& block, int descriptor);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_CEA_DATA_BLOCKS_H
