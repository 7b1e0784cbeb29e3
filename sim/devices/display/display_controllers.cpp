#include "devices/display/display_controllers.h"

#include <algorithm>

#include "board/board.h"
#include "devices/block_bases.h"
#include "devices/display/display_settings.h"
#include "hw/blocks/clocks.h"
#include "hw/blocks/display_controllers.h"
#include "hw/blocks/vga_crtc.h"

namespace zvgsim {

namespace {

using namespace hw::crtc;
namespace vga = hw::vga;
namespace block = hw::display_controllers;

// Colour addressing, memory enabled.
constexpr uint32_t misc_usual = vga::misc_colour_addressing | vga::misc_ram_enable;

void program_indexed(Board& board, const CrtcSettings& crtc) {
  const auto port = [&](uint32_t number, uint32_t value) {
    board.dispatch_write(Space::mmio, vga_base + number, 1, value & 0xFF);
  };
  port(vga::misc_output_write, misc_usual | (crtc.hsync_negative ? vga::misc_h_negative : 0) |
                                   (crtc.vsync_negative ? vga::misc_v_negative : 0));
  const auto set = [&](uint8_t index, uint32_t value) {
    port(vga::colour_index, index);
    port(vga::colour_data, value);
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
  set(h_sync_high, (back >> 8 & 0x0F) | (width >> 8 & 0x0F) << 4);
  set(v_sync_width, t.vsync_end - t.vsync_start);
  set(v_back, t.vtotal - t.vsync_end);
  const uint32_t word = zvgsim::pll_word(t.clock);
  for (unsigned byte = 0; byte < 4; ++byte) {
    set(static_cast<uint8_t>(hw::crtc::pll_word + byte * pll_word_stride), word >> byte * 8);
  }
}

void program_block(Board& board, unsigned number, const CrtcSettings& crtc) {
  const uint32_t base = vga_base + number * hw::common::display_controllers.stride;
  const ModeTiming& t = crtc.timing;
  const struct {
    uint32_t offset;
    unsigned width;
    uint32_t value;
  } registers[] = {
      {block::h_total, 2, t.htotal},
      {block::h_active, 2, t.hactive},
      {block::h_sync_width, 2, t.hsync_end - t.hsync_start},
      {block::h_back, 2, t.htotal - t.hsync_end},
      {block::v_total, 2, t.vtotal},
      {block::v_active, 2, t.vactive},
      {block::v_sync_width, 1, t.vsync_end - t.vsync_start},
      {block::v_back, 1, t.vtotal - t.vsync_end},
      {block::polarity, 1,
       (crtc.vsync_negative ? block::v_negative : 0u) |
           (crtc.hsync_negative ? block::h_negative : 0u)},
  };
  for (const auto& reg : registers) {
    board.dispatch_write(Space::mmio, base + reg.offset, reg.width, reg.value);
  }
}

}  // namespace

uint32_t pll_word(uint32_t clock) {
  constexpr uint32_t reference = 2 * hw::clocks::reference_khz;
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
  board.dispatch_write(Space::mmio, hw::common::output_mux.first, 4, settings.output_mux);
  const uint32_t clocks = block_bases(board.generation()).clocks;
  for (unsigned number = 0; number < crtcs; ++number) {
    if (!settings.crtc[number]) continue;
    const CrtcSettings& crtc = *settings.crtc[number];
    if (number == 0) {
      program_indexed(board, crtc);
    } else {
      program_block(board, number, crtc);
    }
    board.dispatch_write(Space::mmio, clocks + hw::clocks::pixel_plls + number * 4, 4,
                         zvgsim::pll_word(crtc.timing.clock));
  }
}

}  // namespace

Model display_model() {
  return {.read = read_display, .place = place};
}

}  // namespace zvgsim
