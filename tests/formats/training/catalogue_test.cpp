// Looking identifiers up.
#include "formats/training/catalogue.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace zvg::formats::training;

struct Record {
  uint32_t id;
};

Lookup look_up(const std::vector<Record>& records, uint32_t id) {
  return zvg::formats::training::look_up(std::span<const Record>(records), id);
}

TEST(CatalogueLookup, FindsEveryRecord) {
  for (uint32_t size = 1; size < 70; ++size) {
    std::vector<Record> records;
    for (uint32_t i = 0; i < size; ++i) records.push_back({10 * i + 10});
    for (uint32_t i = 0; i < size; ++i) {
      EXPECT_EQ(look_up(records, 10 * i + 10).position, i);
      EXPECT_EQ(look_up(records, 10 * i + 15).position, size);
    }
    EXPECT_EQ(look_up(records, 5).position, size);
  }
}

TEST(CatalogueLookup, ToldWhatItComparedLast) {
  const std::vector<Record> records = {{10}, {20}, {30}};
  EXPECT_EQ(look_up(records, 5).last_id, 10u);
  EXPECT_EQ(look_up(records, 15).last_id, 10u);
  EXPECT_EQ(look_up(records, 35).last_id, 30u);
}

TEST(CatalogueLookup, FindsRecordsInFrontOfAClosingOne) {
  const std::vector<Record> records = {{10}, {20}, {30}, {0}};
  EXPECT_EQ(look_up(records, 10).position, 0u);
  EXPECT_EQ(look_up(records, 20).position, 1u);
}

}  // namespace
