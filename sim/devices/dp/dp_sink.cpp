#include "devices/dp/dp_sink.h"

#include <algorithm>
#include <memory>

#include "devices/monitor/monitor.h"
#include "hw/blocks/dpcd.h"

namespace zvgsim {

namespace {

using namespace hw::dpcd;

constexpr uint8_t one_sink = 1;

constexpr uint64_t clock_recovery_time = microseconds(100);
constexpr uint64_t shortest_equalisation = microseconds(400);
constexpr uint64_t equalisation_unit = milliseconds(4);

// Codes of rates that there are, in units of 270 Mbit/s.
constexpr uint32_t rates[] = {0x06, 0x09, 0x0A, 0x0C, 0x14, 0x1E};

bool is_rate(uint32_t code) {
  return std::find(std::begin(rates), std::end(rates), code) != std::end(rates);
}

// One step further than what is there, and no step when that is enough.
unsigned wanted(unsigned now, unsigned needed) {
  return std::min(now < needed ? now + 1 : now, unsigned{highest_level});
}

}  // namespace

DpSink::DpSink(Board& board, unsigned port)
    : board_(board),
      settings_(board.config().of<DpSettings>().port[port]),
      faults_(board.faults().of<DpFaults>().port[port]) {
  dpcd_ = {{revision, settings_.revision},
           {max_link_rate, settings_.rate},
           {max_lane_count, static_cast<uint8_t>(settings_.lanes | enhanced_framing)},
           {max_downspread, 0x01},
           {main_link_coding, 0x01},
           {training_interval, settings_.aux_interval},
           {sink_count, one_sink},
           {set_power, powered}};
  if (settings_.panel) {
    dpcd_[edp_revision] = 0x03;  // 1.4
    dpcd_[edp_general_capability_1] = self_test_capable;
  }
  if (!settings_.edid.empty()) bus_.attach(std::make_unique<Monitor>(settings_.edid));
}

// Requests --------------------------------------------------------------------------------------

std::optional<AuxReply> DpSink::request(AuxRequest request, bool open, uint32_t address,
                                        const uint8_t* data, unsigned length) {
  if (!settings_.sink || faults_.no_reply) return std::nullopt;
  const bool read = request == AuxRequest::native_read || request == AuxRequest::i2c_read;
  const bool is_native = request == AuxRequest::native_read || request == AuxRequest::native_write;
  uint32_t& defers = is_native ? faults_.defers : faults_.i2c_defers;
  AuxReply reply;
  if (defers != 0) {
    if (defers != DpPortFaults::always) --defers;
    reply.code = is_native ? AuxCode::deferred : AuxCode::i2c_deferred;
    return reply;
  }
  if (faults_.nack) {
    reply.code = AuxCode::refused;
    return reply;
  }
  reply = is_native ? native(read, address, data, length)
                    : i2c(read, open, static_cast<uint8_t>(address & 0x7F), data, length);
  if (read) reply.count -= std::min(reply.count, faults_.short_by);
  return reply;
}

AuxReply DpSink::native(bool read, uint32_t address, const uint8_t* data, unsigned length) {
  AuxReply reply;
  for (unsigned i = 0; i < length; ++i) {
    if (read) {
      reply.data[reply.count++] = dpcd_read(address + i);
    } else {
      dpcd_write(address + i, data[i]);
    }
  }
  return reply;
}

AuxReply DpSink::i2c(bool read, bool open, uint8_t address, const uint8_t* data, unsigned length) {
  AuxReply reply;
  // A new direction or address within a transaction is a repeated start.
  const bool starts = !i2c_open_ || i2c_reading_ != read || i2c_address_ != address;
  bool acknowledged = !starts || bus_.start(address, read);
  for (unsigned i = 0; acknowledged && i < length; ++i) {
    if (read) {
      reply.data[reply.count++] = bus_.read();
    } else {
      acknowledged = bus_.write(data[i]);
    }
  }
  i2c_open_ = open && acknowledged;
  i2c_reading_ = read;
  i2c_address_ = address;
  if (!i2c_open_) bus_.stop();
  if (!acknowledged) reply.code = AuxCode::i2c_refused;
  return reply;
}

// DPCD ------------------------------------------------------------------------------------------

uint8_t DpSink::dpcd_read(uint32_t address) {
  settle();
  switch (address) {
    case lane_status_0_1:
      return static_cast<uint8_t>(lane_status(0) | lane_status(1) << 4);
    case lane_status_2_3:
      return static_cast<uint8_t>(lane_status(2) | lane_status(3) << 4);
    case align_status:
    case sink_status:  // in sync when aligned
      return aligned();
    case adjust_request_0_1:
      return static_cast<uint8_t>(lane_request(0) | lane_request(1) << 4);
    case adjust_request_2_3:
      return static_cast<uint8_t>(lane_request(2) | lane_request(3) << 4);
    default: {
      const auto found = dpcd_.find(address);
      return found != dpcd_.end() ? found->second : 0;
    }
  }
}

void DpSink::dpcd_write(uint32_t address, uint8_t value) {
  if (address <= last_capability || (address >= sink_count && address <= last_status) ||
      address == edp_revision || address == edp_general_capability_1) {
    return;  // read-only
  }
  settle();
  dpcd_[address] = value;
  if (address == training_pattern_set) pattern_since_ = board_.clock().now();
}

// Receiver --------------------------------------------------------------------------------------

void DpSink::receive(const DpLink& link) {
  settle();
  if (link.pattern != link_.pattern) pattern_since_ = board_.clock().now();
  link_ = link;
  settle();
}

// A link that runs at the rate and on the lanes that the sink was told, if it can do that.
bool DpSink::receives() const {
  const auto set = [this](uint32_t address) {
    const auto found = dpcd_.find(address);
    return found != dpcd_.end() ? found->second : 0u;
  };
  return settings_.sink && link_.running && is_rate(link_.rate) && link_.rate <= settings_.rate &&
         link_.rate == set(link_rate_set) && lanes_in_use() != 0 &&
         lanes_in_use() <= settings_.lanes && link_.lanes >= lanes_in_use();
}

unsigned DpSink::lanes_in_use() const {
  const auto found = dpcd_.find(lane_count_set);
  return std::min(found != dpcd_.end() ? found->second & 0x1Fu : 0u, dp_lanes);
}

bool DpSink::reached(unsigned lane) const {
  const DpLevels& drive = link_.drive[lane];
  const DpLevels& need = settings_.channel[lane];
  return drive.swing >= need.swing && drive.preemphasis >= need.preemphasis;
}

// Lets the lanes get as far as what they have been receiving allows.
void DpSink::settle() {
  if (!receives()) {
    lanes_ = {};
    return;
  }
  const auto set = dpcd_.find(training_pattern_set);
  const uint32_t told = set != dpcd_.end() ? set->second & 0x3u : 0u;
  const uint64_t elapsed = board_.clock().now() - pattern_since_;
  const uint64_t equalisation = settings_.aux_interval == 0
                                    ? shortest_equalisation
                                    : settings_.aux_interval * equalisation_unit;
  for (unsigned lane = 0; lane < dp_lanes; ++lane) {
    Lane& state = lanes_[lane];
    if (lane >= lanes_in_use() || !reached(lane)) {
      state = {};
    } else if (link_.pattern != told || told == 0) {
      continue;  // what was trained lasts
    } else if (told == 1) {
      state.equalised = false;
      state.clock = state.clock || elapsed >= clock_recovery_time;
    } else if (elapsed >= equalisation && !faults_.never_equalises) {
      state.equalised = state.clock;
    }
  }
}

bool DpSink::aligned() const {
  const unsigned used = lanes_in_use();
  return used != 0 && std::all_of(lanes_.begin(), lanes_.begin() + used,
                                  [](const Lane& lane) { return lane.equalised; });
}

// Clock recovery, equalisation, symbol lock.
uint8_t DpSink::lane_status(unsigned lane) const {
  const Lane& state = lanes_[lane];
  return static_cast<uint8_t>(state.clock | (state.equalised ? 0x6 : 0));
}

uint8_t DpSink::lane_request(unsigned lane) const {
  const DpLevels& drive = link_.drive[lane];
  const DpLevels& need = settings_.channel[lane];
  return static_cast<uint8_t>(wanted(drive.swing, need.swing) |
                              wanted(drive.preemphasis, need.preemphasis) << 2);
}

}  // namespace zvgsim
