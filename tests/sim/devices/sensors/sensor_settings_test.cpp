// The section [sensors] of a board file.
#include "devices/sensors/sensor_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/board_file_fixture.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;

TEST_F(BoardFileTest, SensorsAreWhatTheirCodesCanSay) {
  EXPECT_THAT(
      problems("[sensors]\ntemperature = [1]\n"),
      ElementsAre("2: sensors.temperature: expected an array of 2 numbers, found an array of "
                  "1"));
  EXPECT_THAT(problems("[sensors]\nvoltage = [0.8, 1.13]\n"),
              ElementsAre("2: sensors.voltage[1]: expected numbers from 0.512 to 1.12, found "
                          "1.13"));
  EXPECT_THAT(problems("[sensors]\ntemperature = [{ value = 150, swing = 10 }, 1]\n"),
              ElementsAre("2: sensors.temperature[0]: expected numbers from -62 to 155, found 140 "
                          "to 160"));
  EXPECT_THAT(problems("[sensors]\nprocess = [1, 2, 1024]\n"),
              ElementsAre("2: sensors.process[2]: expected a number from 0 to 1023, found 1024"));
  EXPECT_THAT(problems("[sensors]\nprocess = [1, 2]\n"),
              ElementsAre("2: sensors.process: expected an array of 3 numbers, found an array of "
                          "2"));
  EXPECT_THAT(problems("[faults.clocks]\nnever_locks = [\"pll\", 1]\n"),
              ElementsAre("2: faults.clocks.never_locks[0]: expected \"devpll\", \"dev2pll\", "
                          "\"gpupll\" or \"gpu2pll\", found \"pll\"",
                          "2: faults.clocks.never_locks[1]: expected \"devpll\", \"dev2pll\", "
                          "\"gpupll\" or \"gpu2pll\", found 1"));
}

}  // namespace
}  // namespace zvgsim
