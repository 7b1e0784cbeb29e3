// Texts that messages and documents are made of.
#ifndef ZVG_SERVICE_TEXT_H
#define ZVG_SERVICE_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace zvg {

// Lower-case hex with 0x and at least that many digits.
std::string hex(uint64_t value, int digits = 1);

// The time as ISO 8601 in UTC: "2026-01-31T12:00:00.000Z".
std::string timestamp();

// A text as a terminal may show it, whoever made it: control characters but line feeds and tabs,
// and what is no UTF-8, as "\x1b" or, above the first 256 bytes, "\u0085".
std::string printable(std::string_view text);

// The same of one character at a text's beginning, which is appended; for texts that come in
// pieces. Returns its bytes, or 0 when it may need more of them than there are.
//
// last: the text ends there.
size_t append_printable(std::string_view text, bool last, std::string* shown);

}  // namespace zvg

#endif  // ZVG_SERVICE_TEXT_H
