// zvgctl edid: what a monitor says about itself.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "zvgctl/atomic_file.h"
#include "zvgctl/connection.h"
#include "zvgctl/ddc.h"
#include "zvgctl/edid_image.h"
#include "zvgctl/errors.h"
#include "zvgctl/families.h"
#include "zvgctl/hdmi_registers.h"
#include "zvgctl/number.h"
#include "zvgctl/output.h"
#include "zvgctl/space.h"

namespace zvgctl {

namespace {

// A whole EDID takes seconds at the most; a bus that hangs is given up by the library in time.
constexpr unsigned edid_deadline = 90;

struct ReadArguments {
  std::string hdmi;
  std::string raw;
  bool force = false;
  bool blind = false;
  bool no_report = false;
  bool strict = false;
};

struct ShowArguments {
  std::string file;
  bool strict = false;
};

// Says what is wrong with an EDID; with strict, that ends the command.
void judge(const EdidImage& image, bool strict) {
  if (image.valid()) return;
  if (strict) fail("the EDID is damaged: %s", image.faults().c_str());
  warn("the EDID is damaged: %s", image.faults().c_str());
}

void say_what_is_shown(const EdidImage& image) {
  if (image.bytes().size() <= edid_report_size) return;
  warn("the report covers the first %zu of %zu bytes", edid_report_size, image.bytes().size());
}

void expect_monitor(uint32_t hdmi) {
  uint8_t plugged = 0;
  if (zvgHdmiHpdSense(hdmi, &plugged) != 0) fail("HDMI %u: cannot read the PHY's status", hdmi);
  if (plugged == 0) {
    fail(
        "HDMI %u: no monitor is plugged in, or it is off (zvgctl hdmi status shows all ports; "
        "--blind reads all the same)",
        hdmi);
  }
}

// The library prints the bytes as it fetches them and keeps the first two blocks.
void fetch(uint32_t hdmi) {
  if (zvgHdmiDDCInit(hdmi) != 0) fail("HDMI %u: cannot set up the DDC bus", hdmi);
  if (zvgHdmiEDIDRead(hdmi) != 0) {
    fail(
        "HDMI %u: the monitor's EDID could not be read over DDC: the monitor does not answer, or "
        "stopped in the middle",
        hdmi);
  }
}

// What the library kept of the EDID, and the rest straight from the monitor.
EdidImage whole_edid(Connection& connection, uint32_t hdmi) {
  constexpr size_t extensions_offset = 0x7E;
  const size_t size = (size_t{g_last_edid[extensions_offset]} + 1) * edid_block_size;
  std::vector<uint8_t> bytes(g_last_edid, g_last_edid + std::min(size, edid_report_size));
  Ddc ddc(connection, hdmi);
  while (bytes.size() < size) bytes.push_back(ddc.read_edid(static_cast<uint32_t>(bytes.size())));
  return EdidImage(std::move(bytes));
}

void read_command(const Context& context, const ReadArguments& arguments) {
  const auto hdmi = static_cast<uint32_t>(parse_number("--hdmi", arguments.hdmi, last_hdmi));
  Connection connection(context, edid_deadline);
  std::optional<AtomicFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw, arguments.force);
  if (!arguments.blind) expect_monitor(hdmi);
  {
    std::optional<QuietStdout> quiet;
    if (context.json) quiet.emplace();
    fetch(hdmi);
  }
  const EdidImage image = whole_edid(connection, hdmi);
  if (raw) {
    raw->write(image.bytes().data(), image.bytes().size());
    raw->commit();
  }
  if (context.json) {
    print_json(image.json());
  } else if (!arguments.no_report) {
    do_edid_parse(nullptr);
    say_what_is_shown(image);
  }
  // Over a serial line a damaged EDID is more likely a damaged transfer.
  judge(image, arguments.strict || connection.serial() != nullptr);
}

void show_command(const Context& context, const ShowArguments& arguments) {
  const EdidImage image = EdidImage::from_file(arguments.file);
  if (context.json) {
    print_json(image.json());
  } else {
    do_edid_parse(arguments.file.c_str());
    say_what_is_shown(image);
  }
  judge(image, arguments.strict);
}

void add_read(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<ReadArguments>();
  CLI::App* const command =
      family.add_subcommand("read", "Fetch a monitor's EDID over HDMI and print its report");
  command->add_option("--hdmi", arguments->hdmi, "HDMI transmitter, 0 to 3")
      ->required()
      ->type_name("N");
  command->add_option("--raw", arguments->raw, "Save all its blocks to a file as well")
      ->type_name("FILE");
  command->add_flag("-f,--force", arguments->force, "Replace the file of --raw if it exists");
  command->add_flag("--blind", arguments->blind, "Read even if no monitor seems to be plugged in");
  command->add_flag("--no-report", arguments->no_report, "Print the bytes only");
  command->add_flag("--strict", arguments->strict,
                    "Fail on a wrong header, checksum or block count (always over --serial)");
  command->footer(
      "The report covers the first two blocks.\n"
      "Examples:\n"
      "  zvgctl edid read --hdmi 0\n"
      "  zvgctl edid read --hdmi 0 --raw monitor.bin --no-report\n"
      "  zvgctl edid read --hdmi 1 --json | jq -r .manufacturer");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { read_command(context, *arguments); };
  });
}

void add_show(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<ShowArguments>();
  CLI::App* const command =
      family.add_subcommand("show", "Print the report of an EDID in a file; needs no board");
  command->add_option("FILE", arguments->file, "Raw EDID bytes: 1 to 256 blocks of 128")
      ->required();
  command->add_flag("--strict", arguments->strict,
                    "Fail on a wrong header, checksum or block count");
  command->footer(
      "Examples:\n"
      "  zvgctl edid show monitor.bin\n"
      "  zvgctl edid show /sys/class/drm/card0-HDMI-A-1/edid --json");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { show_command(context, *arguments); };
  });
}

}  // namespace

void add_edid(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "edid", "A monitor's identification data",
                                "Examples:\n"
                                "  zvgctl edid read --hdmi 0\n"
                                "  zvgctl edid show monitor.bin");
  add_read(family, context);
  add_show(family, context);
}

}  // namespace zvgctl
