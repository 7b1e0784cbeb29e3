#include "service/board/identity.h"

#include <filesystem>
#include <fstream>

namespace zvg {

namespace fs = std::filesystem;

std::optional<std::string> pci_function_at(uint64_t physical, const std::string& root) {
  std::optional<std::string> found;
  std::error_code none;
  for (const fs::directory_entry& function :
       fs::directory_iterator(root + "/sys/bus/pci/devices", none)) {
    std::ifstream resources(function.path() / "resource");
    uint64_t begin = 0, end = 0, flags = 0;
    constexpr uint64_t is_memory = 0x200;
    while (resources >> std::hex >> begin >> end >> flags) {
      if ((flags & is_memory) == 0 || physical < begin || physical > end) continue;
      // A bridge's window is over what is behind it, too; its class begins with 6.
      std::string kind;
      std::getline(std::ifstream(function.path() / "class"), kind);
      if (kind.starts_with("0x06")) continue;
      if (found && *found != function.path().filename()) return std::nullopt;
      found = function.path().filename().string();
    }
  }
  return found;
}

std::vector<uint64_t> memory_bars(const std::vector<uint32_t>& words) {
  constexpr uint32_t is_port = 1, type_mask = 6, is_wide = 4, flag_bits = 0xF;
  std::vector<uint64_t> bars;
  for (size_t i = 0; i < words.size(); ++i) {
    const uint32_t low = words[i];
    if ((low & is_port) != 0) continue;
    uint64_t base = low & ~flag_bits;
    if ((low & type_mask) == is_wide && i + 1 < words.size()) {
      base |= uint64_t{words[++i]} << 32;
    }
    if (base != 0) bars.push_back(base);
  }
  return bars;
}

}  // namespace zvg
