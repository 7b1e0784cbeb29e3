#include "doors/caller_memory.h"

#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zvgsim {

// Through the kernel, which finds out whether the caller's address leads anywhere.
bool OwnMemory::read(const CallerRange& range, void* to) {
  iovec here = {to, range.size};
  iovec there = {reinterpret_cast<void*>(static_cast<uintptr_t>(range.address)), range.size};
  return process_vm_readv(getpid(), &here, 1, &there, 1, 0) == static_cast<ssize_t>(range.size);
}

bool CopiedMemory::read(const CallerRange& range, void* to) {
  const uint8_t* bytes = bytes_;
  for (const CallerRange& copied : ranges_) {
    if (copied == range) {
      memcpy(to, bytes, range.size);
      return true;
    }
    bytes += copied.size;
  }
  return false;
}

}  // namespace zvgsim
