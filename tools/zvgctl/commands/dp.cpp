// zvgctl dp: the DisplayPort transmitters and the sinks on them.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "service/display/dp_channel.h"
#include "service/display/dp_link_status.h"
#include "service/display/dpcd_fields.h"
#include "service/edid/edid_image.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

const char* level_text(bool limit) {
  return limit ? " (limit)" : "";
}

void print_link(uint32_t port, const LinkStatus& link) {
  printf("DP %u: %u lane%s at %s, the link is %s\n", port, link.lanes, link.lanes == 1 ? "" : "s",
         link_rate_text(link.rate_code).c_str(), link.up() ? "up" : "not up");
  Table table({"lane", "clock recovery", "equalised", "symbol lock", "swing", "pre-emphasis"});
  for (unsigned i = 0; i < link.lanes; ++i) {
    const LinkLane& l = link.lane[i];
    table.row({std::to_string(i), yes_no(l.clock), yes_no(l.equalised), yes_no(l.symbol_lock),
               std::to_string(l.swing) + level_text(l.swing_limit),
               std::to_string(l.preemphasis) + level_text(l.preemphasis_limit)});
  }
  if (link.lanes != 0) table.print();
  printf("aligned: %s\n", yes_no(link.aligned));
}

enum ControllerRegister : uint32_t {
  link_rate = 0x000,
  lane_count = 0x004,
  transmitter_enable = 0x080,
  stream_enable = 0x084,
};

struct Arguments {
  std::string port;
  std::string address;
  std::string count;
  std::string value;
  std::string raw;
  bool force = false;
  bool decode = false;
  bool via_driver = false;
};

uint32_t parse_port(const std::string& text) {
  return static_cast<uint32_t>(parse_number("N", text, last_dp));
}

DpChannel::Way way_of(const Arguments& arguments) {
  return arguments.via_driver ? DpChannel::Way::driver : DpChannel::Way::registers;
}

LinkStatus read_link_status(DpChannel& channel) {
  const auto settings = channel.read(LinkStatus::first_setting, LinkStatus::settings);
  const auto statuses = channel.read(LinkStatus::first_status, LinkStatus::statuses);
  return link_status(settings, statuses);
}

CLI::Option* add_port(CLI::App* command, const std::shared_ptr<Arguments>& arguments) {
  return command->add_option("N", arguments->port, "DisplayPort transmitter, 0 to 3")
      ->type_name("N");
}

void on_command(CLI::App* command, Context& context, const std::shared_ptr<Arguments>& arguments,
                void (*run)(const Context&, const Arguments&)) {
  command->callback([&context, arguments, run] {
    context.action = [&context, arguments, run] { run(context, *arguments); };
  });
}

// status

// What the sink says about the link; nothing when there is none, or it does not say.
std::optional<LinkStatus> ask_sink(DpChannel& channel, bool plugged) {
  if (!plugged) return {};
  try {
    return read_link_status(channel);
  } catch (const zvg::Error& failure) {
    if (failure.door) throw;  // it was not the sink, but the way to the board
    warn("%s", failure.what());
    return {};
  }
}

void status_command(const Context& context, const Arguments& arguments) {
  const uint32_t first = arguments.port.empty() ? 0 : parse_port(arguments.port);
  const uint32_t last = arguments.port.empty() ? last_dp : first;
  Connection connection(context, dp_deadline);
  Table table({"DP", "sink", "transmitter", "rate", "lanes", "stream", "link"});
  Json document = Json::array();
  for (uint32_t n = first; n <= last; ++n) {
    DpChannel channel(connection, n);
    const bool plugged = channel.plugged();
    const auto read = [&](uint32_t reg) { return zvg_dptx_reg_read(channel.device(), reg); };
    const bool on = (read(transmitter_enable) & 1) != 0;
    const bool stream = (read(stream_enable) & 1) != 0;
    const auto rate = static_cast<uint8_t>(read(link_rate));
    const uint32_t lanes = read(lane_count);
    const auto link = ask_sink(channel, plugged);
    table.row({std::to_string(n), yes_no(plugged), on ? "on" : "off",
               rate == 0 ? "-" : link_rate_text(rate), std::to_string(lanes), stream ? "on" : "off",
               !link        ? "-"
               : link->up() ? "up"
                            : "not up"});
    Json one = {{"dp", n},           {"sink", plugged},
                {"transmitter", on}, {"rate_code", hex(rate, 2)},
                {"lanes", lanes},    {"stream", stream}};
    one["link"] = link ? link->json() : Json(nullptr);
    document.push_back(std::move(one));
  }
  if (context.json) {
    print_json("ports", document);
  } else {
    table.print();
  }
}

// dpcd

void print_fields(uint32_t address, const std::vector<uint8_t>& bytes) {
  Table table({"DPCD", "field", "value"});
  for (const DpcdField& field : dpcd_fields()) {
    if (field.address < address || field.address - address >= bytes.size()) continue;
    const uint8_t value = field.of(bytes[field.address - address]);
    table.row({hex(field.address, 5), field.name, field.text(value)});
  }
  table.print();
}

Json fields_json(uint32_t address, const std::vector<uint8_t>& bytes) {
  Json fields = Json::array();
  for (const DpcdField& field : dpcd_fields()) {
    if (field.address < address || field.address - address >= bytes.size()) continue;
    const uint8_t value = field.of(bytes[field.address - address]);
    fields.push_back({{"address", address_text(field.address)},
                      {"field", field.name},
                      {"value", value},
                      {"text", field.text(value)}});
  }
  return fields;
}

void show_dpcd(const Context& context, const Arguments& arguments, uint32_t address,
               const std::vector<uint8_t>& bytes) {
  if (context.json) {
    Json document = {{"dp", parse_port(arguments.port)},
                     {"address", address_text(address)},
                     {"bytes", bytes_text(bytes)}};
    if (arguments.decode) document["fields"] = fields_json(address, bytes);
    print_json(document);
  } else if (arguments.decode) {
    print_fields(address, bytes);
  } else if (bytes.size() == 1) {
    printf("%s: %s\n", hex(address, 5).c_str(), hex(bytes[0], 2).c_str());
  } else {
    print_hex_dump(address, 5, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
  }
}

void dpcd_read_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const auto address = static_cast<uint32_t>(parse_number("ADDRESS", arguments.address, last_dpcd));
  const auto count = static_cast<uint32_t>(
      arguments.count.empty() ? 1 : parse_number("--count", arguments.count, 0x1000));
  if (count == 0) usage_error("--count: expected at least 1");
  if (context.csv && !arguments.decode) usage_error("--csv is for the table of --decode");
  if (count - 1 > last_dpcd - address) fail("DPCD addresses end at %s", hex(last_dpcd).c_str());
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port, way_of(arguments));
  channel.expect_sink();
  show_dpcd(context, arguments, address, channel.read(address, count));
}

void dpcd_write_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const auto address = static_cast<uint32_t>(parse_number("ADDRESS", arguments.address, last_dpcd));
  const auto value = static_cast<uint8_t>(parse_number("VALUE", arguments.value, 0xFF));
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port, way_of(arguments));
  channel.expect_sink();
  channel.write(address, value);
}

// The three groups that every sink has, decoded.
void dpcd_dump_command(const Context& context, const Arguments& arguments) {
  constexpr struct {
    uint32_t address, count;
  } groups[] = {{0x000, 16}, {0x100, 16}, {0x200, 16}, {0x600, 1}};
  const uint32_t port = parse_port(arguments.port);
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port, way_of(arguments));
  channel.expect_sink();
  Json fields = Json::array();
  for (const auto& group : groups) {
    const auto bytes = channel.read(group.address, group.count);
    if (context.json) {
      for (auto& field : fields_json(group.address, bytes)) fields.push_back(std::move(field));
      continue;
    }
    print_hex_dump(group.address, 5, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
    print_fields(group.address, bytes);
  }
  if (context.json) print_json({{"dp", port}, {"fields", fields}});
}

void add_dpcd(CLI::App& family, Context& context) {
  CLI::App& dpcd = add_family(family, "dpcd", "The sink's own registers, over the AUX channel",
                              "Examples:\n"
                              "  zvgctl dp dpcd read 0 0x202 --count 6 --decode\n"
                              "  zvgctl dp dpcd dump 0");
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const read = dpcd.add_subcommand("read", "Read registers of the sink");
  CLI::App* const write = dpcd.add_subcommand("write", "Write a register of the sink");
  CLI::App* const dump =
      dpcd.add_subcommand("dump", "Read capabilities, configuration and status, field by field");
  for (CLI::App* const command : {read, write, dump}) {
    add_port(command, arguments)->required();
    command->add_flag("--via-driver", arguments->via_driver,
                      "Have the kernel driver make the transfers");
  }
  for (CLI::App* const command : {read, write}) {
    command->add_option("ADDRESS", arguments->address, "DPCD address, 0 to 0xfffff")
        ->required()
        ->type_name("NUMBER");
  }
  read->add_option("-n,--count", arguments->count, "How many (default 1)")->type_name("N");
  add_csv_option(*read, context);
  read->add_flag("--decode", arguments->decode, "Show the fields by their names in the standard");
  write->add_option("VALUE", arguments->value, "0 to 0xff")->required()->type_name("NUMBER");
  read->footer(
      "Nothing is set up or trained: a picture that is shown stays.\n"
      "Examples:\n"
      "  zvgctl dp dpcd read 0 0\n"
      "  zvgctl dp dpcd read 0 0x202 --count 6 --decode");
  write->footer("Example:\n  zvgctl dp dpcd write 0 0x600 1        power the sink up");
  dump->footer("Example:\n  zvgctl dp dpcd dump 0 --json");
  on_command(read, context, arguments, dpcd_read_command);
  on_command(write, context, arguments, dpcd_write_command);
  on_command(dump, context, arguments, dpcd_dump_command);
}

// edid

void edid_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  Connection connection(context, dp_deadline);
  std::optional<OutputFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw, arguments.force);
  DpChannel channel(connection, port, way_of(arguments));
  channel.expect_sink();
  const EdidImage image(channel.edid());
  if (raw) {
    raw->write(image.bytes().data(), image.bytes().size());
    raw->commit();
  }
  if (context.json) {
    Json document = zvg::document("edid");
    document.update(image.json());
    print_json(document);
  } else {
    print_hex_dump(0, 4, 1, std::vector<uint64_t>(image.bytes().begin(), image.bytes().end()));
  }
  if (!image.valid()) warn("the EDID is damaged: %s", image.faults().c_str());
}

// train, mode-set

// The library's own result says nothing about the link, so the sink is asked.
void judge_link(const Context& context, DpChannel& channel) {
  const LinkStatus link = read_link_status(channel);
  if (context.json) {
    Json document = {{"dp", channel.port()}};
    document.update(link.json());
    print_json(document);
  } else {
    print_link(channel.port(), link);
  }
  if (!link.up()) fail("DP %u: the link is not up: %s", channel.port(), link.problems().c_str());
}

// Asked before the port is taken down.
void expect_answer(DpChannel& channel) {
  channel.expect_sink();
  channel.read(0, 1);
}

void train_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  Connection connection(context, dp_deadline);
  connection.lock_exclusively();
  DpChannel channel(connection, port);
  expect_answer(channel);
  zvgDpInit(static_cast<int>(port));
  if (zvgDpLinkTraining(static_cast<int>(port)) != 0) {
    fail("DP %u: the sink's capabilities could not be read, so the link was trained blindly", port);
  }
  judge_link(context, channel);
}

void mode_set_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  Connection connection(context, dp_deadline);
  connection.lock_exclusively();
  DpChannel channel(connection, port);
  expect_answer(channel);
  zvgDpInit(static_cast<int>(port));
  if (zvgDpCTLCfg(port) != 0) fail("DP %u: the mode was not set", port);
  judge_link(context, channel);
}

// cdb, phy

constexpr uint64_t last_phy_register = 0xFFFC;
constexpr uint64_t last_cdb = 0xFFFF;

void print_register(const Context& context, uint32_t port, uint64_t address, uint64_t value,
                    int digits) {
  if (context.json) {
    print_json({{"dp", port}, {"register", address_text(address)}, {"value", hex(value, digits)}});
  } else {
    printf("%s: %s\n", hex(address, 4).c_str(), hex(value, digits).c_str());
  }
}

void expect_bus(uint32_t port, int result) {
  if (result == 0) return;
  fail("DP %u: the PHY's configuration bus %s", port,
       result == 4
           ? "stays busy (is the transmitter set up? zvgctl dp train)"
           : format("reports status %s", hex(static_cast<uint32_t>(result)).c_str()).c_str());
}

void cdb_read_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const auto address = static_cast<uint16_t>(parse_number("ADDRESS", arguments.address, last_cdb));
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port);
  uint16_t value = 0;
  expect_bus(port, zvg_cdb_read(channel.device(), address, &value));
  print_register(context, port, address, value, 4);
}

void cdb_write_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const auto address = static_cast<uint16_t>(parse_number("ADDRESS", arguments.address, last_cdb));
  const auto value = static_cast<uint16_t>(parse_number("VALUE", arguments.value, 0xFFFF));
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port);
  expect_bus(port, zvg_cdb_write(channel.device(), address, value));
}

uint64_t parse_phy_register(const std::string& text) {
  const uint64_t reg = parse_number("REG", text, last_phy_register);
  if (reg % 4 != 0) usage_error("REG: PHY registers stand at multiples of 4");
  return reg;
}

void phy_read_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const uint64_t reg = parse_phy_register(arguments.address);
  Connection connection(context, dp_deadline);
  const uint64_t value = connection.read_register(dp_device(port).block_offset + reg, 4);
  print_register(context, port, reg, value, 8);
}

void phy_write_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const uint64_t reg = parse_phy_register(arguments.address);
  const uint64_t value = parse_number("VALUE", arguments.value, UINT32_MAX);
  Connection connection(context, dp_deadline);
  connection.write_register(dp_device(port).block_offset + reg, 4, value);
}

void phy_power_command(const Context& context, const Arguments& arguments) {
  const uint32_t port = parse_port(arguments.port);
  const auto state = static_cast<uint32_t>(parse_number("STATE", arguments.value, 3));
  Connection connection(context, dp_deadline);
  DpChannel channel(connection, port);
  if (zvg_dptx_phy_power(channel.device(), state) != 0) {
    fail("DP %u: the PHY does not acknowledge power state %u", port, state);
  }
  printf("DP %u: the PHY is in power state %u\n", port, state);
}

struct RegisterFamily {
  const char* name;
  const char* description;
  const char* argument;
  const char* range;
  const char* example;
  void (*read)(const Context&, const Arguments&);
  void (*write)(const Context&, const Arguments&);
};

constexpr RegisterFamily register_families[] = {
    {"cdb", "The PHY's internal configuration bus", "ADDRESS", "0 to 0xffff", "0xe001",
     cdb_read_command, cdb_write_command},
    {"phy", "The PHY's registers and power states", "REG", "PHY register, 0 to 0xfffc", "0x44",
     phy_read_command, phy_write_command},
};

CLI::App& add_registers(CLI::App& family, Context& context, const RegisterFamily& registers) {
  CLI::App& own = add_family(
      family, registers.name, registers.description,
      format("Example:\n  zvgctl dp %s read 0 %s", registers.name, registers.example).c_str());
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const read = own.add_subcommand("read", "Read a register");
  CLI::App* const write = own.add_subcommand("write", "Write a register");
  for (CLI::App* const command : {read, write}) {
    add_port(command, arguments)->required();
    command->add_option(registers.argument, arguments->address, registers.range)
        ->required()
        ->type_name("NUMBER");
  }
  write->add_option("VALUE", arguments->value, "What to write")->required()->type_name("NUMBER");
  read->footer(format("Example:\n  zvgctl dp %s read 0 %s", registers.name, registers.example));
  write->footer(format("Example:\n  zvgctl dp %s write 0 %s 1", registers.name, registers.example));
  on_command(read, context, arguments, registers.read);
  on_command(write, context, arguments, registers.write);
  return own;
}

}  // namespace

void add_dp(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "dp", "DisplayPort transmitters: sinks, link training, AUX, PHY",
                 "Examples:\n"
                 "  zvgctl dp status\n"
                 "  zvgctl dp train 1\n"
                 "  zvgctl dp dpcd dump 0");
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const status =
      family.add_subcommand("status", "Show sinks, links and streams of all ports or one");
  add_csv_option(*status, context);
  add_port(status, arguments);
  status->footer("\"link\" is what the sink says.\nExample:\n  zvgctl dp status --json");
  on_command(status, context, arguments, status_command);

  add_dpcd(family, context);

  CLI::App* const edid = family.add_subcommand("edid", "Fetch the sink's EDID as bytes");
  add_port(edid, arguments)->required();
  edid->add_flag("--via-driver", arguments->via_driver,
                 "Have the kernel driver fetch it (512 bytes at the most)");
  edid->add_option("--raw", arguments->raw, "Save it to a file as well")->type_name("FILE");
  edid->add_flag("-f,--force", arguments->force, "Replace the file of --raw if it exists");
  edid->footer("The decoded report: zvgctl edid read --dp N.\nExample:\n  zvgctl dp edid 0");
  on_command(edid, context, arguments, edid_command);

  CLI::App* const train =
      family.add_subcommand("train", "Set a port up, train its link and say how it went");
  add_port(train, arguments)->required();
  train->footer(
      "Takes the port down first: a picture that is shown goes away. Fails unless the sink says\n"
      "that every lane in use has clock recovery, equalisation and symbol lock.\n"
      "Example:\n"
      "  zvgctl dp train 1");
  on_command(train, context, arguments, train_command);

  CLI::App* const mode_set = family.add_subcommand(
      "mode-set", "Set a port up, train it, and start the first display controller's mode on it");
  add_port(mode_set, arguments)->required();
  mode_set->footer("Example:\n  zvgctl dp mode-set 0");
  on_command(mode_set, context, arguments, mode_set_command);

  for (const RegisterFamily& registers : register_families) {
    CLI::App& own = add_registers(family, context, registers);
    if (registers.read != phy_read_command) continue;
    auto power_arguments = std::make_shared<Arguments>();
    CLI::App* const power = own.add_subcommand("power", "Bring the PHY into a power state");
    add_port(power, power_arguments)->required();
    power->add_option("STATE", power_arguments->value, "0 (active) to 3")
        ->required()
        ->type_name("NUMBER");
    power->footer("Example:\n  zvgctl dp phy power 0 3");
    on_command(power, context, power_arguments, phy_power_command);
  }
}

}  // namespace zvgctl
