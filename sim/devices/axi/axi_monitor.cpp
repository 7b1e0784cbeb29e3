#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "board/board.h"
#include "board/noise.h"
#include "devices/axi/axi_ports.h"
#include "devices/axi/axi_settings.h"
#include "devices/axi/axi_traffic.h"
#include "devices/clocks/clock_settings.h"
#include "hw/blocks/axi_monitor_rq301.h"
#include "hw/blocks/axi_monitor_rq302.h"

namespace zvgsim {

namespace {

uint32_t saturated(uint64_t value, uint64_t most) {
  return static_cast<uint32_t>(std::min(value, most));
}
uint32_t word(uint64_t value) {
  return saturated(value, 0xFFFFFFFF);
}
uint32_t halves(uint64_t high, uint64_t low) {
  return saturated(high, 0xFFFF) << 16 | saturated(low, 0xFFFF);
}
// A count of up to 24 bits above one of eight.
uint32_t above_byte(uint64_t high, uint64_t most, uint64_t low) {
  return saturated(high, most) << 8 | saturated(low, 0xFF);
}
uint32_t extremes(const AxiTraffic& t) {
  return saturated(t.latency_max, 0xFF) << 24 | saturated(t.latency_min, 0xFF) << 16 |
         saturated(t.outstanding_max, 0xFF) << 8 | saturated(t.outstanding_min, 0xFF);
}

using Words = std::vector<uint32_t>;

void append(Words* words, std::initializer_list<uint32_t> more) {
  for (const uint32_t value : more) words->push_back(value);
}

// The counters of a port in the order of their registers.
struct Counts {
  AxiTraffic write;
  AxiTraffic read;
  uint64_t active() const { return std::max(write.active, read.active); }
};

void append_rq302_writes(Words* words, const AxiTraffic& t) {
  append(words, {word(t.latency), word(t.transactions), word(t.bytes), word(t.outstanding),
                 word(t.full_beats), word(t.partial_beats), word(t.bursts), word(t.singles),
                 word(t.bandwidth_max), halves(t.latency_max, t.latency_min),
                 halves(t.outstanding_max, t.outstanding_min), word(t.data_cycles)});
}

void append_rq302_reads(Words* words, const AxiTraffic& t) {
  append(words,
         {word(t.latency), word(t.transactions), word(t.data_cycles), word(t.outstanding),
          word(t.bursts), word(t.singles), word(t.bandwidth_max),
          halves(t.latency_max, t.latency_min), halves(t.outstanding_max, t.outstanding_min)});
}

Words rq302_words(AxiMonitorType type, const Counts& counts) {
  const AxiTraffic& write = counts.write;
  const AxiTraffic& read = counts.read;
  Words words;
  if (type == AxiMonitorType::reads) {
    append(&words, {word(read.active), word(read.transactions)});
    append_rq302_reads(&words, read);
    return words;
  }
  if (type == AxiMonitorType::both) append(&words, {word(counts.active())});
  append(&words, {word(write.active), word(read.active), word(write.transactions),
                  word(read.transactions)});
  append_rq302_writes(&words, write);
  append_rq302_reads(&words, read);
  return words;
}

void append_rq301_reads(Words* words, const AxiTraffic& t) {
  append(words, {word(t.latency), word(t.transactions), word(t.data_cycles),
                 above_byte(t.outstanding, 0xFFFF, t.transactions), halves(t.bursts, t.singles),
                 word(t.bandwidth_max), extremes(t)});
}

// Monitors of writes have the registers of those of both directions, without the ones of reads.
Words rq301_words(AxiMonitorType type, const Counts& counts) {
  const AxiTraffic& write = counts.write;
  const AxiTraffic& read = counts.read;
  Words words;
  if (type == AxiMonitorType::reads) {
    append(&words, {word(read.active)});
    append_rq301_reads(&words, read);
    return words;
  }
  const bool both = type == AxiMonitorType::both;
  append(&words, {both ? word(counts.active()) : 0, both ? word(read.active) : 0,
                  word(write.active), word(write.latency), word(write.transactions),
                  word(write.bytes), above_byte(write.outstanding, 0xFFFFFF, write.transactions),
                  above_byte(write.full_beats, 0xFFFF, write.partial_beats),
                  halves(write.bursts, write.singles), extremes(write), word(write.bandwidth_max)});
  if (both) append_rq301_reads(&words, read);
  return words;
}

// A control, a measuring period, flags and 22 ports on RQ302; bare counters of 28 ports on the
// others, which always run.
//
// The counters of a port hold what its traffic came to in the last whole period. On RQ302 a period
// that ends sets the port's data-update flag, which the next read of the flags clears. A control of
// 0 stops the monitors; writing the control or the period begins a period anew.
class AxiMonitor : public Device {
 public:
  AxiMonitor(Board& board, uint32_t base)
      : board_(board),
        settings_(board.config().of<AxiSettings>()),
        megahertz_(std::max<uint64_t>(board.config().of<ClockSettings>().axi, 1)),
        base_(base) {
    for (const AxiPort& port : axi_ports(board.generation())) {
      AxiPortSettings settings;
      settings.load = port.load;
      for (const AxiPortSettings& one : settings_.ports) {
        if (one.name == port.name) settings = one;
      }
      ports_.push_back({port, settings});
    }
    store(control_register, running_control);
    store(period_register, settings_.period_cycles);
    // Monitors that always run have done so before anybody looks.
    if (!is_rq302()) last_period_ = 1;
    begin_period();
  }

  uint64_t read(uint64_t offset, unsigned width) override {
    uint64_t value = 0;
    for (unsigned done = 0; done < width;) {
      const auto at = static_cast<uint32_t>(offset + done);
      const unsigned lane = at % 4;
      const unsigned size = std::min(width - done, 4 - lane);
      const uint64_t mask = (uint64_t{1} << (8 * size)) - 1;
      value |= (read_word(at - lane) >> (8 * lane) & mask) << (8 * done);
      done += size;
    }
    return value;
  }

  void write(uint64_t offset, unsigned width, uint64_t value) override {
    board_.mmio_storage().write(base_ + offset, width, value);
    const auto touches = [&](uint32_t reg) { return offset < reg + 4 && offset + width > reg; };
    if (is_rq302() && (touches(control_register) || touches(period_register))) begin_period();
  }

 private:
  // RQ302, from the block's base on.
  static constexpr uint32_t control_register = hw::axi_rq302::control;
  static constexpr uint32_t timeout_register = hw::axi_rq302::timeout_flags;
  static constexpr uint32_t period_register = hw::axi_rq302::period;
  static constexpr uint32_t update_register = hw::axi_rq302::data_update_flags;
  static constexpr uint32_t running_control = 20;

  struct Port {
    AxiPort port;
    AxiPortSettings settings;
  };

  bool is_rq302() const { return hw::chip_of(board_.generation()).rq302_axi_control.count != 0; }
  uint32_t stored(uint32_t offset) {
    return static_cast<uint32_t>(board_.mmio_storage().read(base_ + offset, 4));
  }
  void store(uint32_t offset, uint32_t value) {
    if (is_rq302()) board_.mmio_storage().write(base_ + offset, 4, value);
  }

  uint64_t period_cycles() {
    return std::max<uint64_t>(is_rq302() ? stored(period_register) : settings_.period_cycles, 1);
  }

  void begin_period() {
    period_start_ = board_.clock().now();
    first_period_ = last_period_;
  }

  // Looks whether periods have ended since the last access.
  void catch_up() {
    if (is_rq302() && stored(control_register) == 0) return;
    const uint64_t cycles = (board_.clock().now() - period_start_) * megahertz_ / 1000;
    const uint64_t period = first_period_ + cycles / period_cycles();
    if (period == last_period_) return;
    last_period_ = period;
    for (size_t i = 0; i < ports_.size(); ++i) {
      const uint32_t bit = uint32_t{1} << i % 32;
      const AxiPortSettings& settings = ports_[i].settings;
      if (settings.data_update) updates_ |= bit;
      const bool late = settings.timeout_every != 0 && period % settings.timeout_every == 0;
      timeouts_ = late ? timeouts_ | bit : timeouts_ & ~bit;
    }
    counters_.clear();
  }

  uint32_t read_word(uint32_t offset) {
    catch_up();
    if (is_rq302() && offset == timeout_register) return timeouts_;
    if (is_rq302() && offset == update_register) return std::exchange(updates_, 0);
    if (last_period_ == 0) return stored(offset);
    if (counters_.empty()) count();
    const auto counter = counters_.find(base_ + offset);
    return counter == counters_.end() ? stored(offset) : counter->second;
  }

  // Fills the counters in with the traffic of the last period.
  void count() {
    const uint64_t seed = settings_.seed;
    for (unsigned i = 0; i < ports_.size(); ++i) {
      const auto& [port, settings] = ports_[i];
      const auto traffic = [&, &load = settings.load](AxiDirection direction) {
        return axi_traffic(load, direction, seed, i, last_period_, period_cycles());
      };
      const Counts counts = {traffic(AxiDirection::write), traffic(AxiDirection::read)};
      const Words words =
          is_rq302() ? rq302_words(port.type, counts) : rq301_words(port.type, counts);
      for (size_t n = 0; n < words.size(); ++n) {
        counters_[port.counters + static_cast<uint32_t>(4 * n)] = words[n];
      }
      if (port.slots != 0) {
        // What the port last asked for: somewhere in video memory.
        const auto address = [&](uint64_t which) {
          return static_cast<uint32_t>(noise({seed, i, last_period_, which}) * vram_size) & ~63u;
        };
        counters_[port.slots + hw::axi_rq302::write_slot] = address(8);
        counters_[port.slots + hw::axi_rq302::read_slot] = address(9);
        counters_[port.slots + hw::axi_rq302::slot_high_bytes] = 0x8080;
      }
    }
  }

  Board& board_;
  const AxiSettings& settings_;
  const uint64_t megahertz_;  // of the bus
  const uint32_t base_;
  std::vector<Port> ports_;
  uint64_t period_start_ = 0;  // ns
  uint64_t first_period_ = 0;  // how many had ended then
  uint64_t last_period_ = 0;   // how many have ended
  uint32_t timeouts_ = 0;
  uint32_t updates_ = 0;
  std::map<uint32_t, uint32_t> counters_;  // by register; empty until they are asked for
};

void place(Board& board) {
  const hw::Bases& shared = hw::chip_of(board.generation()).rq302_axi_control;
  const bool packed = shared.count == 0;
  const uint32_t base = packed ? hw::axi_rq301::monitors_base : shared.first;
  const uint32_t size = packed ? hw::axi_rq301::monitors_size : hw::axi_rq302::control_size;
  board.attach(base, size, std::make_unique<AxiMonitor>(board, base));
}

}  // namespace

Model axi_model() {
  return {.read = read_axi, .place = place};
}

}  // namespace zvgsim
