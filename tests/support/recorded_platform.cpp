#include "support/recorded_platform.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <algorithm>
#include <bit>
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
    if (platform_.notes_requests) {
      platform_.note(format("ioctl 0x%lx ", number) + hex(record, _IOC_SIZE(number)));
    }
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
  int wait_writable(const timeval* timeout) override {
    platform_.note(format("room %ld.%06ld", timeout->tv_sec, timeout->tv_usec));
    return platform_.on_room ? platform_.on_room() : 1;
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
  platform.notes_requests = false;  // answer() writes them down decoded
  platform.on_ioctl = [this](unsigned long number, void* record) { return answer(number, record); };
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

void RegisterNode::open_serial() {
  platform.on_write = [this](const std::vector<uint8_t>& frame) {
    auto& log = platform.log();
    log.pop_back();
    if (!log.empty() && log.back().starts_with("tcflush")) log.pop_back();  // before each frame
    return take_frame(frame);
  };
  platform.on_select = [this] {
    platform.log().pop_back();
    return reply_.empty() ? 0 : 1;
  };
  platform.on_read = [this](uint8_t* buffer, size_t size) {
    platform.log().pop_back();
    return give_reply(buffer, size);
  };
  if (zvgSerialOpen("/dev/ttyTEST", 9600) < 0) abort();
  platform.take();
}

ssize_t RegisterNode::take_frame(const std::vector<uint8_t>& frame) {
  constexpr uint8_t command_read = 0xFD, command_write = 0xFE;
  constexpr uint64_t bus_registers = 0x1000000;
  const bool write = frame.at(0) == command_write;
  if (!write && frame[0] != command_read) return static_cast<ssize_t>(frame.size());
  const auto word = [&frame](size_t at) {
    return uint32_t{frame[at]} << 24 | uint32_t{frame[at + 1]} << 16 |
           uint32_t{frame[at + 2]} << 8 | frame[at + 3];
  };
  const unsigned enables = frame[1];
  const auto lane = static_cast<unsigned>(std::countr_zero(enables));
  const uint64_t address = uint64_t{frame[2]} << 32 | word(3);
  Access access = {0,
                   ZVG_BAR_MMIO,
                   write ? ZVG_OP_WRITE : ZVG_OP_READ,
                   static_cast<uint32_t>(std::popcount(enables)),
                   address - bus_registers + lane,
                   word(7) >> 8 * lane};
  if (carry_out(&access) == 0 && !write) {
    const auto value = static_cast<uint32_t>(access.value << 8 * lane);
    for (int shift = 24; shift >= 0; shift -= 8) {
      reply_.push_back(static_cast<uint8_t>(value >> shift));
    }
  }
  return static_cast<ssize_t>(frame.size());
}

ssize_t RegisterNode::give_reply(uint8_t* buffer, size_t size) {
  const size_t given = std::min(size, reply_.size());
  std::copy_n(reply_.begin(), given, buffer);
  reply_.erase(reply_.begin(), reply_.begin() + static_cast<ptrdiff_t>(given));
  return static_cast<ssize_t>(given);
}

int RegisterNode::answer(unsigned long number, void* record) {
  if (_IOC_NR(number) == 0x10) {
    uint32_t key;
    memcpy(&key, static_cast<uint8_t*>(record) + 4, sizeof key);
    if (key == ZVG_QUERY_DEVICE_ID) memcpy(static_cast<uint8_t*>(record) + 8, &device_id, 4);
    return 0;
  }
  if (_IOC_NR(number) != 0x01) {
    if (on_request) return on_request(number, record);
    errno = ENOTTY;
    return -1;
  }
  Access access;
  memcpy(&access, record, sizeof access);
  const int failure = carry_out(&access);
  if (failure == 0) memcpy(record, &access, sizeof access);
  return failure;
}

int RegisterNode::carry_out(Access* taken) {
  Access& access = *taken;
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
    if (on_write) on_write(access.offset, access.value);
    return 0;
  }
  uint64_t value = 0;
  if (!on_read || !on_read(access.offset, &value)) {
    for (uint32_t i = 0; i < access.width; ++i) {
      value |= uint64_t{bytes[access.offset + i]} << (8 * i);
    }
  }
  access.value = value;
  return 0;
}

}  // namespace zvgtest
