#include "machine/machine.h"

#include "board/board_file.h"
#include "devices/models.h"

namespace zvgsim {

BoardConfig load_board_file(const std::string& path) {
  return load_board_file(path, models());
}

Machine::Machine(BoardConfig config, VirtualClock::Mode mode)
    : config_(std::move(config)),
      clock_(mode),
      faults_(config_.faults),
      kernel_memory_("zvgsim-kernel", config_.kernel.size) {
  for (unsigned card = 0; card < config_.cards; ++card) {
    cards_.push_back(std::make_unique<Board>(config_, models(), clock_, trace_, faults_, card));
  }
  for (const InitialValue& initial : config_.registers) {
    if (initial.space == Space::kmem && kmem_decodes(initial.offset, initial.width)) {
      kernel_memory_.write(initial.offset - config_.kernel.base, initial.width, initial.value);
    }
  }
}

Machine::~Machine() = default;

bool Machine::kmem_decodes(uint64_t address, unsigned width) const {
  const auto& range = config_.kernel;
  return address >= range.base && address - range.base < range.size &&
         width <= range.size - (address - range.base);
}

bool Machine::kmem_read(uint64_t address, unsigned width, uint64_t* value) {
  if (!kmem_decodes(address, width)) return false;
  clock_.spend_access();
  *value = kernel_memory_.read(address - config_.kernel.base, width);
  if (trace_.on()) trace_.record({Space::kmem, false, width, address, *value});
  return true;
}

bool Machine::kmem_write(uint64_t address, unsigned width, uint64_t value) {
  if (!kmem_decodes(address, width)) return false;
  clock_.spend_access();
  if (trace_.on()) trace_.record({Space::kmem, true, width, address, value});
  kernel_memory_.write(address - config_.kernel.base, width, value);
  return true;
}

}  // namespace zvgsim
