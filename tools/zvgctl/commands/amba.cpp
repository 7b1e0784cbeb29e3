// zvgctl amba: the chip's on-chip bus.
#include <errno.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

constexpr uint64_t last_bus_address = 0xFFFFFFFFFF;

void check_amba(const Route& options) {
  require_generation(options, "the bridge to the on-chip bus");
}

// The bridge gives no more than a timeout, whatever went wrong.
void expect_answer(int result, const char* deed, uint64_t address) {
  if (result != 0) {
    fail(
        "cannot %s the on-chip bus at %s: the bridge did not get an answer in time; is there "
        "anything at that address, and is it the right chip?",
        deed, hex(address, 10).c_str());
  }
}

uint64_t read_amba(Connection&, uint64_t address, unsigned width) {
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t long_word = 0;
  uint64_t quad = 0;
  switch (width) {
    case 1:
      expect_answer(zvgAmbaReadByte(address, &byte), "read", address);
      return byte;
    case 2:
      expect_answer(zvgAmbaReadWord(address, &word), "read", address);
      return word;
    case 4:
      expect_answer(zvgAmbaReadLong(address, &long_word), "read", address);
      return long_word;
    default:
      expect_answer(zvgAmbaReadQuad(address, &quad), "read", address);
      return quad;
  }
}

void write_amba(Connection&, uint64_t address, unsigned width, uint64_t value) {
  int result = 0;
  switch (width) {
    case 1:
      result = zvgAmbaWriteByte(address, static_cast<uint8_t>(value));
      break;
    case 2:
      result = zvgAmbaWriteWord(address, static_cast<uint16_t>(value));
      break;
    case 4:
      result = zvgAmbaWriteLong(address, static_cast<uint32_t>(value));
      break;
    default:
      result = zvgAmbaWriteQuad(address, value);
      break;
  }
  expect_answer(result, "write", address);
}

const Space bus = {
    .name = "amba",
    .noun = "bus address",
    .argument = "ADDR",
    .digits = 10,
    .last = last_bus_address,
    .fixed_width = 0,
    .aligned = true,  // the bridge picks byte lanes and drops the bits below the width
    .check = check_amba,
    .read = read_amba,
    .write = write_amba,
};

struct MaskArguments {
  std::string address;
  std::string mask;
  std::string value;
};

void mask_command(const Context& context, const MaskArguments& arguments) {
  if (arguments.address.find('-') != std::string::npos) {
    usage_error("ADDR: a masked write takes one address");
  }
  const Span span = parse_span(bus, arguments.address, "8", "");
  const auto mask = static_cast<uint8_t>(parse_number("MASK", arguments.mask, 0xFF));
  const auto value = static_cast<uint8_t>(parse_number("VALUE", arguments.value, 0xFF));
  check_amba(parse_connection(context.connection));
  Connection connection(context);
  expect_answer(zvgAmbaMskWriteByte(span.first, mask, value), "change", span.first);
}

void add_mask(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<MaskArguments>();
  CLI::App* const command = family.add_subcommand(
      "mask", "Change some bits of a byte on the bus: those of MASK become those of VALUE");
  command->add_option("ADDR", arguments->address, "Bus address")
      ->required()
      ->type_name("ADDRESS, up to 0xffffffffff");
  command->add_option("MASK", arguments->mask, "The bits to change")->required()->type_name("BYTE");
  command->add_option("VALUE", arguments->value, "Their new state")->required()->type_name("BYTE");
  command->footer("Example:\n  zvgctl amba mask 0x1113000 0x38 0x30");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { mask_command(context, *arguments); };
  });
}

}  // namespace

void add_amba(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "amba", "The chip's on-chip bus, through its bridge",
                 "Registers lie at 0x1000000 + offset, video memory at 0x8000000000 + offset.\n"
                 "Example:\n"
                 "  zvgctl amba read 0x1308000");
  add_read_command(
      family, context, bus,
      "Examples:\n"
      "  zvgctl amba read 0x1308000                    register 0x308000 by the bus\n"
      "  zvgctl amba read 0x8000000000 --count 16      the first words of video memory\n"
      "  zvgctl amba read 0x1308000 --mem 0xE0000000:0x1000000 --generation rq302");
  add_write_command(family, context, bus, nullptr,
                    "Example:\n"
                    "  zvgctl amba write 0x8000000010 0x12345678");
  add_mask(family, context);
}

}  // namespace zvgctl
