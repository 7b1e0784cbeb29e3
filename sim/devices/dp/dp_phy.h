// The PHY of a DisplayPort transmitter.
#ifndef ZVGSIM_DEVICES_DP_DP_PHY_H
#define ZVGSIM_DEVICES_DP_DP_PHY_H

#include <array>
#include <cstdint>
#include <map>

#include "board/board.h"
#include "devices/dp/dp_link.h"

namespace zvgsim {

// Power states, lane PLLs and the common block acknowledge what they are asked for after a while;
// the configuration bus carries one access at a time. All other registers are plain storage.
class DpPhy {
 public:
  DpPhy(Board& board, unsigned port)
      : board_(board), faults_(board.faults().of<DpFaults>().port[port]) {}

  uint32_t read(uint32_t reg);
  void write(uint32_t reg, uint32_t value);

  // Puts what the PHY sends into the link: whether it runs, its lanes and their levels.
  void describe(DpLink& link) const;

 private:
  uint32_t stored(uint32_t reg) const;
  uint64_t now() { return board_.clock().now(); }
  void carry_out();
  uint16_t configuration(uint16_t address);

  Board& board_;
  DpPortFaults& faults_;
  std::map<uint32_t, uint32_t> registers_;
  std::map<uint16_t, uint16_t> configuration_;
  uint32_t bus_data_ = 0;
  uint64_t bus_done_at_ = 0;
  uint32_t power_ = 0;  // the request under way or done
  uint64_t power_at_ = 0;
  uint64_t pll_at_ = 0;
  uint64_t pll_configured_at_ = 0;
  uint64_t common_at_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DP_DP_PHY_H
