#include "env/profile_host.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <utility>

namespace zvgtest {

namespace {

ProfileHost* host = nullptr;

constexpr char script_path[] = "/etc/profile.d/zvg_util_env.sh";

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The script, on a medium that takes no bytes.
FILE* open_full(FILE* inner) {
  cookie_io_functions_t functions = {};
  functions.read = [](void* cookie, char* buffer, size_t size) {
    return static_cast<ssize_t>(fread(buffer, 1, size, static_cast<FILE*>(cookie)));
  };
  functions.write = [](void*, const char*, size_t) -> ssize_t { return 0; };
  functions.seek = [](void* cookie, off64_t* offset, int whence) {
    auto* const file = static_cast<FILE*>(cookie);
    if (fseek(file, *offset, whence) != 0) return -1;
    *offset = ftell(file);
    return 0;
  };
  functions.close = [](void* cookie) { return fclose(static_cast<FILE*>(cookie)); };
  return fopencookie(inner, "r+", functions);
}

}  // namespace

ProfileHost::ProfileHost() {
  host = this;
}

ProfileHost::~ProfileHost() {
  host = nullptr;
}

std::vector<std::string> ProfileHost::take() {
  return std::exchange(log, {});
}

// Visible, so that the library finds these before libc's.
#define INTERPOSED extern "C" [[gnu::visibility("default")]]

INTERPOSED FILE* fopen(const char* path, const char* mode) {
  static auto* const real = next<FILE*(const char*, const char*)>("fopen");
  if (host == nullptr || strcmp(path, script_path) != 0) return real(path, mode);
  if (!host->quiet) host->log.push_back(std::string("fopen ") + mode);
  FILE* const file = real("script", mode);
  return file != nullptr && host->writes_fail ? open_full(file) : file;
}

INTERPOSED int setenv(const char* name, const char* value, int overwrite) noexcept {
  static auto* const real = next<int(const char*, const char*, int)>("setenv");
  if (host == nullptr) return real(name, value, overwrite);
  if (!host->quiet) host->log.push_back(std::string("setenv ") + name + "=" + value);
  return host->setenv_fails ? -1 : real(name, value, overwrite);
}

INTERPOSED int system(const char* command) {
  static auto* const real = next<int(const char*)>("system");
  if (host == nullptr) return real(command);
  if (host->quiet) return 0;
  host->log.push_back(std::string("system ") + command);
  host->log.push_back(host->script());
  return 0;
}

}  // namespace zvgtest
