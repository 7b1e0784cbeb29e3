// The AXI monitors of RQ302: their counters, and a pass over all ports.
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

#include "monitor/rq302_registers.h"
#include "monitor/rq302_table.h"
#include "util_zvg.h"

namespace zvg::monitor::rq302 {

namespace {

static_assert(axi::both_words + axi::slot_words == ZVG_AXI_RQ302_TYPE1_WORDS);
static_assert(axi::reads_words == ZVG_AXI_RQ302_TYPE2_WORDS);
static_assert(axi::mixed_words == ZVG_AXI_RQ302_TYPE3_WORDS);

// In the order of their bits in the flag registers.
constexpr auto& type1_ports = hw::rq302_axi_both_ports;
constexpr auto& type2_ports = hw::rq302_axi_read_ports;
constexpr auto& type3_ports = hw::rq302_axi_mixed_ports;

// The slots of a type-1 port, from the control register on.
constexpr uint32_t slot_offset(uint32_t port) {
  return hw::rq302_chip.rq302_axi_slots.base(port) - address_of(axi::control);
}

void read_words(uint64_t offset, unsigned count, uint32_t* words) {
  for (unsigned i = 0; i < count; ++i) zvgRegReadLong(offset + 4 * i, &words[i]);
}

// One sample: what every port's row is made of.
struct Sample {
  uint32_t time;
  uint32_t timeouts;
  uint32_t updates;
  const char* folder;
};

void write_rows(const Layout& layout, const hw::Place* ports, unsigned count, unsigned first_bit,
                const uint32_t* records, unsigned words, const Sample& sample) {
  for (unsigned i = 0; i < count; ++i) {
    const uint32_t bit = uint32_t{1} << (first_bit + i);
    write_row(
        layout, sample.folder, ports[i].name, records + i * words,
        {static_cast<int>(sample.time), (sample.updates & bit) != 0, (sample.timeouts & bit) != 0});
  }
}

void provide_folder(const char* folder) {
  if (access(folder, F_OK) == 0) return;
  puts(mkdir(folder, 0755) == 0 ? "creat file OK!\r" : "creat file fail!\r");
}

}  // namespace

}  // namespace zvg::monitor::rq302

using namespace zvg::monitor::rq302;

int zvgMonitorAxiType1_RQ302(uint32_t base, uint32_t* record, uint32_t slot_offset) {
  read_words(base, axi::both_words, record);
  read_words(uint64_t{address_of(axi::control)} + slot_offset, axi::slot_words,
             record + axi::both_words);
  return 0;
}

int zvgMonitorAxiType2_RQ302(uint32_t base, uint32_t* record) {
  read_words(base, ZVG_AXI_RQ302_TYPE2_WORDS, record);
  return 0;
}

int zvgMonitorAxiType3_RQ302(uint32_t base, uint32_t* record) {
  read_words(base, ZVG_AXI_RQ302_TYPE3_WORDS, record);
  return 0;
}

void zvgMonitorAxiTrans_RQ302(uint32_t time, const char* suffix) {
  // A suffix that is longer than the name has room for is cut.
  char folder[48];
  snprintf(folder, sizeof folder, "Monitor_Data_%s", suffix);
  Sample sample = {time, 0, 0, folder};
  zvgRegReadLong(address_of(axi::timeout_flags), &sample.timeouts);
  zvgRegReadLong(address_of(axi::data_update_flags), &sample.updates);
  printf("data_update: %x\r\n", sample.updates);

  constexpr unsigned count1 = std::size(type1_ports);
  constexpr unsigned count2 = std::size(type2_ports);
  constexpr unsigned count3 = std::size(type3_ports);
  uint32_t type1[count1][ZVG_AXI_RQ302_TYPE1_WORDS] = {};
  uint32_t type2[count2][ZVG_AXI_RQ302_TYPE2_WORDS] = {};
  uint32_t type3[count3][ZVG_AXI_RQ302_TYPE3_WORDS] = {};
  for (unsigned i = 0; i < count1; ++i) {
    zvgMonitorAxiType1_RQ302(type1_ports[i].base, type1[i], slot_offset(i));
  }
  for (unsigned i = 0; i < count2; ++i) {
    zvgMonitorAxiType2_RQ302(type2_ports[i].base, type2[i]);
  }
  for (unsigned i = 0; i < count3; ++i) {
    zvgMonitorAxiType3_RQ302(type3_ports[i].base, type3[i]);
  }

  provide_folder(folder);
  printf("folderName1: %s\r\n", folder);
  write_rows(type1_layout, type1_ports, count1, 0, type1[0], ZVG_AXI_RQ302_TYPE1_WORDS, sample);
  write_rows(type2_layout, type2_ports, count2, count1, type2[0], ZVG_AXI_RQ302_TYPE2_WORDS,
             sample);
  write_rows(type3_layout, type3_ports, count3, count1 + count2, type3[0],
             ZVG_AXI_RQ302_TYPE3_WORDS, sample);
}
