// A DDR PHY: blocks that share its range, one at a time, and the mailbox of the training firmware.
#ifndef ZVG_HW_BLOCKS_DDR_PHY_H
#define ZVG_HW_BLOCKS_DDR_PHY_H

#include "hw/register.h"

namespace zvg::hw::ddr_phy {

// The mailbox.
enum Offset : uint32_t {
  mailbox_status = 0x10,
  acknowledge = 0xC4,
  word_low = 0xC8,
  word_high = 0xD0,
};

constexpr uint32_t status_empty = 1;

constexpr uint32_t word_taken = 0;
constexpr uint32_t burst_done = 1;

// The word in front of a message's identifier.
constexpr uint32_t message_marker = 8;

namespace map {

inline constexpr Value status_values[] = {{0, "word_waits"}, {1, "empty"}};
inline constexpr Value acknowledge_values[] = {{word_taken, "word_taken"},
                                               {burst_done, "burst_done"}};

inline constexpr Field status_fields[] = {
    field("empty", status_empty, "whether the firmware has a word", status_values),
};
inline constexpr Field acknowledge_fields[] = {
    field("step", 1, "what the host has done", acknowledge_values),
};

inline constexpr Register registers[] = {
    {"mailbox_status", mailbox_status, 32, ro, "state of the mailbox", status_fields},
    {"acknowledge", acknowledge, 32, rw, "answers the firmware", acknowledge_fields,
     Effect::write_starts},
    {"word_low", word_low, 32, ro, "message word, low part"},
    {"word_high", word_high, 32, ro, "message word, upper part"},
};
inline constexpr Block block = {"ddr_phy", Space::mmio,  "DDR PHY",
                                registers, ddr_phy_size, &Chip::ddr_phys};

}  // namespace map

}  // namespace zvg::hw::ddr_phy

#endif  // ZVG_HW_BLOCKS_DDR_PHY_H
