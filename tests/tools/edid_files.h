// EDID images for tests of the tool.
#ifndef TESTS_TOOLS_EDID_FILES_H
#define TESTS_TOOLS_EDID_FILES_H

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

namespace zvgtest {

// A monitor of the virtual boards, by its file's name.
inline std::string monitor_path(const std::string& name) {
  return std::string(ZVG_MONITORS) + "/" + name + ".edid";
}

inline std::string monitor_bytes(const std::string& name) {
  std::ifstream file(monitor_path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string as_hex(const std::string& bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text.push_back(digits[static_cast<uint8_t>(c) >> 4]);
    text.push_back(digits[static_cast<uint8_t>(c) & 15]);
  }
  return text;
}

}  // namespace zvgtest

#endif  // TESTS_TOOLS_EDID_FILES_H
