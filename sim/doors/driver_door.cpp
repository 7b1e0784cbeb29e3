#include "doors/driver_door.h"

#include <errno.h>

#include <mutex>

#include "doors/driver.h"

namespace zvgsim {

namespace {

class DriverFile : public OpenFile {
 public:
  explicit DriverFile(Machine& machine) : driver_(machine) {}

  int ioctl(unsigned long request, void* record) override {
    OwnMemory caller;
    const bool nowhere = record == nullptr && Driver::has_record(request);
    const int error = nowhere ? EFAULT : driver_.answer(request, record, caller);
    if (error == 0) return 0;
    errno = error;
    return -1;
  }

 private:
  Driver driver_;
};

}  // namespace

std::shared_ptr<OpenFile> DriverDoor::open() {
  {
    const std::lock_guard guard(machine_.lock());
    if (machine_.faults().node_gone()) {
      errno = ENOENT;
      return nullptr;
    }
  }
  return std::make_shared<DriverFile>(machine_);
}

}  // namespace zvgsim
