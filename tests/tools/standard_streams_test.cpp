// "-" for standard input and output, and files that are not what a command can use.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

// A shell's command line, in which zvgctl is on the virtual board.
Result shell(const std::string& line) {
  return zvgtest::run({"/bin/bash", "-c", line},
                      zvgtest::on_virtual_time({.environment = {{"Z", ZVGCTL_PROGRAM " --sim"}}}));
}

TEST(StandardOutput, HasTheBytesAndNothingElse) {
  const std::string dump = zvgctl_sim("vram dump - --length 0x10").out;
  EXPECT_EQ(dump.size(), 16u);
  const Result flash = zvgctl_sim("flash read --region 0x1000:0x20 -o -");
  EXPECT_EQ(flash.out.size(), 0x20u) << flash.err;
  EXPECT_THAT(flash.err, HasSubstr("are in standard output"));
  EXPECT_EQ(zvgctl_sim("edid read --hdmi 0 --raw - --no-report").out.size() % 128, 0u);
  EXPECT_EQ(zvgctl_sim("reg snapshot --range 0x300004-0x300007 -o -").out,
            "300004 00000000 C ffffffff 32\n");
  EXPECT_THAT(zvgctl("gamma show -o -").out, StartsWith("<?xml"));
  EXPECT_EQ(zvgctl_sim("reg read 0x300004 --record -").out.find("0x300004: "), std::string::npos);
  EXPECT_THAT(zvgctl_sim("reg read 0x300004 --record -").out, HasSubstr("300004 0 C 0 32\n"));
}

TEST(StandardOutput, IsTheDocumentsWithJson) {
  const Result result = zvgctl_sim("flash read --region 0x1000:0x20 -o - --json");
  EXPECT_EQ(result.exit, 2);
  EXPECT_THAT(result.err, HasSubstr("standard output is for the document"));
}

TEST(StandardOutput, ThatIsClosedLeavesNothingBehind) {
  const Folder folder;
  const Result result = shell("export TMPDIR=" + folder.path("") +
                              "; set -o pipefail; $Z ddr dump --mask 1 -o - | head -1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot write standard output: Broken pipe"));
  EXPECT_EQ(folder.files(), 0u);
}

TEST(StandardOutput, KeepsNoBackup) {
  const Folder folder;
  const Result result =
      zvgctl_sim("flash write --yes --backup - " + folder.put("image", std::string(16, 'x')));
  EXPECT_EQ(result.exit, 2);
  EXPECT_THAT(result.err, HasSubstr("--backup"));
}

TEST(StandardInput, TakesTheFilesPlace) {
  const Folder folder;
  const std::string in_folder = "cd " + folder.path("") + " && ";
  Result result = shell(in_folder + "printf 12345678 | $Z vram load - --yes");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("8 bytes of standard input"));
  result = shell(in_folder + "printf 1234 | $Z flash write - --offset 0x1000 --yes");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("every byte compared"));
  EXPECT_EQ(folder.files(), 1u) << "the backup";
  result = shell("$Z flash read --region 0x1000:0x20 -o - | $Z flash verify - --offset 0x1000");
  EXPECT_EQ(result.exit, 0) << result.err;
  result = shell("$Z edid read --hdmi 0 --raw - --no-report | $Z edid show - --json");
  EXPECT_EQ(json::parse(result.out)["valid"]["all"], true) << result.err;
  result = shell("$Z edid read --hdmi 0 --raw - --no-report | $Z edid show -");
  EXPECT_THAT(result.out, HasSubstr("Display Product Name"));
  result = shell(
      "$Z reg snapshot --range 0x300004-0x300007 -o - | $Z reg diff - <($Z reg snapshot "
      "--range 0x300004-0x300007 -o -)");
  EXPECT_EQ(result.out, "no difference in 1 registers\n") << result.err;
  EXPECT_EQ(zvgctl("reg diff - -").exit, 2);
}

// Every command that reads a file, with the file's place.
const std::string readers[] = {
    "script run %",
    "script run --ddr 1 %",
    "check %",
    "read %",
    "reg diff % %",
    "edid show %",
    "flash write --yes %",
    "flash verify %",
    "flash edid set 1 % --yes",
    "vram load --yes %",
    "power read --board %",
    "script run --dry-run %",
};

std::string with_file(std::string command, const std::string& file) {
  for (size_t at; (at = command.find('%')) != std::string::npos;) command.replace(at, 1, file);
  return command;
}

TEST(InputFiles, FoldersAndDevicesAreRefused) {
  for (const std::string& reader : readers) {
    const Result folder = zvgctl_sim(with_file(reader, "/tmp"));
    EXPECT_EQ(folder.exit, 1) << reader;
    EXPECT_THAT(folder.err, HasSubstr("/tmp is a folder, not a file")) << reader;
    const Result zeros = zvgctl_sim(with_file(reader, "/dev/zero"));
    EXPECT_EQ(zeros.exit, 1) << reader;
    EXPECT_THAT(zeros.err, HasSubstr("/dev/zero is a device, not a file")) << reader;
    const Result missing = zvgctl_sim(with_file(reader, "/nonexistent"));
    EXPECT_EQ(missing.exit, 1) << reader;
    EXPECT_THAT(missing.err, HasSubstr("cannot read /nonexistent: No such file")) << reader;
  }
}

TEST(InputFiles, LargerThanTheirUseAreRefused) {
  const Folder folder;
  const std::string large = folder.put("large", "");
  std::filesystem::resize_file(large, uint64_t{1} << 40);  // sparse
  for (const std::string& reader : readers) {
    const Result result = zvgctl_sim(with_file(reader, large));
    EXPECT_EQ(result.exit, 1) << reader;
    EXPECT_THAT(result.err, HasSubstr("large has 1 TiB: ")) << reader;
    EXPECT_THAT(result.err, HasSubstr(" has at most ")) << reader;
  }
  EXPECT_THAT(zvgctl("info --sim=" + large).err, HasSubstr("a board file has at most 1 MiB"));
  EXPECT_THAT(zvgctl("info --sim=/dev/zero").err, HasSubstr("/dev/zero is a device, not a file"));
  EXPECT_THAT(zvgctl("info --sim=/tmp").err, HasSubstr("/tmp is a folder, not a file"));
  const Result endless = shell("cat /dev/zero | $Z flash verify -");
  EXPECT_EQ(endless.exit, 1);
  EXPECT_THAT(endless.err, HasSubstr("standard input has more than 2 MiB: what goes into the flash "
                                     "has at most 2 MiB"));
}

}  // namespace
