// --csv: the tables of commands as comma-separated values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

TEST(Csv, EveryTableHasIt) {
  const struct {
    const char* command;
    const char* names;
  } cases[] = {
      {"hdmi status",
       "hdmi,monitor,receivers,pll,pixel_clock,tmds_clock\n0,yes,0xf,locked,on,on\n"},
      {"hdmi mode 0", "direction,active,sync_start,sync_end,total\nhorizontal,"},
      {"dp status", "dp,sink,transmitter,rate,lanes,stream,link\n0,yes,off,,0,off,not up\n"},
      {"dp dpcd read 0 0 --decode", "dpcd,field,value\n0x00000,"},
      {"mode list", "output,controller,mode,refresh,pixel_clock,horizontal,vertical,syncs\n"},
      {"video status", "port,capture,window,source,at,size,offset,formats,flag\n0,no,none,off,,"},
      {"vga gain", "colour,gain\nred,"},
      {"clock list", "clock,mhz,what\naxi,601,AXI bus\n"},
      {"sensor read", "sensor,celsius,volts\n0,"},
      {"flash edid list", "address,type,output,bytes,state\n"},
      {"power read", "time,chip,rail,volts,amperes,watts\n20"},
  };
  for (const auto& c : cases) {
    const Result result = zvgctl_sim(std::string(c.command) + " --csv");
    EXPECT_EQ(result.exit, 0) << c.command << result.err;
    EXPECT_THAT(result.out, StartsWith(c.names)) << c.command;
    // Every line of a table has as many fields as its names.
    std::istringstream lines(result.out);
    long commas = -1;
    for (std::string line; std::getline(lines, line);) {
      if (line.empty()) {
        commas = -1;
        continue;
      }
      if (line.find('"') != std::string::npos) continue;
      const long here = std::count(line.begin(), line.end(), ',');
      if (commas < 0) commas = here;
      EXPECT_EQ(here, commas) << line;
    }
  }
}

TEST(Csv, DifferencesOfSnapshots) {
  const Folder folder;
  const std::string before = folder.put("a", "100 1 C f 32\n104 2 C f 32\n");
  const std::string after = folder.put("b", "100 3 C f 32\n");
  EXPECT_EQ(zvgctl("reg diff --csv " + before + " " + after).out,
            "register,before,after\n0x000100,0x00000001,0x00000003\n0x000104,0x00000002,\n");
}

TEST(Csv, IsNoDocument) {
  EXPECT_EQ(zvgctl_sim("hdmi status --csv --json").exit, 2);
  EXPECT_EQ(zvgctl_sim("reg read 0x100 --csv").exit, 2) << "there is no table";
}

}  // namespace
