// Erasing, programming, verifying and protecting: every access in order, waits and messages.
#include <sys/resource.h>
#include <unistd.h>

#include <tuple>

#include "flash/flash_log.h"
#include "support/capture.h"

namespace {

using namespace zvgtest;
using testing::ElementsAreArray;
using testing::IsEmpty;

class SpiModify : public FlashNode {
 protected:
  std::string printed(const std::function<void()>& call) {
    const Output output = capture(call);
    EXPECT_EQ(output.err, "");
    return output.out;
  }
  void stuck_from(unsigned look) {
    status_reads_ = 0;
    on_status = [this, look] { return status_reads_ >= look ? 0x01 : ready(); };
  }
};

Log basic_set_up() {
  return left() + Log{w(enable, 0),  w(control, 0x70100), w(divider, 4),
                      w(mask, 0x3F), w(sel, 1),           w(enable, 1)} +
         short_sent(0x06);
}

// Erasing -----------------------------------------------------------------------------------

struct EraseKind {
  int (*erase)(uint32_t);
  unsigned opcode;
  const char* wait;
  const char* success;
  const char* error;
};
const EraseKind kinds[] = {
    {zvgSpiEraseSector, 0x20, "usleep 40000", "4KB ERASE SUCCESS\n", "SPI 4KB ERASE ERROR\n"},
    {zvgSpiErase32kbBlock, 0x52, "usleep 150000", "32KB ERASE SUCCESS\n", "SPI 32KB ERASE ERROR\n"},
    {zvgSpiErase64kbBlock, 0xD8, "usleep 180000", "64KB ERASE SUCCESS\n", "SPI 64KB ERASE ERROR\n"},
};

Log erase_set_up(const EraseKind& kind, unsigned address) {
  return basic_set_up() + sent({0x06}) +
         sent({kind.opcode, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF}) +
         one_answer() + answered(0x05);
}

TEST_F(SpiModify, ErasesAPiece) {
  for (const uint32_t generation : {0x201u, 0x202u}) {
    open(generation);
    for (const EraseKind& kind : kinds) {
      EXPECT_EQ(printed([&] { EXPECT_EQ(kind.erase(0x89123456), 0); }), kind.success);
      EXPECT_THAT(take(), ElementsAreArray(erase_set_up(kind, 0x123456)));
    }
  }
}

TEST_F(SpiModify, WaitsForAnErase) {
  for (const EraseKind& kind : kinds) {
    answers = {0x01, 0x03, 0x01, 0x00};
    EXPECT_EQ(printed([&] { EXPECT_EQ(kind.erase(0), 0); }), kind.success);
    EXPECT_THAT(take(),
                ElementsAreArray(erase_set_up(kind, 0) + 3 * (answered(0x05) + Log{kind.wait})));
  }
}

// Twenty waits; what the twenty-first attempt finds comes too late.
TEST_F(SpiModify, AnEraseEndsWithItsTwentyFirstAttempt) {
  for (const EraseKind& kind : kinds) {
    for (const unsigned idle_at : {20u, 21u}) {
      answers = std::deque<uint32_t>(idle_at, 0x01);  // the first answer, and the attempts before
      EXPECT_EQ(printed([&] { EXPECT_EQ(kind.erase(0), idle_at == 20 ? 0 : -1); }),
                idle_at == 20 ? kind.success : "SPI NOT EXIT XIP MODE\n" + std::string(kind.error));
      EXPECT_THAT(take(),
                  ElementsAreArray(erase_set_up(kind, 0) + 20 * (answered(0x05) + Log{kind.wait}) +
                                   (idle_at == 21 ? answered(0x05) : Log{})));
    }
  }
}

TEST_F(SpiModify, EveryWaitOfAnEraseCanTimeOut) {
  for (const EraseKind& kind : kinds) {
    for (unsigned look = 2; look <= 5; ++look) {  // 06, the erase, 05, 05 again
      answers = {0x01};
      stuck_from(look);
      EXPECT_EQ(printed([&] { EXPECT_EQ(kind.erase(0), -1); }), kind.error) << look;
      EXPECT_EQ(status_reads_, look - 1 + 22);
      take();
      answers.clear();
    }
  }
}

TEST_F(SpiModify, AFailedBasicConfigurationIsReportedAndCarriedOn) {
  on_status = [this] { return status_reads_ <= 22 ? 0 : ready(); };
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEraseSector(0), 0); }),
            "SPI BASIC CONFIG ERROR\n4KB ERASE SUCCESS\n");
}

TEST_F(SpiModify, ErasesTheChip) {
  const Log set_up = basic_set_up() + sent({0x06}) + sent({0x60}) + one_answer() + answered(0x05);
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEraseChip(), 0); }), "2MB ERASE SUCCESS\n");
  EXPECT_THAT(take(), ElementsAreArray(set_up));
  answers = {0x01, 0x01, 0x00};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEraseChip(), 0); }),
            "Wait 5s until erase ok\nWait 5s until erase ok\n2MB ERASE SUCCESS\n");
  EXPECT_THAT(take(), ElementsAreArray(set_up + 2 * (answered(0x05) + Log{"usleep 5000000"})));
}

TEST_F(SpiModify, AFailedChipEraseEndsWithoutANewline) {
  otherwise = 0x01;
  std::string expected;
  for (int i = 0; i < 20; ++i) expected += "Wait 5s until erase ok\n";
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEraseChip(), -1); }),
            expected + "SPI NOT EXIT XIP MODE\nSPI 2MB ERASE ERROR");
  stuck_from(2);
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEraseChip(), -1); }), "SPI 2MB ERASE ERROR");
}

TEST(EraseAlignment, AddressComesFirst) {
  EXPECT_EQ(check_erase_alignment(0, 0), 0);
  EXPECT_EQ(check_erase_alignment(0x1FF000, 0x1000), 0);
  EXPECT_EQ(check_erase_alignment(0x1000, 0x1800), 2);
  EXPECT_EQ(check_erase_alignment(0x1001, 0), 1);
  EXPECT_EQ(check_erase_alignment(0x1800, 0x1800), 1);
  EXPECT_EQ(check_erase_alignment(0xFFFFF000, 0xFFFFF000), 0);
}

// The pieces of a range, in order, as "opcode@address".
class RangeErase : public SpiModify {
 protected:
  std::vector<std::string> pieces(const Log& log) {
    std::vector<std::string> found;
    for (size_t i = 0; i < log.size(); ++i) {
      for (const unsigned opcode : {0x20u, 0x52u, 0xD8u}) {
        if (log[i] != w(data, opcode)) continue;
        unsigned address = 0;
        for (size_t k = 1; k <= 3; ++k) {
          unsigned byte = 0;
          sscanf(log[i + k].c_str(), "w4 %*x %x", &byte);
          address = address << 8 | byte;
        }
        char text[32];
        snprintf(text, sizeof text, "%x@%x", opcode, address);
        found.push_back(text);
        i += 3;
      }
    }
    return found;
  }
};

TEST_F(RangeErase, IsCoveredGreedily) {
  const struct {
    uint32_t address, size;
    std::vector<std::string> pieces;
  } rows[] = {
      {0x7000, 0x1000, {"20@7000"}},
      {0x8000, 0x18000, {"52@8000", "d8@10000"}},
      {0x7000, 0x1A000, {"20@7000", "52@8000", "d8@10000", "20@20000"}},
      {0x10000, 0x18000, {"d8@10000", "52@20000"}},
      {0x18000, 0x8000, {"52@18000"}},
      {0x10000,
       0xF000,
       {"52@10000", "20@18000", "20@19000", "20@1a000", "20@1b000", "20@1c000", "20@1d000",
        "20@1e000"}},
      {0x1F0000, 0x10000, {"d8@1f0000"}},
  };
  for (const auto& row : rows) {
    const std::string text = printed([&] { EXPECT_EQ(zvgSpiErase(row.address, row.size), 0); });
    char last[64];
    snprintf(last, sizeof last, "ERASE 0x%x Byte SUCCESS\n", row.size);
    EXPECT_TRUE(text.ends_with(last)) << text;
    EXPECT_THAT(pieces(take()), ElementsAreArray(row.pieces));
  }
}

TEST_F(RangeErase, NothingIsErasedForNothing) {
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiErase(0x1000, 0), 0); }), "ERASE 0x0 Byte SUCCESS\n");
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(RangeErase, AMisalignedRangeIsRefused) {
  for (const auto& [address, size] :
       {std::pair{0x800u, 0x1000u}, std::pair{0x1000u, 0x800u}, std::pair{0x800u, 0u}}) {
    EXPECT_EQ(
        printed([address = address, size = size] { EXPECT_EQ(zvgSpiErase(address, size), -1); }),
        "error: address or size not properly aligned\n"
        "address must be 4kb aligned, size must be multiple of 4kb\n");
  }
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(RangeErase, FailedPiecesAreTriedAgain) {
  for (const auto& [size, opcode, piece] :
       {std::tuple{0x10000u, 0xD8u, "d8@10000"}, std::tuple{0x8000u, 0x52u, "52@10000"},
        std::tuple{0x1000u, 0x20u, "20@10000"}}) {
    // The first three erase commands do not get out.
    unsigned erases = 0;
    bool deaf = false;
    node_.result = [&, opcode = opcode](bool write, uint64_t at) {
      if (write && node_.platform.log().back() == w(data, opcode)) deaf = ++erases <= 3;
      if (at == zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + 0x168) deaf = false;
      return 0;
    };
    on_status = [&, this] { return deaf ? 0 : ready(); };
    const std::string text =
        printed([&, size = size] { EXPECT_EQ(zvgSpiErase(0x10000, size), 0); });
    EXPECT_THAT(pieces(take()), ElementsAreArray({piece, piece, piece, piece}));
    EXPECT_EQ(text.find("ERASE SUCCESS\n"), text.rfind("ERASE SUCCESS\n")) << text;
  }
}

// Successful or not, the whole chip as a range is erased again and again.
TEST_F(RangeErase, TheWholeChipNeverEnds) {
  unsigned chips = 0;
  node_.result = [&](bool write, uint64_t) {
    if (write && node_.platform.log().back() == w(data, 0x60) && ++chips == 5) _exit(42);
    return 0;
  };
  EXPECT_EXIT(zvgSpiErase(0, 0x200000), testing::ExitedWithCode(42), "");
}

// Programming -------------------------------------------------------------------------------

Log page_end() {
  return one_answer() + answered(0x05) + Log{w(enable, 0), w(control, 0x70100), w(enable, 1)} +
         short_sent(0x06);
}
Log quad_program_set_up() {
  return basic_set_up() + short_sent(0x06) + short_sent(0x50) + sent({0x01, 0x00, 0x02}) +
         one_answer() + answered(0x05) + one_answer() + answered(0x35);
}
Log quad_page(unsigned address, const std::vector<unsigned>& words) {
  std::vector<unsigned> all = {0x32, address};
  all.insert(all.end(), words.begin(), words.end());
  return Log{w(enable, 0), w(control, 0x5F0100), w(enhanced, 0x218), w(enable, 1)} + sent(all) +
         page_end();
}
Log read_back(unsigned generation_count, unsigned address, unsigned words) {
  return left() + Log{w(enable, 0), w(control, 0x70100), w(divider, 4)} +
         thresholds(generation_count) + Log{w(mask, 0x3F), w(sel, 1), w(enable, 1), w(sel, 1)} +
         short_sent(0x06) + short_sent(0x50) + sent({0x01, 0x00, 0x02}) + one_answer() +
         answered(0x05) + one_answer() + answered(0x35) +
         Log{w(enable, 0), w(control, 0x5F0200), w(frames, generation_count),
             w(delay, 1),  w(enhanced, 0x4218),  w(enable, 1)} +
         Log{w(0x1C, words - 1)} + sent({0x6B, address}) + looked() + words * Log{r(data)};
}

TEST_F(SpiModify, QuadProgramSendsWholeWordsAndVerifies) {
  // 05, 35; after the page 05; of the read-back 05, 35 and two words.
  answers = {0x00, 0x02, 0x00, 0x00, 0x02, 0x11223344, 0x55000000};
  const uint32_t words[] = {0x44332211, 0xCCBBAA55};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgram(words, 0x1000, 5), 0); }),
            "....\nSPI READ 0x5 SUCCESS\nSPI CHECK DATA SUCCESS\nSPI PROGRAM SUCCESSS\n");
  EXPECT_THAT(take(),
              ElementsAreArray(quad_program_set_up() + quad_page(0x1000, {0x11223344, 0x55AABBCC}) +
                               read_back(255, 0x1000, 2)));
}

TEST_F(SpiModify, QuadProgramGoesByPages) {
  std::vector<uint32_t> words(130, 0x01010101);
  for (const auto& [generation, page] : {std::pair{0x201u, 64u}, std::pair{0x202u, 16u}}) {
    open(generation);
    set(zvg_gpu_hardware[ZVG_HW_CLOCK] + 0x30, 1);
    answers = {0x00, 0x02, 0x00, 0x00};
    otherwise = 0x01010101;
    const int length = static_cast<int>(4 * page + 4);
    capture([&] { zvgSpiProgram(words.data(), 0x2000, length); });
    const Log log = take();
    const Log expected = quad_program_set_up() +
                         quad_page(0x2000, std::vector<unsigned>(page, 0x01010101)) +
                         quad_page(0x2000 + 4 * page, {0x01010101});
    ASSERT_GT(log.size(), expected.size());
    EXPECT_THAT(Log(log.begin(), log.begin() + static_cast<ptrdiff_t>(expected.size())),
                ElementsAreArray(expected));
    answers.clear();
  }
}

TEST_F(SpiModify, StandardProgramSendsBytes) {
  answers = {0x00, 0x00, 0x11, 0x22, 0x33};
  const uint8_t bytes[] = {0x11, 0x22, 0x33};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgramStandard(bytes, 0x89123456, 3), 0); }),
            "....\nSPI READ 0x3 SUCCESS\nSPI CHECK DATA SUCCESS\nSPI PROGRAM SUCCESSS\n");
  const Log enabled = Log{w(enable, 0), w(control, 0x70100), w(enable, 1)} + short_sent(0x06);
  const Log page = Log{w(enable, 0), w(control, 0x70100), w(enable, 1)} +
                   sent({0x02, 0x12, 0x34, 0x56, 0x11, 0x22, 0x33}) + page_end();
  const Log back =
      left() + Log{w(enable, 0), w(divider, 4), w(control, 0x70300)} + thresholds(255) +
      Log{w(mask, 0x3F), w(sel, 1), w(enable, 1)} + sent({0x05}) +
      Log{r(data), w(enable, 0), w(control, 0x70300), w(frames, 255), w(enable, 1), w(0x1C, 0)} +
      sent({0x03, 0x12, 0x34, 0x56}) + 3 * Log{r(data)};
  EXPECT_THAT(take(), ElementsAreArray(basic_set_up() + enabled + page + back));
}

TEST_F(SpiModify, StandardProgramGoesByPages) {
  std::vector<uint8_t> bytes(65, 0x5A);
  for (const auto& [generation, page] : {std::pair{0x201u, 64u}, std::pair{0x202u, 16u}}) {
    open(generation);
    const int length = static_cast<int>(page + 1);
    capture([&] { zvgSpiProgramStandard(bytes.data(), 0x100, length); });
    const Log log = take();
    std::vector<unsigned> first = {0x02, 0x00, 0x01, 0x00};
    first.insert(first.end(), page, 0x5A);
    const Log mode = {w(enable, 0), w(control, 0x70100), w(enable, 1)};
    const Log expected = basic_set_up() + mode + short_sent(0x06) + mode + sent(first) +
                         page_end() + mode + sent({0x02, 0x00, 0x01, page, 0x5A}) + page_end();
    ASSERT_GT(log.size(), expected.size());
    EXPECT_THAT(Log(log.begin(), log.begin() + static_cast<ptrdiff_t>(expected.size())),
                ElementsAreArray(expected));
  }
}

TEST_F(SpiModify, ProgrammingNothingVerifiesNothing) {
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiProgramStandard(nullptr, 0, 0), 0); }),
            "....\nSPI READ 0x0 SUCCESS\nSPI CHECK DATA SUCCESS\nSPI PROGRAM SUCCESSS\n");
  answers = {0x00, 0x02, 0x00, 0x02};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiProgram(nullptr, 0, 0), 0); }),
            "....\nSPI READ 0x0 SUCCESS\nSPI CHECK DATA SUCCESS\nSPI PROGRAM SUCCESSS\n");
}

TEST_F(SpiModify, AFlashThatStaysBusyWithAPageFails) {
  const uint32_t word = 0;
  const std::string text = "..ERROR: FLASH PROGRAM BUSY\nSPI PROGRAM ERROR\n";
  for (const unsigned attempts : {20u, 21u}) {
    answers = {0x00, 0x02, 0x01};  // busy at the first look
    for (unsigned i = 1; i < attempts; ++i) answers.push_back(0x01);
    if (attempts == 20) answers.push_back(0x00);
    otherwise = attempts == 20 ? 0x02 : 0x01;
    const std::string found = printed([&] { zvgSpiProgram(&word, 0, 4); });
    const Log log = take();
    EXPECT_EQ(std::count(log.begin(), log.end(), "usleep 700"), attempts);
    EXPECT_EQ(found == text, attempts == 21) << found;
    answers.clear();
  }
  otherwise = 0x01;
  const uint8_t byte = 0;
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgramStandard(&byte, 0, 1), -1); }), text);
  const Log log = take();
  EXPECT_EQ(std::count(log.begin(), log.end(), "usleep 700"), 21);
}

TEST_F(SpiModify, TheProgramBudgetIs81Looks) {
  const uint32_t word = 0;
  const auto asked = [](const Log& log, unsigned opcode) {
    return std::count(log.begin(), log.end(), w(data, opcode));
  };
  otherwise = 0x01;
  const std::string text = "..SPI NOT EXIT XIP MODE\nSPI PROGRAM ERROR\n";
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgram(&word, 0, 4), -1); }), text);
  EXPECT_EQ(asked(take(), 0x05), 1 + 81);
  answers = std::deque<uint32_t>(30, 0x01);
  answers.push_back(0x00);
  otherwise = 0x03;
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgram(&word, 0, 4), -1); }), text);
  const Log log = take();
  EXPECT_EQ(asked(log, 0x05), 1 + 30);
  EXPECT_EQ(asked(log, 0x35), 1 + 50);
}

TEST_F(SpiModify, EveryWaitOfAProgramCanTimeOut) {
  const uint32_t word = 0x01010101;
  // 06 (carried on from), 06, 50, 01; 05, 35; the page; 05, 06.
  for (unsigned look = 2; look <= 9; ++look) {
    answers = {0x00, 0x02, 0x00};
    stuck_from(look);
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgram(&word, 0, 4), -1); }), "..SPI PROGRAM ERROR\n")
        << look;
    EXPECT_EQ(status_reads_, look - 1 + 22);
    answers.clear();
  }
  const uint8_t byte = 1;
  for (unsigned look = 2; look <= 5; ++look) {
    stuck_from(look);
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgramStandard(&byte, 0, 1), -1); }),
              "..SPI PROGRAM ERROR\n")
        << look;
    EXPECT_EQ(status_reads_, look - 1 + 22);
  }
}

TEST_F(SpiModify, AMismatchFailsTheProgram) {
  const uint32_t word = 0x44332211;
  answers = {0x00, 0x02, 0x00, 0x00, 0x02, 0x11223345};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiProgram(&word, 0, 4), -1); }),
            "....\nSPI READ 0x4 SUCCESS\nSPI CHECK DATA ERROR\nSPI PROGRAM ERROR\n");
}

// Verifying ---------------------------------------------------------------------------------

TEST_F(SpiModify, VerifyEndsAtTheFirstCommonZero) {
  const uint8_t expected[] = {0x11, 0x00, 0x33, 0x44};
  answers = {0x00, 0x02, 0x1100FFFF};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiCheckData(expected, 0, 4), 0); }),
            "SPI READ 0x4 SUCCESS\nSPI CHECK DATA SUCCESS\n");
  answers = {0x00, 0x11, 0x01, 0x33, 0x44};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiCheckDataStandard(expected, 0, 4), -1); }),
            "SPI READ 0x4 SUCCESS\nSPI CHECK DATA ERROR\n");
  answers = {0x00, 0x11, 0x00, 0x99, 0x99};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiCheckDataStandard(expected, 0, 4), 0); }),
            "SPI READ 0x4 SUCCESS\nSPI CHECK DATA SUCCESS\n");
}

TEST_F(SpiModify, VerifyDoesNotLookAtTheReadsResult) {
  const uint8_t nothing[] = {0};
  stuck_from(1);
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiCheckData(nothing, 0, 1), 0); }),
            "SPI READ ERROR\nSPI CHECK DATA SUCCESS\n");
}

TEST_F(SpiModify, VerifyWithoutMemory) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer's allocator ends the process";
#endif
  const uint8_t byte = 0;
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_DATA, &before), 0);
  const rlimit tight = {64 << 20, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_DATA, &tight), 0);
  const Output output = capture([&] { EXPECT_EQ(zvgSpiCheckData(&byte, 0, 0x10000000), -1); });
  setrlimit(RLIMIT_DATA, &before);
  EXPECT_EQ(output.err, "Malloc buf_spi error: Cannot allocate memory\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(take(), IsEmpty());
}

// Protecting --------------------------------------------------------------------------------

Log protect_set_up() {
  return left() + Log{w(enable, 0), w(control, 0x70100), w(enable, 1), w(data, 0x06)} + looked();
}

TEST_F(SpiModify, ProtectsAndUnprotects) {
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiProtect(), 0); }), "SPI protect ok!\n");
  EXPECT_THAT(take(), ElementsAreArray(protect_set_up() + sent({0x01, 0x18, 0x02})));
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiUnprotect(), 0); }), "SPI unprotect ok!\n");
  EXPECT_THAT(take(), ElementsAreArray(protect_set_up() + sent({0x01, 0x00, 0x02})));
}

TEST_F(SpiModify, ProtectWaitsForEverAndUnprotectDoesNot) {
  on_status = [this] { return status_reads_ <= 1000 ? 0 : 6; };
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiProtect(), 0); }), "SPI protect ok!\n");
  const Log log = take();
  EXPECT_EQ(std::count(log.begin(), log.end(), "usleep 10"), 1000);
  // As in a bounded poll, the sleep comes after the look that it belongs to.
  EXPECT_THAT(Log(log.begin() + 5, log.begin() + 8),
              ElementsAreArray(Log{r(status), r(status), "usleep 10"}));
  status_reads_ = 0;
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiUnprotect(), -1); }), "SPI UNPROTECT ERROR\n");
  EXPECT_EQ(status_reads_, 22u);
  stuck_from(2);
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiProtect(), -1); }), "SPI PROTECT ERROR\n");
  stuck_from(2);
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiUnprotect(), -1); }), "SPI UNPROTECT ERROR\n");
}

}  // namespace
