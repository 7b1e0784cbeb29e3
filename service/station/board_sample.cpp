#include "service/station/board_sample.h"

#include <util_zvg.h>

#include <nlohmann/json.hpp>
#include <type_traits>

#include "service/board/error.h"
#include "service/seam/library_messages.h"
#include "service/text.h"

namespace zvg {

namespace {

constexpr unsigned engines = 21;

// A part of the sample, which only reads: it is tried once more when an access failed. What fails
// again is left out.
template <typename Part>
auto attempt(Board& board, BoardSample& sample, const char* deed, Part part) {
  constexpr int tries = 2;
  std::optional<std::invoke_result_t<Part>> value;
  for (int i = 0; i < tries && !value; ++i) {
    try {
      value = board.checked(deed, part);
    } catch (const Error& failure) {
      if (i + 1 < tries) continue;
      if (sample.trouble.empty()) sample.trouble = failure.what();
      if (failure.kind() == ErrorKind::access) sample.access_failed = true;
    }
  }
  return value;
}

std::array<int, clock_count> clock_rates() {
  std::array<int, clock_count> mhz{};
  for (unsigned i = 0; i < clock_count; ++i) mhz[i] = zvg_rq300_get_freq(clock_names[i].number);
  return mhz;
}

VideoMemory video_memory() {
  zvg_info info = {};
  zvgInfoRead(&info);
  return {info.used, info.free};
}

std::vector<Rail> rails_of(const PowerMonitor& monitor) {
  const StdoutOnStderr remarks;
  return measure(monitor);
}

// The fan controller's duty and period, as everybody sets them.
double fan_percent(Board& board) {
  board.ensure_colour_addressing();
  constexpr uint32_t registers[] = {0xD4, 0xD5, 0xD6, 0xD7};
  uint8_t bytes[4] = {};
  for (int i = 0; i < 4; ++i) {
    if (zvgCrtcReadByte(registers[i], &bytes[i]) != 0)
      throw_error(ErrorKind::access, "cannot read the fan's registers");
  }
  const unsigned period = bytes[0] | bytes[1] << 8;
  const unsigned duty = bytes[2] | bytes[3] << 8;
  if (period == 0) throw_error(ErrorKind::bad_data, "the fan's controller is not set up");
  return 100.0 * duty / period;
}

std::string csv_name(const std::string& raw) {
  std::string name = printable(raw);
  for (char& c : name) {
    if (c == ',' || c == '"' || c == '\n') c = '_';
  }
  return name;
}

}  // namespace

std::optional<int> engine_load(unsigned engine) {
  uint32_t load = engine;
  zvgQueryInt(ZVG_QUERY_ENGINE_LOAD, &load);
  const auto percent = static_cast<int32_t>(load);
  return percent < 0 ? std::nullopt : std::optional(percent);
}

BoardSample sample_board(Board& board, const std::vector<PowerMonitor>& monitors) {
  BoardSample sample;
  sample.time = timestamp();
  sample.mhz = attempt(board, sample, "read the clocks", clock_rates);
  sample.die = attempt(board, sample, "read the sensors", read_die);
  sample.fan_percent =
      attempt(board, sample, "read the fan's registers", [&] { return fan_percent(board); });
  if (board.door() == Door::driver) {
    for (unsigned engine = 0; engine < engines; ++engine) {
      const auto load =
          attempt(board, sample, "ask for an engine's load", [&] { return engine_load(engine); });
      if (load && *load) sample.loads.emplace_back(engine, **load);
    }
    sample.memory = attempt(board, sample, "ask for the video memory", video_memory);
  }
  for (const PowerMonitor& monitor : monitors) {
    const auto rails =
        attempt(board, sample, "measure the rails", [&] { return rails_of(monitor); });
    if (rails) sample.rails.insert(sample.rails.end(), rails->begin(), rails->end());
  }
  return sample;
}

Json to_json(const BoardSample& sample) {
  Json clocks = Json::array();
  for (unsigned i = 0; i < clock_count; ++i) {
    clocks.push_back(
        {{"clock", clock_names[i].name}, {"mhz", sample.mhz ? Json((*sample.mhz)[i]) : Json()}});
  }
  Json engines = Json::array();
  for (const auto& [engine, load] : sample.loads) {
    engines.push_back({{"engine", engine}, {"load_percent", load}});
  }
  Json rails = Json::array();
  for (const Rail& rail : sample.rails) rails.push_back(to_json(rail));
  Json memory;
  if (sample.memory) memory = {{"used", sample.memory->used}, {"free", sample.memory->free}};
  return {{"time", sample.time},
          {"clocks", clocks},
          {"sensors", sample.die ? to_json(*sample.die) : Json()},
          {"fan_percent", sample.fan_percent ? Json(rounded(*sample.fan_percent, 1)) : Json()},
          {"engines", engines},
          {"video_memory", memory},
          {"rails", rails},
          {"trouble", sample.trouble.empty() ? Json() : Json(sample.trouble)}};
}

std::string csv_header(const BoardSample& sample) {
  std::string line = "time";
  for (const ClockName& clock : clock_names) line += std::string(",mhz_") + clock.name;
  line += ",celsius0,celsius1,volts0,volts1,fan_percent";
  for (const auto& [engine, load] : sample.loads) line += ",load" + std::to_string(engine);
  line += ",memory_used,memory_free";
  for (const Rail& rail : sample.rails) {
    const std::string name = csv_name(rail.chip + " " + rail.name);
    line += "," + name + " V," + name + " A";
  }
  return line + "\n";
}

std::string csv_line(const BoardSample& sample) {
  std::string line = sample.time;
  const auto add = [&line](const auto& value, const char* pattern) {
    line += ",";
    if (value) line += format(pattern, *value);
  };
  for (unsigned i = 0; i < clock_count; ++i) {
    line += sample.mhz ? "," + std::to_string((*sample.mhz)[i]) : ",";
  }
  for (const auto& pair :
       {sample.die ? sample.die->celsius : nullptr, sample.die ? sample.die->volts : nullptr}) {
    for (uint32_t i = 0; i < die_sensors; ++i) {
      line += pair != nullptr ? format(",%.4f", pair[i]) : ",";
    }
  }
  add(sample.fan_percent, "%.1f");
  for (const auto& [engine, load] : sample.loads) line += "," + std::to_string(load);
  line += sample.memory ? format(",%u,%u", sample.memory->used, sample.memory->free) : ",,";
  for (const Rail& rail : sample.rails) {
    add(rail.volts, "%.6g");
    add(rail.amperes, "%.6g");
  }
  return line + "\n";
}

}  // namespace zvg
