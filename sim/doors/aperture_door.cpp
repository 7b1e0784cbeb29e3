#include "doors/aperture_door.h"

#include <errno.h>
#include <stdio.h>
#include <sys/mman.h>

#include <atomic>

#include "doors/trapped_memory.h"

namespace zvgsim {

class ApertureDoor::Model : public AccessModel {
 public:
  explicit Model(Machine& machine) : machine_(machine) {}

  void lock() override { machine_.lock().lock(); }
  void unlock() override { machine_.lock().unlock(); }
  uint64_t load(uint64_t offset, unsigned width) override {
    return machine_.card(0).read(Space::mmio, offset, width);
  }
  void store(uint64_t offset, unsigned width, uint64_t value) override {
    machine_.card(0).write(Space::mmio, offset, width, value);
  }

 private:
  Machine& machine_;
};

namespace {

void say_registers_are_plain() {
  static std::atomic<bool> said{false};
  if (said.exchange(true)) return;
  fputs("zvgsim: registers in the aperture are plain storage: accesses do not reach the devices\n",
        stderr);
}

class ApertureFile : public OpenFile {
 public:
  ApertureFile(Machine& machine, AccessModel* model) : machine_(machine), model_(model) {}

  void* mmap(void* address, size_t length, int protection, int flags, off_t offset) override {
    const auto& bases = machine_.config().aperture;
    const auto physical = static_cast<uint64_t>(offset);
    if (lies_in(bases.mmio_base, mmio_size, physical, length)) {
      const uint64_t inside = physical - bases.mmio_base;
      if (model_ != nullptr) {
        return map_trapped(address, length, protection, flags, *model_, inside);
      }
      say_registers_are_plain();
      return map(machine_.card(0).mmio_storage(), address, length, protection, flags, inside);
    }
    if (lies_in(bases.vram_base, vram_size, physical, length)) {
      return map(machine_.card(0).vram_storage(), address, length, protection, flags,
                 physical - bases.vram_base);
    }
    // Nothing but the card is in this memory.
    errno = EINVAL;
    return MAP_FAILED;
  }

 private:
  static bool lies_in(uint64_t base, uint64_t size, uint64_t physical, size_t length) {
    return physical >= base && physical - base < size && length <= size - (physical - base);
  }

  void* map(Memory& memory, void* address, size_t length, int protection, int flags,
            uint64_t inside) {
    const std::lock_guard guard(machine_.lock());
    return memory.map(address, length, protection, flags, inside);
  }

  Machine& machine_;
  AccessModel* const model_;  // null for plain registers
};

}  // namespace

ApertureDoor::ApertureDoor(Machine& machine, Registers registers)
    : machine_(machine), registers_(registers), model_(std::make_unique<Model>(machine)) {}

ApertureDoor::~ApertureDoor() {
  forget_trapped(*model_);
}

std::shared_ptr<OpenFile> ApertureDoor::open() {
  const bool live = registers_ == Registers::live && can_trap_memory();
  return std::make_shared<ApertureFile>(machine_, live ? model_.get() : nullptr);
}

}  // namespace zvgsim
