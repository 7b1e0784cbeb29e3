// The AUX channel of a DisplayPort transmitter, and the failures on it in words.
#ifndef ZVG_SERVICE_DISPLAY_DP_CHANNEL_H
#define ZVG_SERVICE_DISPLAY_DP_CHANNEL_H

#include <util_zvg.h>

#include <cstdint>
#include <string>
#include <vector>

#include "service/board/board.h"

namespace zvg {

inline constexpr uint64_t last_dp = 3;
inline constexpr uint32_t last_dpcd = 0xFFFFF;

// The library's timer waits have no bound; this ends them.
inline constexpr unsigned dp_deadline = 60;

// Drives the transmitter's registers as they are: unlike the library's calls by port it sets
// nothing up, so that a picture that is shown stays. All functions throw an Error.
class DpChannel {
 public:
  enum class Way { registers, driver };

  // The driver's way: the kernel driver makes the transfers.
  DpChannel(Board& board, uint32_t port, Way way = Way::registers);

  const zvg_dptx* device() const { return &device_; }
  uint32_t port() const { return port_; }

  bool plugged() const;
  void expect_sink() const;

  std::vector<uint8_t> read(uint32_t address, uint32_t count);
  void write(uint32_t address, uint8_t value);

  // The sink's whole EDID, over I2C.
  std::vector<uint8_t> edid();

 private:
  void select_segment(uint8_t segment);

  Board& board_;
  uint32_t port_;
  Way way_;
  zvg_dptx device_;
};

// The record that the library would have for a port.
zvg_dptx dp_device(uint32_t port);

}  // namespace zvg

#endif  // ZVG_SERVICE_DISPLAY_DP_CHANNEL_H
