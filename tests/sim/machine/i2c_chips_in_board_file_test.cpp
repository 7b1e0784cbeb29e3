// The chips on the I2C buses in a board file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "devices/i2c/i2c_settings.h"
#include "devices/mcu/mcu_settings.h"
#include "devices/power_monitors/power_monitor_settings.h"
#include "devices/video/video_settings.h"
#include "sim/board_file_fixture.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(BoardFileTest, I2cChips) {
  const BoardConfig config = load(R"(
[[power_monitors]]
chip = "ltc2991"
bus = 5
address = 0x4F
supply = 3.25
temperature = { value = 40, swing = 5, period_s = 60 }
volts = [1, 2.5, { value = 3.3, swing = 0.1 }]
shunts = [{ milliohms = 2.5, amperes = { value = 4, swing = 1, period_s = 0.5 } }, { amperes = -2 }]
[[power_monitors]]
chip = "ina3221"
bus = 5
address = 0x43
[[i2c_memories]]
bus = 0
address = 0x54
contents = [1, 0xFF]
[[video]]
port = 1
bus = 3
address = 0x25
width = 704
height = 576
[mcu]
running = false
[[mcu.monitors]]
first = 15
second = 2
edid = "one.edid"
[[faults.i2c]]
bus = 2
hangs = true
[[faults.i2c]]
bus = 1
address = 0x4C
nack = true
nack_at_byte = 3
stays_busy = true
never_ready = true
drops_valid = true
[faults.mcu]
never_done = true
)");
  ASSERT_EQ(config.of<PowerMonitors>().list.size(), 2u);
  const PowerMonitorSettings& first = config.of<PowerMonitors>().list[0];
  EXPECT_EQ(first.chip, PowerChip::ltc2991);
  EXPECT_EQ(first.bus, 5u);
  EXPECT_EQ(first.address, 0x4F);
  EXPECT_EQ(first.supply.value, 3.25);
  EXPECT_EQ(first.temperature.swing, 5);
  EXPECT_EQ(first.temperature.period_s, 60);
  ASSERT_EQ(first.volts.size(), 3u);
  EXPECT_EQ(first.volts[1].value, 2.5);
  EXPECT_EQ(first.volts[2].swing, 0.1);
  EXPECT_EQ(first.volts[2].period_s, 10);
  ASSERT_EQ(first.shunts.size(), 2u);
  EXPECT_EQ(first.shunts[0].milliohms, 2.5);
  EXPECT_EQ(first.shunts[0].amperes.period_s, 0.5);
  EXPECT_EQ(first.shunts[1].milliohms, 1);
  EXPECT_EQ(first.shunts[1].amperes.value, -2);
  EXPECT_EQ(config.of<PowerMonitors>().list[1].chip, PowerChip::ina3221);
  ASSERT_EQ(config.of<I2cSettings>().memories.size(), 1u);
  EXPECT_EQ(config.of<I2cSettings>().memories[0].address, 0x54);
  EXPECT_THAT(config.of<I2cSettings>().memories[0].contents, ElementsAre(1, 0xFF));
  EXPECT_FALSE(config.of<VideoSettings>().port[0]);
  ASSERT_TRUE(config.of<VideoSettings>().port[1]);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->bus, 3u);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->address, 0x25);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->width, 704u);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->height, 576u);
  EXPECT_FALSE(config.of<McuSettings>().running);
  ASSERT_EQ(config.of<McuSettings>().monitors.size(), 1u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].first_selector, 15u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].second_selector, 2u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].edid.size(), 128u);
  ASSERT_EQ(config.faults.of<I2cFaults>().list.size(), 2u);
  EXPECT_TRUE(config.faults.of<I2cFaults>().list[0].hangs);
  EXPECT_FALSE(config.faults.of<I2cFaults>().list[0].address);
  const I2cFault& fault = config.faults.of<I2cFaults>().list[1];
  EXPECT_EQ(fault.address, 0x4C);
  EXPECT_TRUE(fault.nack && fault.stays_busy && fault.never_ready && fault.drops_valid);
  EXPECT_EQ(fault.nack_at_byte, 3u);
  EXPECT_TRUE(config.faults.of<McuFaults>().never_done);
}

TEST_F(BoardFileTest, WrongI2cChips) {
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2992'\nbus = 6\naddress = 0x4C\n"),
              ElementsAre(HasSubstr("power_monitors[0].chip: expected \"ltc2990\", "),
                          HasSubstr("power_monitors[0].bus: expected a number from 0 to 5")));
  EXPECT_THAT(problems("[[power_monitors]]\n"),
              ElementsAre(HasSubstr("expected a chip = "), HasSubstr("expected a key 'bus'"),
                          HasSubstr("expected a key 'address'")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x48\n"),
              ElementsAre(HasSubstr("address: expected a number from 76 to 79")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x4C\n"
                       "volts = [1, 2, 3, 4, 5]\n"),
              ElementsAre(HasSubstr("expected at most 4 volts and 2 shunts")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x4C\n"
                       "supply = 'high'\nvolts = [{ value = 'x', swing = -1 }]\n"),
              ElementsAre(HasSubstr("supply: expected a number, or { value"),
                          HasSubstr("volts[0].value: expected a number"),
                          HasSubstr("volts[0].swing: expected a number from 0")));
  EXPECT_THAT(problems("[[i2c_memories]]\nbus = 1\naddress = 0x24\n[[video]]\nport = 0\n"
                       "bus = 1\naddress = 0x24\n"),
              ElementsAre(HasSubstr("video[0]: bus 1 has another chip at 0x24")));
  EXPECT_THAT(problems("[[video]]\nport = 0\nbus = 1\naddress = 0x24\n[[video]]\nport = 0\n"
                       "bus = 1\naddress = 0x25\n"),
              ElementsAre(HasSubstr("port 0 is described a second time")));
  EXPECT_THAT(problems("[[mcu.monitors]]\nfirst = 16\nsecond = 0\n"),
              ElementsAre(HasSubstr("first: expected a number from 0 to 15"),
                          HasSubstr("expected a key 'edid'")));
  EXPECT_THAT(problems("[[faults.i2c]]\nbus = 0\n"),
              ElementsAre(HasSubstr("expected either 'hangs', for the bus, or an 'address'")));
}

}  // namespace
}  // namespace zvgsim
