#include "service/flash/flash_journal.h"

#include <unistd.h>

#include <string_view>

#include "service/board/error.h"
#include "service/files/atomic_file.h"
#include "service/files/input_file.h"
#include "service/flash/flash_service.h"

namespace zvg {

namespace {

std::string header(uint32_t address, size_t size) {
  return format("zvgctl flash write, unfinished: 0x%06x 0x%06zx\n", address, size);
}

}  // namespace

void FlashJournal::begin(uint32_t address, std::span<const uint8_t> before,
                         std::span<const uint8_t> after) {
  const std::string first = header(address, before.size());
  AtomicFile file(path_, true);
  file.write(first.data(), first.size());
  file.write(before.data(), before.size());
  file.write(after.data(), after.size());
  file.commit();
}

void FlashJournal::end() {
  unlink(path_.c_str());
}

std::optional<std::vector<uint8_t>> FlashJournal::before(uint32_t address,
                                                         std::span<const uint8_t> now,
                                                         const Work& work) const {
  if (access(path_.c_str(), F_OK) != 0) return {};
  constexpr size_t most_bytes = 2 * flash_size + 100;
  const std::vector<uint8_t> content = read_input(path_, most_bytes, "an unfinished write");
  const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
  const std::string first = header(address, now.size());
  if (!text.starts_with(first) || text.size() != first.size() + 2 * now.size()) {
    work.remark(format("%s is of another write; it is not used", path_.c_str()));
    return {};
  }
  const auto* const old_bytes = reinterpret_cast<const uint8_t*>(text.data()) + first.size();
  const uint8_t* const new_bytes = old_bytes + now.size();
  for (size_t i = 0; i < now.size(); ++i) {
    constexpr uint8_t erased = 0xFF;
    if (now[i] == old_bytes[i] || now[i] == new_bytes[i] || now[i] == erased) continue;
    work.remark(format("%s is of another board, or the flash was written since; it is not used",
                       path_.c_str()));
    return {};
  }
  work.remark("finishing the write that was cut off");
  return std::vector<uint8_t>(old_bytes, old_bytes + now.size());
}

}  // namespace zvg
