// zvgctl gamma: lookup tables of the display controllers.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/pictures/curve_picture.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

constexpr uint64_t last_crtc = 3;
constexpr uint64_t lowest_kelvin = 1000;
constexpr uint64_t highest_kelvin = 25099;
constexpr unsigned gamma_deadline = 30;

struct Arguments {
  std::string crtc;
  std::string gamma;
  std::string brightness;
  std::string temperature;
  std::string output;
  bool force = false;
};

float parse_factor(const char* name, const std::string& text, bool zero) {
  char* end = nullptr;
  const float value = strtof(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value) || value < 0 || (value == 0 && !zero)) {
    usage_error("%s: expected a number %s 0, found '%s'", name, zero ? "of at least" : "above",
                text.c_str());
  }
  return value;
}

// One number for all channels, or three.
void parse_gamma(const std::string& text, float (&gamma)[3]) {
  size_t begin = 0;
  size_t count = 0;
  while (count < 3) {
    const size_t end = text.find(':', begin);
    gamma[count++] = parse_factor("--gamma", text.substr(begin, end - begin), false);
    if (end == std::string::npos) break;
    begin = end + 1;
    if (count == 3) usage_error("--gamma: expected one number or three, as 2.2 or 2.2:2.1:2.0");
  }
  if (count == 2) usage_error("--gamma: expected one number or three, as 2.2 or 2.2:2.1:2.0");
  if (count == 1) gamma[1] = gamma[2] = gamma[0];
}

zvg_color_setting parse_setting(const Arguments& arguments) {
  zvg_color_setting setting = {0, 6500, {1, 1, 1}, 1};
  if (!arguments.crtc.empty()) {
    setting.crtc = static_cast<uint32_t>(parse_number("CRTC", arguments.crtc, last_crtc));
  }
  if (!arguments.gamma.empty()) parse_gamma(arguments.gamma, setting.gamma);
  if (!arguments.brightness.empty()) {
    setting.brightness = parse_factor("--brightness", arguments.brightness, true);
  }
  if (!arguments.temperature.empty()) {
    const uint64_t kelvin = parse_number("--temperature", arguments.temperature, highest_kelvin);
    if (kelvin < lowest_kelvin) usage_error("--temperature: expected 1000 to 25099 (kelvin)");
    setting.temperature = static_cast<int32_t>(kelvin);
  }
  return setting;
}

Curves curves_of(const zvg_color_setting& setting) {
  zvg_crtc_lut* const lut = zvg_set_color(&setting);
  const auto* const entries = reinterpret_cast<const uint16_t*>(static_cast<uintptr_t>(lut->red));
  Curves curves;
  for (size_t c = 0; c < curves.size(); ++c) {
    curves[c].assign(entries + c * lut->size, entries + (c + 1) * lut->size);
  }
  free(const_cast<uint16_t*>(entries));
  free(lut);
  return curves;
}

std::string describe(const zvg_color_setting& s) {
  return format("gamma %g:%g:%g, brightness %g, %d K", static_cast<double>(s.gamma[0]),
                static_cast<double>(s.gamma[1]), static_cast<double>(s.gamma[2]),
                static_cast<double>(s.brightness), s.temperature);
}

void set_command(const Context& context, const Arguments& arguments) {
  const zvg_color_setting s = parse_setting(arguments);
  Connection connection(context, gamma_deadline);
  if (connection.door() != Door::driver) {
    usage_error("gamma set: the driver loads the table; use --driver");
  }
  // Every digit of a float, so that the table is the one that gamma show draws.
  std::string command =
      format("%u ga %.9g:%.9g:%.9g br %.9g ct %d", s.crtc, static_cast<double>(s.gamma[0]),
             static_cast<double>(s.gamma[1]), static_cast<double>(s.gamma[2]),
             static_cast<double>(s.brightness), s.temperature);
  const int result = zvgCrtcGammaSet(reinterpret_cast<uint8_t*>(command.data()));
  if (result != 0) {
    fail("the driver did not take the lookup table of CRTC%u: %s", s.crtc,
         reason(result, errno).c_str());
  }
  printf("CRTC%u: %s\n", s.crtc, describe(s).c_str());
}

void write_picture(const Arguments& arguments, const Curves& curves, const std::string& title) {
  const std::string& path = arguments.output;
  const auto ends_with = [&](const char* end) { return path.ends_with(end); };
  const bool picture_of_lines = ends_with(".svg") || path == standard_stream;
  if (!picture_of_lines && !ends_with(".png")) {
    usage_error("--output: expected a file name that ends in .svg or .png, found '%s'",
                path.c_str());
  }
  OutputFile file(path, arguments.force);
  const std::string content =
      picture_of_lines ? curves_svg(curves, title) : curves_png(curves, title);
  file.write(content.data(), content.size());
  file.commit();
}

void show_command(const Context& context, const Arguments& arguments) {
  const zvg_color_setting setting = parse_setting(arguments);
  const Curves curves = curves_of(setting);
  const std::string title = describe(setting);
  if (!arguments.output.empty()) write_picture(arguments, curves, title);
  if (context.json) {
    print_json({{"red", curves[0]}, {"green", curves[1]}, {"blue", curves[2]}});
  } else {
    printf("%s\n%s", title.c_str(), curves_text(curves, use_colour(STDOUT_FILENO)).c_str());
  }
}

}  // namespace

void add_gamma(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "gamma", "Lookup tables: gamma, brightness, colour temperature",
                 "Examples:\n"
                 "  zvgctl gamma show --gamma 2.2 --temperature 5000\n"
                 "  zvgctl gamma set 0 --brightness 0.8");
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const set =
      family.add_subcommand("set", "Load a display controller's table, through the driver");
  CLI::App* const show =
      family.add_subcommand("show", "Draw the curves of a setting; needs no board");
  set->add_option("CRTC", arguments->crtc, "Display controller, 0 to 3")
      ->required()
      ->type_name("N");
  for (CLI::App* const command : {set, show}) {
    command->add_option("--gamma", arguments->gamma, "One for all channels, or three (default 1)")
        ->type_name("R[:G:B]");
    command->add_option("--brightness", arguments->brightness, "Factor, 0 or more (default 1)")
        ->type_name("FACTOR");
    command
        ->add_option("--temperature", arguments->temperature,
                     "White point, 1000 to 25099 kelvin (default 6500)")
        ->type_name("KELVIN");
  }
  show->add_option("-o,--output", arguments->output,
                   "Also draw into a .svg or .png file; - is standard output, SVG")
      ->type_name("FILE");
  show->add_flag("-f,--force", arguments->force, "Replace the file of -o if it exists");
  set->footer("Example:\n  zvgctl gamma set 0 --gamma 2.2 --temperature 5000");
  show->footer(
      "R, G, B: a curve; Y, M, C: two of them; W: all three.\n"
      "Examples:\n"
      "  zvgctl gamma show --gamma 2.2\n"
      "  zvgctl gamma show --temperature 3000 -o warm.svg");
  set->callback([&context, arguments] {
    context.action = [&context, arguments] { set_command(context, *arguments); };
  });
  show->callback([&context, arguments] {
    context.action = [&context, arguments] { show_command(context, *arguments); };
  });
}

}  // namespace zvgctl
