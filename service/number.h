// Numbers as people write them: decimal, or hexadecimal with 0x. Every function throws an
// Error (bad_argument) that names the argument and says what was expected.
#ifndef ZVG_SERVICE_NUMBER_H
#define ZVG_SERVICE_NUMBER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "service/text.h"

namespace zvg {

// name: what the error text calls the argument. last: the largest number that is accepted.
uint64_t parse_number(std::string_view name, std::string_view text, uint64_t last = UINT64_MAX);

// The widths of an access, given in bits and kept in bytes.
unsigned parse_width(std::string_view text);

// The largest value of an access of that many bytes.
uint64_t largest(unsigned width);

// "A" or "A-B", both ends included.
struct AddressRange {
  uint64_t first;
  uint64_t last;
  bool is_range;  // "A-B" was given
};
AddressRange parse_address_range(std::string_view name, std::string_view text);

}  // namespace zvg

#endif  // ZVG_SERVICE_NUMBER_H
