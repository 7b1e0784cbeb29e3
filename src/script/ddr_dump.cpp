// The dump of all the registers of DDR channels into a text file.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "script/ddr_registers.h"
#include "util_zvg.h"

namespace zvg::script::ddr {

namespace {

constexpr char dump_file[] = "DDR_Dump_Reg.txt";

// The block of a PHY that its range shows is selected in the system control block, a register a
// channel.
constexpr uint32_t phy_select_offset = 0x110;

// Block 5 is dumped first and alone carries the column heads.
constexpr uint32_t first_phy_block = 5;
constexpr uint32_t further_phy_blocks[] = {0, 1, 2, 4, 7, 9, 0xC, 0xD};

// Eight digits. A dump has over half a million lines a channel: printf would take longer than the
// board does to answer.
void put_hex(char* at, uint32_t value) {
  static constexpr char digits[] = "0123456789abcdef";
  for (int i = 7; i >= 0; --i) {
    at[i] = digits[value & 0xF];
    value >>= 4;
  }
}

// The file and its output buffer.
class Dump {
 public:
  explicit Dump(FILE* file) : file_(file) { setvbuf(file_, buffer_, _IOFBF, sizeof buffer_); }
  Dump(const Dump&) = delete;
  Dump& operator=(const Dump&) = delete;
  ~Dump() { fclose(file_); }

  FILE* file() { return file_; }

  // Dumps the registers of a range; the first that cannot be read ends it. Returns the last
  // read's result.
  int registers(uint32_t base, uint32_t size) {
    char line[] = "0x########     ########        R        FFFFFFFF\n";
    constexpr size_t address_at = 2;
    constexpr size_t value_at = 15;
    for (uint32_t offset = 0; offset < size; offset += 4) {
      uint32_t value = 0;
      const int result = zvgRegReadLong(base + offset, &value);
      if (result != 0) {
        fprintf(stderr, "%s: read from [0x%x] failed\n", "zvgDDRReadReg", base + offset);
        return result;
      }
      put_hex(line + address_at, base + offset);
      put_hex(line + value_at, value);
      fwrite_unlocked(line, 1, sizeof line - 1, file_);
    }
    return 0;
  }

  void phy_block(unsigned channel, uint32_t block, bool heads) {
    fprintf(file_, "DDR %d, BLOCK %x, PHY REGISTER DUMP\n", static_cast<int>(channel), block);
    if (heads) fprintf(file_, "%-16s %-16s %-8s %s\n", "reg_adr", "reg_val", "mode", "bit");
    zvgRegWriteLong(zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + phy_select_offset + 4 * channel,
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
