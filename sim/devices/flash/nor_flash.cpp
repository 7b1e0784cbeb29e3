#include "devices/flash/nor_flash.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace zvgsim {

namespace {

enum Opcode : uint8_t {
  write_status_registers = 0x01,
  page_program = 0x02,
  read_data = 0x03,
  write_disable = 0x04,
  read_status_1 = 0x05,
  write_enable = 0x06,
  erase_4_kib = 0x20,
  quad_page_program = 0x32,
  read_status_2 = 0x35,
  volatile_write_enable = 0x50,
  erase_32_kib = 0x52,
  erase_chip = 0x60,
  quad_output_read = 0x6B,
  read_identification = 0x9F,
  erase_64_kib = 0xD8,
};

constexpr uint8_t status_busy = 0x01;
constexpr uint8_t status_write_enabled = 0x02;
constexpr uint8_t status_protection = 0x1C;
constexpr uint8_t quad_enable = 0x02;
constexpr uint8_t identification[] = {0x00, 0x60, 0x15};

constexpr uint32_t page = 256;
constexpr uint64_t program_time = microseconds(600);
constexpr uint64_t status_time = milliseconds(5);
constexpr auto save_interval = std::chrono::milliseconds(500);

struct Erase {
  Opcode opcode;
  uint32_t length;
  uint64_t time;
};
constexpr Erase erases[] = {
    {erase_4_kib, 0x1000, milliseconds(45)},
    {erase_32_kib, 0x8000, milliseconds(120)},
    {erase_64_kib, 0x10000, milliseconds(150)},
    {erase_chip, NorFlash::size, seconds(4)},
};

uint32_t address_of(std::span<const uint8_t> bytes) {
  return (uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3]) % NorFlash::size;
}

constexpr size_t with_address = 4;  // bytes of a command up to its address

}  // namespace

NorFlash::NorFlash(const FlashFaults& faults, VirtualClock& clock, std::vector<uint8_t> content,
                   const std::string& image)
    : faults_(faults), clock_(clock), image_(image), bytes_(std::move(content)) {
  bytes_.resize(size, 0xFF);
  std::ifstream file;
  if (!image_.empty()) file.open(image_, std::ios::binary);
  if (file.is_open()) {
    file.read(reinterpret_cast<char*>(bytes_.data()), size);
    if (file.gcount() != size || file.peek() != std::ifstream::traits_type::eof()) {
      throw std::runtime_error("the flash image " + image_ + " is not " + std::to_string(size) +
                               " bytes long");
    }
    return;
  }
  if (!image_.empty() && access(image_.c_str(), F_OK) == 0) {
    throw std::runtime_error("cannot read the flash image " + image_ + ": " + strerror(errno));
  }
  changed_ = !image_.empty();
}

void NorFlash::protect() {
  protection_ = status_protection;
}

bool NorFlash::busy() const {
  const uint64_t now = clock_.now();
  return faults_.stays_busy || now < status_done_at_ || (pending_ && now < pending_->done_at);
}

uint8_t NorFlash::status_1() const {
  return static_cast<uint8_t>((busy() ? status_busy : 0) |
                              (write_enabled_ ? status_write_enabled : 0) | protection_);
}

// Block protection covers everything, or nothing.
bool NorFlash::refuses(uint32_t) const {
  return !write_enabled_ || protection_ != 0;
}

void NorFlash::begin_modify(uint32_t address, uint32_t length, uint64_t time) {
  pending_ = Pending{
      address, {bytes_.begin() + address, bytes_.begin() + address + length}, clock_.now() + time};
  write_enabled_ = false;
  changed_ = true;
}

void NorFlash::erase(uint32_t address, uint32_t length, uint64_t time) {
  address -= address % length;
  if (refuses(address)) return;
  begin_modify(address, length, time);
  std::fill_n(bytes_.begin() + address, length, uint8_t{0xFF});
}

void NorFlash::program(uint32_t address, std::span<const uint8_t> data) {
  const uint32_t begin = address - address % page;
  if (refuses(begin)) return;
  begin_modify(begin, page, program_time);
  for (size_t i = 0; i < data.size(); ++i) {
    const auto at = static_cast<uint32_t>(begin + (address + i) % page);
    if (faults_.bad_byte == at) continue;
    bytes_[at] &= data[i];
  }
}

void NorFlash::write_status(std::span<const uint8_t> bytes) {
  if (!write_enabled_ && !volatile_enabled_) return;
  if (!bytes.empty()) protection_ = bytes[0] & status_protection;
  if (bytes.size() > 1) status_2_ = bytes[1];
  if (!volatile_enabled_) {
    status_done_at_ = clock_.now() + status_time;
    write_enabled_ = false;
  }
  volatile_enabled_ = false;
}

void NorFlash::command(std::span<const uint8_t> bytes, bool quad) {
  if (!powered_ || continuous_read_ || bytes.empty() || busy()) return;
  pending_.reset();
  switch (bytes[0]) {
    case write_enable:
      if (++write_enables_ != faults_.lost_write_enable) write_enabled_ = true;
      break;
    case write_disable:
      write_enabled_ = false;
      break;
    case volatile_write_enable:
      volatile_enabled_ = true;
      break;
    case write_status_registers:
      write_status(bytes.subspan(1));
      break;
    case page_program:
    case quad_page_program: {
      const bool needs_quad = bytes[0] == quad_page_program;
      if (bytes.size() <= with_address || needs_quad != quad) break;
      if (needs_quad && (status_2_ & quad_enable) == 0) break;
      program(address_of(bytes), bytes.subspan(with_address));
      break;
    }
    default:
      for (const Erase& kind : erases) {
        if (kind.opcode != bytes[0]) continue;
        if (kind.opcode == erase_chip) {
          erase(0, kind.length, kind.time);
        } else if (bytes.size() >= with_address) {
          erase(address_of(bytes), kind.length, kind.time);
        }
      }
      break;
  }
  const auto now = std::chrono::steady_clock::now();
  if (changed_ && now - saved_ > save_interval) save();
}

void NorFlash::answer(std::span<const uint8_t> command, bool quad, std::span<uint8_t> reply) {
  std::fill(reply.begin(), reply.end(), uint8_t{0xFF});
  if (!powered_ || continuous_read_ || command.empty()) return;
  switch (command[0]) {
    case read_status_1:
      std::fill(reply.begin(), reply.end(), status_1());
      return;
    case read_status_2:
      std::fill(reply.begin(), reply.end(), status_2_);
      return;
    case read_identification:
      for (size_t i = 0; i < reply.size() && i < sizeof identification; ++i) {
        reply[i] = identification[i];
      }
      return;
    case read_data:
    case quad_output_read: {
      const bool needs_quad = command[0] == quad_output_read;
      if (busy() || command.size() < with_address || needs_quad != quad) return;
      if (needs_quad && (status_2_ & quad_enable) == 0) return;
      const uint32_t address = address_of(command);
      const size_t first = std::min<size_t>(reply.size(), size - address);
      std::copy_n(bytes_.begin() + address, first, reply.begin());
      std::copy_n(bytes_.begin(), reply.size() - first,
                  reply.begin() + static_cast<ptrdiff_t>(first));
      return;
    }
    default:
      return;
  }
}

void NorFlash::cut_power() {
  if (!powered_) return;
  if (pending_ && clock_.now() < pending_->done_at) {
    const size_t half = pending_->before.size() / 2;
    std::copy(pending_->before.begin() + static_cast<ptrdiff_t>(half), pending_->before.end(),
              bytes_.begin() + pending_->address + static_cast<ptrdiff_t>(half));
  }
  powered_ = false;
  save();
}

void NorFlash::save() {
  if (!changed_ || image_.empty()) return;
  const std::string temporary = image_ + ".new";
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes_.data()), size);
    file.flush();
    if (!file) {
      fprintf(stderr, "zvgsim: cannot write the flash image %s: %s\n", temporary.c_str(),
              strerror(errno));
      return;
    }
  }
  if (rename(temporary.c_str(), image_.c_str()) != 0) {
    fprintf(stderr, "zvgsim: cannot replace the flash image %s: %s\n", image_.c_str(),
            strerror(errno));
    return;
  }
  changed_ = false;
  saved_ = std::chrono::steady_clock::now();
}

}  // namespace zvgsim
