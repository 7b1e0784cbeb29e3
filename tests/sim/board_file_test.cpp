// Board files: every key, and what is said about a wrong one.
#include "board/board_file.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "devices/amba/amba_faults.h"
#include "devices/axi/axi_settings.h"
#include "devices/clocks/clock_settings.h"
#include "devices/ddr/training_settings.h"
#include "devices/display/display_settings.h"
#include "devices/dp/dp_settings.h"
#include "devices/hdmi/hdmi_settings.h"
#include "devices/i2c/i2c_settings.h"
#include "devices/mcu/mcu_settings.h"
#include "devices/pci/pci_settings.h"
#include "devices/power_monitors/power_monitor_settings.h"
#include "devices/sensors/sensor_settings.h"
#include "devices/video/video_settings.h"
#include "machine/machine.h"

namespace zvgsim {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class BoardFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "board-file-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    put("one.edid", 128);
    put("four.edid", 512);
  }
  void TearDown() override { fs::remove_all(folder_); }

  void put(const std::string& name, size_t size) {
    std::ofstream stream(folder_ / name, std::ios::binary);
    for (size_t i = 0; i < size; ++i) stream.put(static_cast<char>(i * 5));
  }
  std::string file() const { return (folder_ / "board.toml").string(); }
  BoardConfig load(const std::string& text) {
    std::ofstream(file()) << text;
    return load_board_file(file());
  }
  // What is wrong with a file, without its path.
  std::vector<std::string> problems(const std::string& text) {
    try {
      load(text);
    } catch (const BoardFileError& failure) {
      std::vector<std::string> lines;
      for (const std::string& line : failure.problems()) {
        EXPECT_THAT(line, ::testing::StartsWith(file() + ":"));
        lines.push_back(line.substr(file().size() + 1));
      }
      return lines;
    }
    return {};
  }

  fs::path folder_;
};

TEST_F(BoardFileTest, EmptyFileIsTheDefaultBoard) {
  const BoardConfig config = load("");
  EXPECT_EQ(config.generation, Generation::rq302);
  EXPECT_EQ(config.cards, 1u);
  EXPECT_EQ(config.uart.baud, 9600u);
  EXPECT_EQ(config.aperture.mmio_base, 0xE0000000u);
  EXPECT_EQ(config.aperture.vram_base, 0xD0000000u);
  EXPECT_EQ(config.kernel.base, 0xFFFF888000000000u);
  EXPECT_EQ(config.kernel.size, 0x100000u);
}

TEST_F(BoardFileTest, EveryKeyIsRead) {
  const BoardConfig config = load(R"(
description = "text"
generation = "rq300"
cards = 16
output_mux = 0x12345678

[versions]
kernel = [4, 3, 2, 1]
gop = "G"
firmware = "F"

[clocks]
axi = 1
vpu = 2
3d = 3
2d = 4
ddr = 5
lock_us = 6

[cores]
3d = 6
2d = 7

[memory]
used = { value = 8, swing = 2.5 }
free = 9
channels = 0b1010

[engines]
load = [10, -1, { value = 90, swing = 10, period_s = 3 }]

[aperture]
mmio_base = 0x41000000
vram_base = 0x50000000

[kernel]
base = "0xFFFFC90000000000"
size = 0x2000

[pci]
vendor = 0x1234
device = 0x5678
subsystem_vendor = 0x9ABC
subsystem = 0xDEF0
revision = 0x55

[uart]
baud = 115200
reply_delay_us = 1234
instant = true

[[hdmi]]
port = 2
edid = "four.edid"
hot_plug = false
receiver_sense = 5
timing = [148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125]
pixel_clock = false
pll_lock_ms = 77

[[dp]]
port = 3
edid = "four.edid"
sink = false
rate = 0x1E
lanes = 2
revision = 0x14
aux_interval = 4
panel = true
channel = [[0, 1], [2, 3], [3, 0], [1, 2]]

[[crtc]]
number = 2
timing = [65000, 1024, 1048, 1184, 1344, 768, 771, 777, 806]
hsync_negative = true
vsync_negative = true

[[registers]]
offset = 0x103C2
width = 1
value = 3
after_reads = 12

[[registers]]
space = "vram"
offset = 0xFFFFFF8
width = 8
value = "0xFFFFFFFFFFFFFFFF"

[[registers]]
space = "kmem"
offset = "0xFFFFC90000000010"
value = 0x11

[faults]
seed = 99

[[faults.driver]]
request = 3
number = 0x10
errno = "ENODEV"
count = 2

[[faults.driver]]
probability = 0.5
errno = 110

[[faults.uart]]
reply = 4
action = "noise"
bytes = 6
delay_ms = 7
count = 8

[[faults.dp]]
port = 1
no_reply = true
reply_error = true
nack = true
defers = 3
i2c_defers = 0xFFFFFFFF
short_by = 2
never_equalises = true
cdb_busy = true
no_power_acknowledge = true
pll_never_locks = true
timer_stopped = true

[[faults.hdmi]]
port = 3
ddc_nack = [0x50, 0x30]
ddc_nack_at_byte = 127
ddc_busy = true
phy_busy = true
pll_never_locks = true

[faults.amba]
never_answers = true

[faults.node]
gone_at_request = 12

[faults.clocks]
never_locks = ["gpu2pll", "devpll"]

[sensors]
temperature = [-5.5, { value = 90, swing = 8, period_s = 60 }]
voltage = [0.75, 1]
process = [1, 2, 3]
conversion_ms = 44
)");
  EXPECT_EQ(config.description, "text");
  EXPECT_EQ(config.generation, Generation::rq300);
  EXPECT_EQ(config.cards, 16u);
  EXPECT_THAT(config.kernel_version, ElementsAre(4, 3, 2, 1));
  EXPECT_EQ(config.gop_version, "G");
  EXPECT_EQ(config.firmware_version, "F");
  EXPECT_EQ(config.of<ClockSettings>().axi, 1u);
  EXPECT_EQ(config.of<ClockSettings>().vpu, 2u);
  EXPECT_EQ(config.of<ClockSettings>().core_3d, 3u);
  EXPECT_EQ(config.of<ClockSettings>().core_2d, 4u);
  EXPECT_EQ(config.of<ClockSettings>().ddr, 5u);
  EXPECT_EQ(config.of<ClockSettings>().lock_us, 6u);
  EXPECT_THAT(config.faults.of<ClockFaults>().never_locks, ElementsAre(true, false, false, true));
  EXPECT_EQ(config.of<SensorSettings>().temperature[0].value, -5.5);
  EXPECT_EQ(config.of<SensorSettings>().temperature[1].value, 90);
  EXPECT_EQ(config.of<SensorSettings>().temperature[1].swing, 8);
  EXPECT_EQ(config.of<SensorSettings>().voltage[0].value, 0.75);
  EXPECT_EQ(config.of<SensorSettings>().voltage[1].value, 1);
  EXPECT_THAT(config.of<SensorSettings>().process, ElementsAre(1, 2, 3));
  EXPECT_EQ(config.of<SensorSettings>().conversion_ms, 44u);
  EXPECT_EQ(config.cores.core_3d, 6u);
  EXPECT_EQ(config.cores.core_2d, 7u);
  EXPECT_EQ(config.memory.used.value, 8);
  EXPECT_EQ(config.memory.used.swing, 2.5);
  EXPECT_EQ(config.memory.free, 9u);
  EXPECT_EQ(config.memory.channels, 10u);
  ASSERT_EQ(config.engine_load.size(), 3u);
  EXPECT_EQ(config.engine_load[0].value, 10);
  EXPECT_EQ(config.engine_load[1].value, -1);
  EXPECT_EQ(config.engine_load[2].swing, 10);
  EXPECT_EQ(config.engine_load[2].period_s, 3);
  EXPECT_EQ(config.aperture.mmio_base, 0x41000000u);
  EXPECT_EQ(config.aperture.vram_base, 0x50000000u);
  EXPECT_EQ(config.kernel.base, 0xFFFFC90000000000u);
  EXPECT_EQ(config.kernel.size, 0x2000u);
  EXPECT_EQ(config.of<PciSettings>().vendor, 0x1234);
  EXPECT_EQ(config.of<PciSettings>().device, 0x5678);
  EXPECT_EQ(config.of<PciSettings>().subsystem_vendor, 0x9ABC);
  EXPECT_EQ(config.of<PciSettings>().subsystem, 0xDEF0);
  EXPECT_EQ(config.of<PciSettings>().revision, 0x55);
  EXPECT_EQ(config.uart.baud, 115200u);
  EXPECT_EQ(config.uart.reply_delay_us, 1234u);
  EXPECT_TRUE(config.uart.instant);
  const HdmiPortSettings& port = config.of<HdmiSettings>().port[2];
  EXPECT_EQ(port.edid.size(), 512u);
  EXPECT_EQ(port.edid[511], static_cast<uint8_t>(511 * 5));
  EXPECT_EQ(port.hot_plug, false);
  EXPECT_EQ(port.receiver_sense, 5);
  ASSERT_TRUE(port.timing);
  EXPECT_EQ(port.timing->clock, 148500u);
  EXPECT_EQ(port.timing->hactive, 1920u);
  EXPECT_EQ(port.timing->hsync_start, 2008u);
  EXPECT_EQ(port.timing->hsync_end, 2052u);
  EXPECT_EQ(port.timing->htotal, 2200u);
  EXPECT_EQ(port.timing->vactive, 1080u);
  EXPECT_EQ(port.timing->vsync_start, 1084u);
  EXPECT_EQ(port.timing->vsync_end, 1089u);
  EXPECT_EQ(port.timing->vtotal, 1125u);
  EXPECT_FALSE(port.pixel_clock);
  EXPECT_EQ(port.pll_lock_ms, 77u);
  EXPECT_TRUE(config.of<HdmiSettings>().port[0].edid.empty());
  ASSERT_EQ(config.registers.size(), 3u);
  EXPECT_EQ(config.registers[0].space, Space::mmio);
  EXPECT_EQ(config.registers[0].offset, 0x103C2u);
  EXPECT_EQ(config.registers[0].width, 1u);
  EXPECT_EQ(config.registers[0].value, 3u);
  EXPECT_EQ(config.registers[0].after_reads, 12u);
  EXPECT_EQ(config.registers[1].space, Space::vram);
  EXPECT_EQ(config.registers[1].width, 8u);
  EXPECT_EQ(config.registers[1].value, UINT64_MAX);
  EXPECT_EQ(config.registers[2].space, Space::kmem);
  EXPECT_EQ(config.registers[2].offset, 0xFFFFC90000000010u);
  EXPECT_EQ(config.registers[2].width, 4u);
  const DpPortSettings& dp = config.of<DpSettings>().port[3];
  EXPECT_FALSE(dp.sink);
  EXPECT_FALSE(dp.edid.empty());
  EXPECT_EQ(dp.rate, 0x1E);
  EXPECT_EQ(dp.lanes, 2);
  EXPECT_EQ(dp.revision, 0x14);
  EXPECT_EQ(dp.aux_interval, 4);
  EXPECT_TRUE(dp.panel);
  EXPECT_EQ(dp.channel[1].swing, 2u);
  EXPECT_EQ(dp.channel[1].preemphasis, 3u);
  EXPECT_EQ(dp.channel[3].preemphasis, 2u);
  EXPECT_FALSE(config.of<DpSettings>().port[0].sink);
  ASSERT_TRUE(config.of<DisplaySettings>().crtc[2].has_value());
  EXPECT_EQ(config.of<DisplaySettings>().crtc[2]->timing.vtotal, 806u);
  EXPECT_TRUE(config.of<DisplaySettings>().crtc[2]->hsync_negative &&
              config.of<DisplaySettings>().crtc[2]->vsync_negative);
  EXPECT_FALSE(config.of<DisplaySettings>().crtc[0].has_value());
  EXPECT_EQ(config.of<DisplaySettings>().output_mux, 0x12345678u);
  const DpPortFaults& dp_faults = config.faults.of<DpFaults>().port[1];
  EXPECT_TRUE(dp_faults.no_reply && dp_faults.reply_error && dp_faults.nack &&
              dp_faults.never_equalises && dp_faults.cdb_busy && dp_faults.no_power_acknowledge &&
              dp_faults.pll_never_locks && dp_faults.timer_stopped);
  EXPECT_EQ(dp_faults.defers, 3u);
  EXPECT_EQ(dp_faults.i2c_defers, DpPortFaults::always);
  EXPECT_EQ(dp_faults.short_by, 2u);
  EXPECT_EQ(config.faults.seed, 99u);
  ASSERT_EQ(config.faults.driver.size(), 2u);
  EXPECT_EQ(config.faults.driver[0].request, 3u);
  EXPECT_EQ(config.faults.driver[0].number, 0x10u);
  EXPECT_EQ(config.faults.driver[0].error, ENODEV);
  EXPECT_EQ(config.faults.driver[0].count, 2u);
  EXPECT_EQ(config.faults.driver[1].request, 0u);
  EXPECT_DOUBLE_EQ(config.faults.driver[1].probability, 0.5);
  EXPECT_EQ(config.faults.driver[1].error, 110);
  ASSERT_EQ(config.faults.uart.size(), 1u);
  EXPECT_EQ(config.faults.uart[0].reply, 4u);
  EXPECT_EQ(config.faults.uart[0].action, UartAction::noise);
  EXPECT_EQ(config.faults.uart[0].bytes, 6u);
  EXPECT_EQ(config.faults.uart[0].delay_ms, 7u);
  EXPECT_EQ(config.faults.uart[0].count, 8u);
  const HdmiPortFaults& faults = config.faults.of<HdmiFaults>().port[3];
  EXPECT_THAT(faults.ddc_nack, ElementsAre(0x50, 0x30));
  EXPECT_EQ(faults.ddc_nack_at_byte, 127u);
  EXPECT_TRUE(faults.ddc_busy);
  EXPECT_TRUE(faults.phy_busy);
  EXPECT_TRUE(faults.pll_never_locks);
  EXPECT_FALSE(config.faults.of<HdmiFaults>().port[0].ddc_busy);
  EXPECT_TRUE(config.faults.of<AmbaFaults>().never_answers);
  EXPECT_EQ(config.faults.node_gone_at_request, 12u);
}

TEST_F(BoardFileTest, UnknownKeysSuggest) {
  EXPECT_THAT(problems("generaton = \"rq302\"\n"),
              ElementsAre("1: generaton: unknown key; did you mean 'generation'?"));
  EXPECT_THAT(problems("[[hdmi]]\nport = 0\nedit = \"one.edid\"\n"),
              ElementsAre("3: hdmi[0].edit: unknown key; did you mean 'edid'?"));
  EXPECT_THAT(problems("[uart]\nbuad = 9600\n"),
              ElementsAre("2: uart.buad: unknown key; did you mean 'baud'?"));
  EXPECT_THAT(problems("[faults]\n[[faults.hdmi]]\nport = 1\npll_never_lock = true\n"),
              ElementsAre("4: faults.hdmi[0].pll_never_lock: unknown key; did you mean "
                          "'pll_never_locks'?"));
  EXPECT_THAT(problems("[clocks]\nwombat = 1\n"),
              ElementsAre("2: clocks.wombat: unknown key; known here: axi vpu 3d 2d ddr lock_us"));
}

TEST_F(BoardFileTest, WrongValuesSayWhatWasExpected) {
  const struct {
    const char* text;
    const char* problem;
  } rows[] = {
      {"generation = \"rq303\"",
       "1: generation: expected \"rq300\", \"rq301\" or \"rq302\", found \"rq303\""},
      {"generation = 302", "1: generation: expected \"rq300\", \"rq301\" or \"rq302\", found 302"},
      {"\ncards = 0", "2: cards: expected a number from 1 to 16, found 0"},
      {"cards = 17", "1: cards: expected a number from 1 to 16, found 17"},
      {"cards = -1", "1: cards: expected a number from 1 to 16, found -1"},
      {"cards = \"2\"", "1: cards: expected a number from 1 to 16, found \"2\""},
      {"cards = 1.5", "1: cards: expected a number from 1 to 16, found 1.5"},
      {"description = 5", "1: description: expected a string, found 5"},
      {"clocks = 5", "1: clocks: expected a table, as [clocks], found 5"},
      {"[clocks]\naxi = true", "2: clocks.axi: expected a number from 0 to 0xFFFFFFFF, found true"},
      {"[versions]\nkernel = [1, 2, 3]",
       "2: versions.kernel: expected an array of 4 numbers, found an array of 3"},
      {"[versions]\nkernel = \"1.2.3.4\"",
       "2: versions.kernel: expected an array of 4 numbers, found \"1.2.3.4\""},
      {"[versions]\nkernel = [1, 2, 3, -4]",
       "2: versions.kernel[3]: expected a number from 0 to 0xFFFFFFFF, found -4"},
      {"[engines]\nload = [101]", "2: engines.load[0]: expected numbers from 0 to 100, found 101"},
      {"[aperture]\nmmio_base = 0xE0001000",
       "2: aperture.mmio_base: expected a multiple of its size, 0x1000000, found 3758100480"},
      {"[aperture]\nmmio_base = 0xD1000000", "1: aperture: the two apertures overlap"},
      {"[kernel]\nbase = \"FFFF\"",
       "2: kernel.base: expected a number from 0 to 0xFFFFFFFFFFFFFFFF (in quotes, as \"0x...\", "
       "from 0x8000000000000000 on), found \"FFFF\""},
      {"[kernel]\nbase = \"0xFFFFFFFFFFFFFFF0\"",
       "1: kernel: expected the range to end before 2^64"},
      {"[pci]\nvendor = 65536", "2: pci.vendor: expected a number from 0 to 65535, found 65536"},
      {"[uart]\nbaud = 299", "2: uart.baud: expected a number from 300 to 0x2DC6C0, found 299"},
      {"[[dp]]\nrate = 6", "1: dp[0]: expected a port = 0 to 3"},
      {"[[dp]]\nport = 1\n[[dp]]\nport = 1", "3: dp[1]: port 1 is described a second time"},
      {"[[dp]]\nport = 0\nlanes = 32", "3: dp[0].lanes: expected a number from 0 to 31, found 32"},
      {"[[dp]]\nport = 0\nchannel = [[0, 0], [0, 0], [0, 4], [0, 0]]",
       "3: dp[0].channel: expected [swing, pre-emphasis] of 0 to 3 for each of 4 lanes"},
      {"[[dp]]\nport = 0\nchannel = [[0, 0]]",
       "3: dp[0].channel: expected [swing, pre-emphasis] of 0 to 3 for each of 4 lanes"},
      {"[[dp]]\nport = 0\nchannel = [0, 1, 2, 3]",
       "3: dp[0].channel: expected [swing, pre-emphasis] of 0 to 3 for each of 4 lanes"},
      {"[[crtc]]\nnumber = 0", "1: crtc[0]: expected a timing = [...]"},
      {"[[crtc]]\ntiming = [1, 1, 1, 1, 1, 1, 1, 1, 1]", "1: crtc[0]: expected a number = 0 to 3"},
      {"[[faults.dp]]\nnack = true", "1: faults.dp[0]: expected a port = 0 to 3"},
      {"hdmi = 3", "1: hdmi: expected an array of tables, as [[hdmi]], found 3"},
      {"[hdmi]\nport = 0", "1: hdmi: expected an array of tables, as [[hdmi]], found a table"},
      {"[[hdmi]]\nedid = \"one.edid\"", "1: hdmi[0]: expected a port = 0 to 3"},
      {"[[hdmi]]\nport = 4", "2: hdmi[0].port: expected a number from 0 to 3, found 4"},
      {"[[hdmi]]\nport = 1\n[[hdmi]]\nport = 1", "3: hdmi[1]: port 1 is described a second time"},
      {"[[hdmi]]\nport = 0\nhot_plug = 1", "3: hdmi[0].hot_plug: expected true or false, found 1"},
      {"[[hdmi]]\nport = 0\nreceiver_sense = 16",
       "3: hdmi[0].receiver_sense: expected a number from 0 to 15, found 16"},
      {"[[registers]]\nvalue = 1", "1: registers[0]: expected an offset"},
      {"[[registers]]\noffset = 1", "1: registers[0]: expected a value"},
      {"[[registers]]\noffset = 1\nvalue = 1\nwidth = 3",
       "4: registers[0].width: expected 1, 2, 4 or 8, found 3"},
      {"[[registers]]\noffset = 0xFFFFFD\nvalue = 1",
       "1: registers[0]: expected an offset from 0x0 to 0xFFFFFF, found 0xFFFFFD"},
      {"[[registers]]\nspace = \"kmem\"\noffset = 0\nvalue = 1",
       "1: registers[0]: expected an offset from 0xFFFF888000000000 to 0xFFFF8880000FFFFF, found "
       "0x0"},
      {"[[registers]]\nspace = \"vram\"\noffset = 0\nvalue = 1\nafter_reads = 1",
       "1: registers[0]: expected the space \"mmio\" with after_reads"},
      {"[[registers]]\nspace = \"pci\"\noffset = 0\nvalue = 1",
       "2: registers[0].space: expected \"mmio\", \"vram\" or \"kmem\", found \"pci\""},
      {"[[faults.driver]]\nerrno = \"EIO\"",
       "1: faults.driver[0]: expected either 'request' or 'probability'"},
      {"[[faults.driver]]\nrequest = 1\nprobability = 0.5",
       "1: faults.driver[0]: expected either 'request' or 'probability'"},
      {"[[faults.driver]]\nprobability = 2",
       "2: faults.driver[0].probability: expected a number from 0 to 1, found 2"},
      {"[[faults.driver]]\nprobability = 0.1\ncount = 2",
       "1: faults.driver[0]: 'count' goes with 'request', not with 'probability'"},
      {"[[faults.uart]]\nreply = 1",
       "1: faults.uart[0]: expected an action = \"drop\", \"corrupt\", \"cut\", \"delay\" or "
       "\"noise\""},
      {"[[faults.uart]]\nreply = 0\naction = \"drop\"",
       "2: faults.uart[0].reply: expected a number from 1 to 0xFFFFFFFFFFFFFFFF (in quotes, as "
       "\"0x...\", from 0x8000000000000000 on), found 0"},
      {"[[faults.hdmi]]\nport = 0\nddc_nack = [128]",
       "3: faults.hdmi[0].ddc_nack[0]: expected a number from 0 to 127, found 128"},
      {"[[faults.hdmi]]\nport = 0\nddc_nack = 80",
       "3: faults.hdmi[0].ddc_nack: expected an array of 7-bit addresses, found 80"},
      {"[faults.amba]\nnever_answers = \"yes\"",
       "2: faults.amba.never_answers: expected true or false, found \"yes\""},
  };
  for (const auto& row : rows) {
    EXPECT_THAT(problems(row.text), ElementsAre(row.problem)) << row.text;
  }
}

TEST_F(BoardFileTest, ErrnosAreNamesOrNumbers) {
  EXPECT_THAT(problems("[[faults.driver]]\nrequest = 1\nerrno = \"EWOMBAT\""),
              ElementsAre(HasSubstr("3: faults.driver[0].errno: expected \"EPERM\", \"EIO\"")));
  EXPECT_THAT(problems("[[faults.driver]]\nrequest = 1\nerrno = 0"),
              ElementsAre("3: faults.driver[0].errno: expected a number from 1 to 4095, found 0"));
}

TEST_F(BoardFileTest, TimingsFitTheFrameComposer) {
  const std::string start = "[[hdmi]]\nport = 0\ntiming = ";
  EXPECT_THAT(problems(start + "[25175, 640, 656, 752, 800, 480, 490, 492, 525]"), IsEmpty());
  for (const char* wrong : {
           "[25175, 640, 656, 752, 800, 480, 490, 492]",           // too few
           "[25175, 640, 656, 752, 800, 480, 490, 492, 525, 1]",   // too many
           "[25175, 640, 630, 752, 800, 480, 490, 492, 525]",      // falling
           "[25175, 640, 656, 752, 800, 480, 490, 526, 525]",      // falling
           "[25175, 8192, 8192, 8192, 8193, 480, 490, 492, 525]",  // hactive
           "[25175, 640, 656, 1680, 1700, 480, 490, 492, 525]",    // sync width
           "[25175, 640, 656, 752, 8833, 480, 490, 492, 525]",     // hblank
           "[25175, 640, 656, 752, 800, 480, 490, 492, 736]",      // vblank
           "[16777216, 640, 656, 752, 800, 480, 490, 492, 525]",   // clock
           "[25175, 640, 656, 752, 800, 480, 490, 492, \"525\"]",
       }) {
    EXPECT_THAT(problems(start + wrong),
                ElementsAre(HasSubstr("3: hdmi[0].timing: expected [kHz, hactive,")))
        << wrong;
  }
}

TEST_F(BoardFileTest, EdidFilesAreChecked) {
  const std::string start = "[[hdmi]]\nport = 0\nedid = ";
  EXPECT_THAT(problems(start + "\"none.edid\""),
              ElementsAre("3: hdmi[0].edid: cannot read '" + (folder_ / "none.edid").string() +
                          "': No such file or directory"));
  put("empty.edid", 0);
  put("short.edid", 100);
  put("huge.edid", 257 * 128);
  put("largest.edid", 256 * 128);
  for (const auto& [name, size] :
       {std::pair{"empty", "0"}, std::pair{"short", "100"}, std::pair{"huge", "32896"}}) {
    EXPECT_THAT(problems(start + "\"" + name + ".edid\""),
                ElementsAre(std::string("3: hdmi[0].edid: expected a file of 1 to 256 blocks of "
                                        "128 bytes, found ") +
                            size + " bytes in '" +
                            (folder_ / (std::string(name) + ".edid")).string() + "'"));
  }
  EXPECT_EQ(load(start + "\"largest.edid\"").of<HdmiSettings>().port[0].edid.size(), 32768u);
}

TEST_F(BoardFileTest, EdidFilesStandBesideTheBoardFile) {
  fs::create_directory(folder_ / "monitors");
  put("monitors/one.edid", 128);
  const auto before = fs::current_path();
  fs::current_path("/");
  EXPECT_EQ(load("[[hdmi]]\nport = 0\nedid = \"monitors/one.edid\"")
                .of<HdmiSettings>()
                .port[0]
                .edid.size(),
            128u);
  fs::current_path(before);
}

TEST_F(BoardFileTest, EverythingWrongIsTold) {
  EXPECT_THAT(
      problems("cards = 0\ntypo = 1\n[uart]\nbaud = 1\n"),
      ElementsAre(HasSubstr("1: cards: "), HasSubstr("4: uart.baud: "), HasSubstr("2: typo: ")));
}

TEST_F(BoardFileTest, SyntaxErrorsHaveTheirLine) {
  const auto found = problems("cards = 1\ngeneration = \n");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_THAT(found[0], ::testing::StartsWith("2: "));
}

TEST_F(BoardFileTest, MissingFileAndFolder) {
  const auto problem = [](const std::string& path) {
    try {
      load_board_file(path);
    } catch (const BoardFileError& failure) {
      return std::string(failure.what());
    }
    return std::string("none");
  };
  EXPECT_EQ(problem("/nonexistent/board.toml"),
            "/nonexistent/board.toml: No such file or directory");
  EXPECT_EQ(problem(folder_.string()), folder_.string() + ": is a directory");
}

TEST_F(BoardFileTest, AxiMonitors) {
  const AxiSettings axi = load(R"(
generation = "rq301"
[axi]
seed = 7
period_cycles = 1000
[[axi.port]]
name = "3D0_AXI0"
load = "bursty"
timeout_every = 3
data_update = false
[[axi.port]]
name = "VGA_h0"
)")
                              .of<AxiSettings>();
  EXPECT_EQ(axi.seed, 7u);
  EXPECT_EQ(axi.period_cycles, 1000u);
  ASSERT_EQ(axi.ports.size(), 2u);
  EXPECT_EQ(axi.ports[0].name, "3D0_AXI0");
  EXPECT_EQ(axi.ports[0].load, AxiLoad::bursty);
  EXPECT_EQ(axi.ports[0].timeout_every, 3u);
  EXPECT_FALSE(axi.ports[0].data_update);
  EXPECT_EQ(axi.ports[1].load, AxiLoad::saturated) << "as the port usually is";
  EXPECT_TRUE(axi.ports[1].data_update);

  EXPECT_THAT(problems("[axi]\nperiod_cycles = 0\n"),
              ElementsAre("2: axi.period_cycles: expected a number from 1 to 0xFFFFFFFF, found 0"));
  EXPECT_THAT(problems("[[axi.port]]\nname = \"PCIE\"\n"),
              ElementsAre(HasSubstr("expected the name of a port: PCIE_M 2D 3D0")))
      << "of the generation";
  EXPECT_THAT(problems("[[axi.port]]\nload = \"idle\"\n"),
              ::testing::Contains(HasSubstr("expected the name of a port")));
  EXPECT_THAT(problems("[[axi.port]]\nname = \"2D\"\nload = \"heavy\"\n"),
              ElementsAre("3: axi.port[0].load: expected \"idle\", \"bursty\" or \"saturated\", "
                          "found \"heavy\""));
}

TEST_F(BoardFileTest, Training) {
  const TrainingSettings training = load(R"(
[training]
seed = 3
gap_us = 50
endless = true
[[training.channel]]
channel = 1
lanes = 16
read_eye = [20, 30.5, 60]
messages = [[0x10003, 1, 2, 0xFFFFFFFF], [0x110000]]
[[training.channel]]
channel = 0
write_eye = [1, 2, 3]
)")
                                        .of<TrainingSettings>();
  EXPECT_TRUE(training.enabled);
  EXPECT_EQ(training.seed, 3u);
  EXPECT_EQ(training.gap_us, 50u);
  EXPECT_TRUE(training.endless);
  const TrainingChannelSettings& channel = training.channels[1];
  EXPECT_EQ(channel.lanes, 16u);
  EXPECT_EQ(channel.read_eye.width, 20);
  EXPECT_EQ(channel.read_eye.height, 30.5);
  EXPECT_EQ(channel.read_eye.centre, 60);
  ASSERT_TRUE(channel.messages);
  ASSERT_EQ(channel.messages->size(), 2u);
  EXPECT_EQ(channel.messages->front().id, 0x10003u);
  EXPECT_THAT(channel.messages->front().arguments, ElementsAre(1, 2, 0xFFFFFFFF));
  EXPECT_EQ(training.channels[0].write_eye.centre, 3);
  EXPECT_FALSE(training.channels[0].messages);
  EXPECT_FALSE(load("[training]\nenabled = false\n").of<TrainingSettings>().enabled);

  EXPECT_THAT(problems("[[training.channel]]\nlanes = 3\n"),
              ElementsAre("1: training.channel[0]: expected a channel = 0 to 3"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\n[[training.channel]]\nchannel = 2\n"),
              ElementsAre("3: training.channel[1]: channel 2 is described a second time"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\nread_eye = [1, 2]\n"),
              ElementsAre("3: training.channel[0].read_eye: expected [width, height, centre] in "
                          "steps, 0 to 127, found an array of 2"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\nmessages = [[], 5]\n"),
              ElementsAre(HasSubstr("messages[0]: expected an identifier and its arguments"),
                          HasSubstr("messages[1]: expected an identifier and its arguments")));
}

TEST_F(BoardFileTest, I2cChips) {
  const BoardConfig config = load(R"(
[[power_monitors]]
chip = "ltc2991"
bus = 5
address = 0x4F
supply = 3.25
temperature = { value = 40, swing = 5, period_s = 60 }
volts = [1, 2.5, { value = 3.3, swing = 0.1 }]
shunts = [{ milliohms = 2.5, amperes = { value = 4, swing = 1, period_s = 0.5 } }, { amperes = -2 }]
[[power_monitors]]
chip = "ina3221"
bus = 5
address = 0x43
[[i2c_memories]]
bus = 0
address = 0x54
contents = [1, 0xFF]
[[video]]
port = 1
bus = 3
address = 0x25
width = 704
height = 576
[mcu]
running = false
[[mcu.monitors]]
first = 15
second = 2
edid = "one.edid"
[[faults.i2c]]
bus = 2
hangs = true
[[faults.i2c]]
bus = 1
address = 0x4C
nack = true
nack_at_byte = 3
stays_busy = true
never_ready = true
drops_valid = true
[faults.mcu]
never_done = true
)");
  ASSERT_EQ(config.of<PowerMonitors>().list.size(), 2u);
  const PowerMonitorSettings& first = config.of<PowerMonitors>().list[0];
  EXPECT_EQ(first.chip, PowerChip::ltc2991);
  EXPECT_EQ(first.bus, 5u);
  EXPECT_EQ(first.address, 0x4F);
  EXPECT_EQ(first.supply.value, 3.25);
  EXPECT_EQ(first.temperature.swing, 5);
  EXPECT_EQ(first.temperature.period_s, 60);
  ASSERT_EQ(first.volts.size(), 3u);
  EXPECT_EQ(first.volts[1].value, 2.5);
  EXPECT_EQ(first.volts[2].swing, 0.1);
  EXPECT_EQ(first.volts[2].period_s, 10);
  ASSERT_EQ(first.shunts.size(), 2u);
  EXPECT_EQ(first.shunts[0].milliohms, 2.5);
  EXPECT_EQ(first.shunts[0].amperes.period_s, 0.5);
  EXPECT_EQ(first.shunts[1].milliohms, 1);
  EXPECT_EQ(first.shunts[1].amperes.value, -2);
  EXPECT_EQ(config.of<PowerMonitors>().list[1].chip, PowerChip::ina3221);
  ASSERT_EQ(config.of<I2cSettings>().memories.size(), 1u);
  EXPECT_EQ(config.of<I2cSettings>().memories[0].address, 0x54);
  EXPECT_THAT(config.of<I2cSettings>().memories[0].contents, ElementsAre(1, 0xFF));
  EXPECT_FALSE(config.of<VideoSettings>().port[0]);
  ASSERT_TRUE(config.of<VideoSettings>().port[1]);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->bus, 3u);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->address, 0x25);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->width, 704u);
  EXPECT_EQ(config.of<VideoSettings>().port[1]->height, 576u);
  EXPECT_FALSE(config.of<McuSettings>().running);
  ASSERT_EQ(config.of<McuSettings>().monitors.size(), 1u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].first_selector, 15u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].second_selector, 2u);
  EXPECT_EQ(config.of<McuSettings>().monitors[0].edid.size(), 128u);
  ASSERT_EQ(config.faults.of<I2cFaults>().list.size(), 2u);
  EXPECT_TRUE(config.faults.of<I2cFaults>().list[0].hangs);
  EXPECT_FALSE(config.faults.of<I2cFaults>().list[0].address);
  const I2cFault& fault = config.faults.of<I2cFaults>().list[1];
  EXPECT_EQ(fault.address, 0x4C);
  EXPECT_TRUE(fault.nack && fault.stays_busy && fault.never_ready && fault.drops_valid);
  EXPECT_EQ(fault.nack_at_byte, 3u);
  EXPECT_TRUE(config.faults.of<McuFaults>().never_done);
}

TEST_F(BoardFileTest, WrongI2cChips) {
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2992'\nbus = 6\naddress = 0x4C\n"),
              ElementsAre(HasSubstr("power_monitors[0].chip: expected \"ltc2990\", "),
                          HasSubstr("power_monitors[0].bus: expected a number from 0 to 5")));
  EXPECT_THAT(problems("[[power_monitors]]\n"),
              ElementsAre(HasSubstr("expected a chip = "), HasSubstr("expected a key 'bus'"),
                          HasSubstr("expected a key 'address'")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x48\n"),
              ElementsAre(HasSubstr("address: expected a number from 76 to 79")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x4C\n"
                       "volts = [1, 2, 3, 4, 5]\n"),
              ElementsAre(HasSubstr("expected at most 4 volts and 2 shunts")));
  EXPECT_THAT(problems("[[power_monitors]]\nchip = 'ltc2990'\nbus = 1\naddress = 0x4C\n"
                       "supply = 'high'\nvolts = [{ value = 'x', swing = -1 }]\n"),
              ElementsAre(HasSubstr("supply: expected a number, or { value"),
                          HasSubstr("volts[0].value: expected a number"),
                          HasSubstr("volts[0].swing: expected a number from 0")));
  EXPECT_THAT(problems("[[i2c_memories]]\nbus = 1\naddress = 0x24\n[[video]]\nport = 0\n"
                       "bus = 1\naddress = 0x24\n"),
              ElementsAre(HasSubstr("video[0]: bus 1 has another chip at 0x24")));
  EXPECT_THAT(problems("[[video]]\nport = 0\nbus = 1\naddress = 0x24\n[[video]]\nport = 0\n"
                       "bus = 1\naddress = 0x25\n"),
              ElementsAre(HasSubstr("port 0 is described a second time")));
  EXPECT_THAT(problems("[[mcu.monitors]]\nfirst = 16\nsecond = 0\n"),
              ElementsAre(HasSubstr("first: expected a number from 0 to 15"),
                          HasSubstr("expected a key 'edid'")));
  EXPECT_THAT(problems("[[faults.i2c]]\nbus = 0\n"),
              ElementsAre(HasSubstr("expected either 'hangs', for the bus, or an 'address'")));
}

TEST_F(BoardFileTest, SensorsAreWhatTheirCodesCanSay) {
  EXPECT_THAT(
      problems("[sensors]\ntemperature = [1]\n"),
      ElementsAre("2: sensors.temperature: expected an array of 2 numbers, found an array of "
                  "1"));
  EXPECT_THAT(problems("[sensors]\nvoltage = [0.8, 1.13]\n"),
              ElementsAre("2: sensors.voltage[1]: expected numbers from 0.512 to 1.12, found "
                          "1.13"));
  EXPECT_THAT(problems("[sensors]\ntemperature = [{ value = 150, swing = 10 }, 1]\n"),
              ElementsAre("2: sensors.temperature[0]: expected numbers from -62 to 155, found 140 "
                          "to 160"));
  EXPECT_THAT(problems("[sensors]\nprocess = [1, 2, 1024]\n"),
              ElementsAre("2: sensors.process[2]: expected a number from 0 to 1023, found 1024"));
  EXPECT_THAT(problems("[sensors]\nprocess = [1, 2]\n"),
              ElementsAre("2: sensors.process: expected an array of 3 numbers, found an array of "
                          "2"));
  EXPECT_THAT(problems("[faults.clocks]\nnever_locks = [\"pll\", 1]\n"),
              ElementsAre("2: faults.clocks.never_locks[0]: expected \"devpll\", \"dev2pll\", "
                          "\"gpupll\" or \"gpu2pll\", found \"pll\"",
                          "2: faults.clocks.never_locks[1]: expected \"devpll\", \"dev2pll\", "
                          "\"gpupll\" or \"gpu2pll\", found 1"));
}

}  // namespace
}  // namespace zvgsim
