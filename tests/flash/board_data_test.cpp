// Board information entries and the serial number, from a flash image behind the registers.
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include "flash/flash_log.h"
#include "support/capture.h"

// The library's allocations come here, so that a test can refuse them. The sanitizer has an
// allocator of its own, which must not be taken over.
#if !defined(__SANITIZE_ADDRESS__)
namespace {

// From this size on there is no memory.
size_t g_no_memory_from = SIZE_MAX;

}  // namespace

extern "C" __attribute__((visibility("default"))) void* __libc_malloc(size_t);
extern "C" __attribute__((visibility("default"))) void* malloc(size_t size) {
  return size >= g_no_memory_from ? nullptr : __libc_malloc(size);
}
extern "C" __attribute__((visibility("default"))) void* __libc_calloc(size_t, size_t);
extern "C" __attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
  return count * size >= g_no_memory_from ? nullptr : __libc_calloc(count, size);
}
#endif

namespace {

using namespace zvgtest;

static_assert(sizeof(board_info_entry) == 80 && offsetof(board_info_entry, next) == 14 &&
              offsetof(board_info_entry, address) == 64 && offsetof(board_info_entry, data) == 72);
static_assert(offsetof(board_info_edid_request, output) == 12 &&
              offsetof(board_info_edid_request, edid) == 24);

constexpr uint32_t area = 0x70200;

// Quad reads come from an image: after the opcode and the address, words in wire order.
class BoardData : public FlashNode {
 protected:
  void SetUp() override {
    FlashNode::SetUp();
    const auto registers = node_.on_read;
    node_.on_read = [this, registers](uint64_t at, uint64_t* value) {
      if (at != zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + data) return registers(at, value);
      const unsigned mode = node_.bytes[zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + control + 2];
      if (mode != 0x5F) {  // a status register: of the two, the one that was asked for last
        *value = sent_.back() == 0x35 ? 2 : 0;
        return true;
      }
      uint32_t word = 0;
      for (unsigned i = 0; i < 4; ++i) word = word << 8 | image_[(position_ + i) % image_.size()];
      position_ += 4;
      *value = word;
      return true;
    };
    node_.result = [this](bool write, uint64_t at) {
      if (write && at == zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + data) {
        unsigned frame = 0;
        sscanf(node_.platform.log().back().c_str(), "w4 %*x %x", &frame);
        if (!sent_.empty() && sent_.back() == 0x6B) position_ = frame;
        sent_.push_back(frame);
        reads_ += frame == 0x6B ? 1 : 0;
      }
      // Nor can it be read for ever: a walk without an end finds one here.
      const bool fails = unreadable_ || reads_ > 1000;
      return fails && !write && at == zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + status ? -1 : 0;
    };
  }

  void put16(uint32_t at, unsigned value) {
    image_[at] = static_cast<uint8_t>(value);
    image_[at + 1] = static_cast<uint8_t>(value >> 8);
  }
  // An entry with its data right behind it, and the checksum that it needs.
  void entry(uint32_t at, unsigned type, unsigned id, const std::vector<uint8_t>& bytes,
             unsigned next, unsigned sub_index = 0) {
    put16(at, 0x0709);
    put16(at + 2, type);
    put16(at + 4, id);
    put16(at + 6, sub_index);
    put16(at + 8, 64);
    put16(at + 10, static_cast<unsigned>(bytes.size()));
    put16(at + 14, next);
    std::copy(bytes.begin(), bytes.end(), image_.begin() + at + 64);
    unsigned sum = 0;
    for (size_t i = 0; i < (bytes.size() + 1) / 2; ++i) {
      sum += image_[at + 64 + 2 * i] | image_[at + 65 + 2 * i] << 8;
    }
    put16(at + 12, -sum);
  }
  static std::vector<uint8_t> ramp(size_t size, unsigned seed) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 3 + seed);
    return bytes;
  }
  static void release(board_info_entry* one) {
    if (one != nullptr) free(one->data);
    free(one);
  }
  // The walk's addresses.
  std::vector<uint32_t> walk() {
    std::vector<uint32_t> found;
    board_info_entry* previous = nullptr;
    capture([&] {
      for (board_info_entry* one; (one = board_info_image_next(previous)) != nullptr;) {
        found.push_back(one->address);
        release(previous);
        previous = one;
      }
    });
    release(previous);
    return found;
  }

  std::vector<uint8_t> image_ = std::vector<uint8_t>(0x200000, 0xFF);
  std::vector<unsigned> sent_;
  uint32_t position_ = 0;
  unsigned reads_ = 0;
  bool unreadable_ = false;
};

TEST_F(BoardData, WalksTheChain) {
  entry(area, 0x1234, 7, ramp(20, 1), 0x200);
  entry(area + 0x200, 0x5044, 1, ramp(128, 2), 0x600);
  entry(area + 0x600, 0x5044, 2, ramp(0, 3), 0);
  EXPECT_THAT(walk(), testing::ElementsAre(area, area + 0x200, area + 0x600));
}

TEST_F(BoardData, AnEntryHasItsHeaderAndItsData) {
  entry(area, 0x1234, 7, ramp(21, 1), 0x200);
  board_info_entry* one = nullptr;
  const Output output = capture([&] { one = board_info_image_next(nullptr); });
  ASSERT_NE(one, nullptr);
  EXPECT_EQ(output.out, "SPI READ 0x40 SUCCESS\nSPI READ 0x15 SUCCESS\n");
  EXPECT_EQ(memcmp(one, &image_[area], 64), 0);
  EXPECT_EQ(one->address, area);
  EXPECT_EQ(memcmp(one->data, &image_[area + 64], 21), 0);
  release(one);
}

TEST_F(BoardData, TheDataStandsWhereItsOffsetSays) {
  entry(area, 0x5044, 1, ramp(8, 1), 0);
  std::copy_n(image_.begin() + area + 64, 8, image_.begin() + area + 0x100);
  image_[area + 64] ^= 1;
  put16(area + 8, 0x100);
  EXPECT_EQ(walk().size(), 1u);
}

// An odd size is summed up one byte further.
TEST_F(BoardData, AnOddSizeCountsTheByteBehindIt) {
  image_[area + 64 + 5] = 0x40;
  entry(area, 0x5044, 1, ramp(5, 9), 0);
  EXPECT_EQ(walk().size(), 1u);
  image_[area + 64 + 5] = 0x41;
  EXPECT_TRUE(walk().empty());
}

TEST_F(BoardData, AWrongEntryEndsTheWalk) {
  EXPECT_TRUE(walk().empty()) << "an erased area";
  entry(area, 0x5044, 1, ramp(128, 1), 0x200);
  entry(area + 0x200, 0x5044, 2, ramp(128, 1), 0);
  put16(area + 0x200, 0x070A);
  EXPECT_THAT(walk(), testing::ElementsAre(area));
  image_[area + 64] ^= 1;
  EXPECT_TRUE(walk().empty());
  image_[area + 64] ^= 1;
  unreadable_ = true;
  EXPECT_TRUE(walk().empty());
}

// As many entries as the area has places, one every 512 bytes.
constexpr unsigned places = 127;

TEST_F(BoardData, AFullAreaIsWalkedToItsEnd) {
  for (unsigned i = 0; i < places; ++i) {
    entry(area + 0x200 * i, 0x5044, i, ramp(128, i), i + 1 < places ? 0x200 * (i + 1) : 0);
  }
  board_info_edid_request request = {};
  request.output = places - 1;
  capture([&] { EXPECT_EQ(board_info_image_handle(&request), 0); });
  EXPECT_EQ(memcmp(request.edid, ramp(128, places - 1).data(), 128), 0);
  EXPECT_EQ(reads_, 2 * places) << "a header and its data each";
}

// An entry names itself, or one before it, as the next.
TEST_F(BoardData, AChainThatLeadsBackEndsAfterAsManyEntriesAsTheAreaHolds) {
  const std::vector<uint16_t> words(64, 0x1234);
  for (const unsigned back_to : {0x400u, 0x200u}) {
    entry(area, 0x5044, 1, ramp(128, 1), 0x200);
    entry(area + 0x200, 0x5044, 2, ramp(128, 2), 0x400);
    entry(area + 0x400, 0x5044, 3, ramp(256, 3), back_to);
    board_info_edid_request request = {};
    request.output = 3;
    reads_ = 0;
    capture([&] { EXPECT_EQ(board_info_image_handle(&request), 0); });
    EXPECT_EQ(memcmp(request.edid, ramp(256, 3).data(), 256), 0);
    EXPECT_EQ(reads_, 2 * places);
    // An entry that there is ends the search, one that there is not the count.
    for (const auto& [output, found] : {std::pair{3u, 3u}, {4u, places}}) {
      reads_ = 0;
      capture([&, output = output] {
        EXPECT_EQ(board_info_image_write_edid(output, words.data(), 128), -1);
      });
      EXPECT_EQ(reads_, 2 * found);
    }
  }
}

TEST_F(BoardData, HandsOutTheEdidOfAnOutput) {
  entry(area, 0x5044, 1, ramp(128, 1), 0x400);
  entry(area + 0x400, 0x5044, 2, ramp(256, 2), 0x800);
  entry(area + 0x800, 0x5044, 3, ramp(200, 3), 0xC00);       // no EDID has 200 bytes
  entry(area + 0xC00, 0x5045, 4, ramp(128, 4), 0x1000);      // another type
  entry(area + 0x1000, 0x5044, 5, ramp(128, 5), 0x1400, 1);  // another sub-index
  entry(area + 0x1400, 0x5044, 1, ramp(256, 6), 0);          // later ones win
  const auto edid_of = [](uint32_t output) {
    board_info_edid_request request;
    memset(&request, 0xEE, sizeof request);
    request.output = output;
    capture([&] { EXPECT_EQ(board_info_image_handle(&request), 0); });
    EXPECT_EQ(request.output, output);
    EXPECT_EQ(request.unused_1[1], 0xEEEEEEEEu);
    return std::vector<uint8_t>(request.edid, request.edid + 256);
  };
  EXPECT_EQ(edid_of(1), ramp(256, 6));
  EXPECT_EQ(edid_of(2), ramp(256, 2));
  for (const uint32_t output : {0u, 3u, 4u, 5u, 0x10001u}) {
    EXPECT_EQ(edid_of(output), std::vector<uint8_t>(256, 0xEE)) << output;
  }
}

TEST_F(BoardData, AShortEdidLeavesTheRestAlone) {
  entry(area, 0x5044, 1, ramp(128, 1), 0);
  board_info_edid_request request;
  memset(&request, 0xEE, sizeof request);
  request.output = 1;
  capture([&] { board_info_image_handle(&request); });
  EXPECT_EQ(memcmp(request.edid, ramp(128, 1).data(), 128), 0);
  EXPECT_EQ(request.edid[128], 0xEE);
}

constexpr char misaligned[] =
    "error: address or size not properly aligned\n"
    "address must be 4kb aligned, size must be multiple of 4kb\n";

// The slots are no whole sectors, and the erase refuses them.
TEST_F(BoardData, AnEdidCannotBeStored) {
  const std::vector<uint16_t> words(64, 0x1234);
  const auto write = [&](uint32_t output) {
    return capture([&] { EXPECT_EQ(board_info_image_write_edid(output, words.data(), 128), -1); })
        .out;
  };
  const std::vector<uint8_t> before = image_;
  EXPECT_EQ(write(1), "SPI READ 0x40 SUCCESS\n" + std::string(misaligned)) << "an empty chain";
  entry(area, 0x5044, 1, ramp(128, 1), 0);
  const std::string one = "SPI READ 0x40 SUCCESS\nSPI READ 0x80 SUCCESS\n";
  EXPECT_EQ(write(1), one + misaligned) << "its own entry";
  EXPECT_EQ(write(2), one + misaligned) << "behind the last one";
  // Its own entry ends the search.
  entry(area, 0x5044, 1, ramp(128, 1), 0x200);
  entry(area + 0x200, 0x5044, 2, ramp(128, 1), 0);
  EXPECT_EQ(write(1), one + misaligned);
  EXPECT_EQ(write(3), one + one + misaligned);
  for (const unsigned opcode : {0x20u, 0x52u, 0xD8u, 0x60u, 0x32u}) {
    EXPECT_EQ(std::count(sent_.begin(), sent_.end(), opcode), 0) << "no erase, no program";
  }
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(BoardData, WithoutMemory) {
  const auto printed_from = [](size_t size, const std::function<void()>& call) {
    return capture([&] {
             g_no_memory_from = size;
             call();
             g_no_memory_from = SIZE_MAX;
           })
        .out;
  };
  const uint16_t words[64] = {};
  entry(area, 0x5044, 1, ramp(60000, 1), 0);
  EXPECT_EQ(printed_from(0, [] { EXPECT_EQ(board_info_image_next(nullptr), nullptr); }),
            "Failed to malloc header.\n");
  EXPECT_EQ(printed_from(60000, [] { EXPECT_EQ(board_info_image_next(nullptr), nullptr); }),
            "SPI READ 0x40 SUCCESS\nFailed to malloc data.\n");
  // The walk finds nothing then, and the header of a first entry gets no memory either.
  EXPECT_EQ(printed_from(0, [&] { EXPECT_EQ(board_info_image_write_edid(1, words, 128), -1); }),
            "Failed to malloc header.\nFailed to malloc header h1.\n");
}
#endif

TEST_F(BoardData, AnEntryOutsideTheAreaIsRefused) {
  entry(area, 0x1111, 9, ramp(4, 1), 0xFFFE);
  entry(area + 0xFFFE, 0x5044, 1, ramp(128, 1), 0);  // beyond 0x80000
  const std::vector<uint16_t> words(64);
  for (const uint32_t output : {1u, 2u}) {
    const Output result =
        capture([&] { EXPECT_EQ(board_info_image_write_edid(output, words.data(), 128), -1); });
    EXPECT_EQ(result.out.find("error"), std::string::npos) << "no erase is tried";
  }
}

// Serial number -----------------------------------------------------------------------------

class SerialNumber : public BoardData {
 protected:
  static constexpr uint32_t at = 0x1BFC00;
  void record(const std::string& serial, unsigned length) {
    std::fill_n(image_.begin() + at, 128, uint8_t{0});
    put16(at, 0x0709);
    put16(at + 2, 0x4E53);
    put16(at + 6, length);
    std::copy(serial.begin(), serial.end(), image_.begin() + at + 64);
    unsigned sum = 0;
    for (unsigned i = 0; i < length / 2; ++i) {
      sum += image_[at + 64 + 2 * i] | image_[at + 65 + 2 * i] << 8;
    }
    put16(at + 8, -sum);
  }
  int read(int length) {
    memset(buffer_, '*', sizeof buffer_);
    int result = 0;
    output_ = capture([&] { result = zvgSnRead(buffer_, length); });
    return result;
  }
  std::string got() const { return std::string(buffer_, sizeof buffer_).substr(0, 14); }

  char buffer_[128];
  Output output_;
};

TEST_F(SerialNumber, IsCopiedWithoutATerminator) {
  record("ZVG-20261121", 12);
  EXPECT_EQ(read(13), 0);
  EXPECT_EQ(got(), "ZVG-20261121**");
  EXPECT_EQ(output_.out, "SPI READ 0x80 SUCCESS\n");
  EXPECT_EQ(read(64), 0);
}

TEST_F(SerialNumber, MustFitWithRoomToSpare) {
  record("ZVG-20261121", 12);
  EXPECT_EQ(read(12), -3);
  EXPECT_EQ(got(), "ZVG-20261121**");
  EXPECT_EQ(read(10), -3);
  EXPECT_EQ(got(), "ZVG-202611****");
}

TEST_F(SerialNumber, LengthIsTenToSixtyFour) {
  record("ZVG-20261121", 12);
  for (const int length : {9, 0, -1, 65, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(read(length), -3);
    EXPECT_EQ(output_.out, "");
  }
  EXPECT_EQ(reads_, 0u);
  record("1234567890", 8);
  EXPECT_EQ(read(10), 0);
}

TEST_F(SerialNumber, NeedsItsMarks) {
  record("ZVG-20261121", 12);
  put16(at, 0x0708);
  EXPECT_EQ(read(20), -2);
  EXPECT_EQ(got(), "**************");
  record("ZVG-20261121", 12);
  put16(at + 2, 0x4E54);
  EXPECT_EQ(read(20), -2);
}

TEST_F(SerialNumber, IsCopiedBeforeItsChecksumIsLookedAt) {
  record("ZVG-20261121", 12);
  image_[at + 8] ^= 1;
  EXPECT_EQ(read(20), -2);
  EXPECT_EQ(got(), "ZVG-20261121**");
}

TEST_F(SerialNumber, AnOddLastCharacterIsNotSummedUp) {
  record("ZVG-2026112", 11);
  EXPECT_EQ(read(20), 0);
  image_[at + 64 + 10] = '9';
  EXPECT_EQ(read(20), 0);
}

TEST_F(SerialNumber, TheShortestOnesHaveAChecksumOfZero) {
  record("A", 1);
  EXPECT_EQ(read(10), 0);
  EXPECT_EQ(got(), "A*************");
  record(" ", 1);
  EXPECT_EQ(read(10), -3);
  record("", 0);
  EXPECT_EQ(read(10), 0);
  for (const unsigned length : {0u, 1u}) {
    record("A", length);
    put16(at + 8, 1);
    EXPECT_EQ(read(10), -2);
  }
}

TEST_F(SerialNumber, EveryCharacterIsChecked) {
  for (const char* const serial : {"ZVG 20261121", " ZVG20261121", "ZVG2026112{1", "ZVG2026112 "}) {
    record(serial, static_cast<unsigned>(strlen(serial)));
    EXPECT_EQ(read(20), -3) << serial;
    EXPECT_EQ(std::string(buffer_, strlen(serial)), serial);
  }
}

TEST_F(SerialNumber, AFlashThatCannotBeRead) {
  unreadable_ = true;
  record("ZVG-20261121", 12);
  EXPECT_EQ(read(20), -1);
  EXPECT_EQ(output_.out, "SPI READ ERROR\n");
  EXPECT_EQ(got(), "**************");
}

TEST_F(SerialNumber, CannotBeProgrammed) {
  record("ZVG-20261121", 12);
  const Output output = capture([] { EXPECT_EQ(zvgSnProgram(), -2); });
  EXPECT_EQ(output.out, "SPI READ 0x80 SUCCESS\n");
  EXPECT_EQ(reads_, 1u);
  unreadable_ = true;
  capture([] { EXPECT_EQ(zvgSnProgram(), -1); });
}

TEST(ValidCharacter, IsFromDashToZ) {
  for (int c = -128; c < 128; ++c) {
    EXPECT_EQ(is_valid_char(static_cast<char>(c)), c >= 0x2D && c <= 0x7A ? 1 : 0) << c;
  }
}

}  // namespace
