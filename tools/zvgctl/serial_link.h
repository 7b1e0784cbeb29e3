// Accesses over the serial link, each of them checked.
//
// In serial mode the library's register families report success whatever happened. The link's own
// family tells the truth, so the tool's accesses are made with that one.
#ifndef ZVGCTL_SERIAL_LINK_H
#define ZVGCTL_SERIAL_LINK_H

#include <cstdint>
#include <string>

namespace zvgctl {

// Where the board's spaces lie on the bus that the link reaches.
inline constexpr uint64_t bus_mmio_base = 0x1000000;
inline constexpr uint64_t bus_vram_base = 0x8000000000;

class SerialLink {
 public:
  // fd: the descriptor that zvgSerialOpen() returned; it stays the library's.
  SerialLink(int fd, std::string device, int baud);

  // One access of 1, 2, 4 or 8 bytes at a bus address. An unaligned one is made of bytes, because
  // the board sees only the words that the address bits above the lowest two name.
  // Both throw a Failure when the board does not answer, or when more comes back than its answer.
  uint64_t read(uint64_t address, unsigned width);
  void write(uint64_t address, unsigned width, uint64_t value);

  // Reads a register that nothing minds being read, to find out whether a board is listening.
  void probe();

  // True while one of the calls above is at work: it looks after failures itself.
  bool is_checking() const { return checking_; }

  // "DEVICE at BAUD baud"
  std::string name() const;

 private:
  uint64_t read_aligned(uint64_t address, unsigned width);
  void write_aligned(uint64_t address, unsigned width, uint64_t value);
  void expect_silence(uint64_t address);

  int fd_;
  std::string device_;
  int baud_;
  bool checking_ = false;
};

}  // namespace zvgctl

#endif  // ZVGCTL_SERIAL_LINK_H
