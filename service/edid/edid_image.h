// A whole EDID as bytes, and what its fixed fields and checks say. The report is the library's.
#ifndef ZVG_SERVICE_EDID_EDID_IMAGE_H
#define ZVG_SERVICE_EDID_EDID_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/edid/block.h"
#include "service/json.h"

namespace zvg {

inline constexpr size_t edid_block_size = zvg::formats::edid::block_size;
inline constexpr size_t edid_most_blocks = zvg::formats::edid::most_blocks;

// What the library's store holds and its report shows.
inline constexpr size_t edid_report_size = 2 * edid_block_size;

class EdidImage {
 public:
  // bytes: 1 to 256 blocks of 128.
  explicit EdidImage(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  // Throws an Error for a file that cannot be read or whose size no EDID can have.
  static EdidImage from_file(const std::string& path);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  size_t blocks() const { return bytes_.size() / edid_block_size; }

  bool header_valid() const;
  bool checksum_valid(size_t block) const;
  // The blocks that byte 126 announces are the blocks that are there.
  bool count_valid() const;
  bool valid() const;
  // What is wrong, in words; empty when nothing is.
  std::string faults() const;

  // manufacturer, product, serial, week, year, version, blocks, valid and raw.
  Json json() const;

 private:
  std::vector<uint8_t> bytes_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_EDID_EDID_IMAGE_H
