// The message catalogues and the search in them.
#include <gtest/gtest.h>
#include <stdio.h>

#include <fstream>

#include "ddr/catalogues.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;

static_assert(sizeof(zvg_ddr_message) == 260);
static_assert(offsetof(zvg_ddr_message, format) == 4);

struct Catalogue {
  const zvg_ddr_message* records;
  uint32_t count;
  uint32_t expected_count;
  const char* table;
  int type;
};

const Catalogue catalogues[] = {
    {ddr_debug_ddr4_lpddr4x_2d, ddr_debug_ddr4_lpddr4x_2d_count, 569, "2d", 0},
    {ddr_debug_ddr4_1d, ddr_debug_ddr4_1d_count, 412, "ddr4_1d", 2},
    {ddr_debug_lpddr4x_1d, ddr_debug_lpddr4x_1d_count, 399, "lpddr4x_1d", 3},
    {ddr_debug_ddr4_1d_old, ddr_debug_ddr4_1d_old_count, 379, "ddr4_1d_old", -1},
};

// Makes a catalogue the current one; no channel is listened to.
void select(int type) {
  capture([&] { ASSERT_EQ(zvgDdrShowEye(0, type), 0); });
}

TEST(Catalogues, HoldTheTablesAsTheyAre) {
  for (const Catalogue& catalogue : catalogues) {
    SCOPED_TRACE(catalogue.table);
    EXPECT_EQ(catalogue.count, catalogue.expected_count);
    std::ifstream table(std::string(ZVG_MESSAGE_TABLES) + "/" + catalogue.table + ".tsv");
    std::string line;
    ASSERT_TRUE(std::getline(table, line));
    for (uint32_t i = 0; i < catalogue.count; ++i) {
      ASSERT_TRUE(std::getline(table, line));
      const zvg_ddr_message& record = catalogue.records[i];
      EXPECT_EQ(record.id, std::stoul(line.substr(0, 8), nullptr, 16));
      std::string format;
      for (size_t at = 9; at < line.size(); ++at) {
        const bool newline = line.compare(at, 2, "\\n") == 0;
        format += newline ? '\n' : line[at];
        at += newline;
      }
      EXPECT_EQ(record.format, format);
      for (size_t at = format.size(); at < sizeof record.format; ++at) {
        ASSERT_EQ(record.format[at], '\0') << "formats are filled up with NULs";
      }
    }
    EXPECT_FALSE(std::getline(table, line));
  }
}

TEST(Catalogues, TwoDimensionalTrainingIsCurrentAtFirst) {
  EXPECT_EQ(findDebugPos(0), 569u);
  EXPECT_EQ(findDebugPos(0x14001F), 20u);
}

TEST(Catalogues, EveryRecordIsFoundWhereItIs) {
  for (const Catalogue& catalogue : catalogues) {
    if (catalogue.type < 0) continue;
    SCOPED_TRACE(catalogue.table);
    select(catalogue.type);
    for (uint32_t i = 0; i < catalogue.count; ++i) {
      if (catalogue.records[i].id == 0) continue;  // the closing record
      ASSERT_EQ(findDebugPos(catalogue.records[i].id), i);
    }
  }
}

TEST(Catalogues, IdentifierZeroIsSilent) {
  select(3);
  uint32_t position = 0;
  const auto output = capture([&] { position = findDebugPos(0); });
  EXPECT_EQ(position, 399u) << "although the last record has it";
  EXPECT_EQ(output.out + output.err, "");
}

// Between every two neighbours, and behind the last, the search ends at the lower one.
TEST(Catalogues, UnknownIdentifiersAreTold) {
  for (const int type : {0, 2}) {
    const Catalogue& catalogue = catalogues[type == 0 ? 0 : 1];
    SCOPED_TRACE(catalogue.table);
    select(type);
    for (uint32_t i = 0; i < catalogue.count; ++i) {
      const uint32_t id = catalogue.records[i].id + 1;
      if (i + 1 < catalogue.count && catalogue.records[i + 1].id == id) continue;
      uint32_t position = 0;
      const auto output = capture([&] { position = findDebugPos(id); });
      ASSERT_EQ(position, catalogue.count);
      char expected[64];
      snprintf(expected, sizeof expected, "findDebugPos %08x %08x %08x\n", id,
               catalogue.records[i].id, catalogue.records[i].id);
      ASSERT_EQ(output.out, expected);
    }
  }
}

TEST(Catalogues, SearchBehindTheLastRecordStaysInside) {
  select(3);
  uint32_t position = 0;
  const auto output = capture([&] { position = findDebugPos(0xFFFFFFFF); });
  EXPECT_EQ(position, 399u);
  EXPECT_EQ(output.out, "findDebugPos ffffffff 00000000 00000000\n");
}

TEST(Catalogues, WrongTypeLeavesTheCurrentOne) {
  select(2);
  for (const int type : {4, -1, 0x7FFFFFFF}) {
    const auto output = capture([&] { EXPECT_EQ(zvgDdrShowEye(0xF, type), -1); });
    EXPECT_EQ(output.out, "hello zvgDdrShowEye\n");
    EXPECT_EQ(output.err, "ddr type " + std::to_string(type) +
                              " error.\n\t0: ddr4 2d training, 1: lpddr4x 2d training, 2: ddr4 1d "
                              "training, 3: lpddr4x 1d training\n");
    EXPECT_EQ(findDebugPos(0), 412u);
  }
}

TEST(Catalogues, TypesSelectTheirTables) {
  const uint32_t counts[] = {569, 569, 412, 399};
  for (int type = 0; type < 4; ++type) {
    select(type);
    EXPECT_EQ(findDebugPos(0), counts[type]);
  }
}

}  // namespace
