// A DisplayPort transmitter: a controller and the PHY behind it.
#ifndef ZVGSIM_DEVICES_DP_DP_TRANSMITTER_H
#define ZVGSIM_DEVICES_DP_DP_TRANSMITTER_H

#include <array>
#include <cstdint>
#include <deque>
#include <map>

#include "devices/dp/dp_phy.h"
#include "devices/dp/dp_sink.h"

namespace zvgsim {

// 32-bit registers: the PHY's from 0 on, the controller's from 0x10000 on. The controller has an
// AUX engine with a FIFO each way, a count-down timer that counts on the board's clock, and the
// panel self-refresh state; the rest is plain storage. What the registers make of the lanes is
// handed to the sink with every write.
class DpTransmitter : public Device {
 public:
  static constexpr uint32_t size = 0x20000;
  static constexpr uint32_t controller = 0x10000;

  DpTransmitter(Board& board, unsigned port);
  ~DpTransmitter() override;

  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

 private:
  uint32_t read_register(uint32_t offset);
  void write_register(uint32_t offset, uint32_t value);
  uint32_t read_controller(uint32_t reg);
  void write_controller(uint32_t reg, uint32_t value);
  uint32_t stored(uint32_t reg) const;

  void send(uint32_t command);
  void end_request();
  uint32_t timer();
  DpLink link() const;
  uint64_t now() { return board_.clock().now(); }

  Board& board_;
  const unsigned port_;
  DpPortFaults& faults_;
  DpPhy phy_;
  DpSink sink_;
  std::map<uint32_t, uint32_t> registers_;

  // AUX engine.
  std::deque<uint8_t> to_send_;
  std::deque<uint8_t> received_;
  bool busy_ = false;
  uint64_t done_at_ = 0;
  std::optional<AuxReply> reply_;
  uint32_t signal_ = 0;
  bool error_ = false;
  uint32_t interrupts_ = 0;

  uint64_t timer_started_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DP_DP_TRANSMITTER_H
