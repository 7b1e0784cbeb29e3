// The 18-byte blocks of both the base block and the CEA extension: detailed timings and display
// descriptors.
#ifndef ZVG_FORMATS_EDID_TIMING_BLOCK_H
#define ZVG_FORMATS_EDID_TIMING_BLOCK_H

#include <stdint.h>

#include <array>
#include <optional>
#include <string_view>
#include <variant>

#include "formats/edid/chromaticity.h"
#include "formats/edid/detailed_timing.h"
#include "formats/edid/range_limits.h"
#include "formats/edid/standard_tables.h"
#include "formats/edid/standard_timing.h"

namespace zvg::formats::edid {

// E-EDID 1.4, 3.10.3.9 (tag 0xF7).
struct EstablishedTimings3 {
  std::array<bool, established_timing_3_count> supported;  // as the rows of established_timings_3
};

// E-EDID 1.4, 3.10.3.8 (tag 0xF8). What it says is not looked at.
struct CvtCodes {};

// E-EDID 1.4, 3.10.3.7 (tag 0xF9). What it says is not looked at.
struct ColorManagement {};

// E-EDID 1.4, 3.10.3.6 (tag 0xFA).
struct StandardTimings {
  std::array<std::optional<StandardTiming>, 6> timings;  // none: an unused entry
};

// E-EDID 1.4, 3.10.3.5 (tag 0xFB).
struct ColorPoint {
  uint8_t index;  // 0: unused
  ChromaPoint white;
  uint8_t reserved;             // the upper four bits of the byte with the low bits of x and y
  std::optional<double> gamma;  // none: in an extension block
};
struct ColorPoints {
  std::array<ColorPoint, 2> points;
};

// A text of the standard ends with a line feed and is filled up with spaces behind it.
struct DescriptorText {
  std::array<char, 13> characters;

  // Up to the line feed; the spaces in it are its own.
  std::string_view text() const;
};
struct ProductName : DescriptorText {};    // 3.10.3.4 (tag 0xFC)
struct DataString : DescriptorText {};     // 3.10.3.2 (tag 0xFE)
struct ProductSerial : DescriptorText {};  // 3.10.3.1 (tag 0xFF)

// Any other tag.
struct UndefinedDescriptor {
  uint8_t tag;
};

using TimingBlock = std::variant<DetailedTiming, EstablishedTimings3, CvtCodes, ColorManagement,
                                 StandardTimings, ColorPoints, ProductName, RangeLimits, DataString,
                                 ProductSerial, UndefinedDescriptor>;

// E-EDID 1.4, 3.10: a block with a pixel clock is a detailed timing. bytes: 18. revision: of the
// EDID; standard timings depend on it.
TimingBlock parse_timing_block(const uint8_t* bytes, int revision);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_TIMING_BLOCK_H
