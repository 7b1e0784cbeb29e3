#include "doors/instruction_window.h"

#ifdef __x86_64__

#include <sched.h>
#include <sys/mman.h>

namespace zvgsim {

namespace {

constexpr size_t window_count = 16;
Window windows[window_count];

}  // namespace

bool create_windows() {
  for (Window& window : windows) {
    if (window.base != nullptr) continue;
    void* const base = mmap(nullptr, Window::pages * page_size, PROT_NONE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (base == MAP_FAILED) return false;
    window.base = static_cast<uint8_t*>(base);
    if (mprotect(window.page(Window::code_page), page_size, PROT_READ | PROT_WRITE | PROT_EXEC) !=
            0 ||
        mprotect(window.page(Window::data_page), page_size, PROT_READ | PROT_WRITE) != 0 ||
        mprotect(window.page(Window::constant_page), page_size, PROT_READ) != 0) {
      munmap(base, Window::pages * page_size);
      window.base = nullptr;
      return false;
    }
  }
  return true;
}

Window& acquire_window() {
  for (;;) {
    for (Window& window : windows) {
      if (!window.busy.exchange(true, std::memory_order_acquire)) return window;
    }
    sched_yield();
  }
}

void release_window(Window& window) {
  window.busy.store(false, std::memory_order_release);
}

void release_all_windows() {
  for (Window& window : windows) window.busy.store(false, std::memory_order_relaxed);
}

Window* window_at(uintptr_t instruction) {
  for (Window& window : windows) {
    if (window.base != nullptr && window.holds(instruction, Window::code_page)) return &window;
  }
  return nullptr;
}

}  // namespace zvgsim

#endif  // __x86_64__
