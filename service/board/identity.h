// Which board it is, as far as its door can tell for sure.
#ifndef ZVG_SERVICE_BOARD_IDENTITY_H
#define ZVG_SERVICE_BOARD_IDENTITY_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zvg {

// The address of the PCI function that has a memory BAR over that place of the host's, such as
// "0000:01:00.0"; nothing where there is none, or more than one. root: "" but for tests.
std::optional<std::string> pci_function_at(uint64_t physical, const std::string& root = "");

// The memory BARs that the configuration words from 0x10 on tell.
std::vector<uint64_t> memory_bars(const std::vector<uint32_t>& words);

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_IDENTITY_H
