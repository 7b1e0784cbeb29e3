#include "support/recorded_platform.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <memory>
#include <set>

#include "doors/platform.h"
#include "util_zvg.h"

namespace zvgtest {

namespace {

template <typename... Arguments>
std::string format(const char* text, Arguments... arguments) {
  char line[256];
  snprintf(line, sizeof line, text, arguments...);
  return line;
}

class RecordedFile : public zvgsim::OpenFile {
 public:
  explicit RecordedFile(RecordedPlatform& platform) : platform_(platform) {}
  ~RecordedFile() override { platform_.note("close"); }

  int ioctl(unsigned long number, void* record) override {
    platform_.note(format("ioctl 0x%lx ", number) + hex(record, _IOC_SIZE(number)));
    return platform_.on_ioctl ? platform_.on_ioctl(number, record) : 0;
  }
  ssize_t write(const void* buffer, size_t size) override {
    platform_.note("write " + hex(buffer, size));
    if (!platform_.on_write) return static_cast<ssize_t>(size);
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    return platform_.on_write({bytes, bytes + size});
  }
  ssize_t read(void* buffer, size_t size) override {
    platform_.note(format("read %zu", size));
    return platform_.on_read ? platform_.on_read(static_cast<uint8_t*>(buffer), size) : 0;
  }
  int wait_readable(const timeval* timeout) override {
    platform_.note(format("select %ld.%06ld", timeout->tv_sec, timeout->tv_usec));
    return platform_.on_select ? platform_.on_select() : 1;
  }
  void* mmap(void*, size_t length, int protection, int flags, off_t offset) override {
    platform_.note(
        format("mmap 0x%zx prot 0x%x flags 0x%x offset 0x%lx", length, protection, flags, offset));
    return platform_.on_mmap ? platform_.on_mmap(length, offset) : MAP_FAILED;
  }
  int tcgetattr(termios* attributes) override {
    platform_.note("tcgetattr");
    *attributes = platform_.attributes;
    return platform_.on_tcgetattr ? platform_.on_tcgetattr() : 0;
  }
  int tcsetattr(int actions, const termios* attributes) override {
    platform_.note(format("tcsetattr %d", actions));
    const int result = platform_.on_tcsetattr ? platform_.on_tcsetattr(*attributes) : 0;
    if (result == 0) platform_.attributes = *attributes;
    return result;
  }
  int tcflush(int queue) override {
    platform_.note(format("tcflush %d", queue));
    return 0;
  }

 private:
  RecordedPlatform& platform_;
};

}  // namespace

std::string hex(const void* bytes, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    char digits[3];
    snprintf(digits, sizeof digits, "%02x", static_cast<const uint8_t*>(bytes)[i]);
    text += digits;
  }
  return text;
}

RecordedPlatform::RecordedPlatform(const std::vector<std::string>& nodes) {
  for (const std::string& path : nodes) {
    zvgsim::mount_node(path, [this, path](int flags) -> std::shared_ptr<zvgsim::OpenFile> {
      note(format("open %s 0x%x", path.c_str(), static_cast<unsigned>(flags)));
      if (const int error = on_open ? on_open(path) : 0; error != 0) {
        errno = error;
        return nullptr;
      }
      return std::make_shared<RecordedFile>(*this);
    });
  }
  zvgsim::set_sleeper([this](uint64_t nanoseconds) {
    note(format("usleep %llu", static_cast<unsigned long long>(nanoseconds / 1000)));
  });
  zvgsim::set_munmap_observer(
      [this](void*, size_t length) { note(format("munmap 0x%zx", length)); });
}

RecordedPlatform::~RecordedPlatform() {
  // What the hooks refer to may be gone already: the close below runs without them.
  on_ioctl = nullptr;
  on_write = nullptr;
  on_tcgetattr = nullptr;
  on_tcsetattr = nullptr;
  if (get_s_type() != UINT32_MAX) zvgClose();
  zvgsim::unmount_all();
}

std::vector<std::string> RecordedPlatform::take() {
  std::vector<std::string> lines;
  lines.swap(log_);
  return lines;
}

RegisterNode::RegisterNode() {
  platform.on_ioctl = [this](unsigned long number, void* record) {
    platform.log().pop_back();  // the decoded line takes the place of the raw one
    return answer(number, record);
  };
  zvgsim::set_sleeper([this](uint64_t nanoseconds) {
    slept_us += nanoseconds / 1000;
    if (!quiet) {
      platform.note(format("usleep %llu", static_cast<unsigned long long>(nanoseconds / 1000)));
    }
  });
}

void RegisterNode::open() {
  if (zvgRwOpen(0) < 0) abort();
  platform.take();
}

int RegisterNode::answer(unsigned long number, void* record) {
  struct {
    uint32_t card, bar, op, width;
    uint64_t offset, value;
  } access;
  if (_IOC_NR(number) == 0x10) {
    uint32_t key;
    memcpy(&key, static_cast<uint8_t*>(record) + 4, sizeof key);
    if (key == ZVG_QUERY_DEVICE_ID) memcpy(static_cast<uint8_t*>(record) + 8, &device_id, 4);
    return 0;
  }
  if (_IOC_NR(number) != 0x01) {
    errno = ENOTTY;
    return -1;
  }
  memcpy(&access, record, sizeof access);
  ++accesses;
  const bool write = access.op == ZVG_OP_WRITE;
  const char* const space = access.bar == ZVG_BAR_VRAM ? "v" : "";
  if (!quiet) {
    platform.note(write ? format("w%u%s 0x%llx 0x%llx", access.width, space,
                                 static_cast<unsigned long long>(access.offset),
                                 static_cast<unsigned long long>(access.value))
                        : format("r%u%s 0x%llx", access.width, space,
                                 static_cast<unsigned long long>(access.offset)));
  }
  if (const int failure = result ? result(write, access.offset) : 0; failure != 0) {
    errno = EIO;
    return failure;
  }
  if (write) {
    for (uint32_t i = 0; i < access.width; ++i) {
      bytes[access.offset + i] = static_cast<uint8_t>(access.value >> (8 * i));
    }
    return 0;
  }
  uint64_t value = 0;
  if (!on_read || !on_read(access.offset, &value)) {
    for (uint32_t i = 0; i < access.width; ++i) {
      value |= uint64_t{bytes[access.offset + i]} << (8 * i);
    }
  }
  access.value = value;
  memcpy(record, &access, sizeof access);
  return 0;
}

}  // namespace zvgtest
