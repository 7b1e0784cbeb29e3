#include "edid/cea_extension.h"

#include <stdio.h>

#include "edid/cea_data_blocks.h"
#include "edid/report_text.h"
#include "edid/timing_block.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

void print_general_info(const CeaExtension& extension) {
  constexpr uint8_t version_mask = 3;
  puts("CEA Extension General Info");
  if ((extension.version & version_mask) != 0) puts("\tCEA Version: 3");
  printf("\tStart of Detailed Timing Data: %d\n", extension.timings_offset);
  print_flag_lines({
      {extension.underscans_it_formats, "\tUnderscans IT Format:\tsupported",
       "\tUnderscans IT Format:\tnon-supported"},
      {extension.basic_audio, "\tBasic Audio:\t\tsupported", "\tBasic Audio:\t\tnon-supported"},
      {extension.ycbcr_444, "\tYCbCr 4:4:4:\t\tsupported", "\tYCbCr 4:4:4:\t\tnon-supported"},
      // Without 4:2:2 the line names 4:4:4, as required.
      {extension.ycbcr_422, "\tYCbCr 4:2:2:\t\tsupported", "\tYCbCr 4:4:4:\t\tnon-supported"},
  });
  printf("\tNative Detailed Timing Number: %d\n", extension.native_timings);
  print_empty_line(2);
}

}  // namespace

void print_cea_extension(const CeaExtension& extension, int revision) {
  print_general_info(extension);
  DataBlocks blocks(extension);
  while (const std::optional<DataBlock> block = blocks.next()) {
    print_data_block(*block);
    print_empty_line(2);
  }
  for (size_t i = 0; i < extension.timing_count(); ++i) {
    print_timing_block(i, extension.timing(i, revision), revision);
  }
}

}  // namespace zvg::edid
