// The calls by which the library reaches a board can be taken over.
#include "service/seam/transport.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <util_zvg.h>

#include <stdexcept>

#include "support/board_fixture.h"

namespace {

using zvg::seam::Forwarding;
using zvg::seam::transport;
using zvg::seam::UseTransport;

// Counts the requests, refuses the one of that number, and throws at another.
class Refusing : public Forwarding {
 public:
  explicit Refusing(int refused, int thrown_at = 0)
      : Forwarding(transport()), refused_(refused), thrown_at_(thrown_at) {}

  int ioctl(int fd, unsigned long request, void* argument) override {
    ++count;
    if (count == thrown_at_) throw std::runtime_error("no more");
    if (count == refused_) {
      errno = EIO;
      return -1;
    }
    return Forwarding::ioctl(fd, request, argument);
  }

  int count = 0;

 private:
  int refused_;
  int thrown_at_;
};

class TransportTest : public zvgtest::BoardFixture {};

TEST_F(TransportTest, SeesTheRequestsAndMayRefuseThem) {
  ASSERT_GE(zvgRwOpen(0), 0);
  poke(0x308010, 0x1234);
  Refusing refusing(2);
  const UseTransport use(refusing);
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0x308010, &value), 0);
  EXPECT_EQ(value, 0x1234u);
  EXPECT_EQ(zvgRegReadLong(0x308010, &value), -1);
  EXPECT_EQ(refusing.count, 2);
}

TEST_F(TransportTest, IsTheOneBeforeAgainInTheEnd) {
  ASSERT_GE(zvgRwOpen(0), 0);
  uint32_t value = 0;
  Refusing refusing(1);
  {
    const UseTransport use(refusing);
    EXPECT_EQ(zvgRegReadLong(0x308010, &value), -1);
  }
  EXPECT_EQ(zvgRegReadLong(0x308010, &value), 0);
  EXPECT_EQ(refusing.count, 1);
}

TEST_F(TransportTest, MayThrowThroughTheLibraryWhichGoesOnWorking) {
  ASSERT_GE(zvgRwOpen(0), 0);
  Refusing refusing(0, 5);
  {
    const UseTransport use(refusing);
    uint32_t mode[10] = {};
    EXPECT_THROW(zvgCrtcModeRead(0, mode), std::runtime_error);
  }
  EXPECT_EQ(refusing.count, 5);
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0x308010, &value), 0);
}

}  // namespace
