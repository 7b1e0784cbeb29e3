// Runs any bytes as a register script, as a DDR script, as a check file and as a read file, on a
// board of plain memory. The first byte chooses the runner, the rest is the file.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "util_zvg.h"

// Time does not pass, and the apertures are zero-filled memory.
extern "C" __attribute__((visibility("default"))) int usleep(useconds_t) {
  return 0;
}
extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned) {
  return 0;
}
extern "C" __attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
  using Open = int(const char*, int, ...);
  static auto* const next = reinterpret_cast<Open*>(dlsym(RTLD_NEXT, "open"));
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  return next(strcmp(path, "/dev/mem") == 0 ? "/dev/zero" : path, flags, mode);
}

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  dprintf(STDERR_FILENO, "broken: %s\n", what);
  abort();
}

int run_ddr_script(const char* path) {
  return zvgDdrRunScript(path, 0xF);
}

struct Runner {
  int (*run)(const char* path);
  bool can_end_early;  // with -1
};

constexpr Runner runners[] = {
    {zvgRunScript, false},
    {run_ddr_script, false},
    {zvgRunCheckReg, false},
    {zvgRunReadReg, true},
};

// Where "out_file.txt" goes. The current folder, so that paths on the command line are absolute.
char g_folder[] = "/tmp/zvg_fuzz_XXXXXX";

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  require(mkdtemp(g_folder) != nullptr && chdir(g_folder) == 0, "there is a folder to write into");
  atexit([] { rmdir(g_folder); });
  require(freopen("/dev/null", "w", stdout) != nullptr, "standard output is silenced");
  stderr = fopen("/dev/null", "w");
  constexpr uint64_t aperture = 1 << 20;
  require(zvgMemOpen(0, aperture, 0, aperture) >= 0, "the board opens");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const Runner& runner = runners[data[0] % (sizeof runners / sizeof runners[0])];
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  if (runner.can_end_early) {
    // A writing row leaves both files open on purpose; over millions of runs they would pile up.
    for (char& c : text) c = c == 'W' ? 'R' : c;
  }
  const int fd = memfd_create("script", MFD_CLOEXEC);
  require(fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
          "the file is written");
  char path[32];
  snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
  const int result = runner.run(path);
  require(result == 0, "a file that opens runs to its end");
  const int unused = dup(fd);
  require(unused == fd + 1 || runner.can_end_early, "every file is closed again");
  close(unused);
  close(fd);
  unlink("out_file.txt");
  return 0;
}
