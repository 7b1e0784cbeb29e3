// The messages of the DDR training firmware, as the library has and prints them.
#ifndef ZVG_SERVICE_DDR_DDR_MESSAGE_H
#define ZVG_SERVICE_DDR_DDR_MESSAGE_H

#include <util_zvg.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zvg {

struct DdrCatalogue {
  const char* name;  // as the command line has it
  const char* description;
  std::span<const zvg_ddr_message> records;
};

// The library's catalogues; the first is the one of 2D training.
std::span<const DdrCatalogue> ddr_catalogues();

// The record of an identifier; null when the catalogue has none.
const zvg_ddr_message* find_message(const DdrCatalogue& catalogue, uint32_t id);

// Reads a message's arguments back from a line that was printed with its format.
class PrintedMessage {
 public:
  explicit PrintedMessage(std::string_view format);

  // The arguments, when the line ends with the message; something else may stand in front of it.
  std::optional<std::vector<uint32_t>> match(std::string_view line) const;

 private:
  struct Number {
    bool hexadecimal;
    std::string behind;  // the text up to the next number
  };

  std::string begin_;
  std::vector<Number> numbers_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_MESSAGE_H
