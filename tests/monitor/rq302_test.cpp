// The AXI monitors of RQ302: records, tables and passes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <sys/stat.h>

#include <filesystem>
#include <numeric>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::RegisterNode;
using Log = std::vector<std::string>;
using Words = std::vector<uint32_t>;

constexpr char type1_header[] =
    "time\t active_cnt\t  write_active_cnt\t read_active_cnt\t w_operation\t r_operation\t "
    "data_update\t timeout\t metric_w_latency\t metric_w_transnum\t metric_w_sum\t metric_w_ot\t "
    "metric_w_full\t metric_w_byte\t metric_w_con\t metric_w_dis\t metric_w_bw_max\t "
    "metric_w_latency_max\t metric_w_latency_min\t metric_w_ot_max\t metric_w_ot_min\t "
    "metric_w_high\t slot_awaddr\t metric_r_latency\t metric_r_transnum\t metric_r_high\t "
    "metric_r_ot\t metric_r_con\t metric_r_dis\t metric_r_bw_max\t metric_r_latency_max\t "
    "metric_r_latency_min\t metric_r_ot_max\t metric_r_ot_min\t slot_araddr\n";
constexpr char type2_header[] =
    "time\t read_active_cnt\t r_operation\t data_update\t timeout\t metric_r_latency\t "
    "metric_r_transnum\t metric_r_high\t metric_r_ot\t metric_r_con\t metric_r_dis\t "
    "metric_r_bw_max\t metric_r_latency_max\t metric_r_latency_min\t metric_r_ot_max\t "
    "metric_r_ot_min\n";
constexpr char type3_header[] =
    "time\t  write_active_cnt\t read_active_cnt\t w_operation\t r_operation\t data_update\t "
    "timeout\t metric_w_latency\t metric_w_transnum\t metric_w_sum\t metric_w_ot\t "
    "metric_w_full\t metric_w_byte\t metric_w_con\t metric_w_dis\t metric_w_bw_max\t "
    "metric_w_latency_max\t metric_w_latency_min\t metric_w_ot_max\t metric_w_ot_min\t "
    "metric_w_high\t metric_r_latency\t metric_r_transnum\t metric_r_high\t metric_r_ot\t "
    "metric_r_con\t metric_r_dis\t metric_r_bw_max\t metric_r_latency_max\t "
    "metric_r_latency_min\t metric_r_ot_max\t metric_r_ot_min\n";

std::string format(const char* text, ...) {
  char buffer[2048];
  va_list arguments;
  va_start(arguments, text);
  vsnprintf(buffer, sizeof buffer, text, arguments);
  va_end(arguments);
  return buffer;
}

unsigned hi16(uint32_t w) {
  return w >> 16;
}
unsigned lo16(uint32_t w) {
  return w & 0xFFFF;
}
unsigned byte2(uint32_t w) {
  return w >> 16 & 0xFF;
}

std::string type1_row(const Words& r, int time, int timeout) {
  const uint64_t a = r[26], b = r[27], c = r[28];
  return format(
      "%d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t "
      "%d\t %d\t %d\t%d\t 0x%lx\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t 0x%lx\n",
      time, r[0], r[1], r[2], r[3], r[4], 1, timeout, r[5], r[6], r[7], r[8], r[9], r[10], r[11],
      r[12], r[13], hi16(r[14]), lo16(r[14]), byte2(r[15]), lo16(r[15]), r[16],
      (c & 0xFF) << 32 | a, r[17], r[18], r[19], r[20], r[21], r[22], r[23], hi16(r[24]),
      lo16(r[24]), byte2(r[25]), lo16(r[25]), (c >> 8 & 0xFF) << 32 | b);
}

std::string type2_row(const Words& r, int time, int timeout) {
  return format("%d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\n",
                time, r[0], r[1], 1, timeout, r[2], r[3], r[4], r[5], r[6], r[7], r[8], hi16(r[9]),
                lo16(r[9]), byte2(r[10]), lo16(r[10]));
}

std::string type3_row(const Words& r, int time, int timeout) {
  return format(
      "%d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t "
      "%d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\t %d\n",
      time, r[0], r[1], r[2], r[3], 1, timeout, r[4], r[5], r[6], r[7], r[8], r[9], r[10], r[11],
      r[12], hi16(r[13]), lo16(r[13]), byte2(r[14]), lo16(r[14]), r[15], r[16], r[17], r[18], r[19],
      r[20], r[21], r[22], hi16(r[23]), lo16(r[23]), byte2(r[24]), lo16(r[24]));
}

struct Port {
  const char* name;
  int type;
  uint32_t base;
  uint32_t slot;
};

constexpr Port ports[] = {
    {"PCIE_M", 1, 0x288878, 36}, {"2D", 1, 0x2888E0, 48},     {"3D0", 1, 0x288948, 60},
    {"3D1", 1, 0x2889B0, 72},    {"3D2", 1, 0x288A18, 84},    {"3D3", 1, 0x288A80, 96},
    {"VPU0", 1, 0x288AE8, 108},  {"VGA_h0", 2, 0x288B50, 0},  {"VGA_h1", 2, 0x288B7C, 0},
    {"VGA_h2", 2, 0x288BA8, 0},  {"VGA_h5", 2, 0x288BD4, 0},  {"VGA_h6", 2, 0x288C00, 0},
    {"VGA_h9", 2, 0x288C2C, 0},  {"PCIE_S", 3, 0x288C58, 0},  {"DDRC0_0", 3, 0x288CBC, 0},
    {"DDRC0_1", 3, 0x288D20, 0}, {"DDRC0_2", 3, 0x288D84, 0}, {"DDRC0_3", 3, 0x288DE8, 0},
    {"DDRC1_0", 3, 0x288E4C, 0}, {"DDRC1_1", 3, 0x288EB0, 0}, {"DDRC1_2", 3, 0x288F14, 0},
    {"DDRC1_3", 3, 0x288F78, 0},
};

unsigned counters(int type) {
  return type == 1 ? 26 : type == 2 ? 11 : 25;
}
const char* header(int type) {
  return type == 1 ? type1_header : type == 2 ? type2_header : type3_header;
}
std::string row(int type, const Words& words, int time, int timeout) {
  return type == 1   ? type1_row(words, time, timeout)
         : type == 2 ? type2_row(words, time, timeout)
                     : type3_row(words, time, timeout);
}

// What the register answers: every byte depends on the address.
uint32_t counter(uint32_t address) {
  return address * 2654435761u;
}

Words record(const Port& port) {
  Words words;
  for (unsigned i = 0; i < counters(port.type); ++i) words.push_back(counter(port.base + 4 * i));
  for (unsigned i = 0; port.type == 1 && i < 3; ++i) {
    words.push_back(counter(0x288800 + port.slot + 4 * i));
  }
  return words;
}

Log reads(const Port& port) {
  Log log;
  for (unsigned i = 0; i < counters(port.type); ++i) {
    log.push_back(format("r4 0x%x", port.base + 4 * i));
  }
  for (unsigned i = 0; port.type == 1 && i < 3; ++i) {
    log.push_back(format("r4 0x%x", 0x288800 + port.slot + 4 * i));
  }
  return log;
}

class Rq302Monitor : public testing::Test {
 protected:
  void SetUp() override {
    node_.device_id = 0x202;
    node_.open();
    node_.on_read = [this](uint64_t offset, uint64_t* value) {
      *value = offset == 0x288804   ? timeouts_
               : offset == 0x288FDC ? updates_
                                    : counter(static_cast<uint32_t>(offset));
      return true;
    };
  }

  std::string pass(uint32_t time, const char* suffix) {
    const auto output = capture([&] { zvgMonitorAxiTrans_RQ302(time, suffix); });
    EXPECT_EQ(output.err, "");
    return output.out;
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
  uint32_t timeouts_ = 0;
  uint32_t updates_ = 0x3FFFFF;
};

TEST_F(Rq302Monitor, ReadersReadTheirCountersInOrder) {
  for (const Port& port : ports) {
    SCOPED_TRACE(port.name);
    Words words(30, 0x5A5A5A5A);
    int result = -1;
    switch (port.type) {
      case 1:
        result = zvgMonitorAxiType1_RQ302(port.base, words.data(), port.slot);
        break;
      case 2:
        result = zvgMonitorAxiType2_RQ302(port.base, words.data());
        break;
      default:
        result = zvgMonitorAxiType3_RQ302(port.base, words.data());
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(node_.take(), reads(port));
    Words expected = record(port);
    expected.resize(30, 0x5A5A5A5A);
    EXPECT_EQ(words, expected);
  }
}

TEST_F(Rq302Monitor, PassReadsTheFlagsAndThenEveryPortInOrder) {
  EXPECT_EQ(pass(7, "x"),
            "data_update: 3fffff\r\ncreat file OK!\r\nfolderName1: Monitor_Data_x\r\n");
  Log expected = {"r4 0x288804", "r4 0x288fdc"};
  for (const Port& port : ports) {
    const Log of_port = reads(port);
    expected.insert(expected.end(), of_port.begin(), of_port.end());
  }
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
}

TEST_F(Rq302Monitor, PassesWriteHeaderAndRowsOfEveryPort) {
  timeouts_ = 0x155555;  // every second port
  pass(0, "run");
  timeouts_ = 0;
  EXPECT_EQ(pass(1, "run"), "data_update: 3fffff\r\nfolderName1: Monitor_Data_run\r\n")
      << "the folder is there already";
  unsigned bit = 0;
  for (const Port& port : ports) {
    SCOPED_TRACE(port.name);
    const Words words = record(port);
    EXPECT_EQ(
        scratch_.read(std::string("Monitor_Data_run/") + port.name + ".dat"),
        header(port.type) + row(port.type, words, 0, bit++ % 2 == 0) + row(port.type, words, 1, 0));
  }
}

TEST_F(Rq302Monitor, OnlyPortsWithNewDataGetARow) {
  for (unsigned bit = 0; bit < std::size(ports); ++bit) {
    SCOPED_TRACE(ports[bit].name);
    updates_ = 1u << bit;
    pass(0, "one");
    for (const Port& port : ports) {
      const bool updated = &port == &ports[bit];
      EXPECT_EQ(scratch_.read(std::string("Monitor_Data_one/") + port.name + ".dat"),
                header(port.type) + (updated ? row(port.type, record(port), 0, 0) : ""));
    }
  }
}

TEST_F(Rq302Monitor, WithoutNewDataTablesHoldOnlyTheirHeaders) {
  updates_ = 0xFFC00000;  // bits of no port
  EXPECT_EQ(pass(0, "x"),
            "data_update: ffc00000\r\ncreat file OK!\r\nfolderName1: Monitor_Data_x\r\n");
  for (const Port& port : ports) {
    EXPECT_EQ(scratch_.read(std::string("Monitor_Data_x/") + port.name + ".dat"),
              header(port.type));
  }
  EXPECT_EQ(pass(3, "none"),
            "data_update: ffc00000\r\ncreat file OK!\r\nfolderName1: Monitor_Data_none\r\n");
  EXPECT_TRUE(fs::is_empty("Monitor_Data_none")) << "later samples begin no table";
}

TEST_F(Rq302Monitor, FailedReadsLeaveZeros) {
  node_.result = [](bool, uint64_t offset) { return offset == 0x288FDC ? 0 : -1; };
  pass(0, "x");
  EXPECT_EQ(scratch_.read("Monitor_Data_x/3D0.dat"), type1_header + type1_row(Words(29), 0, 0));
}

TEST_F(Rq302Monitor, SlotAddressesHave40Bits) {
  Words words(29);
  words[26] = 0x23456789;
  words[27] = 0xFFFFFFFF;
  words[28] = 0xFFFFFF01;
  fs::create_directory("f");
  zvgMonitorAxi1_to_file_RQ302("p", words.data(), 5, 1, 0, "f");
  EXPECT_THAT(scratch_.read("f/p.dat"), testing::HasSubstr("\t0\t 0x123456789\t 0\t"));
  EXPECT_TRUE(scratch_.read("f/p.dat").ends_with("\t 0xffffffffff\n"));
}

TEST_F(Rq302Monitor, WritersTakeAnyBitAndAnyTime) {
  fs::create_directory("f");
  const Words words = record(ports[0]);
  using Writer = void (*)(const char*, const uint32_t*, int, int, int, const char*);
  const Writer writers[] = {zvgMonitorAxi1_to_file_RQ302, zvgMonitorAxi2_to_file_RQ302,
                            zvgMonitorAxi3_to_file_RQ302};
  for (int type = 1; type <= 3; ++type) {
    const Writer write = writers[type - 1];
    write("p", words.data(), -1, 0x200000, 0x400, "f");
    EXPECT_EQ(scratch_.read("f/p.dat"), row(type, words, -1, 1)) << "no header but at time 0";
    write("p", words.data(), 2, 0, 0, "f");
    EXPECT_EQ(scratch_.read("f/p.dat"), row(type, words, -1, 1)) << "no row without new data";
    write("p", words.data(), 0, 0, 1, "f");
    EXPECT_EQ(scratch_.read("f/p.dat"), header(type)) << "the header comes before the bit";
    fs::remove("f/p.dat");
  }
}

TEST_F(Rq302Monitor, FilesAreOpenedAndClosedForEveryWrite) {
  fs::create_directory("f");
  const Words words(29);
  zvgMonitorAxi1_to_file_RQ302("p", words.data(), 0, 1, 0, "f");
  fs::rename("f/p.dat", "f/before.dat");
  zvgMonitorAxi1_to_file_RQ302("p", words.data(), 1, 1, 0, "f");
  EXPECT_EQ(scratch_.read("f/p.dat"), type1_row(words, 1, 0));
  EXPECT_EQ(scratch_.read("f/before.dat"), type1_header + type1_row(words, 0, 0));
}

TEST_F(Rq302Monitor, LongSuffixIsCutAt47Bytes) {
  const std::string suffix(40, 's');
  const std::string folder = "Monitor_Data_" + std::string(34, 's');
  EXPECT_EQ(pass(0, suffix.c_str()),
            "data_update: 3fffff\r\ncreat file OK!\r\nfolderName1: " + folder + "\r\n");
  EXPECT_TRUE(fs::exists(folder + "/PCIE_M.dat"));
  EXPECT_EQ(pass(1, ""), "data_update: 3fffff\r\ncreat file OK!\r\nfolderName1: Monitor_Data_\r\n");
}

TEST_F(Rq302Monitor, FolderIsMadeForItsOwnerToWrite) {
  const mode_t before = umask(0);
  pass(0, "x");
  umask(before);
  struct stat status = {};
  ASSERT_EQ(stat("Monitor_Data_x", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0755u);
}

TEST_F(Rq302Monitor, FolderThatCannotBeMadeIsReportedAndThePassGoesOn) {
  // There is no way into the folder that the suffix asks for.
  EXPECT_EQ(pass(0, "a/b"),
            "data_update: 3fffff\r\ncreat file fail!\r\nfolderName1: Monitor_Data_a/b\r\n");
  EXPECT_TRUE(fs::is_empty("."));
  EXPECT_EQ(node_.take().size(), 2u + 7 * 29 + 6 * 11 + 9 * 25);
}

TEST_F(Rq302Monitor, FileThatDoesNotOpenIsSkipped) {
  fs::create_directories("Monitor_Data_x/2D.dat");
  pass(0, "x");
  EXPECT_EQ(scratch_.read("Monitor_Data_x/PCIE_M.dat"),
            type1_header + type1_row(record(ports[0]), 0, 0));
  EXPECT_EQ(scratch_.read("Monitor_Data_x/3D0.dat"),
            type1_header + type1_row(record(ports[2]), 0, 0));
}

}  // namespace
