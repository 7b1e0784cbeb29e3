// zvgctl edid: what a monitor says about itself.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "formats/edid/base_block.h"
#include "service/display/ddc.h"
#include "service/display/dp_channel.h"
#include "service/display/hdmi_registers.h"
#include "service/edid/edid_image.h"
#include "service/files/memory_file.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/i2c.h"
#include "zvgctl/commands/mcu.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

// Whatever the EDID came from.
Json edid_document(const EdidImage& image) {
  Json document = zvg::document("edid");
  document.update(image.json());
  return document;
}

// A whole EDID takes seconds at the most; a bus that hangs is given up by the library in time.
constexpr unsigned edid_deadline = 90;

struct ReadArguments {
  std::string hdmi;
  std::string ddc;
  std::string mcu;
  std::string dp;
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

// Bytes that were fetched: printed and kept as the library does with its own.
EdidImage keep(std::vector<uint8_t> bytes) {
  if (bytes.empty() || bytes.size() % edid_block_size != 0) {
    fail("expected whole EDID blocks of %zu bytes, got %zu bytes", edid_block_size, bytes.size());
  }
  edid_print_helper(bytes.data(), static_cast<uint32_t>(bytes.size()), 1);
  return EdidImage(std::move(bytes));
}

// A byte over a transmitter's DDC bus: the library has a function for the first two blocks.
uint8_t read_byte(Connection& connection, uint32_t hdmi, uint32_t offset) {
  if (offset >= edid_report_size) return Ddc(connection, hdmi).read_behind_two_blocks(offset);
  uint8_t byte = 0;
  if (zvgHdmiDDCRead(hdmi, edid_slave, static_cast<int>(offset), &byte) != 0) {
    fail(
        "HDMI %u: the monitor's EDID could not be read over DDC: the monitor does not answer, or "
        "stopped in the middle, at offset 0x%x",
        hdmi, offset);
  }
  return byte;
}

// Over a transmitter's DDC bus: the base block, then as many blocks as it announces.
EdidImage read_hdmi(Connection& connection, uint32_t hdmi, bool blind) {
  if (!blind) expect_monitor(hdmi);
  if (zvgHdmiDDCInit(hdmi) != 0) fail("HDMI %u: cannot set up the DDC bus", hdmi);
  std::vector<uint8_t> bytes;
  const auto read_blocks = [&](size_t count) {
    while (bytes.size() < count * edid_block_size) {
      bytes.push_back(read_byte(connection, hdmi, static_cast<uint32_t>(bytes.size())));
    }
  };
  read_blocks(1);
  read_blocks(1u + zvg::formats::edid::parse_extension_count(bytes.data()));
  return keep(std::move(bytes));
}

// Over a DisplayPort AUX channel.
EdidImage read_dp(Connection& connection, uint32_t port, bool blind) {
  DpChannel channel(connection, port);
  if (!blind) channel.expect_sink();
  return keep(channel.edid());
}

// How to read the EDID, settled before a board is opened.
using Source = std::function<EdidImage(Connection&)>;
Source source_of(const Context& context, const ReadArguments& arguments) {
  if (!arguments.ddc.empty()) {
    const unsigned channel = parse_ddc_channel("--ddc", arguments.ddc);
    require_driver(parse_connection(context.connection), "the display data channel request");
    return [channel](Connection&) { return keep(read_ddc(channel)); };
  }
  if (!arguments.mcu.empty()) {
    const McuTarget target = parse_mcu_target("--mcu", arguments.mcu);
    return [target](Connection&) { return keep(read_mcu_edid(target)); };
  }
  if (!arguments.dp.empty()) {
    const auto port = static_cast<uint32_t>(parse_number("--dp", arguments.dp, last_dp));
    return [port, blind = arguments.blind](Connection& connection) {
      return read_dp(connection, port, blind);
    };
  }
  const auto hdmi = static_cast<uint32_t>(parse_number("--hdmi", arguments.hdmi, last_hdmi));
  return [hdmi, blind = arguments.blind](Connection& connection) {
    return read_hdmi(connection, hdmi, blind);
  };
}

// Answers over a serial line carry no checksum, and a bit may change in one.
void expect_the_same(const EdidImage& first, const Source& source, Connection& connection) {
  const QuietStdout quiet;
  if (source(connection).bytes() == first.bytes()) return;
  fail("two reads of the EDID over the serial line differ: the line changes bits");
}

void read_command(const Context& context, const ReadArguments& arguments) {
  const Source source = source_of(context, arguments);
  Connection connection(context, arguments.mcu.empty() ? edid_deadline : mcu_deadline);
  std::optional<OutputFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw, arguments.force);
  const EdidImage image = [&] {
    std::optional<QuietStdout> quiet;
    if (context.json) quiet.emplace();
    EdidImage first = source(connection);
    if (connection.door() == Door::serial) expect_the_same(first, source, connection);
    return first;
  }();
  if (raw) {
    raw->write(image.bytes().data(), image.bytes().size());
    raw->commit();
  }
  if (context.json) {
    print_json(edid_document(image));
  } else if (!arguments.no_report) {
    do_edid_parse(nullptr);
    say_what_is_shown(image);
  }
  // Over a serial line a damaged EDID is more likely a damaged transfer.
  judge(image, arguments.strict || connection.door() == Door::serial);
}

void show_command(const Context& context, const ShowArguments& arguments) {
  const EdidImage image = EdidImage::from_file(arguments.file);
  if (context.json) {
    print_json(edid_document(image));
  } else {
    MemoryFile copy;  // the file may be a pipe, which is read once
    copy.put(image.bytes().data(), image.bytes().size());
    do_edid_parse(copy.path());
    say_what_is_shown(image);
  }
  judge(image, arguments.strict);
}

void add_read(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<ReadArguments>();
  CLI::App* const command =
      family.add_subcommand("read", "Fetch a monitor's EDID and print its report");
  CLI::Option_group* const source = command->add_option_group("Source", "Exactly one of these:");
  source->add_option("--hdmi", arguments->hdmi, "HDMI transmitter, 0 to 3")->type_name("N");
  source->add_option("--dp", arguments->dp, "DisplayPort transmitter, 0 to 3")->type_name("N");
  source->add_option("--ddc", arguments->ddc, "Display data channel, 0 to 15 (driver only)")
      ->type_name("N");
  source
      ->add_option("--mcu", arguments->mcu, "The microcontroller's two bus selectors, 0 to 15 each")
      ->type_name("FIRST:SECOND");
  source->require_option(1);
  command
      ->add_option("--raw", arguments->raw,
                   "Save all its blocks to a file as well; - is standard output")
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
      "  zvgctl edid read --dp 1\n"
      "  zvgctl edid read --hdmi 0 --raw monitor.bin --no-report\n"
      "  zvgctl edid read --ddc 2\n"
      "  zvgctl edid read --mcu 0:1\n"
      "  zvgctl edid read --hdmi 1 --json | jq -r .manufacturer");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { read_command(context, *arguments); };
  });
}

void add_show(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<ShowArguments>();
  CLI::App* const command =
      family.add_subcommand("show", "Print the report of an EDID in a file; needs no board");
  command
      ->add_option("FILE", arguments->file,
                   "Raw EDID bytes: 1 to 256 blocks of 128; - is standard input")
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
