// zvgctl edid show: no board takes part.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <util_zvg.h>

#include <nlohmann/json.hpp>

#include "support/capture.h"
#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using zvgtest::Folder;
using zvgtest::monitor_bytes;
using zvgtest::monitor_path;
using zvgtest::Result;
using zvgtest::zvgctl;

std::string library_report(const std::string& path) {
  return zvgtest::without_colours(zvgtest::capture([&] { do_edid_parse(path.c_str()); }).out);
}

TEST(EdidShowTest, PrintsTheLibrarysReport) {
  for (const char* name : {"office-24-dvi", "studio-27-hdmi", "tube-19-vga"}) {
    const Result result = zvgctl("edid show " + monitor_path(name));
    EXPECT_EQ(result.exit, 0) << name;
    EXPECT_EQ(result.out, library_report(monitor_path(name))) << name;
    EXPECT_NE(result.out.find("BASE BLOCK"), std::string::npos) << name;
    EXPECT_EQ(result.err, "") << name;
  }
}

TEST(EdidShowTest, NeedsNoBoardEvenWithSim) {
  const Result result = zvgctl("edid show --sim " + monitor_path("office-24-dvi"));
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, library_report(monitor_path("office-24-dvi")));
}

TEST(EdidShowTest, SaysHowMuchOfALongOneIsShown) {
  const Result result = zvgctl("edid show " + monitor_path("wall-55-4k"));
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, library_report(monitor_path("wall-55-4k")));
  EXPECT_EQ(result.err, "zvgctl: the report covers the first 256 of 512 bytes\n");
}

TEST(EdidShowTest, JsonHoldsFieldsAndBytes) {
  const Result result = zvgctl("edid show --json " + monitor_path("wall-55-4k"));
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  const auto document = nlohmann::json::parse(result.out);
  const std::string bytes = monitor_bytes("wall-55-4k");
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(bytes[i]); };
  EXPECT_EQ(document["raw"], zvgtest::as_hex(bytes));
  EXPECT_EQ(document["blocks"], 4);
  EXPECT_EQ(document["week"], byte(0x10));
  EXPECT_EQ(document["year"], 1990 + byte(0x11));
  EXPECT_EQ(document["version"], "1." + std::to_string(byte(0x13)));
  EXPECT_EQ(document["product"], byte(0x0A) | byte(0x0B) << 8);
  EXPECT_EQ(document["serial"],
            byte(0x0C) | byte(0x0D) << 8 | byte(0x0E) << 16 | uint32_t{byte(0x0F)} << 24);
  const std::string report = library_report(monitor_path("wall-55-4k"));
  EXPECT_NE(
      report.find("Manufacturer Name: \t" + document["manufacturer"].get<std::string>() + "\n"),
      std::string::npos);
  EXPECT_EQ(document["valid"]["all"], true);
  EXPECT_EQ(document["valid"]["header"], true);
  EXPECT_EQ(document["valid"]["checksums"], nlohmann::json({true, true, true, true}));
  EXPECT_EQ(document["valid"]["block_count"], true);
}

TEST(EdidShowTest, MissingFile) {
  const Result result = zvgctl("edid show /nowhere/at/all");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zvgctl: cannot read /nowhere/at/all: No such file or directory\n");
}

TEST(EdidShowTest, UnreadableFile) {
  const Folder folder;
  const std::string path = folder.put("locked", monitor_bytes("office-24-dvi"));
  chmod(path.c_str(), 0);
  const Result result = zvgctl("edid show " + path, {.powerless = true});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: cannot read " + path + ": Permission denied\n");
}

TEST(EdidShowTest, FolderAndDevice) {
  const Folder folder;
  const Result result = zvgctl("edid show " + folder.path("."));
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: " + folder.path(".") + " is a folder, not a file\n");
  const Result device = zvgctl("edid show /dev/zero");
  EXPECT_EQ(device.exit, 1);
  EXPECT_EQ(device.err, "zvgctl: /dev/zero is a device, not a file\n");
}

TEST(EdidShowTest, ShortOddAndHugeFiles) {
  const Folder folder;
  for (const size_t size :
       {size_t{0}, size_t{1}, size_t{127}, size_t{129}, size_t{200}, size_t{255}, size_t{257},
        size_t{32769}, size_t{32896}, size_t{1} << 20}) {
    const std::string path = folder.put("file", std::string(size, '\0'));
    const std::string had = size == size_t{1} << 20 ? "1 MiB" : std::to_string(size) + " bytes";
    for (const char* option : {"", " --json"}) {
      const Result result = zvgctl("edid show " + path + option);
      EXPECT_EQ(result.exit, 1) << size;
      if (*option == '\0') {
        EXPECT_EQ(result.out, "") << size;
      } else {
        const auto document = nlohmann::json::parse(result.out);
        EXPECT_EQ(document["schema"], "zvg/error/1");
        EXPECT_EQ(document["error"]["kind"], "bad_data");
      }
      EXPECT_EQ(result.err,
                size > 32768 ? "zvgctl: " + path + " has " + had + ": an EDID has at most 32 KiB\n"
                             : "zvgctl: " + path + " is no EDID: it has " + had +
                                   ", and an EDID has 1 to 256 blocks of 128\n");
    }
  }
}

TEST(EdidShowTest, TheLargestEdidThereIs) {
  const Folder folder;
  std::string bytes(32768, '\0');
  bytes.replace(0, 128, monitor_bytes("office-24-dvi"));
  bytes[126] = static_cast<char>(255);
  bytes[127] = static_cast<char>(bytes[127] - 255);
  const Result result = zvgctl("edid show --strict --json " + folder.put("file", bytes));
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(nlohmann::json::parse(result.out)["blocks"], 256);
}

TEST(EdidShowTest, DamageIsSaidAndFailsWhenStrict) {
  const Folder folder;
  std::string bytes = monitor_bytes("office-24-dvi");
  bytes[0] = 1;
  const std::string path = folder.put("file", bytes);
  const std::string faults =
      "zvgctl: the EDID is damaged: the header is wrong, the checksum of block 0 is wrong\n";
  const Result lenient = zvgctl("edid show " + path);
  EXPECT_EQ(lenient.exit, 0);
  EXPECT_EQ(lenient.out, library_report(path));
  EXPECT_EQ(lenient.err, faults);
  const Result strict = zvgctl("edid show --strict " + path);
  EXPECT_EQ(strict.exit, 1);
  EXPECT_EQ(strict.out, lenient.out);
  EXPECT_EQ(strict.err, faults);
  const Result json = zvgctl("edid show --json " + path);
  EXPECT_EQ(json.exit, 0);
  const auto valid = nlohmann::json::parse(json.out)["valid"];
  EXPECT_EQ(valid["all"], false);
  EXPECT_EQ(valid["header"], false);
  EXPECT_EQ(valid["checksums"], nlohmann::json({false}));
}

TEST(EdidShowTest, TruncatedExtensionsAreDamage) {
  const Folder folder;
  const std::string path = folder.put("file", monitor_bytes("wall-55-4k").substr(0, 256));
  const Result result = zvgctl("edid show --strict " + path);
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: the EDID is damaged: it announces 3 extensions and has 1\n");
}

}  // namespace
