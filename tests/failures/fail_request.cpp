// Preloaded in front of the virtual board: counts the requests to the driver's node and fails some.
//   FAIL_REQUEST  which one fails, counted from 1; 0 or unset: none
//   FAIL_ERRNO    what it fails with, a number
//   FAIL_COUNT    the file that gets the count of them all when the program ends
#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>

namespace {

constexpr unsigned long driver_type = 0x64;

std::atomic<long> requests{0};

long number_of(const char* variable) {
  const char* const text = getenv(variable);
  return text == nullptr ? 0 : strtol(text, nullptr, 10);
}

// The program itself, not a shell on the way to it.
bool is_counted() {
  static const bool counted = strcmp(program_invocation_short_name, "zvgctl") == 0;
  return counted;
}

[[gnu::destructor]] void tell() {
  const char* const path = getenv("FAIL_COUNT");
  if (path == nullptr || !is_counted()) return;
  FILE* const file = fopen(path, "w");
  if (file == nullptr) return;
  fprintf(file, "%ld\n", requests.load());
  fclose(file);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ioctl(int fd, unsigned long request,
                                                            ...) noexcept {
  static auto* const real =
      reinterpret_cast<int (*)(int, unsigned long, void*)>(dlsym(RTLD_NEXT, "ioctl"));
  static const long failing = number_of("FAIL_REQUEST");
  static const int error = static_cast<int>(number_of("FAIL_ERRNO"));
  va_list arguments;
  va_start(arguments, request);
  void* const record = va_arg(arguments, void*);
  va_end(arguments);
  if ((request >> 8 & 0xFF) == driver_type && is_counted() && ++requests == failing) {
    errno = error;
    return -1;
  }
  return real(fd, request, record);
}
