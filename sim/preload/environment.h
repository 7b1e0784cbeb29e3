// How `zvgsim run` tells the preloaded board what it is.
#ifndef ZVGSIM_PRELOAD_ENVIRONMENT_H
#define ZVGSIM_PRELOAD_ENVIRONMENT_H

namespace zvgsim {

constexpr char board_variable[] = "ZVGSIM_BOARD";                // board file; unset: a bare RQ302
constexpr char virtual_time_variable[] = "ZVGSIM_VIRTUAL_TIME";  // "1": sleeps cost nothing
constexpr char trace_variable[] = "ZVGSIM_TRACE";                // file to append accesses to

}  // namespace zvgsim

#endif  // ZVGSIM_PRELOAD_ENVIRONMENT_H
