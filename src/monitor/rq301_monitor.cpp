// The AXI monitors of RQ301: their counters, and a pass over all ports.
#include <stdint.h>
#include <string.h>

#include <span>

#include "monitor/rq301_summary.h"
#include "util_zvg.h"

namespace zvg::monitor {

namespace {

// Neighbouring counters that go into neighbouring words of a record.
struct Run {
  uint8_t word;
  uint8_t offset;
  uint8_t count;
};

// The first counter of a pair is read and then overwritten by the second, so that one word keeps
// what the record held before.
constexpr Run both_directions[] = {{0, 0x00, 9}, {9, 0x24, 1}, {9, 0x28, 1}, {11, 0x2C, 7}};
constexpr Run reads_only[] = {{0, 0x00, 8}};
constexpr Run writes_only[] = {{0, 0x08, 7}, {7, 0x24, 1}, {7, 0x28, 1}};

void read_record(std::span<const Run> runs, uint32_t base, uint32_t* record) {
  for (const Run& run : runs) {
    for (unsigned i = 0; i < run.count; ++i) {
      zvgRegReadLong(uint64_t{base} + run.offset + 4 * i, &record[run.word + i]);
    }
  }
}

struct Port {
  const char* name;  // null: read, but not written out
  uint32_t base;
};

constexpr Port type1_ports[] = {
    {"PCIE", 0x309040},     {"2D", 0x3090A0},       {"3D0_AXI0", 0x309100}, {"3D0_AXI1", 0x309160},
    {"3D0_AXI2", 0x3091C0}, {"3D0_AXI3", 0x309220}, {"3D1_AXI0", 0x309280}, {"3D1_AXI1", 0x3093E0},
    {"3D1_AXI2", 0x309440}, {"3D1_AXI3", 0x3094A0}, {nullptr, 0x309500},    {nullptr, 0x309560},
};

constexpr Port type2_ports[] = {
    {"VGA_h0", 0x3096E0}, {"VGA_h1", 0x309700}, {"VGA_h2", 0x309720},  {"VGA_h3", 0x309740},
    {"VGA_h4", 0x309760}, {"VGA_h5", 0x309780}, {"VGA_h6", 0x3097A0},  {"VGA_h7", 0x3097C0},
    {"VGA_h8", 0x3097E0}, {"VGA_h9", 0x309800}, {"VGA_h10", 0x309820}, {"VGA_h11", 0x309840},
};

constexpr Port type3_ports[] = {
    {"VGA_n0", 0x309860},
    {"VGA_n1", 0x309890},
    {"VGA_n2", 0x3098C0},
    {"VGA_n3", 0x3098F0},
};

// The ports of one type, and their records during a pass. Words that no counter fills are 0.
template <size_t count, size_t words>
class Ports {
 public:
  Ports(const Port (&ports)[count], std::span<const Run> runs, Summary summary)
      : ports_(ports), runs_(runs), summary_(summary) {}

  void read() {
    for (size_t i = 0; i < count; ++i) read_record(runs_, ports_[i].base, records_[i]);
  }

  // Returns the result of the last summary.
  int append() const {
    int result = 0;
    for (size_t i = 0; i < count; ++i) {
      if (ports_[i].name == nullptr) continue;
      result = append_summary(summary_, ports_[i].name, records_[i]);
    }
    return result;
  }

 private:
  const Port (&ports_)[count];
  std::span<const Run> runs_;
  Summary summary_;
  uint32_t records_[count][words] = {};
};

template <size_t words>
void read_over(std::span<const Run> runs, uint32_t* record, uint32_t base, const uint32_t* before) {
  memmove(record, before, words * sizeof *record);
  read_record(runs, base, record);
}

}  // namespace

}  // namespace zvg::monitor

using namespace zvg::monitor;

void zvgMonitorAxiType1(uint32_t* record, uint32_t base, const uint32_t* before) {
  read_over<ZVG_AXI_RQ301_TYPE1_WORDS>(both_directions, record, base, before);
}

void zvgMonitorAxiType2(uint32_t* record, uint32_t base, const uint32_t* before) {
  read_over<ZVG_AXI_RQ301_TYPE2_WORDS>(reads_only, record, base, before);
}

void zvgMonitorAxiType3(uint32_t* record, uint32_t base, const uint32_t* before) {
  read_over<ZVG_AXI_RQ301_TYPE3_WORDS>(writes_only, record, base, before);
}

int zvgMonitorAxiTrans_RQ301(void) {
  Ports<std::size(type1_ports), ZVG_AXI_RQ301_TYPE1_WORDS> type1(type1_ports, both_directions,
                                                                 Summary::both_directions);
  Ports<std::size(type2_ports), ZVG_AXI_RQ301_TYPE2_WORDS> type2(type2_ports, reads_only,
                                                                 Summary::reads);
  Ports<std::size(type3_ports), ZVG_AXI_RQ301_TYPE3_WORDS> type3(type3_ports, writes_only,
                                                                 Summary::writes);
  type1.read();
  type2.read();
  type3.read();
  type1.append();
  type2.append();
  return type3.append();
}
