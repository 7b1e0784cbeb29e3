#include "tools/serial_board.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace zvgtest {

namespace {

constexpr size_t frame_size = 11;
constexpr uint8_t command_read = 0xFD;
constexpr uint8_t command_write = 0xFE;
constexpr uint8_t noise = 0x5A;

// Whether a bad habit that begins with that read has begun.
bool begun(int after, int reads) {
  return after >= 0 && reads > after;
}

uint32_t big_endian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

}  // namespace

SerialBoard::SerialBoard(const Manners& manners) : manners_(manners) {
  master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  char name[128];
  if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
      ptsname_r(master_, name, sizeof name) != 0) {
    throw std::runtime_error("no pseudo-terminal");
  }
  path_ = name;
  slave_ = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios attributes;
  tcgetattr(slave_, &attributes);
  cfmakeraw(&attributes);
  tcsetattr(slave_, TCSANOW, &attributes);
  thread_ = std::thread([this] { serve(); });
}

SerialBoard::~SerialBoard() {
  stop_ = true;
  thread_.join();
  close(slave_);
  close(master_);
}

void SerialBoard::put(uint64_t address, uint32_t word) {
  const std::lock_guard guard(lock_);
  words_[address] = word;
}

uint32_t SerialBoard::get(uint64_t address) {
  const std::lock_guard guard(lock_);
  const auto word = words_.find(address);
  return word != words_.end() ? word->second : static_cast<uint32_t>(address);
}

std::vector<SerialBoard::Frame> SerialBoard::frames() {
  const std::lock_guard guard(lock_);
  return frames_;
}

void SerialBoard::serve() {
  Frame frame;
  while (!stop_) {
    pollfd ready = {master_, POLLIN, 0};
    if (poll(&ready, 1, 20) <= 0) continue;
    uint8_t bytes[256];
    const ssize_t size = read(master_, bytes, sizeof bytes);
    for (ssize_t i = 0; i < size; ++i) {
      frame.push_back(bytes[i]);
      if (frame.size() < frame_size) continue;
      take(frame);
      frame.clear();
    }
  }
}

void SerialBoard::take(const Frame& frame) {
  const uint64_t address = uint64_t{frame[2]} << 32 | big_endian(&frame[3]);
  uint32_t word = get(address);
  {
    const std::lock_guard guard(lock_);
    frames_.push_back(frame);
    if (frame[0] == command_write) {
      for (int lane = 0; lane < 4; ++lane) {
        const uint32_t mask = 0xFFu << (8 * lane);
        if ((frame[1] >> lane & 1) != 0) word = (word & ~mask) | (big_endian(&frame[7]) & mask);
      }
      words_[address] = word;
    }
  }
  if (!banner_sent_ && !manners_.banner.empty()) {
    banner_sent_ = true;
    if (write(master_, manners_.banner.data(), manners_.banner.size()) < 0) return;
  }
  if (frame[0] == command_read) answer(word);
}

void SerialBoard::answer(uint32_t word) {
  ++reads_;
  if (begun(manners_.silent_after, reads_)) return;
  if (begun(manners_.late_after, reads_)) {
    for (int waited = 0; waited < manners_.late_ms && !stop_; waited += 10) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  std::vector<uint8_t> bytes;
  if (begun(manners_.noise_before_after, reads_)) bytes.push_back(noise);
  for (const int shift : {24, 16, 8, 0}) bytes.push_back(static_cast<uint8_t>(word >> shift));
  if (begun(manners_.noise_after_after, reads_)) bytes.push_back(noise);
  if (begun(manners_.half_after, reads_)) bytes.resize(2);
  [[maybe_unused]] const ssize_t size = write(master_, bytes.data(), bytes.size());
}

}  // namespace zvgtest
