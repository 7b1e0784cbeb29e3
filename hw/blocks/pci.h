// The card's PCI configuration space: a header of type 0.
#ifndef ZVG_HW_BLOCKS_PCI_H
#define ZVG_HW_BLOCKS_PCI_H

#include "hw/register.h"

namespace zvg::hw::pci {

enum Offset : uint32_t {
  identity = 0x00,
  command_status = 0x04,
  class_revision = 0x08,
  cache_header = 0x0C,
  bar0 = 0x10,  // video memory
  bar2 = 0x18,  // registers
  subsystem = 0x2C,
  interrupt = 0x3C,
};

constexpr uint32_t header_size = 0x40;
constexpr uint32_t size = 0x100;

constexpr uint32_t command_bits = 0x0547;  // I/O, memory, master, parity, SERR, INTx
constexpr uint32_t class_vga = 0x030000;
constexpr uint32_t bar_prefetchable = 0x8;

namespace map {

inline constexpr Value class_values[] = {{class_vga, "vga"}};

inline constexpr Field identity_fields[] = {
    field("device", 0xFFFF0000, "device id"),
    field("vendor", 0x0000FFFF, "vendor id"),
};
inline constexpr Field command_fields[] = {
    field("status", 0xFFFF0000, "what has happened"),
    field("interrupts_off", 1 << 10, "no INTx"),
    field("serr", 1 << 8, "reports system errors"),
    field("parity", 1 << 6, "reports parity errors"),
    field("master", 1 << 2, "may be a bus master"),
    field("memory", 1 << 1, "answers memory accesses"),
    field("io", 1 << 0, "answers I/O accesses"),
};
inline constexpr Field class_fields[] = {
    field("class", 0xFFFFFF00, "class of the device", class_values),
    field("revision", 0x000000FF, "revision of the chip"),
};
inline constexpr Field cache_fields[] = {
    field("header_type", 0x00FF0000, "0"),
    field("line_size", 0x000000FF, "of the cache"),
};
inline constexpr Field bar_fields[] = {
    field("address", 0xFFFFFFF0, "where the host has the space"),
    field("prefetchable", bar_prefetchable, "reads have no effect"),
};
inline constexpr Field subsystem_fields[] = {
    field("subsystem", 0xFFFF0000, "id of the card"),
    field("vendor", 0x0000FFFF, "vendor of the card"),
};
inline constexpr Field interrupt_fields[] = {
    field("pin", 0x0000FF00, "1 is INTA"),
    field("line", 0x000000FF, "what the host has given it"),
};

inline constexpr Register registers[] = {
    {"identity", identity, 32, ro, "who made the chip", identity_fields},
    {"command_status", command_status, 32, rw, "command and status", command_fields},
    {"class_revision", class_revision, 32, ro, "what it is", class_fields},
    {"cache_header", cache_header, 32, rw, "cache line and header", cache_fields},
    {"bar0", bar0, 32, rw, "place of the video memory", bar_fields},
    {"bar2", bar2, 32, rw, "place of the registers", bar_fields},
    {"subsystem", subsystem, 32, ro, "who made the card", subsystem_fields},
    {"interrupt", interrupt, 32, rw, "interrupt of the card", interrupt_fields},
};
inline constexpr Block block = {"pci",     Space::pci, "PCI configuration space",
                                registers, size,       &Chip::vga};

}  // namespace map

}  // namespace zvg::hw::pci

#endif  // ZVG_HW_BLOCKS_PCI_H
