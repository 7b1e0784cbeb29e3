// EDID images for the tests: a plain base block to start from, and what a test changes in it.
#ifndef TESTS_EDID_EDID_BUILDER_H
#define TESTS_EDID_EDID_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace edidtest {

using Bytes = std::vector<uint8_t>;

// Sets byte 127 of a 128-byte block so that the block's sum is 0.
void seal(uint8_t* block);

// A monitor "ABC" of revision 1.3 that supports nothing: its report is what Report{} expects.
class Edid {
 public:
  Edid();

  Edid& set(size_t offset, const Bytes& bytes);
  // Puts an 18-byte descriptor into place 0 to 3.
  Edid& descriptor(int place, const Bytes& bytes);
  // Adds the block and sets the extension count to 1.
  Edid& extension(const Bytes& block);

  // 256 bytes with a correct base checksum; an extension keeps the checksum that it came with.
  Bytes image() const;

 private:
  Bytes bytes_;
};

// A CEA-861 extension block of version 3.
class Cea {
 public:
  Cea& set(size_t offset, const Bytes& bytes);  // applied last, before the checksum
  Cea& features(uint8_t byte);
  // A data block: the header byte is composed from the tag and the size of the payload.
  Cea& data_block(int tag, const Bytes& payload);
  // Bytes at the offset of the detailed timings.
  Cea& timings(const Bytes& bytes);
  // Where the detailed timings start: behind the data blocks.
  int timings_offset() const { return static_cast<int>(4 + data_.size()); }

  Bytes block() const;

 private:
  struct Patch {
    size_t offset;
    Bytes bytes;
  };
  uint8_t features_ = 0;
  Bytes data_;
  Bytes timings_;
  std::vector<Patch> patches_;
};

// A detailed timing descriptor, in pixels, lines and millimetres.
struct Timing {
  int clock_10khz = 14850;
  int hactive = 1920, hblank = 280, hsync_offset = 88, hsync_width = 44;
  int vactive = 1080, vblank = 45, vsync_offset = 4, vsync_width = 5;
  int width_mm = 0, height_mm = 0;
  uint8_t flags = 0x1E;  // 0x80 interlaced, 0x04 vertical and 0x02 horizontal sync positive

  Bytes descriptor() const;
};

// A display descriptor: 00 00 00 tag byte4, then the payload, zero-filled to 18 bytes.
Bytes display_descriptor(uint8_t tag, const Bytes& payload, uint8_t byte4 = 0);
// The same with a text as payload, as it stands.
Bytes text_descriptor(uint8_t tag, const std::string& text);

}  // namespace edidtest

#endif  // TESTS_EDID_EDID_BUILDER_H
