// What the PHY takes for each link rate, as its register list gives it.
#ifndef TESTS_DISPLAY_DP_RATE_ROWS_H
#define TESTS_DISPLAY_DP_RATE_ROWS_H

#include "display/dp/dp_node.h"

namespace zvgtest {

struct RateRow {
  unsigned code, divider, r1a1, r90, r91, r93, r88, r95, r96;
};

constexpr RateRow rate_rows[] = {
    {0x06, 2, 0xF01, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x09, 1, 0x701, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x0A, 1, 0x701, 0x1B0, 0x0000, 0x120, 0x318, 0x8E, 0x42},
    {0x0C, 2, 0xB00, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x14, 0, 0x301, 0x1B0, 0x0000, 0x120, 0x318, 0x8E, 0x42},
    {0x1E, 0, 0x200, 0x144, 0x0000, 0x0D8, 0x318, 0x6A, 0x30},
};

inline std::string cdb(unsigned address, unsigned data) {
  return text("cdb 0x%x=0x%x", address, data);
}

inline Log power_state(unsigned state) {
  return {text("phy 0x60=0x%x", 1u << state), "phy? 0x64", "phy 0x60=0x0"};
}

// The two ends of a reconfiguration of the PHY when everything answers at once.
inline Log opening() {
  return join({{"phy 0x50=0x0"},
               power_state(3),
               {"phy 0x68=0x0", "phy? 0x6c", "cdb 0xe003=0x0", "cdb? 0xe001"}});
}
inline Log closing() {
  return join({{"cdb 0xe003=0x1", "cdb? 0xe001", "phy 0x68=0x1", "phy? 0x6c"},
               power_state(2),
               power_state(0),
               {"phy 0x50=0x1"}});
}

inline Log rate_change(unsigned code) {
  Log parameters;
  for (const RateRow& row : rate_rows) {
    if (row.code != code) continue;
    parameters = {cdb(0x40E7, row.divider), cdb(0x42E7, row.divider), cdb(0x44E7, row.divider),
                  cdb(0x46E7, row.divider), cdb(0x90, row.r90),       cdb(0x91, row.r91),
                  cdb(0x93, row.r93),       cdb(0x1A1, row.r1a1),     cdb(0x88, row.r88),
                  cdb(0x95, row.r95),       cdb(0x96, row.r96)};
  }
  return join({{"ctl 0x80=0x0", text("ctl 0x0=0x%x", code)},
               opening(),
               parameters,
               closing(),
               {"ctl 0x90=0x1", "wait 2", "ctl 0x80=0x1"}});
}

inline Log lane_change(unsigned lanes, unsigned mask) {
  return join({{"ctl? 0x4", text("ctl 0x4=0x%x", lanes)},
               power_state(2),
               opening(),
               {text("phy 0x4c=0x%x", mask), text("phy 0x48=0x%x", mask)},
               closing(),
               power_state(0)});
}

// The whole PHY set-up for a link clock index when everything answers at once.
inline Log phy_set_up(unsigned index) {
  const bool known = index < std::size(rate_rows);
  Log log = {"phy 0x14=0x1",   "cdb 0x4c=0x4",   "phy 0x54=0x0",     "phy 0x58=0xf",
             "phy 0x50=0x0",   "phy 0x4c=0x0",   "phy 0x48=0x0",     "phy 0x40=0x0",
             "phy 0x54=0x1",   "phy 0x54=0x3",   "phy 0x54=0x7",     "cdb 0xe003=0x0",
             "cdb 0xc00e=0x0", "cdb 0xe005=0xf", "cdb 0xe006=0x2222"};
  for (unsigned lane = 0; lane < 4; ++lane) {
    const unsigned s = lane * 0x200;
    const Log writes = {cdb(0x40E5 + s, 1),
                        cdb(0x40EA + s, 0xF),
                        cdb(0x40E7 + s, known ? rate_rows[index].divider : 2),
                        cdb(0x40E6 + s, 0),
                        cdb(0x4100 + s, 0xFB),
                        cdb(0x4102 + s, 0x4AA),
                        cdb(0x4103 + s, 0x4AA),
                        cdb(0x8000 + s, 0),
                        cdb(0x8002 + s, 0),
                        cdb(0x8003 + s, 0),
                        cdb(0x8006 + s, 0),
                        cdb(0x8108 + s, 0),
                        cdb(0x8110 + s, 0),
                        cdb(0x8118 + s, 0)};
    log.insert(log.end(), writes.begin(), writes.end());
  }
  const Log common = {"cdb 0x94=0x4",   "cdb 0x1a4=0x509", "cdb 0x1a5=0xf00", "cdb 0x1a6=0xf08",
                      "cdb 0x92=0x2",   "cdb 0x1a0=0x2",   "cdb 0x84=0xfa",   "cdb 0x85=0x4",
                      "cdb 0x86=0x317", "cdb 0x82=0x3",    "cdb 0x9c=0xc7",   "cdb 0x9e=0xc7"};
  Log parameters;
  if (known) {
    const RateRow& row = rate_rows[index];
    parameters = {cdb(0x88, row.r88),   cdb(0x90, row.r90), cdb(0x91, row.r91), cdb(0x93, row.r93),
                  cdb(0x1A1, row.r1a1), cdb(0x95, row.r95), cdb(0x96, row.r96)};
  }
  return join({log,
               common,
               parameters,
               {"cdb 0xe003=0x1", "phy 0x68=0x1", "phy 0x4c=0xf", "phy 0x48=0xf", "phy 0x58=0x0",
                "phy 0x40=0x1", "phy? 0x44", "phy? 0x6c"},
               power_state(2),
               power_state(0),
               {"phy 0x50=0x1", "phy 0x54=0xf"}});
}

}  // namespace zvgtest

#endif  // TESTS_DISPLAY_DP_RATE_ROWS_H
