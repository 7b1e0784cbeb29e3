// Register blocks by letter: addressing, widths, and every message on its stream.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RegisterNode;

class Blocks : public testing::Test {
 protected:
  void SetUp() override {
    node_.bytes[0x103CC] = 1;
    node_.open();
    uint8_t unused = 0;
    zvgCrtcReadByte(0, &unused);  // the process's one look at the addressing mode
    node_.take();
  }
  void open(uint32_t device_id) {
    node_.device_id = device_id;
    node_.open();
  }
  void store(uint64_t offset, uint32_t value) {
    for (unsigned i = 0; i < 4; ++i) node_.bytes[offset + i] = static_cast<uint8_t>(value >> 8 * i);
  }
  void fail_everything() {
    node_.result = [](bool, uint64_t) { return -1; };
  }

  RegisterNode node_;
};

// One call and what it should give.
struct Expected {
  int64_t result;
  std::string out;
  std::string err;
};

template <typename Call>
void expect(const Expected& expected, Call call) {
  int64_t result = 0;
  const auto output = capture([&] { result = static_cast<int64_t>(call()); });
  EXPECT_EQ(result, expected.result);
  EXPECT_EQ(output.out, expected.out);
  EXPECT_EQ(output.err, expected.err);
}

TEST_F(Blocks, TableRows) {
  struct {
    const char* key;
    zvg_check_handler* check;
    zvg_read_handler* read;
  } const rows[] = {
      {"RH", zvgHdmiCheckReg, zvgHdmiReadReg}, {"RV", zvgVgaCheckReg, zvgVgaReadReg},
      {"RM", zvgMmioCheckReg, zvgMmioReadReg}, {"RP", zvgHdmiPhyCheckReg, zvgHdmiPhyReadReg},
      {"RD", zvgDpCheckReg, zvgDpReadReg},     {"WH", zvgHdmiWriteReg, nullptr},
      {"WV", zvgVgaWriteReg, nullptr},         {"WM", zvgMmioWriteReg, nullptr},
      {"WP", zvgHdmiPhyWriteReg, nullptr},     {"WD", zvgDpWriteReg, nullptr},
  };
  static_assert(sizeof(zvg_reg_dev) == 24 && sizeof reg_dev == 240);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(reg_dev[i].key, static_cast<uint64_t>(rows[i].key[0] | rows[i].key[1] << 8)) << i;
    EXPECT_EQ(reg_dev[i].check, rows[i].check) << i;
    EXPECT_EQ(reg_dev[i].read, rows[i].read) << i;
  }
}

TEST_F(Blocks, HdmiCheck) {
  store(0x123000, 0xA5);
  expect({0, "[3000] : \033[34m[000000af]\033[0m.\n", ""},
         [] { return zvgHdmiCheckReg(0x3000, 0xAF, 0xF0, 8, 1 + 0); });
  node_.bytes[0x123000] = 0;
  store(0x123000, 0x123456A5);
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x123000"));
}

TEST_F(Blocks, HdmiCheckMessages) {
  store(0x113000, 0x123456A5);
  expect({0, "[3000]: \033[31m[000056a5]\033[0m, expected \033[34m[000000a4]\033[0m (mask FFFF)\n",
          ""},
         [] { return zvgHdmiCheckReg(0x3000, 0xA4, 0xFFFF, 16, 0); });
  expect({0, "[3000] : \033[34m[000000a5]\033[0m.\n", ""},
         [] { return zvgHdmiCheckReg(0x3000, 0xA5, 0xFF, 32, 0); });
  EXPECT_THAT(node_.take(), ElementsAre("r2 0x113000", "r4 0x113000"));
  expect({-1, "", "value width 64 is not supported\nread reg [3000] failed, exit script!\n"},
         [] { return zvgHdmiCheckReg(0x3000, 0, 0, 64, 0); });
  fail_everything();
  expect({-1, "", "read reg [3000] failed, exit script!\n"},
         [] { return zvgHdmiCheckReg(0x3000, 0, 0, 8, 0); });
}

TEST_F(Blocks, HdmiReadAndWrite) {
  store(0x143000, 0x12345678);
  expect({0x78, "", ""}, [] { return zvgHdmiReadReg(0x3000, 1, 1, 8, 3); });
  expect({0x5678, "", ""}, [] { return zvgHdmiReadReg(0x3000, 1, 1, 16, 3); });
  expect({0x12345678, "", ""}, [] { return zvgHdmiReadReg(0x3000, 1, 1, 32, 3); });
  expect({0, "write [3000] with abcdef12 success!\n", ""},
         [] { return zvgHdmiWriteReg(0x3000, 0xABCDEF12, 0, 8, 3); });
  expect({0, "write [3000] with abcdef12 success!\n", ""},
         [] { return zvgHdmiWriteReg(0x3000, 0xABCDEF12, 0, 16, 3); });
  expect({0, "write [3000] with abcdef12 success!\n", ""},
         [] { return zvgHdmiWriteReg(0x3000, 0xABCDEF12, 0, 32, 3); });
  EXPECT_THAT(node_.take(),
              ElementsAre("r1 0x143000", "r2 0x143000", "r4 0x143000", "w1 0x143000 0x12",
                          "w2 0x143000 0xef12", "w4 0x143000 0xabcdef12"));
  expect({0xFFFFFFFF, "", "value width 7 is not supported\nread [3000] failed, exit script!\n"},
         [] { return zvgHdmiReadReg(0x3000, 0, 0, 7, 0); });
  expect({-1, "", "value width 7 is not supported\nwrite reg [3000] ab failed, exit script!\n"},
         [] { return zvgHdmiWriteReg(0x3000, 0xAB, 0, 7, 0); });
  fail_everything();
  expect({0xFFFFFFFF, "", "read [3000] failed, exit script!\n"},
         [] { return zvgHdmiReadReg(0x3000, 0, 0, 8, 0); });
  expect({-1, "", "write reg [3000] ab failed, exit script!\n"},
         [] { return zvgHdmiWriteReg(0x3000, 0xAB, 0, 8, 0); });
}

TEST_F(Blocks, MmioMessages) {
  store(0x308400, 0x12345678);
  expect({0, "[0x308400]:\033[34m[00005670]\033[0m.\n", ""},
         [] { return zvgMmioCheckReg(0x308400, 0x5670, 0xFFF0, 16, 9); });
  expect({0, "[0x308400] :\033[31m12345678\033[0m, expected \033[34m1\033[0m (mask F)\n", ""},
         [] { return zvgMmioCheckReg(0x308400, 1, 0xF, 32, 9); });
  expect({0x78, "", ""}, [] { return zvgMmioReadReg(0x308400, 0, 0, 8, 9); });
  expect({0, "write [308400] with 1ff success!\n", ""},
         [] { return zvgMmioWriteReg(0x308400, 0x1FF, 0, 8, 9); });
  EXPECT_THAT(node_.take(),
              ElementsAre("r2 0x308400", "r4 0x308400", "r1 0x308400", "w1 0x308400 0xff"));
  expect({-1, "", "value width 1 is not supported\nread reg [0x10] failed, exit script!\n"},
         [] { return zvgMmioCheckReg(0x10, 0, 0, 1, 0); });
  expect({0xFFFFFFFF, "read [0x10] failed, exit script!\n", "value width 1 is not supported\n"},
         [] { return zvgMmioReadReg(0x10, 0, 0, 1, 0); });
  expect({-1, "", "value width 1 is not supported\nwrite [10] failed, exit script!\n"},
         [] { return zvgMmioWriteReg(0x10, 0, 0, 1, 0); });
  fail_everything();
  expect({-1, "", "read reg [0x10] failed, exit script!\n"},
         [] { return zvgMmioCheckReg(0x10, 0, 0, 8, 0); });
  expect({0xFFFFFFFF, "read [0x10] failed, exit script!\n", ""},
         [] { return zvgMmioReadReg(0x10, 0, 0, 8, 0); });
  expect({-1, "", "write [10] failed, exit script!\n"},
         [] { return zvgMmioWriteReg(0x10, 5, 0, 8, 0); });
}

TEST_F(Blocks, HdmiPhyMessages) {
  node_.bytes[0x130108] = 0x02;
  node_.on_read = [](uint64_t offset, uint64_t* value) {
    const uint64_t reg = offset & 0xFFFF;
    if (reg != 0x0108 && reg != 0x3024 && reg != 0x3025) return false;
    *value = reg == 0x0108 ? 0x02 : reg == 0x3024 ? 0x12 : 0x34;
    return true;
  };
  expect({0, "[6] : \033[34m[00001034]\033[0m.\n", ""},
         [] { return zvgHdmiPhyCheckReg(0x6, 0x1034, 0xF0FF, 16, 2); });
  expect(
      {0, "[6]: \033[31m[00001234]\033[0m, expected \033[34m[00000001]\033[0m (mask FFFF)\n", ""},
      [] { return zvgHdmiPhyCheckReg(0x6, 1, 0xFFFF, 16, 2); });
  expect({0x1234, "", ""}, [] { return zvgHdmiPhyReadReg(0x6, 0, 0, 16, 2); });
  expect({0, "hdmi 2: phy write [6] with 00ab success!\n", ""},
         [] { return zvgHdmiPhyWriteReg(0x6, 0xAB, 0, 16, 2); });
  const auto log = node_.take();
  EXPECT_THAT(log, testing::Contains("w1 0x133021 0x6"));
  EXPECT_THAT(log, testing::Contains("w1 0x133023 0xab"));
  // Transmitter 4 does not exist: a failure without an access.
  expect({-1, "", "HDMI4: phy read [6] error\n"},
         [] { return zvgHdmiPhyCheckReg(0x6, 0, 0, 16, 4); });
  expect({0xFFFFFFFF, "HDMI4: phy read [6] error\n", ""},
         [] { return zvgHdmiPhyReadReg(0x6, 0, 0, 16, 4); });
  expect({-1, "hdmi 4: phy write [6] with 00ab error\n", ""},
         [] { return zvgHdmiPhyWriteReg(0x6, 0xAB, 0, 16, 4); });
  for (const int width : {8, 32}) {
    const std::string text = "value width " + std::to_string(width) + " is not supported\n";
    expect({-1, "", text + "HDMI1: phy read [6] error\n"},
           [=] { return zvgHdmiPhyCheckReg(0x6, 0, 0, width, 1); });
    expect({0xFFFFFFFF, "HDMI1: phy read [6] error\n", text},
           [=] { return zvgHdmiPhyReadReg(0x6, 0, 0, width, 1); });
    expect({-1, "hdmi 1: phy write [6] with 00ab error\n", text},
           [=] { return zvgHdmiPhyWriteReg(0x6, 0xAB, 0, width, 1); });
  }
}

TEST_F(Blocks, VgaMessages) {
  node_.bytes[0x103D5] = 0xA5;
  expect({0, "[0x8c] : \033[34m[000000a4]\033[0m.\n", ""},
         [] { return zvgVgaCheckReg(0x8C, 0xA4, 0xF0, 8, 0); });
  expect({0, "[0x8c]:\033[31ma5\033[0m, expected \033[34m1\033[0m (mask FF)\n", ""},
         [] { return zvgVgaCheckReg(0x8C, 1, 0xFF, 8, 3); });
  expect({0xA5, "", ""}, [] { return zvgVgaReadReg(0x8C, 0, 0, 8, 0); });
  expect({0, "write [8c] with 1ff success!\n", ""},
         [] { return zvgVgaWriteReg(0x8C, 0x1FF, 0, 8, 0); });
  EXPECT_THAT(node_.take(),
              ElementsAre("w1 0x103d4 0x8c", "r1 0x103d5", "w1 0x103d4 0x8c", "r1 0x103d5",
                          "w1 0x103d4 0x8c", "r1 0x103d5", "w1 0x103d4 0x8c", "w1 0x103d5 0xff"));
  expect({0xFFFFFFFF, "crtc channel [1] is err!\n", ""},
         [] { return zvgVgaReadReg(0x8C, 0, 0, 8, 1); });
  expect({-1, "crtc channel [2] is err!\n", ""}, [] { return zvgVgaWriteReg(0x8C, 0, 0, 8, 2); });
  expect({-1, "", "value width 16 is not supported\nread reg [0x8c] failed, exit script!\n"},
         [] { return zvgVgaCheckReg(0x8C, 0, 0, 16, 0); });
  expect({0xFFFFFFFF, "", "value width 16 is not supported\nread [0x8c] failed, exit script!\n"},
         [] { return zvgVgaReadReg(0x8C, 0, 0, 16, 0); });
  expect({-1, "", "value width 32 is not supported\nwrite [8c] failed, exit script!\n"},
         [] { return zvgVgaWriteReg(0x8C, 0, 0, 32, 0); });
  EXPECT_THAT(node_.take(), IsEmpty());
  fail_everything();
  expect({-1, "", "read reg [0x8c] failed, exit script!\n"},
         [] { return zvgVgaCheckReg(0x8C, 0, 0, 8, 0); });
  expect({0xFFFFFFFF, "", "read [0x8c] failed, exit script!\n"},
         [] { return zvgVgaReadReg(0x8C, 0, 0, 8, 0); });
  expect({-1, "", "write [8c] failed, exit script!\n"},
         [] { return zvgVgaWriteReg(0x8C, 0, 0, 8, 0); });
}

// Cut to 32 bits it would be index 0x22.
TEST_F(Blocks, VgaIndexOfMoreThan32BitsIsRefused) {
  const std::string refused = "Invalid argument: offset is out of range\n";
  expect({-1, "", refused + "read reg [0x100000022] failed, exit script!\n"},
         [] { return zvgVgaCheckReg(0x100000022, 0, 0, 8, 0); });
  expect({0xFFFFFFFF, "", refused + "read [0x100000022] failed, exit script!\n"},
         [] { return zvgVgaReadReg(0x100000022, 0, 0, 8, 0); });
  expect({-1, "", refused + "write [100000022] failed, exit script!\n"},
         [] { return zvgVgaWriteReg(0x100000022, 1, 0, 8, 0); });
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Blocks, DpAddressesPerGeneration) {
  open(0x201);
  zvgDpReadReg(0x10040, 0, 0, 32, 0);
  zvgDpReadReg(0x10040, 0, 0, 32, 1);
  open(0x202);
  capture([] { zvgDpReadReg(0x10040, 0, 0, 32, 1); });
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x2d0040"));
  open(0x203);
  capture([] { zvgDpReadReg(0x10040, 0, 0, 32, 1); });
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x40"));
}

TEST_F(Blocks, DpMessagesNameTheRegister) {
  open(0x201);
  store(0x530040, 0x12345678);
  expect({0, "[530040] : \033[34m[00005678]\033[0m.\n", ""},
         [] { return zvgDpCheckReg(0x10040, 0x5678, 0xFFFF, 32, 1); });
  expect(
      {0, "[530040]: \033[31m[12345678]\033[0m, expected \033[34m[00000001]\033[0m (mask F)\n", ""},
      [] { return zvgDpCheckReg(0x10040, 1, 0xF, 32, 1); });
  expect({0x12345678, "", ""}, [] { return zvgDpReadReg(0x10040, 0, 0, 32, 1); });
  expect({0, "write [530040] with ab success!\n", ""},
         [] { return zvgDpWriteReg(0x10040, 0xAB, 0, 32, 1); });
  EXPECT_THAT(node_.take(),
              ElementsAre("r4 0x530040", "r4 0x530040", "r4 0x530040", "w4 0x530040 0xab"));
  expect({-1, "", "value width 16 is not supported\nread reg [530040] failed, exit script!\n"},
         [] { return zvgDpCheckReg(0x10040, 0, 0, 16, 1); });
  expect({0xFFFFFFFF, "dp 1 read [0x530040] failed, exit script!\n",
          "value width 8 is not supported\n"},
         [] { return zvgDpReadReg(0x10040, 0, 0, 8, 1); });
  expect({-1, "", "value width 8 is not supported\nwrite reg [530040] ab failed, exit script!\n"},
         [] { return zvgDpWriteReg(0x10040, 0xAB, 0, 8, 1); });
  fail_everything();
  expect({-1, "", "read reg [530040] failed, exit script!\n"},
         [] { return zvgDpCheckReg(0x10040, 0, 0, 32, 1); });
  expect({0xFFFFFFFF, "dp 1 read [0x530040] failed, exit script!\n", ""},
         [] { return zvgDpReadReg(0x10040, 0, 0, 32, 1); });
  expect({-1, "", "write reg [530040] ab failed, exit script!\n"},
         [] { return zvgDpWriteReg(0x10040, 0xAB, 0, 32, 1); });
}

}  // namespace
