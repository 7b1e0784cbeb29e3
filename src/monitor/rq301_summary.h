// The text that tells what an RQ301 AXI monitor counted.
#ifndef ZVG_MONITOR_RQ301_SUMMARY_H
#define ZVG_MONITOR_RQ301_SUMMARY_H

#include <stdint.h>

namespace zvg::monitor {

enum class Summary { both_directions, reads, writes };

// Appends the port's summary to the file of all summaries. Returns the result of closing the file;
// 0 when it does not open.
int append_summary(Summary summary, const char* port, const uint32_t* record);

}  // namespace zvg::monitor

#endif  // ZVG_MONITOR_RQ301_SUMMARY_H
