#include "expected_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {

namespace {

std::string format(const char* text, unsigned value) {
  char buffer[80];
  snprintf(buffer, sizeof buffer, text, value);
  return buffer;
}

std::string banner(const std::string& middle) {
  return std::string(60, '*') + "\n" + middle + "\n" + std::string(60, '*') + "\n";
}

std::string heading(const std::string& text) {
  return "\n\n" + text + "\n\n";
}

}  // namespace

const char undefined_descriptor[] = "\033[1;33m*WARN*Detailed Block type is undefined\n\033[0m";

std::string warning(const std::string& text) {
  return "\033[1;33m*WARN*" + text + "\n\033[0m";
}

std::string error(const std::string& text) {
  return "\033[1;31m*ERROR*" + text + "\n\033[0m";
}

std::string dump(const Bytes& bytes) {
  std::string text =
      "       0      1      2      3      4      5      6     7      8      9      a      b      c "
      "  "
      "   d      e      f \n";
  text += std::string(114, '*') + "\n";
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i % 16 == 0) text += format("%04x: ", static_cast<unsigned>(i));
    text += format("0x%02X,  ", bytes[i]);
    if (i % 16 == 15) text += "\n";
  }
  return text;
}

std::string timing_heading(int number) {
  return "-------------------Detailed Timing Block " + std::to_string(number) +
         "-------------------------\n";
}

std::string undefined_timings(int first, int count) {
  std::string text;
  for (int i = first; i < count; ++i) text += timing_heading(i) + undefined_descriptor + "\n";
  return text;
}

Report::Report() {
  for (int i = 0; i < 8; ++i) {
    standard[i] = warning("Standard Timings " + std::to_string(i) + " is bad or unused");
  }
  for (std::string& descriptor : descriptors) descriptor = undefined_descriptor;
}

std::string Report::text(const Bytes& image) const {
  std::string text = dump(image);
  text += banner("*                     BASE BLOCK                           *");
  text += check + identification + version + screen_size + gamma;
  text += heading("Video Input Definition") + video_input;
  text += heading("Feature Support") + "\tDisplay Power Management\n" + power_management;
  text += "\n" + color + "\n\tOther Feature Support\n" + other_features;
  text += heading("Chromaticity and Default White Point") + chromaticity;
  text += heading("Established Timing") + established;
  text += heading("Standard Timing");
  for (const std::string& line : standard) text += line;
  text += "\n\n";
  for (int i = 0; i < 4; ++i) text += timing_heading(i) + descriptors[i] + "\n";
  return text + extension;
}

std::string CeaReport::text(int timings_offset) const {
  return banner("*                     BLOCK 01                             *") + check +
         "CEA Extension General Info\n" + version +
         "\tStart of Detailed Timing Data: " + std::to_string(timings_offset) + "\n" + features +
         "\n\n" + data_blocks + timings +
         "--------------------------END-------------------------\n";
}

void expect_report(const Bytes& image, const Report& report) {
  ASSERT_EQ(image.size(), 256u);
  g_last_edid = last_edid;
  std::copy(image.begin(), image.end(), g_last_edid);
  int result = -1;
  const zvgtest::Output output = zvgtest::capture([&] { result = do_edid_parse(nullptr); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.out, report.text(image));
  EXPECT_EQ(output.err, "");
}

void expect_data_blocks(const Cea& cea, const std::string& text, const std::string& first_timing) {
  CeaReport expected;
  expected.data_blocks = text;
  const int timings = (128 - cea.timings_offset()) / 18;
  if (timings > 0) expected.timings = timing_heading(0) + first_timing + "\n";
  expected.timings += undefined_timings(1, timings);
  Report report;
  report.extension = expected.text(cea.timings_offset());
  expect_report(Edid().extension(cea.block()).image(), report);
}

}  // namespace edidtest
