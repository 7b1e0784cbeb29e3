// Identifiers, and messages put together from words.
#include "formats/training/message.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace zvg::formats::training;

TEST(MessageIdentifiers, EndWithTheNumberOfArguments) {
  EXPECT_EQ(argument_count(0x14001F), 31u);
  EXPECT_EQ(argument_count(0x120000), 0u);
  EXPECT_EQ(argument_count(0x1FF), 255u);
}

TEST(MessageIdentifiers, BeginScans) {
  for (const uint32_t id : {0x1D0004, 0x1E0004, 0x270004, 0x280004}) {
    EXPECT_EQ(scan_begun_by(id), Scan::write) << std::hex << id;
  }
  for (const uint32_t id : {0x200004, 0x210004, 0x240004, 0x250004}) {
    EXPECT_EQ(scan_begun_by(id), Scan::read) << std::hex << id;
  }
  for (const uint32_t id : {0x14001F, 0x1F0004, 0x1D0003, 0}) {
    EXPECT_EQ(scan_begun_by(id), std::nullopt) << std::hex << id;
  }
  EXPECT_EQ(static_cast<int>(Scan::write), 0) << "as the report prints it";
  EXPECT_EQ(static_cast<int>(Scan::read), 1);
}

TEST(EyeRows, HaveVoltageStepsBelow128) {
  EXPECT_EQ(voltage_step(0), 0);
  EXPECT_EQ(voltage_step(127), 127);
  EXPECT_EQ(voltage_step(128), std::nullopt);
  EXPECT_EQ(voltage_step(0xFF), std::nullopt);
  EXPECT_EQ(voltage_step(0xFFFFFF05), 5);
}

TEST(TrainingWords, MakeAMessageBehindAMarker) {
  Message message;
  EXPECT_FALSE(message.complete());
  message.take(8, 0);
  EXPECT_FALSE(message.complete());
  message.take(0x0002, 0x0012);
  EXPECT_EQ(message.id(), 0x120002u);
  EXPECT_FALSE(message.complete());
  message.take(0xFFFFFFFF, 0x1234);
  message.take(8, 0);
  EXPECT_TRUE(message.complete());
  EXPECT_EQ(message.arguments()[0], 0xFFFFFFFFu);
  EXPECT_EQ(message.arguments()[1], 8u) << "a marker only between messages";
  message.take(8, 0);
  EXPECT_EQ(message.id(), 0u);
  EXPECT_FALSE(message.complete());
}

TEST(TrainingWords, WithoutArgumentsAreCompleteAtOnce) {
  Message message;
  message.take(8, 0);
  message.take(0x0000, 0x0007);
  EXPECT_TRUE(message.complete());
  EXPECT_EQ(message.id(), 0x70000u);
}

TEST(TrainingWords, EightMayBeAnIdentifierOfAMessageBehindOneWithArguments) {
  Message message;
  message.take(8, 0);
  message.take(1, 1);
  message.take(77, 0);
  message.take(8, 0);  // the marker
  message.take(8, 2);
  EXPECT_EQ(message.id(), 0x20008u);
}

TEST(TrainingWords, BeyondTheLastArgumentAreDropped) {
  Message message;
  message.take(8, 0);
  message.take(0x00FF, 0x0001);
  for (uint32_t i = 0; i < 255; ++i) message.take(1000 + i, 0);
  EXPECT_TRUE(message.complete());
  for (uint32_t i = 0; i < 300; ++i) message.take(5, 0);
  EXPECT_TRUE(message.complete());
  for (uint32_t i = 0; i < 255; ++i) EXPECT_EQ(message.arguments()[i], 1000 + i);
}

}  // namespace
