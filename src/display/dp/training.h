// What a sink says that it can do, which both the training and the mode set start from.
#ifndef ZVG_DISPLAY_DP_TRAINING_H
#define ZVG_DISPLAY_DP_TRAINING_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::display::dp {

struct SinkCapabilities {
  bool known;  // else the sink did not answer, and the lowest rate is taken
  uint8_t rate_code;
  uint32_t equalisation_ticks;
};

// Reads and prints the capabilities, and takes link clock and lanes over into the record.
//
// fallback: the line that is printed when the sink does not answer.
SinkCapabilities read_capabilities(zvg_dptx* device, const char* fallback);

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_TRAINING_H
