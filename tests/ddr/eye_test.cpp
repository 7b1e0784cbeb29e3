// The grids that eye rows are counted in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <array>

#include "ddr/training_firmware.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;
using zvgtest::RegisterNode;
using Row = std::array<uint32_t, 31>;

constexpr uint32_t read_head = 0x210004;

Row filled(uint32_t value) {
  Row row;
  row.fill(value);
  return row;
}

// Takes a direction's head as the firmware sends it, from the one channel that there is.
void announce(RegisterNode& node, uint32_t head) {
  zvgtest::TrainingFirmware firmware(node, 0x400000);
  firmware.send(zvgtest::message(head, {2, 0, 1, 2}));
  capture([] { zvgDdrShowEye(1, 0); });
  node.on_read = nullptr;
}

std::string grid_line(const std::array<unsigned, 31>& counts) {
  std::string line;
  for (const unsigned count : counts) {
    char cell[16];
    snprintf(cell, sizeof cell, "%3d", count);
    line += (line.empty() ? "" : " ") + std::string(cell);
  }
  return line + "\n";
}

TEST(Eye, RowsAreCountedInTheirDirection) {
  RegisterNode node;
  node.open();
  Row row = filled(0x80);
  row[0] = 2;
  row[30] = 1;
  set_2d_eye(row.data());  // write, until a head says otherwise
  announce(node, read_head);
  row[0] = 0xFF;
  row[15] = 0xFFFFFF00;  // only the low byte counts
  set_2d_eye(row.data());
  set_2d_eye(row.data());
  node.take();
  const auto output = capture([] { print_2d_eye(); });

  std::array<unsigned, 31> row0{}, row1{}, write1{}, write2{};
  row0[15] = 2;
  row1[30] = 2;
  write1[30] = 1;
  write2[0] = 1;
  EXPECT_EQ(output.out, "read\n" + grid_line(row1) + grid_line(row0) + "\n\n\n\n\nwrite\n" +
                            grid_line(write2) + grid_line(write1) + grid_line({}));
  EXPECT_THAT(node.take(), testing::ElementsAre("usleep 100000", "usleep 100000", "usleep 1000000",
                                                "usleep 100000", "usleep 100000", "usleep 100000"));
}

TEST(Eye, EmptyGridsHaveOneRow) {
  RegisterNode node;
  node.open();
  const auto output = capture([] { print_2d_eye(); });
  EXPECT_EQ(output.out, "read\n" + grid_line({}) + "\n\n\n\n\nwrite\n" + grid_line({}));
}

TEST(Eye, CountersWrapAt256) {
  RegisterNode node;
  node.open();
  const Row row = filled(0);
  for (int i = 0; i < 258; ++i) set_2d_eye(row.data());
  const auto output = capture([] { print_2d_eye(); });
  std::array<unsigned, 31> counts;
  counts.fill(2);
  EXPECT_THAT(output.out, testing::EndsWith("write\n" + grid_line(counts)));
}

TEST(Eye, Value127IsTheHighestRow) {
  RegisterNode node;
  node.open();
  Row row = filled(0x80);
  row[7] = 0x7F;
  set_2d_eye(row.data());
  const auto output = capture([] { print_2d_eye(); });
  std::array<unsigned, 31> counts{};
  counts[7] = 1;
  EXPECT_THAT(output.out, testing::HasSubstr("write\n" + grid_line(counts) + grid_line({})));
  EXPECT_EQ(std::count(output.out.begin(), output.out.end(), '\n'), 1 + 1 + 5 + 1 + 128);
}

}  // namespace
