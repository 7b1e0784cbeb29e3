// zvgctl ioport: I/O ports, by number.
#include <errno.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>

#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

uint64_t read_port(Connection&, uint64_t port, unsigned) {
  uint8_t value = 0;
  const int result = zvgIoportRead(static_cast<uint8_t>(port), &value);
  if (result != 0) {
    fail("cannot read I/O port %s: %s", hex(port, 2).c_str(), reason(result, errno).c_str());
  }
  return value;
}

void write_port(Connection&, uint64_t port, unsigned, uint64_t value) {
  const int result = zvgIoportWrite(static_cast<uint8_t>(port), static_cast<uint8_t>(value));
  if (result != 0) {
    fail("cannot write I/O port %s: %s", hex(port, 2).c_str(), reason(result, errno).c_str());
  }
}

const Space ports = {
    .name = "ioport",
    .noun = "I/O port",
    .argument = "PORT",
    .digits = 2,
    .last = 0xFF,
    .fixed_width = 1,
    .aligned = false,
    .check = [](const Route& options) { require_driver(options, "I/O ports"); },
    .read = read_port,
    .write = write_port,
};

}  // namespace

void add_ioport(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "ioport", "I/O ports, by number (driver only)",
                                "Example:\n  zvgctl ioport read 0xcc");
  add_read_command(family, context, ports, "Example:\n  zvgctl ioport read 0xcc");
  add_write_command(family, context, ports, "write the host's I/O ports",
                    "Asks first; --yes answers.\n"
                    "Example:\n"
                    "  zvgctl ioport write 0xc2 0x03 --yes");
}

}  // namespace zvgctl
