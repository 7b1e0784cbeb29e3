// The base block of an EDID.
#ifndef ZVG_FORMATS_EDID_BASE_BLOCK_H
#define ZVG_FORMATS_EDID_BASE_BLOCK_H

#include <stdint.h>

#include <array>
#include <optional>
#include <variant>

#include "formats/edid/block.h"
#include "formats/edid/chromaticity.h"
#include "formats/edid/standard_tables.h"
#include "formats/edid/standard_timing.h"
#include "formats/edid/timing_block.h"

namespace zvg::formats::edid {

// E-EDID 1.4, 3.4 and 3.5.
struct Identification {
  std::array<uint8_t, 3> manufacturer;  // five bits each: 1 for A to 26 for Z
  uint16_t product;
  uint32_t serial;
  uint8_t week;
  int year;
  uint8_t version;
  uint8_t revision;
};
Identification parse_identification(const uint8_t* edid);

// E-EDID 1.4, 3.6.1.
struct DigitalInput {
  uint8_t color_depth;         // code: 1 for 6 bits a primary colour to 6 for 16; 0 and 7 tell none
  uint8_t interface_standard;  // code: DVI, HDMI-a, HDMI-b, MDDI and DisplayPort from 1 on
};
struct AnalogInput {
  uint8_t signal_level;  // code
  bool setup_expected;   // a blank-to-black setup or pedestal
  bool separate_sync;
  bool composite_sync;
  bool sync_on_green;
  bool serration;  // on the vertical sync
};
using VideoInput = std::variant<DigitalInput, AnalogInput>;
VideoInput parse_video_input(const uint8_t* edid);

// E-EDID 1.4, 3.6.4.
struct Features {
  bool standby;
  bool suspend;
  bool active_off;
  uint8_t color;  // code: encodings of a digital display, type of an analog one
  bool srgb_default;
  bool preferred_is_native;   // the first detailed timing's pixels and refresh rate are the panel's
  bool continuous_frequency;  // before revision 4: the default GTF is supported
};
Features parse_features(const uint8_t* edid);

// E-EDID 1.4, 3.7.
struct Chromaticity {
  ChromaPoint red;
  ChromaPoint green;
  ChromaPoint blue;
  ChromaPoint white;
};
Chromaticity parse_chromaticity(const uint8_t* edid);

// E-EDID 1.4, chapter 3.
struct BaseBlock {
  Identification identification;
  VideoInput video_input;
  uint8_t width_cm;  // of the screen. One of the two is 0: the other one is an aspect ratio's code.
  uint8_t height_cm;
  std::optional<double> gamma;  // none: in an extension block
  Features features;
  Chromaticity chromaticity;
  std::array<bool, established_mode_count> established;  // as the rows of established_modes
  std::array<std::optional<StandardTiming>, 8> standard_timings;  // none: an unused entry
  std::array<TimingBlock, 4> timing_blocks;
  uint8_t extension_count;
};

// edid: block_size bytes, whatever they are: neither header nor checksum nor version are looked at.
BaseBlock parse_base_block(const uint8_t* edid);

// E-EDID 1.4, 3.11: the number of blocks behind the base block.
uint8_t parse_extension_count(const uint8_t* edid);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_BASE_BLOCK_H
