// The library's sampling loop, which by itself never ends.
#ifndef ZVG_SERVICE_AXI_AXI_SAMPLER_H
#define ZVG_SERVICE_AXI_AXI_SAMPLER_H

#include <cstdint>
#include <functional>
#include <string>

namespace zvg {

// Runs the loop on a thread, into the current folder, until each(samples, updates) returns false.
// It is called after every sample, on that thread: how many there are now, and the data-update
// flags of the last one. What it throws ends the loop, too, and is thrown here. What the library
// prints is dropped.
void sample_axi(std::string suffix, const std::function<bool(uint32_t, uint32_t)>& each);

}  // namespace zvg

#endif  // ZVG_SERVICE_AXI_AXI_SAMPLER_H
