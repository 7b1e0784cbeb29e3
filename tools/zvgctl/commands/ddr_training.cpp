// zvgctl ddr eye and ddr messages: what the DDR training firmware says, and the eyes it draws.
#include <stdio.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "formats/training/message.h"
#include "service/ddr/ddr_channels.h"
#include "service/ddr/ddr_listener.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/pictures/ddr_eye_picture.h"
#include "zvgctl/pictures/ddr_eye_text.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

constexpr unsigned default_deadline = 60;          // seconds a channel
constexpr unsigned default_serial_deadline = 600;  // a word takes a millisecond there
constexpr uint64_t longest_deadline = 86400;
constexpr uint64_t last_type = 3;

struct EyeArguments {
  std::string mask = "0xf";
  std::string type = "0";
  std::string output;
  bool no_color = false;
  bool force = false;
};

// By the file's name.
enum class FileKind { none, svg, png, csv };

FileKind file_kind(const std::string& path) {
  if (path.empty()) return FileKind::none;
  if (path == standard_stream) return FileKind::svg;
  const std::string extension = std::filesystem::path(path).extension().string();
  if (extension == ".svg") return FileKind::svg;
  if (extension == ".png") return FileKind::png;
  if (extension == ".csv") return FileKind::csv;
  usage_error("--output: \"%s\" has to end with .svg, .png or .csv", path.c_str());
}

std::string file_content(FileKind kind, const std::vector<ChannelEyes>& channels) {
  if (kind == FileKind::csv) return eyes_csv(channels);
  return eyes_picture(channels, kind == FileKind::png ? PictureFormat::png : PictureFormat::svg);
}

std::chrono::seconds deadline(const Context& context) {
  if (!context.deadline.empty()) {
    return std::chrono::seconds(parse_number("--deadline", context.deadline, longest_deadline));
  }
  const bool serial = parse_connection(context.connection).door == Door::serial;
  return std::chrono::seconds(serial ? default_serial_deadline : default_deadline);
}

// What is wrong with what was heard; empty for nothing.
std::string shortfall(const ChannelEyes& eyes, ListeningEnd end, std::chrono::seconds limit) {
  if (end == ListeningEnd::interrupted) {
    return format("listening to channel %u was interrupted", eyes.channel);
  }
  if (end == ListeningEnd::too_long) {
    return format("channel %u did not fall silent within %lld s", eyes.channel,
                  static_cast<long long>(limit.count()));
  }
  if (eyes.complete) return "";
  return format("channel %u: %s", eyes.channel, eyes.shortfall.c_str());
}

void eye_command(const Context& context, const EyeArguments& arguments) {
  const auto mask =
      static_cast<unsigned>(parse_number("--channel", arguments.mask, every_ddr_channel));
  const auto type = static_cast<int>(parse_number("--type", arguments.type, last_type));
  const FileKind kind = file_kind(arguments.output);
  const auto limit = deadline(context);
  require_generation(parse_connection(context.connection), "where the DDR channels are");
  Connection connection(context);
  const unsigned selected = selected_ddr_channels(mask);
  // Before the listening, which may take a while.
  std::unique_ptr<OutputFile> file;
  if (kind != FileKind::none)
    file = std::make_unique<OutputFile>(arguments.output, arguments.force);

  const InterruptNotice ctrl_c(InterruptNotice::Board::stopped);  // what was heard is drawn
  std::vector<ChannelEyes> channels;
  std::string problems;
  bool more = true;
  for (unsigned channel = 0; channel < max_ddr_channels && more; ++channel) {
    if ((selected >> channel & 1) == 0) continue;
    DdrListener listener(channel, type);
    connection.set_deadline(limit);
    const ListeningEnd end = listener.listen();
    connection.set_deadline(std::chrono::seconds(0));
    channels.push_back(listener.eyes());
    more = end == ListeningEnd::silent;
    const std::string problem = shortfall(channels.back(), end, limit);
    if (!problem.empty()) problems += (problems.empty() ? "" : "; ") + problem;
  }

  if (file) {
    const std::string content = file_content(kind, channels);
    file->write(content.data(), content.size());
    file->commit();
  }
  if (context.json) {
    print_json({{"channels", eyes_json(channels)}});
  } else {
    const bool colour = !arguments.no_color && use_colour(STDOUT_FILENO);
    for (const ChannelEyes& eyes : channels) printf("\n%s", heat_maps(eyes, colour).c_str());
    if (file)
      printf("\n%s: %zu channel%s\n", output_name(arguments.output).c_str(), channels.size(),
             channels.size() == 1 ? "" : "s");
  }
  if (!problems.empty()) fail("%s; what it had sent is shown", problems.c_str());
}

struct MessageArguments {
  std::string table = "2d";
  std::string id;
};

std::string one_line(const char* text) {
  std::string line;
  for (; *text != '\0'; ++text) line += *text == '\n' ? std::string("\\n") : std::string(1, *text);
  return line;
}

void messages_command(const Context& context, const MessageArguments& arguments) {
  const DdrCatalogue* catalogue = nullptr;
  std::string names;
  for (const DdrCatalogue& one : ddr_catalogues()) {
    names += (names.empty() ? "" : ", ") + std::string(one.name);
    if (arguments.table == one.name) catalogue = &one;
  }
  if (catalogue == nullptr) {
    usage_error("--table: there is no catalogue \"%s\": expected one of %s",
                arguments.table.c_str(), names.c_str());
  }
  std::vector<const zvg_ddr_message*> found;
  if (arguments.id.empty()) {
    for (const zvg_ddr_message& record : catalogue->records) found.push_back(&record);
  } else {
    const auto id = static_cast<uint32_t>(parse_number("ID", arguments.id, UINT32_MAX));
    found.push_back(find_message(*catalogue, id));
    if (found.front() == nullptr) {
      fail("there is no message 0x%08x in the catalogue %s; 'ddr messages --table %s' lists it", id,
           catalogue->name, catalogue->name);
    }
  }
  Json list = Json::array();
  for (const zvg_ddr_message* record : found) {
    const unsigned count = zvg::formats::training::argument_count(record->id);
    if (context.json) {
      list.push_back(
          {{"id", hex(record->id, 8)}, {"arguments", count}, {"format", record->format}});
    } else {
      printf("0x%08x  %2u argument%s  %s\n", record->id, count, count == 1 ? " " : "s",
             one_line(record->format).c_str());
    }
  }
  if (context.json) print_json({{"table", catalogue->name}, {"messages", list}});
}

}  // namespace

void add_ddr_eye(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<EyeArguments>();
  CLI::App* const command =
      family.add_subcommand("eye", "Listen to the training firmware; draw its read and write eyes");
  command
      ->add_option("-c,--channel", arguments->mask,
                   "The channels: bit 0 is channel 0 (default: all that the board has)")
      ->type_name("MASK");
  command
      ->add_option("-t,--type", arguments->type,
                   "What is trained: 0 DDR4 2D (default), 1 LPDDR4X 2D, 2 DDR4 1D, 3 LPDDR4X 1D")
      ->type_name("TYPE");
  command
      ->add_option("-o,--output", arguments->output,
                   "Draw the eyes into a picture (.svg, .png), or write their counts (.csv); - is "
                   "standard output, SVG")
      ->type_name("FILE");
  command->add_flag("--no-color", arguments->no_color, "Plain characters, on a terminal as well");
  command->add_flag("-f,--force", arguments->force, "Overwrite the file");
  command->footer(
      "Each channel is listened to until it has been silent for a tenth of a second, at most 60\n"
      "seconds (600 over a serial line, or --deadline). What came by then, or by Ctrl-C, is "
      "drawn;\n"
      "the exit status then is 1, and so it is when the firmware reported a failure or left an "
      "eye\n"
      "out.\n"
      "Width and height are those of the opening around the middle delay step.\n"
      "Example:\n"
      "  zvgctl ddr eye --channel 0x1 -o eye.svg");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { eye_command(context, *arguments); };
  });
}

void add_ddr_messages(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<MessageArguments>();
  CLI::App* const command =
      family.add_subcommand("messages", "Look training messages up; needs no board");
  command->add_option("ID", arguments->id, "The identifier (default: all)")->type_name("NUMBER");
  command
      ->add_option("--table", arguments->table,
                   "The catalogue: 2d (default), ddr4-1d, lpddr4x-1d or ddr4-1d-old")
      ->type_name("TABLE");
  command->footer("Example:\n  zvgctl ddr messages 0x00160004");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { messages_command(context, *arguments); };
  });
}

}  // namespace zvgctl
