#include <stdio.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "devices/hdmi/hdmi_settings.h"
#include "machine/machine.h"
#include "zvgsim/commands.h"
#include "zvgsim/layout.h"

namespace zvgsim {

namespace {

std::vector<unsigned> monitors(const BoardConfig& config) {
  std::vector<unsigned> ports;
  const auto& hdmi = config.of<HdmiSettings>();
  for (unsigned port = 0; port < hdmi_ports; ++port) {
    if (!hdmi.port[port].edid.empty()) ports.push_back(port);
  }
  return ports;
}

std::string list(const std::vector<unsigned>& numbers) {
  std::string text;
  for (const unsigned number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
  return text.empty() ? "none" : text;
}

}  // namespace

int list_boards(bool json) {
  const std::vector<ReadyBoard> boards = ready_boards();
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  size_t widest = 0;
  for (const ReadyBoard& board : boards) widest = std::max(widest, board.name.size());
  for (const ReadyBoard& board : boards) {
    const BoardConfig config = load_board_file(board.file);
    if (json) {
      rows.push_back({{"name", board.name},
                      {"generation", name(config.generation)},
                      {"cards", config.cards},
                      {"monitors", monitors(config)},
                      {"default", board.name == default_board},
                      {"description", config.description},
                      {"file", board.file}});
    } else {
      printf("%-*s  %s%s\n", static_cast<int>(widest), board.name.c_str(),
             config.description.c_str(), board.name == default_board ? " (default)" : "");
    }
  }
  if (json) printf("%s\n", rows.dump(2).c_str());
  if (!boards.empty()) return exit_done;
  fprintf(stderr, "zvgsim: no ready boards beside the program\n");
  return exit_failed;
}

int check(const std::string& file) {
  const BoardConfig config = load_board_file(file);
  const std::string generation(name(config.generation));
  printf("%s: valid: %s, %u card%s, monitors on HDMI ports: %s\n", file.c_str(), generation.c_str(),
         config.cards, config.cards == 1 ? "" : "s", list(monitors(config)).c_str());
  return exit_done;
}

}  // namespace zvgsim
