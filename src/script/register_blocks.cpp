// Register blocks by letter: how each is addressed, which widths it takes and what it says.
#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "core/chip.h"
#include "script/line_results.h"
#include "script/reg_width.h"
#include "util_zvg.h"

namespace zvg::script {

namespace {

// What a handler was called for.
struct Access {
  uint64_t shown;    // the address that messages name
  uint64_t address;  // the one that is accessed
  uint32_t value;    // expected, or to write
  uint32_t mask;
  int width;  // bits
  unsigned channel;
};

// One message: its stream, and which numbers its conversions take, in this order.
struct Text {
  enum Numbers { address, address_value, channel_address, channel_address_value };
  bool to_error;
  Numbers numbers;
  const char* format;

  void print(const Access& a) const {
    FILE* const stream = to_error ? stderr : stdout;
    const unsigned long shown = a.shown;
    const auto channel = static_cast<int>(a.channel);
    switch (numbers) {
      case address:
        fprintf(stream, format, shown);
        break;
      case address_value:
        fprintf(stream, format, shown, a.value);
        break;
      case channel_address:
        fprintf(stream, format, channel, shown);
        break;
      case channel_address_value:
        fprintf(stream, format, channel, shown, a.value);
        break;
    }
  }
};

// What tells one block from another. A read or write returns 0, or not 0 when it failed or the
// block does not take the width, which it then has said.
struct Block {
  int (*read)(const Access& access, uint32_t* value);
  int (*write)(const Access& access);
  const char* mismatch;  // address, value read, expected value, mask
  Text match;            // names the expected value, which the register has in the masked bits
  Text check_failed;
  Text read_failed;
  Text written;
  Text write_failed;
};

constexpr bool out = false;
constexpr bool err = true;

int read_any(const Access& a, uint32_t* value) {
  return read_reg(a.address, a.width, value);
}

int write_any(const Access& a) {
  return write_reg(a.address, a.width, a.value);
}

int read_phy(const Access& a, uint32_t* value) {
  if (a.width != 16) return unsupported_width(a.width);
  uint16_t word = 0;
  const int result = zvgHdmiPhyRead(a.channel, static_cast<int>(a.address), &word);
  *value = word;
  return result;
}

int write_phy(const Access& a) {
  if (a.width != 16) return unsupported_width(a.width);
  return zvgHdmiPhyWrite(a.channel, static_cast<int>(a.address), static_cast<int>(a.value));
}

// An address with more bits than an index has is too large for one, whatever its low bits are.
uint32_t crtc_index(uint64_t address) {
  return static_cast<uint32_t>(std::min(address, uint64_t{UINT32_MAX}));
}

int read_crtc(const Access& a, uint32_t* value) {
  if (a.width != 8) return unsupported_width(a.width);
  uint8_t byte = 0;
  const int result = zvgCrtcReadByte(crtc_index(a.address), &byte);
  *value = byte;
  return result;
}

int write_crtc(const Access& a) {
  if (a.width != 8) return unsupported_width(a.width);
  return zvgCrtcWriteByte(crtc_index(a.address), static_cast<uint8_t>(a.value));
}

int read_long(const Access& a, uint32_t* value) {
  if (a.width != 32) return unsupported_width(a.width);
  return zvgRegReadLong(a.address, value);
}

int write_long(const Access& a) {
  if (a.width != 32) return unsupported_width(a.width);
  return zvgRegWriteLong(a.address, a.value);
}

constexpr char boxed_mismatch[] =
    "[%lx]: \033[31m[%08x]\033[0m, expected \033[34m[%08x]\033[0m (mask %X)\n";
constexpr Text boxed_match = {out, Text::address_value, "[%lx] : \033[34m[%08x]\033[0m.\n"};
constexpr Text read_reg_failed = {err, Text::address, "read reg [%lx] failed, exit script!\n"};
constexpr Text read_reg_0x_failed = {err, Text::address, "read reg [0x%lx] failed, exit script!\n"};
constexpr Text written_plain = {out, Text::address_value, "write [%lx] with %x success!\n"};
constexpr Text write_reg_failed = {err, Text::address_value,
                                   "write reg [%lx] %x failed, exit script!\n"};
constexpr Text write_failed_plain = {err, Text::address, "write [%lx] failed, exit script!\n"};

constexpr Block hdmi = {
    .read = read_any,
    .write = write_any,
    .mismatch = boxed_mismatch,
    .match = boxed_match,
    .check_failed = read_reg_failed,
    .read_failed = {err, Text::address, "read [%lx] failed, exit script!\n"},
    .written = written_plain,
    .write_failed = write_reg_failed,
};

constexpr Block mmio = {
    .read = read_any,
    .write = write_any,
    .mismatch = "[0x%lx] :\033[31m%x\033[0m, expected \033[34m%x\033[0m (mask %X)\n",
    .match = {out, Text::address_value, "[0x%lx]:\033[34m[%08x]\033[0m.\n"},
    .check_failed = read_reg_0x_failed,
    .read_failed = {out, Text::address, "read [0x%lx] failed, exit script!\n"},
    .written = written_plain,
    .write_failed = write_failed_plain,
};

constexpr Block hdmi_phy = {
    .read = read_phy,
    .write = write_phy,
    .mismatch = boxed_mismatch,
    .match = boxed_match,
    .check_failed = {err, Text::channel_address, "HDMI%d: phy read [%lx] error\n"},
    .read_failed = {out, Text::channel_address, "HDMI%d: phy read [%lx] error\n"},
    .written = {out, Text::channel_address_value, "hdmi %d: phy write [%lx] with %04x success!\n"},
    .write_failed = {out, Text::channel_address_value,
                     "hdmi %d: phy write [%lx] with %04x error\n"},
};

constexpr Block vga = {
    .read = read_crtc,
    .write = write_crtc,
    .mismatch = "[0x%lx]:\033[31m%x\033[0m, expected \033[34m%x\033[0m (mask %X)\n",
    .match = {out, Text::address_value, "[0x%lx] : \033[34m[%08x]\033[0m.\n"},
    .check_failed = read_reg_0x_failed,
    .read_failed = {err, Text::address, "read [0x%lx] failed, exit script!\n"},
    .written = written_plain,
    .write_failed = write_failed_plain,
};

constexpr Block dp = {
    .read = read_long,
    .write = write_long,
    .mismatch = boxed_mismatch,
    .match = boxed_match,
    .check_failed = read_reg_failed,
    .read_failed = {out, Text::channel_address, "dp %d read [0x%lx] failed, exit script!\n"},
    .written = written_plain,
    .write_failed = write_reg_failed,
};

constexpr int failed = -1;
constexpr uint32_t failed_value = 0xFFFFFFFF;

int check(const Block& block, const Access& a) {
  uint32_t value = 0;
  if (block.read(a, &value) != 0) {
    block.check_failed.print(a);
    return failed;
  }
  const bool good = ((value ^ a.value) & a.mask) == 0;
  tell_read(value);
  tell_verdict(good ? Verdict::passed : Verdict::mismatch);
  if (!good) {
    printf(block.mismatch, static_cast<unsigned long>(a.shown), value, a.value, a.mask);
  } else {
    block.match.print(a);
  }
  return 0;
}

uint32_t read(const Block& block, const Access& a) {
  uint32_t value = 0;
  if (block.read(a, &value) != 0) {
    block.read_failed.print(a);
    return failed_value;
  }
  tell_read(value);
  tell_verdict(Verdict::done);
  return value;
}

int write(const Block& block, const Access& a) {
  if (block.write(a) != 0) {
    block.write_failed.print(a);
    return failed;
  }
  tell_verdict(Verdict::done);
  block.written.print(a);
  return 0;
}

// Where an HDMI controller has a register that the file gives by its place in the block.
uint64_t hdmi_address(uint64_t address, unsigned channel) {
  return address + core::chip().hdmi_transmitters.base(channel);
}

// The files give DP registers from 0x10000 on.
uint64_t dp_address(uint64_t address, unsigned channel) {
  uint32_t base = 0;
  if (const hw::Chip* chip = core::known_chip()) base = chip->dp_windows.base(channel);
  return address - 0x10000 + base;
}

bool no_such_crtc(unsigned channel) {
  if (channel == 0) return false;
  printf("crtc channel [%d] is err!\n", static_cast<int>(channel));
  return true;
}

constexpr uint64_t key(char operation, char block) {
  return static_cast<uint64_t>(operation) | static_cast<uint64_t>(block) << 8;
}

}  // namespace

}  // namespace zvg::script

using namespace zvg::script;

#define ZVG_HANDLER_ARGUMENTS                                         \
  [[maybe_unused]] uint64_t address, [[maybe_unused]] uint32_t value, \
      [[maybe_unused]] uint32_t mask, int width, [[maybe_unused]] unsigned channel

int zvgHdmiCheckReg(ZVG_HANDLER_ARGUMENTS) {
  return check(hdmi, {address, hdmi_address(address, channel), value, mask, width, channel});
}
uint32_t zvgHdmiReadReg(ZVG_HANDLER_ARGUMENTS) {
  return read(hdmi, {address, hdmi_address(address, channel), value, mask, width, channel});
}
int zvgHdmiWriteReg(ZVG_HANDLER_ARGUMENTS) {
  return write(hdmi, {address, hdmi_address(address, channel), value, mask, width, channel});
}

int zvgMmioCheckReg(ZVG_HANDLER_ARGUMENTS) {
  return check(mmio, {address, address, value, mask, width, channel});
}
uint32_t zvgMmioReadReg(ZVG_HANDLER_ARGUMENTS) {
  return read(mmio, {address, address, value, mask, width, channel});
}
int zvgMmioWriteReg(ZVG_HANDLER_ARGUMENTS) {
  return write(mmio, {address, address, value, mask, width, channel});
}

int zvgHdmiPhyCheckReg(ZVG_HANDLER_ARGUMENTS) {
  return check(hdmi_phy, {address, address, value, mask, width, channel});
}
uint32_t zvgHdmiPhyReadReg(ZVG_HANDLER_ARGUMENTS) {
  return read(hdmi_phy, {address, address, value, mask, width, channel});
}
int zvgHdmiPhyWriteReg(ZVG_HANDLER_ARGUMENTS) {
  return write(hdmi_phy, {address, address, value, mask, width, channel});
}

// The check takes any channel; reading and writing know only the one CRTC.
int zvgVgaCheckReg(ZVG_HANDLER_ARGUMENTS) {
  return check(vga, {address, address, value, mask, width, channel});
}
uint32_t zvgVgaReadReg(ZVG_HANDLER_ARGUMENTS) {
  if (no_such_crtc(channel)) return failed_value;
  return read(vga, {address, address, value, mask, width, channel});
}
int zvgVgaWriteReg(ZVG_HANDLER_ARGUMENTS) {
  if (no_such_crtc(channel)) return failed;
  return write(vga, {address, address, value, mask, width, channel});
}

// DP messages name the register, not the address in the file.
int zvgDpCheckReg(ZVG_HANDLER_ARGUMENTS) {
  const uint64_t reg = dp_address(address, channel);
  return check(dp, {reg, reg, value, mask, width, channel});
}
uint32_t zvgDpReadReg(ZVG_HANDLER_ARGUMENTS) {
  const uint64_t reg = dp_address(address, channel);
  return read(dp, {reg, reg, value, mask, width, channel});
}
int zvgDpWriteReg(ZVG_HANDLER_ARGUMENTS) {
  const uint64_t reg = dp_address(address, channel);
  return write(dp, {reg, reg, value, mask, width, channel});
}

const zvg_reg_dev reg_dev[ZVG_REG_DEV_ROWS] = {
    {key('R', 'H'), zvgHdmiCheckReg, zvgHdmiReadReg},
    {key('R', 'V'), zvgVgaCheckReg, zvgVgaReadReg},
    {key('R', 'M'), zvgMmioCheckReg, zvgMmioReadReg},
    {key('R', 'P'), zvgHdmiPhyCheckReg, zvgHdmiPhyReadReg},
    {key('R', 'D'), zvgDpCheckReg, zvgDpReadReg},
    {key('W', 'H'), zvgHdmiWriteReg, nullptr},
    {key('W', 'V'), zvgVgaWriteReg, nullptr},
    {key('W', 'M'), zvgMmioWriteReg, nullptr},
    {key('W', 'P'), zvgHdmiPhyWriteReg, nullptr},
    {key('W', 'D'), zvgDpWriteReg, nullptr},
};
static_assert(sizeof(zvg_reg_dev) == 24);
