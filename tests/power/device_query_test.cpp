// The device report: which keyword selects what, each line, and the requests behind it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using testing::ElementsAre;
using Log = std::vector<std::string>;

// A driver that answers queries from a table.
class DeviceQuery : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(zvgRwOpen(0), 0);
    zvgSetCard(2);
    platform_.on_ioctl = [this](unsigned long number, void* record) {
      return answer(number, static_cast<uint8_t*>(record));
    };
    for (uint32_t engine = 0; engine < 21; ++engine) loads_[engine] = -1;
    loads_[0] = 7;
    loads_[5] = 0;
    loads_[20] = 100;
    platform_.take();
  }

  int answer(unsigned long number, uint8_t* record) {
    uint32_t key = 0;
    memcpy(&key, record + 4, sizeof key);
    if (number == 0xC0106405) {
      asked_.push_back("vram");
      memcpy(record + 4, &used_, 4);
      memcpy(record + 12, &free_, 4);
      return vram_result_;
    }
    if (number != 0xC0886410) return -1;
    uint32_t card = 0;
    memcpy(&card, record, sizeof card);
    EXPECT_EQ(card, 2u);
    asked_.push_back(std::to_string(key) + " " + std::to_string(record[8]));
    if (failing_.contains(key)) return -1;
    if (key == 11) {
      memcpy(record + 8, &loads_[record[8]], 4);
    } else if (texts_.contains(key)) {
      strcpy(reinterpret_cast<char*>(record + 8), texts_[key].c_str());
    } else {
      memcpy(record + 8, &numbers_[key], 4);
    }
    return 0;
  }

  // Splits a command line as the tools do and asks for its last word taken.
  int query(const std::string& line) {
    words_ = "query " + line;
    strtok(words_.data(), " ,\t\r\n");
    const char* const keyword = strtok(nullptr, " ,\t\r\n");
    return ask(keyword != nullptr ? keyword : "");
  }

  int ask(const char* keyword) {
    memset(buffer_, 0, sizeof buffer_);
    int result = -7;
    const auto output = capture([&] { result = zvgQueryInfo(keyword, buffer_); });
    EXPECT_EQ(output.out + output.err, "");
    return result;
  }

  std::string text() const { return buffer_; }

  std::map<uint32_t, uint32_t> numbers_ = {{0, 0x202}, {1, 600}, {2, 500}, {3, 1000}, {4, 450},
                                           {5, 1600},  {6, 8},   {7, 2},   {8, 4},    {10, 15}};
  std::map<uint32_t, std::string> texts_ = {{9, "GOP 1.3.2"}, {12, "FW 2.7.1"}};
  std::map<uint32_t, int32_t> loads_;
  std::set<uint32_t> failing_;
  uint32_t used_ = 128, free_ = 1920;
  int vram_result_ = 0;
  Log asked_;
  std::string words_;  // what the scan goes on in
  char buffer_[ZVG_QUERY_INFO_SIZE] = {};
  RecordedPlatform platform_;
};

constexpr char all_lines[] =
    "Query DEVICE ID: 0x202\n"
    "Query AXI Frequency: 600\n"
    "Query VPU Frequency: 500\n"
    "Query 3D Frequency: 1000\n"
    "Query 2D Frequency: 450\n"
    "Query DDR Frequency: 1600\n"
    "Query 3D Core: 8\n"
    "Query 2D Core: 2\n"
    "Query GOP: GOP 1.3.2\n"
    "Query Card Num: 4\n"
    "Query Channel: 1 2 3 4\n"
    "Query vram used rate is\xEF\xBC\x9A"
    "6.25%\n"
    "Query bandwidth\xEF\xBC\x9A"
    "6400Mbps\n"
    "Query load[0]\xEF\xBC\x9A"
    "7%\n"
    "Query load[5]\xEF\xBC\x9A"
    "0%\n"
    "Query load[20]\xEF\xBC\x9A"
    "100%\n"
    "Query firmware: FW 2.7.1\n";

TEST_F(DeviceQuery, EmptyKeywordReportsEverythingInOrder) {
  EXPECT_EQ(query(""), 0);
  EXPECT_EQ(text(), all_lines);
  Log expected = {"0 0", "1 0", "2 0", "3 0",  "4 0",  "5 0", "6 0",
                  "7 0", "9 0", "8 0", "10 0", "vram", "5 0"};
  for (int engine = 0; engine < 21; ++engine) expected.push_back("11 " + std::to_string(engine));
  expected.push_back("12 0");
  EXPECT_EQ(asked_, expected);
}

TEST_F(DeviceQuery, NullIsAnEmptyKeyword) {
  EXPECT_EQ(ask(nullptr), 0);
  EXPECT_EQ(text(), all_lines);
}

// A process that never split anything with strtok asks, too: each test runs in one of its own.
TEST_F(DeviceQuery, NeedsNoScanToGoOnWith) {
  EXPECT_EQ(ask("LOAD"), 0);
  EXPECT_EQ(text().substr(0, 13), "Query load[0]");
}

TEST_F(DeviceQuery, KeywordsSelectTheirItems) {
  const std::string id = "Query DEVICE ID: 0x202\n";
  const std::string card = "Query Card Num: 4\n";
  const std::string channel = "Query Channel: 1 2 3 4\n";
  const std::string vpu = "Query VPU Frequency: 500\n";
  const std::string vram = "Query vram used rate is\uFF1A6.25%\n";
  const std::string d3 = "Query 3D Frequency: 1000\n";
  const std::string d2 = "Query 2D Frequency: 450\n";
  const std::string ddr = "Query DDR Frequency: 1600\n";
  const std::string firmware = "Query firmware: FW 2.7.1\n";
  const std::string bandwidth = "Query bandwidth\uFF1A6400Mbps\n";
  const struct {
    const char* keyword;
    std::string text;
  } cases[] = {
      {"I", id},
      {"ID", id},
      {"IDX", ""},
      {"IX", ""},
      {"id", ""},
      {"A", "Query AXI Frequency: 600\n"},
      {"AXI", "Query AXI Frequency: 600\n"},
      {"AXIS", ""},
      {"V", vpu + vram},
      {"VP", vpu},
      {"VPU", vpu},
      {"VPUS", ""},
      {"VR", vram},
      {"VRAM", vram},
      {"VRAMS", ""},
      {"3", d3},
      {"3D", d3},
      {"3DC", ""},
      {"3DCOR", ""},
      {"3DCORE", "Query 3D Core: 8\n"},
      {"3DCORES", ""},
      {"2", d2},
      {"2D", d2},
      {"2DC", ""},
      {"2DCORE", "Query 2D Core: 2\n"},
      {"2DCORES", ""},
      {"D", ddr},
      {"DD", ddr},
      {"DDR", ddr},
      {"DDR4", ""},
      {"G", "Query GOP: GOP 1.3.2\n"},
      {"GOP", "Query GOP: GOP 1.3.2\n"},
      {"GOPS", ""},
      {"C", card + channel},
      {"CA", card},
      {"CARD", card},
      {"CARDS", ""},
      {"CH", channel},
      {"CHANNEL", channel},
      {"CHANNELS", ""},
      {"B", bandwidth},
      {"BANDWIDTH", bandwidth},
      {"BANDWIDTHS", ""},
      {"F", firmware},
      {"FIRMWARE", firmware},
      {"FIRMWARES", ""},
      {"L", ""},
      {"LO", ""},
      {"LOA", ""},
      {"lOAD", ""},
      {"X", ""},
      {"ALOAD", ""},
  };
  for (const auto& c : cases) {
    asked_.clear();
    EXPECT_EQ(query(c.keyword), c.text.empty() ? -1 : 0) << c.keyword;
    EXPECT_EQ(text(), c.text) << c.keyword;
    EXPECT_EQ(asked_.empty(), c.text.empty()) << c.keyword;
  }
}

TEST_F(DeviceQuery, LoadIsSelectedByAnythingThatBeginsWithIt) {
  for (const char* const keyword : {"LOAD", "LOADS", "LOAD_OF_ALL", "LOAD5"}) {
    EXPECT_EQ(query(keyword), 0) << keyword;
    EXPECT_EQ(text(), "Query load[0]\uFF1A7%\nQuery load[5]\uFF1A0%\nQuery load[20]\uFF1A100%\n");
  }
}

TEST_F(DeviceQuery, LoadTakesTheNextToken) {
  for (const char* const line : {"LOAD 5", "LOAD,5", "LOAD\t 5\r\n", "LOADS 5 6", "LOAD 5x"}) {
    asked_.clear();
    EXPECT_EQ(query(line), 0) << line;
    EXPECT_EQ(text(), "Query load[5]\uFF1A0%\n") << line;
    EXPECT_EQ(asked_, Log{"11 5"}) << line;
  }
}

TEST_F(DeviceQuery, OneTokenIsTakenAndNoMore) {
  std::string line = "query LOAD 20 rest";
  strtok(line.data(), " ");
  ask(strtok(nullptr, " "));
  EXPECT_STREQ(strtok(nullptr, " "), "rest");
}

TEST_F(DeviceQuery, AbsentEngineIsNullAndShownAllTheSame) {
  loads_[5] = -3;
  EXPECT_EQ(query("LOAD 5"), 0);
  EXPECT_EQ(text(), "Query load[5] is null\nQuery load[5]\uFF1A-3%\n");
  // A word that is no number counts as 0.
  EXPECT_EQ(query("LOAD all"), 0);
  EXPECT_EQ(text(), "Query load[0]\uFF1A7%\n");
}

TEST_F(DeviceQuery, FailedLoadShowsWhatWasSent) {
  failing_ = {11};
  EXPECT_EQ(query("LOAD 13"), 0);
  EXPECT_EQ(text(), "Query load[13]\uFF1A13%\n");
  EXPECT_EQ(query("LOAD -2"), 0);
  EXPECT_EQ(text(), "Query load[-2] is null\nQuery load[-2]\uFF1A-2%\n");
}

TEST_F(DeviceQuery, NoEngineIsNoReport) {
  for (auto& [engine, load] : loads_) load = -1;
  memset(buffer_, 'x', 4);
  EXPECT_EQ(zvgQueryInfo("LOAD", buffer_), -1);
  EXPECT_EQ(std::string(buffer_, 4), "xxxx");  // the buffer is not cleared
}

TEST_F(DeviceQuery, FailedNumbersShowZero) {
  failing_ = {0, 1, 5, 10};
  EXPECT_EQ(query("ID"), 0);
  EXPECT_EQ(text(), "Query DEVICE ID: 0x0\n");
  EXPECT_EQ(query("AXI"), 0);
  EXPECT_EQ(text(), "Query AXI Frequency: 0\n");
  EXPECT_EQ(query("BAND"), 0);
  EXPECT_EQ(text(), "Query bandwidth\uFF1A0Mbps\n");
  EXPECT_EQ(query("CH"), 0);
  EXPECT_EQ(text(), "Query Channel: 1\n");
}

TEST_F(DeviceQuery, NumbersAreSigned) {
  numbers_[1] = 0xFFFFFFFF;
  numbers_[0] = 0xFFFFFFFF;
  numbers_[5] = 0x40000001;
  query("AXI");
  EXPECT_EQ(text(), "Query AXI Frequency: -1\n");
  query("ID");
  EXPECT_EQ(text(), "Query DEVICE ID: 0xffffffff\n");
  query("BAND");
  EXPECT_EQ(text(), "Query bandwidth\uFF1A4Mbps\n");
}

TEST_F(DeviceQuery, ChannelsByMask) {
  const std::map<uint32_t, std::string> lists = {
      {1, "1"}, {2, "2"}, {3, "1 2"}, {12, "3 4"}, {15, "1 2 3 4"}};
  for (uint32_t mask = 0; mask < 20; ++mask) {
    numbers_[10] = mask;
    query("CHANNEL");
    const auto list = lists.find(mask);
    EXPECT_EQ(text(), "Query Channel: " + (list == lists.end() ? "1" : list->second) + "\n");
  }
}

TEST_F(DeviceQuery, EmptyGopVersionIsAnError) {
  texts_[9] = "";
  EXPECT_EQ(query("GOP"), 0);
  EXPECT_EQ(text(), "Query GOP Version Error\n");
  failing_ = {9};
  EXPECT_EQ(query("GOP"), 0);
  EXPECT_EQ(text(), "Query GOP Version Error\n");
}

TEST_F(DeviceQuery, FirmwareVersionMayBeEmpty) {
  texts_[12] = "";
  EXPECT_EQ(query("FIRMWARE"), 0);
  EXPECT_EQ(text(), "Query firmware: \n");
}

TEST_F(DeviceQuery, VersionsThatFillTheAnswerEndThere) {
  platform_.on_ioctl = [](unsigned long, void* record) {
    memset(static_cast<uint8_t*>(record) + 8, 'v', 128);
    return 0;
  };
  query("FIRMWARE");
  EXPECT_EQ(text(), "Query firmware: " + std::string(128, 'v') + "\n");
  query("GOP");
  EXPECT_EQ(text(), "Query GOP: " + std::string(128, 'v') + "\n");
}

TEST_F(DeviceQuery, VideoMemoryRate) {
  const std::string error = "hardware get error!\n";
  const auto rate = [](const char* number) {
    return std::string("Query vram used rate is\uFF1A") + number + "%\n";
  };
  const struct {
    uint32_t used, free;
    std::string text;
  } cases[] = {
      {1, 3, rate("25.00")},
      {1, 0, rate("100.00")},
      {1, 2, rate("33.33")},
      {1000, 9, rate("99.11")},
      {0, 5, error},
      {0, 0, error},
      {429'497, 0, rate("0.00")},                // 10,000 times it wraps to 2704
      {0x80000000, 0x80000000, error},           // nothing of nothing
      {3, 0xFFFFFFFD, rate(" inf")},             // something of nothing
      {0x80000001, 0x80000000, rate("100.00")},  // both wrap
  };
  for (const auto& c : cases) {
    used_ = c.used;
    free_ = c.free;
    EXPECT_EQ(query("VRAM"), 0);
    EXPECT_EQ(text(), c.text) << c.used << " " << c.free;
  }
}

TEST_F(DeviceQuery, VideoMemoryRequest) {
  query("VRAM");
  EXPECT_EQ(platform_.take(), Log{"ioctl 0xc0106405 02000000000000000000000000000000"});
  for (const int failure : {-1, 1}) {
    vram_result_ = failure;
    EXPECT_EQ(query("VRAM"), 0);
    EXPECT_EQ(text(), "Query Varm_info error\n");
  }
}

TEST_F(DeviceQuery, TextQueriesSendNothing) {
  query("GOP");
  EXPECT_EQ(platform_.take(), Log{"ioctl 0xc0886410 0200000009000000" + std::string(256, '0')});
}

}  // namespace
