// The lines that link training leaves in a folded log.
#ifndef TESTS_DISPLAY_DP_TRAINING_ROWS_H
#define TESTS_DISPLAY_DP_TRAINING_ROWS_H

#include "display/dp/rate_rows.h"

namespace zvgtest {

// Levels of lanes 0 to 3 as they are stored: 7 for the highest.
struct Levels {
  unsigned swing[4] = {};
  unsigned preemphasis[4] = {};
};

inline Log training_bytes(const Levels& levels) {
  Log log;
  for (unsigned lane = 0; lane < 4; ++lane) {
    log.push_back(
        text("dpcd 0x%x=0x%x", 0x103 + lane, levels.preemphasis[lane] * 8 | levels.swing[lane]));
  }
  return log;
}

inline Log clock_recovery(const Levels& levels) {
  Log log;
  for (unsigned lane = 0; lane < 4; ++lane) {
    log.push_back(text("phy 0x%x=0x%x", 0xB0 + lane * 4, ~(levels.swing[lane] & 3)));
  }
  for (unsigned lane = 0; lane < 4; ++lane) {
    log.push_back(text("phy 0x%x=0x%x", 0xA0 + lane * 4, ~(levels.preemphasis[lane] & 3)));
  }
  return join({log, {"dpcd 0x102=0x21"}, training_bytes(levels), {"ctl 0xc=0x1", "wait 500"}});
}

// The looks at the lanes' status; a pair that is not done is asked for its request.
inline Log looks(bool first_done, bool second_done) {
  return join({{"dpcd? 0x202"},
               first_done ? Log{} : Log{"dpcd? 0x206"},
               {"dpcd? 0x203"},
               second_done ? Log{} : Log{"dpcd? 0x207"}});
}

inline Log equalisation(const Levels& levels, unsigned ticks) {
  return join({{"dpcd 0x102=0x22"},
               training_bytes(levels),
               {"ctl 0xc=0x2", text("wait %u", ticks), "dpcd? 0x200+16"}});
}

inline Log training_end() {
  return {"ctl 0xc=0x0", "dpcd 0x102=0x0", "ctl 0x14=0x0"};
}

// From the start to the sink's power; the transmitter has other lanes than these, and power is off.
inline Log training_start(unsigned rate, unsigned lanes, unsigned mask) {
  return join({{"ctl 0x14=0x1"},
               rate_change(rate),
               lane_change(lanes, mask),
               {"ctl 0x8=0x1", text("dpcd 0x100=0x%x", rate & 0xFF),
                text("dpcd 0x101=0x%x", (lanes | 0x80) & 0xFF), "dpcd? 0x600", "dpcd 0x600=0x1"}});
}

// Training with fixed timing.
inline Log fixed_training(unsigned rate, unsigned lanes, unsigned mask) {
  return join({{"ctl 0x14=0x1", "ctl 0x8=0x1"},
               rate_change(rate),
               lane_change(lanes, mask),
               {text("dpcd 0x100=0x%x", rate), text("dpcd 0x101=0x%x", (lanes | 0x80) & 0xFF),
                "dpcd 0x600=0x1", "dpcd 0x102=0x21", "ctl 0xc=0x1", "wait 100", "dpcd 0x102=0x23",
                "ctl 0xc=0x3", "wait 400", "dpcd? 0x200+16"},
               training_end()});
}

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_DP_TRAINING_ROWS_H
