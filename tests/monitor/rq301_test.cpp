// The AXI monitors of RQ301 and their summaries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <numeric>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::RegisterNode;
using Log = std::vector<std::string>;

constexpr char summary_name[] = "axiMonitorData";

std::string format(const char* text, ...) {
  char buffer[4096];
  va_list arguments;
  va_start(arguments, text);
  vsnprintf(buffer, sizeof buffer, text, arguments);
  va_end(arguments);
  return buffer;
}

// The reads of counters from one offset to another.
Log reads(uint32_t base, uint32_t first, uint32_t last) {
  Log log;
  for (uint32_t offset = first; offset <= last; offset += 4) {
    log.push_back(format("r4 0x%x", base + offset));
  }
  return log;
}

// Registers answer with their address and a mark.
class Rq301Monitor : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    node_.on_read = [](uint64_t offset, uint64_t* value) {
      *value = 0xA5000000 | offset;
      return true;
    };
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
};

TEST_F(Rq301Monitor, Type1ReadsTwoCountersIntoWord9) {
  uint32_t before[18];
  std::iota(std::begin(before), std::end(before), 100);
  uint32_t record[18] = {};
  zvgMonitorAxiType1(record, 0x309040, before);
  EXPECT_THAT(node_.take(), ElementsAreArray(reads(0x309040, 0x00, 0x44)));
  for (unsigned word = 0; word < 18; ++word) {
    const uint32_t offset = word < 9 ? 4 * word : word == 9 ? 0x28 : 4 * word;
    EXPECT_EQ(record[word], word == 10 ? 110u : 0xA5000000 | (0x309040 + offset)) << word;
  }
  EXPECT_EQ(before[0], 100u) << "the template is only read";
}

TEST_F(Rq301Monitor, Type2ReadsEightCounters) {
  const uint32_t before[8] = {};
  uint32_t record[8] = {};
  zvgMonitorAxiType2(record, 0x3096E0, before);
  EXPECT_THAT(node_.take(), ElementsAreArray(reads(0x3096E0, 0x00, 0x1C)));
  for (unsigned word = 0; word < 8; ++word) {
    EXPECT_EQ(record[word], 0xA5000000 | (0x3096E0 + 4 * word)) << word;
  }
}

TEST_F(Rq301Monitor, Type3BeginsAtTheThirdCounterAndReadsTwoIntoWord7) {
  uint32_t before[9];
  std::iota(std::begin(before), std::end(before), 100);
  uint32_t record[9] = {};
  zvgMonitorAxiType3(record, 0x309860, before);
  EXPECT_THAT(node_.take(), ElementsAreArray(reads(0x309860, 0x08, 0x28)));
  for (unsigned word = 0; word < 7; ++word) {
    EXPECT_EQ(record[word], 0xA5000000 | (0x309868 + 4 * word)) << word;
  }
  EXPECT_EQ(record[7], 0xA5000000u | (0x309860 + 0x28));
  EXPECT_EQ(record[8], 108u);
}

TEST_F(Rq301Monitor, RecordMayBeItsOwnTemplate) {
  uint32_t record[18];
  std::iota(std::begin(record), std::end(record), 100);
  zvgMonitorAxiType1(record, 0x309040, record);
  EXPECT_EQ(record[10], 110u);
  EXPECT_EQ(record[17], 0xA5000000u | (0x309040 + 0x44));
}

// The texts as one format each, with all their arguments.
constexpr char type1_text[] =
    "\n\t%s:\nactive的总cycle数: %d\n读active的总cycle数: %d\n写active的总cycle数：%d\n"
    "写交易总延时: %d\n写交易总trans次数: %d\n写数据总字节数: %d\n写outstanding累计数: %d\n"
    "写交易次数: %d\n完整写数据（wstrb全F）的次数: %d\n不完整写数据（wstrb非全0）的次数: %d\n"
    "burst的交易数: %d\nsingle的交易数: %d\n最大带宽\\吞吐量,在写周期内: %d\n最大写延时: %d\n"
    "最小写延时: %d\n最大写ot数: %d\n最小写ot数: %d\n读交易总延时: %d\n读交易总trans次数: %d\n"
    "读数据(r)cycle数: %d\n读ot累计数: %d\n读交易次数: %d\nburst的交易数: %d\n"
    "single的交易数: %d\n最大带宽\\吞吐量,在读周期内: %d\n最大读延时: %d\n最小读延时: %d\n"
    "最大读ot数: %d\n最小读ot数: %d\n";
constexpr char type2_text[] =
    "\n\t%s:\n读active的总cycle数: %d\n读交易总延时: %d\n读交易总trans次数: %d\n"
    "读数据(r)cycle数: %d\n读ot累计数: %d\n读交易次数: %d\nburst的交易数: %d\n"
    "single的交易数: %d\n最大带宽\\吞吐量,在读周期内: %d\n最大读延时: %d\n最小读延时: %d\n"
    "最大读ot数: %d\n最小读ot数: %d\n";
constexpr char type3_text[] =
    "\n\t%s:\n写active的总cycle数：%d\n写交易总延时: %d\n写交易总trans次数: %d\n"
    "写数据总字节数: %d\n写outstanding累计数: %d\n写交易次数: %d\n"
    "完整写数据（wstrb全F）的次数: %d\n不完整写数据（wstrb非全0）的次数: %d\n"
    "burst的交易数: %d\nsingle的交易数: %d\n最大带宽\\吞吐量,在写周期内: %d\n最大写延时: %d\n"
    "最小写延时: %d\n最大写ot数: %d\n最小写ot数: %d\n";

int hi16(uint32_t w) {
  return static_cast<int>(w >> 16);
}
int lo16(uint32_t w) {
  return static_cast<int>(w & 0xFFFF);
}
int mid16(uint32_t w) {
  return static_cast<int>(w >> 8 & 0xFFFF);
}
int b3(uint32_t w) {
  return static_cast<int>(w >> 24);
}
int b2(uint32_t w) {
  return static_cast<int>(w >> 16 & 0xFF);
}
int b1(uint32_t w) {
  return static_cast<int>(w >> 8 & 0xFF);
}
int b0(uint32_t w) {
  return static_cast<int>(w & 0xFF);
}

std::string type1_summary(const char* name, const uint32_t* w, uint32_t factor) {
  return format(type1_text, name, w[0], w[1], w[2], w[3], w[4], w[5], w[6] >> 8, w[6] & 0xFF,
                mid16(w[7]), b0(w[7]), hi16(w[8]), lo16(w[8]), w[9], b3(w[10]), b2(w[10]),
                b1(w[10]), b0(w[10]), w[11], w[12], w[13], mid16(w[14]), b0(w[14]), hi16(w[15]),
                lo16(w[15]), w[16] * factor, b3(w[17]), b2(w[17]), b1(w[17]), b0(w[17]));
}

std::string type2_summary(const char* name, const uint32_t* w, uint32_t factor) {
  return format(type2_text, name, w[0], w[1], w[2], w[3], mid16(w[4]), b0(w[4]), hi16(w[5]),
                lo16(w[5]), w[6] * factor, b3(w[7]), b2(w[7]), b1(w[7]), b0(w[7]));
}

std::string type3_summary(const char* name, const uint32_t* w) {
  return format(type3_text, name, w[0], w[1], w[2], w[3], w[4] >> 8, b0(w[4]), mid16(w[5]),
                b0(w[5]), hi16(w[6]), lo16(w[6]), w[7], b3(w[8]), b2(w[8]), b1(w[8]), b0(w[8]));
}

// Words whose every byte is another one.
std::vector<uint32_t> distinct(unsigned count) {
  std::vector<uint32_t> words;
  for (uint32_t i = 0; i < count; ++i) {
    words.push_back((0x41 + i) << 24 | (0x80 + i) << 16 | (0xB0 + i) << 8 | (0xD0 + i));
  }
  return words;
}

TEST_F(Rq301Monitor, SummariesShowEveryField) {
  const auto words = distinct(18);
  EXPECT_EQ(monitorAxi1_to_file("PCIE", words.data()), 0);
  EXPECT_EQ(monitorAxi2_to_file("VGA_h0", words.data()), 0);
  EXPECT_EQ(monitorAxi3_to_file("VGA_n0", words.data()), 0);
  EXPECT_EQ(scratch_.read(summary_name), type1_summary("PCIE", words.data(), 2) +
                                             type2_summary("VGA_h0", words.data(), 2) +
                                             type3_summary("VGA_n0", words.data()));
  EXPECT_TRUE(node_.take().empty());
}

TEST_F(Rq301Monitor, DoubledBandwidthWrapsAndIsSigned) {
  std::vector<uint32_t> words(18, 0);
  words[6] = words[16] = 0xC0000001;
  monitorAxi1_to_file("a", words.data());
  monitorAxi2_to_file("b", words.data());
  const std::string text = scratch_.read(summary_name);
  EXPECT_THAT(text, testing::HasSubstr("在读周期内: -2147483646\n最大读延时: 0\n最小读延时: 0\n"
                                       "最大读ot数: 0\n最小读ot数: 0\n\n\tb:\n"));
  EXPECT_TRUE(
      text.ends_with("在读周期内: -2147483646\n最大读延时: 0\n最小读延时: 0\n"
                     "最大读ot数: 0\n最小读ot数: 0\n"));
}

TEST_F(Rq301Monitor, PassReadsAllMonitorsAndThenAppendsTheirSummaries) {
  scratch_.file(summary_name, "before");
  int result = -1;
  const auto output = capture([&] { result = zvgMonitorAxiTrans_RQ301(); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.out + output.err, "");

  const struct {
    const char* name;
    uint32_t base;
  } type1[] = {{"PCIE", 0x309040},     {"2D", 0x3090A0},       {"3D0_AXI0", 0x309100},
               {"3D0_AXI1", 0x309160}, {"3D0_AXI2", 0x3091C0}, {"3D0_AXI3", 0x309220},
               {"3D1_AXI0", 0x309280}, {"3D1_AXI1", 0x3093E0}, {"3D1_AXI2", 0x309440},
               {"3D1_AXI3", 0x3094A0}, {"", 0x309500},         {"", 0x309560}};
  Log expected_reads;
  std::string expected = "before";
  const auto add = [&](Log log) {
    expected_reads.insert(expected_reads.end(), log.begin(), log.end());
  };
  const auto word = [](uint32_t address) { return 0xA5000000 | address; };
  for (const auto& port : type1) {
    add(reads(port.base, 0x00, 0x44));
    uint32_t w[18];
    for (unsigned i = 0; i < 18; ++i) w[i] = word(port.base + 4 * i);
    w[9] = word(port.base + 0x28);
    w[10] = 0;  // no counter fills it
    if (*port.name != '\0') expected += type1_summary(port.name, w, 2);
  }
  for (unsigned k = 0; k < 12; ++k) {
    const uint32_t base = 0x3096E0 + 0x20 * k;
    add(reads(base, 0x00, 0x1C));
    uint32_t w[8];
    for (unsigned i = 0; i < 8; ++i) w[i] = word(base + 4 * i);
    expected += type2_summary(format("VGA_h%u", k).c_str(), w, 2);
  }
  for (unsigned k = 0; k < 4; ++k) {
    const uint32_t base = 0x309860 + 0x30 * k;
    add(reads(base, 0x08, 0x28));
    uint32_t w[9];
    for (unsigned i = 0; i < 7; ++i) w[i] = word(base + 8 + 4 * i);
    w[7] = word(base + 0x28);
    w[8] = 0;
    expected += type3_summary(format("VGA_n%u", k).c_str(), w);
  }
  EXPECT_THAT(node_.take(), ElementsAreArray(expected_reads));
  EXPECT_EQ(scratch_.read(summary_name), expected);
}

TEST_F(Rq301Monitor, FileThatDoesNotOpenIsSkipped) {
  ASSERT_EQ(mkdir(summary_name, 0700), 0);
  int result = -1;
  const auto output = capture([&] { result = zvgMonitorAxiTrans_RQ301(); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(Rq301Monitor, PassReturnsTheResultOfTheLastClose) {
  ASSERT_EQ(symlink("/dev/full", summary_name), 0);
  EXPECT_EQ(zvgMonitorAxiTrans_RQ301(), EOF);
}

TEST(Rq301MonitorOverSerial, ReadBandwidthIsNotDoubled) {
  const zvgtest::Scratch scratch;
  const zvgtest::RecordedPlatform platform;
  ASSERT_GE(zvgSerialOpen("/dev/ttyTEST", 9600), 0);
  const auto words = distinct(18);
  monitorAxi1_to_file("PCIE", words.data());
  monitorAxi2_to_file("VGA_h0", words.data());
  EXPECT_EQ(scratch.read(summary_name),
            type1_summary("PCIE", words.data(), 1) + type2_summary("VGA_h0", words.data(), 1));
}

TEST(Rq301MonitorInMemory, ReadBandwidthIsDoubled) {
  const zvgtest::Scratch scratch;
  zvgtest::RecordedPlatform platform;
  static uint8_t page[4096];
  platform.on_mmap = [](size_t, off_t) -> void* { return page; };
  ASSERT_GE(zvgMemOpen(0, sizeof page, 0, 0), 0);
  const auto words = distinct(18);
  monitorAxi1_to_file("PCIE", words.data());
  EXPECT_EQ(scratch.read(summary_name), type1_summary("PCIE", words.data(), 2));
}

}  // namespace
