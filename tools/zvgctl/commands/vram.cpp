// zvgctl vram: the board's video memory.
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <span>
#include <vector>

#include "service/files/input_file.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/commands/vram_bulk.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/terminal/output_file.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

constexpr uint64_t word_size = 4;

const Space video_memory = {
    .name = "vram",
    .noun = "video memory offset",
    .argument = "ADDR",
    .digits = 7,
    .last = last_vram,
    .fixed_width = 0,
    .aligned = false,
    .check = [](const Route&) {},
    .read = [](Connection& connection, uint64_t address,
               unsigned width) { return connection.read_vram(address, width); },
    .write = [](Connection& connection, uint64_t address, unsigned width,
                uint64_t value) { connection.write_vram(address, width, value); },
};

struct BulkArguments {
  std::string file;
  std::string value;
  std::string offset = "0";
  std::string length;
  bool force = false;
};

struct Stretch {
  uint64_t offset;
  uint64_t length;
};

// The words of a stretch travel whole.
void check_stretch(const Stretch& stretch) {
  if (stretch.offset % word_size != 0) usage_error("--offset: expected a multiple of 4");
  if (stretch.length % word_size != 0) {
    usage_error("--length: a length of %" PRIu64 " bytes is no multiple of 4", stretch.length);
  }
  if (stretch.length == 0) usage_error("--length: a length of 0 leaves nothing to do");
  if (stretch.offset > last_vram || stretch.length - 1 > last_vram - stretch.offset) {
    fail("video memory from 0x%" PRIx64 " on, 0x%" PRIx64
         " bytes, is out of range: the last "
         "byte is at 0x%" PRIx64,
         stretch.offset, stretch.length, last_vram);
  }
}

Stretch parse_stretch(const BulkArguments& arguments) {
  const Stretch stretch = {parse_number("--offset", arguments.offset),
                           parse_number("--length", arguments.length)};
  check_stretch(stretch);
  return stretch;
}

void dump_command(const Context& context, const BulkArguments& arguments) {
  const Stretch stretch = parse_stretch(arguments);
  Connection connection(context);
  OutputFile file(arguments.file, arguments.force);
  read_vram_bulk(connection, stretch.offset, stretch.length, [&](std::span<const uint32_t> words) {
    file.write(words.data(), words.size_bytes());
  });
  file.commit();
  printf("%" PRIu64 " bytes of video memory from %s on are in %s\n", stretch.length,
         hex(stretch.offset, video_memory.digits).c_str(), output_name(arguments.file).c_str());
}

void load_command(const Context& context, const BulkArguments& arguments) {
  const std::string name = input_name(arguments.file);
  const std::vector<uint8_t> bytes =
      read_input(arguments.file, last_vram + 1, "what goes into video memory");
  Stretch stretch = {parse_number("--offset", arguments.offset), bytes.size()};
  if (!arguments.length.empty()) {
    stretch.length = parse_number("--length", arguments.length);
    if (stretch.length > bytes.size()) {
      fail("%s is too short: %zu bytes, not the %" PRIu64 " of --length", name.c_str(),
           bytes.size(), stretch.length);
    }
  } else if (bytes.empty() || bytes.size() % word_size != 0) {
    fail("%s has %zu bytes: expected a multiple of 4, and more than none (or --length)",
         name.c_str(), bytes.size());
  }
  check_stretch(stretch);
  Connection connection(context);
  confirm(format("overwrite %" PRIu64 " bytes of video memory from %s on", stretch.length,
                 hex(stretch.offset, video_memory.digits).c_str()),
          context.yes);
  const uint8_t* next = bytes.data();
  write_vram_bulk(connection, stretch.offset, stretch.length, [&](std::span<uint32_t> words) {
    memcpy(words.data(), next, words.size_bytes());
    next += words.size_bytes();
  });
  printf("%" PRIu64 " bytes of %s are in video memory from %s on\n", stretch.length, name.c_str(),
         hex(stretch.offset, video_memory.digits).c_str());
}

void fill_command(const Context& context, const BulkArguments& arguments) {
  const Stretch stretch = parse_stretch(arguments);
  const auto value = static_cast<uint32_t>(parse_number("VALUE", arguments.value, UINT32_MAX));
  Connection connection(context);
  confirm(format("overwrite %" PRIu64 " bytes of video memory from %s on", stretch.length,
                 hex(stretch.offset, video_memory.digits).c_str()),
          context.yes);
  fill_vram(connection, stretch.offset, stretch.length, value);
  printf("%" PRIu64 " bytes of video memory from %s on are filled with %s\n", stretch.length,
         hex(stretch.offset, video_memory.digits).c_str(), hex(value, 8).c_str());
}

void add_offset(CLI::App& command, BulkArguments& arguments) {
  command.add_option("--offset", arguments.offset, "First byte, a multiple of 4 (default 0)")
      ->type_name("BYTES");
  add_hidden_alias(command, "-o", arguments.offset);
}

CLI::Option* add_length(CLI::App& command, BulkArguments& arguments, const char* help) {
  return command.add_option("-l,--length", arguments.length, help)->type_name("BYTES");
}

void add_dump(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<BulkArguments>();
  CLI::App* const command = family.add_subcommand("dump", "Save video memory to a file");
  command
      ->add_option("FILE", arguments->file,
                   "Where to; written whole or not at all; - is standard output")
      ->required();
  add_offset(*command, *arguments);
  add_length(*command, *arguments, "How much, a multiple of 4")->required();
  command->add_flag("-f,--force", arguments->force, "Replace a file that exists");
  command->footer("Example:\n  zvgctl vram dump frame.bin --offset 0x100000 --length 0x7e9000");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { dump_command(context, *arguments); };
  });
}

void add_load(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<BulkArguments>();
  CLI::App* const command = family.add_subcommand("load", "Load a file into video memory");
  command->add_option("FILE", arguments->file, "Where from; - is standard input")->required();
  add_offset(*command, *arguments);
  add_length(*command, *arguments, "How much of the file (default all), a multiple of 4");
  command->footer(
      "Asks first; --yes answers.\n"
      "Example:\n"
      "  zvgctl vram load frame.bin --offset 0x100000 --yes");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { load_command(context, *arguments); };
  });
}

void add_fill(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<BulkArguments>();
  CLI::App* const command = family.add_subcommand("fill", "Fill video memory with a 32-bit value");
  command->add_option("VALUE", arguments->value, "What every word becomes")
      ->required()
      ->type_name("NUMBER");
  add_offset(*command, *arguments);
  add_length(*command, *arguments, "How much, a multiple of 4")->required();
  command->footer(
      "Asks first; --yes answers.\n"
      "Example:\n"
      "  zvgctl vram fill 0xff0000ff --offset 0x100000 --length 0x7e9000");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { fill_command(context, *arguments); };
  });
}

}  // namespace

void add_vram(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "vram", "Video memory, by byte offset",
                                "Examples:\n"
                                "  zvgctl vram read 0x100000 --count 16\n"
                                "  zvgctl vram dump frame.bin --length 0x100000");
  add_read_command(family, context, video_memory,
                   "Examples:\n"
                   "  zvgctl vram read 0x100000 --count 16\n"
                   "  zvgctl vram read 0x100000-0x1000ff --width 8");
  add_write_command(family, context, video_memory, nullptr,
                    "Example:\n"
                    "  zvgctl vram write 0x100000 0xff0000ff 0xff00ff00");
  add_dump(family, context);
  add_load(family, context);
  add_fill(family, context);
}

}  // namespace zvgctl
