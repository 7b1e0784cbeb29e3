#include "devices/vga/vga.h"

#include <memory>

#include "devices/block_bases.h"
#include "devices/vga/io_ports.h"
#include "hw/blocks/vga_crtc.h"

namespace zvgsim {

namespace {

using namespace hw::vga;

constexpr uint8_t nobody = 0xFF;

constexpr bool is_fan(uint8_t index) {
  return index >= Fan::first_index && index <= Fan::last_index;
}

constexpr bool is_bridge(uint8_t index) {
  return index >= AmbaBridge::first_index && index <= AmbaBridge::last_index;
}

}  // namespace

Vga::Vga(Board& board)
    : ByteBlock(board, vga_base), fan_(board.part<Fan>()), bridge_(board), capture_(board) {}

bool Vga::colour() const {
  return (misc_output_ & misc_colour_addressing) != 0;
}

uint8_t Vga::read_byte(uint32_t port) {
  switch (port) {
    case misc_output_read:
      return misc_output_;
    case misc_output_write:
      return 0;  // reading it is input status 0: nothing is pending
    case mono_index:
    case colour_index:
      return colour() == (port == colour_index) ? crtc_index_ : nobody;
    case mono_data:
    case colour_data:
      if (colour() != (port == colour_data)) return nobody;
      if (is_bridge(crtc_index_)) return bridge_.read(crtc_index_);
      if (is_fan(crtc_index_)) return fan_.read(crtc_index_);
      return crtc_[crtc_index_];
    default:
      return VideoCapture::is_measured(port) ? capture_.measured(port) : stored(port);
  }
}

void Vga::write_byte(uint32_t port, uint8_t value) {
  switch (port) {
    case misc_output_read:
      return;
    case misc_output_write:
      misc_output_ = value;
      return;
    case mono_index:
    case colour_index:
      if (colour() == (port == colour_index)) crtc_index_ = value;
      return;
    case mono_data:
    case colour_data:
      if (colour() != (port == colour_data)) return;
      if (is_bridge(crtc_index_)) {
        bridge_.write(crtc_index_, value);
      } else if (is_fan(crtc_index_)) {
        fan_.write(crtc_index_, value);
      } else {
        crtc_[crtc_index_] = value;
      }
      return;
    default:
      if (VideoCapture::is_measured(port)) return;
      store(port, value);
      capture_.written(port, value);
  }
}

namespace {

void place(Board& board) {
  board.attach(vga_base, Board::attach_unit, std::make_unique<Vga>(board));
  board.set_ioports(std::make_unique<IoPorts>(board));
}

}  // namespace

Model vga_model() {
  return {.place = place};
}

}  // namespace zvgsim
