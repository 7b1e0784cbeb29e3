// The memory of a request's caller, besides the record.
#ifndef ZVGSIM_DOORS_CALLER_MEMORY_H
#define ZVGSIM_DOORS_CALLER_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zvgsim {

struct CallerRange {
  uint64_t address;
  size_t size;
  bool operator==(const CallerRange&) const = default;
};

class CallerMemory {
 public:
  virtual ~CallerMemory() = default;
  // Copies a range from the caller; false when some of it cannot be read.
  virtual bool read(const CallerRange& range, void* to) = 0;
};

// The caller is this process.
class OwnMemory : public CallerMemory {
 public:
  bool read(const CallerRange& range, void* to) override;
};

// Ranges that were copied before, one behind the other.
class CopiedMemory : public CallerMemory {
 public:
  // The bytes stay the owner's; they are as many as the ranges say.
  CopiedMemory(std::vector<CallerRange> ranges, const void* bytes)
      : ranges_(std::move(ranges)), bytes_(static_cast<const uint8_t*>(bytes)) {}
  // A range that is none of the copied ones cannot be read.
  bool read(const CallerRange& range, void* to) override;

 private:
  const std::vector<CallerRange> ranges_;
  const uint8_t* const bytes_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_CALLER_MEMORY_H
