// The indexed CRTC registers of a driver node, folded in its log.
#ifndef TESTS_DISPLAY_PANEL_VGA_NODE_H
#define TESTS_DISPLAY_PANEL_VGA_NODE_H

#include <stdio.h>

#include <array>

#include "support/log.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace zvgtest {

class VgaRegisters {
 public:
  // Puts the registers behind the index and data ports of a node, before whatever it has.
  explicit VgaRegisters(RegisterNode& node) {
    const auto read = node.on_read;
    node.on_read = [=, this](uint64_t offset, uint64_t* value) {
      if (offset == 0x103D5) {
        *value = crtc[index_];
        return true;
      }
      if (offset == 0x103CC) {
        *value = misc | 1;  // colour addressing
        return true;
      }
      return read && read(offset, value);
    };
    const auto write = node.on_write;
    node.on_write = [=, this](uint64_t offset, uint64_t value) {
      if (offset == 0x103D4) index_ = static_cast<uint8_t>(value);
      if (offset == 0x103D5) crtc[index_] = static_cast<uint8_t>(value);
      if (write) write(offset, value);
    };
    // The first access of a process looks at the addressing, too.
    uint8_t unused;
    zvgCrtcReadByte(0, &unused);
    node.take();
  }

  void pair(unsigned index, unsigned value) {
    crtc[index] = static_cast<uint8_t>(value >> 8);
    crtc[index + 1] = static_cast<uint8_t>(value);
  }

  std::array<uint8_t, 256> crtc{};
  uint8_t misc = 0;

  // Index and data accesses as "crtc? 0x60" and "crtc 0xc0=0x12".
  static Log fold(const Log& plain) {
    Log lines;
    for (size_t i = 0; i < plain.size(); ++i) {
      unsigned index = 0, value = 0;
      const bool selects = sscanf(plain[i].c_str(), "w1 0x103d4 0x%x", &index) == 1;
      if (selects && i + 1 < plain.size() && plain[i + 1] == "r1 0x103d5") {
        lines.push_back(text("crtc? 0x%x", index));
        ++i;
      } else if (selects && i + 1 < plain.size() &&
                 sscanf(plain[i + 1].c_str(), "w1 0x103d5 0x%x", &value) == 1) {
        lines.push_back(text("crtc 0x%x=0x%x", index, value));
        ++i;
      } else {
        lines.push_back(plain[i]);
      }
    }
    return lines;
  }

 private:
  uint8_t index_ = 0;
};

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_PANEL_VGA_NODE_H
