// A driver node with four DisplayPort transmitters behind it, just alive enough to be driven: the
// timer has always run out, the PHY acknowledges, and the AUX engine answers from a map of DPCD
// bytes. Each test takes away what it wants to see fail.
#ifndef TESTS_DISPLAY_DP_DP_NODE_H
#define TESTS_DISPLAY_DP_DP_NODE_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/log.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace zvgtest {

constexpr uint64_t dp_block(unsigned port) {
  return 0x500000 + port * 0x20000;
}

class DpNode : public RegisterNode {
 public:
  DpNode();

  // What the engine says to a request.
  struct Reply {
    uint32_t code = 0;
    uint32_t signal = 4;  // register 0x130 from then on
    uint32_t status = 0;  // register 0x14C
  };

  std::map<uint32_t, uint8_t> dpcd;
  std::vector<uint8_t> i2c;  // what I2C reads deliver, from i2c_at on
  size_t i2c_at = 0;
  uint32_t idle_status = 0;                                             // 0x14C before a request
  std::function<Reply(uint32_t command, uint32_t address)> on_request;  // default: acknowledged
  std::function<void(uint32_t address)> before_dpcd_read;               // to make DPCD bytes change

  bool cdb_ready = true;
  uint32_t cdb_word = 1;  // PHY register 0x0C while ready
  uint32_t cdb_data = 4;  // what CDB reads give: the PLLs' settled bit
  bool common_ready = true;
  bool pll_acknowledge = true;
  std::function<bool(uint32_t request)> power_acknowledge;  // default: always

  // A record as zvg_dptx_init() leaves it.
  static zvg_dptx device(unsigned port);

  // The log with every access of a port named:
  //   "ctl 0x80=0x1" "ctl? 0x36c" "phy 0x50=0x0" "phy? 0x44"
  // Other accesses stay as they are.
  Log named(unsigned port);

  // The same with the well-known sequences folded:
  //   "wait 500"                  the timer's clear, set, start and look
  //   "cdb 0x88=0x317" "cdb? 0xe001"
  //   "dpcd 0x102=0x21" "dpcd? 0x202" "dpcd? 0x200+16"   single attempts that were answered
  // What does not fit a sequence exactly stays unfolded.
  Log folded(unsigned port);

 private:
  bool answer(uint64_t offset, uint64_t* value);
  void note_write(uint64_t offset, uint64_t value);
  void request(uint32_t command);

  Reply reply_;
  bool requested_ = false;
  uint32_t address_ = 0;
  std::vector<uint8_t> written_;   // the request FIFO
  std::vector<uint8_t> received_;  // the reply FIFO
  uint32_t power_ = 0;
};

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_DP_DP_NODE_H
