#include "doors/aperture_door.h"

#include <errno.h>
#include <sys/mman.h>

#include <mutex>

namespace zvgsim {

namespace {

class ApertureFile : public OpenFile {
 public:
  explicit ApertureFile(Machine& machine) : machine_(machine) {}

  void* mmap(void* address, size_t length, int protection, int flags, off_t offset) override {
    const std::lock_guard guard(machine_.lock());
    const auto& bases = machine_.config().aperture;
    Board& board = machine_.card(0);
    const struct {
      uint64_t base;
      Memory& memory;
    } apertures[] = {{bases.mmio_base, board.mmio_storage()},
                     {bases.vram_base, board.vram_storage()}};
    const auto physical = static_cast<uint64_t>(offset);
    for (const auto& aperture : apertures) {
      if (physical < aperture.base || physical - aperture.base >= aperture.memory.size()) continue;
      const uint64_t inside = physical - aperture.base;
      if (length > aperture.memory.size() - inside) break;
      return aperture.memory.map(address, length, protection, flags, inside);
    }
    // Nothing but the card is in this memory.
    errno = EINVAL;
    return MAP_FAILED;
  }

 private:
  Machine& machine_;
};

}  // namespace

std::shared_ptr<OpenFile> ApertureDoor::open() {
  return std::make_shared<ApertureFile>(machine_);
}

}  // namespace zvgsim
