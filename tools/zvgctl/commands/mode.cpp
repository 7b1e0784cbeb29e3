// zvgctl mode: what every output shows.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <array>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/library_text.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

constexpr uint64_t output_mux = 0x10024;
constexpr unsigned instances = 4;
constexpr unsigned crtcs = 4;
constexpr const char* outputs[] = {"DAC", "HDMI", "DVO", "DP"};  // two bits each, from the lowest

// A selector of 0 is the instance's own controller, 1 to 3 are the others in ascending order.
unsigned crtc_of(unsigned instance, unsigned selector) {
  if (selector == 0) return instance;
  return selector - 1 < instance ? selector - 1 : selector;
}

struct Mode {
  std::array<uint32_t, ZVG_MODE_SYNC_FLAGS + 1> words{};

  uint32_t word(zvg_mode_word index) const { return words[index]; }
  // A controller that nobody set up has no total.
  bool set() const { return word(ZVG_MODE_H_TOTAL) != 0 && word(ZVG_MODE_V_TOTAL) != 0; }
  double refresh() const {
    return word(ZVG_MODE_PIXEL_CLOCK) * 1000.0 / word(ZVG_MODE_H_TOTAL) / word(ZVG_MODE_V_TOTAL);
  }
  std::string syncs() const {
    const uint32_t flags = words[ZVG_MODE_SYNC_FLAGS];
    return std::string((flags & ZVG_SYNC_H_NEGATIVE) != 0 ? "-" : "+") +
           ((flags & ZVG_SYNC_V_NEGATIVE) != 0 ? "-" : "+");
  }
  std::string line(zvg_mode_word first) const {
    return format("%u %u %u %u", words[first], words[first + 1], words[first + 2],
                  words[first + 3]);
  }
  Json json() const {
    const auto direction = [this](int first) {
      return Json{{"active", words[static_cast<size_t>(first)]},
                  {"sync_start", words[static_cast<size_t>(first) + 1]},
                  {"sync_end", words[static_cast<size_t>(first) + 2]},
                  {"total", words[static_cast<size_t>(first) + 3]}};
    };
    return {{"pixel_clock_khz", word(ZVG_MODE_PIXEL_CLOCK)},
            {"horizontal", direction(ZVG_MODE_H_ACTIVE)},
            {"vertical", direction(ZVG_MODE_V_ACTIVE)},
            {"hsync_negative", (words[ZVG_MODE_SYNC_FLAGS] & ZVG_SYNC_H_NEGATIVE) != 0},
            {"vsync_negative", (words[ZVG_MODE_SYNC_FLAGS] & ZVG_SYNC_V_NEGATIVE) != 0},
            {"refresh_hz", refresh()}};
  }
};

void list_command(const Context& context, bool raw) {
  if (raw && context.json) usage_error("--raw is text; leave --json out");
  Connection connection(context);
  const uint64_t mux = connection.read_register(output_mux, 4);
  if (raw) {
    expect_library_colours({"41", "42", "43", "44", "0"});
    zvgCrtcOutputPrint();
    return;
  }
  std::array<Mode, crtcs> modes;
  for (unsigned crtc = 0; crtc < crtcs; ++crtc) zvgCrtcModeRead(crtc, modes[crtc].words.data());

  Table table({"output", "controller", "mode", "refresh", "pixel clock", "horizontal", "vertical",
               "syncs"});
  Json document = Json::array();
  for (unsigned instance = 0; instance < instances; ++instance) {
    for (unsigned kind = 0; kind < std::size(outputs); ++kind) {
      const unsigned crtc = crtc_of(instance, mux >> (instance * 8 + kind * 2) & 3);
      const Mode& mode = modes[crtc];
      const std::string name = format("%s %u", outputs[kind], instance);
      Json one = {{"output", outputs[kind]}, {"instance", instance}, {"crtc", crtc}};
      one["mode"] = mode.set() ? mode.json() : Json(nullptr);
      document.push_back(std::move(one));
      if (!mode.set()) {
        table.row({name, format("CRTC%u", crtc), "not set", "", "", "", "", ""});
        continue;
      }
      table.row({name, format("CRTC%u", crtc),
                 format("%ux%u", mode.word(ZVG_MODE_H_ACTIVE), mode.word(ZVG_MODE_V_ACTIVE)),
                 format("%.2f Hz", mode.refresh()),
                 format("%u kHz", mode.word(ZVG_MODE_PIXEL_CLOCK)), mode.line(ZVG_MODE_H_ACTIVE),
                 mode.line(ZVG_MODE_V_ACTIVE), mode.syncs()});
    }
  }
  if (context.json) {
    print_json("outputs", document);
  } else {
    table.print();
  }
}

}  // namespace

void add_mode_family(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "mode", "What the outputs show",
                                "Examples:\n"
                                "  zvgctl mode list\n"
                                "  zvgctl mode list --raw");
  auto raw = std::make_shared<bool>(false);
  CLI::App* const list = family.add_subcommand(
      "list", "Show each output's display controller, its timing and refresh rate");
  add_csv_option(*list, context);
  list->add_flag("--raw", *raw, "Print the library's own report, in colour");
  list->footer(
      "\"horizontal\" and \"vertical\": active, sync start, sync end, total. \"syncs\": "
      "polarities.\n"
      "Example:\n"
      "  zvgctl mode list --json | jq '.[] | select(.output == \"DP\")'");
  list->callback(
      [&context, raw] { context.action = [&context, raw] { list_command(context, *raw); }; });
}

}  // namespace zvgctl
