// Allocations of the process that fail when a test wants them to.
#ifndef TESTS_ENV_SCARCE_MEMORY_H
#define TESTS_ENV_SCARCE_MEMORY_H

// The sanitizer has an allocator of its own, which must not be taken over.
#if !defined(__SANITIZE_ADDRESS__)
#define ZVG_SCARCE_MEMORY 1

namespace zvgtest {

// While it lives, one of the process's allocations fails, or all from that one on. What a test does
// meanwhile must therefore allocate nothing.
class ScarceMemory {
 public:
  enum class Lasts { once, for_ever };

  // failing: which allocation, counted from 1.
  ScarceMemory(unsigned failing, Lasts lasts);
  ~ScarceMemory();
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;

  // Whether there were as many allocations.
  static bool has_failed();
};

}  // namespace zvgtest

#endif

#endif  // TESTS_ENV_SCARCE_MEMORY_H
