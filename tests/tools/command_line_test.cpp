// What zvgctl makes of its command line. No board takes part.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::run;
using zvgtest::zvgctl;

// The names that a help text lists below "Subcommands:".
std::vector<std::string> subcommands(const std::string& help) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  bool listed = false;
  for (std::string line; std::getline(lines, line);) {
    if (line == "Subcommands:") {
      listed = true;
    } else if (line.empty()) {
      listed = false;
    } else if (listed && line.starts_with("  ") && line[2] != ' ') {
      names.push_back(line.substr(2, line.find_first_of(" ,", 2) - 2));  // without other names
    }
  }
  return names;
}

void check_help(const std::string& command, size_t& count) {
  const Result help = zvgctl(command + " --help");
  EXPECT_EQ(help.exit, 0) << command;
  EXPECT_EQ(help.err, "") << command;
  EXPECT_THAT(help.out, HasSubstr("Usage: zvgctl" + command)) << command;
  EXPECT_THAT(help.out, HasSubstr("Example")) << command;
  EXPECT_THAT(help.out, HasSubstr("\n  zvgctl" + command)) << command;
  EXPECT_EQ(zvgctl(command + " -h").out, help.out) << command;
  ++count;
  for (const std::string& name : subcommands(help.out)) check_help(command + " " + name, count);
}

TEST(HelpTest, EveryCommandTeachesWithExamples) {
  const Result help = zvgctl("--help");
  EXPECT_EQ(help.exit, 0);
  EXPECT_THAT(subcommands(help.out),
              testing::IsSupersetOf({"info", "reg", "vram", "crtc", "amba", "kmem", "pci", "ioport",
                                     "edid", "hdmi"}));
  size_t count = 0;
  for (const std::string& name : subcommands(help.out)) check_help(" " + name, count);
  EXPECT_GE(count, 10u + 4 + 5 + 3 + 3 + 2 + 3 + 2 + 2 + 4 + 5 + 4);
}

TEST(HelpTest, Version) {
  const Result result = zvgctl("--version");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "zvgctl " ZVGCTL_VERSION "\n");
  EXPECT_EQ(result.err, "");
}

TEST(HelpTest, NoArgumentsShowHelpAndAreAnError) {
  const Result result = zvgctl("");
  EXPECT_EQ(result.exit, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, zvgctl("--help").out);
}

struct Misuse {
  const char* command;
  const char* error;
};

void PrintTo(const Misuse& parameter, std::ostream* out) {
  *out << parameter.command;
}

class MisuseTest : public testing::TestWithParam<Misuse> {};

TEST_P(MisuseTest, IsExplainedAndExitsWith2) {
  const Result result = zvgctl(GetParam().command);
  EXPECT_EQ(result.exit, 2) << GetParam().command;
  if (std::string(GetParam().command).find("--json") == std::string::npos) {
    EXPECT_EQ(result.out, "");
  } else {
    EXPECT_EQ(nlohmann::json::parse(result.out)["error"]["kind"], "bad_argument");
  }
  EXPECT_THAT(result.err, StartsWith("zvgctl: ")) << GetParam().command;
  EXPECT_THAT(result.err, HasSubstr(GetParam().error)) << GetParam().command;
  EXPECT_THAT(result.err, HasSubstr("\nTry 'zvgctl")) << GetParam().command;
}

constexpr char not_a_number[] = "is not a number: expected hexadecimal (0x1F) or decimal (31)";

INSTANTIATE_TEST_SUITE_P(
    All, MisuseTest,
    testing::Values(
        Misuse{"nonsense", "\"nonsense\" is out of place: no such command or option here"},
        Misuse{"info nonsense", "nonsense"},
        Misuse{"reg",
               "A subcommand is required: read, write, mask, watch, snapshot, diff\nTry 'zvgctl "
               "reg --help'."},
        Misuse{"--json", "A subcommand is required: info, doctor, reg, vram, "},
        Misuse{"reg nonsense", "nonsense"}, Misuse{"reg read", "ADDR is required"},
        Misuse{"reg read x", not_a_number}, Misuse{"reg read 0x10zz", not_a_number},
        Misuse{"reg read 0 --width 24", "--width: \"24\" is not a width"},
        Misuse{"reg read 0 --count 0", "--count: expected at least 1"},
        Misuse{"reg read 0 --count x", not_a_number},
        Misuse{"reg read 0-4 --count 2", "give a range or --count, not both"},
        Misuse{"reg read 8-4", "8-4 ends before it begins"},
        Misuse{"reg read 0 --nonsense", "--nonsense"}, Misuse{"reg write 0", "VALUE is required"},
        Misuse{"reg write 0-4 1", "a write begins at one address"},
        Misuse{"reg write 0 0x100000000", "is too large: expected 0 to 0xFFFFFFFF"},
        Misuse{"reg write 0 256 --width 8", "is too large: expected 0 to 0xFF (255)"},
        Misuse{"reg write 0 65536 --width 16", "is too large: expected 0 to 0xFFFF"},
        Misuse{"reg mask 0 0x100 0", "MASK: 0x100 is too large"},
        Misuse{"reg mask 0-1 1 0", "a masked write takes one address"},
        Misuse{"reg mask 0 1", "VALUE is required"}, Misuse{"reg watch", "ADDR is required"},
        Misuse{"reg watch 0-4", "a watch takes one address"},
        Misuse{"reg watch 0 --interval x", "--interval: \"x\" is not a time"},
        Misuse{"reg watch 0 --interval -1", "--interval"},
        Misuse{"reg watch 0 --interval inf", "--interval: \"inf\" is not a time"},
        Misuse{"vram dump f", "--length is required"},
        Misuse{"vram dump f --length 3", "a length of 3 bytes is no multiple of 4"},
        Misuse{"vram dump f --length 0", "a length of 0 leaves nothing to do"},
        Misuse{"vram dump f --length 4 --offset 2", "--offset: expected a multiple of 4"},
        Misuse{"vram fill 0x1ffffffff --length 4", "VALUE: 0x1ffffffff is too large"},
        Misuse{"vram fill x --length 4", not_a_number}, Misuse{"vram load", "FILE is required"},
        Misuse{"crtc write 0 0x100", "VALUE: 0x100 is too large"},
        Misuse{"amba mask 0 1 0x100", "VALUE: 0x100 is too large"},
        Misuse{"amba read 0 --mem 0:0", "add --generation rq300, rq301 or rq302"},
        Misuse{"kmem read 0 --mem 0:0", "kernel memory can be reached only through the driver"},
        Misuse{"pci read 0 --mem 0:0", "PCI configuration space can be reached only through"},
        Misuse{"pci dump --mem 0:0", "PCI configuration space can be reached only through"},
        Misuse{"ioport read 0 --mem 0:0", "I/O ports can be reached only through the driver"},
        Misuse{"edid read", "1 option from"},
        Misuse{"edid read --hdmi 4", "--hdmi: 4 is too large: expected 0 to 0x3"},
        Misuse{"edid show", "FILE is required"}, Misuse{"hdmi status 4", "N: 4 is too large"},
        Misuse{"hdmi mode", "N is required"}, Misuse{"hdmi mode x", not_a_number},
        Misuse{"hdmi phy read 0 0x100", "REG: 0x100 is too large"},
        Misuse{"hdmi phy write 0 0 0x10000", "VALUE: 0x10000 is too large"},
        Misuse{"hdmi phy reset 4", "N: 4 is too large"},
        Misuse{"hdmi ddc read 0 0x80 0", "SLAVE: 0x80 is too large"},
        Misuse{"hdmi ddc read 0 0x50 0x100", "OFFSET: 0x100 is too large"},
        Misuse{"hdmi ddc read 0 0x50 0 --count 0", "--count: expected at least 1"},
        Misuse{"hdmi ddc write 0 0x50 0 0x100", "VALUE: 0x100 is too large"},
        Misuse{"info --driver 0 --serial /dev/ttyS0", "give only one of"},
        Misuse{"info --driver -1", not_a_number},
        Misuse{"info --mem 1", "--mem: \"1\" is not an aperture"},
        Misuse{"info --serial /dev/ttyS0:300", "300 baud is not supported"},
        Misuse{"info --generation rq302", "--generation is for --mem and --serial"},
        Misuse{"info --mem 0:0 --generation rq999", "\"rq999\" is not a generation"},
        Misuse{"info --deadline x", not_a_number},
        Misuse{"info --deadline 86401", "--deadline: 86401 is too large"}));

// Addresses that no board has: known before any board is opened, and the same in every mode.
struct OutOfRange {
  const char* command;
  const char* error;
};

void PrintTo(const OutOfRange& parameter, std::ostream* out) {
  *out << parameter.command;
}

class OutOfRangeTest : public testing::TestWithParam<OutOfRange> {};

TEST_P(OutOfRangeTest, IsExplainedAndExitsWith1) {
  for (const char* door : {"", " --mem 0:0", " --serial /dev/ttyNONE"}) {
    const Result result = zvgctl(std::string(GetParam().command) + door);
    EXPECT_EQ(result.exit, 1) << door;
    EXPECT_EQ(result.out, "") << door;
    EXPECT_EQ(result.err, std::string("zvgctl: ") + GetParam().error + "\n") << door;
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, OutOfRangeTest,
    testing::Values(
        OutOfRange{"reg read 0x1000000",
                   "register 0x1000000 is out of range: the last one is 0xffffff"},
        OutOfRange{
            "reg read 0xfffffe",
            "register 0xfffffe and 0x4 bytes from there on are out of range: the last one is "
            "0xffffff"},
        OutOfRange{"reg read 0xfffff8 --width 64 --count 2",
                   "register 0xfffff8 and 0x10 bytes from there on are out of range: the last one "
                   "is 0xffffff"},
        OutOfRange{"reg read 0-0x1000000",
                   "register 0x1000000 is out of range: the last one is 0xffffff"},
        OutOfRange{"reg read 0xffffffffffffffff",
                   "register 0xffffffffffffffff is out of range: the last one is 0xffffff"},
        OutOfRange{"reg write 0x1000000 1",
                   "register 0x1000000 is out of range: the last one is 0xffffff"},
        OutOfRange{
            "reg write 0xfffffc 1 2",
            "register 0xfffffc and 0x8 bytes from there on are out of range: the last one is "
            "0xffffff"},
        OutOfRange{"reg mask 0x1000000 1 1",
                   "register 0x1000000 is out of range: the last one is 0xffffff"},
        OutOfRange{"reg watch 0x1000000",
                   "register 0x1000000 is out of range: the last one is 0xffffff"},
        OutOfRange{"vram read 0x10000000",
                   "video memory offset 0x10000000 is out of range: the last one is 0xfffffff"},
        OutOfRange{"vram write 0x10000000 1",
                   "video memory offset 0x10000000 is out of range: the last one is 0xfffffff"},
        OutOfRange{"vram dump f --offset 0xffffffc --length 8",
                   "video memory from 0xffffffc on, 0x8 bytes, is out of range: the last byte is "
                   "at 0xfffffff"},
        OutOfRange{"vram fill 0 --offset 0x10000000 --length 4 --yes",
                   "video memory from 0x10000000 on, 0x4 bytes, is out of range: the last byte is "
                   "at 0xfffffff"},
        OutOfRange{"crtc read 255", "CRTC index 0xff is out of range: the last one is 0xfe"},
        OutOfRange{"crtc write 255 0", "CRTC index 0xff is out of range: the last one is 0xfe"},
        OutOfRange{"amba read 0x10000000000",
                   "bus address 0x10000000000 is out of range: the last one is 0xffffffffff"},
        OutOfRange{"amba read 2", "bus address 0x2 is not aligned: 32 bits need a multiple of 4"},
        OutOfRange{"kmem read 0xfffffffffffffffe",
                   "kernel address 0xfffffffffffffffe and 0x4 bytes from there on are out of "
                   "range: the last one is 0xffffffffffffffff"},
        OutOfRange{"pci read 0x1000", "PCI offset 0x1000 is out of range: the last one is 0xfff"},
        OutOfRange{"pci read 2", "PCI offset 0x2 is not aligned: 32 bits need a multiple of 4"},
        OutOfRange{"ioport read 0x100", "I/O port 0x100 is out of range: the last one is 0xff"},
        OutOfRange{"hdmi ddc read 0 0x50 0xf0 --count 17",
                   "DDC offsets end at 0xff: 17 bytes from 0xf0 on go beyond"}));

TEST(NoBoardTest, TheErrorNamesSim) {
  for (const char* command :
       {"info", "reg read 0", "vram read 0", "crtc dump", "amba read 0", "kmem read 0", "pci dump",
        "ioport read 0", "edid read --hdmi 0", "hdmi status", "info --json", "info --driver 3"}) {
    const Result result = zvgctl(command);
    EXPECT_EQ(result.exit, 1) << command;
    // A failure is a document of its own.
    if (std::string(command).ends_with("--json")) {
      const auto document = nlohmann::json::parse(result.out);
      EXPECT_EQ(document["schema"], "zvg/error/1");
      EXPECT_EQ(document["error"]["kind"], "not_connected");
      EXPECT_EQ(document["error"]["errno"], ENOENT);
    } else {
      EXPECT_EQ(result.out, "") << command;
    }
    EXPECT_EQ(result.err,
              std::string("Opening device ") + (std::string(command).ends_with("3") ? "3" : "0") +
                  " failed, No such file or directory\n"
                  "zvgctl: cannot open the driver's node /dev/zvgrw: No such file or directory: no "
                  "board is here, or its driver is not loaded; to try zvgctl without a board, add "
                  "--sim\n")
        << command;
  }
}

TEST(NoBoardTest, ALoadChecksItsFileFirst) {
  const Folder folder;
  const Result missing = zvgctl("vram load " + folder.path("none") + " --yes");
  EXPECT_EQ(missing.exit, 1);
  EXPECT_EQ(missing.err,
            "zvgctl: cannot read " + folder.path("none") + ": No such file or directory\n");
  const std::string odd = folder.put("odd", "12345");
  const Result uneven = zvgctl("vram load " + odd + " --yes");
  EXPECT_EQ(uneven.exit, 1);
  EXPECT_EQ(uneven.err, "zvgctl: " + odd +
                            " has 5 bytes: expected a multiple of 4, and more than none (or "
                            "--length)\n");
  const std::string empty = folder.put("empty", "");
  EXPECT_THAT(zvgctl("vram load " + empty + " --yes").err, HasSubstr(" has 0 bytes"));
  const Result shorter = zvgctl("vram load " + odd + " --length 8 --yes");
  EXPECT_EQ(shorter.exit, 1);
  EXPECT_EQ(shorter.err, "zvgctl: " + odd + " is too short: 5 bytes, not the 8 of --length\n");
  const Result unreadable = zvgctl("vram load " + folder.path(".") + " --yes");
  EXPECT_EQ(unreadable.exit, 1);
  EXPECT_EQ(unreadable.err, "zvgctl: " + folder.path(".") + " is a folder, not a file\n");
}

TEST(SimTest, AMissingSimulatorIsSaid) {
  const Folder folder;
  // A copy elsewhere has no zvgsim beside it.
  std::filesystem::copy(ZVGCTL_PROGRAM, folder.path("zvgctl"));
  const Result result =
      run({folder.path("zvgctl"), "info", "--sim"},
          {.environment = {{"PATH", "/nowhere"}, {"LD_LIBRARY_PATH", ZVG_LIBRARY_FOLDER}}});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: cannot run the virtual board: its program zvgsim is neither in " +
                            folder.path("").substr(0, folder.path("").size() - 1) +
                            ", beside zvgctl, nor in PATH (No such file or directory)\n");
}

TEST(OutputTest, AFullDiskIsAFailure) {
  const Result result =
      run({"/bin/sh", "-c", std::string(ZVGCTL_PROGRAM) + " --version >/dev/full"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: cannot write to standard output: No space left on device\n");
}

}  // namespace
