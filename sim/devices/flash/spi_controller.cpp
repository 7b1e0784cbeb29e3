#include "devices/flash/spi_controller.h"

#include <algorithm>
#include <memory>

#include "devices/block_bases.h"
#include "devices/byte_block.h"
#include "devices/flash/board_data.h"
#include "hw/blocks/clocks.h"
#include "hw/blocks/spi.h"
#include "hw/blocks/system_control.h"

namespace zvgsim {

namespace {

using namespace hw::spi;

// Parts of the control register.
constexpr Mode mode_of(uint32_t control) {
  return static_cast<Mode>((control & control_mode) >> 8);
}
constexpr unsigned frame_bytes(uint32_t control) {
  return (((control & control_frame_bits) >> 16) + 1) / 8;
}
constexpr bool is_quad(uint32_t control) {
  return (control & control_lines) >> 21 == quad;
}

constexpr uint64_t block_clock_mhz = 100;
constexpr unsigned wait_cycles = 8;

// The first KiB of registers, for the strobe in it.
class StrobeBlock : public ByteBlock {
 public:
  StrobeBlock(Board& board, SpiController& controller)
      : ByteBlock(board, 0), controller_(controller) {}

 protected:
  void write_byte(uint32_t offset, uint8_t value) override {
    store(offset, value);
    if (offset == continuous_exit_strobe && (value & 1) != 0) controller_.strobe_continuous_exit();
  }

 private:
  SpiController& controller_;
};

// Only the first card's content is kept in the file.
std::string image_of(const Board& board) {
  return board.card() == 0 ? board.config().of<FlashSettings>().image : std::string();
}

}  // namespace

SpiController::SpiController(Board& board, uint32_t base)
    : board_(board),
      base_(base),
      faults_(board.faults().of<FlashFaults>()),
      flash_(faults_, board.clock(), board_data(board.config().of<FlashSettings>()),
             image_of(board)),
      depth_(hw::chip_of(board.generation()).spi_fifo_frames) {}

uint32_t SpiController::word(uint32_t offset) {
  return static_cast<uint32_t>(board_.mmio_storage().read(base_ + offset, 4));
}

bool SpiController::clocked() {
  if (!hw::chip_of(board_.generation()).spi_clock_gated) return true;
  const uint32_t gate = block_bases(board_.generation()).clocks + hw::clocks::clock_select;
  return (board_.mmio_storage().read(gate, 4) & hw::clocks::spi_clock_on) != 0;
}

uint32_t SpiController::status() {
  if (!clocked() || !flash_.powered()) return 0;
  const uint64_t now = board_.clock().now();
  const bool arrived = now >= received_at_;
  return (now < busy_until_ ? status_busy : 0) |
         (transmit_.size() < depth_ ? status_transmit_not_full : 0) |
         (transmit_.empty() ? status_transmit_empty : 0) |
         (!received_.empty() && arrived ? status_received : 0) |
         (received_.size() >= depth_ && arrived ? status_receive_full : 0);
}

uint64_t SpiController::read(uint64_t offset, unsigned width) {
  if (offset == hw::spi::status) return status();
  if (offset != data) return board_.mmio_storage().read(base_ + offset, width);
  if (received_.empty() || board_.clock().now() < received_at_) return 0;
  const uint32_t frame = received_.front();
  received_.pop_front();
  return frame;
}

void SpiController::write(uint64_t offset, unsigned width, uint64_t value) {
  if (offset == data) {
    queue(static_cast<uint32_t>(value));
    return;
  }
  const bool was_selected = word(slave_select) != 0;
  board_.mmio_storage().write(base_ + offset, width, value);
  if (offset == enable && value == 0) {
    transmit_.clear();
    received_.clear();
  }
  if (offset == slave_select && value != 0 && !was_selected) transfer();
}

void SpiController::queue(uint32_t frame) {
  if (++frames_ == faults_.power_cut_at_frame) flash_.cut_power();
  if (word(enable) == 0 || transmit_.size() >= depth_) return;
  transmit_.push_back(frame);
  if (word(slave_select) != 0) transfer();
}

// Sends what is queued, and receives what the mode asks for.
void SpiController::transfer() {
  if (word(enable) == 0 || transmit_.empty() || !clocked() || !flash_.powered()) return;
  const uint32_t control = word(hw::spi::control);
  const bool quad = is_quad(control);
  const unsigned bytes_a_frame = frame_bytes(control);
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < transmit_.size(); ++i) {
    // In quad mode the opcode and the address have frames of their own, of 8 and 24 bits.
    const unsigned count = !quad ? bytes_a_frame : i == 0 ? 1 : i == 1 ? 3 : bytes_a_frame;
    for (unsigned k = count; k-- > 0;) bytes.push_back(static_cast<uint8_t>(transmit_[i] >> 8 * k));
  }
  transmit_.clear();

  const size_t single_bytes = quad ? std::min<size_t>(bytes.size(), 4) : bytes.size();
  uint64_t clocks = 8 * single_bytes + 2 * (bytes.size() - single_bytes);
  if (mode_of(control) == transmit_only) {
    flash_.command(bytes, quad);
  } else {
    const size_t frames = word(frame_count) + size_t{1};
    std::vector<uint8_t> reply(frames * bytes_a_frame);
    flash_.answer(bytes, quad, reply);
    clocks += quad ? wait_cycles + 2 * reply.size() : 8 * reply.size();
    for (size_t i = 0; i < frames && received_.size() < depth_; ++i) {
      uint32_t frame = 0;
      for (unsigned k = 0; k < bytes_a_frame; ++k)
        frame = frame << 8 | reply[i * bytes_a_frame + k];
      received_.push_back(frame);
    }
  }
  const uint64_t divider = std::max<uint64_t>(2, word(clock_divider));
  busy_until_ = board_.clock().now() + clocks * divider * 1000 / block_clock_mhz;
  received_at_ = busy_until_;
}

void SpiController::strobe_continuous_exit() {
  if (word(enable) != 0 && word(hw::spi::control) == quad_continuous_exit &&
      word(enhanced_control) == continuous_exit_format) {
    flash_.leave_continuous_read();
  }
}

namespace {

void place(Board& board) {
  const BlockBases bases = block_bases(board.generation());
  // Chips of the first two generations ran their firmware out of the flash.
  const bool ran_from_flash = board.generation() != Generation::rq302;
  board.mmio_storage().write(bases.system_control + hw::system_control::identifier, 4,
                             uint32_t{hw::chip_of(board.generation()).flash_identifier}
                                 << hw::system_control::identifier_shift);
  auto controller = std::make_unique<SpiController>(board, bases.spi_flash);
  board.when_saving([&flash = controller->flash()] { flash.save(); });
  if (board.config().of<FlashSettings>().write_protected) controller->flash().protect();
  if (ran_from_flash) controller->flash().enter_continuous_read();
  board.attach(0, Board::attach_unit, std::make_unique<StrobeBlock>(board, *controller));
  board.attach(bases.spi_flash, hw::spi::size, std::move(controller));
}

}  // namespace

Model flash_model() {
  return {.read = read_flash, .read_faults = read_flash_faults, .place = place};
}

}  // namespace zvgsim
