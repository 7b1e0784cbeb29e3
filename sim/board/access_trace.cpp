#include "board/access_trace.h"

namespace zvgsim {

std::string Access::text() const {
  if (!note.empty()) return "# " + note;
  char line[96];
  const std::string_view where = name(space);
  snprintf(line, sizeof line, "%c%u %.*s 0x%llx 0x%llx", write ? 'w' : 'r', width,
           static_cast<int>(where.size()), where.data(), static_cast<unsigned long long>(offset),
           static_cast<unsigned long long>(value));
  return card == 0 ? line : "card " + std::to_string(card) + ": " + line;
}

void AccessTrace::start(FILE* file) {
  file_ = file;
  on_ = true;
}

void AccessTrace::record(const Access& access) {
  if (!on_) return;
  if (file_ == nullptr) {
    entries_.push_back(access);
    return;
  }
  // Written through at once: the program may end in any way.
  fprintf(file_, "%s\n", access.text().c_str());
  fflush(file_);
}

void AccessTrace::note(std::string_view text) {
  if (!on_) return;
  Access access;
  access.note = text;
  record(access);
}

std::vector<std::string> AccessTrace::lines() const {
  std::vector<std::string> lines;
  lines.reserve(entries_.size());
  for (const Access& access : entries_) lines.push_back(access.text());
  return lines;
}

std::vector<std::string> AccessTrace::take() {
  std::vector<std::string> taken = lines();
  clear();
  return taken;
}

}  // namespace zvgsim
