#include "board/memory.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <system_error>

namespace zvgsim {

namespace {

// Out of the way of programs that count on small descriptor numbers.
constexpr int lowest_descriptor = 900;

template <typename Word>
uint64_t load(const uint8_t* bytes) {
  Word word;
  memcpy(&word, bytes, sizeof word);
  return word;
}

template <typename Word>
void store(uint8_t* bytes, uint64_t value) {
  const Word word = static_cast<Word>(value);
  memcpy(bytes, &word, sizeof word);
}

}  // namespace

Memory::~Memory() {
  if (bytes_ != nullptr) munmap(bytes_, size_);
  if (fd_ >= 0) close(fd_);
}

uint8_t* Memory::create() {
  const auto fail = [this] {
    throw std::system_error(errno, std::generic_category(), "memory of " + name_);
  };
  fd_ = memfd_create(name_.c_str(), MFD_CLOEXEC);
  if (fd_ < 0) fail();
  if (const int high = fcntl(fd_, F_DUPFD_CLOEXEC, lowest_descriptor); high >= 0) {
    close(fd_);
    fd_ = high;
  }
  if (ftruncate(fd_, static_cast<off_t>(size_)) != 0) fail();
  void* const mapping = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  if (mapping == MAP_FAILED) fail();
  bytes_ = static_cast<uint8_t*>(mapping);
  return bytes_;
}

uint64_t Memory::read(uint64_t offset, unsigned width) {
  const uint8_t* const at = bytes() + offset;
  switch (width) {
    case 1:
      return *at;
    case 2:
      return load<uint16_t>(at);
    case 4:
      return load<uint32_t>(at);
    default:
      return load<uint64_t>(at);
  }
}

void Memory::write(uint64_t offset, unsigned width, uint64_t value) {
  uint8_t* const at = bytes() + offset;
  switch (width) {
    case 1:
      *at = static_cast<uint8_t>(value);
      break;
    case 2:
      store<uint16_t>(at, value);
      break;
    case 4:
      store<uint32_t>(at, value);
      break;
    default:
      store<uint64_t>(at, value);
  }
}

void* Memory::map(void* address, size_t length, int protection, int flags, uint64_t offset) {
  bytes();
  return mmap(address, length, protection, flags, fd_, static_cast<off_t>(offset));
}

}  // namespace zvgsim
