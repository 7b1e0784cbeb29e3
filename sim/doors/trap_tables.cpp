#include "doors/trap_tables.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace zvgsim {

namespace {

constinit std::mutex table_lock;

std::vector<TrappedRange>& ranges() {
  static auto& instance = *new std::vector<TrappedRange>;
  return instance;
}

struct Verdict {
  uintptr_t address = 0;
  Instruction::Bytes bytes{};
  OperandUse use;
};
constexpr size_t verdict_count = 1024;
Verdict verdicts[verdict_count];

Verdict& verdict_of(uintptr_t address) {
  return verdicts[(address ^ address >> 10) % verdict_count];
}

constexpr uintptr_t page_end(uintptr_t begin, size_t length) {
  return begin + (length + page_size - 1) / page_size * page_size;
}

void forget_locked(uintptr_t begin, uintptr_t end) {
  std::vector<TrappedRange> kept;
  for (const TrappedRange& range : ranges()) {
    if (range.begin < begin) {
      kept.push_back(range);
      kept.back().end = std::min(range.end, begin);
    }
    if (range.end > end) {
      const uintptr_t rest = std::max(range.begin, end);
      kept.push_back(range);
      kept.back().offset += rest - range.begin;
      kept.back().begin = rest;
    }
  }
  ranges() = std::move(kept);
}

}  // namespace

void create_trap_tables() {
  ranges();
}

bool find_range(uintptr_t address, TrappedRange* found) {
  const std::lock_guard guard(table_lock);
  for (const TrappedRange& range : ranges()) {
    if (address < range.begin || address >= range.end) continue;
    *found = range;
    return true;
  }
  return false;
}

void add_range(const TrappedRange& range) {
  const std::lock_guard guard(table_lock);
  const TrappedRange whole = {range.begin, page_end(range.begin, range.end - range.begin),
                              range.protection, range.model, range.offset};
  forget_locked(whole.begin, whole.end);
  ranges().push_back(whole);
}

void forget_range(uintptr_t begin, size_t length) {
  const std::lock_guard guard(table_lock);
  const bool concerned =
      std::any_of(ranges().begin(), ranges().end(), [&](const TrappedRange& range) {
        return begin < range.end && std::max(range.begin, begin) - begin < length;
      });
  if (concerned) forget_locked(begin, page_end(begin, length));
}

void forget_ranges_of(const AccessModel& model) {
  const std::lock_guard guard(table_lock);
  std::erase_if(ranges(), [&](const TrappedRange& range) { return range.model == &model; });
}

bool recall_use(uintptr_t address, const Instruction& instruction, OperandUse* use) {
  const std::lock_guard guard(table_lock);
  const Verdict& verdict = verdict_of(address);
  if (verdict.address != address || verdict.bytes != instruction.bytes()) return false;
  *use = verdict.use;
  return true;
}

void remember_use(uintptr_t address, const Instruction& instruction, const OperandUse& use) {
  const std::lock_guard guard(table_lock);
  verdict_of(address) = {address, instruction.bytes(), use};
}

void lock_trap_tables() {
  table_lock.lock();
}

void unlock_trap_tables() {
  table_lock.unlock();
}

}  // namespace zvgsim
