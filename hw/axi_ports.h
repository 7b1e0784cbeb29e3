// The ports of the chip's bus that have a monitor, by generation and kind of monitor. RQ302 has a
// bit for each in its flag registers, in the order of both, reads, mixed.
#ifndef ZVG_HW_AXI_PORTS_H
#define ZVG_HW_AXI_PORTS_H

#include "hw/bases.h"

namespace zvg::hw {

// Two of the monitors watch ports that have no name.
inline constexpr Place rq301_axi_both_ports[] = {
    {0x309040, "PCIE"},
    {0x3090A0, "2D"},
    {0x309100, "3D0_AXI0"},
    {0x309160, "3D0_AXI1"},
    {0x3091C0, "3D0_AXI2"},
    {0x309220, "3D0_AXI3"},
    {0x309280, "3D1_AXI0"},
    {0x3093E0, "3D1_AXI1"},
    {0x309440, "3D1_AXI2"},
    {0x3094A0, "3D1_AXI3"},
    {0x309500},
    {0x309560},
};

inline constexpr Place rq301_axi_read_ports[] = {
    {0x3096E0, "VGA_h0"}, {0x309700, "VGA_h1"}, {0x309720, "VGA_h2"},  {0x309740, "VGA_h3"},
    {0x309760, "VGA_h4"}, {0x309780, "VGA_h5"}, {0x3097A0, "VGA_h6"},  {0x3097C0, "VGA_h7"},
    {0x3097E0, "VGA_h8"}, {0x309800, "VGA_h9"}, {0x309820, "VGA_h10"}, {0x309840, "VGA_h11"},
};

inline constexpr Place rq301_axi_write_ports[] = {
    {0x309860, "VGA_n0"},
    {0x309890, "VGA_n1"},
    {0x3098C0, "VGA_n2"},
    {0x3098F0, "VGA_n3"},
};

inline constexpr Place rq302_axi_both_ports[] = {
    {0x288878, "PCIE_M"}, {0x2888E0, "2D"},  {0x288948, "3D0"},  {0x2889B0, "3D1"},
    {0x288A18, "3D2"},    {0x288A80, "3D3"}, {0x288AE8, "VPU0"},
};

inline constexpr Place rq302_axi_read_ports[] = {
    {0x288B50, "VGA_h0"}, {0x288B7C, "VGA_h1"}, {0x288BA8, "VGA_h2"},
    {0x288BD4, "VGA_h5"}, {0x288C00, "VGA_h6"}, {0x288C2C, "VGA_h9"},
};

inline constexpr Place rq302_axi_mixed_ports[] = {
    {0x288C58, "PCIE_S"},  {0x288CBC, "DDRC0_0"}, {0x288D20, "DDRC0_1"},
    {0x288D84, "DDRC0_2"}, {0x288DE8, "DDRC0_3"}, {0x288E4C, "DDRC1_0"},
    {0x288EB0, "DDRC1_1"}, {0x288F14, "DDRC1_2"}, {0x288F78, "DDRC1_3"},
};

}  // namespace zvg::hw

#endif  // ZVG_HW_AXI_PORTS_H
