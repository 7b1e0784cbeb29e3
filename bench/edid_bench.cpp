// Decoding and printing a two-block EDID, in process, with standard output on the null device.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <numeric>

#include "util_zvg.h"

namespace {

void close_block(uint8_t* block) {
  block[127] = static_cast<uint8_t>(-std::accumulate(block, block + 127, 0));
}

// An HDMI monitor: two detailed timings, name and range limits, sixteen video codes, audio.
std::array<uint8_t, 256> monitor() {
  constexpr uint8_t timing_1080p[18] = {0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58,
                                        0x2C, 0x45, 0x00, 0x09, 0x25, 0x21, 0x00, 0x00, 0x1E};
  constexpr uint8_t name[18] = {0, 0, 0, 0xFC, 0, 'B', 'E', 'N', 'C', 'H', '\n'};
  constexpr uint8_t range[18] = {0, 0, 0, 0xFD, 0, 48, 75, 30, 83, 17, 0, '\n'};
  std::array<uint8_t, 256> edid = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x6A, 0xC7,
                                   1,    0,    1,    0,    0,    0,    10,   30,   1,    4};
  edid[0x14] = 0xA5;
  edid[0x23] = edid[0x24] = 0xFF;
  memcpy(&edid[0x36], timing_1080p, 18);
  memcpy(&edid[0x48], timing_1080p, 18);
  memcpy(&edid[0x5A], name, 18);
  memcpy(&edid[0x6C], range, 18);
  edid[0x7E] = 1;
  close_block(&edid[0]);
  uint8_t* const cea = &edid[128];
  cea[0] = 0x02;
  cea[1] = 3;
  cea[3] = 0xF1;
  uint8_t* block = cea + 4;
  *block++ = 2 << 5 | 16;
  for (uint8_t code = 1; code <= 16; ++code) *block++ = code;
  *block++ = 1 << 5 | 3;
  block += 3;
  cea[2] = static_cast<uint8_t>(block - cea);
  memcpy(block, timing_1080p, 18);
  close_block(cea);
  return edid;
}

void edid_report(benchmark::State& state) {
  const auto edid = monitor();
  memcpy(last_edid, edid.data(), edid.size());
  fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, STDOUT_FILENO);
  for (auto _ : state) do_edid_parse(nullptr);
  fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(null);
  close(saved);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(edid_report);

}  // namespace
