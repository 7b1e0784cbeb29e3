#include "core/connection.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "core/chip.h"
#include "core/hardware_bases.h"
#include "core/serial_line.h"
#include "hw/driver_requests.h"

namespace zvg::core {

Connection g_connection;

namespace {

void unmap(Aperture& aperture) {
  if (aperture.base != nullptr) munmap(aperture.base, aperture.size);
  aperture.base = nullptr;
  aperture.limit = 0;
}

// Ends the connection, if there is one, in the way that its mode asks for.
void close_connection() {
  Connection& c = g_connection;
  if (c.fd >= 0) {
    if (c.mode == ZVG_MODE_MEMORY) {
      unmap(c.mmio);
      unmap(c.vram);
    } else if (c.mode == ZVG_MODE_SERIAL) {
      switch_board_baud(c.fd, hw::serial::default_baud);
      set_up_line(c.fd, hw::serial::default_baud);
      c.baud = hw::serial::default_baud;
    }
    close(c.fd);
  }
  c.fd = -1;
  c.mode = ZVG_MODE_NONE;
}

// Maps length bytes at a physical address. Only a null address is a failure: MAP_FAILED is taken
// as a mapping, but one whose limit lets no access through.
bool map(Aperture& aperture, int fd, uint64_t physical, uint64_t length) {
  void* const base =
      mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, static_cast<off_t>(physical));
  if (base == nullptr) return false;
  aperture = {base, length, base == MAP_FAILED ? 0 : length};
  return true;
}

int failed_mapping(int fd, const char* name) {
  const int error = errno;
  fprintf(stderr, "mmap %s failed, %s\n", name, strerror(error));
  close(fd);
  return -error;
}

// Whether a text names a generation: "RQ301", "rq301" or "301".
bool names(const char* text, const hw::Chip& chip) {
  const char* const number = chip.name + 2;
  if (strncmp(text, "RQ", 2) == 0 || strncmp(text, "rq", 2) == 0) text += 2;
  return strcmp(text, number) == 0;
}

}  // namespace

}  // namespace zvg::core

using zvg::core::Connection;
using zvg::core::g_connection;

int zvgRwOpen(int card) {
  if (card < 0) {
    fprintf(stderr, "Invalid argument card (%d)\n", card);
    return -EINVAL;
  }
  const int fd = open(zvg::hw::driver::node, O_RDWR);
  if (fd < 0) {
    const int error = errno;
    fprintf(stderr, "Opening device %d failed, %s\n", card, strerror(error));
    return -error;
  }
  zvg::core::close_connection();
  Connection& c = g_connection;
  c.fd = fd;
  c.mode = ZVG_MODE_DRIVER;

  // Both queries go out with the index that was selected before: the new one counts only from
  // here on. A failed query leaves 0, so that no card but the first is accepted.
  if (card != 0) {
    uint32_t cards = 0;
    zvgQueryInt(ZVG_QUERY_CARDS, &cards);
    if (cards <= static_cast<uint32_t>(card)) {
      // The text always names index 0, not the one that was refused.
      printf(
          "Invalid card parameter: %d is out of range [0, %d).\n"
          "The current card index is 0\n",
          0, static_cast<int>(cards));
      card = 0;
    }
  }
  uint32_t device_id = 0;
  zvgQueryInt(ZVG_QUERY_DEVICE_ID, &device_id);
  c.card = static_cast<uint32_t>(card);
  c.device_id = device_id;
  if (const zvg::hw::Chip* chip = zvg::core::known_chip()) zvg::core::provide_bases(*chip);
  return fd;
}

int zvgMemOpen(uint64_t mmio_base, uint64_t mmio_length, uint64_t vram_base, uint64_t vram_length) {
  const int fd = open("/dev/mem", O_RDWR | O_NONBLOCK);
  if (fd < 0) {
    const int error = errno;
    fprintf(stderr, "Opening /dev/mem failed, %s\n", strerror(error));
    return -error;
  }
  zvg::core::close_connection();
  Connection& c = g_connection;
  // What an earlier open left behind must not be reached through this one.
  c.mmio.limit = 0;
  c.vram.limit = 0;
  if (mmio_length != 0 && !zvg::core::map(c.mmio, fd, mmio_base, mmio_length)) {
    return zvg::core::failed_mapping(fd, "mmio");
  }
  // A failure here leaves the register aperture mapped.
  if (vram_length != 0 && !zvg::core::map(c.vram, fd, vram_base, vram_length)) {
    return zvg::core::failed_mapping(fd, "vram");
  }
  c.fd = fd;
  c.mode = ZVG_MODE_MEMORY;
  return fd;
}

int zvgSerialOpen(const char* path, int baud) {
  if (!zvg::core::baud_is_supported(baud)) {
    fprintf(stderr, "baudrate %d is not supported\n", baud);
    return -EINVAL;
  }
  const int fd = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) {
    const int error = errno;
    fprintf(stderr, "Opening %s failed, %s\n", path, strerror(error));
    return -error;
  }
  // Before anything is written: this may be any file that the path happens to name.
  termios line;
  if (zvg::core::read_attributes(fd, &line) != 0) {
    close(fd);
    return -EINVAL;
  }
  zvg::core::close_connection();
  Connection& c = g_connection;
  // The board still runs at the rate that was last used; it is told there to change.
  zvg::core::set_up_line(fd, line, c.baud);
  if (c.baud != baud) {
    zvg::core::switch_board_baud(fd, baud);
    if (zvg::core::set_up_line(fd, baud) != 0) {
      // The remembered rate is unchanged, so that this only waits; the board is not told.
      zvg::core::switch_board_baud(fd, c.baud);
      close(fd);
      return -EINVAL;
    }
    c.baud = baud;
  }
  zvg::core::send_sync_burst(fd);
  c.fd = fd;
  c.mode = ZVG_MODE_SERIAL;
  return fd;
}

int zvgClose(void) {
  if (g_connection.fd < 0) {
    fprintf(stderr, "No file descriptor is opened\n");
    return 0;
  }
  zvg::core::close_connection();
  return 0;
}

unsigned zvgGetCard(void) {
  return g_connection.card;
}

void zvgSetCard(unsigned card) {
  g_connection.card = card;
}

unsigned get_s_type(void) {
  return static_cast<unsigned>(g_connection.mode);
}

unsigned get_device_id(void) {
  return g_connection.device_id;
}

int doGetDeviceId(const char* program, const char* generation) {
  for (const zvg::hw::Chip& chip : zvg::hw::chips) {
    // A generation that answers as another one is called by that one's name.
    if (zvg::hw::chip_with_id(chip.device_id) != &chip) continue;
    if (generation == nullptr || !zvg::core::names(generation, chip)) continue;
    zvg::core::provide_bases(chip);
    g_connection.device_id = chip.device_id;
    return static_cast<int>(chip.device_id);
  }
  printf("%s need correct gpu type, eg: rq301, rq302\n", program);
  exit(1);
}

const char* zvgType2Str(unsigned mode) {
  static constexpr const char* names[] = {"ZVGWR", "MEM", "SERIAL", "I2C"};
  return mode < sizeof names / sizeof names[0] ? names[mode] : "invalid type";
}
