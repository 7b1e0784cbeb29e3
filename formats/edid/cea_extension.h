// A CEA-861 extension block: general information, a collection of data blocks, detailed timings.
#ifndef ZVG_FORMATS_EDID_CEA_EXTENSION_H
#define ZVG_FORMATS_EDID_CEA_EXTENSION_H

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <optional>
#include <span>

#include "formats/edid/cea_data_blocks.h"
#include "formats/edid/timing_block.h"

namespace zvg::formats::edid {

// Holds a copy of its bytes, so that the views into it stay right as long as it is there.
class CeaExtension {
 public:
  uint8_t version;
  int timings_offset;  // where the detailed timings start, from the block's begin; may be beyond it
  bool underscans_it_formats;
  bool basic_audio;
  bool ycbcr_444;
  bool ycbcr_422;
  int native_timings;

  // How many detailed timings fit behind their offset. An offset of 0 is not taken as "no timings":
  // they then start at the block's first byte.
  size_t timing_count() const;
  // index: below timing_count(). revision: of the EDID.
  TimingBlock timing(size_t index, int revision) const;

 private:
  friend CeaExtension parse_cea_extension(std::span<const uint8_t> bytes);
  friend class DataBlocks;

  // Where the data blocks end is a byte of the extension itself, so a broken one leads the walk
  // past the 128 bytes of the block, this far at most.
  static constexpr size_t reach = 0xFF + data_block_max_size;
  std::array<uint8_t, reach> bytes_;
};

// CTA-861-G, 7.5. bytes: the block's block_size, and whatever follows them. What lies behind them
// reads as zeros when a broken offset or length leads there.
CeaExtension parse_cea_extension(std::span<const uint8_t> bytes);

// Walks the data blocks of an extension, which must stay while they are used.
class DataBlocks {
 public:
  explicit DataBlocks(const CeaExtension& extension) : extension_(extension) {}
  explicit DataBlocks(const CeaExtension&&) = delete;

  // None at the end, and from a block on that does not fit before the detailed timings.
  std::optional<DataBlock> next();

 private:
  const CeaExtension& extension_;
  int position_ = 4;  // behind tag, version, offset and features
};

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_CEA_EXTENSION_H
