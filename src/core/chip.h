// The chip that the connection leads to.
#ifndef ZVG_CORE_CHIP_H
#define ZVG_CORE_CHIP_H

#include "core/connection.h"
#include "hw/generations.h"

namespace zvg::core {

// Null for an id that no generation has.
inline const hw::Chip* known_chip() {
  return hw::chip_with_id(g_connection.device_id);
}

// fallback: what such an id counts as.
inline const hw::Chip& chip_or(hw::Generation fallback) {
  const hw::Chip* const known = known_chip();
  return known != nullptr ? *known : hw::chip_of(fallback);
}

inline const hw::Chip& chip() {
  return chip_or(hw::Generation::rq301);
}

}  // namespace zvg::core

#endif  // ZVG_CORE_CHIP_H
