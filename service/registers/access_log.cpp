#include "service/registers/access_log.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>
#include <util_zvg.h>

#include "hw/driver_requests.h"
#include "hw/serial_frames.h"
#include "service/board/error.h"

namespace zvg {

namespace {

std::string now() {
  timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  tm parts;
  gmtime_r(&time.tv_sec, &parts);
  char text[32];
  strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  return format("%s.%06ldZ", text, time.tv_nsec / 1000);
}

// The value in as many digits as the register has.
std::string hex_text(uint64_t value, unsigned width) {
  return format("0x%0*" PRIx64, static_cast<int>(2 * width),
                width >= 8 ? value : value & ((uint64_t{1} << (8 * width)) - 1));
}

std::string register_text(const hw::driver::RegisterRecord& record, bool known) {
  return format("driver %s %s 0x%06" PRIx64 " %u %s",
                record.op == hw::driver::op_write ? "write" : "read",
                record.bar == ZVG_BAR_VRAM ? "memory" : "register", record.offset, 8 * record.width,
                known ? hex_text(record.value, record.width).c_str() : "-");
}

std::string request_text(unsigned long request, const void* argument) {
  using namespace hw::driver;
  std::string text = format("driver request 0x%02lx", request & 0xFF);
  if (request == request_i2c) {
    const auto& record = *static_cast<const I2cRecord*>(argument);
    text += format(" i2c %s bus %u device 0x%02x register 0x%02x length %u result %d",
                   record.op == op_write ? "write" : "read", record.bus, record.device, record.reg,
                   record.length, record.result);
  }
  return text;
}

uint32_t big_endian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

}  // namespace

AccessLog::AccessLog(std::string path, seam::Transport& inner)
    : Forwarding(inner), path_(std::move(path)) {
  constexpr mode_t owner_writes = 0644;
  fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, owner_writes);
  if (fd_ < 0) {
    Error error(ErrorKind::file,
                format("cannot create the log %s: %s", path_.c_str(),
                       errno == EEXIST ? "it exists already: give another name" : strerror(errno)));
    error.system_error = errno;
    throw error;
  }
}

AccessLog::~AccessLog() {
  ::close(fd_);
}

void AccessLog::finish() {
  end_reply("no whole answer");
  if (failure_ == 0) return;
  throw_error(ErrorKind::file, "the log %s is not complete: %s", path_.c_str(), strerror(failure_));
}

void AccessLog::put_line(const std::string& text) {
  const int saved_errno = errno;
  const std::string line = now() + " " + text + "\n";
  const ssize_t written = ::write(fd_, line.data(), line.size());
  if (written != static_cast<ssize_t>(line.size()) && failure_ == 0) {
    failure_ = written < 0 ? errno : ENOSPC;
  }
  errno = saved_errno;
}

void AccessLog::put(const std::string& access, int64_t result) {
  put_line(access + " " + (result < 0 ? strerror(errno) : "ok"));
}

int AccessLog::open(const char* path, int flags, mode_t mode) {
  const int result = Forwarding::open(path, flags, mode);
  put(std::string("open ") + path, result);
  return result;
}

int AccessLog::close(int fd) {
  const int result = Forwarding::close(fd);
  put("close", result);
  return result;
}

int AccessLog::ioctl(int fd, unsigned long request, void* argument) {
  const int result = Forwarding::ioctl(fd, request, argument);
  if (request == hw::driver::request_register) {
    const auto& record = *static_cast<const hw::driver::RegisterRecord*>(argument);
    const bool known = result >= 0 || record.op == hw::driver::op_write;
    put(register_text(record, known), result);
  } else {
    put(request_text(request, argument), result);
  }
  return result;
}

void* AccessLog::mmap(void* address, size_t length, int protection, int flags, int fd,
                      off_t offset) {
  void* const result = Forwarding::mmap(address, length, protection, flags, fd, offset);
  put(format("map 0x%" PRIx64 " 0x%zx", static_cast<uint64_t>(offset), length),
      result == MAP_FAILED ? -1 : 0);
  return result;
}

ssize_t AccessLog::read(int fd, void* bytes, size_t size) {
  const ssize_t result = Forwarding::read(fd, bytes, size);
  if (result < 0) put("serial", result);
  const auto* byte = static_cast<const uint8_t*>(bytes);
  for (ssize_t left = result; left > 0 && !question_.empty(); --left) {
    reply_ = reply_ << 8 | *byte++;
    if (++replied_ == hw::serial::reply_size) {
      put_line(question_ + " " + hex_text(reply_, hw::serial::reply_size) + " ok");
      question_.clear();
    }
  }
  return result;
}

ssize_t AccessLog::write(int fd, const void* bytes, size_t size) {
  using namespace hw::serial;
  end_reply("no whole answer");
  const ssize_t result = Forwarding::write(fd, bytes, size);
  const auto* const frame = static_cast<const uint8_t*>(bytes);
  if (size != frame_size) {
    put(format("serial %zu bytes, %zd sent", size, result), result);
    return result;
  }
  const uint64_t address = uint64_t{frame[address_at]} << 32 | big_endian(frame + address_at + 1);
  const std::string where = format("0x%010" PRIx64 " enables 0x%x", address, frame[enables_at]);
  const bool whole = result == static_cast<ssize_t>(size);
  if (frame[command_at] == read_word && whole) {
    question_ = "serial read " + where;
    reply_ = replied_ = 0;
  } else if (frame[command_at] == read_word || frame[command_at] == write_word) {
    const bool writes = frame[command_at] == write_word;
    put(format("serial %s %s %s%s", writes ? "write" : "read", where.c_str(),
               writes ? hex_text(big_endian(frame + data_at), data_size).c_str() : "-",
               whole || result < 0 ? "" : " in part"),
        result);
  } else {
    put(format("serial frame 0x%02x 0x%08x", frame[command_at], big_endian(frame + data_at)),
        result);
  }
  return result;
}

void AccessLog::end_reply(const char* result) {
  if (question_.empty()) return;
  put_line(question_ + " - " + result);
  question_.clear();
}

int AccessLog::tcsetattr(int fd, int when, const termios* attributes) {
  const int result = Forwarding::tcsetattr(fd, when, attributes);
  put("serial line set up", result);
  return result;
}

int AccessLog::usleep(useconds_t microseconds) {
  if (microseconds != 0) put_line(format("sleep %u us", microseconds));
  return Forwarding::usleep(microseconds);
}

unsigned AccessLog::sleep(unsigned seconds) {
  put_line(format("sleep %u s", seconds));
  return Forwarding::sleep(seconds);
}

}  // namespace zvg
