// The SPI controller in front of the board's NOR flash, and the steps that its commands share.
#ifndef ZVG_FLASH_SPI_CONTROLLER_H
#define ZVG_FLASH_SPI_CONTROLLER_H

#include <stdint.h>
#include <sys/types.h>

#include <initializer_list>
#include <utility>

#include "hw/blocks/spi.h"
#include "hw/generations.h"
#include "util_zvg.h"

namespace zvg::flash {

using namespace hw::spi;

// What the flash understands.
enum Opcode : uint32_t {
  write_status = 0x01,
  page_program = 0x02,
  read_data = 0x03,
  read_status_1 = 0x05,
  write_enable = 0x06,
  erase_4_kib = 0x20,
  quad_page_program = 0x32,
  read_status_2 = 0x35,
  volatile_status_write_enable = 0x50,
  erase_32_kib = 0x52,
  erase_chip = 0x60,
  quad_output_read = 0x6B,
  erase_64_kib = 0xD8,
};

constexpr uint32_t divider = 4;
// All of the status, after a command.
constexpr uint32_t sent_and_idle = status_transmit_not_full | status_transmit_empty;
constexpr useconds_t look_step_us = 10;

// Flash status registers.
constexpr uint32_t flash_busy = 0x01;       // in register 1
constexpr uint32_t flash_quad_ready = 2;    // all of register 2: no other bit may be set
constexpr uint32_t flash_protected = 0x18;  // in register 1: all blocks

// What the controller's status is waited for.
enum class Awaited {
  sent,      // everything went out and the controller is idle: exactly 6
  received,  // a frame is there
  chunk,     // the receive FIFO holds as many as its threshold asks for
  idle,      // the transfer is over
};

void write(Offset reg, uint32_t value);
void write(std::initializer_list<std::pair<Offset, uint32_t>> values);
uint32_t read(Offset reg);

// Queues frames while the flash is not selected, and sends them.
void queue(std::initializer_list<uint32_t> frames);
void send(std::initializer_list<uint32_t> frames);

// Looks once; then looks again and sleeps 10 us, 21 times at most. The sleep follows the look, so
// that what the second look finds has cost a sleep, too. Returns whether it came to pass.
bool wait_for(Awaited awaited);

// The same for a command: sends, and waits until it is out.
bool command(std::initializer_list<uint32_t> frames);

// A command byte while the flash stays selected, and until it is out.
bool short_command(Opcode opcode);

// Ready to send a byte and receive one.
void configure_for_one_answer();

// Asks for a flash status register while the flash stays selected. Returns 0, or no_answer.
constexpr int no_answer = -1;
int read_flash_status(Opcode opcode, uint32_t* value);

// The four words of the two FIFOs' thresholds.
void write_thresholds(uint32_t value);

// Lets the controller have its clock, where that is gated.
void prepare_clock();

// The chip, for the depth of its FIFOs; one that is not known has the smaller ones.
const hw::Chip& fifo_chip();

// Byte order of a 32-bit frame on the wire.
constexpr uint32_t swapped(uint32_t word) {
  return __builtin_bswap32(word);
}

// Makes the flash accept quad commands: write enables of both kinds, then status register 2. Then
// waits until it is neither busy nor without quad enable, with one budget of looks for both.
// Returns false with the reason printed when the looks run out, silently when a wait did.
bool enable_quad_mode(int budget);

}  // namespace zvg::flash

#endif  // ZVG_FLASH_SPI_CONTROLLER_H
