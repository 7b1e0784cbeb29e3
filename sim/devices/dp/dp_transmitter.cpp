#include "devices/dp/dp_transmitter.h"

#include <algorithm>
#include <memory>

#include "devices/block_bases.h"
#include "hw/blocks/dp_controller.h"

namespace zvgsim {

namespace {

using namespace hw::dp_controller;

// Divided, this clocks the AUX channel and the timer: a divider of 100 gives microseconds.
constexpr uint64_t reference_period = 10;  // ns

// A bit of the AUX channel is a microsecond. Each way there are a preamble and a stop besides the
// bytes; a request has three bytes of address and one of length in front of its data.
constexpr uint64_t bit_time = microseconds(1);
constexpr unsigned framing_bits = 28;
constexpr unsigned request_header_bytes = 4;
constexpr unsigned reply_header_bytes = 1;
constexpr uint64_t reply_timeout = microseconds(400);

constexpr uint64_t wire_time(unsigned bytes) {
  return (framing_bits + 8 * bytes) * bit_time;
}

// Where the controllers of an RQ302 are seen a second time. The windows of ports 1 and 2 lie in the
// range of the first DDR PHY, which keeps it.
constexpr unsigned rq302_windows[] = {0, 3};

// The controller of a transmitter, from its own base on.
class ControllerWindow : public Device {
 public:
  static constexpr uint32_t size = DpTransmitter::size - DpTransmitter::controller;

  explicit ControllerWindow(Device& transmitter) : transmitter_(transmitter) {}
  uint64_t read(uint64_t offset, unsigned width) override {
    return transmitter_.read(DpTransmitter::controller + offset, width);
  }
  void write(uint64_t offset, unsigned width, uint64_t value) override {
    transmitter_.write(DpTransmitter::controller + offset, width, value);
  }

 private:
  Device& transmitter_;
};

}  // namespace

DpTransmitter::DpTransmitter(Board& board, unsigned port)
    : board_(board),
      port_(port),
      faults_(board.faults().of<DpFaults>().port[port]),
      phy_(board, port),
      sink_(board, port) {
  board_.set_dp_sink(port, &sink_);
}

DpTransmitter::~DpTransmitter() {
  board_.set_dp_sink(port_, nullptr);
}

// Any access is one of the 32-bit register that it begins in: narrower ones see its low bits.
uint64_t DpTransmitter::read(uint64_t offset, unsigned width) {
  const uint64_t word = read_register(static_cast<uint32_t>(offset & ~uint64_t{3}));
  if (width == 8) {
    return word | uint64_t{read_register(static_cast<uint32_t>((offset & ~uint64_t{3}) + 4))} << 32;
  }
  return word >> (8 * (offset & 3)) & (width == 4 ? UINT32_MAX : (1u << 8 * width) - 1);
}

void DpTransmitter::write(uint64_t offset, unsigned width, uint64_t value) {
  const auto at = static_cast<uint32_t>(offset & ~uint64_t{3});
  if (width == 8) write_register(at + 4, static_cast<uint32_t>(value >> 32));
  write_register(at, static_cast<uint32_t>(value << (8 * (offset & 3))));
}

uint32_t DpTransmitter::read_register(uint32_t offset) {
  return offset < controller ? phy_.read(offset) : read_controller(offset - controller);
}

void DpTransmitter::write_register(uint32_t offset, uint32_t value) {
  if (offset < controller) {
    phy_.write(offset, value);
  } else {
    write_controller(offset - controller, value);
  }
  sink_.receive(link());
}

uint32_t DpTransmitter::stored(uint32_t reg) const {
  const auto found = registers_.find(reg);
  return found != registers_.end() ? found->second : 0;
}

DpLink DpTransmitter::link() const {
  DpLink link;
  phy_.describe(link);
  link.running = link.running && stored(transmitter_enable) != 0;
  link.rate = stored(link_rate_code);
  link.lanes = std::min(link.lanes, stored(link_lanes));
  link.pattern = stored(training_pattern);
  return link;
}

// AUX engine ------------------------------------------------------------------------------------

void DpTransmitter::send(uint32_t command) {
  end_request();
  if (busy_) return;
  const unsigned length = (command & aux_length) + 1;
  const unsigned type = (command & hw::dp_controller::aux_request) >> aux_request_shift;
  constexpr unsigned native = 0x8, open_bit = 0x4, read_bit = 0x1;
  const bool is_native = (type & native) != 0;
  const bool read = (type & read_bit) != 0;
  const auto request = static_cast<AuxRequest>(type & (native | read_bit));

  std::array<uint8_t, aux_fifo_bytes> data{};
  std::copy_n(to_send_.begin(), std::min<size_t>(to_send_.size(), length), data.begin());
  to_send_.clear();
  received_.clear();
  signal_ = 0;
  error_ = false;
  reply_ = sink_.request(request, !is_native && (type & open_bit) != 0, stored(aux_address),
                         data.data(), length);
  const uint64_t there = wire_time(request_header_bytes + (read ? 0 : length));
  const uint64_t back = reply_ ? wire_time(reply_header_bytes + reply_->count) : reply_timeout;
  busy_ = true;
  done_at_ = now() + there + back;
}

void DpTransmitter::end_request() {
  if (!busy_ || now() < done_at_) return;
  busy_ = false;
  if (!reply_) {
    signal_ = aux_timeout;
  } else if (faults_.reply_error) {
    error_ = true;
  } else {
    signal_ = aux_received;
    received_.assign(reply_->data.begin(), reply_->data.begin() + reply_->count);
  }
  interrupts_ |= signal_;
}

// The count that is left: it goes down by one a tick from the moment that it is switched on.
uint32_t DpTransmitter::timer() {
  const uint32_t word = stored(hw::dp_controller::timer);
  const uint64_t tick = stored(aux_clock_divider) * reference_period;
  if ((word & timer_on) == 0 || tick == 0 || faults_.timer_stopped) return word;
  const uint64_t passed = (now() - timer_started_) / tick;
  const uint32_t count = word & timer_count;
  return (word & ~timer_count) | (passed >= count ? 0 : count - static_cast<uint32_t>(passed));
}

// Controller ------------------------------------------------------------------------------------

uint32_t DpTransmitter::read_controller(uint32_t reg) {
  end_request();
  switch (reg) {
    case hot_plug:
      return sink_.present();
    case aux_signal:
      return signal_;
    case aux_reply_fifo: {
      if (received_.empty()) return 0;
      const uint8_t byte = received_.front();
      received_.pop_front();
      return byte;
    }
    case aux_reply_code:
      return reply_ && !busy_ ? static_cast<uint32_t>(reply_->code) : 0;
    case interrupt_status: {
      const uint32_t pending = interrupts_;
      interrupts_ = 0;
      return pending;
    }
    case aux_status:
      return (busy_ ? aux_busy : 0) | (error_ ? aux_error : 0);
    case hw::dp_controller::timer:
      return timer();
    case psr_state:
      return (stored(psr_enable) & 1) != 0 ? psr_inactive : psr_disabled;
    default:
      return stored(reg);
  }
}

void DpTransmitter::write_controller(uint32_t reg, uint32_t value) {
  switch (reg) {
    case aux_command:
      registers_[reg] = value;
      send(value);
      return;
    case aux_write_fifo:
      if (to_send_.size() < aux_fifo_bytes) to_send_.push_back(static_cast<uint8_t>(value));
      return;
    case hw::dp_controller::timer:
      registers_[reg] = value;
      timer_started_ = now();
      return;
    case hot_plug:
    case aux_signal:
    case aux_reply_fifo:
    case aux_reply_code:
    case interrupt_status:
    case aux_status:
    case psr_state:
      return;  // read-only
    default:
      registers_[reg] = value;
  }
}

namespace {

// An RQ302 shows controllers in the gaps of the DDR blocks, too.
void place(Board& board) {
  std::array<Device*, dp_ports> transmitters;
  for (unsigned port = 0; port < dp_ports; ++port) {
    transmitters[port] = &board.attach(dp_base + port * DpTransmitter::size, DpTransmitter::size,
                                       std::make_unique<DpTransmitter>(board, port));
  }
  const hw::Bases& windows = hw::chip_of(board.generation()).dp_windows;
  if (windows.first == hw::common::dp_controllers.first) return;
  for (const unsigned port : rq302_windows) {
    board.attach(windows.base(port), ControllerWindow::size,
                 std::make_unique<ControllerWindow>(*transmitters[port]));
  }
}

}  // namespace

Model dp_model() {
  return {.read = read_dp, .read_faults = read_dp_faults, .place = place};
}

}  // namespace zvgsim
