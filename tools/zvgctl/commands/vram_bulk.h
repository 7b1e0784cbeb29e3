// Whole stretches of video memory, in pieces, so that progress shows and failures do not drown.
#ifndef ZVGCTL_VRAM_BULK_H
#define ZVGCTL_VRAM_BULK_H

#include <cstdint>
#include <functional>
#include <span>

#include "zvgctl/connection.h"

namespace zvgctl {

// All throw a Failure as soon as a piece did not get through whole. Offsets and sizes in bytes,
// multiples of 4, within the video memory.

// sink gets the pieces in order.
void read_vram_bulk(Connection& connection, uint64_t offset, uint64_t size,
                    const std::function<void(std::span<const uint32_t>)>& sink);

// source fills the pieces in order, each completely.
void write_vram_bulk(Connection& connection, uint64_t offset, uint64_t size,
                     const std::function<void(std::span<uint32_t>)>& source);

void fill_vram(Connection& connection, uint64_t offset, uint64_t size, uint32_t value);

}  // namespace zvgctl

#endif  // ZVGCTL_VRAM_BULK_H
