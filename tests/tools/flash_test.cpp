// The flash from the command line: safe writes, backups, faults, cut-offs, board data.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::on_virtual_time;
using zvgtest::Process;
using zvgtest::Result;
using zvgtest::run;
using zvgtest::zvgctl_words;
using Json = nlohmann::json;

constexpr size_t flash_size = 0x200000;

// A board whose flash lives in an image file, and commands on it.
class FlashTool : public testing::TestWithParam<const char*> {
 protected:
  std::string board(const std::string& more = "", const std::string& faults = "") const {
    return folder_.put("board.toml", "generation = \"" + std::string(GetParam()) +
                                         "\"\n[flash]\nimage = \"flash.img\"\n" + more + faults);
  }
  Result on(const std::string& board_file, const std::string& command) const {
    return run(words(board_file, command), on_virtual_time());
  }
  static std::vector<std::string> words(const std::string& board_file, const std::string& command) {
    return zvgctl_words("--sim " + board_file + " " + command);
  }
  // Bytes with zeros in them, other ones for each seed.
  static std::string bytes(size_t size, unsigned seed) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) {
      text[i] = static_cast<char>(i % 5 == 0 ? 0 : (i * 131 + i / 251 * 7 + seed) % 255);
    }
    return text;
  }
  std::string image(size_t at, size_t size) const {
    return folder_.get("flash.img").substr(at, size);
  }
  std::string put(const std::string& name, const std::string& content) const {
    return folder_.put(name, content);
  }
  std::string backup() const { return " --backup " + folder_.path("old.bin"); }

  Folder folder_;
};

TEST_P(FlashTool, WritesComparesAndKeepsTheOldContent) {
  const std::string file = board();
  const std::string first = bytes(20000, 1), second = bytes(20000, 2);
  const Result written =
      on(file, "flash write " + put("a.bin", first) + " --offset 0x12345 --no-backup --yes --json");
  ASSERT_EQ(written.exit, 0) << written.err;
  EXPECT_EQ(Json::parse(written.out)["erased_sectors"], 0) << "an erased flash needs no erase";
  EXPECT_EQ(image(0x12345, first.size()), first);
  EXPECT_EQ(image(0x12340, 5), "\xff\xff\xff\xff\xff");

  const Result again =
      on(file, "flash write " + put("b.bin", second) + " --offset 0x12345 --yes --json" + backup());
  ASSERT_EQ(again.exit, 0) << again.err;
  EXPECT_EQ(image(0x12345, second.size()), second);
  EXPECT_EQ(image(0x12345 + second.size(), 3), "\xff\xff\xff");
  EXPECT_EQ(folder_.get("old.bin"), first);
  EXPECT_EQ(Json::parse(again.out)["erased_sectors"], 6);

  const Result back =
      on(file, "flash write " + folder_.path("old.bin") + " --offset 0x12345 --yes --no-backup");
  EXPECT_EQ(back.exit, 0);
  EXPECT_EQ(image(0x12345, first.size()), first);
}

TEST_P(FlashTool, ChangesOnlyWhatDiffers) {
  const std::string file = board();
  std::string content = bytes(0x20000, 3);
  ASSERT_EQ(on(file, "flash write " + put("a.bin", content) + " --no-backup --yes").exit, 0);
  const Result same = on(file, "flash write " + folder_.path("a.bin") + " --yes" + backup());
  EXPECT_EQ(same.out, "the flash holds these bytes already; nothing was changed\n");
  EXPECT_FALSE(std::filesystem::exists(folder_.path("old.bin")));
  content[0x5001] = static_cast<char>(~content[0x5001]);
  content[0x9001] = content[0x9001] & 0x70;  // fewer bits need no erase
  const Result one = on(file, "flash write " + put("b.bin", content) + " --yes --json --no-backup");
  EXPECT_EQ(Json::parse(one.out)["erased_sectors"], 1);
  EXPECT_LE(Json::parse(one.out)["programmed_bytes"], 4096 + 256);
  EXPECT_EQ(image(0, content.size()), content);
}

TEST_P(FlashTool, WritesTheWholeFlash) {
  const std::string file = board();
  const std::string content = bytes(flash_size, 4);
  put("flash.img", bytes(flash_size, 5));
  const Result result = on(file, "flash write " + put("a.bin", content) + " --yes" + backup());
  ASSERT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(folder_.get("flash.img"), content);
  EXPECT_EQ(folder_.get("old.bin"), bytes(flash_size, 5));
  EXPECT_EQ(on(file, "flash verify " + folder_.path("a.bin")).out, "all 2097152 bytes are equal\n");
}

TEST_P(FlashTool, ReadsRegions) {
  put("flash.img", bytes(flash_size, 6));
  const std::string file = board();
  EXPECT_EQ(on(file, "flash read --region 0x1ffff0:16 -o " + folder_.path("end.bin")).exit, 0);
  EXPECT_EQ(folder_.get("end.bin"), bytes(flash_size, 6).substr(0x1ffff0));
  EXPECT_EQ(on(file, "flash read -o " + folder_.path("all.bin")).exit, 0);
  EXPECT_EQ(folder_.get("all.bin"), bytes(flash_size, 6));
  const Result exists = on(file, "flash read --region 0:1 -o " + folder_.path("end.bin"));
  EXPECT_EQ(exists.exit, 1);
  EXPECT_THAT(on(file, "flash read --region 0:2").out, testing::StartsWith("0x000000: 00 "));
}

TEST_P(FlashTool, VerifyFindsADifferenceBehindAZero) {
  std::string content = bytes(1000, 7);
  put("flash.img", content + std::string(flash_size - 1000, '\xff'));
  content[700] = static_cast<char>(content[700] ^ 1);
  const Result result = on(board(), "flash verify " + put("a.bin", content));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("first at 0x0002bc"));
}

TEST_P(FlashTool, ErasesSectorsAndTheChip) {
  put("flash.img", bytes(flash_size, 8));
  const std::string file = board();
  EXPECT_EQ(on(file, "flash erase --region 0x7000:0x1a000 --yes").exit, 0);
  const std::string erased = folder_.get("flash.img");
  EXPECT_EQ(erased.substr(0x7000, 0x1a000), std::string(0x1a000, '\xff'));
  EXPECT_EQ(erased.substr(0, 0x7000), bytes(flash_size, 8).substr(0, 0x7000));
  EXPECT_EQ(erased.substr(0x21000), bytes(flash_size, 8).substr(0x21000));
  EXPECT_EQ(on(file, "flash erase --chip --yes").exit, 0);
  EXPECT_EQ(folder_.get("flash.img"), std::string(flash_size, '\xff'));
}

TEST_P(FlashTool, Misuse) {
  put("flash.img", bytes(flash_size, 8));
  const std::string file = board();
  const std::string small = put("a.bin", "abc");
  for (const auto& [command, why] : std::initializer_list<std::pair<std::string, const char*>>{
           {"flash erase --yes", "either --region"},
           {"flash erase --chip --region 0:0x1000 --yes", "either --region"},
           {"flash erase --region 0x800:0x1000 --yes", "multiples of 0x1000"},
           {"flash erase --region 0:0x1000", "--yes"},
           {"flash read --region 5", "expected ADDRESS:LENGTH"},
           {"flash read --region 0x1ffff0:17", "not within the flash"},
           {"flash read --region 0:0", "not within the flash"},
           {"flash write " + small, "--yes"},
           {"flash write " + small + " --offset 0x200000 --yes", "--offset: 0x200000 is too large"},
           {"flash unprotect", "--yes"},
           {"flash edid set 65536 " + small, "OUTPUT: 65536 is too large"}}) {
    const Result result = on(file, command);
    EXPECT_EQ(result.exit, 2) << command << result.err;
    EXPECT_THAT(result.err, HasSubstr(why)) << command;
  }
  EXPECT_EQ(on(file, "flash write " + folder_.path("none") + " --yes").exit, 1);
  EXPECT_EQ(on(file, "flash write " + small + " --offset 0x1ffffe --yes").exit, 1);
  EXPECT_EQ(on(file, "flash write " + put("empty.bin", "") + " --yes").exit, 1);
  EXPECT_EQ(folder_.get("flash.img"), bytes(flash_size, 8));
}

// Faults ----------------------------------------------------------------------------------------

TEST_P(FlashTool, ABadByteIsFoundAndNamed) {
  const Result result =
      on(board("", "[faults.flash]\nbad_byte = 0x1103\n"),
         "flash write " + put("a.bin", bytes(4096, 9)) + " --offset 0x1000 --yes" + backup());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("at 0x001103 the flash holds 0xff instead of"));
  EXPECT_THAT(result.err, HasSubstr("in doubt: 0x001000 to 0x001fff"));
  EXPECT_THAT(result.err, HasSubstr("flash write " + folder_.path("old.bin") + " --offset 0x1000"));
}

TEST_P(FlashTool, ALostWriteEnableIsMendedByTheNextRun) {
  const std::string command = "flash write " + put("a.bin", bytes(4096, 10)) + " --yes --no-backup";
  int failures = 0;
  for (int lost = 1; lost <= 12; ++lost) {
    std::filesystem::remove(folder_.path("flash.img"));
    const Result first = on(
        board("", "[faults.flash]\nlost_write_enable = " + std::to_string(lost) + "\n"), command);
    failures += first.exit != 0 ? 1 : 0;
    const Result second = on(board(), command);
    EXPECT_EQ(second.exit, 0) << second.err;
    EXPECT_EQ(image(0, 4096), bytes(4096, 10));
  }
  EXPECT_GT(failures, 0);
}

TEST_P(FlashTool, AFlashThatStaysBusyIsReported) {
  const Result result = on(board("", "[faults.flash]\nstays_busy = true\n"),
                           "flash write " + put("a.bin", "abc") + " --yes" + backup());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot read the flash at 0x000000"));
  EXPECT_THAT(result.err, HasSubstr("SPI NOT EXIT XIP MODE"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path("old.bin")));
}

TEST_P(FlashTool, AnotherBoardsUnfinishedWriteIsNotUsed) {
  const std::string command =
      "flash write " + put("a.bin", bytes(400, 12)) + " --offset 0x1100 --yes --no-backup";
  put("flash.img", bytes(flash_size, 11));
  ASSERT_EQ(on(board("", "[faults.flash]\nbad_byte = 0x1101\n"), command).exit, 1);
  const std::string other = bytes(flash_size, 16);
  put("flash.img", other);
  const Result result = on(board(), command);
  EXPECT_EQ(result.exit, 0);
  EXPECT_THAT(result.err, HasSubstr("is of another board"));
  EXPECT_EQ(folder_.get("flash.img"),
            other.substr(0, 0x1100) + bytes(400, 12) + other.substr(0x1100 + 400));
}

TEST_P(FlashTool, CtrlCSaysWhatIsInDoubt) {
  const std::string content = bytes(flash_size, 13);
  put("flash.img", bytes(flash_size, 14));
  const std::string command = "flash write " + put("a.bin", content) + " --yes" + backup();
  Process process(words(board(), command));
  // The journal is there from just before the first erase on.
  while (!std::filesystem::exists(folder_.path("a.bin.unfinished"))) {
    ASSERT_EQ(kill(process.pid(), 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  process.send(SIGINT);
  const Result result = process.finish();
  EXPECT_EQ(result.exit, 1) << result.out;
  EXPECT_THAT(result.err, HasSubstr("interrupted"));
  EXPECT_EQ(folder_.get("old.bin"), bytes(flash_size, 14));
  const Result again = on(board(), "flash write " + folder_.path("a.bin") + " --yes --no-backup");
  EXPECT_EQ(again.exit, 0) << again.err;
  EXPECT_EQ(folder_.get("flash.img"), content);
}

TEST_P(FlashTool, AProtectedFlashIsNotErased) {
  put("flash.img", bytes(flash_size, 15));
  const Result result =
      on(board("write_protected = true\n"), "flash erase --region 0:0x1000 --yes");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("write-protected"));
  EXPECT_EQ(folder_.get("flash.img"), bytes(flash_size, 15));
}

TEST_P(FlashTool, StatusAndProtection) {
  EXPECT_THAT(on(board("write_protected = true\n"), "flash status").out,
              HasSubstr("protected        yes"));
  EXPECT_EQ(Json::parse(on(board(), "flash id --json").out)["protected"], false);
  EXPECT_EQ(on(board(), "flash protect").exit, 0);
  EXPECT_EQ(on(board("write_protected = true\n"), "flash unprotect --yes").exit, 0);
}

// Board data ------------------------------------------------------------------------------------

TEST_P(FlashTool, EdidsAreStoredBesideTheirNeighbours) {
  const std::string monitors = ZVG_MONITORS;
  const std::string file = board("[[flash.edids]]\noutput = 0\nedid = \"" + monitors +
                                 "/office-24-dvi.edid\"\n[[flash.edids]]\noutput = 5\nedid = \"" +
                                 monitors + "/studio-27-hdmi.edid\"\n");
  const auto set = [&](const std::string& arguments) {
    return on(file, "flash edid set " + arguments + " --no-backup --yes");
  };
  const auto list = [&] { return Json::parse(on(file, "flash edid list --json").out)["entries"]; };
  EXPECT_EQ(list().size(), 2u);
  EXPECT_EQ(set("3 " + monitors + "/studio-27-hdmi.edid").exit, 0);
  EXPECT_EQ(set("0 " + monitors + "/studio-27-hdmi.edid").exit, 0);
  const Json chain = list();
  ASSERT_EQ(chain.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(chain[i]["valid"], true);
    EXPECT_EQ(chain[i]["size"], 256);
    EXPECT_EQ(chain[i]["address"], (std::vector{"0x70200", "0x70400", "0x70600"}[i]));
  }
  EXPECT_EQ(chain[0]["output"], 0);
  EXPECT_EQ(chain[1]["output"], 5);
  EXPECT_EQ(chain[2]["output"], 3);
  EXPECT_THAT(on(file, "flash edid list").out, HasSubstr("0x070600  edid  3       256    valid"));
}

TEST_P(FlashTool, EdidsThatDoNotFitAreRefused) {
  const std::string file = board();
  const Result four =
      on(file, "flash edid set 0 " + std::string(ZVG_MONITORS) + "/wall-55-4k.edid --yes");
  EXPECT_EQ(four.exit, 1);
  EXPECT_THAT(four.err, HasSubstr("the board keeps one or two"));
  const std::string damaged = put("damaged.edid", std::string(128, 'x'));
  EXPECT_THAT(on(file, "flash edid set 0 " + damaged + " --yes").err, HasSubstr("damaged"));
  EXPECT_EQ(on(file, "flash edid set 0 " + damaged + " --force --no-backup --yes").exit, 0);
}

TEST_P(FlashTool, ReadsTheSerialNumber) {
  EXPECT_EQ(on(board("serial = \"ZVG-2026-0417\"\n"), "flash sn read").out, "ZVG-2026-0417\n");
  std::filesystem::remove(folder_.path("flash.img"));
  const Result none = on(board(), "flash sn read");
  EXPECT_EQ(none.exit, 1);
  EXPECT_THAT(none.err, HasSubstr("no valid serial number"));
}

TEST_P(FlashTool, GoesThroughTheApertures) {
  const std::string file = board();
  const std::string door = std::string(zvgtest::memory_door) + " --generation " + GetParam();
  const std::string first = bytes(6000, 1), second = bytes(6000, 2);
  for (const std::string* content : {&first, &second}) {
    const Result written = on(file, "flash write " + put("a.bin", *content) +
                                        " --offset 0x12345 --no-backup --yes" + door);
    EXPECT_EQ(written.exit, 0) << written.err;
    EXPECT_EQ(image(0x12345, content->size()), *content);
    const Result compared =
        on(file, "flash verify " + put("a.bin", *content) + " --offset 0x12345" + door);
    EXPECT_EQ(compared.exit, 0) << compared.err;
  }
}

INSTANTIATE_TEST_SUITE_P(Generations, FlashTool, testing::Values("rq301", "rq302"));

}  // namespace
