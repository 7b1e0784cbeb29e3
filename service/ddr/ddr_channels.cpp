#include "service/ddr/ddr_channels.h"

#include <util_zvg.h>

#include "service/board/error.h"

namespace zvg {

unsigned selected_ddr_channels(unsigned mask) {
  const unsigned count = zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS];
  const unsigned selected = mask & ((1u << count) - 1);
  if (selected == 0)
    throw_error(ErrorKind::unsupported, "the board has no DDR channel of the mask: it has 0 to %u",
                count - 1);
  return selected;
}

}  // namespace zvg
