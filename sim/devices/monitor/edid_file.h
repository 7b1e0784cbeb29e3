// EDID files that a board file names.
#ifndef ZVGSIM_DEVICES_MONITOR_EDID_FILE_H
#define ZVGSIM_DEVICES_MONITOR_EDID_FILE_H

#include <cstdint>
#include <vector>

#include "board/file_table.h"

namespace zvgsim {

constexpr unsigned edid_block_size = 128;
constexpr unsigned max_edid_blocks = 256;

// Reads the file that the table's key 'edid' names, if it is there.
void read_edid(FileTable& table, std::vector<uint8_t>* edid);
// As read_edid(), for a table that cannot do without.
void read_needed_edid(FileTable& table, std::vector<uint8_t>* edid);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_MONITOR_EDID_FILE_H
