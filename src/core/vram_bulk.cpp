// Video memory in bulk: to and from a buffer or a file, and as a hex dump.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "core/connection.h"
#include "hw/bus.h"

namespace zvg::core {

namespace {

constexpr int rounds = 3;

// An open file that closes itself.
class File {
 public:
  File(const char* path, const char* mode) : file_(fopen(path, mode)) {
    if (file_ == nullptr) fprintf(stderr, "Failed to open file %s\n", path);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (file_ != nullptr) fclose(file_);
  }
  explicit operator bool() const { return file_ != nullptr; }
  FILE* get() const { return file_; }

 private:
  FILE* file_;
};

// Video memory is tried where the connection has it and, where that fails, at its place on the
// on-chip bus, three rounds in all.
void read_word(uint64_t offset, uint32_t* word) {
  for (int round = 0; round < rounds; ++round) {
    if (zvgVramReadLong(offset, word) == 0) return;
    if (zvgAmbaReadLong(hw::bus_vram_base + offset, word) == 0) return;
  }
  fprintf(stderr, "Failed to read vram [0x%lx]\n", offset);
}

// failure: the text for a word that could not be written.
void write_word(uint64_t offset, uint32_t word, const char* failure) {
  for (int round = 0; round < rounds; ++round) {
    if (zvgVramWriteLong(offset, word) == 0) return;
    if (zvgAmbaWriteLong(hw::bus_vram_base + offset, word) == 0) return;
  }
  fprintf(stderr, failure, offset);
}

uint64_t word_offset(uint64_t offset, uint32_t index) {
  return offset + uint64_t{index} * sizeof(uint32_t);
}

// One item of a hex dump. A 64-bit item shows as two numbers of which the first is always 0 and
// the second has only its low 16 bits: readers of these dumps rely on the form.
void print_item(const uint8_t* item, unsigned width) {
  uint64_t value = 0;
  memcpy(&value, item, width);
  switch (width) {
    case 1:
      printf(" %02x", static_cast<unsigned>(value));
      break;
    case 2:
      printf(" %04x", static_cast<unsigned>(value));
      break;
    case 4:
      printf(" %08x", static_cast<unsigned>(value));
      break;
    case 8:
      printf(" %08x %08x", 0u, static_cast<unsigned>(value & 0xFFFF));
      break;
  }
}

// How many items of a width stand on a line; 0 for a width that is not dumped.
unsigned items_per_line(unsigned width) {
  switch (width) {
    case 1:
    case 2:
    case 4:
      return 8;
    case 8:
      return 2;
    default:
      return 0;
  }
}

}  // namespace

}  // namespace zvg::core

using namespace zvg::core;

int zvgMultiVramReadLong(uint32_t* buffer, uint64_t offset, uint32_t count, const char* path) {
  if (path == nullptr) {
    if (buffer == nullptr) return 0;
    for (uint32_t i = 0; i < count; ++i) read_word(word_offset(offset, i), &buffer[i]);
    return 0;
  }
  const File file(path, "wb");
  if (!file) return -1;
  // A word that cannot be read goes into the file as the one before it.
  uint32_t word = 0;
  for (uint32_t i = 0; i < count; ++i) {
    read_word(word_offset(offset, i), &word);
    fwrite(&word, sizeof word, 1, file.get());
  }
  return 0;
}

int zvgMultVramWriteLong(uint32_t value, uint64_t offset, uint32_t count, const char* path) {
  if (path == nullptr) {
    for (uint32_t i = 0; i < count; ++i) {
      // The text of a failed fill says "read"; scripts look for it.
      write_word(word_offset(offset, i), value, "Failed to read vram [0x%lx]\n");
    }
    return 0;
  }
  const File file(path, "rb+");
  if (!file) return -1;
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t place = word_offset(offset, i);
    uint32_t word = 0;
    if (fread(&word, sizeof word, 1, file.get()) != 1) {
      fprintf(stderr, "Failed to read from file %s. Writing stream crashed at 0x%lx\n", path,
              place);
      return -1;
    }
    write_word(place, word, "Failed to write vram [0x%lx]\n");
  }
  return 0;
}

void dump_vram(const uint8_t* buffer, unsigned width, uint64_t start, unsigned count) {
  const unsigned line = items_per_line(width);
  if (line == 0) return;
  for (unsigned i = 0; i < count; ++i) {
    const uint64_t position = uint64_t{i} * width;
    if (i % line == 0) printf(i == 0 ? "%08lx:" : "\n%08lx:", start + position);
    print_item(buffer + position, width);
  }
}
