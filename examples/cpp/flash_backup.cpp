// Copies the board's flash into a file. Every piece is read twice, because a byte that was lost on
// its way does not show in any result, and the file gets its name only when all of it is on the
// disk.
//
//   c++ -std=c++17 flash_backup.cpp $(pkg-config --cflags --libs util_zvg)
//   zvgsim run --virtual-time -- ./a.out backup.bin
#include <util_zvg.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr uint32_t kFlashBytes = 2 * 1024 * 1024;
using Piece = std::array<uint32_t, 1024>;  // the quad read fills whole words

bool read_twice(uint32_t address, Piece& piece) {
  Piece again;
  if (zvgSpiReadBuffer(piece.data(), address, sizeof piece) != 0) return false;
  if (zvgSpiReadBuffer(again.data(), address, sizeof again) != 0) return false;
  if (piece == again) return true;
  std::fprintf(stderr, "0x%06x: two readings differ\n", address);
  return false;
}

bool copy_flash(std::FILE* file, uint32_t bytes) {
  Piece piece;
  for (uint32_t address = 0; address < bytes; address += sizeof piece) {
    if (!read_twice(address, piece)) {
      std::fprintf(stderr, "0x%06x: the flash cannot be read\n", address);
      return false;
    }
    if (std::fwrite(piece.data(), sizeof piece, 1, file) != 1) {
      std::perror("the copy");
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned long bytes = argc > 2 ? std::strtoul(argv[2], nullptr, 0) : kFlashBytes;
  if (argc < 2 || argc > 3 || bytes == 0 || bytes > kFlashBytes || bytes % sizeof(Piece) != 0) {
    std::fprintf(stderr, "usage: %s FILE [BYTES]    a multiple of 4096, at most 2 MiB\n", argv[0]);
    return 2;
  }
  const std::string name = argv[1];
  const std::string unfinished = name + ".part";
  std::FILE* const file = std::fopen(unfinished.c_str(), "wb");
  if (file == nullptr) {
    std::perror(unfinished.c_str());
    return 1;
  }
  bool good = false;
  if (zvgRwOpen(0) >= 0) {  // otherwise the library has said why
    zvgSpiExitCrmMode();
    good = copy_flash(file, static_cast<uint32_t>(bytes));
    zvgClose();
  }
  if (std::fclose(file) != 0) good = false;  // the last bytes meet a full disk here
  if (good && std::rename(unfinished.c_str(), name.c_str()) != 0) {
    std::perror(name.c_str());
    good = false;
  }
  if (!good) {
    std::remove(unfinished.c_str());
    return 1;
  }
  std::printf("%lu bytes in %s\n", bytes, name.c_str());
  return 0;
}
