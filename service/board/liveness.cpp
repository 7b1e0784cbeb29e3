#include "service/board/liveness.h"

#include <util_zvg.h>

#include <algorithm>

#include "core/access_failures.h"
#include "hw/bus.h"
#include "hw/generations.h"
#include "service/seam/output.h"

namespace zvg {

namespace {

// Every generation has something there: RQ302 its system control, all the last two.
constexpr uint32_t asked_registers[] = {hw::rq302_chip.system_control.first,
                                        hw::common::i2c_masters.first,
                                        hw::common::hdmi_transmitters.first};

constexpr uint64_t ones(unsigned width) {
  return width >= 8 ? UINT64_MAX : (uint64_t{1} << (8 * width)) - 1;
}

// An access that failed here is not what the caller attempted.
class UncountedFailures {
 public:
  UncountedFailures() = default;
  ~UncountedFailures() { core::g_access_failures = before_; }
  UncountedFailures(const UncountedFailures&) = delete;
  UncountedFailures& operator=(const UncountedFailures&) = delete;

  bool any() const { return core::g_access_failures.count != before_.count; }

 private:
  const core::AccessFailures before_ = core::g_access_failures;
};

bool reads_ones(Door door, uint32_t offset) {
  const UncountedFailures failures;
  const seam::Redirection quiet([](seam::Stream, std::string_view) {});
  uint32_t value = 0;
  const int result = door == Door::serial ? zvgUartReadLong(hw::bus_mmio_base + offset, &value)
                                          : zvgRegReadLong(offset, &value);
  return result == 0 && !failures.any() && value == ones(4);
}

}  // namespace

void Liveness::look_at(uint64_t value, unsigned width) {
  seen_ = (value & ones(width)) != ones(width);
  if (!seen_ && !asked_) ask();
}

void Liveness::ask() {
  asked_ = true;
  const bool dead = std::all_of(std::begin(asked_registers), std::end(asked_registers),
                                [&](uint32_t offset) { return reads_ones(door_, offset); });
  seen_ = !dead;
  dead_ = dead;
  if (dead && policy_ == DeadBoard::refused) throw *this->dead();
}

std::optional<Error> Liveness::dead() const {
  if (!dead_) return std::nullopt;
  Error error(ErrorKind::dead_board,
              format("the board reads as ones everywhere (0x%x, 0x%x and 0x%x): it is off the bus, "
                     "powered down, or not where it was looked for",
                     asked_registers[0], asked_registers[1], asked_registers[2]));
  error.door = door_;
  error.address = asked_registers[0];
  return error;
}

}  // namespace zvg
