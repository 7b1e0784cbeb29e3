// What a board is made of. A board file (board_file.h) fills it; tests fill it by hand.
#ifndef ZVGSIM_BOARD_BOARD_CONFIG_H
#define ZVGSIM_BOARD_BOARD_CONFIG_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board/generation.h"
#include "board/signal.h"
#include "board/space.h"

namespace zvgsim {

constexpr unsigned hdmi_ports = 4;
constexpr unsigned dp_ports = 4;
constexpr unsigned dp_lanes = 4;
constexpr unsigned crtcs = 4;
constexpr unsigned max_cards = 16;
constexpr unsigned i2c_buses = 6;  // a master of the chip's own drives the first four
constexpr unsigned video_inputs = 2;
constexpr unsigned edid_block_size = 128;
constexpr unsigned max_edid_blocks = 256;
constexpr unsigned engines = 21;
constexpr unsigned plls = 4;  // devpll, dev2pll, gpupll, gpu2pll
constexpr unsigned pvt_sensors = 2;

// What a frame composer or a display controller is programmed with: kHz, pixels and lines.
struct ModeTiming {
  uint32_t clock;
  uint32_t hactive, hsync_start, hsync_end, htotal;
  uint32_t vactive, vsync_start, vsync_end, vtotal;
};

// One HDMI port and the monitor on it.
struct HdmiPortSettings {
  std::vector<uint8_t> edid;              // empty: nothing answers on the DDC bus
  std::optional<bool> hot_plug;           // not set: plugged when there is an EDID
  std::optional<uint8_t> receiver_sense;  // bits 0 to 3, a receiver each; not set: all if plugged
  std::optional<ModeTiming> timing;       // set: the firmware left the port driving this mode
  bool pixel_clock = true;                // the pixel clock reaches the transmitter
  unsigned pll_lock_ms = 3;               // from power-up to the PHY's lock
};

// What one lane of a cable needs before its receiver recovers the clock.
struct DpLevels {
  unsigned swing = 0;  // 0 to 3
  unsigned preemphasis = 0;
};

// One DisplayPort transmitter and the sink on it.
struct DpPortSettings {
  bool sink = false;  // nothing answers without one
  std::vector<uint8_t> edid;
  uint8_t rate = 0x14;       // the highest link rate's code
  uint8_t lanes = 4;         // at most
  uint8_t revision = 0x12;   // of the DPCD
  uint8_t aux_interval = 0;  // of equalisation, in units of 4 ms; 0: 400 us
  bool panel = false;        // an embedded panel: with self-test and backlight registers
  std::array<DpLevels, dp_lanes> channel{};
};

// What firmware left a display controller driving.
struct CrtcSettings {
  ModeTiming timing;
  bool hsync_negative = false;
  bool vsync_negative = false;
};

// How much passes a port of the chip's bus.
enum class AxiLoad { idle, bursty, saturated };

struct AxiPortSettings {
  std::string name;
  AxiLoad load = AxiLoad::idle;
  uint64_t timeout_every = 0;  // measuring periods from one that has a timeout to the next; 0: none
  bool data_update = true;     // whether periods that end are told
};

struct AxiSettings {
  uint64_t seed = 1;
  uint32_t period_cycles = 60'000'000;  // at power-up; 100 ms at 600 MHz
  std::vector<AxiPortSettings> ports;   // those that are not as they usually are
};

// A message of the DDR training firmware.
struct TrainingMessage {
  uint32_t id;
  std::vector<uint32_t> arguments;
};

// An eye in the middle of 31 delay steps and 128 voltage steps.
struct EyeShape {
  double width;   // columns
  double height;  // rows
  double centre;  // row
};

constexpr unsigned max_training_channels = 4;

struct TrainingChannelSettings {
  std::optional<std::vector<TrainingMessage>> messages;  // instead of a training that goes well
  unsigned lanes = 32;
  EyeShape read_eye = {22, 44, 58};
  EyeShape write_eye = {25, 38, 46};
};

struct TrainingSettings {
  bool enabled = true;
  uint64_t seed = 1;
  unsigned gap_us = 200;  // from a message that the host has taken to the next
  bool endless = false;   // begins again when it is done
  std::array<TrainingChannelSettings, max_training_channels> channels;
};

// A current through a sense resistor.
struct Shunt {
  std::string name;  // of the rail, for who reads the board file
  double milliohms = 1;
  Signal amperes;
};

enum class PowerChip { ltc2990, ltc2991, ina3221 };

// A power-monitor chip and what it measures.
struct PowerMonitorSettings {
  std::string name;
  PowerChip chip = PowerChip::ltc2990;
  unsigned bus = 0;
  uint8_t address = 0;
  Signal supply = {3.3};      // volts
  Signal temperature = {25};  // degrees Celsius, inside
  std::vector<Signal> volts;  // at its inputs (INA3221: at the loads), the first one first
  std::vector<Shunt> shunts;  // across its pairs of inputs (INA3221: its channels)
};

// A memory, or a chip of which only the registers matter.
struct I2cMemorySettings {
  unsigned bus = 0;
  uint8_t address = 0;
  std::vector<uint8_t> contents;  // from register 0 on
};

// A video decoder on a capture port, and the picture that it is fed.
struct VideoInputSettings {
  unsigned bus = 0;
  uint8_t address = 0x24;
  uint32_t width = 720;
  uint32_t height = 480;
};

// What the microcontroller reaches on its own I2C buses.
struct McuSettings {
  bool running = true;  // firmware started it
  struct MonitorOn {
    unsigned first_selector = 0;
    unsigned second_selector = 0;
    std::vector<uint8_t> edid;
  };
  std::vector<MonitorOn> monitors;
};

// What the on-die sensors see.
struct SensorSettings {
  std::array<Signal, pvt_sensors> temperature = {{{45.0}, {47.5}}};  // degrees Celsius
  std::array<Signal, pvt_sensors> voltage = {{{0.85}, {0.8}}};       // volts
  std::array<uint32_t, 3> process = {512, 498, 505};                 // codes of the three types
  unsigned conversion_ms = 1000;
};

// An EDID in the flash's board information.
struct FlashEdid {
  unsigned output = 0;
  std::vector<uint8_t> edid;  // 128 or 256 bytes
};

// The SPI flash. Serial number and EDIDs are what a new image begins with.
struct FlashSettings {
  std::string image;  // the file of its content; empty: forgotten when the board goes
  std::string serial;
  std::vector<FlashEdid> edids;
  bool write_protected = false;  // all blocks, until the status register is written
};

// Faults ------------------------------------------------------------------------------------

// Fails driver requests. Either from the n-th on, count times, or each with a probability.
struct DriverFault {
  uint64_t request = 0;              // counted from 1; 0: by probability
  double probability = 0;            // 0 to 1
  std::optional<unsigned> number{};  // only requests of this number count, for example 0x01
  int error = 5;                     // errno; EIO
  uint64_t count = 1;
};

enum class UartAction {
  drop,     // nothing is sent
  corrupt,  // one byte is changed
  cut,      // only the first `bytes` are sent
  delay,    // the reply comes `delay_ms` late
  noise,    // `bytes` arbitrary bytes come in front of the reply
};

// Spoils replies on the debug UART, chosen as above.
struct UartFault {
  uint64_t reply = 0;
  double probability = 0;
  UartAction action = UartAction::drop;
  unsigned bytes = 1;
  unsigned delay_ms = 3000;
  uint64_t count = 1;
};

struct HdmiPortFaults {
  std::vector<uint8_t> ddc_nack;             // addresses that nobody acknowledges
  std::optional<uint32_t> ddc_nack_at_byte;  // the EDID byte whose offset is not acknowledged
  bool ddc_busy = false;                     // the DDC bus hangs: no transfer ever ends
  bool phy_busy = false;                     // the same for the PHY's I2C bus
  bool pll_never_locks = false;
};

// What is wrong with an I2C bus, or with one device on it. They last.
struct I2cFault {
  unsigned bus = 0;
  std::optional<uint8_t> address{};        // not set: the bus
  bool hangs = false;                      // the bus: no transfer ever ends
  bool nack = false;                       // the device does not answer its address
  std::optional<unsigned> nack_at_byte{};  // nor acknowledge this byte after it, counted from 1
  // Power monitors.
  bool stays_busy = false;
  bool never_ready = false;  // no ready bit is ever set
  bool drops_valid = false;  // results come without their data-valid bit
};

struct DpPortFaults {
  bool no_reply = false;     // requests run into the reply timeout
  bool reply_error = false;  // replies cannot be decoded
  bool nack = false;         // every request is refused
  uint32_t defers = 0;       // this many native requests are deferred, or all of them
  uint32_t i2c_defers = 0;   // the same for I2C
  static constexpr uint32_t always = UINT32_MAX;
  unsigned short_by = 0;              // bytes that reads deliver less than was asked for
  bool never_equalises = false;       // the sink recovers the clock and no more
  bool cdb_busy = false;              // the PHY's configuration bus hangs
  bool no_power_acknowledge = false;  // the PHY ignores power states
  bool pll_never_locks = false;
  bool timer_stopped = false;  // the controller's counter stands still
};

struct FlashFaults {
  bool stays_busy = false;
  uint64_t lost_write_enable = 0;      // the n-th one does not get through; 0: none
  std::optional<uint32_t> bad_byte{};  // the byte at this address cannot be programmed
  uint64_t power_cut_at_frame = 0;     // the n-th frame written to the controller; 0: never
};

struct FaultConfig {
  uint64_t seed = 1;
  std::vector<DriverFault> driver;
  std::vector<UartFault> uart;
  std::array<HdmiPortFaults, hdmi_ports> hdmi;
  std::array<DpPortFaults, dp_ports> dp;
  std::vector<I2cFault> i2c;
  bool mcu_never_done = false;
  FlashFaults flash;
  bool amba_never_answers = false;
  // The driver's node goes before this request, counted from 1; 0: it stays.
  uint64_t node_gone_at_request = 0;
  std::array<bool, plls> pll_never_locks{};
};

// -------------------------------------------------------------------------------------------

struct InitialValue {
  Space space = Space::mmio;  // mmio, vram or kmem
  uint64_t offset = 0;        // kmem: the address
  unsigned width = 4;
  uint64_t value = 0;
  // The register takes the value only after it has been read so many times (mmio only): what a poll
  // waits for.
  uint64_t after_reads = 0;
};

struct BoardConfig {
  std::string description;
  Generation generation = Generation::rq302;
  unsigned cards = 1;  // this many boards of this kind, each with registers of its own

  // The driver's answers.
  std::array<uint32_t, 4> kernel_version = {1, 4, 0, 218};
  std::string gop_version = "GOP 1.3.2";
  std::string firmware_version = "FW 2.7.1";
  struct {
    uint32_t axi = 600, vpu = 500, core_3d = 1000, core_2d = 500, ddr = 1600;  // MHz
    unsigned lock_us = 20;  // from a PLL's change to its lock
  } clocks;
  struct {
    uint32_t core_3d = 8, core_2d = 2;
  } cores;
  struct {
    Signal used = {128};    // MiB
    uint32_t free = 1920;   // MiB, when the value is used
    uint32_t channels = 3;  // a bit each
  } memory;
  std::vector<Signal> engine_load;  // per cent, engine 0 first; engines after the last are absent

  struct {
    uint64_t mmio_base = 0xE0000000, vram_base = 0xD0000000;  // physical
  } aperture;
  struct {
    uint64_t base = 0xFFFF888000000000, size = 1u << 20;
  } kernel;
  struct {
    // 0: made up from the generation.
    uint16_t vendor = 0x5A56, device = 0, subsystem_vendor = 0x5A56, subsystem = 1;
    uint8_t revision = 1;
  } pci;
  struct {
    unsigned baud = 9600;
    unsigned reply_delay_us = 50;
    bool instant = false;  // bytes take no time on the line, and replies none to begin
  } uart;

  std::array<HdmiPortSettings, hdmi_ports> hdmi;
  std::array<DpPortSettings, dp_ports> dp;
  std::array<std::optional<CrtcSettings>, crtcs> crtc;
  uint32_t output_mux = 0;  // which controller feeds which output
  AxiSettings axi;
  TrainingSettings training;
  std::vector<PowerMonitorSettings> power_monitors;
  std::vector<I2cMemorySettings> i2c_memories;
  std::array<std::optional<VideoInputSettings>, video_inputs> video;
  McuSettings mcu;
  SensorSettings sensors;
  FlashSettings flash;
  FaultConfig faults;
  std::vector<InitialValue> registers;  // written at power-up, in order
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_BOARD_CONFIG_H
