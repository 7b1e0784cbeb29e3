// The login profile script that the environment settings are kept in.
#ifndef ZVG_SERVICE_ENV_PROFILE_SCRIPT_H
#define ZVG_SERVICE_ENV_PROFILE_SCRIPT_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "service/work.h"

namespace zvg {

inline constexpr char profile_folder[] = "/etc/profile.d";
inline constexpr char profile_script_path[] = "/etc/profile.d/zvg_util_env.sh";

// One program at a time edits the script. While it is being edited, a copy stands beside it; a copy
// that is found there was left by an edit that did not end well, and is put back.
class ProfileScript {
 public:
  // Takes the lock and puts back what an earlier edit lost. Throws an Error when there is no
  // script and create is not set, when it cannot be opened, or when another program keeps it.
  explicit ProfileScript(bool create, const Work& work = {});
  ~ProfileScript();
  ProfileScript(const ProfileScript&) = delete;
  ProfileScript& operator=(const ProfileScript&) = delete;

  std::string read() const;

  // Has the edit done by another process, which this one outlives whatever the edit does. wanted
  // tells whether the script is then as it should be; when it is not, it is put back as it was and
  // an Error thrown.
  void edit(const std::function<void()>& edit,
            const std::function<bool(const std::string&)>& wanted);

 private:
  void recover();
  void write(const std::string& content);

  const Work work_;
  int fd_ = -1;
};

// Throws an Error (bad_argument) for a setting that is not the graphics driver's, or that a login
// shell would take for more than a word.
void expect_plain_setting(const std::string& name, const std::string& value);

// NAME and VALUE of the script's lines.
using Settings = std::vector<std::pair<std::string, std::string>>;
Settings settings_of(const std::string& script);

// What the script holds, without the lock: for looking. Puts back what an edit lost if it may.
std::string look_at_profile_script(const Work& work = {});

}  // namespace zvg

#endif  // ZVG_SERVICE_ENV_PROFILE_SCRIPT_H
