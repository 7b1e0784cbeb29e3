// The AXI monitors of RQ301: their counters, and a pass over all ports.
#include <stdint.h>
#include <string.h>

#include <span>

#include "hw/axi_ports.h"
#include "hw/blocks/axi_monitor_rq301.h"
#include "monitor/rq301_summary.h"
#include "util_zvg.h"

namespace zvg::monitor {

using namespace hw::axi_rq301;

namespace {

// Neighbouring counters that go into neighbouring words of a record.
struct Run {
  uint8_t word;
  uint8_t offset;
  uint8_t count;
};

// The first counter of a pair is read and then overwritten by the second, so that one word keeps
// what the record held before.
constexpr Run both_directions[] = {
    {0, active, 9}, {9, write_extremes, 1}, {9, write_bandwidth, 1}, {11, read_latency, 7}};
constexpr Run reads_only[] = {{0, reads_active, 8}};
constexpr Run writes_only[] = {
    {0, write_active, 7}, {7, write_extremes, 1}, {7, write_bandwidth, 1}};

void read_record(std::span<const Run> runs, uint32_t base, uint32_t* record) {
  for (const Run& run : runs) {
    for (unsigned i = 0; i < run.count; ++i) {
      zvgRegReadLong(uint64_t{base} + run.offset + 4 * i, &record[run.word + i]);
    }
  }
}

// The ports of one type, and their records during a pass. Words that no counter fills are 0. A port
// without a name is read, but not written out.
template <size_t count, size_t words>
class Ports {
 public:
  Ports(const hw::Place (&ports)[count], std::span<const Run> runs, Summary summary)
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
  const hw::Place (&ports_)[count];
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
  namespace hw = zvg::hw;
  Ports<std::size(hw::rq301_axi_both_ports), ZVG_AXI_RQ301_TYPE1_WORDS> type1(
      hw::rq301_axi_both_ports, both_directions, Summary::both_directions);
  Ports<std::size(hw::rq301_axi_read_ports), ZVG_AXI_RQ301_TYPE2_WORDS> type2(
      hw::rq301_axi_read_ports, reads_only, Summary::reads);
  Ports<std::size(hw::rq301_axi_write_ports), ZVG_AXI_RQ301_TYPE3_WORDS> type3(
      hw::rq301_axi_write_ports, writes_only, Summary::writes);
  type1.read();
  type2.read();
  type3.read();
  type1.append();
  type2.append();
  return type3.append();
}
