#include "failures/command_lines.h"

#include <filesystem>
#include <fstream>

namespace zvgtest {

namespace {

namespace fs = std::filesystem;

// Capture port 0 in window A, as 'video init' leaves it.
constexpr char captured[] = "[[registers]]\noffset = 0x100c0\nvalue = 0x510\n";

// What is measured a moment later is the same.
constexpr char steady_rails[] =
    "[[power_monitors]]\nname = \"steady\"\nchip = \"ltc2990\"\nbus = 1\naddress = 0x4D\n"
    "volts = [3.3, 3.2, 1.8, 1.7]\n";

void put(const fs::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

}  // namespace

const std::vector<CommandLine>& command_lines() {
  static const std::vector<CommandLine> lines = {
      {"info"},
      {"info --json"},
      {"doctor --json"},
      {"reg read 0x288400"},
      {"reg read 0x111001-0x111010 --width 8"},
      {"reg read 0x308000 --count 16 --json"},
      {"reg write 0x308030 0x301"},
      {"reg write 0x117e00 0x50 0x00 --width 8"},
      {"reg mask 0x113000 0x38 0x30"},
      {"reg mask 0x308030 0x100 0 --width 32"},
      {"reg watch 0x308050 -i 1 -n 4"},
      {"reg snapshot --range 0x288000-0x28803f -o after.txt"},
      {"reg diff before.txt before.txt"},
      {"vram read 0x100000 --count 16"},
      {"vram read 0x100000-0x10000f --width 8"},
      {"vram write 0x100000 0xff0000ff 0xff00ff00"},
      {"vram dump out.bin --offset 0x100000 --length 0x80"},
      {"vram load small.bin --offset 0x100000 --yes"},
      {"vram fill 0xff0000ff --offset 0x100000 --length 0x80 --yes"},
      {"crtc read 0x11"},
      {"crtc read 0-0x18"},
      {"crtc write 0x11 0x8e"},
      {"crtc dump"},
      {"amba read 0x1308000"},
      {"amba read 0x8000000000 --count 16"},
      {"amba write 0x8000000010 0x12345678"},
      {"amba mask 0x1113000 0x38 0x30"},
      {"kmem read 0xffff888000001000 --width 64"},
      {"kmem read 0xffff888000001000 --count 16 --width 8"},
      {"kmem write 0xffff888000001000 1 --yes"},
      {"pci read 0"},
      {"pci read 0x10-0x24"},
      {"pci write 0x04 0x00100007 --yes"},
      {"pci dump"},
      {"ioport read 0xcc"},
      {"ioport write 0xc2 0x03 --yes"},
      {"edid read --hdmi 0"},
      {"edid read --hdmi 2 --json"},
      {"edid read --hdmi 0 --raw monitor.out --no-report"},
      {"edid read --dp 1"},
      {"edid read --ddc 2"},
      {"edid read --mcu 0:1"},
      {"edid show monitor.bin"},
      {"hdmi status"},
      {"hdmi status 0 --json"},
      {"hdmi mode 0"},
      {"hdmi mode 1 --json"},
      {"hdmi phy read 0 0x06"},
      {"hdmi phy write 0 0x06 0x0008"},
      {"hdmi phy reset 0"},
      {"hdmi phy start 0"},
      {"hdmi phy end 0"},
      {"hdmi ddc init 0"},
      {"hdmi ddc read 0 0x50 0 --count 8"},
      // No virtual monitor acknowledges it.
      {.words = "hdmi ddc write 0 0x37 0x51 0x82 --yes", .exit = 1},
      {"hdmi ddc dump 0 0x50"},
      {"i2c scan", Failing::is_an_answer},
      {"i2c scan 1", Failing::is_an_answer},
      {"i2c read 1 0x4c 0x06 --count 10"},
      {"i2c read 0 0x54 0"},
      {"i2c write 1 0x4c 0x01 0x5f --yes"},
      {"i2c dump 0 0x54"},
      {"ddc read 0"},
      {"ddc read 0 --raw monitor.out"},
      {"power read --chip ltc2990:1:0x4c:5,5"},
      {"power read --chip ltc2991:1:0x48:10,10,2,1"},
      {"power read --chip ina3221:2:0x40:5,10"},
      {"power watch --chip ltc2990:1:0x4c:5,5 --csv --count 2"},
      {"video init 0 --channel 3"},
      {.words = "video start 0 --at 100,50 --size 720x480 --format-a 1", .board = captured},
      {.words = "video stop 0", .board = captured},
      {.words = "video restart 0", .board = captured},
      {.words = "video status", .board = captured},
      {"mcu edid 0:1"},
      {"mcu edid 0:1 --raw monitor.out"},
      {"mcu reset --yes"},
      {"dp status"},
      {"dp status 0 --json"},
      {"dp dpcd read 0 0"},
      {"dp dpcd read 0 0x202 --count 6 --decode"},
      {"dp dpcd write 0 0x600 1"},
      {"dp dpcd dump 0"},
      {"dp edid 0"},
      {"dp train 1"},
      {"dp mode-set 0"},
      {"dp cdb read 0 0xe001"},
      {"dp cdb write 0 0xe001 1"},
      {"dp phy read 0 0x44"},
      {"dp phy write 0 0x44 1"},
      {"dp phy power 0 3"},
      {"mode list"},
      {"panel backlight 80"},
      {"panel pwm 80"},
      {"panel self-test on"},
      {"vga gain"},
      {"vga gain --red 40 --green 40 --blue 40"},
      {"gamma set 0 --gamma 2.2 --temperature 5000"},
      {"gamma show --gamma 2.2"},
      {"clock list"},
      {"clock get 3d"},
      {"clock get axi --json"},
      {"clock set 3d --mhz 900 --yes"},
      {"clock set pcie --word 0x00ae0121 --yes"},
      {"clock plan --mhz 900"},
      {"clock mode 3d bypass --yes"},
      {"clock mode gpu2pll off --yes"},
      {"clock mode devpll on --yes"},
      {"sensor read"},
      {"sensor read --process"},
      {"sensor watch --count 2"},
      {"fan set 60"},
      {"fan auto"},
      {"fan test-temperature 85"},
      {"query"},
      {"query LOAD 0"},
      {"query C --json"},
      {"power-state get"},
      {"power-state set performance"},
      // It asks on a terminal; of a board it wants nothing.
      {.words = "env menu", .exit = 2},
      {"env list"},
      {.words = "env set 3d gl", .before = "env clear --yes"},
      {"env clear --yes"},
      {"top --csv board.csv --count 2", Failing::is_repeated},
      {"top --once --json", Failing::is_repeated},
      {.words = "top --csv board.csv --chip ltc2990:1:0x4d:5,5 --count 2",
       .failing = Failing::is_repeated,
       .board = steady_rails},
      {"flash status"},
      {"flash read --region 0x70200:0x40"},
      {"flash read --region 0x70000:0x400 -o flash.out"},
      {"flash erase --region 0x100000:0x1000 --yes"},
      {"flash write small.bin --offset 0x180000 --backup old.out --yes"},
      {"flash write sector.bin --offset 0x180800 --no-backup --yes"},
      {"flash verify zeros.bin"},
      {"flash protect"},
      {"flash unprotect --yes"},
      {"flash edid list"},
      {"flash edid set 1 monitor.bin --backup old.out --yes"},
      {"flash sn read"},
      {"script run script.txt"},
      {"script run ddr_script.txt --ddr 0x3"},
      {"check check.txt"},
      {"read read.txt"},
      {"ddr read 0x2801b0"},
      {"ddr write 0x2801b0 0x1 --mask 0x1"},
      {.words = "ddr dump --mask 0x1 -o ddr.out", .long_run = true},
      {"ddr eye --channel 0x1"},
      {"ddr messages 0x00160004"},
      {"axi sample --count 2 -o traffic"},
      {.words = "axi summary", .chip = "rq301"},
      {.words = "axi report sampled -o page.html", .before = "axi sample --count 2 -o sampled"},
      {.words = "axi top --count 2 --interval 0.1", .terminal = true},
  };
  return lines;
}

void make_files(const std::string& folder) {
  const fs::path path(folder);
  put(path / "before.txt", "288000 0000000f C ffffffff 32\n");
  put(path / "script.txt",
      "308030 301 W ffffffff 32\n"
      "308030 301 C ffffffff 32\n"
      "308030 301 R 00000301 32\n"
      "308034 10 S 00000010 32\n");
  put(path / "ddr_script.txt",
      "2801b0 1 W ffffffff 32\n"
      "2801b0 1 R ffffffff 32\n");
  put(path / "check.txt",
      "308030 WM0 ffffffff 32 301\n"
      "308030 RM0 ffffffff 32 301\n"
      "3004 RH0 01 8 01\n");
  put(path / "read.txt",
      "308030 RM0 ffffffff 32\n"
      "3004 RH0 01 8\n");
  put(path / "small.bin", std::string(96, '\x5A') + std::string(32, '\xA5'));
  put(path / "sector.bin", std::string(0x900, '\x3C'));
  put(path / "zeros.bin", std::string(64, '\xFF'));
  fs::copy_file(fs::path(ZVG_MONITORS) / "office-24-dvi.edid", path / "monitor.bin");
}

}  // namespace zvgtest
