// The driver behind a forwarded character device. The tests play the kernel's side: they bring what
// the door asks for from the caller's memory, and fill the record when the request is done.
#include "doors/cuse_door.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <vector>

#include "devices/fan/fan.h"
#include "sim/doors/driver_records.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

using namespace driver;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr unsigned long load_request = 0xC0206413;

class CuseDoorTest : public zvgtest::BoardFixture {
 protected:
  // A request as the kernel forwards it; returns 0 or the errno that the caller sees.
  int forward(unsigned long request, uint64_t argument) {
    CuseDoor door(machine());
    std::vector<uint8_t> in;
    std::vector<CallerRange> fill;
    for (rounds_ = 1; rounds_ < 9; ++rounds_) {
      const CuseDoor::Reply reply = door.ioctl(request, argument, in.data(), in.size());
      if (reply.fetch.empty()) {
        if (reply.error != 0) {
          EXPECT_THAT(reply.out, IsEmpty());
          return reply.error;
        }
        EXPECT_LE(fill.size(), 1u);
        if (fill.empty()) {
          EXPECT_THAT(reply.out, IsEmpty());
          return 0;
        }
        EXPECT_EQ(reply.out.size(), fill[0].size);
        return copy(fill[0], const_cast<uint8_t*>(reply.out.data()), process_vm_writev) ? 0
                                                                                        : EFAULT;
      }
      in.clear();
      for (const CallerRange& range : reply.fetch) {
        std::vector<uint8_t> bytes(range.size);
        if (!copy(range, bytes.data(), process_vm_readv)) return EFAULT;
        in.insert(in.end(), bytes.begin(), bytes.end());
      }
      fill = reply.fill;
    }
    ADD_FAILURE() << "the door never has enough";
    return -1;
  }
  template <typename Record>
  int forward(unsigned long request, Record* record) {
    return forward(request, uint64_t{reinterpret_cast<uintptr_t>(record)});
  }

  template <typename Copy>
  static bool copy(const CallerRange& range, uint8_t* bytes, Copy process_copy) {
    iovec here = {bytes, range.size};
    iovec there = {reinterpret_cast<void*>(static_cast<uintptr_t>(range.address)), range.size};
    return process_copy(getpid(), &here, 1, &there, 1, 0) == static_cast<ssize_t>(range.size);
  }

  int rounds_ = 0;
};

TEST_F(CuseDoorTest, RecordIsBroughtAnsweredAndFilled) {
  trace().start();
  RegisterAccess write = {0, 2, 1, 4, 0x300000, 0x12345678};
  EXPECT_EQ(forward(0xC0206401, &write), 0);
  EXPECT_EQ(rounds_, 2);
  RegisterAccess read = {0, 2, 0, 2, 0x300002, 0};
  EXPECT_EQ(forward(0xC0206401, &read), 0);
  EXPECT_EQ(read.value, 0x1234u);
  EXPECT_THAT(trace().take(),
              ElementsAre("w4 mmio 0x300000 0x12345678", "r2 mmio 0x300002 0x1234"));
}

TEST_F(CuseDoorTest, FirstReplyNamesTheRecord) {
  CuseDoor door(machine());
  const CuseDoor::Reply reply = door.ioctl(0xC21C640F, 0x7000, nullptr, 0);
  EXPECT_THAT(reply.fetch, ElementsAre(CallerRange{0x7000, 540}));
  EXPECT_THAT(reply.fill, ElementsAre(CallerRange{0x7000, 540}));
}

TEST_F(CuseDoorTest, FailedRequestLeavesTheRecordAlone) {
  RegisterAccess record = {7, 2, 0, 4, 0x300000, 0x55};
  EXPECT_EQ(forward(0xC0206401, &record), ENODEV);
  EXPECT_EQ(record.value, 0x55u);
}

TEST_F(CuseDoorTest, RequestWithoutARecordIsAnsweredAtOnce) {
  FanRate manual = {77};
  EXPECT_EQ(forward(0xC0046415, &manual), 0);
  EXPECT_TRUE(board().part<Fan>().manual());
  EXPECT_EQ(forward(0x6416, uint64_t{0}), 0);
  EXPECT_EQ(rounds_, 1);
  EXPECT_FALSE(board().part<Fan>().manual());
  // Its argument means nothing.
  EXPECT_EQ(forward(0x6416, uint64_t{0xDEAD}), 0);
  EXPECT_EQ(rounds_, 1);
}

TEST_F(CuseDoorTest, UnknownNumbersAreRefusedWithoutALook) {
  for (const unsigned long request : {0xC020640DUL, 0xC0046416UL, 0xC0206418UL, 0xC01C6401UL,
                                      0x40206401UL, 0xC0206501UL, 0x5401UL}) {
    EXPECT_EQ(forward(request, uint64_t{16}), ENOTTY) << std::hex << request;
    EXPECT_EQ(rounds_, 1);
  }
}

TEST_F(CuseDoorTest, RecordThatIsNowhere) {
  EXPECT_EQ(forward(0xC0206401, uint64_t{0}), EFAULT);
  EXPECT_EQ(rounds_, 1);
  EXPECT_EQ(forward(0xC0206401, uint64_t{16}), EFAULT);
}

TEST_F(CuseDoorTest, LookupTablesFollowTheirRecord) {
  std::array<uint16_t, 256> red, green, blue;
  red.fill(0x1111);
  green.fill(0x2222);
  blue.fill(0x3333);
  blue[255] = 0x4444;
  const auto address = [](const auto& table) { return reinterpret_cast<uintptr_t>(table.data()); };
  LutLoad load = {2, 256, address(red), address(green), address(blue)};
  EXPECT_EQ(forward(load_request, &load), 0);
  EXPECT_EQ(rounds_, 3) << "record, record and tables, done";
  EXPECT_EQ(board().lut(2)[0], std::vector<uint16_t>(red.begin(), red.end()));
  EXPECT_EQ(board().lut(2)[1], std::vector<uint16_t>(green.begin(), green.end()));
  EXPECT_EQ(board().lut(2)[2], std::vector<uint16_t>(blue.begin(), blue.end()));

  LutLoad same = {1, 256, address(blue), address(blue), address(blue)};
  EXPECT_EQ(forward(load_request, &same), 0) << "one table for all";
  EXPECT_EQ(board().lut(1)[0][255], 0x4444);
  EXPECT_EQ(board().lut(1)[2][255], 0x4444);
}

TEST_F(CuseDoorTest, LookupTableIsRefusedAsInProcess) {
  std::array<uint16_t, 768> tables{};
  const auto address = reinterpret_cast<uintptr_t>(tables.data());
  LutLoad nowhere = {3, 256, address, address + 512, 16};
  EXPECT_EQ(forward(load_request, &nowhere), EFAULT);
  LutLoad crtc = {4, 256, 16, 16, 16};
  EXPECT_EQ(forward(load_request, &crtc), EINVAL) << "before a look at the tables";
  LutLoad size = {3, 255, 16, 16, 16};
  EXPECT_EQ(forward(load_request, &size), EINVAL);
  EXPECT_EQ(rounds_, 2);
}

// Another thread of the caller may change the record between two rounds.
TEST_F(CuseDoorTest, TablesThatTheRecordNoLongerMeansAreNotTaken) {
  std::vector<uint8_t> in(32 + 3 * 512);
  const LutLoad before = {0, 256, 0x1000, 0x2000, 0x3000};
  const LutLoad refused = {9, 256, 0x1000, 0x2000, 0x3000};
  CuseDoor door(machine());
  memcpy(in.data(), &before, sizeof before);
  const CuseDoor::Reply more = door.ioctl(load_request, 0x500, in.data(), 32);
  EXPECT_THAT(more.fetch, ElementsAre(CallerRange{0x500, 32}, CallerRange{0x1000, 512},
                                      CallerRange{0x2000, 512}, CallerRange{0x3000, 512}));
  EXPECT_THAT(more.fill, ElementsAre(CallerRange{0x500, 32}));
  memcpy(in.data(), &refused, sizeof refused);
  EXPECT_EQ(door.ioctl(load_request, 0x500, in.data(), in.size()).error, EINVAL);
}

TEST_F(CuseDoorTest, PlannedFaultCountsRequestsNotRounds) {
  BoardConfig config;
  config.faults.driver.push_back({.request = 2, .error = EBUSY});
  power_up(config);
  RegisterAccess record = {0, 2, 1, 4, 0x300000, 5};
  EXPECT_EQ(forward(0xC0206401, &record), 0);
  EXPECT_EQ(forward(0xC0206401, &record), EBUSY);
  EXPECT_EQ(forward(0xC0206401, &record), 0);
}

// Every request, with records that the driver takes and records that it refuses.
TEST_F(CuseDoorTest, AnswersAsInProcess) {
  const unsigned long requests[] = {
      0xC0206401, 0xC2146402, 0xC0106403, 0xC0106404, 0xC0106405, 0xC0186406,
      0xC0186407, 0xC0186408, 0xC0186409, 0xC018640A, 0xC018640B, 0xC214640C,
      0xC018640E, 0xC21C640F, 0xC0886410, 0xC0506411, 0xC0036412, 0xC0206413,
      0xC0086414, 0xC0046415, 0x00006416, 0xC0046417,
  };
  const int fd = open("/dev/zvgrw", O_RDWR);
  ASSERT_GE(fd, 0);
  int done = 0, refused = 0;
  for (const unsigned long request : requests) {
    for (const uint8_t fill : std::vector<uint8_t>{0, 1, 2, 0xFF}) {
      std::array<uint8_t, 540> in_process, forwarded;
      in_process.fill(0);
      in_process[0] = fill;
      in_process[8] = fill;
      forwarded = in_process;
      const int error = ioctl(fd, request, in_process.data()) == 0 ? 0 : errno;
      EXPECT_EQ(forward(request, &forwarded), error) << std::hex << request << " " << +fill;
      EXPECT_EQ(forwarded, in_process) << std::hex << request << " " << +fill;
      (error == 0 ? done : refused) += 1;
    }
  }
  close(fd);
  EXPECT_GT(done, 20);
  EXPECT_GT(refused, 20);
}

}  // namespace
}  // namespace zvgsim
