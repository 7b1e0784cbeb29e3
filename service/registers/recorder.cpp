#include "service/registers/recorder.h"

#include <string.h>
#include <util_zvg.h>

#include "service/board/board.h"

namespace zvg {

namespace {

// The driver's register access request.
constexpr unsigned long register_request = 0xC0206401;
struct RegisterRecord {
  uint32_t card, bar, op, width;
  uint64_t offset, value;
};

// Frames of the serial link.
constexpr size_t frame_size = 11;
constexpr uint8_t frame_read = 0xFD;
constexpr uint8_t frame_write = 0xFE;

uint32_t big_endian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

}  // namespace

Recorder::Recorder(AtomicFile& file, seam::Transport& inner) : Forwarding(inner), file_(file) {
  put("# Recorded by zvgctl. Reads are checks that always hold.\n");
}

void Recorder::finish() {
  if (!failure_.empty()) throw Error(ErrorKind::file, failure_);
  file_.commit();
}

int Recorder::ioctl(int fd, unsigned long request, void* argument) {
  const int result = Forwarding::ioctl(fd, request, argument);
  if (request != register_request || result != 0) return result;
  RegisterRecord record;
  memcpy(&record, argument, sizeof record);
  const bool write = record.op == ZVG_OP_WRITE;
  if (record.bar == ZVG_BAR_MMIO) {
    put_access(write, record.offset, record.width, record.value);
  } else {
    put_elsewhere(write, "video memory", record.offset, record.width, record.value);
  }
  return result;
}

ssize_t Recorder::write(int fd, const void* bytes, size_t size) {
  const ssize_t result = Forwarding::write(fd, bytes, size);
  const bool whole = size == frame_size && result == static_cast<ssize_t>(size);
  if (whole) take_frame(static_cast<const uint8_t*>(bytes));
  return result;
}

ssize_t Recorder::read(int fd, void* bytes, size_t size) {
  const ssize_t result = Forwarding::read(fd, bytes, size);
  if (result > 0) take_reply(static_cast<const uint8_t*>(bytes), static_cast<size_t>(result));
  return result;
}

int Recorder::usleep(useconds_t microseconds) {
  if (microseconds != 0) put(format("usleep %u\n", microseconds));
  return Forwarding::usleep(microseconds);
}

// The board's work goes on when the file does not take a line; finish() tells.
void Recorder::put(const std::string& line) {
  if (!failure_.empty()) return;
  try {
    file_.write(line.data(), line.size());
  } catch (const Error& error) {
    failure_ = error.what();
  }
}

void Recorder::put_access(bool write, uint64_t offset, unsigned width, uint64_t value) {
  const char* const comment = width == 8 ? "# 64 bits: " : "";
  put(format("%s%lx %lx %c %x %u\n", comment, static_cast<unsigned long>(offset),
             static_cast<unsigned long>(value), write ? 'W' : 'C', write ? UINT32_MAX : 0,
             8 * width));
}

void Recorder::put_elsewhere(bool write, const char* space, uint64_t offset, unsigned width,
                             uint64_t value) {
  put(format("# %s %s 0x%lx, %u bits: 0x%lx\n", write ? "write" : "read", space,
             static_cast<unsigned long>(offset), 8 * width, static_cast<unsigned long>(value)));
}

// An access of the serial link: the word at a bus address, of which the enables say the bytes.
void Recorder::put_word(bool write, uint64_t address, uint8_t enables, uint32_t word) {
  const unsigned lane = enables == 0 ? 0 : static_cast<unsigned>(__builtin_ctz(enables));
  const auto width = static_cast<unsigned>(__builtin_popcount(enables));
  const uint64_t mask = width >= 4 ? UINT32_MAX : (uint64_t{1} << (8 * width)) - 1;
  const uint64_t value = word >> (8 * lane) & mask;
  if (address >= bus_mmio_base && address - bus_mmio_base <= last_register) {
    put_access(write, address - bus_mmio_base + lane, width, value);
  } else {
    put_elsewhere(write, "bus address", address + lane, width, value);
  }
}

void Recorder::take_frame(const uint8_t* frame) {
  const uint64_t address = uint64_t{frame[2]} << 32 | big_endian(frame + 3);
  read_pending_ = frame[0] == frame_read;
  replied_ = 0;
  if (frame[0] == frame_write) {
    put_word(true, address, frame[1], big_endian(frame + 7));
  } else if (frame[0] == frame_read) {
    read_address_ = address;
    read_enables_ = frame[1];
  }
}

void Recorder::take_reply(const uint8_t* bytes, size_t size) {
  if (!read_pending_ || size > sizeof reply_ - replied_) return;
  memcpy(reply_ + replied_, bytes, size);
  replied_ += size;
  if (replied_ < sizeof reply_) return;
  read_pending_ = false;
  put_word(false, read_address_, read_enables_, big_endian(reply_));
}

}  // namespace zvg
