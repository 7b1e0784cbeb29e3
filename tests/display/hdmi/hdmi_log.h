// The accesses of an HDMI transmitter, written as the register node logs them.
#ifndef TESTS_DISPLAY_HDMI_HDMI_LOG_H
#define TESTS_DISPLAY_HDMI_HDMI_LOG_H

#include <string>

#include "support/log.h"

namespace zvgtest {

inline std::string read1(unsigned hdmi, unsigned reg) {
  return text("r1 0x%x", ((hdmi + 0x11) << 16) + reg);
}

inline std::string write1(unsigned hdmi, unsigned reg, unsigned value) {
  return text("w1 0x%x 0x%x", ((hdmi + 0x11) << 16) + reg, value);
}

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_HDMI_HDMI_LOG_H
