// What long work tells its caller while it goes on, and how the caller ends it. Every callback may
// be missing; none may throw.
#ifndef ZVG_SERVICE_WORK_H
#define ZVG_SERVICE_WORK_H

#include <cstdint>
#include <functional>
#include <string>

namespace zvg {

struct Work {
  // How much of a phase ("reading", "erasing") is done, in the phase's own unit, mostly bytes.
  std::function<void(const char* phase, uint64_t done, uint64_t total)> progress = nullptr;
  // Whether the caller wants no more. Asked between steps, after each of which the board is in a
  // state that an Error (cancelled) can describe.
  std::function<bool()> cancelled = nullptr;
  // Something that is no error and that a person would want to know.
  std::function<void(const std::string& remark)> note = nullptr;

  void show(const char* phase, uint64_t done, uint64_t total) const {
    if (progress) progress(phase, done, total);
  }
  bool is_cancelled() const { return cancelled && cancelled(); }
  void remark(const std::string& text) const {
    if (note) note(text);
  }
};

}  // namespace zvg

#endif  // ZVG_SERVICE_WORK_H
