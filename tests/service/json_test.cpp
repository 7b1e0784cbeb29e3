// How documents write addresses, values, bytes and numbers.
#include "service/json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "service/board/error.h"

namespace {

TEST(Json, BeginsWithItsSchema) {
  EXPECT_EQ(zvg::document("register").dump(), R"({"schema":"zvg/register/1"})");
  EXPECT_EQ(zvg::document("register", 2).dump(), R"({"schema":"zvg/register/2"})");
}

TEST(Json, WritesAddressesShortAndValuesToTheirWidth) {
  EXPECT_EQ(zvg::address_text(0), "0x0");
  EXPECT_EQ(zvg::address_text(0x308010), "0x308010");
  EXPECT_EQ(zvg::value_text(0x55, 1), "0x55");
  EXPECT_EQ(zvg::value_text(0x55, 4), "0x00000055");
  EXPECT_EQ(zvg::value_text(UINT64_MAX, 8), "0xffffffffffffffff");
}

TEST(Json, WritesBytesAsOneText) {
  const uint8_t bytes[] = {0x00, 0xFF, 0x1A};
  EXPECT_EQ(zvg::bytes_text(bytes), "00ff1a");
  EXPECT_EQ(zvg::bytes_text({}), "");
}

TEST(Json, RoundsToWhatTheSensorResolves) {
  EXPECT_EQ(zvg::rounded(41.998437, 3), 41.998);
  EXPECT_EQ(zvg::rounded(-0.25, 1), -0.3);
}

TEST(Json, ErrorsTellWhatIsKnown) {
  zvg::Error error(zvg::ErrorKind::access, "cannot read register at 0x308010");
  EXPECT_EQ(to_json(error).dump(),
            R"({"kind":"access","message":"cannot read register at 0x308010","door":null,)"
            R"("address":null,"request":null,"errno":null})");
  error.door = zvg::Door::driver;
  error.address = 0x308010;
  error.request = 1;
  error.system_error = 5;
  EXPECT_EQ(to_json(error).dump(),
            R"({"kind":"access","message":"cannot read register at 0x308010","door":"driver",)"
            R"("address":"0x308010","request":"0x1","errno":5})");
}

}  // namespace
