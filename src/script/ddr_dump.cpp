// The dump of all the registers of DDR channels into a text file.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "hw/blocks/system_control.h"
#include "script/ddr_registers.h"
#include "util_zvg.h"

namespace zvg::script::ddr {

namespace {

constexpr char dump_file[] = "DDR_Dump_Reg.txt";

// The block of a PHY that its range shows is selected in the system control block. Block 5 is
// dumped first and alone carries the column heads.
constexpr uint32_t first_phy_block = 5;
constexpr uint32_t further_phy_blocks[] = {0, 1, 2, 4, 7, 9, 0xC, 0xD};

// Writes a number as eight hexadecimal digits. A dump has over half a million lines a channel;
// printf would take longer than the board does to answer.
void put_hex(char* at, uint32_t value) {
  // A nibble a byte, the highest first in memory.
  uint64_t nibbles = __builtin_bswap32(value);
  nibbles = (nibbles | nibbles << 16) & 0x0000FFFF0000FFFF;
  nibbles = (nibbles | nibbles << 8) & 0x00FF00FF00FF00FF;
  nibbles = (nibbles >> 4 | nibbles << 8) & 0x0F0F0F0F0F0F0F0F;
  // 6 more than a nibble reaches the byte's upper half from 10 on: those are letters.
  constexpr uint64_t ones = 0x0101010101010101;
  const uint64_t letters = (nibbles + 6 * ones) >> 4 & ones;
  const uint64_t digits = nibbles + '0' * ones + letters * ('a' - '9' - 1);
  memcpy(at, &digits, sizeof digits);
}

// The file, and a buffer in which lines are put together.
class Dump {
 public:
  // Lines come in large pieces, which stdio need not gather again.
  explicit Dump(FILE* file) : file_(file) { setvbuf(file_, nullptr, _IONBF, 0); }
  Dump(const Dump&) = delete;
  Dump& operator=(const Dump&) = delete;
  ~Dump() { fclose(file_); }

  // Dumps the registers of a range; the first that cannot be read ends it. Returns the last
  // read's result.
  int registers(uint32_t base, uint32_t size) {
    static constexpr char line[] = "0x########     ########        R        FFFFFFFF\n";
    constexpr size_t length = sizeof line - 1;
    constexpr size_t address_at = 2;
    constexpr size_t value_at = 15;
    static_assert(sizeof buffer_ > length);

    int result = 0;
    size_t used = 0;
    for (uint32_t offset = 0; offset < size; offset += 4) {
      uint32_t value = 0;
      result = zvgRegReadLong(base + offset, &value);
      if (result != 0) {
        fprintf(stderr, "%s: read from [0x%x] failed\n", "zvgDDRReadReg", base + offset);
        break;
      }
      if (sizeof buffer_ - used < length) {
        fwrite(buffer_, 1, used, file_);
        used = 0;
      }
      char* const at = buffer_ + used;
      memcpy(at, line, length);
      put_hex(at + address_at, base + offset);
      put_hex(at + value_at, value);
      used += length;
    }
    fwrite(buffer_, 1, used, file_);
    return result;
  }

  void phy_block(unsigned channel, uint32_t block, bool heads) {
    fprintf(file_, "DDR %d, BLOCK %x, PHY REGISTER DUMP\n", static_cast<int>(channel), block);
    if (heads) fprintf(file_, "%-16s %-16s %-8s %s\n", "reg_adr", "reg_val", "mode", "bit");
    zvgRegWriteLong(
        zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + hw::system_control::ddr_phy_select + 4 * channel,
        block);
    registers(phy_base(channel), phy_size);
  }

  int controller(unsigned channel) {
    fprintf(file_, "DDR %d,  CTL REGISTER DUMP\n", static_cast<int>(channel));
    return registers(controller_base(channel), controller_size);
  }

 private:
  FILE* file_;
  char buffer_[1 << 16];
};

}  // namespace

}  // namespace zvg::script::ddr

int zvgDDRReadReg(unsigned channel_mask) {
  using namespace zvg::script::ddr;
  FILE* const file = fopen(dump_file, "a");
  if (file == nullptr) {
    perror("file open err!\n");
    return -1;
  }
  Dump dump(file);
  int result = 0;
  for (unsigned channel = 0; channel < channels(); ++channel) {
    if (!selected(channel_mask, channel)) continue;
    dump.phy_block(channel, first_phy_block, /*heads=*/true);
    for (const uint32_t block : further_phy_blocks) dump.phy_block(channel, block, false);
    result = dump.controller(channel);
  }
  return result;
}
