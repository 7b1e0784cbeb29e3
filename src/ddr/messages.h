// The catalogue of messages that belongs to the training at hand.
#ifndef ZVG_DDR_MESSAGES_H
#define ZVG_DDR_MESSAGES_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::ddr {

// Makes the catalogue of a training type (enum zvg_ddr_training) the current one. False for a type
// that there is not; the current one then stays.
bool select_catalogue(int type);

// The record that the identifier is found at. Null when there is none.
const zvg_ddr_message* find_message(uint32_t id);

}  // namespace zvg::ddr

#endif  // ZVG_DDR_MESSAGES_H
