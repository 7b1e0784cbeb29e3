// The bridge from the extended CRTC registers to the on-chip bus.
#ifndef ZVGSIM_DEVICES_AMBA_AMBA_BRIDGE_H
#define ZVGSIM_DEVICES_AMBA_AMBA_BRIDGE_H

#include <array>
#include <cstdint>

#include "board/board.h"
#include "devices/amba/amba_faults.h"
#include "hw/blocks/amba_bridge.h"

namespace zvgsim {

// Its registers are CRTC indices. The bus is 128 bits wide: an address names a 16-byte line, data
// goes into the line's lanes, and writes carry an enable for every lane.
class AmbaBridge {
 public:
  explicit AmbaBridge(Board& board) : board_(board), faults_(board.faults().of<AmbaFaults>()) {}

  static constexpr uint8_t first_index = hw::amba::first_index;
  static constexpr uint8_t last_index = hw::amba::last_index;

  // REQUIRES: first_index <= index <= last_index.
  uint8_t read(uint8_t index);
  void write(uint8_t index, uint8_t value);

 private:
  static constexpr unsigned line_size = hw::amba::line_size;
  using Line = std::array<uint8_t, line_size>;

  void command(uint8_t bits);
  void start_read();
  void start_write();
  bool has_bus() const;
  void complete(bool answered);

  Board& board_;
  const AmbaFaults& faults_;
  std::array<uint8_t, last_index - first_index + 1> registers_{};
  uint64_t address_ = 0;
  bool address_for_write_ = false;
  Line line_{};
  uint16_t enables_ = 0;
  uint8_t read_data_ = 0;
  bool master_ = false;  // a transaction of the bridge is on the bus
  bool answered_ = false;
  uint64_t answered_at_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AMBA_AMBA_BRIDGE_H
