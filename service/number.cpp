#include "service/number.h"

#include <inttypes.h>

#include <charconv>

#include "service/board/error.h"

namespace zvg {

uint64_t parse_number(std::string_view name, std::string_view text, uint64_t last) {
  std::string_view digits = text;
  int base = 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  }
  uint64_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, value, base);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    throw_error(ErrorKind::bad_argument,
                "%.*s: \"%.*s\" is not a number: expected hexadecimal (0x1F) or decimal (31)",
                static_cast<int>(name.size()), name.data(), static_cast<int>(text.size()),
                text.data());
  }
  if (result.ec == std::errc::result_out_of_range || value > last) {
    throw_error(ErrorKind::bad_argument,
                "%.*s: %.*s is too large: expected 0 to 0x%" PRIX64 " (%" PRIu64 ")",
                static_cast<int>(name.size()), name.data(), static_cast<int>(text.size()),
                text.data(), last, last);
  }
  return value;
}

unsigned parse_width(std::string_view text) {
  if (text == "8") return 1;
  if (text == "16") return 2;
  if (text == "32") return 4;
  if (text == "64") return 8;
  throw_error(ErrorKind::bad_argument, "--width: \"%.*s\" is not a width: expected 8, 16, 32 or 64",
              static_cast<int>(text.size()), text.data());
}

uint64_t largest(unsigned width) {
  return width >= 8 ? UINT64_MAX : (uint64_t{1} << (8 * width)) - 1;
}

AddressRange parse_address_range(std::string_view name, std::string_view text) {
  const size_t dash = text.find('-');
  if (dash == std::string_view::npos || dash == 0) {
    const uint64_t address = parse_number(name, text);
    return {address, address, false};
  }
  const uint64_t first = parse_number(name, text.substr(0, dash));
  const uint64_t last = parse_number(name, text.substr(dash + 1));
  if (last < first) {
    throw_error(ErrorKind::bad_argument, "%.*s: %.*s ends before it begins",
                static_cast<int>(name.size()), name.data(), static_cast<int>(text.size()),
                text.data());
  }
  return {first, last, true};
}

}  // namespace zvg
