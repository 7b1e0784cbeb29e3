// The report that an image must give, section by section. A test changes the sections that its
// image changes; the whole report is compared byte for byte.
#ifndef TESTS_EDID_EXPECTED_REPORT_H
#define TESTS_EDID_EXPECTED_REPORT_H

#include <string>

#include "edid_builder.h"

namespace edidtest {

// The warning and error frames of the report.
std::string warning(const std::string& text);
std::string error(const std::string& text);

// The hex dump of edid_print_helper() without store.
std::string dump(const Bytes& bytes);

// The heading of a descriptor and an undefined one.
std::string timing_heading(int number);
extern const char undefined_descriptor[];

struct Report {
  std::string check =
      "EDID header check successfully.\n"
      "EDID block 0 checksum check successfully.\n";
  std::string identification =
      "Manufacturer Name: \tABC\n"
      "Product Code: \t0x1234\n"
      "Serial Number: \t0x89ABCDEF\n"
      "Time of Manufacture: \t20 week 2020 year\n";
  std::string version = "Version: 1 Revision: 3\n";
  std::string screen_size = "Sreen Size: \t60 x 34 cm\n";
  std::string gamma = "Gamma: \t2.20\n";
  std::string video_input =
      "\tInterface: \tDigital\n"
      "\tColor Bit Depth: \tUndefined\n"
      "\tInterface Standard Supported: \tUndefined\n";
  std::string power_management =
      "\t\tStandby Mode: \tnon-supported\n"
      "\t\tSuspend Mode: \tnon-supported\n"
      "\t\tActive Off: \tVery Low Power is not supported\n";
  std::string color = "\tSupported Color Encoding Format: \tRGB 4:4:4\n";
  std::string other_features =
      "\t\tsRGB Standard: \tnot the default color space\n"
      "\t\tPreferred Timing Mode: \tnot includes the native pixel format and preferred refresh "
      "rate\n"
      "\t\tDefault GTF: \tDisplay is non-continuous frequency\n";
  std::string chromaticity =
      "\tRed_x: 0.000 \tRed_y: 0.000\n"
      "\tGreen_x: 0.000 \tGreen_y: 0.000\n"
      "\tBlue_x: 0.000 \tBlue_y: 0.000\n"
      "\tWhite_x: 0.000 \tWhite_y: 0.000\n";
  std::string established;
  std::string standard[8];
  std::string descriptors[4];
  std::string extension;  // from its banner on

  Report();
  std::string text(const Bytes& image) const;
};

// An extension's part of the report, from the banner to the END line.
struct CeaReport {
  std::string check = "EDID block 1 checksum check successfully.\n";
  std::string version = "\tCEA Version: 3\n";
  std::string features =
      "\tUnderscans IT Format:\tnon-supported\n"
      "\tBasic Audio:\t\tnon-supported\n"
      "\tYCbCr 4:4:4:\t\tnon-supported\n"
      "\tYCbCr 4:4:4:\t\tnon-supported\n"
      "\tNative Detailed Timing Number: 0\n";
  std::string data_blocks;  // each with its two empty lines
  std::string timings;      // each with its heading and its empty line

  // timings_offset: the value that is printed, from 0 to 255.
  std::string text(int timings_offset) const;
};

// first to count - 1 undefined descriptors with headings: what zero bytes give.
std::string undefined_timings(int first, int count);

// Puts the image into the store and compares the report on it.
void expect_report(const Bytes& image, const Report& report);

// The report on an extension with these data blocks and nothing else: text is what the blocks
// print, each with its two empty lines. first_timing: what the first descriptor prints.
void expect_data_blocks(const Cea& cea, const std::string& text,
                        const std::string& first_timing = undefined_descriptor);

}  // namespace edidtest

#endif  // TESTS_EDID_EXPECTED_REPORT_H
