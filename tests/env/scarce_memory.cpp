#include "env/scarce_memory.h"

#if defined(ZVG_SCARCE_MEMORY)

#include <errno.h>
#include <stddef.h>

namespace zvgtest {

namespace {

// The allocations up to the one that fails; 0 when none does.
unsigned g_left = 0;
ScarceMemory::Lasts g_lasts = ScarceMemory::Lasts::once;
bool g_failed = false;

bool refuses() {
  if (g_failed && g_left == 0) return g_lasts == ScarceMemory::Lasts::for_ever;
  if (g_left == 0 || --g_left > 0) return false;
  g_failed = true;
  return true;
}

void* refuse() {
  errno = ENOMEM;
  return nullptr;
}

}  // namespace

ScarceMemory::ScarceMemory(unsigned failing, Lasts lasts) {
  g_failed = false;
  g_lasts = lasts;
  g_left = failing;
}

ScarceMemory::~ScarceMemory() {
  g_left = 0;
  g_lasts = Lasts::once;
}

bool ScarceMemory::has_failed() {
  return g_failed;
}

}  // namespace zvgtest

// Visible, so that the library and libc itself find these.
#define INTERPOSED extern "C" [[gnu::visibility("default")]]

INTERPOSED void* __libc_malloc(size_t);
INTERPOSED void* malloc(size_t size) {
  return zvgtest::refuses() ? zvgtest::refuse() : __libc_malloc(size);
}

INTERPOSED void* __libc_calloc(size_t, size_t);
INTERPOSED void* calloc(size_t count, size_t size) {
  return zvgtest::refuses() ? zvgtest::refuse() : __libc_calloc(count, size);
}

INTERPOSED void* __libc_realloc(void*, size_t);
INTERPOSED void* realloc(void* block, size_t size) {
  return zvgtest::refuses() ? zvgtest::refuse() : __libc_realloc(block, size);
}

#endif
