// The bus monitors that came with RQ302: a counter a word, over a period that can be set.
#ifndef ZVG_HW_BLOCKS_AXI_MONITOR_RQ302_H
#define ZVG_HW_BLOCKS_AXI_MONITOR_RQ302_H

#include "hw/register.h"

namespace zvg::hw::axi_rq302 {

// Common to all monitors. The flags have a bit a port.
enum Offset : uint32_t {
  control = 0x000,
  timeout_flags = 0x004,
  period = 0x008,  // cycles
  data_update_flags = 0x7DC,
};
constexpr uint32_t control_size = 0x800;

// The last addresses of a port: two low words, and the high bytes of both.
enum SlotOffset : uint32_t { write_slot = 0, read_slot = 4, slot_high_bytes = 8 };
constexpr uint32_t slot_words = 3;
constexpr uint32_t slots_size = 4 * slot_words;
constexpr uint32_t write_slot_high = 0x00FF;
constexpr uint32_t read_slot_high = 0xFF00;

// Counters of a monitor, in words.
constexpr uint32_t both_words = 26;
constexpr uint32_t reads_words = 11;
constexpr uint32_t mixed_words = 25;

// Two numbers of one word.
constexpr uint32_t maximum = 0xFFFF0000;
constexpr uint32_t minimum = 0x0000FFFF;

namespace map {

inline constexpr Field latency_fields[] = {
    field("max", maximum, "longest, in cycles"),
    field("min", minimum, "shortest, in cycles"),
};
inline constexpr Field outstanding_fields[] = {
    field("max", 0x00FF0000, "most"),
    field("min", minimum, "fewest"),
};
inline constexpr Field slot_fields[] = {
    field("read", read_slot_high, "address bits 39 to 32 of the read"),
    field("write", write_slot_high, "address bits 39 to 32 of the write"),
};
inline constexpr Field flag_fields[] = {field("ports", 0x003FFFFF, "a bit a port")};

inline constexpr Register control_registers[] = {
    {"control", control, 32, rw, "runs the monitors"},
    {"timeouts", timeout_flags, 32, ro, "ports with a timeout", flag_fields},
    {"period", period, 32, rw, "length of a period, in cycles"},
    {"updates", data_update_flags, 32, ro, "ports with new counts", flag_fields,
     Effect::read_takes},
};
inline constexpr Register slot_registers[] = {
    {"write_slot", write_slot, 32, ro, "low word of the last write's address"},
    {"read_slot", read_slot, 32, ro, "low word of the last read's address"},
    {"slot_high_bytes", slot_high_bytes, 32, ro, "high bytes of both addresses", slot_fields},
};
inline constexpr Register both_registers[] = {
    {"active", 4 * 0, 32, ro, "cycles with any traffic"},
    {"write_active", 4 * 1, 32, ro, "cycles with writes"},
    {"read_active", 4 * 2, 32, ro, "cycles with reads"},
    {"write_operations", 4 * 3, 32, ro, "writes that were begun"},
    {"read_operations", 4 * 4, 32, ro, "reads that were begun"},
    {"write_latency", 4 * 5, 32, ro, "latencies of all writes"},
    {"write_transactions", 4 * 6, 32, ro, "writes"},
    {"write_bytes_sum", 4 * 7, 32, ro, "bytes that were written"},
    {"write_outstanding", 4 * 8, 32, ro, "sum of outstanding writes"},
    {"write_full", 4 * 9, 32, ro, "beats with all bytes"},
    {"write_partial", 4 * 10, 32, ro, "beats with some of the bytes"},
    {"write_bursts", 4 * 11, 32, ro, "writes of several beats"},
    {"write_singles", 4 * 12, 32, ro, "writes of one beat"},
    {"write_bandwidth_max", 4 * 13, 32, ro, "most bytes written in a period"},
    {"write_latency_extremes", 4 * 14, 32, ro, "shortest and longest latency of a write",
     latency_fields},
    {"write_outstanding_extremes", 4 * 15, 32, ro, "fewest and most outstanding writes",
     outstanding_fields},
    {"write_data", 4 * 16, 32, ro, "cycles with write data"},
    {"read_latency", 4 * 17, 32, ro, "latencies of all reads"},
    {"read_transactions", 4 * 18, 32, ro, "reads"},
    {"read_data", 4 * 19, 32, ro, "cycles with read data"},
    {"read_outstanding", 4 * 20, 32, ro, "sum of outstanding reads"},
    {"read_bursts", 4 * 21, 32, ro, "reads of several beats"},
    {"read_singles", 4 * 22, 32, ro, "reads of one beat"},
    {"read_bandwidth_max", 4 * 23, 32, ro, "most bytes read in a period"},
    {"read_latency_extremes", 4 * 24, 32, ro, "shortest and longest latency of a read",
     latency_fields},
    {"read_outstanding_extremes", 4 * 25, 32, ro, "fewest and most outstanding reads",
     outstanding_fields},
};
inline constexpr Register reads_registers[] = {
    {"read_active", 4 * 0, 32, ro, "cycles with reads"},
    {"read_operations", 4 * 1, 32, ro, "reads that were begun"},
    {"read_latency", 4 * 2, 32, ro, "latencies of all reads"},
    {"read_transactions", 4 * 3, 32, ro, "reads"},
    {"read_data", 4 * 4, 32, ro, "cycles with read data"},
    {"read_outstanding", 4 * 5, 32, ro, "sum of outstanding reads"},
    {"read_bursts", 4 * 6, 32, ro, "reads of several beats"},
    {"read_singles", 4 * 7, 32, ro, "reads of one beat"},
    {"read_bandwidth_max", 4 * 8, 32, ro, "most bytes read in a period"},
    {"read_latency_extremes", 4 * 9, 32, ro, "shortest and longest latency of a read",
     latency_fields},
    {"read_outstanding_extremes", 4 * 10, 32, ro, "fewest and most outstanding reads",
     outstanding_fields},
};
inline constexpr Register mixed_registers[] = {
    {"write_active", 4 * 0, 32, ro, "cycles with writes"},
    {"read_active", 4 * 1, 32, ro, "cycles with reads"},
    {"write_operations", 4 * 2, 32, ro, "writes that were begun"},
    {"read_operations", 4 * 3, 32, ro, "reads that were begun"},
    {"write_latency", 4 * 4, 32, ro, "latencies of all writes"},
    {"write_transactions", 4 * 5, 32, ro, "writes"},
    {"write_bytes_sum", 4 * 6, 32, ro, "bytes that were written"},
    {"write_outstanding", 4 * 7, 32, ro, "sum of outstanding writes"},
    {"write_full", 4 * 8, 32, ro, "beats with all bytes"},
    {"write_partial", 4 * 9, 32, ro, "beats with some of the bytes"},
    {"write_bursts", 4 * 10, 32, ro, "writes of several beats"},
    {"write_singles", 4 * 11, 32, ro, "writes of one beat"},
    {"write_bandwidth_max", 4 * 12, 32, ro, "most bytes written in a period"},
    {"write_latency_extremes", 4 * 13, 32, ro, "shortest and longest latency of a write",
     latency_fields},
    {"write_outstanding_extremes", 4 * 14, 32, ro, "fewest and most outstanding writes",
     outstanding_fields},
    {"write_data", 4 * 15, 32, ro, "cycles with write data"},
    {"read_latency", 4 * 16, 32, ro, "latencies of all reads"},
    {"read_transactions", 4 * 17, 32, ro, "reads"},
    {"read_data", 4 * 18, 32, ro, "cycles with read data"},
    {"read_outstanding", 4 * 19, 32, ro, "sum of outstanding reads"},
    {"read_bursts", 4 * 20, 32, ro, "reads of several beats"},
    {"read_singles", 4 * 21, 32, ro, "reads of one beat"},
    {"read_bandwidth_max", 4 * 22, 32, ro, "most bytes read in a period"},
    {"read_latency_extremes", 4 * 23, 32, ro, "shortest and longest latency of a read",
     latency_fields},
    {"read_outstanding_extremes", 4 * 24, 32, ro, "fewest and most outstanding reads",
     outstanding_fields},
};
static_assert(sizeof both_registers / sizeof *both_registers == both_words);
static_assert(sizeof reads_registers / sizeof *reads_registers == reads_words);
static_assert(sizeof mixed_registers / sizeof *mixed_registers == mixed_words);

inline constexpr Block control_block = {
    "axi_control",     Space::mmio,  "what all bus monitors share",
    control_registers, control_size, &Chip::rq302_axi_control};
inline constexpr Block slot_block = {"axi_slots",    Space::mmio, "last addresses of a port",
                                     slot_registers, slots_size,  &Chip::rq302_axi_slots};
inline constexpr Block both_block = {
    "axi",          Space::mmio,    "bus monitor of both directions",
    both_registers, 4 * both_words, &Chip::rq302_axi_both};
inline constexpr Block reads_block = {"axi_reads",     Space::mmio,     "bus monitor of reads",
                                      reads_registers, 4 * reads_words, &Chip::rq302_axi_reads};
inline constexpr Block mixed_block = {
    "axi_mixed",     Space::mmio,     "bus monitor of both directions without their sum",
    mixed_registers, 4 * mixed_words, &Chip::rq302_axi_mixed};

}  // namespace map

}  // namespace zvg::hw::axi_rq302

#endif  // ZVG_HW_BLOCKS_AXI_MONITOR_RQ302_H
