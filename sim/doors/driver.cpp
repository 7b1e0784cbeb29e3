#include "doors/driver.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <mutex>

#include "devices/clocks/clock_settings.h"
#include "devices/fan/fan.h"
#include "devices/monitor/edid_file.h"
#include "devices/monitor/monitor.h"
#include "devices/sensors/pvt_sensors.h"
#include "hw/bus.h"
#include "hw/driver_requests.h"

namespace zvgsim {

namespace {

using namespace hw::driver;
using hw::bar_mmio;
using hw::bar_vram;

// One request, from its number to its errno.
class Handler {
 public:
  Handler(Machine& machine, CallerMemory& caller) : machine_(machine), caller_(caller) {}
  int answer(unsigned long request, void* record);
  static bool knows(unsigned long request) { return row_of(request) != nullptr; }

 private:
  // Each answers one request on its record and returns 0 or an errno.
  int answer(RegisterRecord& record);
  int answer(DdcRecord& record);
  int answer(VersionRecord& record);
  int answer(PciRecord& record);
  int answer(InfoRecord& record);
  int answer(KmemRecord& record);
  int answer(I2cRecord& record);
  static int32_t transfer(I2cBus& bus, I2cRecord& record);
  int answer(QueryRecord& record);
  int answer(CommandRecord& record);
  int answer(IoportRecord& record);
  int answer(AuxRecord& record);
  int answer(LutRecord& record);
  int answer(PowerRecord& record);
  int answer(FanRateRecord& record);
  int answer(TemperatureRecord& record);
  int answer_generic(unsigned number, const void* record);

  // Runs the answer on a copy of the record.
  template <typename Record>
  static int on(Handler& handler, unsigned long, void* bytes) {
    Record record;
    memcpy(&record, bytes, sizeof record);
    const int error = handler.answer(record);
    if (error == 0) memcpy(bytes, &record, sizeof record);
    return error;
  }
  static int on_generic(Handler& handler, unsigned long request, void* record) {
    return handler.answer_generic(_IOC_NR(request), record);
  }
  static int on_fan_automatic(Handler& handler, unsigned long, void*);

  struct Row {
    unsigned long request;
    int (*answer)(Handler& handler, unsigned long request, void* record);
  };
  static const Row rows[];
  static const Row* row_of(unsigned long request);

  // A quantity as the driver counts it now.
  uint32_t whole(const Signal& signal, double maximum) const {
    const double now = std::round(signal.at(machine_.clock().now()));
    return static_cast<uint32_t>(std::clamp(now, 0.0, maximum));
  }

  bool has_card(uint32_t card) const { return card < machine_.cards(); }

  Machine& machine_;
  CallerMemory& caller_;
};

constexpr bool is_width(uint32_t width) {
  return width == 1 || width == 2 || width == 4 || width == 8;
}

const Handler::Row Handler::rows[] = {
    {request_register, on<RegisterRecord>},
    {request_ddc, on<DdcRecord>},
    {request_version, on<VersionRecord>},
    {request_pci, on<PciRecord>},
    {request_info, on<InfoRecord>},
    {request_kmem, on<KmemRecord>},
    {request_3d, on_generic},
    {request_2d, on_generic},
    {request_dac, on_generic},
    {request_hdmi, on_generic},
    {request_dvo, on_generic},
    {request_aux, on<AuxRecord>},
    {request_spi, on_generic},
    {request_i2c, on<I2cRecord>},
    {request_query, on<QueryRecord>},
    {request_command, on<CommandRecord>},
    {request_ioport, on<IoportRecord>},
    {request_lut, on<LutRecord>},
    {request_power, on<PowerRecord>},
    {request_fan_rate, on<FanRateRecord>},
    {request_clear_fan, on_fan_automatic},
    {request_temperature, on<TemperatureRecord>},
};

const Handler::Row* Handler::row_of(unsigned long request) {
  const auto row = std::find_if(std::begin(rows), std::end(rows),
                                [&](const Row& known) { return known.request == request; });
  return row == std::end(rows) ? nullptr : row;
}

int Handler::answer(unsigned long request, void* record) {
  const Row* const row = row_of(request);
  return row == nullptr ? ENOTTY : row->answer(*this, request, record);
}

int Handler::answer(RegisterRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.bar != bar_mmio && record.bar != bar_vram) return EINVAL;
  if (!is_width(record.width)) return EINVAL;
  const Space space = record.bar == bar_mmio ? Space::mmio : Space::vram;
  Board& board = machine_.card(record.card);
  if (!board.decodes(space, record.offset, record.width)) return EINVAL;
  switch (record.op) {
    case op_read:
      record.value = board.read(space, record.offset, record.width);
      return 0;
    case op_write:
      board.write(space, record.offset, record.width, record.value);
      return 0;
    default:
      return EINVAL;
  }
}

// The EDID on a DDC channel. The first channels are the HDMI ports; nothing is wired to the others.
int Handler::answer(DdcRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.channel >= ddc_channels) return EINVAL;
  memset(record.data, 0, sizeof record.data);
  record.count = 0;
  if (record.channel >= hdmi_ports) {
    record.result = i2c_no_channel;
    return 0;
  }
  constexpr size_t extension_count_at = 126;
  I2cBus& bus = machine_.card(record.card).ddc(record.channel);
  size_t size = edid_block_size;
  for (size_t i = 0; i < size; ++i) {
    const bool selected = (i < 256 || (bus.start(Monitor::segment_address, false) &&
                                       bus.write(static_cast<uint8_t>(i >> 8)))) &&
                          bus.start(Monitor::rom_address, false);
    const bool answered =
        selected && bus.write(static_cast<uint8_t>(i)) && bus.start(Monitor::rom_address, true);
    if (answered) record.data[i] = bus.read();
    bus.stop();
    if (!answered) {
      record.result = selected ? i2c_no_acknowledge : i2c_no_device;
      return 0;
    }
    if (i == extension_count_at) {
      size = std::min(sizeof record.data, edid_block_size * (size_t{record.data[i]} + 1));
    }
  }
  record.result = i2c_succeeded;
  record.count = static_cast<uint32_t>(size);
  return 0;
}

int Handler::answer(VersionRecord& record) {
  std::copy_n(machine_.config().kernel_version.begin(), 4, record.number);
  return 0;
}

int Handler::answer(PciRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  Board& board = machine_.card(record.card);
  if (!board.decodes(Space::pci, record.offset, 4)) return EINVAL;
  switch (record.op) {
    case op_read:
      record.value = static_cast<uint32_t>(board.read(Space::pci, record.offset, 4));
      return 0;
    case op_write:
      board.write(Space::pci, record.offset, 4, record.value);
      return 0;
    default:
      return EINVAL;
  }
}

int Handler::answer(InfoRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  const auto& memory = machine_.config().memory;
  const double all = memory.used.value + memory.free;
  record.used = whole(memory.used, all);
  record.reserved = 0;
  record.free = static_cast<uint32_t>(all) - record.used;
  return 0;
}

int Handler::answer(KmemRecord& record) {
  if (!is_width(record.width)) return EINVAL;
  switch (record.op) {
    case op_read:
      return machine_.kmem_read(record.address, record.width, &record.value) ? 0 : EFAULT;
    case op_write:
      return machine_.kmem_write(record.address, record.width, record.value) ? 0 : EFAULT;
    default:
      return EINVAL;
  }
}

// The meaning of the arguments is the handler's own; none of them changes the board.
int Handler::answer_generic(unsigned number, const void* record) {
  GenericRecord generic;
  memcpy(&generic, record, sizeof generic);
  char note[128];
  snprintf(note, sizeof note, "request 0x%02x: 0x%x 0x%x 0x%x 0x%x 0x%llx", number, generic.arg[0],
           generic.arg[1], generic.arg[2], generic.arg[3],
           static_cast<unsigned long long>(generic.value));
  machine_.trace().note(note);
  return 0;
}

// No chips on the card's buses yet.
int Handler::answer(I2cRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.op > op_write || record.length > sizeof record.data) {
    record.result = i2c_bad_argument;
  } else if (record.bus >= i2c_buses) {
    record.result = i2c_no_channel;
  } else {
    I2cBus& bus = machine_.card(record.card).i2c(record.bus);
    record.result = transfer(bus, record);
    bus.stop();
  }
  return 0;
}

// One transfer, up to the stop. Every byte's acknowledge counts.
int32_t Handler::transfer(I2cBus& bus, I2cRecord& record) {
  const auto address = static_cast<uint8_t>(record.device & 0x7F);
  if (!bus.start(address, false)) return i2c_no_device;
  if (!bus.write(static_cast<uint8_t>(record.reg))) return i2c_no_acknowledge;
  if (record.op == op_read && !bus.start(address, true)) return i2c_no_acknowledge;
  for (uint32_t i = 0; i < record.length; ++i) {
    if (record.op == op_read) {
      record.data[i] = bus.read();
    } else if (!bus.write(record.data[i])) {
      return i2c_no_acknowledge;
    }
  }
  return i2c_succeeded;
}

int Handler::answer(QueryRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  const BoardConfig& config = machine_.config();
  const auto& clocks = config.of<ClockSettings>();
  const uint8_t argument = record.data[0];
  memset(record.data, 0, sizeof record.data);
  const auto number = [&](uint32_t value) {
    memcpy(record.data, &value, sizeof value);
    return 0;
  };
  const auto text = [&](const std::string& value) {
    memcpy(record.data, value.data(), std::min(value.size(), sizeof record.data - 1));
    return 0;
  };
  constexpr uint32_t no_such_engine = UINT32_MAX;  // -1
  switch (record.key) {
    case query_device_id:
      return number(device_id(config.generation));
    case query_axi_clock:
      return number(clocks.axi);
    case query_vpu_clock:
      return number(clocks.vpu);
    case query_3d_clock:
      return number(clocks.core_3d);
    case query_2d_clock:
      return number(clocks.core_2d);
    case query_ddr_clock:
      return number(clocks.ddr);
    case query_3d_cores:
      return number(config.cores.core_3d);
    case query_2d_cores:
      return number(config.cores.core_2d);
    case query_cards:
      return number(config.cards);
    case query_gop_version:
      return text(config.gop_version);
    case query_memory_channels:
      return number(config.memory.channels);
    case query_engine_load:
      if (argument >= config.engine_load.size() || config.engine_load[argument].value < 0) {
        return number(no_such_engine);
      }
      return number(whole(config.engine_load[argument], 100));
    case query_firmware_version:
      return text(config.firmware_version);
    default:
      return EINVAL;
  }
}

int Handler::answer(CommandRecord& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.command < pvt_types) {
    const uint32_t sensor = record.argument[0];
    if (sensor >= pvt_sensors) return EINVAL;
    record.result[0] = pvt_code(machine_.config().of<SensorSettings>(), record.command, sensor,
                                machine_.clock().now());
    return 0;
  }
  if (record.command != command_dump_free_vram) return EINVAL;
  // The driver prints into the kernel's log; here that is the trace.
  char note[96];
  snprintf(note, sizeof note, "card %u: free vram node: 0x%llx bytes at 0x%llx", record.card,
           static_cast<unsigned long long>(machine_.config().memory.free) << 20,
           static_cast<unsigned long long>(machine_.config().memory.used.value) << 20);
  machine_.trace().note(note);
  memset(record.result, 0, sizeof record.result);
  return 0;
}

// The host has its I/O ports once: they lead to the first card.
int Handler::answer(IoportRecord& record) {
  Board& board = machine_.card(0);
  switch (record.op) {
    case op_read:
      record.value = static_cast<uint8_t>(board.read(Space::ioport, record.port, 1));
      return 0;
    case op_write:
      board.write(Space::ioport, record.port, 1, record.value);
      return 0;
    default:
      return EINVAL;
  }
}

// The driver drives the AUX channel itself: it repeats what is deferred, for a while. A record that
// is no transfer is a generic operation.
int Handler::answer(AuxRecord& record) {
  if (record.reserved != 0 || record.port >= dp_ports || record.operation > AuxRecord::fetch_edid) {
    return answer_generic(_IOC_NR(request_aux), &record);
  }
  constexpr int attempts = 10;
  AuxSink* const sink = machine_.card(0).dp_sink(record.port);
  const auto transfer = [&](AuxRequest request, bool open, uint32_t address, uint8_t* data,
                            unsigned length) {
    for (int i = 0; i < attempts; ++i) {
      const auto reply = sink->request(request, open, address, data, length);
      if (!reply) return ETIMEDOUT;
      if (reply->code == AuxCode::deferred || reply->code == AuxCode::i2c_deferred) continue;
      if (reply->code != AuxCode::acknowledged) return EIO;
      std::copy_n(reply->data.begin(), reply->count, data);
      return 0;
    }
    return ETIMEDOUT;
  };
  if (record.operation == AuxRecord::write) {
    if (record.length == 0 || record.length > AuxReply::max_bytes) return EINVAL;
    return transfer(AuxRequest::native_write, false, record.address, record.data, record.length);
  }
  if (record.operation == AuxRecord::read) {
    if (record.length > AuxReply::max_bytes) return EINVAL;
    memset(record.data, 0, sizeof record.data);
    if (record.length == 0) return 0;
    return transfer(AuxRequest::native_read, false, record.address, record.data, record.length);
  }
  memset(record.data, 0, sizeof record.data);
  constexpr size_t extension_count_at = 126;
  size_t size = edid_block_size;
  for (size_t at = 0; at < size; at += AuxReply::max_bytes) {
    uint8_t segment = static_cast<uint8_t>(at >> 8);
    uint8_t offset = static_cast<uint8_t>(at);
    int error = 0;
    if (segment != 0) {
      error = transfer(AuxRequest::i2c_write, true, Monitor::segment_address, &segment, 1);
    }
    if (error == 0) error = transfer(AuxRequest::i2c_write, true, Monitor::rom_address, &offset, 1);
    if (error == 0) {
      error = transfer(AuxRequest::i2c_read, false, Monitor::rom_address, record.data + at,
                       AuxReply::max_bytes);
    }
    if (error != 0) return error;
    if (at <= extension_count_at && extension_count_at < at + AuxReply::max_bytes) {
      size = std::min(sizeof record.data,
                      edid_block_size * (size_t{record.data[extension_count_at]} + 1));
    }
  }
  record.length = static_cast<uint32_t>(size);
  return 0;
}

constexpr uint32_t lut_entries = 256;

bool is_loadable(const LutRecord& record) {
  return record.crtc < crtcs && record.size == lut_entries;
}

// The tables are in the caller's memory: red, green, blue.
std::array<CallerRange, 3> tables_of(const LutRecord& record) {
  constexpr size_t bytes = lut_entries * sizeof(uint16_t);
  return {{{record.red, bytes}, {record.green, bytes}, {record.blue, bytes}}};
}

int Handler::answer(LutRecord& record) {
  if (!is_loadable(record)) return EINVAL;
  const auto tables = tables_of(record);
  Board::Lut lut;
  for (size_t channel = 0; channel < lut.size(); ++channel) {
    lut[channel].resize(lut_entries);
    if (!caller_.read(tables[channel], lut[channel].data())) return EFAULT;
  }
  machine_.card(0).lut(record.crtc) = std::move(lut);
  machine_.trace().note("lookup table of crtc " + std::to_string(record.crtc));
  return 0;
}

int Handler::answer(PowerRecord& record) {
  switch (record.op) {
    case power_get:
      record.state = machine_.power_state();
      return 0;
    case power_set:
      if (record.state >= power_states) return EINVAL;
      machine_.set_power_state(record.state);
      return 0;
    default:
      return EINVAL;
  }
}

// The fan requests name no card: they go to the first one's.
int Handler::answer(FanRateRecord& record) {
  constexpr uint32_t full = 100;
  if (record.percent > full) return EINVAL;
  machine_.card(0).part<Fan>().set_manual(record.percent);
  return 0;
}

int Handler::on_fan_automatic(Handler& handler, unsigned long, void*) {
  handler.machine_.card(0).part<Fan>().set_automatic();
  return 0;
}

int Handler::answer(TemperatureRecord& record) {
  machine_.card(0).part<Fan>().set_temperature(record.celsius);
  return 0;
}

}  // namespace

bool Driver::has_record(unsigned long request) {
  return request != request_clear_fan;
}

size_t Driver::record_size(unsigned long request) {
  return Handler::knows(request) ? _IOC_SIZE(request) : 0;
}

std::vector<CallerRange> Driver::reads(unsigned long request, const void* record) {
  if (request != request_lut) return {};
  LutRecord load;
  memcpy(&load, record, sizeof load);
  if (!is_loadable(load)) return {};
  const auto tables = tables_of(load);
  return {tables.begin(), tables.end()};
}

int Driver::answer(unsigned long request, void* record, CallerMemory& caller) {
  const std::lock_guard guard(machine_.lock());
  if (const int error = machine_.faults().driver_request(_IOC_NR(request)); error != 0) {
    return error;
  }
  return Handler(machine_, caller).answer(request, record);
}

}  // namespace zvgsim
