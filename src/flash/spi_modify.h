// What erasing and programming have in common.
#ifndef ZVG_FLASH_SPI_MODIFY_H
#define ZVG_FLASH_SPI_MODIFY_H

#include "flash/spi_controller.h"

namespace zvg::flash {

// Configures the controller for bytes and sends a write enable. When that does not get out, says so
// and carries on: the steps after it fail by themselves if they have to.
void configure_to_modify();

// Configures the controller for bytes, as between two pages, and sends a write enable. Returns
// whether it got out.
bool enable_write();

}  // namespace zvg::flash

#endif  // ZVG_FLASH_SPI_MODIFY_H
