#include "edid/cea_extension.h"

#include <stdio.h>

#include "edid/layout.h"
#include "edid/report_text.h"
#include "edid/timing_block.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

void print_general_info(const uint8_t* block) {
  constexpr uint8_t version_mask = 3;
  constexpr uint8_t native_timings = 0x0F;
  constexpr FlagLine features[] = {
      {0x80, "\tUnderscans IT Format:\tsupported", "\tUnderscans IT Format:\tnon-supported"},
      {0x40, "\tBasic Audio:\t\tsupported", "\tBasic Audio:\t\tnon-supported"},
      {0x20, "\tYCbCr 4:4:4:\t\tsupported", "\tYCbCr 4:4:4:\t\tnon-supported"},
      // Without 4:2:2 the line names 4:4:4, as required.
      {0x10, "\tYCbCr 4:2:2:\t\tsupported", "\tYCbCr 4:4:4:\t\tnon-supported"},
  };
  puts("CEA Extension General Info");
  if (block[cea::version] & version_mask) puts("\tCEA Version: 3");
  printf("\tStart of Detailed Timing Data: %d\n", block[cea::timings_offset]);
  print_flag_lines(block[cea::features], features);
  printf("\tNative Detailed Timing Number: %d\n", block[cea::features] & native_timings);
  print_empty_line(2);
}

int length_at(const uint8_t* block, int position) {
  return block[position] & data_block_length_mask;
}

// end: the offset behind the data blocks. A block that does not fit before it ends the walk.
void print_data_blocks(const uint8_t* block, int end) {
  for (int position = cea::data_blocks;
       position < end && position + length_at(block, position) < end;
       position += length_at(block, position) + 1) {
    print_data_block(block + position);
    print_empty_line(2);
  }
}

}  // namespace

void print_cea_extension(const uint8_t* block) {
  constexpr int size = block_size;
  constexpr int timing_size = descriptor_size;

  print_general_info(block);
  const int timings = block[cea::timings_offset];
  print_data_blocks(block, timings);
  // An offset of 0 is not taken as "no timings": the walk then starts at the block's first byte.
  if (size - timings >= timing_size) {
    print_timing_blocks(block + timings, (size - timings) / timing_size);
  }
}

}  // namespace zvg::edid
