// One card: a chip and what is soldered around it.
#ifndef ZVGSIM_BOARD_BOARD_H
#define ZVGSIM_BOARD_BOARD_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <typeindex>
#include <utility>
#include <vector>

#include "board/access_trace.h"
#include "board/aux_sink.h"
#include "board/board_config.h"
#include "board/device.h"
#include "board/fault_plan.h"
#include "board/i2c_bus.h"
#include "board/memory.h"
#include "board/model.h"
#include "board/space.h"
#include "board/virtual_clock.h"

namespace zvgsim {

// The address map of a card. Registers that no device was attached at are plain storage. Not
// guarded: the doors take the machine's lock.
class Board {
 public:
  // A card with these models on it, powered up. The configuration, the clock, the trace and the
  // fault plan belong to the machine that the card is in and outlive the board.
  Board(const BoardConfig& config, std::span<const Model> models, VirtualClock& clock,
        AccessTrace& trace, FaultPlan& faults, unsigned card = 0);
  ~Board();
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  const BoardConfig& config() const { return config_; }
  Generation generation() const { return config_.generation; }
  unsigned card() const { return card_; }
  VirtualClock& clock() { return clock_; }
  AccessTrace& trace() { return trace_; }
  FaultPlan& faults() { return faults_; }

  // What lies under the devices, and what the register aperture maps.
  Memory& mmio_storage() { return mmio_; }
  Memory& vram_storage() { return vram_; }

  // The DDC wires of an HDMI port.
  I2cBus& ddc(unsigned port) { return ddc_[port]; }
  // The buses that board chips are on.
  I2cBus& i2c(unsigned bus) { return i2c_[bus]; }

  // Gives the MMIO range [base, base + size) to a device. Both are multiples of attach_unit and the
  // range is free; throws std::invalid_argument otherwise. Returns the device.
  Device& attach(uint32_t base, uint32_t size, std::unique_ptr<Device> device);
  static constexpr uint32_t attach_unit = 1024;

  // One access from outside.
  // REQUIRES: decodes(space, offset, width); space is mmio, vram, pci or ioport.
  uint64_t read(Space space, uint64_t offset, unsigned width);
  void write(Space space, uint64_t offset, unsigned width, uint64_t value);
  bool decodes(Space space, uint64_t offset, unsigned width) const;

  // Where a bus address leads; nothing when nobody decodes it.
  struct Location {
    Space space;
    uint64_t offset;
  };
  static std::optional<Location> decode_bus(uint64_t address, unsigned width);

  // One 32-bit word on the bus, at a multiple of 4, with a byte enable for each of its lanes. It
  // becomes the widest accesses that the enables allow; lanes that are not enabled read as 0.
  // False when nobody decodes the address. `as_bridge` records the accesses as the bus's own, not
  // as the space's.
  bool bus_read(uint64_t address, unsigned enables, uint32_t* word, bool as_bridge);
  bool bus_write(uint64_t address, unsigned enables, uint32_t word, bool as_bridge);

  // read() and write() without the trace or a cost in time: for devices that reach into others.
  uint64_t dispatch_read(Space space, uint64_t offset, unsigned width);
  void dispatch_write(Space space, uint64_t offset, unsigned width, uint64_t value);

  // The sink on a DisplayPort output, which its transmitter and the driver both talk to.
  AuxSink* dp_sink(unsigned port) { return dp_sinks_[port]; }
  void set_dp_sink(unsigned port, AuxSink* sink) { dp_sinks_[port] = sink; }

  // The lookup table that the driver loaded into a display controller: red, green, blue.
  using Lut = std::array<std::vector<uint16_t>, 3>;
  Lut& lut(unsigned crtc) { return luts_[crtc]; }

  // For devices with something to keep beyond the board's life: called by save(), and free to be
  // called at any time between two accesses.
  void when_saving(std::function<void()> keep) { savers_.push_back(std::move(keep)); }
  void save() {
    for (const auto& keep : savers_) keep();
  }

  // What others look for on the board by its type, without an address: part() is the one that
  // add_part() made. REQUIRES, of part(): its model stands before in the list of models.
  template <typename Part, typename... Arguments>
  Part& add_part(Arguments&&... arguments) {
    auto part = std::make_shared<Part>(std::forward<Arguments>(arguments)...);
    parts_[typeid(Part)] = part;
    return *part;
  }
  template <typename Part>
  Part& part() {
    return *static_cast<Part*>(parts_.at(typeid(Part)).get());
  }

  // Devices that answer in a space of their own.
  void set_pci(std::unique_ptr<Device> device) { pci_ = std::move(device); }
  void set_ioports(std::unique_ptr<Device> device) { ioports_ = std::move(device); }

 private:
  bool is_off(Space space) const;
  struct Range {
    uint32_t base;
    Device* device;
  };

  // A register that takes another value after some more reads.
  struct Change {
    InitialValue to;
    uint64_t reads_left;
  };

  void count_read(uint64_t offset);

  void record_bus(bool write, unsigned width, uint64_t address, uint64_t value, bool as_bridge);

  const BoardConfig& config_;
  VirtualClock& clock_;
  AccessTrace& trace_;
  FaultPlan& faults_;
  const unsigned card_;
  Memory mmio_{"zvgsim-mmio", mmio_size};
  Memory vram_{"zvgsim-vram", vram_size};
  std::array<I2cBus, hdmi_ports> ddc_;
  std::array<I2cBus, i2c_buses> i2c_;
  std::map<std::type_index, std::shared_ptr<void>> parts_;
  std::vector<std::unique_ptr<Device>> devices_;
  std::array<Range, mmio_size / attach_unit> map_{};
  std::array<AuxSink*, dp_ports> dp_sinks_{};
  std::array<Lut, crtcs> luts_;
  std::unique_ptr<Device> pci_;
  std::unique_ptr<Device> ioports_;
  std::vector<Change> changes_;
  std::vector<std::function<void()>> savers_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_BOARD_H
