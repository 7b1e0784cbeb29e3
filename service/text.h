// Texts that messages and documents are made of.
#ifndef ZVG_SERVICE_TEXT_H
#define ZVG_SERVICE_TEXT_H

#include <cstdint>
#include <string>

namespace zvg {

// Lower-case hex with 0x and at least that many digits.
std::string hex(uint64_t value, int digits = 1);

// The time as ISO 8601 in UTC: "2026-01-31T12:00:00.000Z".
std::string timestamp();

}  // namespace zvg

#endif  // ZVG_SERVICE_TEXT_H
