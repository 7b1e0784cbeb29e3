// do_edid_parse(): where the EDID comes from, and whole reports.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "doors/platform.h"
#include "expected_report.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

int next_descriptor() {
  const int fd = dup(STDIN_FILENO);
  close(fd);
  return fd;
}

bool is_open(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

// The descriptor that the last parse() opened its file as, if it opened one.
int g_parsed_descriptor = -1;

std::string parse(const char* path) {
  int result = -1;
  const auto output = zvgtest::capture([&] {
    g_parsed_descriptor = next_descriptor();
    result = do_edid_parse(path);
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.err, "");
  return output.out;
}

std::string bad_data(long count) {
  return "\033[1;31m*ERROR*EDID data is bad: " + std::to_string(count) + ".\n\033[0m";
}

const char open_error[] = "\033[1;31m*ERROR*open file error: -1\n\033[0m";

class EdidFile : public testing::Test {
 protected:
  EdidFile() {
    g_last_edid = last_edid;
    std::fill(std::begin(last_edid), std::end(last_edid), 0xEE);
    char name[] = "/tmp/zvg_edid_XXXXXX";
    fd_ = mkstemp(name);
    path_ = name;
  }
  ~EdidFile() override {
    close(fd_);
    unlink(path_.c_str());
  }

  void write_file(const Bytes& bytes) {
    ASSERT_EQ(ftruncate(fd_, 0), 0);
    ASSERT_EQ(pwrite(fd_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  std::string parse_file() { return parse(path_.c_str()); }

  int fd_;
  std::string path_;
};

TEST_F(EdidFile, OneBlockIsFollowedByZeros) {
  const Bytes image = Edid().set(0x13, {1}).image();
  write_file(Bytes(image.begin(), image.begin() + 128));
  Report report;
  report.version = "Version: 1 Revision: 1\n";
  EXPECT_EQ(parse_file(), report.text(image));
}

TEST_F(EdidFile, TwoBlocks) {
  const Bytes image = Edid().extension(Cea().block()).image();
  write_file(image);
  CeaReport extension;
  extension.timings = undefined_timings(0, 6);
  Report report;
  report.extension = extension.text(4);
  EXPECT_EQ(parse_file(), report.text(image));
}

TEST_F(EdidFile, OfManyBlocksTheFirstTwoAreDecoded) {
  Bytes image = Edid().extension(Cea().block()).image();
  Bytes file = image;
  file.resize(4096, 0xAA);
  CeaReport extension;
  extension.timings = undefined_timings(0, 6);
  Report report;
  report.extension = extension.text(4);
  for (const size_t size : {257, 512, 4096}) {
    write_file(Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(size)));
    EXPECT_EQ(parse_file(), report.text(image)) << size;
  }
}

TEST_F(EdidFile, OtherSizesAreBad) {
  Bytes image = Edid().extension(Cea().block()).image();
  for (const size_t size : {0, 1, 127, 129, 200, 255}) {
    write_file(Bytes(image.begin(), image.begin() + static_cast<ptrdiff_t>(size)));
    EXPECT_EQ(parse_file(), bad_data(static_cast<long>(size)));
    close(g_parsed_descriptor);
  }
}

TEST_F(EdidFile, LeavesTheStoreAlone) {
  write_file(Edid().image());
  parse_file();
  EXPECT_EQ(std::count(std::begin(last_edid), std::end(last_edid), 0xEE), 256);
}

TEST_F(EdidFile, IsClosedUnlessItsSizeIsBad) {
  write_file(Edid().image());
  parse_file();
  EXPECT_FALSE(is_open(g_parsed_descriptor));
  write_file(Bytes(200));
  parse_file();
  EXPECT_TRUE(is_open(g_parsed_descriptor)) << "the descriptor of a bad file stays open";
  close(g_parsed_descriptor);
}

TEST_F(EdidFile, Missing) {
  EXPECT_EQ(parse("/tmp/zvg_edid_that_is_not_there"), open_error);
  EXPECT_EQ(parse(""), open_error);
  EXPECT_EQ(parse((path_ + "/below_a_file").c_str()), open_error);
}

TEST_F(EdidFile, ADirectoryCannotBeRead) {
  EXPECT_EQ(parse("/tmp"), bad_data(-1));
  EXPECT_TRUE(is_open(g_parsed_descriptor));
  close(g_parsed_descriptor);
}

TEST_F(EdidFile, WithoutPermission) {
  write_file(Edid().image());
  ASSERT_EQ(fchmod(fd_, 0), 0);
  const bool is_root = geteuid() == 0;
  if (is_root) {
    ASSERT_EQ(seteuid(65534), 0);  // root may read everything
  }
  const std::string text = parse_file();
  if (is_root) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(text, open_error);
}

// A file that answers reads as it is told and counts them.
struct ReadLog {
  int reads = 0;
  size_t size = 0;
  int open_flags = -1;
  bool closed = false;
};

class ScriptedFile : public zvgsim::OpenFile {
 public:
  ScriptedFile(ReadLog& log, Bytes answer, int error)
      : log_(log), answer_(std::move(answer)), error_(error) {}
  ~ScriptedFile() override { log_.closed = true; }

  ssize_t read(void* buffer, size_t size) override {
    ++log_.reads;
    log_.size = size;
    if (error_ != 0) {
      errno = error_;
      return -1;
    }
    const size_t count = std::min(size, answer_.size());
    std::copy_n(answer_.begin(), count, static_cast<uint8_t*>(buffer));
    return static_cast<ssize_t>(count);
  }

 private:
  ReadLog& log_;
  Bytes answer_;
  int error_;
};

class EdidDevice : public testing::Test {
 protected:
  ~EdidDevice() override { zvgsim::unmount_all(); }

  std::string parse_device(const Bytes& answer, int error = 0) {
    zvgsim::mount_node("/dev/edid", [&](int flags) -> std::shared_ptr<zvgsim::OpenFile> {
      log_.open_flags = flags;
      return std::make_shared<ScriptedFile>(log_, answer, error);
    });
    return parse("/dev/edid");
  }

  ReadLog log_;
};

TEST_F(EdidDevice, IsOpenedForReadingAndReadOnce) {
  const Bytes image = Edid().image();
  EXPECT_EQ(parse_device(image), Report{}.text(image));
  EXPECT_EQ(log_.open_flags & O_ACCMODE, O_RDONLY);
  EXPECT_EQ(log_.reads, 1);
  EXPECT_EQ(log_.size, 256u);
  EXPECT_TRUE(log_.closed);
}

TEST_F(EdidDevice, AShortReadIsItsCount) {
  EXPECT_EQ(parse_device(Bytes(100)), bad_data(100));
  EXPECT_EQ(log_.reads, 1) << "what a first read leaves is not asked for";
  EXPECT_FALSE(log_.closed);
  close(g_parsed_descriptor);
}

TEST_F(EdidDevice, AFailedReadIsItsCountToo) {
  EXPECT_EQ(parse_device({}, EIO), bad_data(-1));
  EXPECT_EQ(log_.reads, 1);
  EXPECT_FALSE(log_.closed);
  close(g_parsed_descriptor);
}

TEST(EdidStore, IsReadThroughItsPointer) {
  Bytes elsewhere = Edid().image();
  g_last_edid = elsewhere.data();
  const std::string text = parse(nullptr);
  g_last_edid = last_edid;
  EXPECT_EQ(text, Report{}.text(elsewhere));
}

TEST(EdidStore, HoldsWhatTheDumpStored) {
  const Bytes image = Edid().image();
  zvgtest::capture([&] { edid_print_helper(image.data(), 128, 1); });
  EXPECT_EQ(parse(nullptr), Report{}.text(image));
  EXPECT_TRUE(std::equal(image.begin(), image.end(), last_edid)) << "a report changes nothing";
}

TEST(EdidStore, EachReportStartsAfresh) {
  // The revision of the first does not decide the square aspect of the second.
  Report first;
  first.version = "Version: 1 Revision: 4\n";
  first.standard[0] = "\t1920x1200@60Hz\n";
  expect_report(Edid().set(0x13, {4}).set(0x26, {0xD1, 0x00}).image(), first);
  Report second;
  second.version = "Version: 1 Revision: 2\n";
  second.standard[0] = "\t1920x1920@60Hz\n";
  expect_report(Edid().set(0x13, {2}).set(0x26, {0xD1, 0x00}).image(), second);
}

// The report on a whole EDID as it stands on the terminal, without any help from this folder.
TEST(EdidReport, InFull) {
  const uint8_t image[256] = {
      0x00,
      0xFF,
      0xFF,
      0xFF,
      0xFF,
      0xFF,
      0xFF,
      0x00,
      0x5A,
      0x56,
      0x01,
      0x20,
      0x4E,
      0x61,
      0xBC,
      0x00,
      0x0C,
      0x1F,
      0x01,
      0x04,
      0xA5,
      0x3C,
      0x22,
      0x78,
      0xE2,
      0xCB,
      0x54,
      0xA3,
      0x54,
      0x4C,
      0x99,
      0x26,
      0x0F,
      0x50,
      0x54,
      0x21,
      0x08,
      0x00,
      0xD1,
      0xC0,
      0x81,
      0x80,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x01,
      0x02,
      0x3A,
      0x80,
      0x18,
      0x71,
      0x38,
      0x2D,
      0x40,
      0x58,
      0x2C,
      0x45,
      0x00,
      0x58,
      0x54,
      0x21,
      0x00,
      0x00,
      0x1E,
      0x00,
      0x00,
      0x00,
      0xFC,
      0x00,
      0x56,
      0x69,
      0x65,
      0x77,
      0x20,
      0x32,
      0x37,
      0x0A,
      0x20,
      0x20,
      0x20,
      0x20,
      0x20,
      0x00,
      0x00,
      0x00,
      0xFD,
      0x00,
      0x32,
      0x4B,
      0x1E,
      0x53,
      0x11,
      0x01,
      0x0A,
      0x20,
      0x20,
      0x20,
      0x20,
      0x20,
      0x20,
      0x00,
      0x00,
      0x00,
      0x10,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x00,
      0x01,
      0x62,
      // CEA-861
      0x02,
      0x03,
      0x74,
      0xF1,
      0x42,
      0x90,
      0x04,
      0x23,
      0x09,
      0x07,
      0x07,
      0x65,
      0x03,
      0x0C,
      0x00,
      0x10,
      0x00,
      0xE3,
      0x05,
      0xC0,
      0x00,
  };
  std::copy(std::begin(image), std::end(image), g_last_edid);
  // The data blocks end at 0x15; blocks of length 0 fill the rest up to 0x74 = 116.
  std::string fill;
  for (int i = 0x15; i < 0x74; ++i) fill += "\n\n";
  EXPECT_EQ(
      parse(nullptr),
      "       0      1      2      3      4      5      6     7      8      9      a      b      c "
      "  "
      "   d      e      f \n"
      "******************************************************************************************"
      "************************\n"
      "0000: 0x00,  0xFF,  0xFF,  0xFF,  0xFF,  0xFF,  0xFF,  0x00,  0x5A,  0x56,  0x01,  0x20,  "
      "0x4E,  0x61,  0xBC,  0x00,  \n"
      "0010: 0x0C,  0x1F,  0x01,  0x04,  0xA5,  0x3C,  0x22,  0x78,  0xE2,  0xCB,  0x54,  0xA3,  "
      "0x54,  0x4C,  0x99,  0x26,  \n"
      "0020: 0x0F,  0x50,  0x54,  0x21,  0x08,  0x00,  0xD1,  0xC0,  0x81,  0x80,  0x01,  0x01,  "
      "0x01,  0x01,  0x01,  0x01,  \n"
      "0030: 0x01,  0x01,  0x01,  0x01,  0x01,  0x01,  0x02,  0x3A,  0x80,  0x18,  0x71,  0x38,  "
      "0x2D,  0x40,  0x58,  0x2C,  \n"
      "0040: 0x45,  0x00,  0x58,  0x54,  0x21,  0x00,  0x00,  0x1E,  0x00,  0x00,  0x00,  0xFC,  "
      "0x00,  0x56,  0x69,  0x65,  \n"
      "0050: 0x77,  0x20,  0x32,  0x37,  0x0A,  0x20,  0x20,  0x20,  0x20,  0x20,  0x00,  0x00,  "
      "0x00,  0xFD,  0x00,  0x32,  \n"
      "0060: 0x4B,  0x1E,  0x53,  0x11,  0x01,  0x0A,  0x20,  0x20,  0x20,  0x20,  0x20,  0x20,  "
      "0x00,  0x00,  0x00,  0x10,  \n"
      "0070: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x01,  0x62,  \n"
      "0080: 0x02,  0x03,  0x74,  0xF1,  0x42,  0x90,  0x04,  0x23,  0x09,  0x07,  0x07,  0x65,  "
      "0x03,  0x0C,  0x00,  0x10,  \n"
      "0090: 0x00,  0xE3,  0x05,  0xC0,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00a0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00b0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00c0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00d0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00e0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "00f0: 0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  0x00,  "
      "0x00,  0x00,  0x00,  0x00,  \n"
      "************************************************************\n"
      "*                     BASE BLOCK                           *\n"
      "************************************************************\n"
      "EDID header check successfully.\n"
      "EDID block 0 checksum check successfully.\n"
      "Manufacturer Name: \tVRV\n"
      "Product Code: \t0x2001\n"
      "Serial Number: \t0x00BC614E\n"
      "Time of Manufacture: \t12 week 2021 year\n"
      "Version: 1 Revision: 4\n"
      "Sreen Size: \t60 x 34 cm\n"
      "Gamma: \t2.20\n"
      "\n"
      "\n"
      "Video Input Definition\n"
      "\n"
      "\tInterface: \tDigital\n"
      "\tColor Bit Depth: \t8 Bits per Primary Color\n"
      "\tInterface Standard Supported: \tDP supported\n"
      "\n"
      "\n"
      "Feature Support\n"
      "\n"
      "\tDisplay Power Management\n"
      "\t\tStandby Mode: \tsupported\n"
      "\t\tSuspend Mode: \tsupported\n"
      "\t\tActive Off: \tVery Low Power is supported\n"
      "\n"
      "\tSupported Color Encoding Format: \tRGB 4:4:4 & YCrCb 4:2:2\n"
      "\n"
      "\tOther Feature Support\n"
      "\t\tsRGB Standard: \tnot the default color space\n"
      "\t\tPreferred Timing Mode: \tincludes the native pixel format and preferred refresh rate\n"
      "\t\tDefault GTF: \tDisplay is non-continuous frequency\n"
      "\n"
      "\n"
      "Chromaticity and Default White Point\n"
      "\n"
      "\tRed_x: 0.640 \tRed_y: 0.328\n"
      "\tGreen_x: 0.297 \tGreen_y: 0.601\n"
      "\tBlue_x: 0.149 \tBlue_y: 0.060\n"
      "\tWhite_x: 0.328 \tWhite_y: 0.328\n"
      "\n"
      "\n"
      "Established Timing\n"
      "\n"
      "\t800x600@0Hz\n"
      "\t640x480@0Hz\n"
      "\t1024x768@0Hz\n"
      "\n"
      "\n"
      "Standard Timing\n"
      "\n"
      "\t1920x1080@60Hz\n"
      "\t1280x1024@60Hz\n"
      "\033[1;33m*WARN*Standard Timings 2 is bad or unused\n\033[0m"
      "\033[1;33m*WARN*Standard Timings 3 is bad or unused\n\033[0m"
      "\033[1;33m*WARN*Standard Timings 4 is bad or unused\n\033[0m"
      "\033[1;33m*WARN*Standard Timings 5 is bad or unused\n\033[0m"
      "\033[1;33m*WARN*Standard Timings 6 is bad or unused\n\033[0m"
      "\033[1;33m*WARN*Standard Timings 7 is bad or unused\n\033[0m"
      "\n"
      "\n"
      "-------------------Detailed Timing Block 0-------------------------\n"
      "Detailed timing mode: \n"
      "\tName: \t1920x1080\n"
      "\tClock: \t148500kHz\n"
      "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
      "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
      "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
      "\tHtotal: \t2200 \tVtotal: \t1125\n"
      "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
      "\tVideo Image Width_mm: \t600\n"
      "\tVideo Image Height_mm: \t340\n"
      "\n"
      "-------------------Detailed Timing Block 1-------------------------\n"
      "Display Product Name: View\n"
      "\n"
      "-------------------Detailed Timing Block 2-------------------------\n"
      "Display Range Limits: \n"
      "\tMinimum Vertical Rate: \t50Hz\n"
      "\tMaximum Vertical Rate: \t75Hz\n"
      "\tMinimum Horizontal Rate: \t30kHz\n"
      "\tMaximum Horizontal Rate: \t83kHz\n"
      "\tMaximum Pixel Clock: \t170MHz\n"
      "\n"
      "Video Timing Supported\n"
      "\tRange Limits Only --- no additional timing information is provided.\t\n"
      "-------------------Detailed Timing Block 3-------------------------\n"
      "\033[1;33m*WARN*Detailed Block type is undefined\n\033[0m\n"
      "************************************************************\n"
      "*                     BLOCK 01                             *\n"
      "************************************************************\n"
      "\033[1;33m*WARN*EDID block 1 checksum is 0x00. Reminder is 0x5a\n\033[0m"
      "CEA Extension General Info\n"
      "\tCEA Version: 3\n"
      "\tStart of Detailed Timing Data: 116\n"
      "\tUnderscans IT Format:\tsupported\n"
      "\tBasic Audio:\t\tsupported\n"
      "\tYCbCr 4:4:4:\t\tsupported\n"
      "\tYCbCr 4:2:2:\t\tsupported\n"
      "\tNative Detailed Timing Number: 1\n"
      "\n"
      "\n"
      "Video Data Block\n"
      "Video Data Block Count:2\n"
      "\t*1\tNative Format:\tnative\n"
      "\t\tVideo Descriptor: Index[16]\tFormats:1920x1080\tFiled Rate:60\tPicture Aspect Ratio: "
      "16:9\n"
      "\t*2\tNative Format:\tnot-native\n"
      "\t\tVideo Descriptor: Index[4]\tFormats:1280x720\tFiled Rate:60\tPicture Aspect Ratio: "
      "16:9\n"
      "\n"
      "\n"
      "Audio Data Block\n"
      "\tAudio Data Block lenth:3\n"
      "\tCEA short Audio Descriptor count:1\n"
      "\n"
      "\n"
      "HDMI Vendor Specific Data Block\n"
      "\tSource Physical Address: A:1 B:0 C:0 D:0\n"
      "\n"
      "\n"
      "Colorimetry Data Block\n"
      "\tColorimetry Supports:xvYCC601\txvYCC709\t\n"
      "MD3_MD2_MD1_MD0:0\n"
      "\n"
      "\n" +
          fill + "--------------------------END-------------------------\n");
}

}  // namespace
}  // namespace edidtest
