// Single flash commands and reads: every access in order, waits, budgets and messages.
#include "flash/flash_log.h"
#include "support/capture.h"

namespace {

using namespace zvgtest;
using testing::ElementsAreArray;
using testing::IsEmpty;

class Spi : public FlashNode {
 protected:
  // What a call prints on standard output; nothing on the other stream.
  std::string printed(const std::function<void()>& call) {
    const Output output = capture(call);
    EXPECT_EQ(output.err, "");
    return output.out;
  }
  // The n-th look at the controller's status, and all after it, find nothing.
  void stuck_from(unsigned look) {
    status_reads_ = 0;
    on_status = [this, look] { return status_reads_ >= look ? 0x01 : ready(); };
  }
};

// Leaving continuous read -------------------------------------------------------------------

TEST_F(Spi, ContinuousReadIsLeftOnce) {
  const uint64_t system = zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL];
  set(system + 0x168, 0xA0);
  set(system + 0x04, 0x02011234);
  EXPECT_EQ(zvgSpiExitCrmMode(), 0);
  EXPECT_THAT(take(), ElementsAreArray(Log{
                          system_read(0x168), system_read(0x04), w(enable, 0), w(control, 0x5F0300),
                          w(frames, 3), w(divider, 4), w(0x18, 7), w(0x1C, 7), w(mask, 0x3F),
                          w(delay, 1), w(enhanced, 0x2021), w(sel, 1), w(enable, 1), "w4 0x164 0x1",
                          r(control), "w4 0x164 0x0", system_write(0x168, 0xA1)}));
  EXPECT_EQ(zvgSpiExitCrmMode(), 0);
  EXPECT_THAT(take(), ElementsAreArray(left()));
}

TEST_F(Spi, OtherChipsOnlyGetTheFlag) {
  const uint64_t system = zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL];
  for (const uint32_t identifier : {0x02021234u, 0x00000201u, 0x12010000u}) {
    set(system + 0x168, 0);
    set(system + 0x04, identifier);
    EXPECT_EQ(zvgSpiExitCrmMode(), 0);
    EXPECT_THAT(take(), ElementsAreArray(
                            Log{system_read(0x168), system_read(0x04), system_write(0x168, 1)}));
  }
}

TEST_F(Spi, ContinuousReadExitReturnsItsLastWrite) {
  const uint64_t flag = zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + 0x168;
  set(flag, 0);
  set(zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + 0x04, 0x02010000);
  node_.result = [flag](bool write, uint64_t at) { return write && at == flag ? -1 : 0; };
  EXPECT_EQ(zvgSpiExitCrmMode(), -1);
  node_.result = [flag](bool write, uint64_t at) { return write && at != flag ? -1 : 0; };
  EXPECT_EQ(zvgSpiExitCrmMode(), 0);
}

// Commands ----------------------------------------------------------------------------------

Log transmit_set_up() {
  return left() + Log{w(enable, 0), w(control, 0x70100), w(divider, 4)} + thresholds(255) +
         Log{w(mask, 0x3F), w(sel, 1), w(enable, 1)};
}

TEST_F(Spi, SendsACommand) {
  const struct {
    uint32_t command;
    const char* text;
  } rows[] = {{0x06, "ENABLE WRITE DONE\n"},
              {0x04, "DISABLE WRITE DONE\n"},
              {0x50, "ENABLE WRITE_STATUS_REG DONE\n"},
              {0x9F, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiEnableReg(row.command), 0); }), row.text);
    EXPECT_THAT(take(), ElementsAreArray(transmit_set_up() + sent({row.command})));
  }
}

TEST_F(Spi, WritesTheStatusRegisters) {
  const struct {
    uint32_t value;
    const char* text;
  } rows[] = {{2, "QSPI MODE ENABLE DONE\n"}, {0, "QSPI MODE DISABLE DONE\n"}, {3, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiWriteStatusReg(row.value), 0); }), row.text);
    EXPECT_THAT(take(), ElementsAreArray(transmit_set_up() + sent({0x01, 0x00, row.value})));
  }
}

// A poll looks; then it looks again and sleeps 10 us, 21 times at most. The last look counts.
TEST_F(Spi, APollEndsWithItsLastLook) {
  on_status = [this] { return status_reads_ == 22 ? 6 : 7; };
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEnableReg(6), 0); }), "ENABLE WRITE DONE\n");
  EXPECT_THAT(take(), ElementsAreArray(transmit_set_up() + queued({6}) + Log{w(sel, 1)} + looked() +
                                       21 * Log{r(status), "usleep 10"}));
  status_reads_ = 0;
  on_status = [] { return 4; };  // nothing but exactly 6
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiEnableReg(6), -1); }), "ENABLE ERROR\n");
  EXPECT_THAT(take(), ElementsAreArray(transmit_set_up() + queued({6}) + Log{w(sel, 1)} + looked() +
                                       21 * Log{r(status), "usleep 10"}));
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiWriteStatusReg(2), -1); }), "QSPI MODE ENBALE ERROR\n");
}

// The controller of an RQ302 needs its clock.
TEST_F(Spi, Rq302GetsItsClock) {
  open(0x202);
  const uint64_t gate = zvg_gpu_hardware[ZVG_HW_CLOCK] + 0x30;
  char read[32], write[48];
  snprintf(read, sizeof read, "r4 0x%llx", static_cast<unsigned long long>(gate));
  snprintf(write, sizeof write, "w4 0x%llx 0x81", static_cast<unsigned long long>(gate));
  const auto first_two = [&](const std::function<void()>& call) {
    set(gate, 0x80);
    capture(call);
    Log log = take();
    log.resize(3);
    EXPECT_THAT(log, ElementsAreArray(Log{read, write, system_read(0x168)}));
    capture(call);
    log = take();
    log.resize(2);
    EXPECT_THAT(log, ElementsAreArray(Log{read, system_read(0x168)})) << "once";
  };
  uint32_t words[4];
  otherwise = 2;
  first_two([] { zvgSpiEnableReg(6); });
  first_two([] { zvgSpiWriteStatusReg(2); });
  first_two([] { zvgSpiReadStatusReg(0x35); });
  first_two([&] { zvgSpiReadBuffer(words, 0, 4); });
  first_two([&] { zvgSpiReadBufferStandard(reinterpret_cast<uint8_t*>(words), 0, 4); });
  first_two([&] { zvgSpiDebugRead(words, 0, 4); });
  open(0x201);
  capture([] { zvgSpiEnableReg(6); });
  EXPECT_EQ(take().front(), left().front());
}

// Status registers --------------------------------------------------------------------------

Log status_set_up(unsigned command) {
  return left() + Log{w(enable, 0), w(control, 0x70300), w(frames, 0), w(divider, 4)} +
         thresholds(255) + Log{w(mask, 0x3F), w(enable, 1)} + sent({command}) + Log{r(data)};
}

TEST_F(Spi, ReadsStatusRegister1) {
  answers = {0x1C};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x05), 0); }),
            "05H(SR) = 0x1c\nRead STATUSREG SUCCESS\n");
  EXPECT_THAT(take(), ElementsAreArray(status_set_up(0x05) + looked()));
}

TEST_F(Spi, WaitsUntilTheFlashIsNotBusy) {
  answers = {0x03, 0x01, 0x00};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x05), 0); }),
            "05H(SR) = 0x3\nRead STATUSREG SUCCESS\n");
  EXPECT_THAT(take(),
              ElementsAreArray(status_set_up(0x05) + 2 * (sent({0x05}) + Log{r(data)}) + looked()));
}

TEST_F(Spi, QuadEnableMustStandAlone) {
  answers = {0x03, 0x02};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x35), 0); }),
            "35H(SR) = 0x3\nRead STATUSREG SUCCESS\n");
  EXPECT_THAT(take(),
              ElementsAreArray(status_set_up(0x35) + sent({0x35}) + Log{r(data)} + looked()));
}

TEST_F(Spi, StatusAttemptsRunOut) {
  otherwise = 0x01;
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x05), 21); }),
            "05H(SR) = 0x1\nFLASH BUSY\nRead STATUSREG ERROR\n");
  EXPECT_THAT(take(), ElementsAreArray(status_set_up(0x05) + 801 * (sent({0x05}) + Log{r(data)})));
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x35), 21); }),
            "35H(SR) = 0x1\nQSPI MODE ENABLE ERROR\nRead STATUSREG ERROR\n");
  EXPECT_THAT(take(), ElementsAreArray(status_set_up(0x35) + 800 * (sent({0x35}) + Log{r(data)})));
}

TEST_F(Spi, OtherStatusCommandsAreReadOnce) {
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x15), 0); }), "Read STATUSREG SUCCESS\n");
  EXPECT_THAT(take(), ElementsAreArray(status_set_up(0x15) + looked()));
}

TEST_F(Spi, AStatusThatDoesNotComeIsNoNegativeResult) {
  stuck_from(1);
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x05), 21); }), "Read STATUSREG ERROR\n");
  stuck_from(2);
  otherwise = 0x01;
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadStatusReg(0x05), 21); }),
            "05H(SR) = 0x1\nRead STATUSREG ERROR\n");
}

// Quad read ---------------------------------------------------------------------------------

Log quad_mode_set_up() {
  return short_sent(0x06) + short_sent(0x50) + sent({0x01, 0x00, 0x02});
}

Log quad_read_set_up(unsigned count) {
  return left() + Log{w(enable, 0), w(control, 0x70100), w(divider, 4)} + thresholds(count) +
         Log{w(mask, 0x3F), w(sel, 1), w(enable, 1), w(sel, 1)} + quad_mode_set_up() +
         one_answer() + answered(0x05) + one_answer() + answered(0x35) +
         Log{w(enable, 0), w(control, 0x5F0200), w(frames, count),
             w(delay, 1),  w(enhanced, 0x4218),  w(enable, 1)};
}
Log quad_chunk(unsigned address, unsigned words) {
  return Log{w(0x1C, words - 1)} + sent({0x6B, address}) + looked() + words * Log{r(data)};
}

TEST_F(Spi, QuadReadTakesWholeWords) {
  answers = {0x00, 0x02, 0x11223344, 0x55667788};
  uint32_t words[3] = {0, 0, 0x99};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0x1234567, 5), 0); }),
            "SPI READ 0x5 SUCCESS\n");
  EXPECT_THAT(words, testing::ElementsAre(0x44332211u, 0x88776655u, 0x99u));
  EXPECT_THAT(take(), ElementsAreArray(quad_read_set_up(255) + quad_chunk(0x1234567, 2)));
}

TEST_F(Spi, QuadReadGoesByChunksOfItsGeneration) {
  std::vector<uint32_t> words(600);
  answers = {0x00, 0x02};
  capture([&] { EXPECT_EQ(zvgSpiReadBuffer(words.data(), 0x100, 2050), 0); });
  EXPECT_THAT(take(), ElementsAreArray(quad_read_set_up(255) + quad_chunk(0x100, 256) +
                                       quad_chunk(0x500, 256) + quad_chunk(0x900, 1)));
  open(0x202);
  set(zvg_gpu_hardware[ZVG_HW_CLOCK] + 0x30, 1);
  answers = {0x00, 0x02};
  capture([&] { EXPECT_EQ(zvgSpiReadBuffer(words.data(), 0x100, 130), 0); });
  Log log = take();
  log.erase(log.begin());  // the clock
  EXPECT_THAT(
      log, ElementsAreArray(quad_read_set_up(31) + quad_chunk(0x100, 32) + quad_chunk(0x180, 1)));
}

// Every generation but one has the small chunks.
TEST_F(Spi, AnUnknownGenerationHasSmallChunksAndNoClock) {
  open(0x203);
  std::vector<uint32_t> words(64);
  answers = {0x00, 0x02};
  capture([&] { EXPECT_EQ(zvgSpiReadBuffer(words.data(), 0, 130), 0); });
  EXPECT_THAT(take(),
              ElementsAreArray(quad_read_set_up(31) + quad_chunk(0, 32) + quad_chunk(0x80, 1)));
}

TEST_F(Spi, ReadingNothingStillPrepares) {
  answers = {0x00, 0x02};
  EXPECT_EQ(printed([] { EXPECT_EQ(zvgSpiReadBuffer(nullptr, 0, 0), 0); }),
            "SPI READ 0x0 SUCCESS\n");
  EXPECT_THAT(take(), ElementsAreArray(quad_read_set_up(255)));
}

constexpr char no_quad[] = "SPI NOT EXIT XIP MODE\nSPI READ ERROR\n";

// How many times a status register is asked for.
unsigned asked(const Log& log, unsigned opcode) {
  return static_cast<unsigned>(std::count(log.begin(), log.end(), w(data, opcode)));
}

TEST_F(Spi, TheBusyBudgetIs801Looks) {
  uint32_t words[1];
  otherwise = 0x01;
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), -1); }), no_quad);
  EXPECT_EQ(asked(take(), 0x05), 1u + 801);
  // The 801st comes too late, the 800th does not.
  for (const unsigned last : {800u, 801u}) {
    answers = std::deque<uint32_t>(last, 0x01);  // the first answer and those before the last look
    answers.push_back(0x00);
    otherwise = 0x02;
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), last == 800 ? 0 : -1); }),
              last == 800 ? "SPI READ 0x4 SUCCESS\n" : no_quad);
    take();
  }
}

TEST_F(Spi, TheQuadBudgetIsWhatBusyLeftOver) {
  uint32_t words[1];
  answers = {0x00};
  otherwise = 0x03;  // quad enable and another bit are not ready
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), -1); }), no_quad);
  EXPECT_EQ(asked(take(), 0x35), 1u + 800);
  answers = std::deque<uint32_t>(500, 0x01);
  answers.push_back(0x00);
  otherwise = 0x06;
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), -1); }), no_quad);
  const Log log = take();
  EXPECT_EQ(asked(log, 0x05), 1u + 500);
  EXPECT_EQ(asked(log, 0x35), 1u + 300);
  // Asked twice even when nothing is left.
  answers = std::deque<uint32_t>(800, 0x01);
  answers.push_back(0x00);
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), -1); }), no_quad);
  EXPECT_EQ(asked(take(), 0x35), 1u + 1);
}

TEST_F(Spi, EveryWaitOfAQuadReadCanTimeOut) {
  uint32_t words[1];
  // 06, 50, 01; 05, 35; the chunk there, the transfer over.
  for (unsigned look = 1; look <= 7; ++look) {
    answers = {0x00, 0x02};
    otherwise = 0;
    stuck_from(look);
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBuffer(words, 0, 4), -1); }), "SPI READ ERROR\n");
    EXPECT_EQ(status_reads_, look - 1 + 22) << look;
    take();
  }
}

// Standard read -----------------------------------------------------------------------------

Log standard_set_up() {
  return left() + Log{w(enable, 0), w(divider, 4), w(control, 0x70300)} + thresholds(255) +
         Log{w(mask, 0x3F), w(sel, 1), w(enable, 1)} + sent({0x05}) + Log{r(data)};
}
Log standard_ready() {
  return {w(enable, 0), w(control, 0x70300), w(frames, 255), w(enable, 1)};
}
Log standard_chunk(unsigned address, unsigned bytes) {
  return Log{w(0x1C, (bytes + 3) / 4 - 1)} +
         sent({0x03, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF}) +
         bytes * Log{r(data)};
}

TEST_F(Spi, StandardReadTakesLowBytes) {
  answers = {0x00, 0x111, 0x222, 0x333, 0x444, 0x555};
  uint8_t bytes[6] = {0, 0, 0, 0, 0, 0x99};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBufferStandard(bytes, 0x12345678, 5), 0); }),
            "SPI READ 0x5 SUCCESS\n");
  EXPECT_THAT(bytes, testing::ElementsAre(0x11, 0x22, 0x33, 0x44, 0x55, 0x99));
  EXPECT_THAT(take(),
              ElementsAreArray(standard_set_up() + standard_ready() + standard_chunk(0x345678, 5)));
}

TEST_F(Spi, StandardReadGoesByChunksOfItsGeneration) {
  std::vector<uint8_t> bytes(600);
  capture([&] { EXPECT_EQ(zvgSpiReadBufferStandard(bytes.data(), 0xFF80, 513), 0); });
  EXPECT_THAT(take(),
              ElementsAreArray(standard_set_up() + standard_ready() + standard_chunk(0xFF80, 256) +
                               standard_chunk(0x10080, 256) + standard_chunk(0x10180, 1)));
  open(0x202);
  set(zvg_gpu_hardware[ZVG_HW_CLOCK] + 0x30, 1);
  capture([&] { EXPECT_EQ(zvgSpiReadBufferStandard(bytes.data(), 0, 33), 0); });
  Log log = take();
  log.erase(log.begin());
  EXPECT_THAT(log, ElementsAreArray(standard_set_up() + standard_ready() + standard_chunk(0, 32) +
                                    standard_chunk(32, 1)));
}

TEST_F(Spi, StandardReadWaitsForABusyFlash) {
  uint8_t byte;
  answers = {0x01, 0x03, 0x00};
  capture([&] { EXPECT_EQ(zvgSpiReadBufferStandard(&byte, 0, 0), 0); });
  EXPECT_THAT(take(), ElementsAreArray(standard_set_up() + 2 * answered(0x05) + standard_ready()));
  otherwise = 0x01;
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBufferStandard(&byte, 0, 1), -1); }),
            "FLASH BUSY\nSPI READ ERROR\n");
  EXPECT_THAT(take(), ElementsAreArray(standard_set_up() + 801 * answered(0x05)));
}

TEST_F(Spi, EveryWaitOfAStandardReadCanTimeOut) {
  uint8_t byte;
  for (unsigned look = 1; look <= 3; ++look) {
    answers = {0x01, 0x00};
    stuck_from(look);
    EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiReadBufferStandard(&byte, 0, 1), -1); }),
              "SPI READ ERROR\n");
    EXPECT_EQ(status_reads_, look - 1 + 22);
    take();
  }
}

// Debug read --------------------------------------------------------------------------------

TEST_F(Spi, DebugReadPreparesNothing) {
  // The blocks of the RQ302 are elsewhere.
  const auto set_up = [] {
    return left() + Log{w(enable, 0), w(control, 0x5F0200), w(frames, 255),
                        w(delay, 1),  w(enhanced, 0x4218),  w(enable, 1)};
  };
  const auto chunk = [](unsigned address, unsigned words) {
    return Log{w(0x1C, words - 1)} + sent({0x6B, address}) + words * Log{r(data)};
  };
  std::vector<uint32_t> words(300);
  answers = {0x11223344};
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiDebugRead(words.data(), 0x40, 1026), 0); }),
            "SPI READ 0x402 SUCCESS\n");
  EXPECT_EQ(words[0], 0x44332211u);
  EXPECT_THAT(take(), ElementsAreArray(set_up() + chunk(0x40, 256) + chunk(0x440, 1)));
  open(0x202);
  set(zvg_gpu_hardware[ZVG_HW_CLOCK] + 0x30, 1);
  capture([&] { EXPECT_EQ(zvgSpiDebugRead(words.data(), 0, 130), 0); });
  Log log = take();
  log.erase(log.begin());
  EXPECT_THAT(log, ElementsAreArray(set_up() + chunk(0, 32) + chunk(128, 1)));
  // The end of the transfer is not waited for.
  on_status = [] { return 0x11; };
  EXPECT_EQ(zvgSpiDebugRead(words.data(), 0, 4), 0);
  stuck_from(1);
  EXPECT_EQ(printed([&] { EXPECT_EQ(zvgSpiDebugRead(words.data(), 0, 4), -1); }),
            "SPI READ ERROR\n");
}

}  // namespace
