// The board's serial NOR flash.
#ifndef ZVGSIM_DEVICES_FLASH_NOR_FLASH_H
#define ZVGSIM_DEVICES_FLASH_NOR_FLASH_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "board/virtual_clock.h"
#include "devices/flash/flash_settings.h"

namespace zvgsim {

// 2 MiB in pages of 256 bytes and sectors of 4 KiB. Programming only clears bits and wraps at the
// end of the page; both take their time, in which the flash answers status reads alone. Status
// registers 1 (busy, write enable latch, block protection) and 2 (quad enable) are written for good
// after a write enable, or until the power goes after a volatile write enable.
class NorFlash {
 public:
  static constexpr uint32_t size = flash_size;

  // image: the file that the content comes from and goes to; empty for none. content: what it is
  // instead while there is no such file, erased where that ends. The faults outlive the flash.
  // Throws std::runtime_error when the image cannot be read.
  NorFlash(const FlashFaults& faults, VirtualClock& clock, std::vector<uint8_t> content,
           const std::string& image);
  ~NorFlash() { save(); }
  NorFlash(const NorFlash&) = delete;
  NorFlash& operator=(const NorFlash&) = delete;

  // A command that the flash only listens to: the opcode, then address and data. quad: it came on
  // four lines.
  void command(std::span<const uint8_t> bytes, bool quad);

  // What the flash answers to a command: status registers, identification, content.
  void answer(std::span<const uint8_t> command, bool quad, std::span<uint8_t> reply);

  // Protects all blocks, as the status register would.
  void protect();

  // Out of continuous read, in which it takes everything for an address.
  void leave_continuous_read() { continuous_read_ = false; }
  void enter_continuous_read() { continuous_read_ = true; }

  // The power goes: what was being erased or programmed is left half done, and nothing works any
  // more. Writes the image.
  void cut_power();
  bool powered() const { return powered_; }

  // Writes the image if the content has changed: to a temporary file that then takes its place.
  void save();

  std::span<const uint8_t> content() const { return bytes_; }

 private:
  struct Pending {
    uint32_t address;
    std::vector<uint8_t> before;
    uint64_t done_at;
  };

  bool busy() const;
  uint8_t status_1() const;
  void write_status(std::span<const uint8_t> bytes);
  void erase(uint32_t address, uint32_t length, uint64_t time);
  void program(uint32_t address, std::span<const uint8_t> data);
  bool refuses(uint32_t address) const;
  void begin_modify(uint32_t address, uint32_t length, uint64_t time);

  const FlashFaults& faults_;
  VirtualClock& clock_;
  const std::string image_;
  std::vector<uint8_t> bytes_;
  bool changed_ = false;
  std::chrono::steady_clock::time_point saved_{};

  bool powered_ = true;
  bool continuous_read_ = false;
  bool write_enabled_ = false;
  bool volatile_enabled_ = false;
  uint8_t protection_ = 0;
  uint8_t status_2_ = 0;
  uint64_t status_done_at_ = 0;
  uint64_t write_enables_ = 0;
  std::optional<Pending> pending_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_FLASH_NOR_FLASH_H
