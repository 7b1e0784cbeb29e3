#include "zvgctl/connection.h"

#include <errno.h>
#include <inttypes.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <util_zvg.h>

#include <algorithm>

#include "zvgctl/errors.h"
#include "zvgctl/interrupts.h"
#include "zvgctl/number.h"
#include "zvgctl/output.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr unsigned longest_deadline = 86400;

// Serial lines take thousands of characters for what a bus does in a moment.
constexpr unsigned serial_deadline = 300;

constexpr char try_sim[] = "to try zvgctl without a board, add --sim";

unsigned deadline_seconds(const Context& context, unsigned default_deadline, Door door) {
  if (!context.deadline.empty()) {
    return static_cast<unsigned>(parse_number("--deadline", context.deadline, longest_deadline));
  }
  const bool slow = door == Door::serial && default_deadline != 0;
  return slow ? std::max(serial_deadline, default_deadline) : default_deadline;
}

[[noreturn]] void fail_open(const std::string& what, int error, const char* advice) {
  if (error == EACCES || error == EPERM) {
    fail("%s: %s: run zvgctl as root", what.c_str(), strerror(error));
  }
  if (error == ENOENT || error == ENXIO || error == ENODEV) {
    fail("%s: %s: %s; %s", what.c_str(), strerror(error), advice, try_sim);
  }
  fail("%s: %s", what.c_str(), strerror(error));
}

int read_by_width(uint64_t offset, unsigned width, uint64_t* value, bool vram) {
  switch (width) {
    case 1: {
      uint8_t byte = 0;
      const int result = vram ? zvgVramReadByte(offset, &byte) : zvgRegReadByte(offset, &byte);
      *value = byte;
      return result;
    }
    case 2: {
      uint16_t word = 0;
      const int result = vram ? zvgVramReadWord(offset, &word) : zvgRegReadWord(offset, &word);
      *value = word;
      return result;
    }
    case 4: {
      uint32_t word = 0;
      const int result = vram ? zvgVramReadLong(offset, &word) : zvgRegReadLong(offset, &word);
      *value = word;
      return result;
    }
    default:
      return vram ? zvgVramReadQuad(offset, value) : zvgRegReadQuad(offset, value);
  }
}

int write_by_width(uint64_t offset, unsigned width, uint64_t value, bool vram) {
  switch (width) {
    case 1: {
      const auto byte = static_cast<uint8_t>(value);
      return vram ? zvgVramWriteByte(offset, byte) : zvgRegWriteByte(offset, byte);
    }
    case 2: {
      const auto word = static_cast<uint16_t>(value);
      return vram ? zvgVramWriteWord(offset, word) : zvgRegWriteWord(offset, word);
    }
    case 4: {
      const auto word = static_cast<uint32_t>(value);
      return vram ? zvgVramWriteLong(offset, word) : zvgRegWriteLong(offset, word);
    }
    default:
      return vram ? zvgVramWriteQuad(offset, value) : zvgRegWriteQuad(offset, value);
  }
}

}  // namespace

std::string reason(int result, int error) {
  if (result == -1 && error != 0) return strerror(error);
  if (result < -1) return strerror(-result);
  return format("result %d", result);
}

Connection::Connection(const Context& context, unsigned default_deadline)
    : options_(parse_connection(context.connection)) {
  const unsigned deadline = deadline_seconds(context, default_deadline, options_.door);
  if (!context.connection.sim.empty() && !on_virtual_board()) {
    run_on_virtual_board(context.connection.sim, context.arguments_without_sim);
  }
  if (context.json) reserve_stdout_for_json();
  if (deadline != 0) set_deadline(deadline);
  switch (options_.door) {
    case Door::driver:
      open_driver();
      break;
    case Door::memory:
      open_memory();
      break;
    case Door::serial:
      open_serial();
      break;
  }
}

Connection::~Connection() {
  set_deadline(0);
  leave_at_9600_when_interrupted(-1);
  if (open_) zvgClose();
}

void Connection::open_driver() {
  const int result = zvgRwOpen(options_.card);
  if (result < 0) {
    fail_open("cannot open the driver's node /dev/zvgrw", -result,
              "no board is here, or its driver is not loaded");
  }
  // The library falls back to card 0 and calls it a success; a command for one board must not
  // reach another.
  if (zvgGetCard() != static_cast<unsigned>(options_.card)) {
    uint32_t cards = 0;
    const int queried = zvgQueryInt(ZVG_QUERY_CARDS, &cards);
    zvgClose();
    if (queried != 0)
      fail("card %d: the driver does not tell how many cards it has", options_.card);
    fail("there is no card %d: the driver has %u, from 0 to %u", options_.card, cards,
         cards == 0 ? 0 : cards - 1);
  }
  open_ = true;
}

void Connection::open_memory() {
  const int result = zvgMemOpen(options_.mmio.base, options_.mmio.length, options_.vram.base,
                                options_.vram.length);
  if (result < 0) fail_open("cannot map the board from /dev/mem", -result, "there is no such node");
  open_ = true;
  tell_generation();
}

void Connection::open_serial() {
  // The library's sync burst would be written into whatever this is.
  struct stat status;
  if (stat(options_.device.c_str(), &status) == 0 && !S_ISCHR(status.st_mode)) {
    fail("%s is not a serial line", options_.device.c_str());
  }
  const int result = zvgSerialOpen(options_.device.c_str(), options_.baud);
  if (result == -EINVAL) fail("%s cannot be set up as a serial line", options_.device.c_str());
  if (result < 0) {
    fail_open("cannot open the serial line " + options_.device, -result,
              "ls /dev/ttyS* /dev/ttyUSB* shows those that are here");
  }
  open_ = true;
  // On the virtual board the line ends inside this process and goes with it.
  if (!on_virtual_board()) leave_at_9600_when_interrupted(result);
  serial_ = std::make_unique<SerialLink>(result, options_.device, options_.baud);
  link_messages_ = std::make_unique<MessageTap>(
      std::initializer_list<std::string_view>{"uart receive data timeout!",
                                              "serial does not respond", "select() failed",
                                              "read() failed", "write() failed"},
      [this](const std::string& message) {
        if (!serial_->is_checking()) end_by_link_failure(message);
      });
  tell_generation();
  try {
    serial_->probe();
  } catch (...) {
    // The destructor does not run for an object that was never finished.
    leave_at_9600_when_interrupted(-1);
    zvgClose();
    throw;
  }
}

void Connection::tell_generation() {
  // Only ever with a text that it knows: any other would end the process.
  if (options_.generation == Generation::rq302) doGetDeviceId("zvgctl", "rq302");
  if (options_.generation == Generation::rq300 || options_.generation == Generation::rq301) {
    doGetDeviceId("zvgctl", "rq301");
  }
}

// The library's register functions go on after a lost answer as if nothing had happened, and its
// polls would go on for hours. What they return from then on is worth nothing, so it ends here.
void Connection::end_by_link_failure(const std::string& message) {
  link_messages_->release();
  print_error(
      format("the serial link %s failed in the middle of the work (%s): check the line and "
             "the board's power",
             serial_->name().c_str(), message.c_str()));
  leave_at_9600_when_interrupted(-1);
  zvgClose();
  _exit(static_cast<int>(Exit::failed));
}

bool Connection::generation_known() const {
  return options_.door == Door::driver ? get_device_id() != 0
                                       : options_.generation != Generation::unknown;
}

std::string Connection::generation_name() const {
  if (options_.generation == Generation::rq300) return "RQ300";
  if (get_device_id() == ZVG_DEVICE_RQ301) return "RQ301";
  if (get_device_id() == ZVG_DEVICE_RQ302) return "RQ302";
  return "unknown";
}

uint64_t Connection::read_register(uint64_t offset, unsigned width) {
  if (serial_) return serial_->read(bus_mmio_base + offset, width);
  uint64_t value = 0;
  const int result = read_by_width(offset, width, &value, false);
  if (result != 0) {
    fail_access("read", "register", options_.mmio, offset, width, result == -1 ? errno : -result);
  }
  return value;
}

void Connection::write_register(uint64_t offset, unsigned width, uint64_t value) {
  if (serial_) return serial_->write(bus_mmio_base + offset, width, value);
  const int result = write_by_width(offset, width, value, false);
  if (result != 0) {
    fail_access("write", "register", options_.mmio, offset, width, result == -1 ? errno : -result);
  }
}

uint64_t Connection::read_vram(uint64_t offset, unsigned width) {
  if (serial_) return serial_->read(bus_vram_base + offset, width);
  uint64_t value = 0;
  const int result = read_by_width(offset, width, &value, true);
  if (result != 0) {
    fail_access("read", "video memory", options_.vram, offset, width,
                result == -1 ? errno : -result);
  }
  return value;
}

void Connection::write_vram(uint64_t offset, unsigned width, uint64_t value) {
  if (serial_) return serial_->write(bus_vram_base + offset, width, value);
  const int result = write_by_width(offset, width, value, true);
  if (result != 0) {
    fail_access("write", "video memory", options_.vram, offset, width,
                result == -1 ? errno : -result);
  }
}

void Connection::fail_access(const char* deed, const char* noun, const Aperture& aperture,
                             uint64_t offset, unsigned width, int error) const {
  if (options_.door == Door::memory) {
    if (offset + width > aperture.length) {
      fail("cannot %s %s at 0x%" PRIx64 ": --mem maps only 0x%" PRIx64 " bytes of it", deed, noun,
           offset, aperture.length);
    }
    fail("cannot %s %s at 0x%" PRIx64 ": the aperture at 0x%" PRIx64
         " is not mapped: wrong base, or the kernel forbids it",
         deed, noun, offset, aperture.base);
  }
  fail("cannot %s %s at 0x%" PRIx64 ": %s", deed, noun, offset,
       error > 0 ? strerror(error) : "the request failed");
}

}  // namespace zvgctl
