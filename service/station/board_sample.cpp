#include "service/station/board_sample.h"

#include <util_zvg.h>

#include "service/board/error.h"
#include "service/seam/library_messages.h"
#include "service/text.h"

namespace zvg {

namespace {

constexpr unsigned engines = 21;

// Runs a part of the sample. What fails is left out.
template <typename Part>
void try_part(BoardSample& sample, Part part) {
  try {
    part();
  } catch (const Error& failure) {
    if (sample.trouble.empty()) sample.trouble = failure.what();
  }
}

// The fan controller's duty and period, as everybody sets them.
double fan_percent() {
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

std::string csv_name(std::string name) {
  for (char& c : name) {
    if (c == ',' || c == '"' || c == '\n') c = '_';
  }
  return name;
}

}  // namespace

BoardSample sample_board(Board& board, const std::vector<PowerMonitor>& monitors) {
  BoardSample sample;
  sample.time = timestamp();
  try_part(sample, [&] {
    read_clock_register(board, clock_control);  // the read-back takes failures for zeros
    sample.mhz.emplace();
    for (unsigned i = 0; i < clock_count; ++i) {
      (*sample.mhz)[i] = zvg_rq300_get_freq(clock_names[i].number);
    }
  });
  try_part(sample, [&] { sample.die = read_die(); });
  try_part(sample, [&] { sample.fan_percent = fan_percent(); });
  if (board.door() == Door::driver) {
    for (unsigned engine = 0; engine < engines; ++engine) {
      uint32_t load = engine;
      if (zvgQueryInt(ZVG_QUERY_ENGINE_LOAD, &load) != 0) continue;
      if (static_cast<int32_t>(load) >= 0) {
        sample.loads.emplace_back(engine, static_cast<int>(load));
      }
    }
    zvg_info info = {};
    if (zvgInfoRead(&info) == 0) sample.memory = {info.used, info.free};
  }
  for (const PowerMonitor& monitor : monitors) {
    try_part(sample, [&] {
      const StdoutOnStderr remarks;
      for (Rail& rail : measure(monitor)) sample.rails.push_back(std::move(rail));
    });
  }
  return sample;
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
