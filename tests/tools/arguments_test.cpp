#include "zvgctl/arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zvgctl/connection_options.h"
#include "zvgctl/errors.h"

namespace {

using ::testing::ElementsAre;
using zvgctl::ConnectionText;
using zvgctl::Door;
using zvgctl::parse_connection;
using zvgctl::settle_optional_values;

bool is_dual(const std::string& word) {
  return word == "dual";
}

TEST(ArgumentsTest, DriverTakesANumberOnly) {
  EXPECT_THAT(settle_optional_values({"--driver", "1", "info"}, is_dual).words,
              ElementsAre("--driver=1", "info"));
  EXPECT_THAT(settle_optional_values({"--driver", "info"}, is_dual).words,
              ElementsAre("--driver=0", "info"));
  EXPECT_THAT(settle_optional_values({"info", "--driver"}, is_dual).words,
              ElementsAre("info", "--driver=0"));
  EXPECT_THAT(settle_optional_values({"reg", "read", "--driver", "0x100"}, is_dual).words,
              ElementsAre("reg", "read", "--driver=0", "0x100"));
  EXPECT_THAT(settle_optional_values({"--driver", "-1", "info"}, is_dual).words,
              ElementsAre("--driver=-1", "info"));
  EXPECT_THAT(settle_optional_values({"--driver=3", "info"}, is_dual).words,
              ElementsAre("--driver=3", "info"));
}

TEST(ArgumentsTest, SimTakesABoardOnly) {
  const auto board = settle_optional_values({"info", "--sim", "dual"}, is_dual);
  EXPECT_THAT(board.words, ElementsAre("info", "--sim=dual"));
  EXPECT_THAT(board.without_sim, ElementsAre("info"));
  const auto none = settle_optional_values({"--sim", "edid", "show", "file"}, is_dual);
  EXPECT_THAT(none.words, ElementsAre("--sim=default", "edid", "show", "file"));
  EXPECT_THAT(none.without_sim, ElementsAre("edid", "show", "file"));
  const auto attached = settle_optional_values({"--sim=x", "info"}, is_dual);
  EXPECT_THAT(attached.words, ElementsAre("--sim=x", "info"));
  EXPECT_THAT(attached.without_sim, ElementsAre("info"));
}

TEST(ArgumentsTest, NothingChangesBehindTwoDashes) {
  const auto arguments = settle_optional_values({"--", "--sim", "--driver"}, is_dual);
  EXPECT_THAT(arguments.words, ElementsAre("--", "--sim", "--driver"));
  EXPECT_THAT(arguments.without_sim, ElementsAre("--", "--sim", "--driver"));
}

std::string usage_text(const ConnectionText& text) {
  try {
    parse_connection(text);
  } catch (const zvg::Error& error) {
    EXPECT_EQ(error.kind(), zvg::ErrorKind::bad_argument);
    return error.what();
  }
  return "no failure";
}

TEST(ConnectionOptionsTest, TheDriverIsTheDefault) {
  EXPECT_EQ(parse_connection({}).door, Door::driver);
  EXPECT_EQ(parse_connection({}).card, 0);
  EXPECT_EQ(parse_connection({.driver = "2"}).card, 2);
}

TEST(ConnectionOptionsTest, MemoryHasOneApertureOrTwo) {
  const auto two = parse_connection({.memory = "0xE0000000:0x1000000,0xD0000000:0x10000000"});
  EXPECT_EQ(two.door, Door::memory);
  EXPECT_EQ(two.registers.base, 0xE0000000u);
  EXPECT_EQ(two.registers.length, 0x1000000u);
  EXPECT_EQ(two.video_memory.base, 0xD0000000u);
  EXPECT_EQ(two.video_memory.length, 0x10000000u);
  const auto one = parse_connection({.memory = "0xE0000000:0x1000000"});
  EXPECT_EQ(one.video_memory.length, 0u);
}

TEST(ConnectionOptionsTest, RefusesBrokenApertures) {
  EXPECT_EQ(usage_text({.memory = "0xE0000000"}),
            "--mem: \"0xE0000000\" is not an aperture: expected BASE:LENGTH, such as "
            "0xE0000000:0x1000000");
  EXPECT_EQ(usage_text({.memory = "0xE0000000:0x1000,"}),
            "--mem: \"\" is not an aperture: expected BASE:LENGTH, such as 0xE0000000:0x1000000");
  EXPECT_EQ(usage_text({.memory = "0xE0000010:0x1000"}),
            "--mem: base 0xe0000010 is not at the start of a page (a multiple of 0x1000)");
  EXPECT_EQ(usage_text({.memory = "x:1"}),
            "--mem: \"x\" is not a number: expected hexadecimal (0x1F) or decimal (31)");
}

TEST(ConnectionOptionsTest, SerialHasABaudRateOrTheUsualOne) {
  const auto usual = parse_connection({.serial = "/dev/ttyUSB0"});
  EXPECT_EQ(usual.door, Door::serial);
  EXPECT_EQ(usual.device, "/dev/ttyUSB0");
  EXPECT_EQ(usual.baud, 115200);
  const auto slow = parse_connection({.serial = "/dev/ttyS0:9600"});
  EXPECT_EQ(slow.device, "/dev/ttyS0");
  EXPECT_EQ(slow.baud, 9600);
}

TEST(ConnectionOptionsTest, ColonsInADevicePathAreItsOwn) {
  const std::string path = "/dev/serial/by-path/pci-0000:00:1d.0-usb-0:1.2:1.0-port0";
  EXPECT_EQ(parse_connection({.serial = path}).device, path);
  EXPECT_EQ(parse_connection({.serial = path + ":38400"}).device, path);
  EXPECT_EQ(parse_connection({.serial = path + ":38400"}).baud, 38400);
}

TEST(ConnectionOptionsTest, RefusesOtherBaudRates) {
  EXPECT_EQ(usage_text({.serial = "/dev/ttyS0:57600"}),
            "--serial: 57600 baud is not supported: expected 9600, 19200, 38400, 115200 or 460800");
  EXPECT_EQ(usage_text({.serial = ":9600"}), "--serial: expected DEVICE[:BAUD]");
}

TEST(ConnectionOptionsTest, OneDoorAtATime) {
  EXPECT_EQ(usage_text({.driver = "0", .serial = "/dev/ttyS0"}),
            "give only one of --driver, --mem and --serial");
  EXPECT_EQ(usage_text({.memory = "0:0", .serial = "/dev/ttyS0"}),
            "give only one of --driver, --mem and --serial");
}

TEST(ConnectionOptionsTest, GenerationsWhereNoDriverTells) {
  using zvgctl::Generation;
  const auto of = [](const char* text) {
    return parse_connection({.memory = "0:0", .generation = text}).generation;
  };
  EXPECT_EQ(of(""), Generation::unknown);
  EXPECT_EQ(of("rq300"), Generation::rq300);
  EXPECT_EQ(of("rq301"), Generation::rq301);
  EXPECT_EQ(of("rq302"), Generation::rq302);
  EXPECT_EQ(usage_text({.memory = "0:0", .generation = "rq303"}),
            "--generation: \"rq303\" is not a generation: expected rq300, rq301 or rq302");
  EXPECT_EQ(usage_text({.generation = "rq302"}),
            "--generation is for --mem and --serial: the driver knows its board's chip");
}

}  // namespace
