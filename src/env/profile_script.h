// The login profile script that carries the graphics driver's settings.
#ifndef ZVG_ENV_PROFILE_SCRIPT_H
#define ZVG_ENV_PROFILE_SCRIPT_H

#include <stddef.h>

namespace zvg::env {

constexpr char script_path[] = "/etc/profile.d/zvg_util_env.sh";

// A script of this size or more is left alone, and none is made as long.
constexpr size_t script_capacity = 1024;

// As zvgEnvSet(). Returns whether the script was changed; it is left alone when it is or would get
// too long, and when it cannot be opened for lack of memory.
bool set(const char* name, char* value);

// Prints which settings the script makes. A script that cannot be opened counts as empty, but for
// lack of memory. Returns whether they are known.
bool list();

}  // namespace zvg::env

#endif  // ZVG_ENV_PROFILE_SCRIPT_H
