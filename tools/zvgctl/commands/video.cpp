// zvgctl video: live input from a video decoder, shown in an overlay window.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/i2c.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

constexpr unsigned video_deadline = 90;
constexpr unsigned last_port = 1;

// Capture port control words.
constexpr uint64_t first_control = 0x100C0;
constexpr uint64_t control_stride = 0x10;
constexpr uint64_t capture_on = 0x001, in_window_a = 0x100, in_window_b = 0x200;

struct VideoArguments {
  std::string port;
  std::string channel;
  bool alternate = false;
  std::string window = "a";
  std::string at = "0,0";
  std::string size;
  std::string offset = "0";
  std::string format_a = "0", format_b = "0";
  bool flag = false;
};

int parse_port(const std::string& text) {
  return static_cast<int>(parse_number("PORT", text, last_port));
}

// Two numbers of 16 bits with a separator between them.
std::pair<uint32_t, uint32_t> parse_pair(const char* name, const std::string& text,
                                         char separator) {
  const size_t middle = text.find(separator);
  if (middle == std::string::npos) {
    usage_error("%s: expected two numbers, as 640%c480; found '%s'", name, separator, text.c_str());
  }
  return {static_cast<uint32_t>(parse_number(name, text.substr(0, middle), 0xFFFF)),
          static_cast<uint32_t>(parse_number(name, text.substr(middle + 1), 0xFFFF))};
}

uint64_t control_of(Connection& connection, int port) {
  return connection.read_register(first_control + static_cast<uint64_t>(port) * control_stride, 4);
}

void expect_placed(Connection& connection, int port) {
  if ((control_of(connection, port) & (in_window_a | in_window_b)) != 0) return;
  fail("video port %d is in no window yet: zvgctl video init %d --channel N sets it up", port,
       port);
}

void init_command(const Context& context, const VideoArguments& arguments) {
  constexpr unsigned address = 0x24, alternate_address = 0x25;
  constexpr unsigned last_channel = 3;
  const int port = parse_port(arguments.port);
  const auto channel =
      static_cast<unsigned>(parse_number("--channel", arguments.channel, last_channel));
  if (arguments.window != "a" && arguments.window != "b") {
    usage_error("--window: expected a or b, found '%s'", arguments.window.c_str());
  }
  const Connection connection(context, video_deadline);
  // The library does not look whether the decoder answers.
  const unsigned decoder = arguments.alternate ? alternate_address : address;
  uint8_t byte = 0;
  const int probe = static_cast<int>(zvgI2cRead(channel, decoder, 2, 1, &byte));
  if (probe != 0) fail_i2c(channel, decoder, probe, "reach the video decoder");
  if (zvgZoomVideoInit(static_cast<uint32_t>(port), channel, arguments.alternate ? 1 : 0,
                       arguments.window == "b" ? 1 : 0) != 0) {
    fail("video port %d cannot be set up", port);
  }
}

void start_command(const Context& context, const VideoArguments& arguments) {
  const int port = parse_port(arguments.port);
  const auto [x, y] = parse_pair("--at", arguments.at, ',');
  const auto [width, height] = parse_pair("--size", arguments.size, 'x');
  const auto offset = static_cast<uint32_t>(parse_number("--offset", arguments.offset, UINT32_MAX));
  constexpr unsigned last_format = 3;
  const auto format_a =
      static_cast<int>(parse_number("--format-a", arguments.format_a, last_format));
  const auto format_b =
      static_cast<int>(parse_number("--format-b", arguments.format_b, last_format));
  Connection connection(context, video_deadline);
  expect_placed(connection, port);
  zvgZoomVideoStart(port, x, y, width, height, offset, format_a, format_b, arguments.flag ? 1 : 0);
}

void switch_command(const Context& context, const VideoArguments& arguments, bool on) {
  const int port = parse_port(arguments.port);
  Connection connection(context, video_deadline);
  expect_placed(connection, port);
  on ? zvgZoomVideoRestart(port) : zvgZoomVideoStop(port);
}

void status_command(const Context& context, const VideoArguments& arguments) {
  const int first = arguments.port.empty() ? 0 : parse_port(arguments.port);
  const int last = arguments.port.empty() ? static_cast<int>(last_port) : first;
  Connection connection(context, video_deadline);
  Json document = Json::array();
  Table table({"PORT", "CAPTURE", "WINDOW", "SOURCE", "AT", "SIZE", "OFFSET", "FORMATS", "FLAG"});
  for (int port = first; port <= last; ++port) {
    const uint64_t control = control_of(connection, port);
    uint32_t v[10] = {};
    zvgZoomVideoGetParm(port, v, v + 1, v + 2, v + 3, v + 4, v + 5, v + 6, v + 7, v + 8, v + 9);
    const char* const window = (control & in_window_a) != 0   ? "a"
                               : (control & in_window_b) != 0 ? "b"
                                                              : "none";
    const bool capturing = (control & capture_on) != 0;
    // What the registers of a port hold that does not capture, or is in no window, is of nobody's
    // making.
    const bool known = capturing && (control & (in_window_a | in_window_b)) != 0;
    const auto value = [known](const auto& what) { return known ? Json(what) : Json(); };
    document.push_back({{"port", port},
                        {"capturing", capturing},
                        {"window", window},
                        {"source", value(Json{{"width", v[8]}, {"height", v[9]}})},
                        {"x", value(v[0])},
                        {"y", value(v[1])},
                        {"width", value(v[2])},
                        {"height", value(v[3])},
                        {"offset", value(v[4])},
                        {"format_a", value(v[5])},
                        {"format_b", value(v[6])},
                        {"flag", value(v[7] != 0)}});
    if (!known) {
      table.row({std::to_string(port), yes_no(capturing), window, "off", "-", "-", "-", "-", "-"});
      continue;
    }
    const auto pair = [](uint32_t a, const char* separator, uint32_t b) {
      return std::to_string(a) + separator + std::to_string(b);
    };
    table.row({std::to_string(port), yes_no(capturing), window, pair(v[8], "x", v[9]),
               pair(v[0], ",", v[1]), pair(v[2], "x", v[3]), hex(v[4]), pair(v[5], "/", v[6]),
               yes_no(v[7] != 0)});
  }
  if (context.json) {
    print_json("ports", document);
  } else {
    table.print();
  }
}

// A subcommand with its port and what it does.
template <typename Action>
CLI::App* add_command(CLI::App& family, Context& context,
                      const std::shared_ptr<VideoArguments>& arguments, const char* name,
                      const char* description, const char* examples, Action action) {
  CLI::App* const command = family.add_subcommand(name, description);
  CLI::Option* const port = command->add_option("PORT", arguments->port, "Capture port, 0 or 1");
  if (std::string_view(name) != "status") port->required();
  command->footer(examples);
  command->callback([&context, arguments, action] {
    context.action = [&context, arguments, action] { action(context, *arguments); };
  });
  return command;
}

}  // namespace

void add_video(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "video", "Live video input in an overlay window",
                                "Example:\n"
                                "  zvgctl video init 0 --channel 3\n"
                                "  zvgctl video start 0 --at 100,50 --size 720x480\n"
                                "  zvgctl video status");
  auto arguments = std::make_shared<VideoArguments>();
  CLI::App* const init = add_command(
      family, context, arguments, "init", "Set up a port and its video decoder",
      "Example:\n  zvgctl video init 1 --channel 2 --alternate --window b", init_command);
  init->add_option("-c,--channel", arguments->channel, "I2C channel of the decoder, 0 to 3")
      ->required()
      ->type_name("N");
  init->add_flag("--alternate", arguments->alternate, "The decoder is at 0x25 instead of 0x24");
  init->add_option("--window", arguments->window, "Overlay window: a or b [a]")
      ->type_name("WINDOW");

  CLI::App* const start = add_command(
      family, context, arguments, "start", "Capture, and show the window",
      "Example:\n  zvgctl video start 0 --at 100,50 --size 720x480 --format-a 1", start_command);
  start->add_option("--at", arguments->at, "Place on the screen, pixels [0,0]")->type_name("X,Y");
  start->add_option("--size", arguments->size, "Size on the screen, pixels")
      ->required()
      ->type_name("WxH");
  start
      ->add_option("--offset", arguments->offset, "Into the frame buffers, in units of 2 bytes [0]")
      ->type_name("N");
  start->add_option("--format-a", arguments->format_a, "Window format A, 0 to 3 [0]")
      ->type_name("N");
  start->add_option("--format-b", arguments->format_b, "Window format B, 0 to 3 [0]")
      ->type_name("N");
  start->add_flag("--flag", arguments->flag, "Set the window's flag, bit 13");

  add_command(family, context, arguments, "stop", "Stop capturing and hide the window",
              "Example:\n  zvgctl video stop 0",
              [](const Context& c, const VideoArguments& a) { switch_command(c, a, false); });
  add_command(family, context, arguments, "restart", "Capture and show again",
              "Example:\n  zvgctl video restart 0",
              [](const Context& c, const VideoArguments& a) { switch_command(c, a, true); });
  CLI::App* const status =
      add_command(family, context, arguments, "status", "Show what the ports do",
                  "Example:\n  zvgctl video status --json", status_command);
  add_csv_option(*status, context);
}

}  // namespace zvgctl
