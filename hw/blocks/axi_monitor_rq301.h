// The bus monitors that came with RQ301: packed counters, which always run.
#ifndef ZVG_HW_BLOCKS_AXI_MONITOR_RQ301_H
#define ZVG_HW_BLOCKS_AXI_MONITOR_RQ301_H

#include "hw/register.h"

namespace zvg::hw::axi_rq301 {

// Of a monitor of both directions. One of writes has those of writes at the same places.
enum Offset : uint32_t {
  active = 0x00,
  read_active = 0x04,
  write_active = 0x08,
  write_latency = 0x0C,
  write_transactions = 0x10,
  write_bytes = 0x14,
  write_outstanding = 0x18,
  write_beats = 0x1C,
  write_bursts = 0x20,
  write_extremes = 0x24,
  write_bandwidth = 0x28,
  read_latency = 0x2C,
  read_transactions = 0x30,
  read_cycles = 0x34,
  read_outstanding = 0x38,
  read_bursts = 0x3C,
  read_bandwidth = 0x40,
  read_extremes = 0x44,
};

// Of a monitor of reads alone: what one of both directions has from read_latency on follows here.
constexpr uint32_t reads_active = 0x00;
constexpr uint32_t reads_first = 0x04;
constexpr uint32_t in_reads(Offset reg) {
  return reg - read_latency + reads_first;
}

constexpr uint32_t both_size = 0x48;
constexpr uint32_t reads_size = 0x20;
constexpr uint32_t writes_size = 0x2C;

// Where the monitors are, from the first one's place on.
constexpr uint32_t monitors_base = 0x309000;
constexpr uint32_t monitors_size = 0xC00;

namespace map {

inline constexpr Field write_outstanding_fields[] = {
    field("outstanding", 0xFFFFFF00, "sum of outstanding writes"),
    field("transactions", 0x000000FF, "writes that it was taken at"),
};
inline constexpr Field read_outstanding_fields[] = {
    field("outstanding", 0x00FFFF00, "sum of outstanding reads"),
    field("transactions", 0x000000FF, "reads that it was taken at"),
};
inline constexpr Field beats_fields[] = {
    field("full", 0x00FFFF00, "beats with all bytes"),
    field("partial", 0x000000FF, "beats with some of the bytes"),
};
inline constexpr Field bursts_fields[] = {
    field("bursts", 0xFFFF0000, "transactions of several beats"),
    field("singles", 0x0000FFFF, "transactions of one beat"),
};
inline constexpr Field extremes_fields[] = {
    field("latency_max", 0xFF000000, "longest latency"),
    field("latency_min", 0x00FF0000, "shortest latency"),
    field("outstanding_max", 0x0000FF00, "most outstanding transactions"),
    field("outstanding_min", 0x000000FF, "fewest outstanding transactions"),
};

inline constexpr Register both_registers[] = {
    {"active", active, 32, ro, "cycles with any traffic"},
    {"read_active", read_active, 32, ro, "cycles with reads"},
    {"write_active", write_active, 32, ro, "cycles with writes"},
    {"write_latency", write_latency, 32, ro, "latencies of all writes"},
    {"write_transactions", write_transactions, 32, ro, "writes"},
    {"write_bytes", write_bytes, 32, ro, "bytes that were written"},
    {"write_outstanding", write_outstanding, 32, ro, "outstanding writes",
     write_outstanding_fields},
    {"write_beats", write_beats, 32, ro, "beats of writes", beats_fields},
    {"write_bursts", write_bursts, 32, ro, "lengths of writes", bursts_fields},
    {"write_extremes", write_extremes, 32, ro, "extremes of writes", extremes_fields},
    {"write_bandwidth", write_bandwidth, 32, ro, "most bytes written in a period"},
    {"read_latency", read_latency, 32, ro, "latencies of all reads"},
    {"read_transactions", read_transactions, 32, ro, "reads"},
    {"read_cycles", read_cycles, 32, ro, "cycles with read data"},
    {"read_outstanding", read_outstanding, 32, ro, "outstanding reads", read_outstanding_fields},
    {"read_bursts", read_bursts, 32, ro, "lengths of reads", bursts_fields},
    {"read_bandwidth", read_bandwidth, 32, ro, "most bytes read in a period"},
    {"read_extremes", read_extremes, 32, ro, "extremes of reads", extremes_fields},
};
inline constexpr Register reads_registers[] = {
    {"read_active", reads_active, 32, ro, "cycles with reads"},
    {"read_latency", in_reads(read_latency), 32, ro, "latencies of all reads"},
    {"read_transactions", in_reads(read_transactions), 32, ro, "reads"},
    {"read_cycles", in_reads(read_cycles), 32, ro, "cycles with read data"},
    {"read_outstanding", in_reads(read_outstanding), 32, ro, "outstanding reads",
     read_outstanding_fields},
    {"read_bursts", in_reads(read_bursts), 32, ro, "lengths of reads", bursts_fields},
    {"read_bandwidth", in_reads(read_bandwidth), 32, ro, "most bytes read in a period"},
    {"read_extremes", in_reads(read_extremes), 32, ro, "extremes of reads", extremes_fields},
};
inline constexpr Register writes_registers[] = {
    {"write_active", write_active, 32, ro, "cycles with writes"},
    {"write_latency", write_latency, 32, ro, "latencies of all writes"},
    {"write_transactions", write_transactions, 32, ro, "writes"},
    {"write_bytes", write_bytes, 32, ro, "bytes that were written"},
    {"write_outstanding", write_outstanding, 32, ro, "outstanding writes",
     write_outstanding_fields},
    {"write_beats", write_beats, 32, ro, "beats of writes", beats_fields},
    {"write_bursts", write_bursts, 32, ro, "lengths of writes", bursts_fields},
    {"write_extremes", write_extremes, 32, ro, "extremes of writes", extremes_fields},
    {"write_bandwidth", write_bandwidth, 32, ro, "most bytes written in a period"},
};

inline constexpr Block both_block = {"axi",          Space::mmio, "bus monitor of both directions",
                                     both_registers, both_size,   &Chip::rq301_axi_both};
inline constexpr Block reads_block = {"axi_reads",     Space::mmio, "bus monitor of reads",
                                      reads_registers, reads_size,  &Chip::rq301_axi_reads};
inline constexpr Block writes_block = {"axi_writes",     Space::mmio, "bus monitor of writes",
                                       writes_registers, writes_size, &Chip::rq301_axi_writes};

}  // namespace map

}  // namespace zvg::hw::axi_rq301

#endif  // ZVG_HW_BLOCKS_AXI_MONITOR_RQ301_H
