// zvgctl reg snapshot and reg diff: the registers of a range at a moment, and what changed.
#include <inttypes.h>
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "formats/script/line.h"
#include "service/files/input_file.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

struct SnapshotArguments {
  std::vector<std::string> ranges;
  std::string width = "32";
  std::string output;
  bool force = false;
};

// A snapshot is a register script that checks for its own values.
std::string check_line(uint64_t address, uint64_t value, unsigned width) {
  return format("%06lx %0*lx C %lx %u\n", static_cast<unsigned long>(address),
                static_cast<int>(2 * width), static_cast<unsigned long>(value),
                static_cast<unsigned long>(largest(width)), 8 * width);
}

void snapshot_command(const Context& context, const SnapshotArguments& arguments) {
  const unsigned width = parse_width(arguments.width);
  if (width > 4) usage_error("--width: a snapshot takes registers of 8, 16 or 32 bits");
  if (arguments.ranges.empty()) usage_error("--range is required");
  std::vector<AddressRange> ranges;
  for (const std::string& text : arguments.ranges) {
    const AddressRange range = parse_address_range("--range", text);
    // One address stands for its register.
    const uint64_t last = range.is_range ? range.last : range.first + width - 1;
    if (range.first > last_register || last > last_register) {
      usage_error("--range: there is no register above %s", hex(last_register).c_str());
    }
    if ((last - range.first + 1) % width != 0) {
      usage_error(
          "--range: %s ends inside a register of %u bits: the register at its end goes on "
          "to 0x%" PRIx64,
          text.c_str(), 8 * width, last + width - 1 - (last - range.first) % width);
    }
    ranges.push_back({range.first, last, true});
  }
  Connection connection(context);
  OutputFile file(arguments.output, arguments.force);
  size_t count = 0;
  for (const AddressRange& range : ranges) {
    std::string text;
    for (uint64_t address = range.first; address <= range.last; address += width) {
      text += check_line(address, connection.read_proven(address, width), width);
      ++count;
    }
    file.write(text.data(), text.size());
  }
  file.commit();
  printf("%s: %zu registers\n", output_name(arguments.output).c_str(), count);
}

struct Register {
  uint32_t value;
  int width;
  bool operator==(const Register&) const = default;
};
using Snapshot = std::map<uint64_t, Register>;

Snapshot load(const std::string& path) {
  constexpr size_t most_bytes = size_t{1} << 30;  // over 16 million registers
  std::istringstream stream(read_input_text(path, most_bytes, "a snapshot"));
  const std::string name = input_name(path);
  Snapshot snapshot;
  std::string text;
  int number = 0;
  while (std::getline(stream, text)) {
    ++number;
    if (classify(zvg::formats::script::script_format, text.c_str()) !=
            zvg::formats::script::LineKind::registers ||
        text.empty()) {
      continue;
    }
    zvg::formats::script::ScriptLine line;
    if (line.parse(text.c_str()) != line.field_count || line.operation != 'C') {
      fail("%s:%d: this is no line of a snapshot: expected ADDRESS VALUE C MASK WIDTH",
           name.c_str(), number);
    }
    snapshot[line.address] = {line.value, line.width};
  }
  if (snapshot.empty()) fail("%s: there is no snapshot in it", name.c_str());
  return snapshot;
}

// Nothing where the snapshot does not have the register.
std::optional<std::string> value_in(const Snapshot& snapshot, uint64_t address) {
  const auto entry = snapshot.find(address);
  if (entry == snapshot.end()) return {};
  return hex(entry->second.value, entry->second.width / 4);
}

struct DiffArguments {
  std::string before;
  std::string after;
};

void diff_command(const Context& context, const DiffArguments& arguments) {
  if (arguments.before == standard_stream && arguments.after == standard_stream) {
    usage_error("AFTER: standard input is BEFORE already");
  }
  const Snapshot before = load(arguments.before);
  const Snapshot after = load(arguments.after);
  Snapshot all = before;
  all.insert(after.begin(), after.end());
  Json differences = Json::array();
  Table table({"Register", context.csv ? "before" : input_name(arguments.before),
               context.csv ? "after" : input_name(arguments.after)});
  for (const auto& [address, ignored] : all) {
    const auto old_entry = before.find(address);
    const auto new_entry = after.find(address);
    if (old_entry != before.end() && new_entry != after.end() &&
        old_entry->second == new_entry->second) {
      continue;
    }
    const auto text = [](const std::optional<std::string>& value) { return value.value_or("-"); };
    const auto json = [](const std::optional<std::string>& value) {
      return value ? Json(*value) : Json();
    };
    const auto old_value = value_in(before, address);
    const auto new_value = value_in(after, address);
    table.row({hex(address, 6), text(old_value), text(new_value)});
    differences.push_back({{"address", address_text(address)},
                           {"before", json(old_value)},
                           {"after", json(new_value)}});
  }
  if (context.json) {
    print_json({{"registers", all.size()}, {"differences", differences}});
  } else if (differences.empty()) {
    printf("no difference in %zu registers\n", all.size());
  } else {
    table.print();
  }
  if (!differences.empty()) {
    fail("%zu of %zu registers differ", differences.size(), all.size());
  }
}

}  // namespace

void add_snapshot(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<SnapshotArguments>();
  CLI::App* const command =
      family.add_subcommand("snapshot", "Keep the registers of a range in a file");
  command->add_option("--range", arguments->ranges, "The registers, both ends included; or one")
      ->type_name("A[-B]");
  command->add_option("-r", arguments->ranges)->group("");  // its old letter, now of --region
  command->add_option("-w,--width", arguments->width, "Bits of a register: 8, 16 or 32 (default)")
      ->type_name("BITS");
  command->add_option("-o,--output", arguments->output, "The file; - is standard output")
      ->required()
      ->type_name("FILE");
  command->add_flag("-f,--force", arguments->force, "Overwrite the file");
  command->footer(
      "The file is a register script that checks for these values: 'zvgctl script run FILE'\n"
      "tells whether a board still has them.\n"
      "Examples:\n"
      "  zvgctl reg snapshot --range 0x288000-0x2880ff -o clocks.txt\n"
      "  zvgctl reg snapshot --range 0x111001-0x111010 --width 8 -o timing.txt");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { snapshot_command(context, *arguments); };
  });
}

void add_diff(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<DiffArguments>();
  CLI::App* const command = family.add_subcommand("diff", "Compare two snapshots; needs no board");
  add_csv_option(*command, context);
  command->add_option("BEFORE", arguments->before, "A snapshot; - is standard input")
      ->required()
      ->type_name("FILE");
  command->add_option("AFTER", arguments->after, "Another one")->required()->type_name("FILE");
  command->footer(
      "Exits with 1 when they differ.\n"
      "Example:\n"
      "  zvgctl reg diff good_board.txt this_board.txt");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { diff_command(context, *arguments); };
  });
}

}  // namespace zvgctl
