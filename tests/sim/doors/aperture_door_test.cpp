// Mappings of "/dev/mem".
#include "doors/aperture_door.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/board_fixture.h"
#include "support/capture.h"

namespace zvgsim {
namespace {

constexpr uint64_t mmio_base = 0xE0000000;
constexpr uint64_t vram_base = 0xD0000000;

class ApertureDoorTest : public zvgtest::BoardFixture {
 protected:
  void SetUp() override {
    BoardFixture::SetUp();
    fd_ = open("/dev/mem", O_RDWR | O_NONBLOCK);
    ASSERT_GE(fd_, 0);
  }
  void TearDown() override {
    close(fd_);
    BoardFixture::TearDown();
  }
  void* map(uint64_t base, size_t length, int protection = PROT_READ | PROT_WRITE) {
    errno = 0;
    return mmap(nullptr, length, protection, MAP_SHARED, fd_, static_cast<off_t>(base));
  }
  int fd_ = -1;
};

TEST_F(ApertureDoorTest, RegistersAreTheBoardsMemory) {
  auto* const registers = static_cast<volatile uint32_t*>(map(mmio_base, mmio_size));
  ASSERT_NE(registers, MAP_FAILED);
  registers[0x300000 / 4] = 0xCAFEBABE;
  EXPECT_EQ(peek(0x300000), 0xCAFEBABEu);
  poke(0xFFFFFC, 0x12345678);
  EXPECT_EQ(registers[0xFFFFFC / 4], 0x12345678u);
  EXPECT_EQ(munmap(const_cast<uint32_t*>(registers), mmio_size), 0);
}

// As the driver's door records and times them.
TEST_F(ApertureDoorTest, LoadsAndStoresAreAccessesToTheBoard) {
  void* const mapping = map(mmio_base, mmio_size);
  ASSERT_NE(mapping, MAP_FAILED);
  auto* const bytes = static_cast<volatile uint8_t*>(mapping);
  auto* const words = static_cast<volatile uint32_t*>(mapping);
  const uint64_t start = clock().now();
  trace().start();
  bytes[0x103D4] = 0xB0;
  EXPECT_EQ(words[0x300000 / 4], 0u);
  *reinterpret_cast<volatile uint16_t*>(bytes + 0x300002) = 0x1234;
  EXPECT_EQ(*reinterpret_cast<volatile uint64_t*>(bytes + 0x300000), 0x12340000u);
  EXPECT_THAT(trace().take(),
              testing::ElementsAre("w1 mmio 0x103d4 0xb0", "r4 mmio 0x300000 0x0",
                                   "w2 mmio 0x300002 0x1234", "r8 mmio 0x300000 0x12340000"));
  EXPECT_EQ(clock().now() - start, 4 * VirtualClock::access_cost);
  munmap(mapping, mmio_size);
}

TEST_F(ApertureDoorTest, RegistersAnswerByThemselves) {
  BoardConfig config;
  config.registers = {{Space::mmio, 0x300000, 4, 1}, {Space::mmio, 0x300000, 4, 2, 2}};
  close(fd_);
  power_up(config);
  fd_ = open("/dev/mem", O_RDWR);
  auto* const words = static_cast<volatile uint32_t*>(map(mmio_base + 0x300000, 4096));
  ASSERT_NE(words, MAP_FAILED);
  EXPECT_EQ(words[0], 1u);
  EXPECT_EQ(words[0], 1u);
  EXPECT_EQ(words[0], 2u) << "after it was read twice";
  munmap(const_cast<uint32_t*>(words), 4096);
}

TEST_F(ApertureDoorTest, VideoMemoryLeavesNoTrace) {
  auto* const memory = static_cast<volatile uint8_t*>(map(vram_base, 4096));
  ASSERT_NE(memory, MAP_FAILED);
  trace().start();
  memory[0] = 1;
  EXPECT_EQ(memory[0], 1);
  EXPECT_THAT(trace().take(), testing::IsEmpty());
  munmap(const_cast<uint8_t*>(memory), 4096);
}

TEST_F(ApertureDoorTest, PlainRegistersAreStorageAndSaySoOnce) {
  const auto loads_and_stores = [this] {
    ApertureDoor door(machine(), ApertureDoor::Registers::plain);
    const auto file = door.open();
    for (int i = 0; i < 2; ++i) {
      auto* const words = static_cast<volatile uint32_t*>(
          file->mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, mmio_base));
      words[0] = 0x1234;
      EXPECT_EQ(peek(0), 0x1234u);
      munmap(const_cast<uint32_t*>(words), 4096);
    }
  };
  trace().start();
  EXPECT_EQ(zvgtest::capture(loads_and_stores).err,
            "zvgsim: registers in the aperture are plain storage: accesses do not reach the "
            "devices\n");
  EXPECT_THAT(trace().take(), testing::IsEmpty());
}

TEST_F(ApertureDoorTest, MappingOfABoardThatIsGoneIsAFault) {
  auto* const words = static_cast<volatile uint32_t*>(map(mmio_base, 4096));
  ASSERT_NE(words, MAP_FAILED);
  close(fd_);
  fd_ = -1;
  power_up({});
  signal(SIGSEGV, SIG_DFL);
  EXPECT_EXIT(words[0] = 1, testing::KilledBySignal(SIGSEGV), "");
  munmap(const_cast<uint32_t*>(words), 4096);
}

TEST_F(ApertureDoorTest, ChildrenShareRegistersOfNoDevice) {
  auto* const words = static_cast<volatile uint32_t*>(map(mmio_base + 0x300000, 4096));
  ASSERT_NE(words, MAP_FAILED);
  words[0] = 1;
  const pid_t child = fork();
  if (child == 0) {
    words[1] = words[0] + 1;
    _exit(words[1] == 2 ? 7 : 8);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(words[1], 2u);
  munmap(const_cast<uint32_t*>(words), 4096);
}

TEST_F(ApertureDoorTest, MappingSeesVideoMemoryWritesBothWays) {
  auto* const memory = static_cast<volatile uint8_t*>(map(vram_base + 0x1000, 0x2000));
  ASSERT_NE(memory, MAP_FAILED);
  board().write(Space::vram, 0x1004, 1, 0x5A);
  EXPECT_EQ(memory[4], 0x5A);
  memory[0x1FFF] = 0xA5;
  EXPECT_EQ(board().read(Space::vram, 0x2FFF, 1), 0xA5u);
  munmap(const_cast<uint8_t*>(memory), 0x2000);
}

TEST_F(ApertureDoorTest, MappingOutlivesItsDescriptor) {
  auto* const memory = static_cast<volatile uint8_t*>(map(vram_base, 0x1000));
  ASSERT_NE(memory, MAP_FAILED);
  close(fd_);
  memory[0] = 9;
  EXPECT_EQ(peek(0, 1, Space::vram), 9u);
  munmap(const_cast<uint8_t*>(memory), 0x1000);
  fd_ = open("/dev/mem", O_RDWR);
}

TEST_F(ApertureDoorTest, WholeApertureIsTheLimit) {
  void* const whole = map(vram_base, vram_size);
  ASSERT_NE(whole, MAP_FAILED);
  munmap(whole, vram_size);
  const struct {
    uint64_t base;
    size_t length;
  } outside[] = {
      {mmio_base, mmio_size + 4096},
      {mmio_base + 4096, mmio_size},
      {mmio_base + mmio_size, 4096},
      {vram_base - 4096, 4096},
      {0, 4096},
  };
  for (const auto& row : outside) {
    EXPECT_EQ(map(row.base, row.length), MAP_FAILED) << std::hex << row.base;
    EXPECT_EQ(errno, EINVAL) << std::hex << row.base;
  }
}

TEST_F(ApertureDoorTest, KernelsOwnRulesHold) {
  EXPECT_EQ(map(mmio_base + 1, 4096), MAP_FAILED) << "not at a page";
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(map(mmio_base, 0), MAP_FAILED);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(ApertureDoorTest, MovesWithTheBoardsBases) {
  BoardConfig config;
  config.aperture = {0x40000000, 0x50000000};
  close(fd_);
  power_up(config);
  fd_ = open("/dev/mem", O_RDWR);
  EXPECT_EQ(map(mmio_base, 4096), MAP_FAILED);
  poke(0, 0x77, 1);
  auto* const registers = static_cast<volatile uint8_t*>(map(0x40000000, 4096, PROT_READ));
  ASSERT_NE(registers, MAP_FAILED);
  EXPECT_EQ(registers[0], 0x77);
  munmap(const_cast<uint8_t*>(registers), 4096);
}

TEST_F(ApertureDoorTest, OtherNodesCannotBeMapped) {
  const int driver = open("/dev/zvgrw", O_RDWR);
  EXPECT_EQ(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, driver, 0), MAP_FAILED);
  EXPECT_EQ(errno, ENODEV);
  close(driver);
}

}  // namespace
}  // namespace zvgsim
