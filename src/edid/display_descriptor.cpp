#include "edid/display_descriptor.h"

#include <stddef.h>
#include <stdio.h>

#include "edid/chromaticity.h"
#include "edid/range_limits.h"
#include "edid/report_text.h"
#include "edid/revision.h"
#include "edid/standard_tables.h"
#include "edid/standard_timing.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

constexpr size_t tag_offset = 3;
constexpr size_t payload = 5;  // byte 4 belongs to the range limits alone
constexpr size_t payload_size = 13;
constexpr uint8_t first_tag = 0xF7;

void print_established_timings_3(const uint8_t* d) {
  constexpr size_t first_byte = 6;
  puts("Established Timing III: ");
  // The last four bits of the field are beyond the table and mean nothing.
  for (int i = 0; i < established_timing_3_count; ++i) {
    const int bit = 7 - i % 8;
    if (!((d[first_byte + static_cast<size_t>(i) / 8] >> bit) & 1)) continue;
    const EstablishedTiming3& timing = established_timings_3[i];
    printf(timing.reduced_blanking ? "\t%d x %d @ %d (RB)\n" : "\t%d x %d @ %d \n", timing.width,
           timing.height, timing.refresh_hz);
  }
  print_empty_line(1);
  puts("\tNote: (RB) means reduced blanking");
}

void print_cvt_codes(const uint8_t*) {
  fputs(EDID_WARNING("Can't parse CVT3 Byte Code Block"), stdout);
}

void print_color_management(const uint8_t*) {
  puts("Color Management:");
  fputs(EDID_WARNING("Can't parse the Color Management Block."), stdout);
}

void print_standard_timings(const uint8_t* d) {
  constexpr int pair_count = 6;
  puts("Standard Timing: ");
  for (int i = 0; i < pair_count; ++i) {
    const uint8_t* const pair = d + payload + 2 * i;
    if (print_standard_timing(pair[0], pair[1], edid_revision) != 0) {
      fputs(EDID_WARNING("Standard Timings is bad or unused"), stdout);
    }
  }
}

void print_color_point(const uint8_t* e) {
  constexpr uint8_t no_gamma = 255;
  if (e[0] == 0) {
    puts("\tBlock is not used.");
    return;
  }
  // The x code takes all of the shared byte's upper bits, not two of them: what is above bits 3:2
  // spills over the code's own bits.
  const int x = (e[2] * 4) | (e[1] >> 2);
  const int y = e[3] * 4 + (e[1] & 3);
  printf("\tWhite Point Index: \t%d\n", e[0]);
  printf("\tWhite-x: \t%.03f\n", static_cast<double>(chroma_value(x)));
  printf("\tWhite-y: \t%.03f\n", static_cast<double>(chroma_value(y)));
  if (e[4] < no_gamma) {
    printf("\tGamma: \t%.02f\n", (e[4] + 100) / 100.0);
  } else {
    puts("\tGamma: value is not defined here.");
    puts("* Then GAMMA data shall be stored in an EXTENSION Block;for example, DI-EXT");
  }
}

void print_color_points(const uint8_t* d) {
  constexpr size_t entry_size = 5;
  puts("Additional Color Point Definition:");
  print_color_point(d + payload);
  print_color_point(d + payload + entry_size);
}

// A text stops at its first space as well as at its line feed: of a name of several words only
// the first is printed.
void print_text(const char* label, const uint8_t* d) {
  char text[payload_size + 1] = "";
  for (size_t i = 0; i < payload_size; ++i) {
    const uint8_t byte = d[payload + i];
    if (byte == '\n' || byte == ' ') break;
    text[i] = static_cast<char>(byte);
  }
  printf("%s%s\n", label, text);
}

void print_product_name(const uint8_t* d) {
  print_text("Display Product Name: ", d);
}
void print_data_string(const uint8_t* d) {
  print_text("Alphanumeric Data String: ", d);
}
void print_serial_number(const uint8_t* d) {
  print_text("Prodcut Serial Number: ", d);
}

// By tag, from first_tag to 0xFF.
constexpr void (*printers[])(const uint8_t*) = {
    print_established_timings_3, print_cvt_codes,    print_color_management,
    print_standard_timings,      print_color_points, print_product_name,
    print_range_limits,          print_data_string,  print_serial_number,
};
static_assert(first_tag + sizeof printers / sizeof printers[0] == 0x100);

}  // namespace

void print_display_descriptor(const uint8_t* descriptor) {
  const uint8_t tag = descriptor[tag_offset];
  if (tag < first_tag) {
    fputs(EDID_WARNING("Detailed Block type is undefined"), stdout);
    return;
  }
  printers[tag - first_tag](descriptor);
}

}  // namespace zvg::edid
