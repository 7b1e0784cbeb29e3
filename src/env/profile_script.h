// The login profile script that carries the graphics driver's settings.
#ifndef ZVG_ENV_PROFILE_SCRIPT_H
#define ZVG_ENV_PROFILE_SCRIPT_H

namespace zvg::env {

constexpr char script_path[] = "/etc/profile.d/zvg_util_env.sh";

// As zvgEnvSet(). Returns whether the script was changed; it is left alone when it is too long.
bool set(const char* name, char* value);

// Prints which settings the script makes. A script that cannot be opened counts as empty.
void list();

}  // namespace zvg::env

#endif  // ZVG_ENV_PROFILE_SCRIPT_H
