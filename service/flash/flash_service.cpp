#include "service/flash/flash_service.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <util_zvg.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "service/board/error.h"
#include "service/files/atomic_file.h"
#include "service/flash/flash_journal.h"
#include "service/seam/library_messages.h"
#include "service/work.h"

namespace zvg {

namespace {

constexpr uint32_t page = 256;
constexpr uint32_t piece = 0x10000;  // between two looks at progress and Ctrl-C
constexpr int tries = 3;
constexpr uint8_t protection_bits = 0x1C;
constexpr uint8_t busy_bit = 0x01;

// A library call whose output is kept back. Returns its result; *said becomes its error line.
int quietly(const std::function<int()>& call, std::string* said) {
  const QuietStdout quiet;
  const MessageTap errors(
      {"SPI NOT", "SPI BASIC", "SPI READ ERROR", "SPI PROGRAM ERROR", "SPI CHECK DATA ERROR",
       "SPI 2MB", "SPI 4KB ERASE ERROR", "SPI 32KB ERASE ERROR", "SPI 64KB ERASE ERROR", "ERROR",
       "FLASH BUSY", "SPI PROTECT", "SPI UNPROTECT", "Read STATUSREG ERROR"},
      {}, zvg::seam::Stream::out);
  const int result = call();
  fflush(stdout);
  if (said != nullptr) *said = errors.first();
  return result;
}

std::string in_words(const std::string& said) {
  if (said.empty()) return "the library gave no reason";
  return "the library says \"" + said + "\" (is the board powered, and the flash not protected?)";
}

std::string range_text(const FlashRegion& region) {
  return format("0x%06x to 0x%06x", region.address, region.address + region.size - 1);
}

bool all_erased(std::span<const uint8_t> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte == 0xFF; });
}

// Whether programming alone turns one into the other: it only clears bits.
bool programs_into(std::span<const uint8_t> from, std::span<const uint8_t> to) {
  for (size_t i = 0; i < from.size(); ++i) {
    if ((from[i] & to[i]) != to[i]) return false;
  }
  return true;
}

struct EraseKind {
  uint32_t size;
  int (*erase)(uint32_t address);
};
constexpr EraseKind erase_kinds[] = {
    {flash_size, [](uint32_t) { return zvgSpiEraseChip(); }},
    {0x10000, zvgSpiErase64kbBlock},
    {0x8000, zvgSpiErase32kbBlock},
    {flash_sector, zvgSpiEraseSector},
};

void erase_piece(const EraseKind& kind, uint32_t address) {
  std::string said;
  for (int attempt = 0; attempt < tries; ++attempt) {
    if (quietly([&] { return kind.erase(address); }, &said) == 0) return;
  }
  throw_error(ErrorKind::access, "cannot erase the flash at 0x%06x: %s", address,
              in_words(said).c_str());
}

// The largest piece that begins there and fits.
const EraseKind& largest_at(uint32_t address, uint32_t size) {
  for (const EraseKind& kind : erase_kinds) {
    if (size >= kind.size && address % kind.size == 0) return kind;
  }
  return erase_kinds[std::size(erase_kinds) - 1];
}

void program_pages(uint32_t address, std::span<const uint8_t> bytes) {
  std::vector<uint32_t> words((bytes.size() + 3) / 4);
  memcpy(words.data(), bytes.data(), bytes.size());
  std::string said;
  // A verify of the library's that failed is not the last word: every byte is compared later.
  const int result = quietly(
      [&] { return zvgSpiProgram(words.data(), address, static_cast<int>(bytes.size())); }, &said);
  if (result != 0 && said != "SPI CHECK DATA ERROR") {
    throw_error(ErrorKind::access, "cannot program the flash at 0x%06x: %s", address,
                in_words(said).c_str());
  }
}

// A write in progress, sector by sector.
class Write {
 public:
  Write(uint32_t address, std::span<const uint8_t> bytes, const FlashWriteFiles& files,
        const Work& work)
      : address_(address), bytes_(bytes), files_(files), work_(work), journal_(files.journal) {
    covered_.address = address - address % flash_sector;
    const auto end = static_cast<uint32_t>(address + bytes.size() + flash_sector - 1);
    covered_.size = end - end % flash_sector - covered_.address;
  }

  FlashWrite run() {
    now_ = read_flash(covered_, work_, "reading what is there");
    const std::vector<uint8_t> before =
        journal_.before(covered_.address, now_, work_).value_or(now_);
    wanted_ = before;
    std::copy(bytes_.begin(), bytes_.end(), wanted_.begin() + (address_ - covered_.address));
    if (now_ == wanted_) {
      journal_.end();
      return result_;
    }
    if (!files_.backup.empty()) {
      AtomicFile file(files_.backup, false);
      file.write(before.data() + (address_ - covered_.address), bytes_.size());
      file.commit();
      result_.backup = files_.backup;
    }
    journal_.begin(covered_.address, before, wanted_);
    try {
      erase_what_must();
      program_what_differs();
      verify();
    } catch (const Error& failure) {
      throw Error(failure.kind(), std::string(failure.what()) + "\n" + in_doubt());
    }
    journal_.end();
    return result_;
  }

 private:
  std::span<const uint8_t> now(uint32_t at, uint32_t size) const {
    return std::span(now_).subspan(at, size);
  }
  std::span<const uint8_t> wanted(uint32_t at, uint32_t size) const {
    return std::span(wanted_).subspan(at, size);
  }

  void stop_if_told() const {
    if (work_.is_cancelled()) throw_error(ErrorKind::cancelled, "interrupted");
  }

  bool must_erase(uint32_t at) const {
    return !programs_into(now(at, flash_sector), wanted(at, flash_sector));
  }

  void erase_what_must() {
    uint32_t total = 0;
    for (uint32_t at = 0; at < covered_.size; at += flash_sector) total += must_erase(at);
    for (uint32_t at = 0; at < covered_.size;) {
      if (!must_erase(at)) {
        at += flash_sector;
        continue;
      }
      uint32_t run = flash_sector;
      while (at + run < covered_.size && must_erase(at + run)) run += flash_sector;
      for (uint32_t done = 0; done < run;) {
        stop_if_told();
        const uint32_t address = covered_.address + at + done;
        const EraseKind& kind = largest_at(address, run - done);
        touched(at + done, kind.size);
        erase_piece(kind, address);
        std::fill_n(now_.begin() + at + done, kind.size, uint8_t{0xFF});
        done += kind.size;
        result_.erased_sectors += kind.size / flash_sector;
        work_.show("erasing", uint64_t{result_.erased_sectors} * flash_sector,
                   uint64_t{total} * flash_sector);
      }
      at += run;
    }
  }

  bool differs(uint32_t at) const { return !std::ranges::equal(now(at, page), wanted(at, page)); }

  void program_what_differs() {
    uint64_t total = 0;
    for (uint32_t at = 0; at < covered_.size; at += page) total += differs(at) ? page : 0;
    for (uint32_t at = 0; at < covered_.size;) {
      if (!differs(at)) {
        at += page;
        continue;
      }
      uint32_t run = page;
      while (run < piece && at + run < covered_.size && differs(at + run)) run += page;
      stop_if_told();
      touched(at, run);
      program_pages(covered_.address + at, wanted(at, run));
      std::ranges::copy(wanted(at, run), now_.begin() + at);
      result_.programmed_bytes += run;
      work_.show("programming", result_.programmed_bytes, total);
      at += run;
    }
  }

  void verify() {
    const std::vector<uint8_t> found = read_flash(covered_, work_, "verifying");
    const auto [wrong, expected] = std::mismatch(found.begin(), found.end(), wanted_.begin());
    if (wrong == found.end()) return;
    const auto at = static_cast<uint32_t>(wrong - found.begin());
    throw_error(ErrorKind::bad_data,
                "verification failed: at 0x%06x the flash holds 0x%02x instead of 0x%02x",
                covered_.address + at, *wrong, *expected);
  }

  void touched(uint32_t at, uint32_t size) {
    first_touched_ = std::min(first_touched_, at);
    last_touched_ = std::max(last_touched_, at + size);
  }

  std::string in_doubt() const {
    if (first_touched_ >= last_touched_) return "nothing in the flash was changed";
    const FlashRegion doubt = {covered_.address + first_touched_, last_touched_ - first_touched_};
    std::string text =
        "in doubt: " + range_text(doubt) + "; the same command again finishes the write";
    if (!result_.backup.empty()) {
      text += format(", zvgctl flash write %s --offset 0x%x brings the old content back",
                     result_.backup.c_str(), address_);
    }
    return text;
  }

  const uint32_t address_;
  const std::span<const uint8_t> bytes_;
  const FlashWriteFiles& files_;
  const Work& work_;
  FlashJournal journal_;
  FlashRegion covered_{};
  std::vector<uint8_t> now_, wanted_;
  uint32_t first_touched_ = flash_size;
  uint32_t last_touched_ = 0;
  FlashWrite result_;
};

}  // namespace

std::vector<uint8_t> read_flash(const FlashRegion& region, const Work& work, const char* phase) {
  std::vector<uint8_t> bytes;
  bytes.reserve(region.size);
  std::vector<uint32_t> words(piece / 4);
  while (bytes.size() < region.size) {
    if (work.is_cancelled()) throw_error(ErrorKind::cancelled, "interrupted");
    const auto n = std::min<size_t>(piece, region.size - bytes.size());
    const auto address = static_cast<uint32_t>(region.address + bytes.size());
    std::string said;
    for (int attempt = 1;
         quietly([&] { return zvgSpiReadBuffer(words.data(), address, static_cast<int>(n)); },
                 &said) != 0;
         ++attempt) {
      if (attempt == tries) {
        throw_error(ErrorKind::access, "cannot read the flash at 0x%06x: %s", address,
                    in_words(said).c_str());
      }
    }
    const auto* const first = reinterpret_cast<const uint8_t*>(words.data());
    bytes.insert(bytes.end(), first, first + n);
    work.show(phase, bytes.size(), region.size);
  }
  return bytes;
}

void erase_flash(const FlashRegion& region, const Work& work) {
  for (uint32_t done = 0; done < region.size;) {
    if (work.is_cancelled()) {
      throw_error(ErrorKind::cancelled, "interrupted: %s is erased, the rest is not",
                  done == 0 ? "nothing" : range_text({region.address, done}).c_str());
    }
    const EraseKind& kind = largest_at(region.address + done, region.size - done);
    erase_piece(kind, region.address + done);
    done += kind.size;
    work.show("erasing", done, region.size);
  }
  if (!all_erased(read_flash(region, work, "verifying"))) {
    throw_error(
        ErrorKind::access,
        "the flash is not erased after the erase: it is write-protected (zvgctl flash unprotect), "
        "or worn out");
  }
}

std::vector<uint8_t> settled_content(const FlashRegion& sectors, const std::string& journal,
                                     const Work& work) {
  std::vector<uint8_t> now = read_flash(sectors, work);
  return FlashJournal(journal).before(sectors.address, now, work).value_or(now);
}

FlashWrite write_flash(uint32_t address, std::span<const uint8_t> bytes,
                       const FlashWriteFiles& files, const Work& work) {
  return Write(address, bytes, files, work).run();
}

size_t compare_flash(uint32_t address, std::span<const uint8_t> bytes, const Work& work) {
  const std::vector<uint8_t> found =
      read_flash({address, static_cast<uint32_t>(bytes.size())}, work, "verifying");
  return static_cast<size_t>(std::mismatch(found.begin(), found.end(), bytes.begin()).first -
                             found.begin());
}

uint8_t flash_status(unsigned number) {
  constexpr uint32_t commands[] = {0x05, 0x35};
  // The library prints the register; its result tells more about what it is than about the read.
  unsigned value = 0;
  bool found = false;
  const QuietStdout quiet;
  const MessageTap lines(
      {"05H(SR) = ", "35H(SR) = "},
      [&](const std::string& line) { found = sscanf(line.c_str(), "%*2cH(SR) = %x", &value) == 1; },
      zvg::seam::Stream::out);
  zvgSpiReadStatusReg(commands[number - 1]);
  fflush(stdout);
  if (!found)
    throw_error(ErrorKind::access,
                "cannot read the flash's status register %u: the flash does not answer", number);
  return static_cast<uint8_t>(value);
}

void protect_flash(bool on) {
  // Protecting does not give the controller its clock, as every read does.
  flash_status(1);
  std::string said;
  if (quietly([on] { return on ? zvgSpiProtect() : zvgSpiUnprotect(); }, &said) != 0) {
    throw_error(ErrorKind::access, "cannot %s the flash: %s", on ? "protect" : "unprotect",
                in_words(said).c_str());
  }
  // Writing the register takes the flash some milliseconds.
  uint8_t status = busy_bit;
  for (int i = 0; i < 100 && (status & busy_bit) != 0; ++i) {
    usleep(1000);
    status = flash_status(1);
  }
  if (((status & protection_bits) != 0) != on) {
    throw_error(ErrorKind::access,
                "the flash did not take the protection: its status register 1 is 0x%02x", status);
  }
}

}  // namespace zvg
