#include "devices/display/display_controllers.h"

#include <algorithm>

#include "board/board.h"
#include "devices/block_bases.h"
#include "devices/display/display_settings.h"

namespace zvgsim {

namespace {

constexpr uint32_t output_mux = 0x10024;
constexpr uint32_t pll_words = 0x18;  // in the clock block

// Controllers 1 to 3: a block each.
constexpr uint32_t block_size = 0x40;

// Controller 0: indexed registers.
enum Index : uint8_t {
  h_total = 0x60,
  h_active = 0x62,
  h_sync_width = 0x66,
  h_back = 0x67,
  v_total = 0x68,
  v_active = 0x6A,
  v_sync_width = 0x6E,
  v_back = 0x6F,
  h_high = 0x78,
  pll = 0x81,
};

// VGA ports, from vga_base on.
constexpr uint32_t misc_output = 0x3C2;
constexpr uint32_t crtc_index = 0x3D4;
constexpr uint32_t crtc_data = 0x3D5;

// Colour addressing, memory enabled.
constexpr uint32_t misc_usual = 0x03;
constexpr uint32_t misc_hsync_negative = 0x40;
constexpr uint32_t misc_vsync_negative = 0x80;

void program_indexed(Board& board, const CrtcSettings& crtc) {
  const auto port = [&](uint32_t number, uint32_t value) {
    board.dispatch_write(Space::mmio, vga_base + number, 1, value & 0xFF);
  };
  port(misc_output, misc_usual | (crtc.hsync_negative ? misc_hsync_negative : 0) |
                        (crtc.vsync_negative ? misc_vsync_negative : 0));
  const auto set = [&](uint8_t index, uint32_t value) {
    port(crtc_index, index);
    port(crtc_data, value);
  };
  const auto pair = [&](uint8_t index, uint32_t value) {
    set(index, value >> 8);
    set(static_cast<uint8_t>(index + 1), value);
  };
  const ModeTiming& t = crtc.timing;
  const uint32_t width = t.hsync_end - t.hsync_start;
  const uint32_t back = t.htotal - t.hsync_end;
  pair(h_total, t.htotal);
  pair(h_active, t.hactive);
  pair(v_total, t.vtotal);
  pair(v_active, t.vactive);
  set(h_sync_width, width);
  set(h_back, back);
  set(h_high, (back >> 8 & 0x0F) | (width >> 8 & 0x0F) << 4);
  set(v_sync_width, t.vsync_end - t.vsync_start);
  set(v_back, t.vtotal - t.vsync_end);
  const uint32_t word = pll_word(t.clock);
  for (unsigned byte = 0; byte < 4; ++byte) {
    set(static_cast<uint8_t>(pll + byte * 2), word >> byte * 8);
  }
}

void program_block(Board& board, unsigned number, const CrtcSettings& crtc) {
  const uint32_t base = vga_base + number * block_size;
  const ModeTiming& t = crtc.timing;
  const struct {
    uint32_t offset;
    unsigned width;
    uint32_t value;
  } registers[] = {
      {0, 2, t.htotal},
      {2, 2, t.hactive},
      {8, 2, t.hsync_end - t.hsync_start},
      {10, 2, t.htotal - t.hsync_end},
      {12, 2, t.vtotal},
      {14, 2, t.vactive},
      {18, 1, t.vsync_end - t.vsync_start},
      {19, 1, t.vtotal - t.vsync_end},
      {36, 1, (crtc.vsync_negative ? 0x10u : 0) | (crtc.hsync_negative ? 0x08u : 0)},
  };
  for (const auto& reg : registers) {
    board.dispatch_write(Space::mmio, base + reg.offset, reg.width, reg.value);
  }
}

}  // namespace

uint32_t pll_word(uint32_t clock) {
  constexpr uint32_t reference = 54000;
  uint32_t best = 0;
  uint32_t best_error = UINT32_MAX;
  for (uint32_t input = 1; input <= 64; ++input) {
    for (uint32_t shift = 0; shift < 8; ++shift) {
      for (uint32_t output = 1; output <= 16; ++output) {
        const uint64_t wanted =
            ((uint64_t{clock} << shift) * output * input + reference / 2) / reference;
        const auto feedback = static_cast<uint32_t>(std::clamp<uint64_t>(wanted, 1, 512));
        const uint32_t made = (feedback * reference / input >> shift) / output;
        const uint32_t error = made > clock ? made - clock : clock - made;
        if (error >= best_error) continue;
        best_error = error;
        best = (output - 1) << 28 | (feedback - 1) << 16 | (input - 1) << 8 | shift << 4;
      }
    }
  }
  return best;
}

namespace {

// Programs the timings, PLL words and the output multiplexer of the board's configuration.
void place(Board& board) {
  const auto& settings = board.config().of<DisplaySettings>();
  board.dispatch_write(Space::mmio, output_mux, 4, settings.output_mux);
  const uint32_t clocks = block_bases(board.generation()).clocks;
  for (unsigned number = 0; number < crtcs; ++number) {
    if (!settings.crtc[number]) continue;
    const CrtcSettings& crtc = *settings.crtc[number];
    if (number == 0) {
      program_indexed(board, crtc);
    } else {
      program_block(board, number, crtc);
    }
    board.dispatch_write(Space::mmio, clocks + pll_words + number * 4, 4,
                         pll_word(crtc.timing.clock));
  }
}

}  // namespace

Model display_model() {
  return {.read = read_display, .place = place};
}

}  // namespace zvgsim
