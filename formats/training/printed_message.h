// Messages in the form in which they are printed.
#ifndef ZVG_FORMATS_TRAINING_PRINTED_MESSAGE_H
#define ZVG_FORMATS_TRAINING_PRINTED_MESSAGE_H

#include <stdint.h>

#include <optional>
#include <span>
#include <string_view>

namespace zvg::formats::training {

// Reads a message's arguments back from a line that ends with it; something else may stand in front
// of it. Numbers are printed signed, so negative ones are taken, too; a column that is too narrow
// for its number runs into the next text.
//
// format: the message's, for printf, with integer conversions alone. A newline at its end is no
// part of the line. arguments: room for as many as the format prints. Returns how many there are;
// none when the line is another message's.
std::optional<size_t> read_printed(std::string_view format, std::string_view line,
                                   std::span<uint32_t> arguments);

}  // namespace zvg::formats::training

#endif  // ZVG_FORMATS_TRAINING_PRINTED_MESSAGE_H
