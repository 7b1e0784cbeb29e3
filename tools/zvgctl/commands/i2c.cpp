// zvgctl i2c and ddc: the board's I2C buses, and EDIDs that the driver reads for us.
#include "zvgctl/commands/i2c.h"

#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

// A bus that hangs is given up by the library after 3.3 s, byte by byte.
constexpr unsigned i2c_deadline = 60;

// Addresses that are not reserved by the bus's standard.
constexpr unsigned first_slave = 0x08;
constexpr unsigned last_slave = 0x77;
constexpr unsigned any_slave = 0x7F;
constexpr unsigned register_count = 256;
constexpr size_t longest_transfer = 256;

constexpr int no_device = -2;
constexpr int not_acknowledged = -3;

constexpr char reaches[] = "0 to 5 through the driver, 0 to 3 otherwise";

struct Place {
  std::string bus, slave, reg;
};

unsigned bus_count(const Route& options) {
  return options.door == Door::driver ? 6 : 4;
}

// scan

enum class Answer { none, present };

Answer probe(unsigned bus, unsigned slave) {
  uint8_t byte = 0;
  const auto begin = std::chrono::steady_clock::now();
  const int result = static_cast<int>(zvgI2cRead(bus, slave, 0, 1, &byte));
  if (result == 0 || result == not_acknowledged) return Answer::present;
  if (result != no_device) fail_i2c(bus, slave, result, "probe");
  // The same code says that nobody answered and that the bus hangs; only the time differs.
  constexpr std::chrono::seconds hang(3);
  if (std::chrono::steady_clock::now() - begin > hang) {
    fail(
        "I2C bus %u hangs: a transfer to address 0x%02x did not end (is a device holding the "
        "clock low, or is the master off?)",
        bus, slave);
  }
  return Answer::none;
}

void print_grid(unsigned bus, const std::vector<unsigned>& found) {
  printf("bus %u\n     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f", bus);
  for (unsigned slave = 0; slave <= any_slave; ++slave) {
    if (slave % 16 == 0) printf("\n%02x: ", slave);
    const bool scanned = slave >= first_slave && slave <= last_slave;
    const bool present = std::find(found.begin(), found.end(), slave) != found.end();
    if (present) {
      printf("%02x", slave);
    } else {
      fputs(scanned ? "--" : "  ", stdout);
    }
    if (slave % 16 != 15) putchar(' ');
  }
  putchar('\n');
}

void scan_command(const Context& context, const std::string& bus_text) {
  const Route options = parse_connection(context.connection);
  const unsigned buses = bus_count(options);
  std::vector<unsigned> chosen;
  if (!bus_text.empty()) {
    chosen.push_back(parse_bus(options, bus_text));
  } else {
    for (unsigned bus = 0; bus < buses; ++bus) chosen.push_back(bus);
  }
  Connection connection(context, i2c_deadline);
  Json document = Json::array();
  for (const unsigned bus : chosen) {
    std::vector<unsigned> found;
    for (unsigned slave = first_slave; slave <= last_slave; ++slave) {
      if (probe(bus, slave) == Answer::present) found.push_back(slave);
    }
    if (context.json) {
      Json devices = Json::array();
      for (const unsigned slave : found) devices.push_back(address_text(slave));
      document.push_back({{"bus", bus}, {"devices", devices}});
    } else {
      if (bus != chosen.front()) putchar('\n');
      print_grid(bus, found);
      fflush(stdout);
    }
  }
  if (context.json) print_json("buses", document);
}

// read, dump and write

struct Device {
  unsigned bus, slave;
};

Device parse_device(const Route& options, const Place& place) {
  return {parse_bus(options, place.bus),
          static_cast<unsigned>(parse_number("ADDRESS", place.slave, any_slave))};
}

std::vector<uint8_t> read_registers(const Device& device, unsigned reg, size_t count) {
  std::vector<uint8_t> bytes(count);
  const int result = static_cast<int>(
      zvgI2cRead(device.bus, device.slave, reg, static_cast<uint32_t>(count), bytes.data()));
  if (result != 0) fail_i2c(device.bus, device.slave, result, "read");
  return bytes;
}

void print_registers(const Context& context, const Device& device, unsigned reg,
                     const std::vector<uint8_t>& bytes) {
  if (context.json) {
    print_json({{"bus", device.bus},
                {"address", address_text(device.slave)},
                {"register", address_text(reg)},
                {"bytes", bytes_text(bytes)}});
  } else if (bytes.size() == 1) {
    printf("0x%02x: 0x%02x\n", reg, bytes[0]);
  } else {
    print_hex_dump(reg, 2, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
  }
}

// What lies behind the last register differs by device: some go on with the first, some with it.
void expect_registers(const char* name, unsigned reg, size_t count) {
  if (reg + count <= register_count) return;
  usage_error(
      "%s: %zu registers from 0x%02x on go beyond the last one, 0x%02x: expected at most %u", name,
      count, reg, register_count - 1, register_count - reg);
}

void read_command(const Context& context, const Place& place, const std::string& count_text) {
  const Route options = parse_connection(context.connection);
  const Device device = parse_device(options, place);
  const auto reg = static_cast<unsigned>(parse_number("REGISTER", place.reg, register_count - 1));
  const size_t count = parse_number("--count", count_text, longest_transfer);
  if (count == 0) usage_error("--count: expected at least 1");
  expect_registers("--count", reg, count);
  Connection connection(context, i2c_deadline);
  print_registers(context, device, reg, read_registers(device, reg, count));
}

void dump_command(const Context& context, const Place& place) {
  const Device device = parse_device(parse_connection(context.connection), place);
  Connection connection(context, i2c_deadline);
  // One register a transfer: not every device goes on to the next one by itself.
  std::vector<uint8_t> bytes;
  for (unsigned reg = 0; reg < register_count; ++reg) {
    bytes.push_back(read_registers(device, reg, 1)[0]);
  }
  print_registers(context, device, 0, bytes);
}

void write_command(const Context& context, const Place& place,
                   const std::vector<std::string>& values) {
  const Device device = parse_device(parse_connection(context.connection), place);
  const auto reg = static_cast<unsigned>(parse_number("REGISTER", place.reg, register_count - 1));
  std::vector<uint8_t> bytes;
  for (const std::string& value : values) {
    bytes.push_back(static_cast<uint8_t>(parse_number("VALUE", value, 0xFF)));
  }
  if (bytes.size() > longest_transfer)
    usage_error("VALUE: expected at most %zu of them", longest_transfer);
  expect_registers("VALUE", reg, bytes.size());
  confirm(format("write %zu byte%s to register 0x%02x of I2C device 0x%02x on bus %u", bytes.size(),
                 bytes.size() == 1 ? "" : "s", reg, device.slave, device.bus),
          context.yes);
  Connection connection(context, i2c_deadline);
  const int result = static_cast<int>(zvgI2cWrite(
      device.bus, device.slave, reg, static_cast<uint32_t>(bytes.size()), bytes.data()));
  if (result != 0) fail_i2c(device.bus, device.slave, result, "write");
}

void add_place(CLI::App& command, const std::shared_ptr<Place>& place, bool with_register) {
  command.add_option("BUS", place->bus, std::string("I2C bus, ") + reaches)->required();
  command.add_option("ADDRESS", place->slave, "7-bit address, 0 to 0x7f")->required();
  if (with_register) {
    command.add_option("REGISTER", place->reg, "Where to begin, 0 to 0xff")->required();
  }
}

void add_scan(CLI::App& family, Context& context) {
  auto bus = std::make_shared<std::string>();
  CLI::App* const command = family.add_subcommand("scan", "Find the devices on one bus, or on all");
  command->add_option("BUS", *bus, std::string("I2C bus, ") + reaches);
  command->footer(
      "Reads a byte from every address from 0x08 to 0x77. That is harmless for most devices;\n"
      "those that count reads, or clear flags when they are read, notice.\n"
      "Examples:\n"
      "  zvgctl i2c scan\n"
      "  zvgctl i2c scan 1 --json");
  command->callback(
      [&context, bus] { context.action = [&context, bus] { scan_command(context, *bus); }; });
}

void add_read(CLI::App& family, Context& context) {
  auto place = std::make_shared<Place>();
  auto count = std::make_shared<std::string>("1");
  CLI::App* const command = family.add_subcommand("read", "Read registers of a device");
  add_place(*command, place, true);
  command->add_option("-n,--count", *count, "Bytes in one transfer, 1 to 256 [1]")->type_name("N");
  add_hidden_alias(*command, "-c", *count);
  command->footer(
      "Examples:\n"
      "  zvgctl i2c read 1 0x4c 0x06 --count 10\n"
      "  zvgctl --serial /dev/ttyUSB0 i2c read 0 0x54 0");
  command->callback([&context, place, count] {
    context.action = [&context, place, count] { read_command(context, *place, *count); };
  });
}

void add_dump(CLI::App& family, Context& context) {
  auto place = std::make_shared<Place>();
  CLI::App* const command = family.add_subcommand("dump", "Read all 256 registers, one by one");
  add_place(*command, place, false);
  command->footer("Example:\n  zvgctl i2c dump 0 0x54");
  command->callback(
      [&context, place] { context.action = [&context, place] { dump_command(context, *place); }; });
}

void add_write(CLI::App& family, Context& context) {
  auto place = std::make_shared<Place>();
  auto values = std::make_shared<std::vector<std::string>>();
  CLI::App* const command = family.add_subcommand("write", "Write registers of a device");
  add_place(*command, place, true);
  command->add_option("VALUE", *values, "Bytes, written in one transfer")->required();
  command->footer(
      "Asks first; --yes answers.\n"
      "Without the driver only the device's address is known to have been acknowledged: read back\n"
      "what matters.\n"
      "Example:\n"
      "  zvgctl i2c write 1 0x4c 0x01 0x5f --yes");
  command->callback([&context, place, values] {
    context.action = [&context, place, values] { write_command(context, *place, *values); };
  });
}

// ddc

struct DdcArguments {
  std::string channel;
  std::string raw;
  bool force = false;
};

void ddc_command(const Context& context, const DdcArguments& arguments) {
  const auto channel = parse_ddc_channel("CHANNEL", arguments.channel);
  require_driver(parse_connection(context.connection), "the display data channel request");
  Connection connection(context, i2c_deadline);
  std::optional<OutputFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw, arguments.force);
  const std::vector<uint8_t> bytes = read_ddc(channel);
  if (raw) {
    raw->write(bytes.data(), bytes.size());
    raw->commit();
  }
  if (context.json) {
    print_json({{"channel", channel}, {"bytes", bytes_text(bytes)}});
  } else {
    print_hex_dump(0, 3, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
  }
}

}  // namespace

unsigned parse_bus(const Route& options, const std::string& text) {
  return static_cast<unsigned>(parse_number("BUS", text, bus_count(options) - 1));
}

unsigned parse_ddc_channel(const char* name, const std::string& text) {
  constexpr unsigned last_channel = 15;
  return static_cast<unsigned>(parse_number(name, text, last_channel));
}

std::vector<uint8_t> read_ddc(unsigned channel) {
  uint32_t status = 0, count = 0;
  uint64_t data = 0;
  const int result = zvgDDCRead(channel, &status, &data, &count);
  const int error = errno;
  if (result < 0) fail("DDC %u: the request failed: %s", channel, reason(result, error).c_str());
  if (status != 0 || count == 0) {
    const std::string why = static_cast<int>(status) == no_device
                                ? "no monitor answers there"
                                : zvgI2cErrString(static_cast<int>(status));
    fail("DDC %u: cannot read the EDID: %s", channel, why.c_str());
  }
  constexpr uint32_t capacity = 512;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(data));
  return {bytes, bytes + std::min(count, capacity)};
}

void add_i2c(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "i2c", "Devices on the board's I2C buses",
                                "Examples:\n"
                                "  zvgctl i2c scan\n"
                                "  zvgctl i2c dump 0 0x54");
  add_scan(family, context);
  add_read(family, context);
  add_write(family, context);
  add_dump(family, context);
}

void add_ddc(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "ddc", "EDIDs as the driver reads them (driver only)",
                                "Example:\n  zvgctl ddc read 0");
  auto arguments = std::make_shared<DdcArguments>();
  CLI::App* const command =
      family.add_subcommand("read", "Have the driver read the EDID on a channel");
  command->add_option("CHANNEL", arguments->channel, "Display data channel, 0 to 15")->required();
  command->add_option("--raw", arguments->raw, "Save the bytes to a file as well")
      ->type_name("FILE");
  command->add_flag("-f,--force", arguments->force, "Replace the file of --raw if it exists");
  command->footer(
      "Prints the bytes; zvgctl edid read --ddc N decodes them.\n"
      "Example:\n"
      "  zvgctl ddc read 0 --raw monitor.bin");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { ddc_command(context, *arguments); };
  });
}

}  // namespace zvgctl
