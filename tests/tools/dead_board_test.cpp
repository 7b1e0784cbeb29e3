// A board that is off the bus reads as ones: no command makes a number or a success of that.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;

constexpr char sentence[] =
    "the board reads as ones everywhere (0x288400, 0x100000 and 0x110000): it is off the bus, "
    "powered down, or not where it was looked for\n";

constexpr const char* doors[] = {
    "", " --mem 0xE0000000:0x1000000,0xD0000000:0x10000000 --generation rq302",
    " --serial /dev/ttyZVG0 --generation rq302"};

class DeadBoardTool : public testing::Test {
 protected:
  Result run(const std::string& command, const std::string& more = {}) {
    const std::string board =
        folder_.put("dead.toml", "[faults]\nreads_ones = true\n[[dp]]\nport = 0\n" + more);
    return zvgtest::run(zvgtest::zvgctl_words("--sim " + board + " " + command),
                        zvgtest::on_virtual_time());
  }
  Folder folder_;
};

TEST_F(DeadBoardTool, IsToldByEveryFamilyThroughEveryDoor) {
  const std::string image = folder_.put("image.bin", "new content");
  const std::string commands[] = {"edid read --hdmi 0",
                                  "hdmi status",
                                  "hdmi phy start 0",
                                  "dp status",
                                  "dp train 0",
                                  "dp mode-set 0",
                                  "dp dpcd read 0 0",
                                  "flash status",
                                  "flash sn read",
                                  "flash read -o " + folder_.path("backup.bin"),
                                  "flash write " + image + " --yes --no-backup",
                                  "flash erase --region 0:0x1000 --yes",
                                  "flash protect",
                                  "clock list",
                                  "clock set 3d --mhz 900 --yes",
                                  "mode list",
                                  "panel pwm 1000 --start",
                                  "vga gain --red 40",
                                  "video status",
                                  "ddr eye -c 1 -o " + folder_.path("eye.svg")};
  for (const std::string& command : commands) {
    for (const char* door : doors) {
      SCOPED_TRACE(command + door);
      const Result result = run(command + door);
      EXPECT_EQ(result.exit, 1);
      EXPECT_THAT(result.err, HasSubstr(std::string("zvgctl: ") + sentence));
      EXPECT_THAT(result.out, Not(testing::ContainsRegex("[0-9]+\\.[0-9]|MHz")));
    }
  }
  EXPECT_EQ(folder_.files(), 2u) << "nothing is kept of a board that is not there";
}

// The driver reads these by itself, and answers as it likes.
TEST_F(DeadBoardTool, IsToldPastTheDriver) {
  for (const char* command : {"sensor read", "i2c scan 0", "i2c write 0 0x50 0 1 --yes",
                              "mcu edid 0:0", "fan set 50", "info"}) {
    for (const std::string door : {doors[1], doors[2]}) {
      SCOPED_TRACE(command + door);
      const Result result = run(command + door);
      EXPECT_EQ(result.exit, std::string(command) == "fan set 50" && door == doors[1] ? 2 : 1);
      if (result.exit == 1) {
        EXPECT_THAT(result.err, HasSubstr(std::string("zvgctl: ") + sentence));
        EXPECT_EQ(result.out, "");
      }
    }
  }
}

TEST_F(DeadBoardTool, RawAccessesShowWhatTheyRead) {
  const struct {
    const char* command;
    const char* out;
  } rows[] = {
      {"reg read 0x318000", "0x318000: 0xffffffff\n"},
      {"crtc read 5", "0x05: 0xff\n"},
      {"vram read 0x10", "0x0000010: "},
      {"reg write 0x318000 5", ""},
  };
  for (const auto& row : rows) {
    for (const char* door : doors) {
      SCOPED_TRACE(std::string(row.command) + door);
      const Result result = run(std::string(row.command) + door);
      EXPECT_EQ(result.exit, 1);
      EXPECT_THAT(result.out, StartsWith(row.out));
      EXPECT_THAT(result.err, EndsWith(std::string("zvgctl: ") + sentence));
      const Result allowed = run(std::string(row.command) + " --dead-ok" + door);
      EXPECT_EQ(allowed.exit, 0);
      EXPECT_EQ(allowed.out, result.out);
      EXPECT_THAT(allowed.err, EndsWith(std::string("zvgctl: warning: ") + sentence));
    }
  }
  const json document = json::parse(run("reg read 0x318000 --json").out);
  EXPECT_EQ(document["error"]["kind"], "dead_board");
  EXPECT_THAT(document.dump(), HasSubstr("0xffffffff"));
}

// They do not reach the registers.
TEST_F(DeadBoardTool, SomeDoNotAsk) {
  for (const char* command : {"pci read 0", "ioport read 0x10", "query"}) {
    SCOPED_TRACE(command);
    const Result result = run(command);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(result.err, Not(HasSubstr("ones")));
  }
}

}  // namespace
