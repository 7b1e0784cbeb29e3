// Fetches a monitor's EDID over the DDC of an HDMI transmitter.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "display/hdmi/ddc.h"
#include "display/hdmi/registers.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

namespace {

constexpr uint32_t block_size = 128;
constexpr uint32_t extension_count_offset = 126;
constexpr uint32_t segment_size = 256;

// Bytes that are freed unless they are handed over.
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { free(bytes_); }

  bool allocate(uint32_t size) { return take(malloc(size)); }
  bool grow(uint32_t size) { return take(realloc(bytes_, size)); }
  uint8_t& operator[](uint32_t i) { return bytes_[i]; }
  uint8_t* hand_over() {
    uint8_t* const bytes = bytes_;
    bytes_ = nullptr;
    return bytes;
  }

 private:
  // Without new memory the buffer keeps what it has.
  bool take(void* bytes) {
    if (bytes == nullptr) return false;
    bytes_ = static_cast<uint8_t*>(bytes);
    return true;
  }

  uint8_t* bytes_ = nullptr;
};

// Reads the bytes from first up to end, one transfer each.
bool fetch(uint32_t transmitter, Buffer& buffer, uint32_t first, uint32_t end) {
  for (uint32_t offset = first; offset < end; ++offset) {
    const int result = offset < segment_size
                           ? zvgHdmiDDCRead(transmitter, edid_slave_address,
                                            static_cast<int>(offset), &buffer[offset])
                           : read_segmented(transmitter, offset, &buffer[offset]);
    if (result != 0) return false;
  }
  return true;
}

int failed(uint32_t transmitter) {
  printf("hdmi %d: read edid failed\n", static_cast<int>(transmitter));
  return -1;
}

}  // namespace

}  // namespace zvg::display::hdmi

int zvgHdmiEDIDRead(uint32_t hdmi) {
  using namespace zvg::display::hdmi;
  Buffer buffer;
  if (!buffer.allocate(block_size)) {
    puts("out of memory");
    return -1;
  }
  if (!fetch(hdmi, buffer, 0, block_size)) return failed(hdmi);
  uint32_t size = block_size;
  if (const uint32_t extensions = buffer[extension_count_offset]; extensions != 0) {
    size = (extensions + 1) * block_size;
    if (!buffer.grow(size) || !fetch(hdmi, buffer, block_size, size)) return failed(hdmi);
  }
  // The bytes belong to the report from here on; they are not freed when it has been printed.
  edid_print_helper(buffer.hand_over(), size, 1);
  return 0;
}
