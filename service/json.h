// The documents that all faces share. Each begins with its schema's name and number: a field may be
// added under the same number, nothing else may change.
#ifndef ZVG_SERVICE_JSON_H
#define ZVG_SERVICE_JSON_H

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>

namespace zvg {

using Json = nlohmann::ordered_json;

// A new document: {"schema": "zvg/NAME/1"}.
Json document(const std::string& name, unsigned version = 1);

// The shortest hexadecimal text of an address: "0x308010".
std::string address_text(uint64_t address);

// A register's value, padded to its width in bytes: "0x00000055".
std::string value_text(uint64_t value, unsigned width);

// Bytes as one hexadecimal text: "00ffff".
std::string bytes_text(std::span<const uint8_t> bytes);

// A number rounded to so many decimals: what the sensor resolves, and not what a double holds.
double rounded(double value, int decimals);

}  // namespace zvg

#endif  // ZVG_SERVICE_JSON_H
