#include "doors/uart_line.h"

#include <cmath>
#include <mutex>

#include "hw/bus.h"

namespace zvgsim {

namespace {

using namespace hw::serial;

constexpr bool is_command(uint8_t byte) {
  return byte >= set_divisor;
}

constexpr unsigned address_size = hw::bus_address_bytes;

uint64_t big_endian(const uint8_t* bytes, unsigned size) {
  uint64_t value = 0;
  for (unsigned i = 0; i < size; ++i) value = value << 8 | bytes[i];
  return value;
}

}  // namespace

uint64_t wire_time(size_t bytes, double baud) {
  return static_cast<uint64_t>(1e9 * UartLine::bits_per_byte * static_cast<double>(bytes) / baud);
}

UartLine::UartLine(Machine& machine) : machine_(machine), baud_(machine.config().uart.baud) {}

bool UartLine::understands(double baud) const {
  return std::abs(baud - baud_) <= tolerance * baud_;
}

void UartLine::receive(uint8_t byte, double baud, uint64_t time) {
  if (!understands(baud)) {
    ++framing_errors_;
    filled_ = 0;
    return;
  }
  if (filled_ == 0 && !is_command(byte)) return;
  frame_[filled_++] = byte;
  if (filled_ < frame_size) return;
  filled_ = 0;
  act(time);
}

void UartLine::act(uint64_t time) {
  const std::lock_guard guard(machine_.lock());
  const unsigned enables = frame_[enables_at];
  // The UART addresses whole words: the two low bits are not wired.
  const uint64_t address = big_endian(&frame_[address_at], address_size) & ~uint64_t{3};
  const auto data = static_cast<uint32_t>(big_endian(&frame_[data_at], data_size));
  Board& board = machine_.card(0);
  switch (frame_[0]) {
    case read_word: {
      uint32_t word;
      // A read that nobody decodes hangs on the bus: the host gets no reply.
      if (board.bus_read(address, enables, &word, false)) reply(word, time);
      return;
    }
    case write_word:
      board.bus_write(address, enables, data, false);
      return;
    case set_divisor:
      if (data != 0) baud_ = static_cast<double>(uart_clock) / data;
      return;
    default:
      return;
  }
}

void UartLine::reply(uint32_t word, uint64_t time) {
  FaultPlan& faults = machine_.faults();
  const FaultPlan::Reply fault = faults.uart_reply();
  if (fault.drop) return;
  Reply reply;
  for (unsigned i = 0; i < fault.noise_bytes; ++i) reply.bytes.push_back(faults.noise());
  const uint32_t sent = word ^ fault.flip;
  for (unsigned i = 0; i < reply_size && i < fault.keep; ++i) {
    reply.bytes.push_back(static_cast<uint8_t>(sent >> (8 * (reply_size - 1 - i))));
  }
  if (reply.bytes.empty()) return;
  reply.baud = baud_;
  reply.ready_at = time + fault.delay;
  if (!machine_.config().uart.instant) {
    reply.ready_at +=
        microseconds(machine_.config().uart.reply_delay_us) + wire_time(reply.bytes.size(), baud_);
  }
  replies_.push_back(std::move(reply));
}

}  // namespace zvgsim
