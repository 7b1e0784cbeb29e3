#include "doors/driver_door.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <mutex>

#include "devices/monitor.h"
#include "devices/pvt_sensors.h"
#include "doors/driver_records.h"

namespace zvgsim {

namespace {

using namespace driver;

constexpr unsigned request_type = 'd';

class DriverFile : public OpenFile {
 public:
  explicit DriverFile(Machine& machine) : machine_(machine) {}
  int ioctl(unsigned long request, void* record) override;

 private:
  // Each answers one request on its record and returns 0 or an errno.
  int answer(RegisterAccess& record);
  int answer(DdcRead& record);
  int answer(KernelVersion& record);
  int answer(PciAccess& record);
  int answer(Information& record);
  int answer(KernelMemory& record);
  int answer(I2cTransfer& record);
  static uint32_t transfer(I2cBus& bus, I2cTransfer& record);
  int answer(Query& record);
  int answer(Command& record);
  int answer(IoportAccess& record);
  int answer(Auxiliary& record);
  int answer(LutLoad& record);
  int answer(PowerState& record);
  int answer(FanRate& record);
  int answer(TestTemperature& record);
  int answer_fan_automatic();
  int answer_generic(unsigned number, const void* record);

  // Runs the answer on the caller's record, which need not be aligned. A failed request leaves the
  // record alone, as a driver does that fails before it copies back.
  template <typename Record>
  int on(void* bytes) {
    Record record;
    memcpy(&record, bytes, sizeof record);
    const int error = answer(record);
    if (error == 0) memcpy(bytes, &record, sizeof record);
    return error;
  }

  // A quantity as the driver counts it now.
  uint32_t whole(const Signal& signal, double maximum) const {
    const double now = std::round(signal.at(machine_.clock().now()));
    return static_cast<uint32_t>(std::clamp(now, 0.0, maximum));
  }

  bool has_card(uint32_t card) const { return card < machine_.cards(); }

  Machine& machine_;
};

constexpr bool is_width(uint32_t width) {
  return width == 1 || width == 2 || width == 4 || width == 8;
}

constexpr unsigned long number_of(unsigned request, size_t size) {
  return _IOC(_IOC_READ | _IOC_WRITE, request_type, request, size);
}

int DriverFile::ioctl(unsigned long request, void* record) {
  const auto dispatch = [&]() -> int {
    constexpr unsigned long automatic = _IOC(_IOC_NONE, request_type, fan_automatic, 0);
    if (record == nullptr && request != automatic) return EFAULT;
    if (const int error = machine_.faults().driver_request(_IOC_NR(request)); error != 0) {
      return error;
    }
    switch (request) {
      case number_of(register_access, sizeof(RegisterAccess)):
        return on<RegisterAccess>(record);
      case number_of(ddc_read, sizeof(DdcRead)):
        return on<DdcRead>(record);
      case number_of(kernel_version, sizeof(KernelVersion)):
        return on<KernelVersion>(record);
      case number_of(pci_access, sizeof(PciAccess)):
        return on<PciAccess>(record);
      case number_of(information, sizeof(Information)):
        return on<Information>(record);
      case number_of(kernel_memory, sizeof(KernelMemory)):
        return on<KernelMemory>(record);
      case number_of(operate_3d, sizeof(Generic)):
      case number_of(operate_2d, sizeof(Generic)):
      case number_of(operate_dac, sizeof(Generic)):
      case number_of(operate_hdmi, sizeof(Generic)):
      case number_of(operate_dvo, sizeof(Generic)):
      case number_of(operate_spi, sizeof(Generic)):
        return answer_generic(_IOC_NR(request), record);
      case number_of(auxiliary, sizeof(Auxiliary)):
        return on<Auxiliary>(record);
      case number_of(i2c_transfer, sizeof(I2cTransfer)):
        return on<I2cTransfer>(record);
      case number_of(query, sizeof(Query)):
        return on<Query>(record);
      case number_of(command, sizeof(Command)):
        return on<Command>(record);
      case number_of(ioport_access, sizeof(IoportAccess)):
        return on<IoportAccess>(record);
      case number_of(lut_load, sizeof(LutLoad)):
        return on<LutLoad>(record);
      case number_of(power_state, sizeof(PowerState)):
        return on<PowerState>(record);
      case number_of(fan_rate, sizeof(FanRate)):
        return on<FanRate>(record);
      case automatic:
        return answer_fan_automatic();
      case number_of(test_temperature, sizeof(TestTemperature)):
        return on<TestTemperature>(record);
      default:
        return ENOTTY;
    }
  };
  const std::lock_guard guard(machine_.lock());
  const int error = dispatch();
  if (error == 0) return 0;
  errno = error;
  return -1;
}

int DriverFile::answer(RegisterAccess& record) {
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
int DriverFile::answer(DdcRead& record) {
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

int DriverFile::answer(KernelVersion& record) {
  std::copy_n(machine_.config().kernel_version.begin(), 4, record.words);
  return 0;
}

int DriverFile::answer(PciAccess& record) {
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

int DriverFile::answer(Information& record) {
  if (!has_card(record.card)) return ENODEV;
  const auto& memory = machine_.config().memory;
  const double all = memory.used.value + memory.free;
  record.used = whole(memory.used, all);
  record.reserved = 0;
  record.free = static_cast<uint32_t>(all) - record.used;
  return 0;
}

int DriverFile::answer(KernelMemory& record) {
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
int DriverFile::answer_generic(unsigned number, const void* record) {
  Generic generic;
  memcpy(&generic, record, sizeof generic);
  char note[128];
  snprintf(note, sizeof note, "request 0x%02x: 0x%x 0x%x 0x%x 0x%x 0x%llx", number,
           generic.arguments[0], generic.arguments[1], generic.arguments[2], generic.arguments[3],
           static_cast<unsigned long long>(generic.value));
  machine_.trace().note(note);
  return 0;
}

// No chips on the card's buses yet.
int DriverFile::answer(I2cTransfer& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.op > op_write || record.length > i2c_max_length) {
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
uint32_t DriverFile::transfer(I2cBus& bus, I2cTransfer& record) {
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

int DriverFile::answer(Query& record) {
  if (!has_card(record.card)) return ENODEV;
  const BoardConfig& config = machine_.config();
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
      return number(config.clocks.axi);
    case query_vpu_clock:
      return number(config.clocks.vpu);
    case query_3d_clock:
      return number(config.clocks.core_3d);
    case query_2d_clock:
      return number(config.clocks.core_2d);
    case query_ddr_clock:
      return number(config.clocks.ddr);
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

int DriverFile::answer(Command& record) {
  if (!has_card(record.card)) return ENODEV;
  if (record.command < pvt_types) {
    const uint32_t sensor = record.arguments[0];
    if (sensor >= pvt_sensors) return EINVAL;
    record.result[0] =
        pvt_code(machine_.config().sensors, record.command, sensor, machine_.clock().now());
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
int DriverFile::answer(IoportAccess& record) {
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
int DriverFile::answer(Auxiliary& record) {
  if (record.zero != 0 || record.port >= dp_ports || record.operation > aux_fetch_edid) {
    return answer_generic(auxiliary, &record);
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
  if (record.operation == aux_write) {
    if (record.length == 0 || record.length > AuxReply::max_bytes) return EINVAL;
    return transfer(AuxRequest::native_write, false, record.address, record.data, record.length);
  }
  if (record.operation == aux_read) {
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

// The tables are in the caller's memory: an address that is none is the caller's fault.
int DriverFile::answer(LutLoad& record) {
  constexpr uint32_t entries = 256;
  if (record.crtc >= crtcs || record.size != entries) return EINVAL;
  const uint64_t addresses[] = {record.red, record.green, record.blue};
  Board::Lut lut;
  for (size_t channel = 0; channel < lut.size(); ++channel) {
    lut[channel].resize(entries);
    const size_t bytes = entries * sizeof(uint16_t);
    iovec here = {lut[channel].data(), bytes};
    iovec there = {reinterpret_cast<void*>(static_cast<uintptr_t>(addresses[channel])), bytes};
    if (process_vm_readv(getpid(), &here, 1, &there, 1, 0) != static_cast<ssize_t>(bytes)) {
      return EFAULT;
    }
  }
  machine_.card(0).lut(record.crtc) = std::move(lut);
  machine_.trace().note("lookup table of crtc " + std::to_string(record.crtc));
  return 0;
}

int DriverFile::answer(PowerState& record) {
  switch (record.op) {
    case op_read:
      record.state = machine_.power_state();
      return 0;
    case op_write:
      if (record.state >= power_states) return EINVAL;
      machine_.set_power_state(record.state);
      return 0;
    default:
      return EINVAL;
  }
}

// The fan requests name no card: they go to the first one's.
int DriverFile::answer(FanRate& record) {
  constexpr uint32_t full = 100;
  if (record.percent > full) return EINVAL;
  machine_.card(0).fan().set_manual(record.percent);
  return 0;
}

int DriverFile::answer_fan_automatic() {
  machine_.card(0).fan().set_automatic();
  return 0;
}

int DriverFile::answer(TestTemperature& record) {
  machine_.card(0).fan().set_temperature(record.celsius);
  return 0;
}

}  // namespace

std::shared_ptr<OpenFile> DriverDoor::open() {
  return std::make_shared<DriverFile>(machine_);
}

}  // namespace zvgsim
