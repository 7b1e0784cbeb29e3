#include "service/env/profile_script.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "service/board/error.h"

namespace zvg {

namespace {

// Login shells read what ends in ".sh" there: these names do not.
const std::string copy_path = std::string(profile_script_path) + ".zvgctl-copy";
const std::string new_copy_path = copy_path + ".new";

constexpr size_t library_capacity = 1024;

class Descriptor {
 public:
  Descriptor(const char* path, int flags, mode_t mode = 0644) : fd_(open(path, flags, mode)) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool is_open() const { return fd_ >= 0; }

 private:
  int fd_;
};

bool write_all(int fd, const std::string& content) {
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t written = ::write(fd, content.data() + done, content.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    done += static_cast<size_t>(written);
  }
  return true;
}

// False with errno when the file cannot be read.
bool read_all(int fd, std::string* content) {
  content->clear();
  char buffer[4096];
  for (off_t at = 0;;) {
    const ssize_t size = pread(fd, buffer, sizeof buffer, at);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return false;
    if (size == 0) return true;
    content->append(buffer, static_cast<size_t>(size));
    at += size;
  }
}

void sync_folder() {
  const Descriptor folder(profile_folder, O_RDONLY | O_DIRECTORY);
  if (folder.is_open()) fsync(folder.get());
}

bool is_still_the_script(int fd) {
  struct stat open_file, named;
  return fstat(fd, &open_file) == 0 && stat(profile_script_path, &named) == 0 &&
         open_file.st_ino == named.st_ino && open_file.st_dev == named.st_dev;
}

[[noreturn]] void fail_to_open(int error, bool create) {
  if (error == ENOENT && !create) {
    throw_error(ErrorKind::file, "there is no %s; 'zvgctl env clear' creates it",
                profile_script_path);
  }
  if (error == ENOENT)
    throw_error(ErrorKind::file, "there is no folder %s; create it first, as root", profile_folder);
  throw_error(ErrorKind::file, "cannot open %s: %s", profile_script_path, strerror(error));
}

// Appears under its name only when it is complete and on the disk.
void keep_copy(const std::string& content) {
  bool kept = false;
  int error = 0;
  {
    const Descriptor copy(new_copy_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
    kept = copy.is_open() && write_all(copy.get(), content) && fsync(copy.get()) == 0;
    error = errno;
  }
  if (!kept || rename(new_copy_path.c_str(), copy_path.c_str()) != 0) {
    if (kept) error = errno;
    unlink(new_copy_path.c_str());
    throw_error(ErrorKind::file, "cannot keep a copy beside %s: %s; nothing was changed",
                profile_script_path, strerror(error));
  }
  sync_folder();
}

void drop_copy() {
  unlink(copy_path.c_str());
  sync_folder();
}

}  // namespace

ProfileScript::ProfileScript(bool create, const Work& work) : work_(work) {
  constexpr int tries = 50;
  constexpr useconds_t step_us = 100'000;
  for (int i = 0; i < tries; ++i) {
    fd_ = open(profile_script_path, O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
    if (fd_ < 0) fail_to_open(errno, create);
    // The process that edits inherits the lock: it counts until the edit is over, even if this
    // process is killed.
    const bool locked = flock(fd_, LOCK_EX | LOCK_NB) == 0;
    if (locked && is_still_the_script(fd_)) {
      recover();
      return;
    }
    close(fd_);
    fd_ = -1;
    if (!locked && errno != EWOULDBLOCK) {
      throw_error(ErrorKind::file, "cannot lock %s: %s", profile_script_path, strerror(errno));
    }
    usleep(step_us);
  }
  throw_error(ErrorKind::file, "another program is editing %s", profile_script_path);
}

ProfileScript::~ProfileScript() {
  if (fd_ >= 0) close(fd_);
}

std::string ProfileScript::read() const {
  std::string content;
  if (!read_all(fd_, &content))
    throw_error(ErrorKind::file, "cannot read %s: %s", profile_script_path, strerror(errno));
  return content;
}

// In place, so that the lock stays on the file that is named. May be interrupted and begun again:
// the copy is there until it is done.
void ProfileScript::write(const std::string& content) {
  if (lseek(fd_, 0, SEEK_SET) != 0 || !write_all(fd_, content) ||
      ftruncate(fd_, static_cast<off_t>(content.size())) != 0 || fsync(fd_) != 0) {
    throw_error(ErrorKind::file, "cannot put %s back: %s; it is kept in %s", profile_script_path,
                strerror(errno), copy_path.c_str());
  }
}

void ProfileScript::recover() {
  unlink(new_copy_path.c_str());  // one that was not complete
  std::string content;
  {
    const Descriptor copy(copy_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (!copy.is_open()) return;
    if (!read_all(copy.get(), &content)) {
      throw_error(ErrorKind::file, "cannot read %s: %s", copy_path.c_str(), strerror(errno));
    }
  }
  if (content != read()) {
    write(content);
    work_.remark(
        format("an edit of %s had not ended well: it was put back as it was", profile_script_path));
  }
  drop_copy();
}

void ProfileScript::edit(const std::function<void()>& edit,
                         const std::function<bool(const std::string&)>& wanted) {
  const std::string before = read();
  if (before.size() >= library_capacity) {
    throw_error(
        ErrorKind::file,
        "%s has %zu bytes, and only up to %zu can be edited; 'zvgctl env clear' begins anew",
        profile_script_path, before.size(), library_capacity - 1);
  }
  keep_copy(before);
  fflush(stdout);
  fflush(stderr);
  const pid_t editor = fork();
  if (editor < 0) {
    const int error = errno;
    drop_copy();
    throw_error(ErrorKind::file, "cannot begin the edit: %s; nothing was changed", strerror(error));
  }
  if (editor == 0) {
    // The library has a shell source the profile, to no effect but the shell's complaints.
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere >= 0) dup2(nowhere, STDERR_FILENO);
    edit();
    fflush(stdout);
    _exit(0);
  }
  int status = 0;
  while (waitpid(editor, &status, 0) < 0 && errno == EINTR) {
  }
  const bool ended_well = WIFEXITED(status) && WEXITSTATUS(status) == 0 && wanted(read());
  if (!ended_well) write(before);
  drop_copy();
  if (!ended_well)
    throw_error(ErrorKind::file, "the edit of %s failed; it was put back as it was",
                profile_script_path);
}

void expect_plain_setting(const std::string& name, const std::string& value) {
  constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
  constexpr size_t prefix_size = 4;
  const bool ours = name.starts_with("KRT_") || name.starts_with("VIV_");
  if (!ours || name.size() == prefix_size || name.find_first_not_of(letters) != std::string::npos) {
    throw_error(ErrorKind::bad_argument,
                "'%s' is no setting of the graphics driver: expected a name of letters, digits and "
                "'_' that begins with KRT_ or VIV_",
                name.c_str());
  }
  const std::string plain = std::string(letters) + "./:+-";
  if (value.empty() || value.find_first_not_of(plain) != std::string::npos) {
    throw_error(ErrorKind::bad_argument,
                "'%s' cannot be kept in the script: expected one word of letters, digits and any "
                "of _ . / : + -",
                value.c_str());
  }
}

Settings settings_of(const std::string& script) {
  Settings settings;
  std::istringstream lines(script);
  for (std::string line; std::getline(lines, line);) {
    constexpr std::string_view begin = "export ";
    const size_t equals = line.find('=');
    if (!line.starts_with(begin) || equals == std::string::npos) continue;
    settings.emplace_back(line.substr(begin.size(), equals - begin.size()),
                          line.substr(equals + 1));
  }
  return settings;
}

std::string look_at_profile_script(const Work& work) {
  struct stat found;
  const bool copy_is_left =
      stat(copy_path.c_str(), &found) == 0 || stat(new_copy_path.c_str(), &found) == 0;
  if (copy_is_left && access(profile_script_path, W_OK) == 0)
    return ProfileScript(false, work).read();
  if (copy_is_left) {
    work.remark(format("an edit of %s goes on, or did not end well: what it was before is in %s",
                       profile_script_path, copy_path.c_str()));
  }
  const Descriptor script(profile_script_path, O_RDONLY | O_CLOEXEC);
  std::string content;
  if (script.is_open() ? !read_all(script.get(), &content) : errno != ENOENT) {
    throw_error(ErrorKind::file, "cannot read %s: %s", profile_script_path, strerror(errno));
  }
  return content;
}

}  // namespace zvg
