// A DisplayPort sink: a monitor or an embedded panel.
#ifndef ZVGSIM_DEVICES_DP_DP_SINK_H
#define ZVGSIM_DEVICES_DP_DP_SINK_H

#include <array>
#include <cstdint>
#include <map>

#include "board/aux_sink.h"
#include "board/board.h"
#include "devices/dp/dp_link.h"

namespace zvgsim {

// DPCD registers, an I2C bus with the EDID, and a receiver that trains: a lane recovers the clock
// when the pattern has been there for long enough and its levels reach what the cable needs, and
// asks for one more step of each level that it lacks; a lane with a clock equalises and locks to
// symbols on the next pattern; the link is aligned when every lane of it has. Registers are named
// as in the DisplayPort standard.
class DpSink : public AuxSink {
 public:
  DpSink(Board& board, unsigned port);

  bool present() const override { return settings_.sink; }
  std::optional<AuxReply> request(AuxRequest request, bool open, uint32_t address,
                                  const uint8_t* data, unsigned length) override;

  // The transmitter now sends this. What it sent before is looked at first.
  void receive(const DpLink& link);

 private:
  struct Lane {
    bool clock = false;
    bool equalised = false;  // and locked to symbols
  };

  AuxReply native(bool read, uint32_t address, const uint8_t* data, unsigned length);
  AuxReply i2c(bool read, bool open, uint8_t address, const uint8_t* data, unsigned length);
  uint8_t dpcd_read(uint32_t address);
  void dpcd_write(uint32_t address, uint8_t value);

  void settle();
  bool receives() const;
  bool reached(unsigned lane) const;
  bool aligned() const;
  unsigned lanes_in_use() const;
  uint8_t lane_status(unsigned lane) const;
  uint8_t lane_request(unsigned lane) const;

  Board& board_;
  const DpPortSettings& settings_;
  DpPortFaults& faults_;
  I2cBus bus_;
  bool i2c_open_ = false;
  bool i2c_reading_ = false;
  uint8_t i2c_address_ = 0;
  std::map<uint32_t, uint8_t> dpcd_;
  DpLink link_;
  uint64_t pattern_since_ = 0;
  std::array<Lane, dp_lanes> lanes_{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DP_DP_SINK_H
