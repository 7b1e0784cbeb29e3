#include "edid/base_block.h"

#include <stddef.h>
#include <stdio.h>

#include "edid/chromaticity.h"
#include "edid/layout.h"
#include "edid/report_text.h"
#include "edid/revision.h"
#include "edid/standard_tables.h"
#include "edid/standard_timing.h"
#include "edid/timing_block.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

// Bits of the video input byte.
constexpr uint8_t digital_input = 0x80;

void print_heading(const char* text) {
  print_empty_line(2);
  puts(text);
  print_empty_line(1);
}

bool is_digital(const uint8_t* edid) {
  return (edid[base::video_input] & digital_input) != 0;
}

void print_identification(const uint8_t* edid) {
  constexpr int first_year = 1990;
  // Five bits a letter, 1 for A, and the top bit unused.
  const int id = edid[base::manufacturer] << 8 | edid[base::manufacturer + 1];
  const auto letter = [id](int lowest_bit) { return ((id >> lowest_bit) & 0x1F) + 64; };
  const uint8_t* const serial = edid + base::serial_number;

  printf("Manufacturer Name: \t%c%c%c\n", letter(10), letter(5), letter(0));
  printf("Product Code: \t0x%04X\n", static_cast<unsigned>(u16(edid + base::product_code)));
  printf("Serial Number: \t0x%08X\n",
         static_cast<unsigned>(u16(serial)) | static_cast<unsigned>(u16(serial + 2)) << 16);
  printf("Time of Manufacture: \t%d week %d year\n", edid[base::week],
         edid[base::year] + first_year);
  printf("Version: %d Revision: %d\n", edid[base::version], edid[base::revision]);
  edid_revision = edid[base::revision];
}

void print_screen_size(const uint8_t* edid) {
  const int h = edid[base::width_cm];
  const int v = edid[base::height_cm];
  if (h != 0 && v != 0) {
    printf("Sreen Size: \t%d x %d cm\n", h, v);
  } else if (h != 0) {
    printf("Screen Aspect Ratio: \t1 : %f\n", (h + 99) / 100.0);
  } else if (v != 0) {
    printf("Screen Aspect Ratio: \t%f : 1\n", 100.0 / (v + 99));
  } else {
    puts("Sreen Size: \tUnknown");
  }
}

void print_gamma(const uint8_t* edid) {
  constexpr int in_extension = 255;
  const int gamma = edid[base::gamma];
  fputs("Gamma: ", stdout);
  if (gamma < in_extension) {
    printf("\t%.2f\n", (gamma + 100) / 100.0);
  } else {
    puts(
        "\tGAMMA value is not defined here and the GAMMA data shall be stored in an extension "
        "block.");
  }
}

void print_digital_input(uint8_t input) {
  constexpr const char* color_depths[8] = {
      "\tUndefined\n",
      "\t6 Bits per Primary Color\n",
      "\t8 Bits per Primary Color\n",
      "\t10 Bits per Primary Color\n",
      "\t12 Bits per Primary Color\n",
      "\t14 Bits per Primary Color\n",
      "\t16 Bits per Primary Color\n",
      "",  // the reserved code prints nothing: the next label goes on in the same line
  };
  constexpr const char* interfaces[8] = {
      "\tUndefined",      "\tDVI supported", "\tHDMI-a supported", "\tHDMI-b supported",
      "\tMODI supported", "\tDP supported",  "\tReserved",         "\tReserved",
  };
  puts("\tInterface: \tDigital");
  fputs("\tColor Bit Depth: ", stdout);
  fputs(color_depths[(input >> 4) & 7], stdout);
  fputs("\tInterface Standard Supported: ", stdout);
  puts(interfaces[input & 7]);
}

void print_analog_input(uint8_t input) {
  constexpr uint8_t signal_level = 0x60;
  constexpr uint8_t setup_expected = 0x10;
  constexpr const char* signal_levels[] = {
      "\tVideo=0.700Vpp Sync=0.300Vpp Total=1.000Vpp",
      "\tVideo=0.714Vpp Sync=0.286Vpp Total=1.000Vpp",
      "\tVideo=1.000Vpp Sync=0.400Vpp Total=1.400Vpp",
      "\tVideo=0.700Vpp Sync=0.000Vpp Total=0.700Vpp",
  };
  constexpr FlagLine sync_types[] = {
      {0x08, "\t\tSeparate Sync H & V Signals: \tsupported",
       "\t\tSeparate Sync H & V Signals: \tnon-supported"},
      {0x04, "\t\tComposite Sync Signal on Horizontal: \tsupported",
       "\t\tComposite Sync Signal on Horizontal: \tnon-supported"},
      {0x02, "\t\tComposite Sync Signal on Green Video: \tsupported",
       "\t\tComposite Sync Signal on Green Video: \tnon-supported"},
  };
  constexpr FlagLine serrations[] = {
      {0x01, "\tSerration on the Vertical Sync: supported",
       "\tSerration on the Vertical Sync: non-supported"},
  };

  puts("\tInterface: \tAnalog");
  // Code 0 lists all four levels, the other codes none; then the next label goes on in this line.
  fputs("\tSignal Level Standard: ", stdout);
  if ((input & signal_level) == 0) {
    for (const char* level : signal_levels) puts(level);
  }
  // Likewise both setups or none.
  fputs("\tVideo Setup: ", stdout);
  if ((input & setup_expected) == 0) {
    puts("\tBlank Level = Black Level");
    puts("\tBlank-to-Black setup or pedestal");
  }
  puts("\tSynchronization Types");
  print_flag_lines(input, sync_types);
  fputs("\tSerrations: ", stdout);
  print_flag_lines(input, serrations);
}

void print_video_input(const uint8_t* edid) {
  print_heading("Video Input Definition");
  const uint8_t input = edid[base::video_input];
  if (is_digital(edid)) {
    print_digital_input(input);
  } else {
    print_analog_input(input);
  }
}

void print_feature_support(const uint8_t* edid) {
  constexpr FlagLine power_management[] = {
      {0x80, "\t\tStandby Mode: \tsupported", "\t\tStandby Mode: \tnon-supported"},
      {0x40, "\t\tSuspend Mode: \tsupported", "\t\tSuspend Mode: \tnon-supported"},
      {0x20, "\t\tActive Off: \tVery Low Power is supported",
       "\t\tActive Off: \tVery Low Power is not supported"},
  };
  constexpr const char* color_encodings[4] = {
      "\tRGB 4:4:4",
      "\tRGB 4:4:4 & YCrCb 4:4:4",
      "\tRGB 4:4:4 & YCrCb 4:2:2",
      "\tRGB 4:4:4 & YCrCb 4:4:4 & YCrCb 4:2:2",
  };
  constexpr const char* color_types[4] = {
      "\tMonochrome or Grayscale display",
      "\tRGB color display",
      "\tNon-RGB color display",
      "\tDisplay Color Type is Undefined",
  };
  constexpr FlagLine other_features[] = {
      {0x04, "\t\tsRGB Standard: \tdefault color space",
       "\t\tsRGB Standard: \tnot the default color space"},
      {0x02,
       "\t\tPreferred Timing Mode: \tincludes the native pixel format and preferred refresh rate",
       "\t\tPreferred Timing Mode: \tnot includes the native pixel format and preferred refresh "
       "rate"},
      {0x01, "\t\tDefault GTF: \tDisplay is continuous frequency",
       "\t\tDefault GTF: \tDisplay is non-continuous frequency"},
  };

  print_heading("Feature Support");
  const uint8_t features = edid[base::features];
  puts("\tDisplay Power Management");
  print_flag_lines(features, power_management);
  print_empty_line(1);
  // The colour code is taken from bits 1:0, where the preferred timing and GTF flags are, and not
  // from bits 4:3: deliberate.
  constexpr uint8_t color_code_mask = 0x03;
  const int color_code = features & color_code_mask;
  if (is_digital(edid)) {
    fputs("\tSupported Color Encoding Format: ", stdout);
    puts(color_encodings[color_code]);
  } else {
    fputs("\tDisplay Color Type: ", stdout);
    puts(color_types[color_code]);
  }
  print_empty_line(1);
  puts("\tOther Feature Support");
  print_flag_lines(features, other_features);
}

void print_chromaticity(const uint8_t* edid) {
  print_heading("Chromaticity and Default White Point");
  const uint8_t* const high = edid + base::chroma_high;
  const int rg = edid[base::chroma_low_rg];
  const int bw = edid[base::chroma_low_bw];
  const auto print = [](const char* name, int x, int y) {
    printf("\t%s_x: %.03f \t%s_y: %.03f\n", name, static_cast<double>(rounded_chroma_value(x)),
           name, static_cast<double>(rounded_chroma_value(y)));
  };
  // Green x and both white coordinates merge their low bits into bits 5:4 of the code instead of
  // bits 1:0: deliberate.
  print("Red", high[0] * 4 + (rg >> 6), high[1] * 4 + ((rg >> 4) & 3));
  print("Green", (high[2] * 4) | ((rg >> 2) & 0x30), high[3] * 4 + (rg & 3));
  print("Blue", high[4] * 4 + (bw >> 6), high[5] * 4 + ((bw >> 4) & 3));
  print("White", (high[6] * 4) | ((bw >> 2) & 0x30), (high[7] * 4) | (bw & 0x30));
}

void print_established_timings(const uint8_t* edid) {
  print_heading("Established Timing");
  const uint8_t* const bytes = edid + base::established;
  const int supported = u16(bytes) | (bytes[2] >> 7) << 16;
  for (int bit = 0; bit < established_mode_count; ++bit) {
    if (!((supported >> bit) & 1)) continue;
    const zvg_display_mode& mode = established_modes[bit];
    // The table leaves the refresh to be computed, and the report prints the table: always 0 Hz.
    printf("\t%dx%d@%dHz\n", mode.hdisplay, mode.vdisplay, mode.vrefresh);
  }
}

void print_standard_timings(const uint8_t* edid) {
  constexpr int pair_count = 8;
  print_heading("Standard Timing");
  for (int i = 0; i < pair_count; ++i) {
    const uint8_t* const pair = edid + base::standard_timings + 2 * i;
    if (print_standard_timing(pair[0], pair[1], edid_revision) != 0) {
      printf(EDID_WARNING("Standard Timings %d is bad or unused"), i);
    }
  }
}

}  // namespace

void print_base_block(const uint8_t* edid) {
  constexpr int descriptor_count = 4;
  print_identification(edid);
  print_screen_size(edid);
  print_gamma(edid);
  print_video_input(edid);
  print_feature_support(edid);
  print_chromaticity(edid);
  print_established_timings(edid);
  print_standard_timings(edid);
  print_empty_line(2);
  print_timing_blocks(edid + base::descriptors, descriptor_count);
}

}  // namespace zvg::edid
