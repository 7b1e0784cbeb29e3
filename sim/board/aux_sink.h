// What stands at the other end of a DisplayPort AUX channel.
#ifndef ZVGSIM_BOARD_AUX_SINK_H
#define ZVGSIM_BOARD_AUX_SINK_H

#include <array>
#include <cstdint>
#include <optional>

namespace zvgsim {

// Requests, as they stand in the command: the I2C ones are without the bit that keeps the
// transaction open.
enum class AuxRequest : unsigned {
  i2c_write = 0x0,
  i2c_read = 0x1,
  native_write = 0x8,
  native_read = 0x9,
};

enum class AuxCode : unsigned {
  acknowledged = 0x0,
  refused = 0x1,
  deferred = 0x2,
  i2c_refused = 0x4,
  i2c_deferred = 0x8,
};

struct AuxReply {
  static constexpr unsigned max_bytes = 16;

  AuxCode code = AuxCode::acknowledged;
  unsigned count = 0;  // bytes of data, of a read
  std::array<uint8_t, max_bytes> data{};
};

class AuxSink {
 public:
  virtual ~AuxSink() = default;

  // Whether there is one at all.
  virtual bool present() const = 0;

  // One request of 1 to 16 bytes; data: what a write brings. open: an I2C transaction goes on after
  // this one. Nothing when there is no answer.
  virtual std::optional<AuxReply> request(AuxRequest request, bool open, uint32_t address,
                                          const uint8_t* data, unsigned length) = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_AUX_SINK_H
