// zvgctl ddr: the registers of the DDR controllers and PHYs, on several channels at once.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "service/ddr/ddr_channels.h"
#include "service/files/work_folder.h"
#include "service/number.h"
#include "service/seam/library_messages.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"
#include "zvgctl/terminal/progress.h"

namespace zvgctl {

namespace {

namespace fs = std::filesystem;

constexpr char library_dump[] = "DDR_Dump_Reg.txt";

// Of one channel: nine PHY blocks and a controller, a line a word.
constexpr uint64_t dump_lines = 9 * 65536 + 8192;
constexpr uint64_t line_size = 49;

struct Arguments {
  std::string address;
  std::string value;
  std::string mask = "0xf";
  std::string output = library_dump;
  bool force = false;
};

unsigned parse_mask(const Arguments& arguments) {
  return static_cast<unsigned>(parse_number("--mask", arguments.mask, every_ddr_channel));
}

void expect_success(int result, const char* deed, uint64_t address) {
  if (result != 0) {
    fail("cannot %s DDR register %s: %s", deed, hex(address, 6).c_str(),
         reason(result, errno).c_str());
  }
}

void check_generation(const Context& context) {
  require_generation(parse_connection(context.connection), "where the DDR channels are");
}

void read_command(const Context& context, const Arguments& arguments) {
  const uint64_t address = parse_number("ADDR", arguments.address, last_register);
  const unsigned mask = parse_mask(arguments);
  check_generation(context);
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  const unsigned selected = selected_ddr_channels(mask);
  Json channels = Json::array();
  for (unsigned channel = 0; channel < max_ddr_channels; ++channel) {
    if ((selected >> channel & 1) == 0) continue;
    uint32_t value = 0;
    expect_success(zvgDdrRegReadLong(1u << channel, address, &value), "read", address);
    if (context.json) {
      channels.push_back({{"channel", channel}, {"value", hex(value, 8)}});
    } else {
      printf("channel %u: %s\n", channel, hex(value, 8).c_str());
    }
  }
  if (context.json) print_json({{"address", address_text(address)}, {"channels", channels}});
}

void write_command(const Context& context, const Arguments& arguments) {
  const uint64_t address = parse_number("ADDR", arguments.address, last_register);
  const auto value = static_cast<uint32_t>(parse_number("VALUE", arguments.value, UINT32_MAX));
  const unsigned mask = parse_mask(arguments);
  check_generation(context);
  Connection connection(context);
  expect_success(zvgDdrRegWriteLong(selected_ddr_channels(mask), address, value), "write", address);
}

// Shows how long the dump has grown, while the library is at it.
class Watcher {
 public:
  Watcher(const fs::path& file, uint64_t total)
      : thread_([this, file, total] {
          Progress progress("dumping", total);
          while (!done_) {
            std::error_code absent;
            const auto size = fs::file_size(file, absent);
            if (!absent) progress.update(size);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
          }
        }) {}
  ~Watcher() {
    done_ = true;
    thread_.join();
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

 private:
  std::atomic<bool> done_{false};
  std::thread thread_;
};

void copy(const fs::path& from, OutputFile& to) {
  std::ifstream file(from, std::ios::binary);
  std::vector<char> piece(1 << 20);
  while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())), file.gcount() > 0) {
    to.write(piece.data(), static_cast<size_t>(file.gcount()));
  }
  to.commit();
}

void dump_command(const Context& context, const Arguments& arguments) {
  const unsigned mask = parse_mask(arguments);
  const bool to_stdout = arguments.output == standard_stream;
  const fs::path target = fs::absolute(arguments.output);
  if (!to_stdout && !arguments.force && fs::exists(target)) {
    fail("%s exists; --force overwrites it", arguments.output.c_str());
  }
  std::optional<OutputFile> stream;
  if (to_stdout) stream.emplace(arguments.output, arguments.force);
  check_generation(context);
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  const unsigned selected = selected_ddr_channels(mask);
  const auto channels = static_cast<unsigned>(__builtin_popcount(selected));
  // The library writes its dump into the current folder, under a name of its own.
  const WorkFolder folder(to_stdout ? fs::temp_directory_path() : target.parent_path());
  const fs::path dump = folder.path() / library_dump;
  int result = 0;
  size_t failures = 0;
  {
    const MessageTap tap({"zvgDDRReadReg: read from"});
    const Watcher watcher(dump, channels * dump_lines * line_size);
    result = zvgDDRReadReg(selected);
    failures = tap.count();
  }
  if (result == -1 && failures == 0) fail("the library could not write its dump");
  std::error_code error;
  const uint64_t size = fs::file_size(dump, error);
  const std::string name = output_name(arguments.output);
  if (stream && !error) {
    copy(dump, *stream);
  } else if (!error) {
    fs::rename(dump, target, error);
  }
  if (error) fail("cannot write %s: %s", name.c_str(), error.message().c_str());
  if (failures != 0) {
    fail("%zu blocks could not be read to their end; %s has the rest", failures, name.c_str());
  }
  if (context.json) {
    print_json({{"file", arguments.output}, {"channels", channels}, {"bytes", size}});
  } else {
    printf("%s: %u channel%s, %llu bytes\n", name.c_str(), channels, channels == 1 ? "" : "s",
           static_cast<unsigned long long>(size));
  }
}

using Command = void (*)(const Context&, const Arguments&);

CLI::App* add_command(CLI::App& family, Context& context, const char* name, const char* description,
                      const std::shared_ptr<Arguments>& arguments, Command run) {
  CLI::App* const command = family.add_subcommand(name, description);
  command
      ->add_option("-m,--mask", arguments->mask,
                   "The channels: bit 0 is channel 0 (default: all that the board has)")
      ->type_name("MASK");
  command->callback([&context, arguments, run] {
    context.action = [&context, arguments, run] { run(context, *arguments); };
  });
  return command;
}

void add_address(CLI::App& command, Arguments& arguments) {
  command.add_option("ADDR", arguments.address, "The register's address in any of the channels")
      ->required()
      ->type_name("ADDRESS");
}

}  // namespace

void add_ddr(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "ddr", "DDR controllers and PHYs, several channels at once",
                 "Examples:\n"
                 "  zvgctl ddr read 0x2801b0\n"
                 "  zvgctl ddr dump --mask 0x1 -o channel0.txt\n"
                 "  zvgctl ddr eye -o eye.svg");
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = add_command(family, context, "read", "Read a register of each channel",
                                  arguments, read_command);
  add_address(*command, *arguments);
  command->footer("Example:\n  zvgctl ddr read 0x2801b0 --mask 0x3");

  arguments = std::make_shared<Arguments>();
  command = add_command(family, context, "write", "Write a register of each channel", arguments,
                        write_command);
  add_address(*command, *arguments);
  command->add_option("VALUE", arguments->value, "32 bits")->required()->type_name("NUMBER");
  command->footer("Example:\n  zvgctl ddr write 0x2801b0 0x1 --mask 0x1");

  arguments = std::make_shared<Arguments>();
  command = add_command(family, context, "dump",
                        "Write all the registers of the channels into a text file", arguments,
                        dump_command);
  command
      ->add_option("-o,--output", arguments->output,
                   "The file (default DDR_Dump_Reg.txt); - is standard output")
      ->type_name("FILE");
  command->add_flag("-f,--force", arguments->force, "Overwrite the file");
  command->footer(
      "Nine PHY blocks and the controller: 28 MB a channel. Nothing else may use the PHYs\n"
      "meanwhile.\n"
      "Example:\n"
      "  zvgctl ddr dump --mask 0x1 -o channel0.txt");

  add_ddr_eye(family, context);
  add_ddr_messages(family, context);
}

}  // namespace zvgctl
