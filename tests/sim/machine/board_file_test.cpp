// Board files: every key, and what is said about a wrong one.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
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
#include "sim/board_file_fixture.h"

namespace zvgsim {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

}  // namespace
}  // namespace zvgsim
