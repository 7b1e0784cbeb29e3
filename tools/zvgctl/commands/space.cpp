#include "zvgctl/commands/space.h"

#include <inttypes.h>
#include <stdio.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

constexpr char default_width[] = "32";

// More would only be a typing error, and would not fit the memory either.
constexpr uint64_t largest_count = uint64_t{1} << 24;

struct SpaceArguments {
  std::string addresses;
  std::string width = default_width;
  std::string count;
  std::vector<std::string> values;
  bool verify = false;
};

void read_command(const Space& space, const Context& context, const SpaceArguments& arguments) {
  const Span span = parse_span(space, arguments.addresses, arguments.width, arguments.count);
  space.check(parse_connection(context.connection));
  Connection connection(context);
  print_span(space, context, span, read_span(space, connection, span));
}

void write_command(const Space& space, const Context& context, const SpaceArguments& arguments,
                   const char* question) {
  Span span = parse_span(space, arguments.addresses, arguments.width, "");
  span.count = arguments.values.size();
  check_span(space, span);
  std::vector<uint64_t> values;
  for (const std::string& text : arguments.values) {
    values.push_back(parse_number("VALUE", text, largest(span.width)));
  }
  space.check(parse_connection(context.connection));
  Connection connection(context);
  if (question != nullptr) {
    confirm(format("%s at %s", question, hex(span.first, space.digits).c_str()), context.yes);
  }
  for (uint64_t i = 0; i < span.count; ++i) {
    space.write(connection, span.first + i * span.width, span.width, values[i]);
  }
  if (arguments.verify) verify_written(space, connection, span, values, largest(span.width));
}

}  // namespace

void verify_written(const Space& space, Connection& connection, const Span& span,
                    const std::vector<uint64_t>& values, uint64_t mask) {
  const int digits = static_cast<int>(2 * span.width);
  for (uint64_t i = 0; i < values.size(); ++i) {
    const uint64_t address = span.first + i * span.width;
    const uint64_t found = space.read(connection, address, span.width);
    if ((found & mask) == (values[i] & mask)) continue;
    fail(
        "%s %s reads back as %s, and %s was written: the write was lost, or the %s does not keep "
        "all that is written",
        space.noun, hex(address, space.digits).c_str(), hex(found & mask, digits).c_str(),
        hex(values[i] & mask, digits).c_str(), space.noun);
  }
}

void add_verify_option(CLI::App& command, bool& verify) {
  command.add_flag("--verify", verify,
                   "Read back what was written and compare it. Without it nothing proves that a "
                   "write arrived; with it, a register that does not keep its bits fails");
}

void check_span(const Space& space, const Span& span) {
  const uint64_t size = span.count * span.width;
  if (span.first > space.last || size - 1 > space.last - span.first) {
    if (span.first > space.last || size == 1) {
      fail("%s 0x%" PRIx64 " is out of range: the last one is 0x%" PRIx64, space.noun, span.first,
           space.last);
    }
    fail("%s 0x%" PRIx64 " and 0x%" PRIx64
         " bytes from there on are out of range: the last one "
         "is 0x%" PRIx64,
         space.noun, span.first, size, space.last);
  }
  if (space.aligned && span.first % span.width != 0) {
    fail("%s 0x%" PRIx64 " is not aligned: %u bits need a multiple of %u", space.noun, span.first,
         8 * span.width, span.width);
  }
}

Span parse_span(const Space& space, const std::string& addresses, const std::string& width,
                const std::string& count) {
  const AddressRange range = parse_address_range(space.argument, addresses);
  Span span = {};
  span.width = space.fixed_width != 0 ? space.fixed_width : parse_width(width);
  span.first = range.first;
  span.count = 1;
  if (range.is_range) {
    if (!count.empty()) usage_error("give a range or --count, not both");
    if (range.last > space.last) {
      fail("%s 0x%" PRIx64 " is out of range: the last one is 0x%" PRIx64, space.noun, range.last,
           space.last);
    }
    span.count = (range.last - range.first) / span.width + 1;
    if (span.count > largest_count) {
      usage_error("%s is more than 0x%" PRIx64 " accesses", addresses.c_str(), largest_count);
    }
  } else if (!count.empty()) {
    span.count = parse_number("--count", count, largest_count);
    if (span.count == 0) usage_error("--count: expected at least 1");
  }
  check_span(space, span);
  return span;
}

std::vector<uint64_t> read_span(const Space& space, Connection& connection, const Span& span) {
  std::vector<uint64_t> values(span.count);
  for (uint64_t i = 0; i < span.count; ++i) {
    values[i] = space.read(connection, span.first + i * span.width, span.width);
  }
  return values;
}

void print_span(const Space& space, const Context& context, const Span& span,
                const std::vector<uint64_t>& values) {
  const int value_digits = static_cast<int>(2 * span.width);
  if (context.json) {
    Json texts = Json::array();
    for (const uint64_t value : values) texts.push_back(hex(value, value_digits));
    print_json({{"space", space.name},
                {"address", address_text(span.first)},
                {"width", 8 * span.width},
                {"values", texts}});
  } else if (values.size() == 1) {
    printf("%s: %s\n", hex(span.first, space.digits).c_str(), hex(values[0], value_digits).c_str());
  } else {
    print_hex_dump(span.first, space.digits, span.width, values);
  }
}

void add_width_option(CLI::App& command, std::string& width) {
  command.add_option("-w,--width", width, "Bits of an access: 8, 16, 32 or 64 (default 32)")
      ->type_name("BITS");
}

CLI::App* add_read_command(CLI::App& family, Context& context, const Space& space,
                           const char* examples) {
  auto arguments = std::make_shared<SpaceArguments>();
  CLI::App* const command = family.add_subcommand(
      "read", format("Read %s: one, a range, or a number of them", space.noun));
  command
      ->add_option(space.argument, arguments->addresses,
                   "First address, or a range with both ends included")
      ->required()
      ->type_name(format("ADDRESS[-LAST], up to %s", hex(space.last).c_str()));
  if (space.fixed_width == 0) add_width_option(*command, arguments->width);
  command->add_option("-n,--count", arguments->count, "How many, one after the other (default 1)")
      ->type_name("N");
  command->footer(examples);
  command->callback([&space, &context, arguments] {
    context.action = [&space, &context, arguments] { read_command(space, context, *arguments); };
  });
  return command;
}

CLI::App* add_write_command(CLI::App& family, Context& context, const Space& space,
                            const char* question, const char* examples) {
  auto arguments = std::make_shared<SpaceArguments>();
  CLI::App* const command = family.add_subcommand(
      "write", format("Write %s: one value, or several one after the other", space.noun));
  command->add_option(space.argument, arguments->addresses, "First address")
      ->required()
      ->type_name(format("ADDRESS, up to %s", hex(space.last).c_str()));
  command->add_option("VALUE", arguments->values, "What to write; must fit the width")
      ->required()
      ->type_name("NUMBER...");
  if (space.fixed_width == 0) add_width_option(*command, arguments->width);
  add_verify_option(*command, arguments->verify);
  command->footer(examples);
  command->callback([&space, &context, arguments, question] {
    context.action = [&space, &context, arguments, question] {
      if (arguments->addresses.find('-') != std::string::npos) {
        usage_error("%s: a write begins at one address; its values say how far it goes",
                    space.argument);
      }
      write_command(space, context, *arguments, question);
    };
  });
  return command;
}

CLI::App& add_family(CLI::App& application, const char* name, const char* description,
                     const char* examples) {
  CLI::App* const family = application.add_subcommand(name, description);
  family->require_subcommand(1);
  family->footer(examples);
  return *family;
}

}  // namespace zvgctl
