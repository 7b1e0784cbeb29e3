#include "board/board.h"

#include <stdexcept>

namespace zvgsim {

namespace {

constexpr uint64_t pci_config_size = 4096;
constexpr uint64_t ioport_count = 256;

constexpr bool inside(uint64_t offset, uint64_t width, uint64_t size) {
  return offset < size && width <= size - offset;
}

// Calls transfer(lane, width) for each access that the enables of a 32-bit word ask for.
template <typename Transfer>
void for_lanes(unsigned enables, Transfer transfer) {
  if ((enables & 0xF) == 0xF) {
    transfer(0u, 4u);
    return;
  }
  for (unsigned half = 0; half < 4; half += 2) {
    const unsigned pair = enables >> half & 0x3;
    if (pair == 0x3) {
      transfer(half, 2u);
    } else if (pair != 0) {
      transfer(half + (pair >> 1), 1u);
    }
  }
}

}  // namespace

Board::Board(const BoardConfig& config, std::span<const Model> models, VirtualClock& clock,
             AccessTrace& trace, FaultPlan& faults, unsigned card)
    : config_(config), clock_(clock), trace_(trace), faults_(faults), card_(card) {
  for (const Model& model : models) {
    if (model.place != nullptr) model.place(*this);
  }
  for (const InitialValue& initial : config_.registers) {
    if (initial.space == Space::kmem) continue;  // the machine's
    if (initial.after_reads != 0) {
      changes_.push_back({initial, initial.after_reads});
      continue;
    }
    dispatch_write(initial.space, initial.offset, initial.width, initial.value);
  }
}

Board::~Board() = default;

Device& Board::attach(uint32_t base, uint32_t size, std::unique_ptr<Device> device) {
  if (base % attach_unit != 0 || size % attach_unit != 0 || size == 0 ||
      !inside(base, size, mmio_size)) {
    throw std::invalid_argument("a device's registers stand at whole units of the MMIO space");
  }
  const size_t first = base / attach_unit;
  const size_t end = first + size / attach_unit;
  for (size_t unit = first; unit < end; ++unit) {
    if (map_[unit].device != nullptr) throw std::invalid_argument("two devices at one address");
  }
  for (size_t unit = first; unit < end; ++unit) map_[unit] = {base, device.get()};
  devices_.push_back(std::move(device));
  return *devices_.back();
}

bool Board::decodes(Space space, uint64_t offset, unsigned width) const {
  switch (space) {
    case Space::mmio:
      return inside(offset, width, mmio_size);
    case Space::vram:
      return inside(offset, width, vram_size);
    case Space::pci:
      return width == 4 && offset % 4 == 0 && inside(offset, width, pci_config_size);
    case Space::ioport:
      return width == 1 && offset < ioport_count;
    default:
      return false;
  }
}

bool Board::is_off(Space space) const {
  return config_.faults.reads_ones && (space == Space::mmio || space == Space::vram);
}

uint64_t Board::dispatch_read(Space space, uint64_t offset, unsigned width) {
  if (is_off(space)) return width == 8 ? UINT64_MAX : (uint64_t{1} << (8 * width)) - 1;
  switch (space) {
    case Space::mmio: {
      const Range& range = map_[offset / attach_unit];
      return range.device != nullptr ? range.device->read(offset - range.base, width)
                                     : mmio_.read(offset, width);
    }
    case Space::vram:
      return vram_.read(offset, width);
    case Space::pci:
      return pci_->read(offset, width);
    default:
      return ioports_->read(offset, width);
  }
}

void Board::dispatch_write(Space space, uint64_t offset, unsigned width, uint64_t value) {
  if (is_off(space)) return;
  switch (space) {
    case Space::mmio: {
      const Range& range = map_[offset / attach_unit];
      if (range.device != nullptr) {
        range.device->write(offset - range.base, width, value);
      } else {
        mmio_.write(offset, width, value);
      }
      return;
    }
    case Space::vram:
      vram_.write(offset, width, value);
      return;
    case Space::pci:
      pci_->write(offset, width, value);
      return;
    default:
      ioports_->write(offset, width, value);
  }
}

// Lets the changes that were waiting for this read happen before it.
void Board::count_read(uint64_t offset) {
  for (auto change = changes_.begin(); change != changes_.end();) {
    if (change->to.offset != offset || change->reads_left-- != 0) {
      ++change;
      continue;
    }
    dispatch_write(Space::mmio, offset, change->to.width, change->to.value);
    change = changes_.erase(change);
  }
}

uint64_t Board::read(Space space, uint64_t offset, unsigned width) {
  clock_.spend_access();
  if (!changes_.empty() && space == Space::mmio) count_read(offset);
  const uint64_t value = dispatch_read(space, offset, width);
  if (trace_.on()) trace_.record({space, false, width, offset, value, card_});
  return value;
}

// Recorded before it takes effect: what the write sets off comes after it in the trace.
void Board::write(Space space, uint64_t offset, unsigned width, uint64_t value) {
  clock_.spend_access();
  if (trace_.on()) trace_.record({space, true, width, offset, value, card_});
  dispatch_write(space, offset, width, value);
}

std::optional<Board::Location> Board::decode_bus(uint64_t address, unsigned width) {
  if (address >= bus_mmio_base && inside(address - bus_mmio_base, width, mmio_size)) {
    return Location{Space::mmio, address - bus_mmio_base};
  }
  if (address >= bus_vram_base && inside(address - bus_vram_base, width, vram_size)) {
    return Location{Space::vram, address - bus_vram_base};
  }
  return std::nullopt;
}

void Board::record_bus(bool write, unsigned width, uint64_t address, uint64_t value,
                       bool as_bridge) {
  const Location location = as_bridge ? Location{Space::bus, address} : *decode_bus(address, width);
  trace_.record({location.space, write, width, location.offset, value, card_});
}

bool Board::bus_read(uint64_t address, unsigned enables, uint32_t* word, bool as_bridge) {
  const auto location = decode_bus(address, 4);
  if (!location) return false;
  *word = 0;
  for_lanes(enables, [&](unsigned lane, unsigned width) {
    clock_.spend_access();
    if (!changes_.empty() && location->space == Space::mmio) count_read(location->offset + lane);
    const uint64_t value = dispatch_read(location->space, location->offset + lane, width);
    *word |= static_cast<uint32_t>(value << (8 * lane));
    if (trace_.on()) record_bus(false, width, address + lane, value, as_bridge);
  });
  return true;
}

bool Board::bus_write(uint64_t address, unsigned enables, uint32_t word, bool as_bridge) {
  const auto location = decode_bus(address, 4);
  if (!location) return false;
  for_lanes(enables, [&](unsigned lane, unsigned width) {
    const uint64_t value = word >> (8 * lane) & ((uint64_t{1} << (8 * width)) - 1);
    clock_.spend_access();
    if (trace_.on()) record_bus(true, width, address + lane, value, as_bridge);
    dispatch_write(location->space, location->offset + lane, width, value);
  });
  return true;
}

}  // namespace zvgsim
