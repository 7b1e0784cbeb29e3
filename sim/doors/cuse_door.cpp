#include "doors/cuse_door.h"

#include <errno.h>

#include <numeric>

namespace zvgsim {

namespace {

size_t size_of(const std::vector<CallerRange>& ranges) {
  return std::accumulate(ranges.begin(), ranges.end(), size_t{0},
                         [](size_t size, const CallerRange& range) { return size + range.size; });
}

}  // namespace

CuseDoor::Reply CuseDoor::ioctl(unsigned long request, uint64_t argument, const void* in,
                                size_t in_size) {
  if (argument == 0 && Driver::has_record(request)) return {{}, {}, EFAULT, {}};
  const size_t size = Driver::record_size(request);
  const CallerRange record = {argument, size};
  if (in_size < size) return {{record}, {record}, 0, {}};

  const uint8_t* const bytes = static_cast<const uint8_t*>(in);
  std::vector<CallerRange> more;
  if (size != 0) more = Driver::reads(request, bytes);
  if (in_size < size + size_of(more)) {
    more.insert(more.begin(), record);
    return {std::move(more), {record}, 0, {}};
  }

  Reply reply;
  if (size != 0) reply.out.assign(bytes, bytes + size);
  CopiedMemory caller(std::move(more), bytes + size);
  reply.error = driver_.answer(request, reply.out.data(), caller);
  if (reply.error != 0) reply.out.clear();
  return reply;
}

}  // namespace zvgsim
