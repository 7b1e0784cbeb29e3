// Doors that fail under zvgctl, at each point of what it does. A fault ends the command with a word
// on what happened, or did no harm: then everything printed is what it is without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::Result;

constexpr char serial_door[] = " --serial /dev/ttyZVG0";

class DoorFaults : public testing::Test {
 protected:
  Result run(const std::string& command, const std::string& faults = {}) {
    const std::string board =
        "[[registers]]\noffset = 0x318000\nvalue = 0x11223344\n"
        "[[registers]]\noffset = 0x318004\nvalue = 0x55667788\n"
        "[[hdmi]]\nport = 0\nedid = \"" +
        zvgtest::monitor_path("studio-27-hdmi") + "\"\n" + faults;
    const auto start = std::chrono::steady_clock::now();
    Result result =
        zvgtest::run({ZVGSIM_PROGRAM, "run", "--virtual-time", "--board",
                      folder_.put("board.toml", board), "--trace", folder_.path("trace"), "--",
                      "sh", "-c", std::string(ZVGCTL_PROGRAM) + " " + command});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << command;
    return result;
  }
  std::string trace() { return folder_.get("trace"); }

  // True when the fault did no harm.
  static bool harmless(const Result& result, const Result& without) {
    if (result.exit == 0) {
      EXPECT_EQ(result.out, without.out) << "a wrong value, told as right";
      return true;
    }
    EXPECT_EQ(result.exit, 1);
    EXPECT_THAT(result.err, HasSubstr("zvgctl: "));
    return false;
  }

  Folder folder_;
};

std::string number(const char* key, unsigned n) {
  return std::string(key) + " = " + std::to_string(n) + "\n";
}

std::string failing_request(unsigned n) {
  return "[[faults.driver]]\nerrno = \"EIO\"\n" + number("request", n);
}

std::string node_gone(unsigned n) {
  return "[faults.node]\n" + number("gone_at_request", n);
}

// Requests: the question for the chip, then a register each.
TEST_F(DoorFaults, EveryRequestOfARegisterReadMayFail) {
  const std::string command = "reg read 0x318000 --count 4";
  const Result without = run(command);
  ASSERT_EQ(without.out, "0x318000: 11223344 55667788 00000000 00000000\n");
  constexpr unsigned requests = 5;
  for (unsigned n = 1; n <= requests + 1; ++n) {
    SCOPED_TRACE(n);
    const Result failed = run(command, failing_request(n));
    EXPECT_EQ(harmless(failed, without), n == 1 || n > requests) << "the chip does not matter here";
    const Result gone = run(command, node_gone(n));
    EXPECT_EQ(harmless(gone, without), n > requests);
    if (n == 1) {
      EXPECT_THAT(gone.err, HasSubstr("No such file or directory"));
    } else if (n <= requests) {
      EXPECT_EQ(failed.out + gone.out, "");
      char at[64];
      snprintf(at, sizeof at, "cannot read register at 0x%x: ", 0x318000 + 4 * (n - 2));
      EXPECT_EQ(failed.err, "zvgctl: " + std::string(at) + "Input/output error\n");
      EXPECT_EQ(gone.err, "zvgctl: " + std::string(at) + "No such device\n");
    }
  }
}

TEST_F(DoorFaults, EveryWriteMayFail) {
  for (const char* command : {"reg write 0x318000 5", "vram write 0x318000 5", "crtc write 0x2A 5",
                              "reg mask 0x318000 0xF 5"}) {
    SCOPED_TRACE(command);
    EXPECT_EQ(run(command).exit, 0);
    EXPECT_EQ(run(command, failing_request(2) + "count = 100\n").exit, 1);
    const Result gone = run(command, node_gone(2));
    EXPECT_EQ(gone.exit, 1);
    EXPECT_THAT(gone.err, HasSubstr("No such device"));
    EXPECT_THAT(trace(), testing::Not(HasSubstr("w"))) << "nothing was written";
  }
}

// Three thousand requests and more: some of them, from the first to the last.
TEST_F(DoorFaults, AnEdidIsNeverHalfRight) {
  const std::string command = "edid read --hdmi 0 --no-report";
  const Result without = run(command);
  ASSERT_EQ(without.exit, 0);
  const std::string text = trace();
  const auto requests = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n')) + 1;
  ASSERT_GT(requests, 1000u);
  for (unsigned n = 2; n <= requests; n += n < 12 ? 1 : requests / 16) {
    SCOPED_TRACE(n);
    EXPECT_FALSE(harmless(run(command, failing_request(n)), without));
    EXPECT_FALSE(harmless(run(command, node_gone(n)), without));
  }
}

struct LineFault {
  const char* name;
  const char* text;
  bool shows;  // whether the protocol lets the tool know, wherever it strikes
};

void PrintTo(const LineFault& fault, std::ostream* out) {
  *out << fault.name;
}

class LineFaults : public DoorFaults, public testing::WithParamInterface<LineFault> {
 protected:
  static std::string fault(unsigned n) {
    return "[[faults.uart]]\n" + number("reply", n) + GetParam().text;
  }
};

// The probe of the line, then a reply each. A flipped bit in a register cannot be told from a
// register with that bit.
TEST_P(LineFaults, AtEveryReplyOfARegisterRead) {
  const std::string command = "reg read 0x318000 --count 4" + std::string(serial_door);
  const Result without = run(command);
  ASSERT_EQ(without.exit, 0) << without.err;
  for (unsigned n = 2; n <= 5; ++n) {
    SCOPED_TRACE(n);
    const Result result = run(command, fault(n));
    if (!GetParam().shows) {
      EXPECT_EQ(result.exit, 0) << result.err;
    } else {
      EXPECT_FALSE(harmless(result, without));
    }
  }
}

// An EDID has checksums.
TEST_P(LineFaults, WithinAnEdid) {
  const std::string command = "edid read --hdmi 0" + std::string(serial_door);
  const Result without = run(command);
  ASSERT_EQ(without.exit, 0) << without.err;
  for (const unsigned n : {2u, 3u, 5u, 8u, 9u, 50u, 51u, 52u, 400u, 401u, 402u, 700u}) {
    SCOPED_TRACE(n);
    const bool harmed = !harmless(run(command, fault(n)), without);
    if (GetParam().shows) {
      EXPECT_TRUE(harmed);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, LineFaults,
    testing::Values(LineFault{"Dropped", "action = \"drop\"\n", true},
                    LineFault{"CutInHalf", "action = \"cut\"\nbytes = 2\n", true},
                    LineFault{"TooLate", "action = \"delay\"\ndelay_ms = 2500\n", true},
                    LineFault{"Flipped", "action = \"corrupt\"\n", false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DoorFaults, AReplyThatIsLateButInTimeDoesNoHarm) {
  const std::string command = "reg read 0x318000 --count 4" + std::string(serial_door);
  const std::string late =
      "[[faults.uart]]\nreply = 2\ncount = 100\naction = \"delay\"\ndelay_ms = 1500\n";
  EXPECT_TRUE(harmless(run(command, late), run(command)));
}

TEST_F(DoorFaults, ChancesRepeatThemselves) {
  const struct {
    std::string command;
    const char* faults;
  } rows[] = {
      {"edid read --hdmi 0", "[[faults.driver]]\nprobability = 0.002\n"},
      {std::string("edid read --hdmi 0") + serial_door,
       "[[faults.uart]]\nprobability = 0.01\naction = \"corrupt\"\n"},
      {std::string("edid read --hdmi 0") + serial_door,
       "[[faults.uart]]\nprobability = 0.01\naction = \"cut\"\nbytes = 1\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.faults);
    const Result without = run(row.command);
    for (const unsigned seed : {1u, 2u, 3u}) {
      SCOPED_TRACE(seed);
      const std::string faults = "[faults]\n" + number("seed", seed) + row.faults;
      const Result first = run(row.command, faults);
      const std::string first_trace = trace();
      const Result second = run(row.command, faults);
      EXPECT_EQ(trace(), first_trace);
      EXPECT_EQ(second.exit, first.exit);
      EXPECT_EQ(second.out, first.out);
      EXPECT_EQ(second.err, first.err);
      harmless(first, without);
    }
  }
}

}  // namespace
