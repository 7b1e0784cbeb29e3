// What the tool makes of a power monitor's answers, in this process: which transfer fails is
// chosen.
#include "service/power/power_chips.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/board/error.h"
#include "support/capture.h"
#include "support/i2c_node.h"

namespace {

using testing::HasSubstr;
using zvg::PowerChip;

struct Row {
  PowerChip chip;
  uint8_t address;
  unsigned result_read;  // which transfer fetches the results
};

class UnreadResults : public testing::TestWithParam<Row> {};

// The library goes on with zeros, which are no measurement.
TEST_P(UnreadResults, AreAFailure) {
  const Row& row = GetParam();
  zvgtest::I2cNode i2c;
  auto& registers = i2c.device(1, row.address);
  registers[0] = 0xFE;  // not busy, everything ready
  const zvg::PowerMonitor monitor = {row.chip, 1, row.address, "rail", {}};
  std::string why;
  const auto measured = [&] {
    try {
      measure(monitor);
    } catch (const zvg::Error& failure) {
      why = failure.what();
    }
  };
  zvgtest::capture(measured);
  EXPECT_EQ(why, "");
  i2c.restart();
  i2c.status = [&](unsigned transfer) { return transfer == row.result_read ? -2 : 0; };
  zvgtest::capture(measured);
  EXPECT_THAT(why, HasSubstr("its results could not be read"));
}

INSTANTIATE_TEST_SUITE_P(Chips, UnreadResults,
                         testing::Values(Row{PowerChip::ltc2990, 0x4C, 5},
                                         Row{PowerChip::ltc2991, 0x48, 11},
                                         Row{PowerChip::ina3221, 0x40, 5}),
                         [](const auto& row) {
                           return std::string(zvg::chip_name(row.param.chip));
                         });

}  // namespace
