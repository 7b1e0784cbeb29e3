#include "service/json.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace zvg {

Json document(const std::string& name, unsigned version) {
  return {{"schema", "zvg/" + name + "/" + std::to_string(version)}};
}

std::string address_text(uint64_t address) {
  return value_text(address, 0);
}

std::string value_text(uint64_t value, unsigned width) {
  char text[2 + 16 + 1];
  snprintf(text, sizeof text, "0x%0*" PRIx64, static_cast<int>(width == 0 ? 1 : 2 * width), value);
  return text;
}

std::string bytes_text(std::span<const uint8_t> bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
  }
  return text;
}

double rounded(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::round(value * scale) / scale;
}

}  // namespace zvg
