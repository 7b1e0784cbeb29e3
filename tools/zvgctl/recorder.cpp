#include "zvgctl/recorder.h"

#include <stdint.h>
#include <string.h>
#include <util_zvg.h>

#include <memory>

#include "service/board/board.h"
#include "zvgctl/atomic_file.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

// The driver's register access request.
constexpr unsigned long register_request = 0xC0206401;
struct RegisterRecord {
  uint32_t card, bar, op, width;
  uint64_t offset, value;
};

// Frames of the serial link.
constexpr size_t frame_size = 11;
constexpr size_t reply_size = 4;
constexpr uint8_t frame_read = 0xFD;
constexpr uint8_t frame_write = 0xFE;

// Where the bus that the serial link reaches shows the registers.
constexpr uint64_t bus_mmio_base = 0x1000000;

struct Recording {
  explicit Recording(const std::string& path) : file(path, /*overwrite=*/false) {}

  AtomicFile file;
  std::string failure;  // why the file did not take a line; the board's work goes on
  // A read over the serial line whose reply has not come yet.
  bool read_pending = false;
  uint64_t read_address = 0;
  uint8_t read_enables = 0;
  uint8_t reply[reply_size] = {};
  size_t replied = 0;
};

// The one recording of the process.
std::unique_ptr<Recording> recording;

void put(const std::string& line) {
  if (!recording->failure.empty()) return;
  try {
    recording->file.write(line.data(), line.size());
  } catch (const zvg::Error& failure) {
    recording->failure = failure.what();
  }
}

void put_access(bool write, uint64_t offset, unsigned width, uint64_t value) {
  const char* const comment = width == 8 ? "# 64 bits: " : "";
  put(format("%s%lx %lx %c %x %u\n", comment, static_cast<unsigned long>(offset),
             static_cast<unsigned long>(value), write ? 'W' : 'C', write ? UINT32_MAX : 0,
             8 * width));
}

void put_elsewhere(bool write, const char* space, uint64_t offset, unsigned width, uint64_t value) {
  put(format("# %s %s 0x%lx, %u bits: 0x%lx\n", write ? "write" : "read", space,
             static_cast<unsigned long>(offset), 8 * width, static_cast<unsigned long>(value)));
}

void take_request(const RegisterRecord& record) {
  const bool write = record.op == ZVG_OP_WRITE;
  if (record.bar == ZVG_BAR_MMIO) {
    put_access(write, record.offset, record.width, record.value);
  } else {
    put_elsewhere(write, "video memory", record.offset, record.width, record.value);
  }
}

// An access of the serial link: the word at a bus address, of which the enables say the bytes.
void take_word(bool write, uint64_t address, uint8_t enables, uint32_t word) {
  const unsigned lane = enables == 0 ? 0 : static_cast<unsigned>(__builtin_ctz(enables));
  const auto width = static_cast<unsigned>(__builtin_popcount(enables));
  const uint64_t mask = width >= 4 ? UINT32_MAX : (uint64_t{1} << (8 * width)) - 1;
  const uint64_t value = word >> (8 * lane) & mask;
  if (address >= bus_mmio_base && address - bus_mmio_base <= zvg::last_register) {
    put_access(write, address - bus_mmio_base + lane, width, value);
  } else {
    put_elsewhere(write, "bus address", address + lane, width, value);
  }
}

uint32_t big_endian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

void take_frame(const uint8_t* frame) {
  const uint64_t address = uint64_t{frame[2]} << 32 | big_endian(frame + 3);
  recording->read_pending = frame[0] == frame_read;
  recording->replied = 0;
  if (frame[0] == frame_write) {
    take_word(true, address, frame[1], big_endian(frame + 7));
  } else if (frame[0] == frame_read) {
    recording->read_address = address;
    recording->read_enables = frame[1];
  }
}

void take_reply(const uint8_t* bytes, size_t size) {
  Recording& r = *recording;
  if (!r.read_pending || size > reply_size - r.replied) return;
  memcpy(r.reply + r.replied, bytes, size);
  r.replied += size;
  if (r.replied < reply_size) return;
  r.read_pending = false;
  take_word(false, r.read_address, r.read_enables, big_endian(r.reply));
}

// Passes everything on, and writes down what goes through.
class RecordingTransport : public zvg::seam::Transport {
 public:
  int ioctl(int fd, unsigned long request, void* argument) override {
    const int result = Transport::ioctl(fd, request, argument);
    if (recording && request == register_request && result == 0) {
      RegisterRecord record;
      memcpy(&record, argument, sizeof record);
      take_request(record);
    }
    return result;
  }

  ssize_t write(int fd, const void* bytes, size_t size) override {
    const ssize_t result = Transport::write(fd, bytes, size);
    const auto* const frame = static_cast<const uint8_t*>(bytes);
    const bool whole = size == frame_size && result == static_cast<ssize_t>(size);
    if (recording && whole) take_frame(frame);
    return result;
  }

  ssize_t read(int fd, void* bytes, size_t size) override {
    const ssize_t result = Transport::read(fd, bytes, size);
    if (recording && result > 0) {
      take_reply(static_cast<const uint8_t*>(bytes), static_cast<size_t>(result));
    }
    return result;
  }

  int usleep(useconds_t microseconds) override {
    if (recording && microseconds != 0) put(format("usleep %u\n", microseconds));
    return Transport::usleep(microseconds);
  }
};

}  // namespace

void start_recording(const std::string& path) {
  recording = std::make_unique<Recording>(path);
  put("# Recorded by zvgctl. Reads are checks that always hold.\n");
}

void finish_recording() {
  if (!recording) return;
  const std::unique_ptr<Recording> ended = std::move(recording);
  if (!ended->failure.empty()) fail("%s", ended->failure.c_str());
  ended->file.commit();
}

zvg::seam::Transport* recording_transport() {
  static RecordingTransport transport;
  return recording ? &transport : nullptr;
}

}  // namespace zvgctl
