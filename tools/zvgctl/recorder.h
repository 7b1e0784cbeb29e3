// Writes every register access of a command down as a register script, which `script run` replays.
#ifndef ZVGCTL_RECORDER_H
#define ZVGCTL_RECORDER_H

#include <string>

#include "service/seam/transport.h"

namespace zvgctl {

// Begins a recording for the rest of the process. It is made of what goes through the driver's node
// or over the serial line: writes as W lines, reads as C lines with an empty mask (which read and
// never fail), sleeps as delays. What a script cannot say, such as video memory or 64 bits, is a
// comment. Throws a Failure when the file exists or cannot be written.
void start_recording(const std::string& path);

// What carries the library's calls while there is a recording; null while there is none.
zvg::seam::Transport* recording_transport();

// Ends it and puts the file in place. Does nothing when there is no recording.
void finish_recording();

}  // namespace zvgctl

#endif  // ZVGCTL_RECORDER_H
