// zvgctl pci: the board's PCI configuration space.
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

constexpr uint64_t last_offset = 0xFFF;
constexpr uint64_t conventional_size = 0x100;
constexpr uint64_t extended_size = 0x1000;

// The driver's request has a place for the card, but the library always leaves it at 0.
void check_pci(const Route& options) {
  require_driver(options, "PCI configuration space");
  if (options.card != 0) {
    fail("PCI configuration space can be reached for card 0 only, not for card %d", options.card);
  }
}

uint64_t read_pci(Connection&, uint64_t offset, unsigned) {
  uint32_t value = 0;
  const int result = zvgPciRead(static_cast<uint32_t>(offset), &value);
  if (result != 0) {
    fail("cannot read PCI offset %s: %s", hex(offset, 3).c_str(), reason(result, errno).c_str());
  }
  return value;
}

void write_pci(Connection&, uint64_t offset, unsigned, uint64_t value) {
  const int result = zvgPciWrite(static_cast<uint32_t>(offset), static_cast<uint32_t>(value));
  if (result != 0) {
    fail("cannot write PCI offset %s: %s", hex(offset, 3).c_str(), reason(result, errno).c_str());
  }
}

const Space configuration = {
    .name = "pci",
    .noun = "PCI offset",
    .argument = "OFFSET",
    .digits = 3,
    .last = last_offset,
    .fixed_width = 4,
    .aligned = true,
    .check = check_pci,
    .read = read_pci,
    .write = write_pci,
};

void dump_command(const Context& context, bool extended) {
  check_pci(parse_connection(context.connection));
  Connection connection(context);
  const uint64_t size = extended ? extended_size : conventional_size;
  const Span all = {.first = 0, .width = 4, .count = size / 4};
  print_span(configuration, context, all, read_span(configuration, connection, all));
}

}  // namespace

void add_pci(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "pci", "PCI configuration space of card 0, by offset (driver only)",
                 "Example:\n  zvgctl pci read 0          vendor and device");
  add_read_command(family, context, configuration,
                   "Examples:\n"
                   "  zvgctl pci read 0\n"
                   "  zvgctl pci read 0x10-0x24     the base address registers");
  add_write_command(family, context, configuration, "write PCI configuration space",
                    "Asks first; --yes answers.\n"
                    "Example:\n"
                    "  zvgctl pci write 0x04 0x00100007 --yes");
  auto extended = std::make_shared<bool>(false);
  CLI::App* const dump = family.add_subcommand("dump", "Read the whole configuration space");
  dump->add_flag("-x,--extended", *extended, "All 4096 bytes instead of the first 256");
  dump->footer("Example:\n  zvgctl pci dump");
  dump->callback([&context, extended] {
    context.action = [&context, extended] { dump_command(context, *extended); };
  });
}

}  // namespace zvgctl
