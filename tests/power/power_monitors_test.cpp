// The board's power-monitor chips: transfers in order, waits, messages and conversions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <optional>

#include "support/capture.h"
#include "support/i2c_node.h"
#include "util_zvg.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::I2cNode;
using zvgtest::Output;
using Log = std::vector<std::string>;

constexpr float untouched = -99;
constexpr char invalid[] = "invalid raw voltage is exist\n";

class Chip : public testing::Test {
 protected:
  Chip(uint32_t bus, uint32_t address) : bus_(bus), address_(address) {}

  uint8_t& reg(unsigned number) {
    return i2c_.device(bus_, address_)[static_cast<uint8_t>(number)];
  }
  void word(unsigned number, uint16_t value) {
    reg(number) = static_cast<uint8_t>(value >> 8);
    reg(number + 1) = static_cast<uint8_t>(value);
  }
  std::string transfer(const std::string& direction, const std::string& rest) const {
    char device[16];
    snprintf(device, sizeof device, " %u:%02x ", bus_, address_);
    return "i2c " + direction + device + rest;
  }
  std::string r(const std::string& rest) const { return transfer("r", rest); }
  std::string w(const std::string& rest) const { return transfer("w", rest); }
  // Fails the n-th transfer of the next call.
  void fail_transfer(unsigned n, int status) {
    i2c_.restart();
    i2c_.status = [n, status](unsigned transfer) { return transfer == n ? status : 0; };
  }

  I2cNode i2c_;
  const uint32_t bus_, address_;
};

// LTC2990 -----------------------------------------------------------------------------------

class Ltc2990 : public Chip {
 protected:
  Ltc2990() : Chip(2, 0x4E) { reg(0) = 0x3C; }

  void inputs(const std::array<uint16_t, 4>& codes, uint16_t supply) {
    for (unsigned i = 0; i < 4; ++i) word(0x06 + 2 * i, codes[i]);
    word(0x0E, supply);
  }
  int volts(uint32_t wait) {
    v_.fill(untouched);
    return zvgLTC2990GetVolt4(bus_, 2, &v_[0], &v_[1], &v_[2], &v_[3], &v_[4], wait);
  }
  int currents(int r1, int r2, uint32_t wait) {
    i_.fill(untouched);
    return zvgLTC2990GetCurrent2(bus_, 2, r1, r2, &i_[0], &i_[1], &i_[2], wait);
  }

  std::array<float, 5> v_{};
  std::array<float, 3> i_{};
};

constexpr std::array<uint16_t, 4> fresh = {0x8000, 0x8000, 0x8000, 0x8000};

TEST_F(Ltc2990, MeasuresOnceAndReads) {
  inputs(fresh, 0x8000);
  const auto output = capture([this] { EXPECT_EQ(volts(1), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("04 x12"), w("01 5f"), w("02 00"), r("00 x1"), r("04 x12")));
  EXPECT_EQ(currents(1, 1, 1), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("04 x12"), w("01 5e"), w("02 00"), r("00 x1"), r("04 x12")));
}

TEST_F(Ltc2990, MeasuresOnWithoutWaiting) {
  inputs(fresh, 0x8000);
  reg(0) = 0x3D;  // busy does not matter
  EXPECT_EQ(volts(0), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("04 x12"), w("01 1f"), w("02 00"), r("00 x1"), r("04 x12")));
  EXPECT_EQ(currents(1, 1, 0), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("04 x12"), w("01 1e"), w("02 00"), r("00 x1"), r("04 x12")));
}

TEST_F(Ltc2990, ChipsFollowEachOtherOnTheBus) {
  for (uint32_t index = 0; index < 4; ++index) {
    i2c_.device(0, 0x4C + index)[0] = 0x3C;
    capture([index] {
      EXPECT_EQ(zvgLTC2990GetVolt4(0, index, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
    });
    const std::string first = i2c_.take().front();
    EXPECT_EQ(first, "i2c r 0:4" + std::string(1, "cdef"[index]) + " 04 x12");
  }
}

TEST_F(Ltc2990, ConvertsVoltages) {
  // The sign is bit 14; bit 15 says only that the result is fresh.
  inputs({0x8001, 0xBFFF, 0xFFFF, 0xC000}, 0x9234);
  EXPECT_EQ(volts(0), 0);
  EXPECT_THAT(v_, ElementsAre(float(1 * 305.18 / 1e6), float(16383 * 305.18 / 1e6),
                              float(-1 * 305.18 / 1e6), float(-16384 * 305.18 / 1e6),
                              float(0x1234 * 305.18 / 1e6 + 2.5)));
  inputs(fresh, 0xFFFE);
  EXPECT_EQ(volts(0), 0);
  EXPECT_EQ(v_[4], float(-2 * 305.18 / 1e6 + 2.5));
}

TEST_F(Ltc2990, EveryCodeConvertsAsTheDataSheetSays) {
  i2c_.node.quiet = true;
  for (int code = -16384; code < 16384; code += 7) {
    const auto word = static_cast<uint16_t>(0x8000 | (code & 0x7FFF));
    inputs({word, word, word, word}, word);
    ASSERT_EQ(volts(0), 0);
    ASSERT_EQ(v_[3], float(code * 305.18 / 1e6)) << code;
    ASSERT_EQ(v_[4], float(code * 305.18 / 1e6 + 2.5)) << code;
    ASSERT_EQ(currents(3, 2000, 0), 0);
    ASSERT_EQ(i_[0], float(code * 19.42 * 1000.0 / 3 / 1e6)) << code;
    ASSERT_EQ(i_[1], float(code * 19.42 * 1000.0 / 2000 / 1e6)) << code;
  }
}

TEST_F(Ltc2990, CurrentsComeFromTheFirstInputOfAPair) {
  inputs({0x8064, 0x8001, 0xFF9C, 0x8002}, 0x8A00);
  EXPECT_EQ(currents(5, 10, 0), 0);
  EXPECT_THAT(
      i_, ElementsAre(float(100 * 19.42 * 1000.0 / 5 / 1e6),
                      float(-100 * 19.42 * 1000.0 / 10 / 1e6), float(0xA00 * 305.18 / 1e6 + 2.5)));
}

TEST_F(Ltc2990, AResistorOfNothingGivesNoCurrent) {
  inputs({0x8064, 0x8000, 0x8064, 0x8000}, 0x8000);
  EXPECT_EQ(currents(0, 10, 0), 0);
  EXPECT_EQ(i_[0], 0.0f);
  EXPECT_EQ(i_[1], float(100 * 19.42 * 1000.0 / 10 / 1e6));
  EXPECT_EQ(currents(10, -5, 0), 0);
  EXPECT_NE(i_[0], 0.0f);
  EXPECT_EQ(i_[1], 0.0f);
}

TEST_F(Ltc2990, OutputsMayBeMissing) {
  inputs({0x8064, 0x8000, 0x8064, 0x8000}, 0x8000);
  EXPECT_EQ(zvgLTC2990GetVolt4(2, 2, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(zvgLTC2990GetCurrent2(2, 2, 1, 1, nullptr, nullptr, nullptr, 0), 0);
  float only = untouched;
  EXPECT_EQ(zvgLTC2990GetCurrent2(2, 2, 1, 1, nullptr, &only, nullptr, 0), 0);
  EXPECT_EQ(only, float(100 * 19.42 * 1000.0 / 1 / 1e6));
}

TEST_F(Ltc2990, StaleResultsAreNamedAndStored) {
  inputs({0x0001, 0x8002, 0x4003, 0x8004}, 0x0005);
  const auto output = capture([this] { EXPECT_EQ(volts(0), 0); });
  EXPECT_EQ(output.out, std::string("LTC2990 V1=1 is not valid\nLTC2990 V3=4003 is not valid\n"
                                    "LTC2990 V5=5 is not valid\n") +
                            invalid);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(v_[0], float(1 * 305.18 / 1e6));
  EXPECT_EQ(v_[2], float(-16381 * 305.18 / 1e6));
  EXPECT_EQ(v_[4], float(5 * 305.18 / 1e6 + 2.5));

  // The supply alone is named, but does not count.
  inputs(fresh, 0x7ABC);
  const auto supply = capture([this] { EXPECT_EQ(currents(1, 1, 0), 0); });
  EXPECT_EQ(supply.out, "LTC2990 V5=7abc is not valid\n");

  // In pairs all four count, too.
  inputs({0x8001, 0x0002, 0x8003, 0x8004}, 0x8000);
  const auto pairs = capture([this] { EXPECT_EQ(currents(1, 1, 0), 0); });
  EXPECT_EQ(pairs.out, std::string("LTC2990 V2=2 is not valid\n") + invalid);
}

TEST_F(Ltc2990, WaitsForTheEndAndThenForResults) {
  inputs(fresh, 0x8000);
  unsigned reads = 0;
  i2c_.on_read = [&](uint32_t, uint32_t number) {
    if (number != 0) return;
    constexpr uint8_t statuses[] = {0x01, 0x3D, 0x00, 0x1C, 0x3C};
    reg(0) = statuses[reads++];
  };
  EXPECT_EQ(volts(1), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("04 x12"), w("01 5f"), w("02 00"), r("00 x1"),       // busy
                          "usleep 1000", r("00 x1"), "usleep 1000", r("00 x1"),  // idle
                          "usleep 1000", r("00 x1"), "usleep 1000", r("00 x1"), r("04 x12")));
}

TEST_F(Ltc2990, EachModeWaitsForItsOwnResults) {
  inputs(fresh, 0x8000);
  i2c_.node.quiet = true;
  for (const unsigned status : {0x3Cu, 0xFCu, 0x38u, 0x34u, 0x2Cu, 0x1Cu, 0x14u}) {
    reg(0) = static_cast<uint8_t>(status);
    capture([&] {
      EXPECT_EQ(volts(0), (status & 0x3C) == 0x3C ? 0 : -2) << status;
      EXPECT_EQ(currents(1, 1, 0), (status & 0x14) == 0x14 ? 0 : -2) << status;
    });
  }
}

TEST_F(Ltc2990, StaysBusy) {
  i2c_.node.quiet = true;
  reg(0) = 0x3D;
  i2c_.restart();
  const auto output = capture([this] { EXPECT_EQ(volts(1), -1); });
  EXPECT_EQ(output.err, "error: wait LTC2990 timeout (-1)\n");
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(i2c_.transfers(), 3u + 1 + 10000);
  EXPECT_EQ(i2c_.node.slept_us, 10'000'000u);
  EXPECT_THAT(v_, Each(untouched));
}

TEST_F(Ltc2990, ResultsNeverGetReady) {
  i2c_.node.quiet = true;
  reg(0) = 0x38;
  for (const uint32_t wait : {0u, 1u}) {
    i2c_.restart();
    const auto output = capture([&] { EXPECT_EQ(currents(1, 1, wait), -2); });
    EXPECT_EQ(output.err, "error: wait LTC2990 timeout (-2)\n");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(i2c_.transfers(), 3u + 1 + 10000);
    EXPECT_EQ(i2c_.node.slept_us, 10'000'000u);
    EXPECT_THAT(i_, Each(untouched));
  }
}

// What the last of the 10000 reads finds still counts.
TEST_F(Ltc2990, TheLastLookCounts) {
  i2c_.node.quiet = true;
  inputs(fresh, 0x8000);
  unsigned reads = 0;
  i2c_.on_read = [&](uint32_t, uint32_t number) {
    if (number == 0) reg(0) = ++reads == 10001 ? 0x3C : 0x3D;
  };
  EXPECT_EQ(volts(1), 0);
}

TEST_F(Ltc2990, AFailedTransferEndsTheCall) {
  inputs(fresh, 0x8000);
  const std::string i2c = "error: i2c operation error (-2)\n";
  const std::string timeout = "error: wait LTC2990 timeout (-2)\n";
  const struct {
    unsigned transfer;
    std::string err;
  } rows[] = {{1, i2c}, {2, i2c}, {3, i2c}, {4, i2c + timeout}};
  for (const auto& row : rows) {
    fail_transfer(row.transfer, -2);
    const auto voltages = capture([this] { EXPECT_EQ(volts(1), -2); });
    EXPECT_EQ(voltages.err, row.err);
    EXPECT_EQ(voltages.out, "");
    EXPECT_EQ(i2c_.transfers(), row.transfer);
    EXPECT_THAT(v_, Each(untouched));
    fail_transfer(row.transfer, -2);
    const auto pairs = capture([this] { EXPECT_EQ(currents(1, 1, 0), -2); });
    EXPECT_EQ(pairs.err, row.err);
    EXPECT_EQ(pairs.out, "");
    EXPECT_EQ(i2c_.transfers(), row.transfer);
    EXPECT_THAT(i_, Each(untouched));
  }
}

// Results that cannot be read count as 0 and do not end the call.
TEST_F(Ltc2990, AFailedReadOfTheResultsGoesOn) {
  inputs({0x8064, 0x8064, 0x8064, 0x8064}, 0x8064);
  fail_transfer(5, -2);
  const auto voltages = capture([this] { EXPECT_EQ(volts(1), 0); });
  EXPECT_EQ(voltages.err, "error: i2c operation error (-2)\n");
  EXPECT_EQ(voltages.out, invalid);
  EXPECT_THAT(v_, ElementsAre(0.0f, 0.0f, 0.0f, 0.0f, 2.5f));
  fail_transfer(5, -2);
  const auto pairs = capture([this] { EXPECT_EQ(currents(1, 1, 1), 0); });
  EXPECT_EQ(pairs.err, "error: i2c operation error (-2)\n");
  EXPECT_EQ(pairs.out, invalid);
  EXPECT_THAT(i_, ElementsAre(0.0f, 0.0f, 2.5f));
  EXPECT_EQ(i2c_.transfers(), 5u);
}

TEST_F(Ltc2990, AFailedTransferInAWaitPrintsBoth) {
  inputs(fresh, 0x8000);
  for (const uint8_t status : {uint8_t{0x3D}, uint8_t{0x00}}) {  // either wait
    reg(0) = status;
    fail_transfer(6, 7);
    const auto output = capture([this] { EXPECT_EQ(volts(1), 7); });
    EXPECT_EQ(output.err, "error: i2c operation error (7)\nerror: wait LTC2990 timeout (7)\n");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(i2c_.transfers(), 6u);
  }
}

TEST_F(Ltc2990, ABusThatIsNotThereIsTheMastersError) {
  const auto output = capture([] {
    EXPECT_EQ(zvgLTC2990GetVolt4(6, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 4);
  });
  EXPECT_EQ(output.err, "error: i2c operation error (4)\n");
}

// LTC2991 -----------------------------------------------------------------------------------

class Ltc2991 : public Chip {
 protected:
  Ltc2991() : Chip(1, 0x4D) {
    reg(0) = 0xFF;
    for (unsigned i = 0; i < 8; ++i) input(i, 0x8000);
    word(0x1C, 0x8000);
  }

  void input(unsigned i, uint16_t code) { word(0x0A + 2 * i, code); }
  int volts(uint32_t wait) {
    v_.fill(untouched);
    return zvgLTC2991GetVolt8(bus_, 5, &v_[0], &v_[1], &v_[2], &v_[3], &v_[4], &v_[5], &v_[6],
                              &v_[7], &v_[8], wait);
  }
  int currents(uint32_t r1, uint32_t r2, uint32_t r3, uint32_t r4, uint32_t wait) {
    i_.fill(untouched);
    return zvgLTC2991GetCurrent4(bus_, 5, r1, r2, r3, r4, &i_[0], &i_[1], &i_[2], &i_[3], &i_[4],
                                 wait);
  }

  std::array<float, 9> v_{};
  std::array<float, 5> i_{};
};

TEST_F(Ltc2991, MeasuresOnceAndReads) {
  reg(6) = 0x5F, reg(7) = 0xAA, reg(8) = 0xFF, reg(1) = 0x03;
  const auto output = capture([this] { EXPECT_EQ(volts(1), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("06 x1"), r("07 x1"), w("06 4e"), w("07 aa"), r("08 x1"), w("08 ef"),
                          r("01 x1"), w("01 fb"), r("01 x1"), r("00 x1"), r("0a x16"), r("1c x2")));
}

TEST_F(Ltc2991, MeasuresPairsOnWithoutWaiting) {
  reg(6) = 0x02, reg(7) = 0xA8, reg(8) = 0x02, reg(1) = 0x04;
  EXPECT_EQ(currents(1, 1, 1, 1, 0), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("06 x1"), r("07 x1"), w("06 13"), w("07 b9"), r("08 x1"), w("08 12"),
                          r("01 x1"), w("01 fc"), r("01 x1"), r("00 x1"), r("0a x16"), r("1c x2")));
}

TEST_F(Ltc2991, ChipsFollowEachOtherOnTheBus) {
  for (uint32_t index = 0; index < 8; ++index) {
    i2c_.device(0, 0x48 + index)[0] = 1;
    capture([index] {
      EXPECT_EQ(zvgLTC2991GetVolt8(0, index, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, 0),
                0);
    });
    EXPECT_EQ(i2c_.take().front(), "i2c r 0:4" + std::string(1, "89abcdef"[index]) + " 06 x1");
  }
}

TEST_F(Ltc2991, ConvertsVoltagesWithoutASign) {
  i2c_.node.quiet = true;
  for (int code = 0; code < 0x8000; code += 11) {
    for (unsigned i = 0; i < 8; ++i) input(i, static_cast<uint16_t>(0x8000 | code));
    word(0x1C, static_cast<uint16_t>(0x8000 | code));
    ASSERT_EQ(volts(0), 0);
    ASSERT_EQ(v_[7], float((code & 0x3FFF) * 305.18 / 1e6)) << code;
    ASSERT_EQ(v_[8], float((code & 0x3FFF) * 305.18 / 1e6 + 2.5)) << code;
  }
  for (unsigned i = 0; i < 8; ++i) input(i, static_cast<uint16_t>(0x8001 + i));
  ASSERT_EQ(volts(0), 0);
  for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(v_[i], float((1 + int(i)) * 305.18 / 1e6));
}

TEST_F(Ltc2991, CurrentsComeFromTheSecondInputOfAPair) {
  for (unsigned i = 0; i < 8; ++i) input(i, static_cast<uint16_t>(0x8000 + 100 * (i + 1)));
  word(0x1C, 0x8A00);
  EXPECT_EQ(currents(1, 2, 0, 10, 0), 0);
  EXPECT_THAT(
      i_, ElementsAre(float(200 * 19.075 * 1000.0 / 1 / 1e6),
                      float(400 * 19.075 * 1000.0 / 2 / 1e6), 0.0f,
                      float(800 * 19.075 * 1000.0 / 10 / 1e6), float(0xA00 * 305.18 / 1e6 + 2.5)));
}

TEST_F(Ltc2991, NegativeCurrentsComeOutPositive) {
  input(1, 0xC001);
  input(3, 0xFFFF);
  EXPECT_EQ(currents(1, 0xFFFFFFFF, 1, 1, 0), 0);
  EXPECT_EQ(i_[0], float(0x4001 * 19.075 * 1000.0 / 1 / 1e6));
  EXPECT_GT(i_[0], 312.0f);
  EXPECT_EQ(i_[1], float(0x7FFF * 19.075 * 1000.0 / 4294967295.0 / 1e6));
  EXPECT_GT(i_[1], 0.0f);
  EXPECT_EQ(currents(0, 0, 0, 0, 0), 0);
  EXPECT_EQ(i_[0], 0.0f);
}

TEST_F(Ltc2991, StaleResultsAreNamedAndStored) {
  input(0, 0x0001);
  input(7, 0x4ABC);
  word(0x1C, 0x0123);
  const auto output = capture([this] { EXPECT_EQ(volts(0), 0); });
  EXPECT_EQ(output.out, std::string("LTC2991 V0=1 is not valid\nLTC2991 V7=4abc is not valid\n"
                                    "LTC2991 V0=123 is not valid\n") +
                            invalid);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(v_[0], float(1 * 305.18 / 1e6));
  EXPECT_EQ(v_[7], float(0x0ABC * 305.18 / 1e6));
  EXPECT_EQ(v_[8], float(0x123 * 305.18 / 1e6 + 2.5));

  input(0, 0x8000), input(7, 0x8000);
  const auto supply = capture([this] { EXPECT_EQ(currents(1, 1, 1, 1, 0), 0); });
  EXPECT_EQ(supply.out, "LTC2991 V0=123 is not valid\n");
}

TEST_F(Ltc2991, WaitsForTheEndAndThenForResults) {
  unsigned status_reads = 0, ready_reads = 0;
  i2c_.on_read = [&](uint32_t, uint32_t number) {
    if (number == 1) reg(1) = ++status_reads < 4 ? 0xFC : 0xF8;  // the first is for the set-up
    if (number == 0) reg(0) = ++ready_reads < 3 ? 0x05 : 0x15;
  };
  EXPECT_EQ(currents(1, 1, 1, 1, 1), 0);
  EXPECT_THAT(i2c_.take(),
              ElementsAre(r("06 x1"), r("07 x1"), w("06 11"), w("07 11"), r("08 x1"), w("08 00"),
                          r("01 x1"), w("01 fc"), r("01 x1"), "usleep 1000", r("01 x1"),
                          "usleep 1000", r("01 x1"), r("00 x1"), "usleep 1000", r("00 x1"),
                          "usleep 1000", r("00 x1"), r("0a x16"), r("1c x2")));
}

TEST_F(Ltc2991, EachModeWaitsForItsOwnResults) {
  i2c_.node.quiet = true;
  for (const unsigned ready : {0x00u, 0x01u, 0x80u, 0x15u, 0xFFu, 0x14u, 0x11u, 0x05u, 0xEAu}) {
    reg(0) = static_cast<uint8_t>(ready);
    capture([&] {
      EXPECT_EQ(volts(0), ready != 0 ? 0 : -2) << ready;
      EXPECT_EQ(currents(1, 1, 1, 1, 0), (ready & 0x15) == 0x15 ? 0 : -2) << ready;
    });
  }
}

TEST_F(Ltc2991, StaysBusy) {
  i2c_.node.quiet = true;
  reg(1) = 0x04;
  i2c_.restart();
  const auto output = capture([this] { EXPECT_EQ(volts(1), -1); });
  EXPECT_EQ(output.out, "error: wait LTC2991 timeout (-1)\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(i2c_.transfers(), 9u + 10000);
  EXPECT_EQ(i2c_.node.slept_us, 10'000'000u);
  EXPECT_THAT(v_, Each(untouched));
  // Not looked at without waiting.
  EXPECT_EQ(volts(0), 0);
}

TEST_F(Ltc2991, ResultsNeverGetReady) {
  i2c_.node.quiet = true;
  reg(0) = 0;
  i2c_.restart();
  const auto output = capture([this] { EXPECT_EQ(volts(1), -2); });
  EXPECT_EQ(output.out, "error: wait LTC2991 timeout (-2)\n");
  EXPECT_EQ(i2c_.transfers(), 10u + 10000);
  EXPECT_EQ(i2c_.node.slept_us, 10'000'000u);
  EXPECT_THAT(v_, Each(untouched));
}

TEST_F(Ltc2991, AFailedTransferEndsTheCall) {
  for (unsigned transfer = 1; transfer <= 10; ++transfer) {
    reg(1) = 0;
    fail_transfer(transfer, -2);
    const auto output = capture([this] { EXPECT_EQ(volts(1), -2); });
    EXPECT_EQ(output.out, "error: i2c operation error (-2)\n") << transfer;
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(i2c_.transfers(), transfer);
    EXPECT_THAT(v_, Each(untouched));
  }
}

// Results that cannot be read count as 0 and do not end the call. The supply is not read after the
// inputs failed.
TEST_F(Ltc2991, AFailedReadOfTheResultsGoesOn) {
  for (unsigned i = 0; i < 8; ++i) input(i, 0x8064);
  for (const unsigned transfer : {11u, 12u}) {
    fail_transfer(transfer, -2);
    const auto voltages = capture([this] { EXPECT_EQ(volts(1), 0); });
    EXPECT_EQ(voltages.out, std::string("error: i2c operation error (-2)\n") + invalid);
    EXPECT_EQ(voltages.err, "");
    EXPECT_EQ(i2c_.transfers(), transfer);
    EXPECT_THAT(v_, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 2.5f));
    fail_transfer(transfer, -2);
    const auto pairs = capture([this] { EXPECT_EQ(currents(1, 1, 1, 1, 1), 0); });
    EXPECT_EQ(pairs.out, std::string("error: i2c operation error (-2)\n") + invalid);
    EXPECT_THAT(i_, ElementsAre(0, 0, 0, 0, 2.5f));
  }
}

TEST_F(Ltc2991, AFailedTransferInAWaitPrintsBoth) {
  reg(1) = 0x04;
  fail_transfer(10, -3);
  const auto busy = capture([this] { EXPECT_EQ(volts(1), -3); });
  EXPECT_EQ(busy.out, "err: i2c operation error (-3)\nerror: wait LTC2991 timeout (-3)\n");
  reg(1) = 0;
  reg(0) = 0;
  fail_transfer(11, 9);
  const auto ready = capture([this] { EXPECT_EQ(volts(1), 9); });
  EXPECT_EQ(ready.out, "err: i2c operation error (9)\nerror: wait LTC2991 timeout (9)\n");
  EXPECT_EQ(ready.err, "");
}

TEST_F(Ltc2991, OutputsMayBeMissing) {
  EXPECT_EQ(zvgLTC2991GetCurrent4(1, 5, 1, 1, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, 0),
            0);
}

// INA3221 -----------------------------------------------------------------------------------

class Ina3221 : public Chip {
 protected:
  Ina3221() : Chip(4, 0x40) {}

  int volts() { return zvgINA3221GetVolt2(bus_, &v_[0], &v_[1]); }
  int currents(int r1, uint32_t r2) { return zvgINA3221GetCurrent2(bus_, r1, r2, &v_[0], &v_[1]); }
  // Registers are words here: what one holds is not the next one's low byte.
  void shunts(uint16_t first, uint16_t second) {
    i2c_.on_read = [=, this](uint32_t, uint32_t number) {
      word(number, number == 1 ? first : second);
    };
  }

  std::array<float, 2> v_{untouched, untouched};
};

TEST_F(Ina3221, MeasuresBothShunts) {
  shunts(0x0190, 0x7FF8);
  EXPECT_EQ(volts(), 0);
  EXPECT_THAT(i2c_.take(), ElementsAre(w("00 7121"), r("01 x2"), r("03 x2")));
  EXPECT_THAT(v_, ElementsAre(50.0f * 40.0f / 1000.0f, 4095.0f * 40.0f / 1000.0f));
}

TEST_F(Ina3221, NegativeShuntsGoByMagnitude) {
  const struct {
    uint16_t word;
    float millivolts;
  } rows[] = {{0x0000, 0.0f},
              {0x0007, 0.0f},
              {0x0008, 0.04f},
              {0xFFF8, -(1.0f * 40.0f / 1000.0f)},  // -(0x7FF8) as 16 bits: 0x8008
              {0xFF38, -(25.0f * 40.0f / 1000.0f)},
              {0x8008, -(4095.0f * 40.0f / 1000.0f)},
              {0x8000, -0.0f}};
  for (const auto& row : rows) {
    shunts(row.word, 0);
    EXPECT_EQ(volts(), 0);
    EXPECT_EQ(v_[0], row.millivolts) << row.word;
  }
}

TEST_F(Ina3221, CurrentsDivideByTheResistor) {
  shunts(0x0190, 0xFE70);
  EXPECT_EQ(currents(3, 7), 0);
  EXPECT_THAT(i2c_.take(), ElementsAre(w("00 7121"), r("01 x2"), r("03 x2")));
  EXPECT_THAT(v_, ElementsAre(2.0f / 3.0f, -2.0f / 7.0f));
  EXPECT_EQ(currents(0, 0), 0);
  EXPECT_THAT(v_, ElementsAre(0.0f, 0.0f));
  EXPECT_EQ(currents(-3, 0x80000000), 0);
  EXPECT_THAT(v_, ElementsAre(0.0f, -2.0f / 2147483648.0f));
}

TEST_F(Ina3221, AFailedConfigurationEndsTheCall) {
  fail_transfer(1, -2);
  const auto output = capture([this] {
    EXPECT_EQ(volts(), -2);
    i2c_.restart();
    EXPECT_EQ(currents(1, 1), -2);
  });
  EXPECT_EQ(output.out, "error: i2c operation err (-2)\nerror: i2c operation err (-2)\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(v_, Each(untouched));
}

TEST_F(Ina3221, AFailedReadGoesOn) {
  shunts(0x0190, 0x0190);
  fail_transfer(2, -3);
  const auto first = capture([this] { EXPECT_EQ(volts(), 0); });
  EXPECT_EQ(first.out, std::string("error: i2c operation error (-3)\n") + invalid);
  EXPECT_EQ(first.err, "");
  EXPECT_THAT(v_, ElementsAre(0.0f, 2.0f));
  EXPECT_EQ(i2c_.transfers(), 3u);

  fail_transfer(3, -3);
  const auto second = capture([this] { EXPECT_EQ(currents(1, 1), 0); });
  EXPECT_EQ(second.out, "error: i2c operation error (-3)\ninvalid raw data voltage is exist\n");
  EXPECT_THAT(v_, ElementsAre(2.0f, 0.0f));
}

TEST_F(Ina3221, OutputsMayBeMissing) {
  EXPECT_EQ(zvgINA3221GetVolt2(bus_, nullptr, nullptr), 0);
  EXPECT_EQ(zvgINA3221GetCurrent2(bus_, 1, 1, nullptr, nullptr), 0);
}

}  // namespace
