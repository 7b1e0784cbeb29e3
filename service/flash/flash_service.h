// The flash as a technician needs it: safe, restartable writes over the library's commands.
#ifndef ZVG_SERVICE_FLASH_FLASH_SERVICE_H
#define ZVG_SERVICE_FLASH_FLASH_SERVICE_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "service/work.h"

namespace zvg {

inline constexpr uint32_t flash_size = 0x200000;
inline constexpr uint32_t flash_sector = 0x1000;

struct FlashRegion {
  uint32_t address;
  uint32_t size;
};

// All throw an Error when the flash does not do its part. What the library prints is kept back,
// and its error line becomes part of the message.

std::vector<uint8_t> read_flash(const FlashRegion& region, const Work& work = {},
                                const char* phase = "reading");

// region: whole sectors. Each piece is tried a few times, and read back: an erase that a protected
// flash ignored is a failure.
void erase_flash(const FlashRegion& region, const Work& work = {});

struct FlashWrite {
  uint32_t erased_sectors = 0;
  uint32_t programmed_bytes = 0;
  std::string backup;  // the file; empty without one
};

struct FlashWriteFiles {
  std::string backup;   // for the old content; empty for none
  std::string journal;  // there while the write is unfinished
};

// The sectors of a region, as they were before a write that the journal tells was cut off.
std::vector<uint8_t> settled_content(const FlashRegion& sectors, const std::string& journal,
                                     const Work& work = {});

// Makes the flash hold the bytes from address on: reads what is there, keeps it in the backup,
// erases the sectors that differ and need it, programs the pages that differ, and compares every
// byte. Content around the range stays. When it ends early, by a fault or cancelled, the message
// names the range in doubt and how to restore it; the same call again finishes what was begun.
FlashWrite write_flash(uint32_t address, std::span<const uint8_t> bytes,
                       const FlashWriteFiles& files, const Work& work = {});

// The first place where the flash does not hold the bytes; size of the bytes when it does.
size_t compare_flash(uint32_t address, std::span<const uint8_t> bytes, const Work& work = {});

// Status register 1 or 2.
uint8_t flash_status(unsigned number);

// Block protection, which is read back.
void protect_flash(bool on);

}  // namespace zvg

#endif  // ZVG_SERVICE_FLASH_FLASH_SERVICE_H
