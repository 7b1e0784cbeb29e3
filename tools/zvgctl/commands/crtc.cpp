// zvgctl crtc: the legacy VGA CRTC registers.
#include <errno.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

constexpr uint64_t last_index = 254;

uint64_t read_crtc(Connection&, uint64_t index, unsigned) {
  uint8_t value = 0;
  const int result = zvgCrtcReadByte(static_cast<uint32_t>(index), &value);
  if (result != 0) {
    fail("cannot read CRTC index %s: %s", hex(index, 2).c_str(), reason(result, errno).c_str());
  }
  return value;
}

void write_crtc(Connection&, uint64_t index, unsigned, uint64_t value) {
  const int result = zvgCrtcWriteByte(static_cast<uint32_t>(index), static_cast<uint8_t>(value));
  if (result != 0) {
    fail("cannot write CRTC index %s: %s", hex(index, 2).c_str(), reason(result, errno).c_str());
  }
}

const Space crtc = {
    .name = "crtc",
    .noun = "CRTC index",
    .argument = "INDEX",
    .digits = 2,
    .last = last_index,
    .fixed_width = 1,
    .aligned = false,
    .check = [](const Route&) {},
    .read = read_crtc,
    .write = write_crtc,
};

void dump_command(const Context& context) {
  Connection connection(context);
  const Span all = {.first = 0, .width = 1, .count = last_index + 1};
  print_span(crtc, context, all, read_span(crtc, connection, all));
}

}  // namespace

void add_crtc(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "crtc", "Legacy VGA CRTC registers, by index",
                                "Example:\n  zvgctl crtc read 0x11");
  add_read_command(family, context, crtc,
                   "Examples:\n"
                   "  zvgctl crtc read 0x11\n"
                   "  zvgctl crtc read 0-0x18       the standard VGA registers");
  add_write_command(family, context, crtc, nullptr, "Example:\n  zvgctl crtc write 0x11 0x8e");
  CLI::App* const dump = family.add_subcommand("dump", "Read all CRTC registers");
  dump->footer("Example:\n  zvgctl crtc dump --json");
  dump->callback([&context] { context.action = [&context] { dump_command(context); }; });
}

}  // namespace zvgctl
