#include "devices/axi/axi_traffic.h"

#include <algorithm>
#include <cmath>

#include "board/noise.h"

namespace zvgsim {

namespace {

constexpr double bytes_a_beat = 32;
constexpr double beats_a_burst = 8;
constexpr double quickest = 24;  // cycles, of a transaction on an idle bus
constexpr uint64_t bandwidth_window = 1024;

// A burst of traffic goes on for some periods, then the port rests.
constexpr uint64_t burst_periods = 40;

// The part of the period's cycles in which data moves.
double utilisation(AxiLoad load, uint64_t seed, uint64_t stream, uint64_t period) {
  const double wobble = noise({seed, stream, period});
  switch (load) {
    case AxiLoad::idle:
      // A refresh or a cursor now and then.
      return wobble < 0.2 ? 0.0005 * wobble : 0;
    case AxiLoad::saturated:
      return 0.93 + 0.05 * wobble;
    case AxiLoad::bursty:
      break;
  }
  const double activity = noise({seed, stream, period / burst_periods, 1});
  return activity < 0.55 ? 0.02 + 0.03 * wobble : activity * (0.6 + 0.25 * wobble);
}

uint64_t whole(double value) {
  return static_cast<uint64_t>(std::llround(value));
}

}  // namespace

AxiTraffic axi_traffic(AxiLoad load, AxiDirection direction, uint64_t seed, unsigned port,
                       uint64_t period, uint64_t period_cycles) {
  const uint64_t stream = 2 * uint64_t{port} + (direction == AxiDirection::read ? 1 : 0);
  const double use = utilisation(load, seed, stream, period);
  AxiTraffic traffic;
  const double beats = use * static_cast<double>(period_cycles);
  const double singles_share = 0.05 + 0.1 * noise({seed, stream, period, 2});
  const double transactions = beats / (beats_a_burst * (1 - singles_share) + singles_share);
  if (transactions < 1) return traffic;

  const double cycles = static_cast<double>(period_cycles);
  traffic.transactions = whole(transactions);
  traffic.singles = whole(transactions * singles_share);
  traffic.bursts = traffic.transactions - traffic.singles;
  traffic.data_cycles = whole(beats);
  traffic.partial_beats = whole(beats * 0.02 * noise({seed, stream, period, 3}));
  traffic.full_beats = traffic.data_cycles - traffic.partial_beats;
  traffic.bytes = whole(static_cast<double>(traffic.full_beats) * bytes_a_beat +
                        static_cast<double>(traffic.partial_beats) * bytes_a_beat / 2);
  // Queues grow without bound as the bus fills up; the port's own depth ends that.
  const double mean_latency = std::min(quickest * (1 + 0.5 * use / (1.02 - use)), 700.0);
  traffic.latency = whole(transactions * mean_latency);
  traffic.latency_min = whole(quickest * (0.9 + 0.1 * noise({seed, stream, period, 4})));
  traffic.latency_max =
      whole(mean_latency * (1.6 + 2.4 * noise({seed, stream, period, 5})) + quickest);
  traffic.outstanding = traffic.latency;
  const double mean_outstanding = static_cast<double>(traffic.latency) / cycles;
  traffic.outstanding_max = std::clamp<uint64_t>(
      whole(mean_outstanding * 1.5 + 6 * noise({seed, stream, period, 6})), 1, 64);
  traffic.outstanding_min = load == AxiLoad::saturated ? traffic.outstanding_max / 4 : 0;
  traffic.active = std::min(whole(beats * 1.04 + mean_latency), period_cycles);
  const double peak = std::min(1.0, use * (1.05 + 0.5 * noise({seed, stream, period, 7})));
  traffic.bandwidth_max = whole(peak * bandwidth_window * bytes_a_beat);
  return traffic;
}

}  // namespace zvgsim
