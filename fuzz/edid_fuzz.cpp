// Feeds any bytes to the EDID decoder in the three ways that they can reach it: stored by the hex
// dump, written into the store, and as a file. Besides what the sanitizers see, it checks what
// must hold for every input: the store keeps the first 256 bytes, a report changes nothing in it,
// and one that is read from a file is the same size as the one of the same bytes in the store.
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "util_zvg.h"

namespace {

constexpr size_t block_size = 128;
constexpr size_t store_size = 256;

void require(bool condition, const char* what) {
  if (condition) return;
  fprintf(stderr, "broken: %s\n", what);
  abort();
}

long g_printed;  // bytes that went to standard output

ssize_t count_output(void*, const char*, size_t size) {
  g_printed += static_cast<long>(size);
  return static_cast<ssize_t>(size);
}

// The bytes that a report prints.
long report_size(const char* path) {
  fflush(stdout);
  g_printed = 0;
  require(do_edid_parse(path) == 0, "a report returns 0");
  fflush(stdout);
  return g_printed;
}

int next_descriptor() {
  const int fd = dup(STDERR_FILENO);
  close(fd);
  return fd;
}

long file_report_size(const uint8_t* data, size_t size) {
  const int fd = memfd_create("edid", MFD_CLOEXEC);
  require(fd >= 0 && write(fd, data, size) == static_cast<ssize_t>(size), "the file is written");
  char path[32];
  snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
  const int opened = next_descriptor();
  const long printed = report_size(path);
  const bool is_open = fcntl(opened, F_GETFD) != -1;
  require(is_open == (size != block_size && size < store_size), "only a bad file stays open");
  if (is_open) close(opened);
  close(fd);
  return printed;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  cookie_io_functions_t functions = {};
  functions.write = count_output;
  stdout = fopencookie(nullptr, "w", functions);
  require(stdout != nullptr, "standard output is taken over");
  static char buffer[1 << 16];
  setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const size_t kept = std::min(size, store_size);
  uint8_t expected[store_size] = {};
  if (kept != 0) memcpy(expected, data, kept);

  memset(last_edid, 0xA5, sizeof last_edid);
  edid_print_helper(data, static_cast<uint32_t>(size), 1);
  require(memcmp(last_edid, expected, store_size) == 0, "the store is the first 256 bytes");

  const long printed = report_size(nullptr);
  require(memcmp(last_edid, expected, store_size) == 0, "a report leaves the store alone");

  const long from_file = file_report_size(data, size);
  if (size == block_size || size >= store_size) {
    require(from_file == printed, "file and store give the same report");
  }

  // A store of the caller's own, exactly as large as it must be.
  uint8_t* const own = static_cast<uint8_t*>(malloc(store_size));
  require(own != nullptr, "there is memory");
  memcpy(own, expected, store_size);
  g_last_edid = own;
  require(report_size(nullptr) == printed, "the store is read through its pointer");
  g_last_edid = last_edid;
  free(own);
  return 0;
}
