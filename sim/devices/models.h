// Every model that there is.
#ifndef ZVGSIM_DEVICES_MODELS_H
#define ZVGSIM_DEVICES_MODELS_H

#include <span>

#include "board/model.h"

namespace zvgsim {

// In the order in which they are read, and placed on a board.
std::span<const Model> models();

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_MODELS_H
