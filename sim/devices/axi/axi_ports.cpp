#include "devices/axi/axi_ports.h"

namespace zvgsim {

namespace {

using enum AxiMonitorType;
using enum AxiLoad;

constexpr uint32_t rq302_control = 0x288800;

constexpr AxiPort rq302_ports[] = {
    {"PCIE_M", both, 0x288878, rq302_control + 36, bursty},
    {"2D", both, 0x2888E0, rq302_control + 48, idle},
    {"3D0", both, 0x288948, rq302_control + 60, saturated},
    {"3D1", both, 0x2889B0, rq302_control + 72, bursty},
    {"3D2", both, 0x288A18, rq302_control + 84, bursty},
    {"3D3", both, 0x288A80, rq302_control + 96, idle},
    {"VPU0", both, 0x288AE8, rq302_control + 108, bursty},
    {"VGA_h0", reads, 0x288B50, 0, saturated},
    {"VGA_h1", reads, 0x288B7C, 0, bursty},
    {"VGA_h2", reads, 0x288BA8, 0, idle},
    {"VGA_h5", reads, 0x288BD4, 0, idle},
    {"VGA_h6", reads, 0x288C00, 0, idle},
    {"VGA_h9", reads, 0x288C2C, 0, idle},
    {"PCIE_S", writes, 0x288C58, 0, bursty},
    {"DDRC0_0", writes, 0x288CBC, 0, saturated},
    {"DDRC0_1", writes, 0x288D20, 0, bursty},
    {"DDRC0_2", writes, 0x288D84, 0, bursty},
    {"DDRC0_3", writes, 0x288DE8, 0, idle},
    {"DDRC1_0", writes, 0x288E4C, 0, saturated},
    {"DDRC1_1", writes, 0x288EB0, 0, bursty},
    {"DDRC1_2", writes, 0x288F14, 0, bursty},
    {"DDRC1_3", writes, 0x288F78, 0, idle},
};

// Two of the monitors watch ports that have no name.
constexpr AxiPort rq301_ports[] = {
    {"PCIE", both, 0x309040, 0, bursty},
    {"2D", both, 0x3090A0, 0, idle},
    {"3D0_AXI0", both, 0x309100, 0, saturated},
    {"3D0_AXI1", both, 0x309160, 0, bursty},
    {"3D0_AXI2", both, 0x3091C0, 0, bursty},
    {"3D0_AXI3", both, 0x309220, 0, idle},
    {"3D1_AXI0", both, 0x309280, 0, bursty},
    {"3D1_AXI1", both, 0x3093E0, 0, idle},
    {"3D1_AXI2", both, 0x309440, 0, idle},
    {"3D1_AXI3", both, 0x3094A0, 0, idle},
    {"", both, 0x309500, 0, idle},
    {"", both, 0x309560, 0, idle},
    {"VGA_h0", reads, 0x3096E0, 0, saturated},
    {"VGA_h1", reads, 0x309700, 0, bursty},
    {"VGA_h2", reads, 0x309720, 0, idle},
    {"VGA_h3", reads, 0x309740, 0, idle},
    {"VGA_h4", reads, 0x309760, 0, idle},
    {"VGA_h5", reads, 0x309780, 0, idle},
    {"VGA_h6", reads, 0x3097A0, 0, idle},
    {"VGA_h7", reads, 0x3097C0, 0, idle},
    {"VGA_h8", reads, 0x3097E0, 0, idle},
    {"VGA_h9", reads, 0x309800, 0, idle},
    {"VGA_h10", reads, 0x309820, 0, idle},
    {"VGA_h11", reads, 0x309840, 0, idle},
    {"VGA_n0", writes, 0x309860, 0, bursty},
    {"VGA_n1", writes, 0x309890, 0, idle},
    {"VGA_n2", writes, 0x3098C0, 0, idle},
    {"VGA_n3", writes, 0x3098F0, 0, idle},
};

}  // namespace

std::span<const AxiPort> axi_ports(Generation generation) {
  if (generation == Generation::rq302) return rq302_ports;
  return rq301_ports;
}

}  // namespace zvgsim
