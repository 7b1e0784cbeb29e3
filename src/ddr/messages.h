// The catalogue of messages that belongs to the training at hand.
#ifndef ZVG_DDR_MESSAGES_H
#define ZVG_DDR_MESSAGES_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::ddr {

// A message's identifier ends with the number of its arguments.
constexpr uint32_t argument_count(uint32_t id) {
  return id & 0xFF;
}
constexpr unsigned most_arguments = 0xFF;

// Makes the catalogue of a training type (enum zvg_ddr_training) the current one. False for a type
// that there is not; the current one then stays.
bool select_catalogue(int type);

// The record that the identifier is found at. Null when there is none.
const zvg_ddr_message* find_message(uint32_t id);

}  // namespace zvg::ddr

#endif  // ZVG_DDR_MESSAGES_H
