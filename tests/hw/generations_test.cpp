// The rows of the chip generations agree with themselves and with each other.
#include "hw/generations.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "hw/bus.h"
#include "hw/driver_requests.h"
#include "hw/serial_frames.h"

namespace {

using namespace zvg::hw;

// Nothing of it is computed when a program starts.
static_assert(chip_of(Generation::rq302).clocks.first == 0x288000);
static_assert(chip_with_id(0x999) == nullptr);
static_assert(driver::request_ddr == 0xC214640C && driver::request_aux == driver::request_ddr);
static_assert(driver::request_clear_fan == 0x6416);
static_assert(serial::frame_size == 11);

TEST(Generations, AreFoundByTheirPlace) {
  unsigned place = 0;
  for (const Chip& chip : chips) {
    EXPECT_EQ(&chip_of(chip.generation), &chip);
    EXPECT_EQ(static_cast<unsigned>(chip.generation), place++);
  }
}

TEST(Generations, HaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (const Chip& chip : chips) EXPECT_TRUE(names.insert(chip.name).second) << chip.name;
}

TEST(Generations, AnIdOfSeveralIsTheNewestOnes) {
  EXPECT_STREQ(chip_with_id(0x201)->name, "RQ301");
  EXPECT_STREQ(chip_with_id(0x202)->name, "RQ302");
}

TEST(Generations, HaveAPhyForEveryController) {
  for (const Chip& chip : chips) {
    SCOPED_TRACE(chip.name);
    EXPECT_GT(chip.ddr_controllers.count, 0u);
    EXPECT_EQ(chip.ddr_phys.count, chip.ddr_controllers.count);
    EXPECT_EQ(chip.dp_phys.count, chip.dp_controllers.count);
    EXPECT_EQ(chip.dp_windows.count, chip.dp_controllers.count);
    EXPECT_EQ(chip.overlay_frames.count, chip.overlay_windows.count);
  }
}

TEST(Generations, HaveSlotsForEveryMonitorOfBothDirections) {
  for (const Chip& chip : chips) EXPECT_EQ(chip.rq302_axi_slots.count, chip.rq302_axi_both.count);
}

TEST(Generations, HaveOneKindOfBusMonitors) {
  for (const Chip& chip : chips) {
    SCOPED_TRACE(chip.name);
    const bool packed = chip.rq301_axi_both.count != 0;
    EXPECT_EQ(chip.rq301_axi_reads.count != 0, packed);
    EXPECT_EQ(chip.rq301_axi_writes.count != 0, packed);
    EXPECT_EQ(chip.rq302_axi_control.count != 0, !packed);
    EXPECT_EQ(chip.rq302_axi_both.count != 0, !packed);
    // Each has its flag in a 32-bit register.
    EXPECT_LE(chip.rq302_axi_both.count + chip.rq302_axi_reads.count + chip.rq302_axi_mixed.count,
              32u);
  }
}

TEST(Generations, ProgramNoMoreThanTheFifoHolds) {
  for (const Chip& chip : chips) EXPECT_LT(chip.spi_program_frames, chip.spi_fifo_frames);
}

TEST(Generations, SelectSensorsByValuesOfTheirOwn) {
  for (const Chip& chip : chips) {
    std::set<uint32_t> selectors;
    for (const uint32_t first : chip.pvt_selectors) {
      for (unsigned i = 0; i < (chip.pvt_converts_all ? 1 : pvt_sensors); ++i) {
        EXPECT_TRUE(selectors.insert(first + i).second) << chip.name << " " << first + i;
      }
    }
  }
}

TEST(Bus, HasTheSpacesBesideEachOther) {
  EXPECT_LE(bus_mmio_base + mmio_size, bus_vram_base);
  EXPECT_LE(bus_vram_base + vram_size, uint64_t{1} << (8 * bus_address_bytes));
}

}  // namespace
