// Erasing: sectors, blocks, the whole chip, and ranges made of them.
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include "core/poll.h"
#include "flash/spi_modify.h"
#include "util_zvg.h"

using namespace zvg::flash;

namespace {

constexpr unsigned erase_repeats = 20;

struct Erase {
  Opcode opcode;
  uint32_t size;
  useconds_t wait_us;
  const char* success;
  const char* error;
};
constexpr Erase sector = {erase_4_kib, 0x1000, 40000, "4KB ERASE SUCCESS", "SPI 4KB ERASE ERROR\n"};
constexpr Erase half_block = {erase_32_kib, 0x8000, 150000, "32KB ERASE SUCCESS",
                              "SPI 32KB ERASE ERROR\n"};
constexpr Erase block = {erase_64_kib, 0x10000, 180000, "64KB ERASE SUCCESS",
                         "SPI 64KB ERASE ERROR\n"};
// Its error is printed without a newline.
constexpr Erase chip = {erase_chip, 0x200000, 0, "2MB ERASE SUCCESS", "SPI 2MB ERASE ERROR"};

int failed(const Erase& kind) {
  fputs(kind.error, stdout);
  return -1;
}

int succeeded(const Erase& kind) {
  puts(kind.success);
  return 0;
}

void wait(const Erase& kind) {
  if (kind.opcode != erase_chip) {
    usleep(kind.wait_us);
    return;
  }
  puts("Wait 5s until erase ok");
  sleep(5);
}

int erase(const Erase& kind, uint32_t address) {
  zvgSpiExitCrmMode();
  configure_to_modify();
  // Write enable a second time: one of the two may have met a flash that was still busy.
  if (!command({write_enable})) return failed(kind);
  const bool sent =
      kind.opcode == erase_chip
          ? command({kind.opcode})
          : command({kind.opcode, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF});
  if (!sent) return failed(kind);
  uint32_t flash_status = 0;
  configure_for_one_answer();
  const auto ask = [&] { return read_flash_status(read_status_1, &flash_status); };
  const auto end = zvg::core::read_wait_compare(
      erase_repeats, [&] { wait(kind); }, ask, [&] { return (flash_status & flash_busy) == 0; });
  if (end == 0) return succeeded(kind);
  // Asked once more, but that answer comes too late, whatever it is.
  if (!end && ask() == 0) puts("SPI NOT EXIT XIP MODE");
  return failed(kind);
}

// The largest piece that fits at the address. A range that is the whole chip is the chip's.
const Erase& piece_at(uint32_t address, uint32_t remaining) {
  if (address == 0 && remaining == chip.size) return chip;
  for (const Erase* const kind : {&block, &half_block}) {
    if (remaining >= kind->size && address % kind->size == 0) return *kind;
  }
  return sector;
}

}  // namespace

int zvgSpiEraseSector(uint32_t address) {
  return erase(sector, address);
}
int zvgSpiErase32kbBlock(uint32_t address) {
  return erase(half_block, address);
}
int zvgSpiErase64kbBlock(uint32_t address) {
  return erase(block, address);
}
int zvgSpiEraseChip(void) {
  return erase(chip, 0);
}

int check_erase_alignment(uint32_t address, uint32_t size) {
  if (address % sector.size != 0) return 1;
  return size % sector.size != 0 ? 2 : 0;
}

int zvgSpiErase(uint32_t address, uint32_t size) {
  if (check_erase_alignment(address, size) != 0) {
    puts("error: address or size not properly aligned");
    puts("address must be 4kb aligned, size must be multiple of 4kb");
    return -1;
  }
  for (uint32_t remaining = size; remaining != 0;) {
    const Erase& kind = piece_at(address, remaining);
    const int result = erase(kind, address);
    // A failed piece is tried again, for ever. So is the whole chip even when it succeeded: what is
    // left to do is not counted down. zvgSpiEraseChip() is for that.
    if (result != 0 || &kind == &chip) continue;
    address += kind.size;
    remaining -= kind.size;
  }
  printf("ERASE 0x%x Byte SUCCESS\n", size);
  return 0;
}
