// The EDID fetch over HDMI: which bytes it reads how, and what it does when one does not come.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "display/hdmi/hdmi_log.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

// The library's allocations come here, so that a test can refuse them. The sanitizer has an
// allocator of its own, which must not be taken over.
#if !defined(__SANITIZE_ADDRESS__)
namespace {

bool g_no_malloc = false;
bool g_no_realloc = false;

}  // namespace

extern "C" __attribute__((visibility("default"))) void* __libc_malloc(size_t);
extern "C" __attribute__((visibility("default"))) void* malloc(size_t size) {
  return g_no_malloc ? nullptr : __libc_malloc(size);
}
extern "C" __attribute__((visibility("default"))) void* __libc_realloc(void*, size_t);
extern "C" __attribute__((visibility("default"))) void* realloc(void* bytes, size_t size) {
  return g_no_realloc ? nullptr : __libc_realloc(bytes, size);
}
#endif

namespace {

using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::read1;
using zvgtest::RegisterNode;
using zvgtest::write1;

constexpr uint64_t base(unsigned hdmi) {
  return (hdmi + 0x11) << 16;
}

Log plain_read(unsigned hdmi, unsigned offset) {
  return {write1(hdmi, 0x0105, 3), write1(hdmi, 0x7E00, 0x50), write1(hdmi, 0x7E01, offset),
          write1(hdmi, 0x0185, 3), write1(hdmi, 0x7E04, 0x01), read1(hdmi, 0x0105),
          read1(hdmi, 0x7E03)};
}

Log segmented_read(unsigned hdmi, unsigned offset) {
  return {write1(hdmi, 0x0105, 3),
          write1(hdmi, 0x7E08, 0x30),
          write1(hdmi, 0x7E0A, offset >> 8),
          write1(hdmi, 0x7E00, 0x50),
          write1(hdmi, 0x7E01, offset & 0xFF),
          write1(hdmi, 0x0188, 3),
          write1(hdmi, 0x7E04, 0x02),
          read1(hdmi, 0x0105),
          read1(hdmi, 0x7E03)};
}

// What the report of a fetch looks like: the hex dump of the bytes and the closing line.
std::string dumped(const std::vector<uint8_t>& bytes) {
  std::string text =
      "       0      1      2      3      4      5      6     7      8      9      a      b      c"
      "      d      e      f \n" +
      std::string(114, '*') + "\n";
  char item[32];
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i % 16 == 0) {
      snprintf(item, sizeof item, "%04zx: ", i);
      text += item;
    }
    snprintf(item, sizeof item, "0x%02X,  ", bytes[i]);
    text += item;
    if (i % 16 == 15) text += "\n";
  }
  return text + "EDID is ready for parsed.\n";
}

// A transmitter whose DDC ends every operation at once and delivers a monitor's bytes.
class HdmiEdid : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  void monitor(unsigned hdmi, unsigned extensions) {
    hdmi_ = hdmi;
    edid_.resize((extensions + 1) * 128);
    for (size_t i = 0; i < edid_.size(); ++i) edid_[i] = static_cast<uint8_t>(i * 7 + i / 256);
    edid_[126] = static_cast<uint8_t>(extensions);
    node_.on_read = [this](uint64_t at, uint64_t* value) {
      if (at == base(hdmi_) + 0x0105) {
        *value = status_ ? status_() : 0x02;
        return true;
      }
      if (at != base(hdmi_) + 0x7E03) return false;
      const bool segmented = node_.bytes[base(hdmi_) + 0x7E04] == 0x02;
      const size_t segment = segmented ? node_.bytes[base(hdmi_) + 0x7E0A] : 0;
      *value = edid_.at(segment * 256 + node_.bytes[base(hdmi_) + 0x7E01]);
      return true;
    };
  }
  zvgtest::Output fetch(int expected) {
    return capture([&] { EXPECT_EQ(zvgHdmiEDIDRead(hdmi_), expected); });
  }
  // The offset whose read is under way.
  size_t offset() {
    const bool segmented = node_.bytes[base(hdmi_) + 0x7E04] == 0x02;
    return (segmented ? node_.bytes[base(hdmi_) + 0x7E0A] * size_t{256} : 0) +
           node_.bytes[base(hdmi_) + 0x7E01];
  }
  std::string read_failed() const {
    return "hdmi " + std::to_string(hdmi_) + ": read edid failed\n";
  }

  RegisterNode node_;
  unsigned hdmi_ = 0;
  std::vector<uint8_t> edid_;
  std::function<uint8_t()> status_;
};

TEST_F(HdmiEdid, OneBlockIs128PlainReads) {
  for (unsigned hdmi = 0; hdmi < 4; ++hdmi) {
    monitor(hdmi, 0);
    const auto output = fetch(0);
    EXPECT_EQ(output.out, dumped(edid_));
    EXPECT_EQ(output.err, "");
    Log expected;
    for (unsigned i = 0; i < 128; ++i) expected = join({expected, plain_read(hdmi, i)});
    EXPECT_THAT(node_.take(), ElementsAreArray(expected));
  }
}

TEST_F(HdmiEdid, TwoBlocksAreAllPlain) {
  monitor(1, 1);
  EXPECT_EQ(fetch(0).out, dumped(edid_));
  Log expected;
  for (unsigned i = 0; i < 256; ++i) expected = join({expected, plain_read(1, i)});
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
}

TEST_F(HdmiEdid, FurtherBlocksUseTheSegmentPointer) {
  monitor(0, 3);
  EXPECT_EQ(fetch(0).out, dumped(edid_));
  Log expected;
  for (unsigned i = 0; i < 256; ++i) expected = join({expected, plain_read(0, i)});
  for (unsigned i = 256; i < 512; ++i) expected = join({expected, segmented_read(0, i)});
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
}

TEST_F(HdmiEdid, LastSegmentOf256Blocks) {
  node_.quiet = true;
  monitor(2, 255);
  EXPECT_EQ(fetch(0).out, dumped(edid_));
  EXPECT_EQ(node_.bytes[base(2) + 0x7E0A], 127);
}

TEST_F(HdmiEdid, StoreKeepsTheFirst256Bytes) {
  node_.quiet = true;
  memset(last_edid, 0xEE, sizeof last_edid);
  monitor(0, 0);
  fetch(0);
  EXPECT_EQ(memcmp(last_edid, edid_.data(), 128), 0);
  for (int i = 128; i < 256; ++i) EXPECT_EQ(last_edid[i], 0) << i;
  monitor(0, 3);
  fetch(0);
  EXPECT_EQ(memcmp(last_edid, edid_.data(), 256), 0);
}

TEST_F(HdmiEdid, AnyByteThatFailsEndsTheFetch) {
  for (const size_t bad : {0u, 127u, 128u, 255u}) {
    node_.quiet = true;
    monitor(3, 3);
    status_ = [&] { return offset() == bad ? 0x01 : 0x02; };
    const auto output = fetch(-1);
    EXPECT_EQ(output.out, read_failed()) << bad;
    EXPECT_EQ(output.err, "");
  }
}

TEST_F(HdmiEdid, SegmentedByteThatFailsEndsTheFetch) {
  node_.quiet = true;
  monitor(1, 3);
  status_ = [&] { return offset() == 511 ? 0x01 : 0x02; };
  EXPECT_EQ(fetch(-1).out, read_failed());
  status_ = [&] { return offset() == 256 ? 0x00 : 0x02; };
  node_.slept_us = 0;
  EXPECT_EQ(fetch(-1).out, read_failed());
  EXPECT_EQ(node_.slept_us, 65534u * 5);
}

TEST_F(HdmiEdid, UnreadableStatusPrintsBothTexts) {
  node_.quiet = true;
  for (const size_t bad : {5u, 300u}) {
    monitor(2, 3);
    node_.result = [&](bool write, uint64_t at) {
      return !write && at == base(2) + 0x0105 && offset() == bad ? -1 : 0;
    };
    EXPECT_EQ(fetch(-1).out, "hdmi 2:i2c read status faield\n" + read_failed()) << bad;
  }
}

TEST_F(HdmiEdid, FailedSetUpOfAPlainReadPrintsBothTexts) {
  monitor(0, 0);
  node_.result = [](bool write, uint64_t at) { return write && at == base(0) + 0x7E00 ? -1 : 0; };
  EXPECT_EQ(fetch(-1).out, "hdmi 0:i2c config failed\n" + read_failed());
}

TEST_F(HdmiEdid, FailedAccessOfASegmentedReadPrintsOneText) {
  node_.quiet = true;
  for (const unsigned reg : {0x7E08u, 0x7E0Au, 0x0188u}) {
    monitor(0, 2);
    node_.result = [=](bool write, uint64_t at) { return write && at == base(0) + reg ? -1 : 0; };
    EXPECT_EQ(fetch(-1).out, read_failed()) << reg;
  }
  node_.result = [this](bool write, uint64_t at) {
    return !write && at == base(0) + 0x7E03 && offset() >= 256 ? -1 : 0;
  };
  EXPECT_EQ(fetch(-1).out, read_failed());
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(HdmiEdid, WithoutMemoryNothingIsRead) {
  monitor(0, 0);
  const auto output = capture([] {
    g_no_malloc = true;
    const int result = zvgHdmiEDIDRead(0);
    g_no_malloc = false;
    EXPECT_EQ(result, -1);
  });
  EXPECT_EQ(output.out, "out of memory\n");
  EXPECT_TRUE(node_.take().empty());
}

TEST_F(HdmiEdid, WithoutMemoryForTheExtensionsTheFetchFails) {
  node_.quiet = true;
  monitor(1, 2);
  const auto output = capture([] {
    g_no_realloc = true;
    const int result = zvgHdmiEDIDRead(1);
    g_no_realloc = false;
    EXPECT_EQ(result, -1);
  });
  EXPECT_EQ(output.out, read_failed());
}
#endif

TEST_F(HdmiEdid, TransmitterAboveThreeFailsAtTheFirstByte) {
  hdmi_ = 4;
  EXPECT_EQ(fetch(-1).out, "hdmi 4: read edid failed\n");
  EXPECT_TRUE(node_.take().empty());
}

TEST_F(HdmiEdid, FetchAndDecodeIsTheWholeJob) {
  node_.quiet = true;
  monitor(0, 0);
  const uint8_t header[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  memcpy(edid_.data(), header, sizeof header);
  edid_[8] = 0x6A;  // "ZVG"
  edid_[9] = 0xC7;
  fetch(0);
  const auto report = capture([] { EXPECT_EQ(do_edid_parse(nullptr), 0); });
  EXPECT_NE(report.out.find("EDID header check successfully.\n"), std::string::npos);
  EXPECT_NE(report.out.find("Manufacturer Name: \tZVG\n"), std::string::npos);
}

}  // namespace
