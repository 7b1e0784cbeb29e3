// What a command proves of its accesses, and leaves for a report: --verify, --log, reading twice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl_sim;

constexpr char serial_door[] = " --serial /dev/ttyZVG0";

class Proof : public testing::Test {
 protected:
  Result run(const std::string& board, const std::string& command) {
    return zvgtest::run(
        zvgtest::zvgctl_words("--sim " + folder_.put("board.toml", board) + " " + command),
        zvgtest::on_virtual_time());
  }
  Folder folder_;
};

TEST_F(Proof, VerifyReadsBackWhatWasWritten) {
  for (const std::string command :
       {"reg write 0x318000 0x12345678 0x9ABCDEF0", "reg mask 0x318000 0xF0 0x50",
        "vram write 0x100 1 2 3", "crtc write 0x2A 5", "reg write 0x318000 7 --width 64"}) {
    SCOPED_TRACE(command);
    EXPECT_EQ(zvgctl_sim(command + " --verify").exit, 0);
  }
}

TEST_F(Proof, VerifyTellsWhatWasNotKept) {
  // The first answer is the one to the question whether somebody is there.
  const Result result = run("[[faults.uart]]\nreply = 2\naction = \"corrupt\"\n",
                            "reg write 0x318000 5 --verify" + std::string(serial_door));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("zvgctl: register 0x318000 reads back as 0x"));
  EXPECT_THAT(result.err, HasSubstr(", and 0x00000005 was written: the write was lost, or "));
}

// A changed bit in an answer of the right length cannot be seen by one read.
TEST_F(Proof, ASnapshotOverTheLineIsReadTwice) {
  const std::string registers = "[[registers]]\noffset = 0x318000\nvalue = 0x11223344\n";
  const auto snapshot = [&](const std::string& faults) {
    const Result result = run(registers + faults, "reg snapshot --range 0x318000-0x31800f -f -o " +
                                                      folder_.path("golden") + serial_door);
    EXPECT_EQ(result.exit, 0) << result.err;
    return folder_.get("golden");
  };
  const std::string right = snapshot("");
  EXPECT_THAT(right, HasSubstr("11223344"));
  for (int reply = 2; reply < 10; ++reply) {
    EXPECT_EQ(
        snapshot("[[faults.uart]]\nreply = " + std::to_string(reply) + "\naction = \"corrupt\"\n"),
        right);
  }
  const Result never =
      run(registers + "[[faults.uart]]\nprobability = 1.0\naction = \"corrupt\"\n",
          "reg snapshot --range 0x318000-0x31800f -f -o " + folder_.path("golden") + serial_door);
  EXPECT_EQ(never.exit, 1);
  EXPECT_EQ(folder_.get("golden"), right) << "kept";
}

TEST_F(Proof, AnEdidOverTheLineIsReadTwice) {
  const std::string board =
      "[[hdmi]]\nport = 0\nedid = \"" + zvgtest::monitor_path("studio-27-hdmi") + "\"\n";
  const std::string command = "edid read --hdmi 0 --no-report" + std::string(serial_door);
  const Result right = run(board, command);
  ASSERT_EQ(right.exit, 0) << right.err;
  for (int reply = 100; reply < 4000; reply += 577) {
    SCOPED_TRACE(reply);
    const Result result = run(
        board + "[[faults.uart]]\nreply = " + std::to_string(reply) + "\naction = \"corrupt\"\n",
        command);
    if (result.exit == 0) {
      EXPECT_EQ(result.out, right.out);
    }
  }
}

TEST_F(Proof, ALogHasEveryAccess) {
  const std::string log = folder_.path("accesses.log");
  EXPECT_EQ(run("", "reg write 0x318000 5 --log " + log).exit, 0);
  const std::string text = folder_.get("accesses.log");
  EXPECT_THAT(text, StartsWith("20"));
  EXPECT_THAT(text, HasSubstr("Z open /dev/zvgrw ok\n"));
  EXPECT_THAT(text, HasSubstr("Z driver write register 0x318000 32 0x00000005 ok\n"));
  EXPECT_THAT(text, EndsWith("Z close ok\n"));

  const Result again = run("", "reg read 0x318000 --log " + log);
  EXPECT_EQ(again.exit, 1);
  EXPECT_THAT(again.err, HasSubstr("accesses.log: it exists already"));
  EXPECT_EQ(folder_.get("accesses.log"), text);

  const std::string second = folder_.path("failed.log");
  const Result failed = run("[[faults.driver]]\nnumber = 1\nrequest = 1\nerrno = \"EIO\"\n",
                            "reg read 0x318000 --log " + second);
  EXPECT_EQ(failed.exit, 1);
  EXPECT_THAT(folder_.get("failed.log"),
              HasSubstr("Z driver read register 0x318000 32 - Input/output error\n"));

  EXPECT_EQ(run("", "reg read 0 --log x" + std::string(zvgtest::memory_door)).exit, 2);
}

TEST_F(Proof, ALogAndARecordingAtOnce) {
  EXPECT_EQ(run("", "reg write 0x318000 5 --log " + folder_.path("a.log") + " --record " +
                        folder_.path("a.txt"))
                .exit,
            0);
  EXPECT_THAT(folder_.get("a.log"), HasSubstr("write register 0x318000"));
  EXPECT_THAT(folder_.get("a.txt"), HasSubstr("318000 5 W"));
}

TEST_F(Proof, TheDoctorLooksAtThisHost) {
  const Result result = zvgtest::zvgctl("doctor --json");
  const json document = json::parse(result.out);
  EXPECT_EQ(document["schema"], "zvg/doctor/1");
  ASSERT_GE(document["ways"].size(), 2u);
  EXPECT_EQ(document["ways"][0]["door"], "driver");
  bool usable = false;
  for (const json& way : document["ways"]) usable = usable || way["usable"].get<bool>();
  EXPECT_EQ(result.exit, usable ? 0 : 1);
  EXPECT_EQ(document.contains("error"), !usable);
  const Result text = zvgtest::zvgctl("doctor");
  EXPECT_THAT(text.out, HasSubstr("\ndriver  /dev/zvgrw "));
}

}  // namespace
