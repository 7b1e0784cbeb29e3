// zvgctl kmem: memory of the running kernel.
#include <errno.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>

#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

void expect_done(int result, const char* deed, uint64_t address) {
  if (result != 0) {
    fail("cannot %s kernel memory at %s: %s", deed, hex(address, 16).c_str(),
         reason(result, errno).c_str());
  }
}

uint64_t read_kmem(Connection&, uint64_t address, unsigned width) {
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t long_word = 0;
  uint64_t quad = 0;
  switch (width) {
    case 1:
      expect_done(zvgKmemReadByte(address, &byte), "read", address);
      return byte;
    case 2:
      expect_done(zvgKmemReadWord(address, &word), "read", address);
      return word;
    case 4:
      expect_done(zvgKmemReadLong(address, &long_word), "read", address);
      return long_word;
    default:
      expect_done(zvgKmemReadQuad(address, &quad), "read", address);
      return quad;
  }
}

void write_kmem(Connection&, uint64_t address, unsigned width, uint64_t value) {
  int result = 0;
  switch (width) {
    case 1:
      result = zvgKmemWriteByte(address, static_cast<uint8_t>(value));
      break;
    case 2:
      result = zvgKmemWriteWord(address, static_cast<uint16_t>(value));
      break;
    case 4:
      result = zvgKmemWriteLong(address, static_cast<uint32_t>(value));
      break;
    default:
      result = zvgKmemWriteQuad(address, value);
      break;
  }
  expect_done(result, "write", address);
}

const Space kernel_memory = {
    .name = "kmem",
    .noun = "kernel address",
    .argument = "ADDR",
    .digits = 16,
    .last = UINT64_MAX,
    .fixed_width = 0,
    .aligned = false,
    .check = [](const Route& options) { require_driver(options, "kernel memory"); },
    .read = read_kmem,
    .write = write_kmem,
};

}  // namespace

void add_kmem(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "kmem", "Kernel memory, by virtual address (driver only)",
                 "Example:\n  zvgctl kmem read 0xffff888000001000 --width 64");
  add_read_command(family, context, kernel_memory,
                   "Examples:\n"
                   "  zvgctl kmem read 0xffff888000001000 --width 64\n"
                   "  zvgctl kmem read 0xffff888000001000 --count 64 --width 8");
  add_write_command(family, context, kernel_memory, "write the kernel's memory",
                    "Asks first; --yes answers.\n"
                    "Example:\n"
                    "  zvgctl kmem write 0xffff888000001000 1 --yes");
}

}  // namespace zvgctl
