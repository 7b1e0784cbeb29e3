#include "zvgctl/commands/vram_bulk.h"

#include <inttypes.h>
#include <util_zvg.h>

#include <algorithm>
#include <vector>

#include "service/files/memory_file.h"
#include "service/seam/library_messages.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/progress.h"

namespace zvgctl {

namespace {

constexpr uint64_t word_size = sizeof(uint32_t);
constexpr uint64_t piece_words = 16384;
constexpr uint64_t serial_piece_words = 64;  // about a tenth of a second at 115200 baud

uint64_t words_per_piece(Connection& connection) {
  return connection.door() == Door::serial ? serial_piece_words : piece_words;
}

// The next piece begins at done. The first is a single word: where nothing works, one complaint of
// the library is enough.
uint64_t next_piece(uint64_t done, uint64_t size, uint64_t most) {
  return done == 0 ? 1 : std::min(most, (size - done) / word_size);
}

// The mapping either has all of it or the library complains about every single word.
void check_mapped(Connection& connection, uint64_t offset, uint64_t size) {
  const Route& options = connection.route();
  if (options.door != Door::memory) return;
  if (offset + size > options.video_memory.length) {
    fail("--mem maps only 0x%" PRIx64 " bytes of video memory: 0x%" PRIx64 " from 0x%" PRIx64
         " on are asked for",
         options.video_memory.length, size, offset);
  }
  connection.read_vram(offset, word_size);
}

// The bulk functions return success whatever became of the words; what they print tells.
void expect_all_words(const MessageTap& tap, const char* deed, uint64_t offset) {
  if (tap.count() != 0) {
    fail("%zu words of video memory could not be %s, in the piece from 0x%" PRIx64
         " on: neither directly nor over the on-chip bus",
         tap.count(), deed, offset);
  }
}

void write_piece(Connection& connection, MemoryFile& file, uint64_t offset,
                 std::span<const uint32_t> words) {
  if (connection.door() == Door::serial) {
    for (size_t i = 0; i < words.size(); ++i) {
      connection.write_vram(offset + i * word_size, word_size, words[i]);
    }
    return;
  }
  file.put(words.data(), words.size_bytes());
  const MessageTap tap({"Failed to write vram ["});
  const int result =
      zvgMultVramWriteLong(0, offset, static_cast<uint32_t>(words.size()), file.path());
  if (result != 0) fail("cannot write video memory from 0x%" PRIx64 " on", offset);
  expect_all_words(tap, "written", offset);
}

void read_piece(Connection& connection, uint64_t offset, std::span<uint32_t> words) {
  if (connection.door() == Door::serial) {
    for (size_t i = 0; i < words.size(); ++i) {
      words[i] = static_cast<uint32_t>(connection.read_vram(offset + i * word_size, word_size));
    }
    return;
  }
  const MessageTap tap({"Failed to read vram ["});
  const int result =
      zvgMultiVramReadLong(words.data(), offset, static_cast<uint32_t>(words.size()), nullptr);
  if (result != 0) fail("cannot read video memory from 0x%" PRIx64 " on", offset);
  expect_all_words(tap, "read", offset);
}

}  // namespace

void read_vram_bulk(Connection& connection, uint64_t offset, uint64_t size,
                    const std::function<void(std::span<const uint32_t>)>& sink) {
  check_mapped(connection, offset, size);
  Progress progress("reading", size);
  std::vector<uint32_t> buffer(words_per_piece(connection));
  for (uint64_t done = 0; done < size;) {
    const uint64_t words = next_piece(done, size, buffer.size());
    const std::span<uint32_t> piece(buffer.data(), words);
    read_piece(connection, offset + done, piece);
    sink(piece);
    done += words * word_size;
    progress.update(done);
  }
}

void write_vram_bulk(Connection& connection, uint64_t offset, uint64_t size,
                     const std::function<void(std::span<uint32_t>)>& source) {
  check_mapped(connection, offset, size);
  Progress progress("writing", size);
  MemoryFile file;
  std::vector<uint32_t> buffer(words_per_piece(connection));
  for (uint64_t done = 0; done < size;) {
    const uint64_t words = next_piece(done, size, buffer.size());
    const std::span<uint32_t> piece(buffer.data(), words);
    source(piece);
    write_piece(connection, file, offset + done, piece);
    done += words * word_size;
    progress.update(done);
  }
}

void fill_vram(Connection& connection, uint64_t offset, uint64_t size, uint32_t value) {
  check_mapped(connection, offset, size);
  Progress progress("filling", size);
  const uint64_t most = words_per_piece(connection);
  for (uint64_t done = 0; done < size;) {
    const uint64_t words = next_piece(done, size, most);
    if (connection.door() == Door::serial) {
      for (uint64_t i = 0; i < words; ++i) {
        connection.write_vram(offset + done + i * word_size, word_size, value);
      }
    } else {
      // The fill says "read" where it means "write".
      const MessageTap tap({"Failed to read vram ["});
      zvgMultVramWriteLong(value, offset + done, static_cast<uint32_t>(words), nullptr);
      expect_all_words(tap, "written", offset + done);
    }
    done += words * word_size;
    progress.update(done);
  }
}

}  // namespace zvgctl
