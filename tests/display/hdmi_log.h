// The accesses of an HDMI transmitter, written as the register node logs them.
#ifndef TESTS_DISPLAY_HDMI_LOG_H
#define TESTS_DISPLAY_HDMI_LOG_H

#include <stdio.h>

#include <string>
#include <vector>

namespace zvgtest {

using Log = std::vector<std::string>;

inline std::string read1(unsigned hdmi, unsigned reg) {
  char text[64];
  snprintf(text, sizeof text, "r1 0x%x", ((hdmi + 0x11) << 16) + reg);
  return text;
}

inline std::string write1(unsigned hdmi, unsigned reg, unsigned value) {
  char text[64];
  snprintf(text, sizeof text, "w1 0x%x 0x%x", ((hdmi + 0x11) << 16) + reg, value);
  return text;
}

inline Log join(std::initializer_list<Log> parts) {
  Log all;
  for (const Log& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_HDMI_LOG_H
