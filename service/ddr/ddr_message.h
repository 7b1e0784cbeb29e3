// The catalogues of the DDR training firmware's messages.
#ifndef ZVG_SERVICE_DDR_DDR_MESSAGE_H
#define ZVG_SERVICE_DDR_DDR_MESSAGE_H

#include <util_zvg.h>

#include <cstdint>
#include <span>

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

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_MESSAGE_H
