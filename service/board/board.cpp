#include "service/board/board.h"

#include <errno.h>
#include <inttypes.h>
#include <string.h>
#include <sys/stat.h>
#include <util_zvg.h>

#include <algorithm>

#include "core/access_failures.h"
#include "service/board/access_family.h"

namespace zvg {

namespace {

using core::FailedAccess;
using core::g_access_failures;

// VGA miscellaneous output, read and write side. No read of it changes anything.
constexpr uint64_t misc_output_read = 0x103CC;
constexpr uint64_t misc_output_write = 0x103C2;
constexpr uint64_t colour_addressing = 0x01;
constexpr uint64_t colour_and_ram = 0x03;

// Start, eight data and stop bits, on the line a character.
constexpr long bits_per_character = 10;
// A stray character shows within a few characters' time behind the answer.
constexpr long silence_characters = 3;
constexpr long shortest_wait_us = 200;

// A 64-bit write over the line returns the size of its second frame.
constexpr int quad_write_success = 11;

// Of the process's failed accesses, those that an Error told or a probe asked for.
uint64_t g_settled = 0;

// 64 bits travel as two words, so a word's alignment is enough for them.
bool is_aligned(uint64_t address, unsigned width) {
  return address % std::min(width, 4u) == 0;
}

// The request's number within its type letter.
uint32_t request_number(unsigned long request) {
  return static_cast<uint32_t>(request & 0xFF);
}

// What is known of the last failed access, as the end of a sentence.
std::string last_failure_text() {
  const auto& failure = g_access_failures;
  switch (failure.kind) {
    case FailedAccess::request: {
      std::string text = format("driver request 0x%02x", request_number(failure.request));
      if (failure.address != 0) text += format(" at 0x%" PRIx64, failure.address);
      return text + ": " + strerror(failure.error);
    }
    case FailedAccess::aperture:
      return format("0x%" PRIx64 " is outside of what is mapped", failure.address);
    case FailedAccess::frame_lost:
      return format("the frame for bus address 0x%010" PRIx64 " did not get onto the serial line",
                    failure.address);
    case FailedAccess::no_reply:
      return format("no whole answer over the serial line from bus address 0x%010" PRIx64,
                    failure.address);
    case FailedAccess::long_reply:
      return format("more came over the serial line than the answer from bus address 0x%010" PRIx64,
                    failure.address);
    case FailedAccess::no_connection:
    case FailedAccess::none:
      break;
  }
  return "no board is open";
}

Error last_failure(std::string message) {
  const auto& failure = g_access_failures;
  Error error(ErrorKind::access, std::move(message));
  error.system_error = failure.error;
  switch (failure.kind) {
    case FailedAccess::request:
      error.door = Door::driver;
      error.request = request_number(failure.request);
      if (failure.address != 0) error.address = failure.address;
      break;
    case FailedAccess::aperture:
      error.door = Door::memory;
      error.address = failure.address;
      error.system_error = 0;
      break;
    case FailedAccess::frame_lost:
      error.door = Door::serial;
      error.address = failure.address;
      break;
    case FailedAccess::no_reply:
    case FailedAccess::long_reply:
      error.door = Door::serial;
      error.address = failure.address;
      error.system_error = 0;
      break;
    case FailedAccess::no_connection:
    case FailedAccess::none:
      break;
  }
  return error;
}

[[noreturn]] void fail_open(const std::string& what, int error, const char* advice) {
  std::string message = what + ": " + strerror(error);
  if (error == EACCES || error == EPERM) {
    message += ": run as root";
  } else if (error == ENOENT || error == ENXIO || error == ENODEV) {
    message += std::string(": ") + advice;
  }
  Error failure(ErrorKind::not_connected, std::move(message));
  failure.system_error = error;
  throw failure;
}

}  // namespace

Board::Probe::Probe(Board& board) : board_(board), before_(Board::failures()) {
  ++board_.probes_;
}

Board::Probe::~Probe() {
  --board_.probes_;
  g_settled += failures();
}

uint64_t Board::Probe::failures() const {
  return Board::failures() - before_;
}

Board::Board(const Route& route, BoardOptions options)
    : route_(route),
      output_([log = std::move(options.log)](seam::Stream stream, std::string_view text) {
        if (log) log(stream, text);
      }),
      liveness_(route.door, options.dead_board, options.only_reads),
      stop_(options.stop),
      wait_(options.wait),
      identity_(std::move(options.identity)) {
  g_settled = g_access_failures.count;
  if (options.transport != nullptr) use_transport_.emplace(*options.transport);
  std::function<void()> before_frame;
  if (route_.door == Door::serial) before_frame = [this] { this->before_frame(); };
  guard_ = std::make_unique<AccessGuard>(seam::transport(), route_.door, options.stop, liveness_,
                                         std::move(before_frame));
  guard_->set_deadline(options.deadline);
  use_guard_.emplace(*guard_);
  try {
    open(options.any_chip);
  } catch (...) {
    // The destructor does not run for an object that was never finished.
    close();
    throw;
  }
}

Board::~Board() {
  close();
}

void Board::open(bool any_chip) {
  switch (route_.door) {
    case Door::driver:
      return open_driver(any_chip);
    case Door::memory:
      return open_memory();
    case Door::serial:
      return open_serial();
  }
}

// Without the guard: the line is given back in any case.
void Board::close() {
  const auto replied = guard_->take_replied();
  use_guard_.reset();
  guard_.reset();
  note_long_reply(replied);
  if (door() == Door::serial && descriptor_ >= 0) claim_line(false);
  if (get_s_type() != UINT32_MAX) zvgClose();
}

void Board::open_driver(bool any_chip) {
  int result = zvgRwOpen(route_.card);
  // The library takes a question that the driver did not answer for an answer.
  if (result >= 0 && g_access_failures.count != g_settled) {
    g_settled = g_access_failures.count;
    result = zvgRwOpen(route_.card);
  }
  if (result < 0) {
    fail_open("cannot open the driver's node /dev/zvgrw", -result,
              "no board is here, or its driver is not loaded");
  }
  // The library falls back to card 0 and calls it a success; what is meant for one board must not
  // reach another.
  if (zvgGetCard() != static_cast<unsigned>(route_.card)) {
    uint32_t cards = 0;
    const int queried = zvgQueryInt(ZVG_QUERY_CARDS, &cards);
    zvgClose();
    g_settled = g_access_failures.count;
    if (queried != 0) {
      throw_error(ErrorKind::not_connected,
                  "card %d: the driver does not tell how many cards it has", route_.card);
    }
    throw_error(ErrorKind::not_connected, "there is no card %d: the driver has %u, from 0 to %u",
                route_.card, cards, cards == 0 ? 0 : cards - 1);
  }
  if (g_access_failures.count != g_settled && !any_chip) {
    Error failure =
        last_failure("the driver does not tell which chip the board has: " + last_failure_text());
    zvgClose();
    g_settled = g_access_failures.count;
    throw failure;
  }
  g_settled = g_access_failures.count;
  descriptor_ = result;
}

void Board::open_memory() {
  const int result = zvgMemOpen(route_.registers.base, route_.registers.length,
                                route_.video_memory.base, route_.video_memory.length);
  if (result < 0) fail_open("cannot map the board from /dev/mem", -result, "there is no such node");
  descriptor_ = result;
  tell_generation();
  guard_->watch_apertures();
  // Loads cannot be seen here.
  liveness_.ask();
}

void Board::open_serial() {
  // Whatever else this is must not get the library's frames.
  struct stat status;
  const char* const path = route_.device.c_str();
  const bool found = stat(path, &status) == 0;
  if (found && !S_ISCHR(status.st_mode)) {
    throw_error(ErrorKind::not_connected, "%s is not a serial line", path);
  }
  line_failures_ = g_access_failures.count;
  // Before the library sends its first byte. What is no file is the caller's own line.
  if (found) lock_line();
  const int result = zvgSerialOpen(path, route_.baud);
  if (result == -EINVAL) {
    throw_error(ErrorKind::not_connected, "%s cannot be set up as a serial line", path);
  }
  if (result < 0) {
    fail_open("cannot open the serial line " + route_.device, -result,
              "ls /dev/ttyS* /dev/ttyUSB* shows those that are here");
  }
  descriptor_ = result;
  claim_line(true);
  tell_generation();
  probe_line();
}

void Board::tell_generation() const {
  // Only ever with a text that it knows: any other would end the process.
  if (route_.generation == Generation::rq302) doGetDeviceId("", "rq302");
  if (route_.generation == Generation::rq300 || route_.generation == Generation::rq301) {
    doGetDeviceId("", "rq301");
  }
}

Generation Board::generation() const {
  if (route_.door != Door::driver) return route_.generation;
  switch (get_device_id()) {
    case ZVG_DEVICE_RQ301:
      return Generation::rq301;
    case ZVG_DEVICE_RQ302:
      return Generation::rq302;
    default:
      return Generation::unknown;
  }
}

uint64_t Board::read_register(uint64_t offset, unsigned width) {
  end_if_lost();
  if (door() == Door::serial) return read_bus(bus_mmio_base + offset, width);
  uint64_t value = 0;
  const int result = read_by_width(register_access, offset, width, &value);
  if (result != 0) {
    fail_access("read", "register", route_.registers, offset, width,
                result == -1 ? errno : -result);
  }
  return value;
}

void Board::write_register(uint64_t offset, unsigned width, uint64_t value) {
  end_if_lost();
  if (door() == Door::serial) return write_bus(bus_mmio_base + offset, width, value);
  const int result = write_by_width(register_access, offset, width, value);
  if (result != 0) {
    fail_access("write", "register", route_.registers, offset, width,
                result == -1 ? errno : -result);
  }
}

uint64_t Board::read_vram(uint64_t offset, unsigned width) {
  end_if_lost();
  if (door() == Door::serial) return read_bus(bus_vram_base + offset, width);
  uint64_t value = 0;
  const int result = read_by_width(video_memory_access, offset, width, &value);
  if (result != 0) {
    fail_access("read", "video memory", route_.video_memory, offset, width,
                result == -1 ? errno : -result);
  }
  return value;
}

void Board::write_vram(uint64_t offset, unsigned width, uint64_t value) {
  end_if_lost();
  if (door() == Door::serial) return write_bus(bus_vram_base + offset, width, value);
  const int result = write_by_width(video_memory_access, offset, width, value);
  if (result != 0) {
    fail_access("write", "video memory", route_.video_memory, offset, width,
                result == -1 ? errno : -result);
  }
}

uint64_t Board::read_proven(uint64_t offset, unsigned width) {
  uint64_t value = read_register(offset, width);
  if (door() != Door::serial) return value;
  constexpr int most_reads = 4;
  for (int reads = 1; reads < most_reads; ++reads) {
    const uint64_t before = std::exchange(value, read_register(offset, width));
    if (value == before) return value;
  }
  Error error(ErrorKind::bad_data,
              format("register 0x%" PRIx64 " reads differently each time over %s: it changes by "
                     "itself, or the line changes bits",
                     offset, line_name().c_str()));
  error.door = Door::serial;
  error.address = offset;
  throw error;
}

void Board::ensure_colour_addressing() {
  if ((read_register(misc_output_read, 1) & colour_addressing) != 0) return;
  write_register(misc_output_write, 1, colour_and_ram);
}

void Board::fail_access(const char* deed, const char* noun, const Aperture& aperture,
                        uint64_t offset, unsigned width, int error) const {
  g_settled = g_access_failures.count;
  std::string message = format("cannot %s %s at 0x%" PRIx64 ": ", deed, noun, offset);
  if (door() == Door::memory) {
    message += offset + width > aperture.length
                   ? format("--mem maps only 0x%" PRIx64 " bytes of it", aperture.length)
                   : format("the aperture at 0x%" PRIx64
                            " is not mapped: wrong base, or the kernel forbids it",
                            aperture.base);
  } else {
    message += error > 0 ? strerror(error) : "the request failed";
  }
  Error failure(ErrorKind::access, std::move(message));
  failure.door = door();
  failure.address = offset;
  if (door() == Door::driver) {
    failure.request = request_number(g_access_failures.request);
    failure.system_error = error > 0 ? error : 0;
  }
  throw failure;
}

// The serial line ---------------------------------------------------------------------------------

namespace {

struct Flag {
  explicit Flag(bool& flag) : flag_(flag) { flag_ = true; }
  ~Flag() { flag_ = false; }
  Flag(const Flag&) = delete;
  Flag& operator=(const Flag&) = delete;

 private:
  bool& flag_;
};

}  // namespace

std::string Board::line_name() const {
  return format("%s at %d baud", route_.device.c_str(), route_.baud);
}

void Board::fail_line(uint64_t address, std::string message) const {
  g_settled = g_access_failures.count;
  Error failure(ErrorKind::access, std::move(message));
  failure.door = Door::serial;
  failure.address = address;
  throw failure;
}

void Board::probe_line() {
  const Flag checking(checking_line_);
  constexpr uint64_t address = bus_mmio_base + misc_output_read;
  uint64_t value = 0;
  seam::transport().tcflush(descriptor_, TCIFLUSH);
  if (read_by_width(line_access, address, 1, &value) != 0) {
    g_settled = g_access_failures.count;
    Error failure(
        ErrorKind::not_connected,
        "no board answers on " + line_name() +
            ": is it powered, are both directions of the line connected, and does it still listen "
            "at 9600 baud (power it off and on if not)?");
    failure.door = Door::serial;
    throw failure;
  }
  expect_silence(address);
}

uint64_t Board::read_bus(uint64_t address, unsigned width) {
  const Flag checking(checking_line_);
  if (is_aligned(address, width)) {
    if (width != 8) return read_bus_word(address, width);
    // The library's 64-bit read keeps the upper word only; two words make the whole.
    const uint64_t low = read_bus_word(address, 4);
    return low | read_bus_word(address + 4, 4) << 32;
  }
  uint64_t value = 0;
  for (unsigned i = 0; i < width; ++i) value |= read_bus_word(address + i, 1) << (8 * i);
  return value;
}

void Board::write_bus(uint64_t address, unsigned width, uint64_t value) {
  const Flag checking(checking_line_);
  const bool aligned = is_aligned(address, width);
  const unsigned step = aligned ? width : 1;
  for (unsigned i = 0; i < width; i += step) {
    forget_input();
    const int result = write_by_width(line_access, address + i, step, value >> (8 * i));
    if (result != (step == 8 ? quad_write_success : 0)) {
      fail_line(address + i,
                format("the write of bus address 0x%010" PRIx64 " did not get onto the line %s",
                       address + i, line_name().c_str()));
    }
  }
}

// At most a word, aligned.
uint64_t Board::read_bus_word(uint64_t address, unsigned width) {
  forget_input();
  uint64_t value = 0;
  if (read_by_width(line_access, address, width, &value) != 0) {
    fail_line(address, format("no whole answer from the board on %s to a read of bus address "
                              "0x%010" PRIx64 ": check the line and the board's power",
                              line_name().c_str(), address));
  }
  expect_silence(address);
  return value;
}

// The board sends four bytes for a read and nothing else. If a fifth one follows, some byte of the
// answer was noise and no one can tell which.
void Board::expect_silence(uint64_t address) {
  guard_->take_replied();
  if (!more_comes()) return;
  fail_line(address, format("noise on the line %s: more came back than the answer to a read of "
                            "bus address 0x%010" PRIx64 ", so the answer cannot be trusted",
                            line_name().c_str(), address));
}

bool Board::more_comes() {
  const long wait_us =
      std::max(shortest_wait_us, silence_characters * bits_per_character * 1'000'000 / route_.baud);
  if (descriptor_ < FD_SETSIZE) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(descriptor_, &readable);
    timeval wait = {0, wait_us};
    return seam::transport().select(descriptor_ + 1, &readable, nullptr, nullptr, &wait) > 0;
  }
  pollfd waited = {descriptor_, POLLIN, 0};
  return seam::transport().poll(&waited, 1, static_cast<int>((wait_us + 999) / 1000)) > 0;
}

// The same for the library's own reads: a byte too many in front of an answer shifts all that come
// behind it, and the library sees nothing. The byte that is left over is the sign.
void Board::note_long_reply(std::optional<uint64_t> address) {
  if (!address || !more_comes()) return;
  seam::transport().tcflush(descriptor_, TCIFLUSH);
  note_failed_access(FailedAccess::long_reply, 0, *address);
}

// What came too late or too much for the question before must not be taken for the next one's
// answer.
void Board::forget_input() {
  note_long_reply(guard_->take_replied());
  seam::transport().tcflush(descriptor_, TCIFLUSH);
}

// The library's register functions go on after a lost answer as if nothing had happened. What they
// return from then on is worth nothing, so that the next frame ends the call.
void Board::before_frame() {
  if (!checking_line_) {
    note_long_reply(guard_->take_replied());
    end_if_lost();
  }
  const auto& failure = g_access_failures;
  if (failure.count != std::exchange(line_failures_, failure.count)) {
    // The board still waits for the rest of a frame: it would take the next one for it.
    if (failure.kind == FailedAccess::frame_lost) lost_ = true;
    if (failure.kind == FailedAccess::no_reply) quiet_line();
  }
  if (lost_) {
    throw last_failure("the serial link " + line_name() +
                       " was lost in the middle of a frame: the board has to be opened again");
  }
}

// An answer that was given up may still come, and must not be taken for the next one's.
void Board::quiet_line() {
  constexpr int silence_ms = 100, most_rounds = 20;
  for (int round = 0; round < most_rounds; ++round) {
    pollfd waited = {descriptor_, POLLIN, 0};
    if (seam::transport().poll(&waited, 1, silence_ms) <= 0) return;
    seam::transport().tcflush(descriptor_, TCIFLUSH);
  }
}

// Checked calls -----------------------------------------------------------------------------------

void Board::end_if_lost() const {
  if (g_access_failures.count == g_settled || probes_ != 0) return;
  g_settled = g_access_failures.count;
  const std::string cause = last_failure_text();
  throw last_failure(
      door() == Door::serial
          ? format("the serial link %s failed in the middle of the work (%s): check the line and "
                   "the board's power",
                   line_name().c_str(), cause.c_str())
          : "an access to the board failed in the middle of the work: " + cause);
}

void Board::settle() {
  g_settled = g_access_failures.count;
}

uint64_t Board::failures() {
  return g_access_failures.count;
}

void Board::expect_none_since(uint64_t before, const char* deed) {
  note_long_reply(guard_->take_replied());
  if (g_access_failures.count == before || probes_ != 0) return;
  g_settled = g_access_failures.count;
  throw last_failure(format("cannot %s: %s", deed, last_failure_text().c_str()));
}

std::optional<Error> untold_failure() {
  if (g_access_failures.count == g_settled) return std::nullopt;
  g_settled = g_access_failures.count;
  return last_failure("an access to the board failed, so the result cannot be trusted: " +
                      last_failure_text());
}

std::string reason(int result, int error) {
  if (result == -1 && error != 0) return strerror(error);
  if (result < -1) return strerror(-result);
  return format("result %d", result);
}

}  // namespace zvg
