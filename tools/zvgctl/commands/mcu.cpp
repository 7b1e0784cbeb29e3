// zvgctl mcu: the chip's microcontroller.
#include "zvgctl/commands/mcu.h"

#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "service/number.h"
#include "service/seam/library_messages.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

constexpr unsigned last_selector = 15;
constexpr uint64_t alive_register = 0x3FF00;
constexpr uint64_t alive_signature = 0xDEADBEEF;

struct EdidArguments {
  std::string selectors;
  std::string raw;
  bool force = false;
};

void edid_command(const Context& context, const EdidArguments& arguments) {
  const McuTarget target = parse_mcu_target("SELECTORS", arguments.selectors);
  Connection connection(context, mcu_deadline);
  std::optional<OutputFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw, arguments.force);
  const std::vector<uint8_t> bytes = read_mcu_edid(target);
  if (raw) {
    raw->write(bytes.data(), bytes.size());
    raw->commit();
  }
  if (context.json) {
    print_json({{"first", target.first}, {"second", target.second}, {"bytes", bytes_text(bytes)}});
  } else {
    print_hex_dump(0, 3, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
  }
}

void reset_command(const Context& context) {
  constexpr int read_edid = 1;
  constexpr uint32_t edid_slave = 0x50;
  Connection connection(context, mcu_deadline);
  const bool ran = connection.read_register(alive_register, 4) == alive_signature;
  if (!ran) {
    confirm("restart the microcontroller", context.yes);
    ResetMcu(read_edid, edid_slave, 0, 0, 0);
    if (connection.read_register(alive_register, 4) != alive_signature) {
      fail("the microcontroller does not start: its firmware may be missing or broken");
    }
  }
  if (context.json) {
    print_json({{"ran", ran}, {"restarted", !ran}});
  } else {
    puts(ran ? "the microcontroller runs; nothing to do" : "the microcontroller was restarted");
  }
}

}  // namespace

McuTarget parse_mcu_target(const char* name, const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) {
    usage_error("%s: expected FIRST:SECOND, each 0 to 15, as 0:1; found '%s'", name, text.c_str());
  }
  return {static_cast<int>(parse_number(name, text.substr(0, colon), last_selector)),
          static_cast<int>(parse_number(name, text.substr(colon + 1), last_selector))};
}

std::vector<uint8_t> read_mcu_edid(const McuTarget& target) {
  constexpr size_t block = 128, most_blocks = 256, fetched_blocks = 2;
  std::vector<uint8_t> bytes(block * most_blocks);
  uint32_t length = 0;
  {
    const StdoutOnStderr remarks;
    const MessageTap failures({"read edid failed", "new is error"}, {}, zvg::seam::Stream::out);
    mcu_i2c_get_edid(target.first, target.second, bytes.data(), &length);
    fflush(stdout);
    if (failures.count() != 0) {
      fail("MCU %d:%d: the microcontroller could not read the EDID: no monitor answers there",
           target.first, target.second);
    }
  }
  if (length > fetched_blocks * block) {
    warn("the EDID has %u blocks, of which the microcontroller fetches two", length / 128);
  }
  bytes.resize(std::min<size_t>(length, fetched_blocks * block));
  return bytes;
}

void add_mcu(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "mcu", "The chip's microcontroller",
                                "Examples:\n"
                                "  zvgctl mcu edid 0:1\n"
                                "  zvgctl mcu reset");
  auto arguments = std::make_shared<EdidArguments>();
  CLI::App* const edid =
      family.add_subcommand("edid", "Have the microcontroller read a monitor's EDID");
  edid->add_option("SELECTORS", arguments->selectors,
                   "Which monitor: the two selectors of its bus, FIRST:SECOND, each 0 to 15")
      ->required();
  edid->add_option("--raw", arguments->raw, "Save the bytes to a file as well")->type_name("FILE");
  edid->add_flag("-f,--force", arguments->force, "Replace the file of --raw if it exists");
  edid->footer(
      "Prints the bytes, two blocks at the most; zvgctl edid read --mcu F:S decodes them.\n"
      "Starts the microcontroller if it does not run.\n"
      "Example:\n"
      "  zvgctl mcu edid 0:1 --raw monitor.bin");
  edid->callback([&context, arguments] {
    context.action = [&context, arguments] { edid_command(context, *arguments); };
  });
  CLI::App* const reset =
      family.add_subcommand("reset", "Start the microcontroller if it does not run");
  reset->footer(
      "Asks first; --yes answers.\n"
      "Example:\n"
      "  zvgctl mcu reset --yes");
  reset->callback([&context] { context.action = [&context] { reset_command(context); }; });
}

}  // namespace zvgctl
