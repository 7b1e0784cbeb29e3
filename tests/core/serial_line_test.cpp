// The debug UART's line: set-up, sync burst and baud switch, frame by frame.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>
#include <termios.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RecordedPlatform;
using Log = std::vector<std::string>;

constexpr char device[] = "/dev/ttyTEST";
const std::string opened = "open /dev/ttyTEST 0x902";  // O_RDWR | O_NOCTTY | O_NONBLOCK
const std::string zeros = "write 0000000000000000000000";
const std::string lead_in = "write ff00000000000000000000";
const std::string settle = "usleep 200000";

const Log burst = {zeros, zeros, zeros, zeros};

Log join(std::initializer_list<Log> parts) {
  Log all;
  for (const Log& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The line set-up with its own burst: attributes, TCIOFLUSH, TCSANOW.
const Log apply = join({{"tcflush 2", "tcsetattr 0"}, burst});
const Log set_up = join({{"tcgetattr"}, apply});

Log baud_switch(const char* divisor) {
  return {lead_in, std::string("write fc000000000000") + divisor, settle};
}

struct Rate {
  int baud;
  speed_t speed;
  const char* divisor;  // 27 MHz / baud, big-endian
};

constexpr Rate rates[] = {
    {19200, B19200, "0000057e"},
    {38400, B38400, "000002bf"},
    {115200, B115200, "000000ea"},
    {460800, B460800, "0000003a"},
};

TEST(SerialOpen, AtTheRememberedRateSendsTwoBurstsAndNoSwitch) {
  RecordedPlatform platform;
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 9600), 0); });
  EXPECT_EQ(output.err + output.out, "");
  EXPECT_THAT(platform.take(), ElementsAreArray(join({{opened}, set_up, burst})));
  EXPECT_EQ(get_s_type(), 2u);
  EXPECT_EQ(cfgetospeed(&platform.attributes), speed_t{B9600});
  EXPECT_EQ(cfgetispeed(&platform.attributes), speed_t{B9600});
}

TEST(SerialOpen, SwitchesBoardAndLineToEveryOtherRate) {
  for (const Rate& rate : rates) {
    RecordedPlatform platform;
    EXPECT_GE(zvgSerialOpen(device, rate.baud), 0);
    EXPECT_THAT(
        platform.take(),
        ElementsAreArray(join({{opened}, set_up, baud_switch(rate.divisor), set_up, burst})))
        << rate.baud;
    EXPECT_EQ(cfgetospeed(&platform.attributes), rate.speed) << rate.baud;
    EXPECT_EQ(cfgetispeed(&platform.attributes), rate.speed) << rate.baud;
    zvgClose();
    // Back to 9600: 27000000 / 9600 = 2812.
    EXPECT_THAT(platform.take(),
                ElementsAreArray(join({baud_switch("00000afc"), set_up, {"close"}})))
        << rate.baud;
    EXPECT_EQ(cfgetospeed(&platform.attributes), speed_t{B9600});
  }
}

TEST(SerialOpen, CloseAt9600StillWaitsAndSetsTheLineUp) {
  RecordedPlatform platform;
  zvgSerialOpen(device, 9600);
  platform.take();
  zvgClose();
  EXPECT_THAT(platform.take(), ElementsAreArray(join({{settle}, set_up, {"close"}})));
}

TEST(SerialOpen, ReopeningClosesTheOldLineAfterTheNewIsOpen) {
  RecordedPlatform platform;
  zvgSerialOpen(device, 115200);
  platform.take();
  zvgSerialOpen(device, 115200);
  // The new one's attributes tell that it is a line.
  EXPECT_THAT(platform.take(), ElementsAreArray(join({{opened, "tcgetattr"},
                                                      baud_switch("00000afc"),
                                                      set_up,
                                                      {"close"},
                                                      apply,
                                                      baud_switch("000000ea"),
                                                      set_up,
                                                      burst})));
}

TEST(SerialOpen, UnsupportedRatesAreRefusedBeforeTheDeviceIsTouched) {
  for (const int baud : {57600, 0, -1, 9601, 921600}) {
    RecordedPlatform platform;
    int result = 0;
    const auto output = capture([&] { result = zvgSerialOpen(device, baud); });
    EXPECT_EQ(result, -22);
    EXPECT_EQ(output.err, "baudrate " + std::to_string(baud) + " is not supported\n");
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(platform.take(), IsEmpty());
  }
}

TEST(SerialOpen, MissingDeviceLeavesTheConnection) {
  RecordedPlatform platform;
  zvgRwOpen(0);
  platform.on_open = [](const std::string&) { return ENXIO; };
  int result = 0;
  const auto output = capture([&] { result = zvgSerialOpen(device, 9600); });
  EXPECT_EQ(result, -ENXIO);
  EXPECT_EQ(output.err, "Opening /dev/ttyTEST failed, No such device or address\n");
  EXPECT_EQ(get_s_type(), 0u);
}

TEST(SerialOpen, MakesTheLineRaw) {
  RecordedPlatform platform;
  // All flags but the one in which libc keeps an input speed of zero.
  constexpr tcflag_t every_input_flag = 0x7FFFFFFF;
  platform.attributes.c_iflag = every_input_flag;
  platform.attributes.c_oflag = ~tcflag_t{0};
  platform.attributes.c_cflag = CRTSCTS | PARENB | CSTOPB | CS6 | HUPCL;
  platform.attributes.c_lflag = ~tcflag_t{0};
  zvgSerialOpen(device, 9600);
  const termios& line = platform.attributes;
  EXPECT_EQ(line.c_iflag, every_input_flag & ~tcflag_t{IXON | IXANY | IXOFF | ICRNL | INLCR |
                                                       IGNCR | ISTRIP | PARMRK});
  EXPECT_EQ(line.c_oflag, ~tcflag_t{OPOST});
  EXPECT_EQ(line.c_cflag & ~tcflag_t{CBAUD | CBAUDEX}, tcflag_t{CS8 | CREAD | CLOCAL | HUPCL});
  EXPECT_EQ(line.c_lflag, ~tcflag_t{ISIG | ICANON | ECHO | ECHOE});
  EXPECT_EQ(line.c_cc[VMIN], 4);
  EXPECT_EQ(line.c_cc[VTIME], 1);
}

int no_terminal() {
  errno = ENOTTY;
  return -1;
}

TEST(SerialOpen, WhatIsNoLineIsSentNothing) {
  for (const int baud : {9600, 115200}) {
    RecordedPlatform platform;
    platform.on_tcgetattr = no_terminal;
    int result = 0;
    const auto output = capture([&] { result = zvgSerialOpen(device, baud); });
    EXPECT_EQ(result, -22);
    EXPECT_EQ(output.err, "tcgetattr() failed: Inappropriate ioctl for device\n");
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(platform.take(),
                ElementsAreArray({opened, std::string("tcgetattr"), std::string("close")}));
    EXPECT_EQ(get_s_type(), 0xFFFFFFFFu);
  }
}

TEST(SerialOpen, WhatIsNoLineLeavesTheConnectionAndTheRate) {
  RecordedPlatform platform;
  zvgSerialOpen(device, 19200);
  platform.take();
  platform.on_tcgetattr = no_terminal;
  capture([] { EXPECT_EQ(zvgSerialOpen(device, 115200), -22); });
  EXPECT_THAT(platform.take(),
              ElementsAreArray({opened, std::string("tcgetattr"), std::string("close")}));
  platform.on_tcgetattr = nullptr;
  EXPECT_EQ(get_s_type(), 2u);
  EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), 0);
  platform.take();
  zvgClose();
  EXPECT_THAT(platform.take(),
              ElementsAreArray(join({baud_switch("00000afc"), set_up, {"close"}})));
}

TEST(SerialOpen, PlainFileKeepsItsContent) {
  const zvgtest::Scratch scratch;
  const std::string path = scratch.file("notes.txt", "nothing of this may be lost");
  int result = 0;
  const auto output = capture([&] { result = zvgSerialOpen(path.c_str(), 115200); });
  EXPECT_EQ(result, -22);
  EXPECT_EQ(output.err, "tcgetattr() failed: Inappropriate ioctl for device\n");
  EXPECT_EQ(scratch.read("notes.txt"), "nothing of this may be lost");
}

TEST(SerialOpen, FailedApplyStillSendsTheBurst) {
  RecordedPlatform platform;
  platform.on_tcsetattr = [](const termios&) {
    errno = EIO;
    return -1;
  };
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 9600), 0); });
  EXPECT_EQ(output.err, "tcsetattr() failed: Input/output error\n");
  EXPECT_THAT(platform.take(), ElementsAreArray(join({{opened}, set_up, burst})));
}

TEST(SerialOpen, LineThatDoesNotFollowEndsTheOpenWithoutTellingTheBoard) {
  RecordedPlatform platform;
  platform.on_tcsetattr = [](const termios& line) {
    errno = EIO;
    return cfgetospeed(&line) == B115200 ? -1 : 0;
  };
  int result = 0;
  const auto output = capture([&] { result = zvgSerialOpen(device, 115200); });
  EXPECT_EQ(result, -22);
  EXPECT_EQ(output.err, "tcsetattr() failed: Input/output error\n");
  // The last wait is the switch back to the remembered rate, which has nothing to send.
  EXPECT_THAT(platform.take(),
              ElementsAreArray(
                  join({{opened}, set_up, baud_switch("000000ea"), set_up, {settle, "close"}})));
  EXPECT_EQ(get_s_type(), 0xFFFFFFFFu);
  // The board still runs at 9600, and so the next open at 9600 has nothing to switch.
  platform.on_tcsetattr = nullptr;
  zvgSerialOpen(device, 9600);
  EXPECT_THAT(platform.take(), ElementsAreArray(join({{opened}, set_up, burst})));
}

TEST(SerialOpen, BurstStopsAtTheFirstFailedWrite) {
  RecordedPlatform platform;
  int writes = 0;
  platform.on_write = [&](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EIO;
    return ++writes == 2 ? -1 : static_cast<ssize_t>(bytes.size());
  };
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 9600), 0); });
  EXPECT_EQ(output.err, "write() failed: Input/output error\n");
  EXPECT_THAT(platform.take(),
              ElementsAreArray(
                  join({{opened, "tcgetattr", "tcflush 2", "tcsetattr 0", zeros, zeros}, burst})));
}

// Takes three bytes of every frame, nothing of the rest, and then all of it.
TEST(SerialOpen, EveryFrameIsFinished) {
  RecordedPlatform platform;
  std::string wire;
  int writes = 0;
  platform.on_write = [&](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EAGAIN;
    const size_t taken = ++writes % 3 == 1 ? 3 : writes % 3 == 2 ? 0 : bytes.size();
    wire += zvgtest::hex(bytes.data(), taken);
    return taken == 0 ? -1 : static_cast<ssize_t>(taken);
  };
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 19200), 0); });
  EXPECT_EQ(output.err, "");
  std::string frames;
  for (const std::string& call :
       join({burst, {lead_in, "write fc0000000000000000057e"}, burst, burst})) {
    frames += call.substr(strlen("write "));
  }
  EXPECT_EQ(wire, frames);
}

TEST(SerialOpen, FailedLeadInIsIgnored) {
  RecordedPlatform platform;
  platform.on_write = [](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EIO;
    return bytes[0] == 0xFF ? -1 : static_cast<ssize_t>(bytes.size());
  };
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 19200), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(platform.take(),
              ElementsAreArray(join({{opened}, set_up, baud_switch("0000057e"), set_up, burst})));
}

TEST(SerialOpen, FailedDivisorFrameIsReportedAndNotWaitedFor) {
  RecordedPlatform platform;
  platform.on_write = [](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EIO;
    return bytes[0] == 0xFC ? -1 : static_cast<ssize_t>(bytes.size());
  };
  const auto output = capture([] { EXPECT_GE(zvgSerialOpen(device, 19200), 0); });
  EXPECT_EQ(output.err, "write() failed: Input/output error\n");
  EXPECT_THAT(platform.take(),
              ElementsAreArray(join(
                  {{opened}, set_up, {lead_in, "write fc0000000000000000057e"}, set_up, burst})));
}

}  // namespace
