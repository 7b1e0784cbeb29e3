// The DDR channels that a mask selects.
#ifndef ZVG_SERVICE_DDR_DDR_CHANNELS_H
#define ZVG_SERVICE_DDR_DDR_CHANNELS_H

namespace zvg {

inline constexpr unsigned max_ddr_channels = 4;
inline constexpr unsigned every_ddr_channel = (1u << max_ddr_channels) - 1;

// The channels of the mask that the board has. Throws an Error when there is none: the library
// would do nothing and call it a success.
unsigned selected_ddr_channels(unsigned mask);

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_CHANNELS_H
