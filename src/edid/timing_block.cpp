#include "edid/timing_block.h"

#include <stdio.h>

#include "edid/detailed_timing.h"
#include "edid/display_descriptor.h"
#include "edid/layout.h"
#include "util_zvg.h"

namespace zvg::edid {

void print_timing_blocks(const uint8_t* first, int count) {
  for (int i = 0; i < count; ++i) {
    const uint8_t* const block = first + static_cast<size_t>(i) * descriptor_size;
    printf("-------------------Detailed Timing Block %d-------------------------\n", i);
    const bool has_pixel_clock = u16(block) != 0;
    if (has_pixel_clock) {
      print_detailed_timing(block);
    } else {
      print_display_descriptor(block);
    }
    print_empty_line(1);
  }
}

}  // namespace zvg::edid
