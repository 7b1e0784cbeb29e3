#include "devices/ddr/training_settings.h"

#include <utility>

#include "board/file_table.h"

namespace zvgsim {

namespace {

void read_eye(FileTable& table, std::string_view part, EyeShape* eye) {
  const auto found = table.array(part, "[width, height, centre]");
  if (!found) return;
  double* const fields[] = {&eye->width, &eye->height, &eye->centre};
  const auto elements = found->elements();
  bool valid = elements.size() == std::size(fields);
  for (size_t i = 0; valid && i < std::size(fields); ++i) {
    const auto number = elements[i].real();
    valid = number && *number >= 0 && *number <= 127;
    if (valid) *fields[i] = *number;
  }
  if (!valid) found->expected("[width, height, centre] in steps, 0 to 127");
}

void read_message(const FileValue& value, std::vector<TrainingMessage>* messages) {
  std::vector<uint32_t> words;
  for (const FileValue& element : value.elements()) {
    uint32_t word = 0;
    element.number(&word);
    words.push_back(word);
  }
  if (words.empty()) {
    value.expected("an identifier and its arguments, as [0x10003, 1, 2, 3]");
    return;
  }
  messages->push_back({words.front(), {words.begin() + 1, words.end()}});
}

using Seen = std::array<bool, max_training_channels>;

void read_channel(FileTable& table, TrainingSettings& training, Seen& seen) {
  unsigned number = 0;
  if (table.index("channel", &number, max_training_channels) && std::exchange(seen[number], true)) {
    table.problem("channel " + std::to_string(number) + " is described a second time");
  }
  TrainingChannelSettings& channel = training.channels[number];
  if (const auto messages = table.array("messages", "an array of messages")) {
    channel.messages.emplace();
    for (const FileValue& message : messages->elements()) {
      read_message(message, &*channel.messages);
    }
  }
  table.number("lanes", &channel.lanes, 1, 72);
  read_eye(table, "read_eye", &channel.read_eye);
  read_eye(table, "write_eye", &channel.write_eye);
}

}  // namespace

void read_training(FileTable& root, BoardConfig& config) {
  root.table("training", [&](FileTable& table) {
    auto& training = config.of<TrainingSettings>();
    table.boolean("enabled", &training.enabled);
    table.number("seed", &training.seed);
    table.number("gap_us", &training.gap_us, 0, 3'600'000'000);
    table.boolean("endless", &training.endless);
    Seen seen{};
    table.tables("channel", [&](FileTable& channel) { read_channel(channel, training, seen); });
  });
}

}  // namespace zvgsim
