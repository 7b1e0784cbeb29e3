#include "edid/base_block.h"

#include <stdio.h>

#include "edid/report_text.h"
#include "edid/standard_timing.h"
#include "edid/timing_block.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

void print_heading(const char* text) {
  print_empty_line(2);
  puts(text);
  print_empty_line(1);
}

void print_identification(const Identification& id) {
  // Codes that are no letters are printed as what follows and precedes them.
  const auto letter = [&id](size_t i) { return id.manufacturer[i] + 'A' - 1; };
  printf("Manufacturer Name: \t%c%c%c\n", letter(0), letter(1), letter(2));
  printf("Product Code: \t0x%04X\n", static_cast<unsigned>(id.product));
  printf("Serial Number: \t0x%08X\n", id.serial);
  printf("Time of Manufacture: \t%d week %d year\n", id.week, id.year);
  printf("Version: %d Revision: %d\n", id.version, id.revision);
}

void print_screen_size(int h, int v) {
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

void print_gamma(std::optional<double> gamma) {
  fputs("Gamma: ", stdout);
  if (gamma) {
    printf("\t%.2f\n", *gamma);
  } else {
    puts(
        "\tGAMMA value is not defined here and the GAMMA data shall be stored in an extension "
        "block.");
  }
}

void print_input(const DigitalInput& input) {
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
  fputs(color_depths[input.color_depth], stdout);
  fputs("\tInterface Standard Supported: ", stdout);
  puts(interfaces[input.interface_standard & 7]);  // the code's upper bit is not looked at
}

void print_input(const AnalogInput& input) {
  constexpr const char* signal_levels[] = {
      "\tVideo=0.700Vpp Sync=0.300Vpp Total=1.000Vpp",
      "\tVideo=0.714Vpp Sync=0.286Vpp Total=1.000Vpp",
      "\tVideo=1.000Vpp Sync=0.400Vpp Total=1.400Vpp",
      "\tVideo=0.700Vpp Sync=0.000Vpp Total=0.700Vpp",
  };

  puts("\tInterface: \tAnalog");
  // Code 0 lists all four levels, the other codes none; then the next label goes on in this line.
  fputs("\tSignal Level Standard: ", stdout);
  if (input.signal_level == 0) {
    for (const char* level : signal_levels) puts(level);
  }
  // Likewise both setups or none.
  fputs("\tVideo Setup: ", stdout);
  if (!input.setup_expected) {
    puts("\tBlank Level = Black Level");
    puts("\tBlank-to-Black setup or pedestal");
  }
  puts("\tSynchronization Types");
  print_flag_lines({
      {input.separate_sync, "\t\tSeparate Sync H & V Signals: \tsupported",
       "\t\tSeparate Sync H & V Signals: \tnon-supported"},
      {input.composite_sync, "\t\tComposite Sync Signal on Horizontal: \tsupported",
       "\t\tComposite Sync Signal on Horizontal: \tnon-supported"},
      {input.sync_on_green, "\t\tComposite Sync Signal on Green Video: \tsupported",
       "\t\tComposite Sync Signal on Green Video: \tnon-supported"},
  });
  fputs("\tSerrations: ", stdout);
  print_flag_lines({
      {input.serration, "\tSerration on the Vertical Sync: supported",
       "\tSerration on the Vertical Sync: non-supported"},
  });
}

void print_video_input(const VideoInput& input) {
  print_heading("Video Input Definition");
  std::visit([](const auto& one) { print_input(one); }, input);
}

void print_color(bool digital, const Features& features) {
  constexpr const char* encodings[4] = {
      "\tRGB 4:4:4",
      "\tRGB 4:4:4 & YCrCb 4:4:4",
      "\tRGB 4:4:4 & YCrCb 4:2:2",
      "\tRGB 4:4:4 & YCrCb 4:4:4 & YCrCb 4:2:2",
  };
  constexpr const char* types[4] = {
      "\tMonochrome or Grayscale display",
      "\tRGB color display",
      "\tNon-RGB color display",
      "\tDisplay Color Type is Undefined",
  };
  // Not the colour's own code, but one of the two lowest flags of the byte: deliberate.
  const int code = (features.preferred_is_native ? 2 : 0) + (features.continuous_frequency ? 1 : 0);
  if (digital) {
    fputs("\tSupported Color Encoding Format: ", stdout);
    puts(encodings[code]);
  } else {
    fputs("\tDisplay Color Type: ", stdout);
    puts(types[code]);
  }
}

void print_feature_support(bool digital, const Features& features) {
  print_heading("Feature Support");
  puts("\tDisplay Power Management");
  print_flag_lines({
      {features.standby, "\t\tStandby Mode: \tsupported", "\t\tStandby Mode: \tnon-supported"},
      {features.suspend, "\t\tSuspend Mode: \tsupported", "\t\tSuspend Mode: \tnon-supported"},
      {features.active_off, "\t\tActive Off: \tVery Low Power is supported",
       "\t\tActive Off: \tVery Low Power is not supported"},
  });
  print_empty_line(1);
  print_color(digital, features);
  print_empty_line(1);
  puts("\tOther Feature Support");
  print_flag_lines({
      {features.srgb_default, "\t\tsRGB Standard: \tdefault color space",
       "\t\tsRGB Standard: \tnot the default color space"},
      {features.preferred_is_native,
       "\t\tPreferred Timing Mode: \tincludes the native pixel format and preferred refresh rate",
       "\t\tPreferred Timing Mode: \tnot includes the native pixel format and preferred refresh "
       "rate"},
      {features.continuous_frequency, "\t\tDefault GTF: \tDisplay is continuous frequency",
       "\t\tDefault GTF: \tDisplay is non-continuous frequency"},
  });
}

// Green x and both white coordinates are printed with two bits of a neighbour in the shared byte in
// bits 5:4, instead of their own in bits 1:0: deliberate.
int with_bits_of(int neighbour, int code) {
  return (code & ~3) | (neighbour & 3) << 4;
}

void print_chromaticity(const Chromaticity& points) {
  print_heading("Chromaticity and Default White Point");
  const auto print = [](const char* name, int x, int y) {
    printf("\t%s_x: %.03f \t%s_y: %.03f\n", name, static_cast<double>(rounded_chroma_value(x)),
           name, static_cast<double>(rounded_chroma_value(y)));
  };
  const auto& [red, green, blue, white] = points;
  print("Red", red.x, red.y);
  print("Green", with_bits_of(red.x, green.x), green.y);
  print("Blue", blue.x, blue.y);
  print("White", with_bits_of(blue.x, white.x), with_bits_of(blue.y, white.y));
}

void print_established_timings(const BaseBlock& base) {
  print_heading("Established Timing");
  for (size_t i = 0; i < base.established.size(); ++i) {
    if (!base.established[i]) continue;
    const Mode& mode = established_modes[i];
    // The rates of the table are not computed for the report: always 0 Hz.
    printf("\t%dx%d@%dHz\n", mode.horizontal.display, mode.vertical.display, 0);
  }
}

void print_standard_timings(const BaseBlock& base) {
  print_heading("Standard Timing");
  for (size_t i = 0; i < base.standard_timings.size(); ++i) {
    if (print_standard_timing(base.standard_timings[i])) continue;
    printf(EDID_WARNING("Standard Timings %d is bad or unused"), static_cast<int>(i));
  }
}

}  // namespace

void print_base_block(const BaseBlock& base) {
  const bool digital = std::holds_alternative<DigitalInput>(base.video_input);
  print_identification(base.identification);
  print_screen_size(base.width_cm, base.height_cm);
  print_gamma(base.gamma);
  print_video_input(base.video_input);
  print_feature_support(digital, base.features);
  print_chromaticity(base.chromaticity);
  print_established_timings(base);
  print_standard_timings(base);
  print_empty_line(2);
  for (size_t i = 0; i < base.timing_blocks.size(); ++i) {
    print_timing_block(i, base.timing_blocks[i], base.identification.revision);
  }
}

}  // namespace zvg::edid
