// zvgctl hdmi: the HDMI transmitters.
#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/display/ddc.h"
#include "service/display/hdmi_registers.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

// The library itself gives a PHY that hangs up after 66 seconds.
constexpr unsigned hdmi_deadline = 90;
constexpr int controller_error = -19;
constexpr int controller_timeout = -2;

uint32_t parse_port(const std::string& text) {
  return static_cast<uint32_t>(parse_number("N", text, last_hdmi));
}

void expect_done(uint32_t hdmi, int result, const std::string& deed) {
  if (result == 0) return;
  const int error = errno;
  const std::string why = result == controller_error     ? "the controller reports an error"
                          : result == controller_timeout ? "the controller did not finish in time"
                                                         : reason(result, error);
  fail("HDMI %u: cannot %s: %s", hdmi, deed.c_str(), why.c_str());
}

// status

struct PortStatus {
  uint32_t port;
  bool plugged;
  unsigned receivers;
  bool locked;
  bool pixel_clock;
  bool tmds_clock;
};

PortStatus read_status(Connection& connection, uint32_t port) {
  uint8_t plugged = 0;
  expect_done(port, zvgHdmiHpdSense(port, &plugged), "read the PHY's status");
  const uint64_t phy = connection.read_register(hdmi_base(port) + phy_status, 1);
  const uint64_t clocks = connection.read_register(hdmi_base(port) + clock_status, 1);
  return {
      .port = port,
      .plugged = plugged != 0,
      .receivers = static_cast<unsigned>((phy & phy_receiver_sense) >> phy_receiver_sense_shift),
      .locked = (phy & phy_pll_locked) != 0,
      .pixel_clock = (clocks & pixel_clock_on) != 0,
      .tmds_clock = (clocks & tmds_clock_on) != 0};
}

void status_command(const Context& context, const std::string& port) {
  const uint32_t first = port.empty() ? 0 : parse_port(port);
  const uint32_t last = port.empty() ? last_hdmi : first;
  Connection connection(context, hdmi_deadline);
  Table table({"HDMI", "monitor", "receivers", "PLL", "pixel clock", "TMDS clock"});
  Json document = Json::array();
  for (uint32_t n = first; n <= last; ++n) {
    const PortStatus status = read_status(connection, n);
    table.row({std::to_string(n), yes_no(status.plugged), hex(status.receivers),
               status.locked ? "locked" : "not locked", status.pixel_clock ? "on" : "off",
               status.tmds_clock ? "on" : "off"});
    document.push_back({{"hdmi", n},
                        {"hot_plug", status.plugged},
                        {"receiver_sense", status.receivers},
                        {"pll_locked", status.locked},
                        {"pixel_clock", status.pixel_clock},
                        {"tmds_clock", status.tmds_clock}});
  }
  if (context.json) {
    print_json("ports", document);
  } else {
    table.print();
  }
}

void add_status(CLI::App& family, Context& context) {
  auto port = std::make_shared<std::string>();
  CLI::App* const command =
      family.add_subcommand("status", "Show monitors, PLL lock and clocks of all ports or one");
  command->add_option("N", *port, "HDMI transmitter, 0 to 3 (default all)")->type_name("N");
  add_csv_option(*command, context);
  command->footer(
      "\"monitor\" is yes when hot-plug is high and a receiver is sensed; \"receivers\" has a bit "
      "for\neach of the four lanes.\n"
      "Examples:\n"
      "  zvgctl hdmi status\n"
      "  zvgctl hdmi status 0 --json");
  command->callback(
      [&context, port] { context.action = [&context, port] { status_command(context, *port); }; });
}

// mode

void print_mode_head(uint32_t hdmi, const uint32_t* mode) {
  printf("HDMI %u: %ux%u\n", hdmi, mode[ZVG_MODE_H_ACTIVE], mode[ZVG_MODE_V_ACTIVE]);
  // Its unit is not known, so there is no refresh rate to work out from it.
  printf("pixel-clock word: %u (%s)\n", mode[ZVG_MODE_PIXEL_CLOCK],
         hex(mode[ZVG_MODE_PIXEL_CLOCK], 6).c_str());
}

void mode_command(const Context& context, const std::string& port) {
  const uint32_t hdmi = parse_port(port);
  Connection connection(context, hdmi_deadline);
  // The readback takes failed reads for zeros, so whether it can read at all is asked before.
  connection.read_register(hdmi_base(hdmi) + phy_status, 1);
  uint32_t mode[ZVG_MODE_WORDS] = {};
  zvgHdmiModeRead(hdmi, mode);
  if (context.json) {
    print_json({{"hdmi", hdmi},
                {"pixel_clock_word", mode[ZVG_MODE_PIXEL_CLOCK]},
                {"horizontal",
                 {{"active", mode[ZVG_MODE_H_ACTIVE]},
                  {"sync_start", mode[ZVG_MODE_H_SYNC_START]},
                  {"sync_end", mode[ZVG_MODE_H_SYNC_END]},
                  {"total", mode[ZVG_MODE_H_TOTAL]}}},
                {"vertical",
                 {{"active", mode[ZVG_MODE_V_ACTIVE]},
                  {"sync_start", mode[ZVG_MODE_V_SYNC_START]},
                  {"sync_end", mode[ZVG_MODE_V_SYNC_END]},
                  {"total", mode[ZVG_MODE_V_TOTAL]}}}});
    return;
  }
  if (!context.csv) print_mode_head(hdmi, mode);
  Table table({context.csv ? "direction" : "", "active", "sync start", "sync end", "total"});
  const auto row = [&](const char* name, int first) {
    table.row({name, std::to_string(mode[first]), std::to_string(mode[first + 1]),
               std::to_string(mode[first + 2]), std::to_string(mode[first + 3])});
  };
  row("horizontal", ZVG_MODE_H_ACTIVE);
  row("vertical", ZVG_MODE_V_ACTIVE);
  table.print();
}

void add_mode(CLI::App& family, Context& context) {
  auto port = std::make_shared<std::string>();
  CLI::App* const command =
      family.add_subcommand("mode", "Show the timing that a port's frame composer is set to");
  command->add_option("N", *port, "HDMI transmitter, 0 to 3")->required()->type_name("N");
  add_csv_option(*command, context);
  command->footer("Example:\n  zvgctl hdmi mode 0 --json");
  command->callback(
      [&context, port] { context.action = [&context, port] { mode_command(context, *port); }; });
}

// phy

struct PhyArguments {
  std::string port;
  std::string reg;
  std::string value;
};

void phy_read_command(const Context& context, const PhyArguments& arguments) {
  const uint32_t hdmi = parse_port(arguments.port);
  const auto reg = static_cast<int>(parse_number("REG", arguments.reg, 0xFF));
  Connection connection(context, hdmi_deadline);
  uint16_t value = 0;
  expect_done(hdmi, zvgHdmiPhyRead(hdmi, reg, &value),
              "read PHY register " + hex(static_cast<uint64_t>(reg), 2));
  if (context.json) {
    print_json({{"hdmi", hdmi},
                {"register", address_text(static_cast<uint64_t>(reg))},
                {"value", hex(value, 4)}});
  } else {
    printf("%s: %s\n", hex(static_cast<uint64_t>(reg), 2).c_str(), hex(value, 4).c_str());
  }
}

void phy_write_command(const Context& context, const PhyArguments& arguments) {
  const uint32_t hdmi = parse_port(arguments.port);
  const auto reg = static_cast<int>(parse_number("REG", arguments.reg, 0xFF));
  const auto value = static_cast<int>(parse_number("VALUE", arguments.value, 0xFFFF));
  Connection connection(context, hdmi_deadline);
  expect_done(hdmi, zvgHdmiPhyWrite(hdmi, reg, value),
              "write PHY register " + hex(static_cast<uint64_t>(reg), 2));
}

struct PhyStep {
  const char* name;
  const char* description;
  const char* deed;
  int (*run)(uint32_t hdmi);
  const char* done;
  const char* not_done;  // what a result of -1 means that no failed request explains
};

constexpr PhyStep phy_steps[] = {
    {"reset", "Pulse the PHY's reset", "reset the PHY", zvgHdmiPhyReset, "the PHY was reset",
     "result -1"},
    {"start", "Prepare the PHY for configuration: interrupt masked, powered down, reset",
     "prepare the PHY", zvgHdmiPhyStart, "the PHY is ready for its registers to be written",
     "result -1"},
    {"end", "Power the PHY up and wait for its PLL to lock, a second at the most",
     "bring the PHY up", zvgHdmiPhyEnd, "the PHY is up and its PLL locked", "its PLL did not lock"},
};

void phy_step_command(const Context& context, const std::string& port, const PhyStep& step) {
  const uint32_t hdmi = parse_port(port);
  Connection connection(context, hdmi_deadline);
  errno = 0;
  const int result = step.run(hdmi);
  if (result == -1 && errno == 0) fail("HDMI %u: cannot %s: %s", hdmi, step.deed, step.not_done);
  expect_done(hdmi, result, step.deed);
  printf("HDMI %u: %s\n", hdmi, step.done);
}

void add_phy(CLI::App& family, Context& context) {
  CLI::App& phy = add_family(family, "phy", "A port's PHY, over its I2C master",
                             "To configure a PHY: start, then write its registers, then end.\n"
                             "Examples:\n"
                             "  zvgctl hdmi phy read 0 0x06\n"
                             "  zvgctl hdmi phy start 0\n"
                             "  zvgctl hdmi phy write 0 0x06 0x0008\n"
                             "  zvgctl hdmi phy end 0");
  auto arguments = std::make_shared<PhyArguments>();
  CLI::App* const read = phy.add_subcommand("read", "Read a 16-bit PHY register");
  CLI::App* const write = phy.add_subcommand("write", "Write a 16-bit PHY register");
  for (CLI::App* const command : {read, write}) {
    command->add_option("N", arguments->port, "HDMI transmitter, 0 to 3")
        ->required()
        ->type_name("N");
    command->add_option("REG", arguments->reg, "PHY register, 0 to 0xff")
        ->required()
        ->type_name("NUMBER");
  }
  write->add_option("VALUE", arguments->value, "0 to 0xffff")->required()->type_name("NUMBER");
  read->footer("Example:\n  zvgctl hdmi phy read 0 0x06");
  write->footer("Example:\n  zvgctl hdmi phy write 0 0x06 0x0008");
  read->callback([&context, arguments] {
    context.action = [&context, arguments] { phy_read_command(context, *arguments); };
  });
  write->callback([&context, arguments] {
    context.action = [&context, arguments] { phy_write_command(context, *arguments); };
  });
  for (const PhyStep& step : phy_steps) {
    CLI::App* const command = phy.add_subcommand(step.name, step.description);
    command->add_option("N", arguments->port, "HDMI transmitter, 0 to 3")
        ->required()
        ->type_name("N");
    command->footer(format("Example:\n  zvgctl hdmi phy %s 0", step.name));
    command->callback([&context, arguments, &step] {
      context.action = [&context, arguments, &step] {
        phy_step_command(context, arguments->port, step);
      };
    });
  }
}

// ddc

constexpr uint64_t last_slave = 0x7F;
constexpr uint64_t last_ddc_offset = 0xFF;

struct DdcArguments {
  std::string port;
  std::string slave;
  std::string offset;
  std::string count;
  std::string value;
};

void print_bytes(const Context& context, uint32_t hdmi, uint8_t slave, uint64_t offset,
                 const std::vector<uint64_t>& bytes) {
  if (context.json) {
    print_json({{"hdmi", hdmi},
                {"slave", address_text(slave)},
                {"offset", address_text(offset)},
                {"bytes", bytes_text(std::vector<uint8_t>(bytes.begin(), bytes.end()))}});
  } else if (bytes.size() == 1) {
    printf("%s: %s\n", hex(offset, 2).c_str(), hex(bytes[0], 2).c_str());
  } else {
    print_hex_dump(offset, 2, 1, bytes);
  }
}

void ddc_init_command(const Context& context, const DdcArguments& arguments) {
  const uint32_t hdmi = parse_port(arguments.port);
  Connection connection(context, hdmi_deadline);
  expect_done(hdmi, zvgHdmiDDCInit(hdmi), "set up the DDC bus");
  printf("HDMI %u: the DDC bus is set up for standard mode\n", hdmi);
}

void ddc_read_bytes(const Context& context, const DdcArguments& arguments, uint64_t offset,
                    uint64_t count) {
  const uint32_t hdmi = parse_port(arguments.port);
  const auto slave = static_cast<uint8_t>(parse_number("SLAVE", arguments.slave, last_slave));
  if (count == 0) usage_error("--count: expected at least 1");
  if (count - 1 > last_ddc_offset - offset) {
    fail("DDC offsets end at 0xff: %" PRIu64 " bytes from 0x%02" PRIx64 " on go beyond", count,
         offset);
  }
  Connection connection(context, hdmi_deadline);
  std::vector<uint64_t> bytes;
  for (uint64_t i = offset; i < offset + count; ++i) {
    uint8_t byte = 0;
    expect_done(
        hdmi, zvgHdmiDDCRead(hdmi, slave, static_cast<int>(i), &byte),
        format("read DDC address 0x%02x, offset 0x%02" PRIx64 " (does anything there acknowledge?)",
               slave, i));
    bytes.push_back(byte);
  }
  print_bytes(context, hdmi, slave, offset, bytes);
}

void ddc_read_command(const Context& context, const DdcArguments& arguments) {
  ddc_read_bytes(
      context, arguments, parse_number("OFFSET", arguments.offset, last_ddc_offset),
      arguments.count.empty() ? 1 : parse_number("--count", arguments.count, last_ddc_offset + 1));
}

void ddc_write_command(const Context& context, const DdcArguments& arguments) {
  const uint32_t hdmi = parse_port(arguments.port);
  const auto slave = static_cast<uint8_t>(parse_number("SLAVE", arguments.slave, last_slave));
  const auto offset =
      static_cast<uint8_t>(parse_number("OFFSET", arguments.offset, last_ddc_offset));
  const auto value = static_cast<uint8_t>(parse_number("VALUE", arguments.value, 0xFF));
  Connection connection(context, hdmi_deadline);
  confirm(format("write into the monitor on HDMI %u (DDC address 0x%02x, offset 0x%02x)", hdmi,
                 slave, offset),
          context.yes);
  Ddc(connection, hdmi).write(slave, offset, value);
}

void add_ddc_commands(CLI::App& family, Context& context) {
  CLI::App& ddc = add_family(family, "ddc", "A port's DDC bus: the monitor's own memory",
                             "Once after power-up: init. The EDID is at address 0x50.\n"
                             "Examples:\n"
                             "  zvgctl hdmi ddc init 0\n"
                             "  zvgctl hdmi ddc read 0 0x50 0 --count 8\n"
                             "  zvgctl hdmi ddc dump 0");
  auto arguments = std::make_shared<DdcArguments>();
  CLI::App* const init = ddc.add_subcommand("init", "Set the DDC bus up for standard mode");
  CLI::App* const read = ddc.add_subcommand("read", "Read bytes from a device on the bus");
  CLI::App* const write = ddc.add_subcommand("write", "Write a byte to a device on the bus");
  CLI::App* const dump = ddc.add_subcommand("dump", "Read all 256 bytes of a device on the bus");
  for (CLI::App* const command : {init, read, write, dump}) {
    command->add_option("N", arguments->port, "HDMI transmitter, 0 to 3")
        ->required()
        ->type_name("N");
  }
  for (CLI::App* const command : {read, write}) {
    command->add_option("SLAVE", arguments->slave, "7-bit address of the device, 0 to 0x7f")
        ->required()
        ->type_name("NUMBER");
    command->add_option("OFFSET", arguments->offset, "First byte, 0 to 0xff")
        ->required()
        ->type_name("NUMBER");
  }
  dump->add_option("SLAVE", arguments->slave, "7-bit address of the device (default 0x50)")
      ->type_name("NUMBER");
  read->add_option("-n,--count", arguments->count, "How many bytes (default 1)")->type_name("N");
  write->add_option("VALUE", arguments->value, "0 to 0xff")->required()->type_name("NUMBER");
  init->footer("Example:\n  zvgctl hdmi ddc init 0");
  read->footer("Example:\n  zvgctl hdmi ddc read 0 0x50 0 --count 8");
  write->footer(
      "Asks first, for it may change the monitor for good; --yes answers.\n"
      "Example:\n"
      "  zvgctl hdmi ddc write 0 0x37 0x51 0x82 --yes");
  dump->footer("Example:\n  zvgctl hdmi ddc dump 0 0x50");
  init->callback([&context, arguments] {
    context.action = [&context, arguments] { ddc_init_command(context, *arguments); };
  });
  read->callback([&context, arguments] {
    context.action = [&context, arguments] { ddc_read_command(context, *arguments); };
  });
  write->callback([&context, arguments] {
    context.action = [&context, arguments] { ddc_write_command(context, *arguments); };
  });
  dump->callback([&context, arguments] {
    context.action = [&context, arguments] {
      if (arguments->slave.empty()) arguments->slave = hex(edid_slave);
      ddc_read_bytes(context, *arguments, 0, last_ddc_offset + 1);
    };
  });
}

}  // namespace

void add_hdmi(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "hdmi", "HDMI transmitters: state, timing, PHY, DDC",
                                "Examples:\n"
                                "  zvgctl hdmi status\n"
                                "  zvgctl hdmi mode 0\n"
                                "  zvgctl hdmi ddc dump 0");
  add_status(family, context);
  add_mode(family, context);
  add_phy(family, context);
  add_ddc_commands(family, context);
}

}  // namespace zvgctl
