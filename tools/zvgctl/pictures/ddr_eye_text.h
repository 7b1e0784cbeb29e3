// Eyes as text: heat maps for a terminal, tables for programs.
#ifndef ZVGCTL_DDR_EYE_TEXT_H
#define ZVGCTL_DDR_EYE_TEXT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "service/ddr/ddr_eye.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

// "22 delay steps wide, 41 voltage steps high", or that there is no opening.
std::string describe(const zvg::Eye& eye);

// Read and write eye side by side, in 256 colours or, without, in plain characters.
std::string heat_maps(const zvg::ChannelEyes& eyes, bool colour);

// A line a voltage step that was met: channel, eye, step, then 31 counts.
std::string eyes_csv(const std::vector<zvg::ChannelEyes>& channels);

Json eyes_json(const std::vector<zvg::ChannelEyes>& channels);

}  // namespace zvgctl

#endif  // ZVGCTL_DDR_EYE_TEXT_H
