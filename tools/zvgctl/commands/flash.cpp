// zvgctl flash: the board's firmware flash.
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "service/edid/edid_image.h"
#include "service/files/input_file.h"
#include "service/flash/board_info_chain.h"
#include "service/flash/flash_service.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"
#include "zvgctl/terminal/prompt.h"
#include "zvgctl/terminal/terminal_work.h"

namespace zvgctl {

namespace {

// The library waits without an end for a controller that does not get idle while it protects.
constexpr unsigned status_deadline = 30;

struct FlashArguments {
  std::string region;
  std::string file;
  std::string output;
  std::string offset = "0";
  std::string backup;
  std::string number;
  bool no_backup = false;
  bool force = false;
  bool chip = false;
};

// "ADDRESS:LENGTH".
FlashRegion parse_region(const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) {
    usage_error("--region: expected ADDRESS:LENGTH, as 0x70000:0x10000; found '%s'", text.c_str());
  }
  const auto address =
      static_cast<uint32_t>(parse_number("--region", text.substr(0, colon), flash_size - 1));
  const auto size =
      static_cast<uint32_t>(parse_number("--region", text.substr(colon + 1), flash_size));
  if (size == 0 || size > flash_size - address) {
    usage_error("--region: 0x%x bytes from 0x%x on are not within the flash's 2 MiB", size,
                address);
  }
  return {address, size};
}

std::vector<uint8_t> file_content(const std::string& path) {
  std::vector<uint8_t> bytes = read_input(path, flash_size, "what goes into the flash");
  if (bytes.empty()) fail("%s is empty", input_name(path).c_str());
  return bytes;
}

// The file's bytes and where they go; together they fit into the flash.
uint32_t parse_offset(const FlashArguments& arguments, size_t size) {
  const auto offset =
      static_cast<uint32_t>(parse_number("--offset", arguments.offset, flash_size - 1));
  if (size > flash_size - offset) {
    fail("%s has %zu bytes, and from 0x%x on the flash has room for %u",
         input_name(arguments.file).c_str(), size, offset, flash_size - offset);
  }
  return offset;
}

std::string backup_name(const FlashArguments& arguments, uint32_t address, size_t size) {
  if (arguments.no_backup) return {};
  if (arguments.backup == standard_stream) {
    usage_error("--backup: the old content is kept in a file: expected its name");
  }
  if (!arguments.backup.empty()) return arguments.backup;
  const time_t now = time(nullptr);
  tm parts;
  gmtime_r(&now, &parts);
  char stamp[32];
  strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &parts);
  // Two writes in a second get two names.
  for (int i = 0;; ++i) {
    const std::string name = format("flash-%06x-%zx-%s%s.bin", address, size, stamp,
                                    i == 0 ? "" : format("-%d", i).c_str());
    if (access(name.c_str(), F_OK) != 0) return name;
  }
}

// What was cut off is known by the file that it was about.
FlashWriteFiles files_of(const FlashArguments& arguments, uint32_t address, size_t size) {
  const std::string source =
      arguments.file == standard_stream ? format("flash-%06x-%zx", address, size) : arguments.file;
  return {backup_name(arguments, address, size), source + ".unfinished"};
}

// Says what a write did.
void report(const Context& context, const FlashWrite& written) {
  if (context.json) {
    print_json({{"changed", written.erased_sectors != 0 || written.programmed_bytes != 0},
                {"erased_sectors", written.erased_sectors},
                {"programmed_bytes", written.programmed_bytes},
                {"backup", written.backup.empty() ? Json(nullptr) : Json(written.backup)}});
    return;
  }
  if (written.erased_sectors == 0 && written.programmed_bytes == 0) {
    puts("the flash holds these bytes already; nothing was changed");
    return;
  }
  printf("erased %u sectors, programmed %u bytes, every byte compared\n", written.erased_sectors,
         written.programmed_bytes);
  if (!written.backup.empty()) printf("the old content is in %s\n", written.backup.c_str());
}

// status

void status_command(const Context& context) {
  constexpr uint8_t busy = 0x01, write_enabled = 0x02, protection = 0x1C, quad = 0x02;
  const Connection connection(context, status_deadline);
  const uint8_t first = flash_status(1);
  const uint8_t second = flash_status(2);
  const Json document = {{"size", flash_size},
                         {"status_1", value_text(first, 1)},
                         {"status_2", value_text(second, 1)},
                         {"busy", (first & busy) != 0},
                         {"write_enabled", (first & write_enabled) != 0},
                         {"protected", (first & protection) != 0},
                         {"quad_enabled", (second & quad) != 0}};
  if (context.json) {
    print_json(document);
    return;
  }
  printf("size             2 MiB\n");
  printf("status registers 0x%02x 0x%02x\n", first, second);
  printf("busy             %s\n", yes_no((first & busy) != 0));
  printf("write enabled    %s\n", yes_no((first & write_enabled) != 0));
  printf("protected        %s\n", yes_no((first & protection) != 0));
  printf("quad enabled     %s\n", yes_no((second & quad) != 0));
}

void protect_command(const Context& context, bool on) {
  if (!on) confirm("take the write protection off the flash", context.yes);
  Connection connection(context, status_deadline);
  connection.lock_exclusively();
  protect_flash(on);
}

// read, erase, write, verify

void read_command(const Context& context, const FlashArguments& arguments) {
  const FlashRegion region =
      arguments.region.empty() ? FlashRegion{0, flash_size} : parse_region(arguments.region);
  const Connection connection(context);
  std::optional<OutputFile> file;
  if (!arguments.output.empty()) file.emplace(arguments.output, arguments.force);
  const TerminalWork terminal;
  const std::vector<uint8_t> bytes = read_flash(region, terminal.work());
  if (file) {
    file->write(bytes.data(), bytes.size());
    file->commit();
    if (!context.json) {
      printf("%zu bytes from 0x%06x on are in %s\n", bytes.size(), region.address,
             output_name(arguments.output).c_str());
    }
  } else if (context.json) {
    print_json({{"address", address_text(region.address)}, {"bytes", bytes_text(bytes)}});
  } else {
    print_hex_dump(region.address, 6, 1, std::vector<uint64_t>(bytes.begin(), bytes.end()));
  }
}

void erase_command(const Context& context, const FlashArguments& arguments) {
  if (arguments.chip != arguments.region.empty()) {
    usage_error("expected either --region ADDRESS:LENGTH or --chip");
  }
  const FlashRegion region =
      arguments.chip ? FlashRegion{0, flash_size} : parse_region(arguments.region);
  if (check_erase_alignment(region.address, region.size) != 0) {
    usage_error(
        "--region: the flash is erased in sectors: address and length are multiples of "
        "0x%x",
        flash_sector);
  }
  confirm(format("erase 0x%06x to 0x%06x of the flash, which may leave the board without firmware",
                 region.address, region.address + region.size - 1),
          context.yes);
  Connection connection(context);
  connection.lock_exclusively();
  const TerminalWork terminal;
  erase_flash(region, terminal.work());
}

void write_command(const Context& context, const FlashArguments& arguments) {
  const std::vector<uint8_t> bytes = file_content(arguments.file);
  const uint32_t offset = parse_offset(arguments, bytes.size());
  confirm(format("write %zu bytes to the flash from 0x%06x on", bytes.size(), offset), context.yes);
  Connection connection(context);
  connection.lock_exclusively();
  const TerminalWork terminal;
  report(context,
         write_flash(offset, bytes, files_of(arguments, offset, bytes.size()), terminal.work()));
}

void verify_command(const Context& context, const FlashArguments& arguments) {
  const std::vector<uint8_t> bytes = file_content(arguments.file);
  const uint32_t offset = parse_offset(arguments, bytes.size());
  const Connection connection(context);
  const TerminalWork terminal;
  const size_t same = compare_flash(offset, bytes, terminal.work());
  if (context.json) {
    print_json({{"equal", same == bytes.size()},
                {"first_difference", same == bytes.size() ? Json(nullptr) : Json(offset + same)}});
  }
  if (same != bytes.size()) {
    fail("the flash differs from %s, first at 0x%06zx", input_name(arguments.file).c_str(),
         offset + same);
  }
  if (!context.json) printf("all %zu bytes are equal\n", bytes.size());
}

// Board data

BoardInfoChain read_chain() {
  return BoardInfoChain(read_flash({BoardInfoChain::first_sector, BoardInfoChain::sectors_size}));
}

void edid_list_command(const Context& context) {
  const Connection connection(context);
  const BoardInfoChain chain = read_chain();
  Json document = Json::array();
  Table table({"ADDRESS", "TYPE", "OUTPUT", "BYTES", "STATE"});
  for (const BoardInfoChain::Entry& entry : chain.entries()) {
    const bool edid = entry.header.is_edid();
    document.push_back({{"address", address_text(entry.address)},
                        {"type", edid ? "edid" : hex(entry.header.type, 4)},
                        {"output", entry.header.id},
                        {"size", entry.data.size()},
                        {"valid", entry.valid}});
    table.row({hex(entry.address, 6), edid ? "edid" : hex(entry.header.type, 4),
               std::to_string(entry.header.id), std::to_string(entry.data.size()),
               entry.valid ? "valid" : "damaged"});
  }
  if (context.json) {
    print_json("entries", document);
  } else {
    table.print();
  }
}

void edid_set_command(const Context& context, const FlashArguments& arguments) {
  constexpr unsigned last_output = 0xFFFF;
  const auto output = static_cast<uint16_t>(parse_number("OUTPUT", arguments.number, last_output));
  const EdidImage image = EdidImage::from_file(arguments.file);
  if (image.blocks() > 2) {
    fail("%s has %zu blocks, and the board keeps one or two", input_name(arguments.file).c_str(),
         image.blocks());
  }
  if (!image.valid() && !arguments.force) {
    fail("the EDID in %s is damaged: %s (--force stores it all the same)",
         input_name(arguments.file).c_str(), image.faults().c_str());
  }
  confirm(format("store an EDID for output %u in the flash", output), context.yes);
  Connection connection(context);
  connection.lock_exclusively();
  const FlashRegion area = {BoardInfoChain::first_sector, BoardInfoChain::sectors_size};
  const FlashWriteFiles files = files_of(arguments, area.address, area.size);
  const TerminalWork terminal;
  BoardInfoChain chain(settled_content(area, files.journal, terminal.work()));
  chain.set_edid(output, image.bytes());
  report(context, write_flash(area.address, chain.bytes(), files, terminal.work()));
}

void serial_command(const Context& context) {
  const Connection connection(context);
  char serial[65] = {};
  int result = 0;
  {
    const QuietStdout quiet;
    result = zvgSnRead(serial, 64);
  }
  constexpr int no_record = -2, bad_serial = -3;
  if (result == no_record) fail("the flash has no valid serial number");
  if (result == bad_serial) {
    fail("the serial number in the flash is too long or has characters that it may not have");
  }
  if (result != 0) fail("cannot read the flash (zvgctl flash status tells more)");
  if (context.json) {
    print_json({{"serial", serial}});
  } else {
    puts(zvg::printable(serial).c_str());
  }
}

// A subcommand that shares the family's arguments.
template <typename Action>
CLI::App* add_command(CLI::App& family, Context& context, const char* name, const char* description,
                      const char* footer, const std::shared_ptr<FlashArguments>& arguments,
                      Action action) {
  CLI::App* const command = family.add_subcommand(name, description);
  command->footer(footer);
  command->callback([&context, arguments, action] {
    context.action = [&context, arguments, action] { action(context, *arguments); };
  });
  return command;
}

void add_backup_options(CLI::App& command, FlashArguments& arguments) {
  command
      .add_option("--backup", arguments.backup, "Where the old content goes [flash-...-TIME.bin]")
      ->type_name("FILE");
  command.add_flag("--no-backup", arguments.no_backup, "Keep no copy of the old content");
}

}  // namespace

void add_flash(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "flash", "The board's firmware flash, 2 MiB",
                                "Examples:\n"
                                "  zvgctl flash read -o firmware.bin\n"
                                "  zvgctl flash write new-firmware.bin\n"
                                "  zvgctl flash sn read");
  auto arguments = std::make_shared<FlashArguments>();
  add_command(family, context, "status", "Show the flash's status registers",
              "Example:\n  zvgctl flash status --json", arguments,
              [](const Context& c, const FlashArguments&) { status_command(c); })
      ->alias("id");

  CLI::App* const read =
      add_command(family, context, "read", "Read the flash, all of it or a region",
                  "Without -o the bytes are printed.\n"
                  "Examples:\n"
                  "  zvgctl flash read -o firmware.bin\n"
                  "  zvgctl flash read --region 0x70200:0x40",
                  arguments, read_command);
  read->add_option("-r,--region", arguments->region, "What to read [all]")
      ->type_name("ADDRESS:LENGTH");
  read->add_option("-o,--output", arguments->output, "The file to write; - is standard output")
      ->type_name("FILE");
  read->add_flag("-f,--force", arguments->force, "Replace the file if it exists");

  CLI::App* const erase =
      add_command(family, context, "erase", "Erase sectors of 4 KiB, or the whole flash",
                  "Asks first; --yes answers. The range is read back afterwards.\n"
                  "Example:\n"
                  "  zvgctl flash erase --region 0x100000:0x10000",
                  arguments, erase_command);
  erase->add_option("-r,--region", arguments->region, "Whole sectors")->type_name("ADDRESS:LENGTH");
  erase->add_flag("--chip", arguments->chip, "All of it");

  CLI::App* const write = add_command(
      family, context, "write", "Make the flash hold a file's bytes",
      "Asks first; --yes answers. Keeps a copy of the old content, erases and programs only what\n"
      "differs, and compares every byte. A write that was cut off is finished by the same "
      "command;\n"
      "until then FILE.unfinished keeps what it needs.\n"
      "Examples:\n"
      "  zvgctl flash write firmware.bin\n"
      "  zvgctl flash write logo.bin --offset 0x180000 --backup old-logo.bin",
      arguments, write_command);
  write->add_option("FILE", arguments->file, "The bytes; - is standard input")->required();
  write->add_option("--offset", arguments->offset, "Where they go [0]")->type_name("ADDRESS");
  add_backup_options(*write, *arguments);

  CLI::App* const verify =
      add_command(family, context, "verify", "Compare the flash with a file, every byte",
                  "Example:\n  zvgctl flash verify firmware.bin", arguments, verify_command);
  verify->add_option("FILE", arguments->file, "The bytes; - is standard input")->required();
  verify->add_option("--offset", arguments->offset, "Where they should be [0]")
      ->type_name("ADDRESS");

  add_command(family, context, "protect", "Protect all blocks against erasing and programming",
              "The library's quad reads take the protection off until the next power-up.\n"
              "Example:\n  zvgctl flash protect",
              arguments, [](const Context& c, const FlashArguments&) { protect_command(c, true); });
  add_command(family, context, "unprotect", "Take the protection off",
              "Asks first; --yes answers.\nExample:\n  zvgctl flash unprotect --yes", arguments,
              [](const Context& c, const FlashArguments&) { protect_command(c, false); });

  CLI::App& edid = add_family(family, "edid", "EDIDs that the board keeps for its outputs",
                              "Example:\n  zvgctl flash edid list");
  CLI::App* const list =
      add_command(edid, context, "list", "Show the board information entries",
                  "Example:\n  zvgctl flash edid list", arguments,
                  [](const Context& c, const FlashArguments&) { edid_list_command(c); });
  add_csv_option(*list, context);
  CLI::App* const set = add_command(
      edid, context, "set", "Store an EDID for an output",
      "Asks first; --yes answers. Every other entry stays; the sectors are saved first.\n"
      "Example:\n"
      "  zvgctl flash edid set 1 monitor.bin",
      arguments, edid_set_command);
  set->add_option("OUTPUT", arguments->number, "The output, 0 to 65535")->required();
  set->add_option("FILE", arguments->file, "Raw EDID bytes: 128 or 256; - is standard input")
      ->required();
  set->add_flag("-f,--force", arguments->force, "Store an EDID that is damaged, too");
  add_backup_options(*set, *arguments);

  CLI::App& serial =
      add_family(family, "sn", "The board's serial number", "Example:\n  zvgctl flash sn read");
  add_command(serial, context, "read", "Print the serial number",
              "Example:\n  zvgctl flash sn read", arguments,
              [](const Context& c, const FlashArguments&) { serial_command(c); });
}

}  // namespace zvgctl
