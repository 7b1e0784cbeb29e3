// Which controller feeds which output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/panel/vga_node.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using zvgtest::capture;
using zvgtest::RegisterNode;
using zvgtest::text;
using zvgtest::VgaRegisters;

// Rows: instance; columns: selector.
constexpr unsigned crtc_of[4][4] = {{0, 1, 2, 3}, {1, 0, 2, 3}, {2, 0, 1, 3}, {3, 0, 1, 2}};
constexpr const char* colour_of[4] = {"\033[43m", "\033[44m", "\033[42m", "\033[41m"};

class OutputMux : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    vga_ = std::make_unique<VgaRegisters>(node_);
    // The active width tells the controllers apart.
    vga_->pair(0x62, 1000);
    for (unsigned crtc = 1; crtc < 4; ++crtc) {
      zvgRegWriteWord(0x10000 + crtc * 0x40 + 2, static_cast<uint16_t>(1000 + crtc));
    }
    node_.take();
  }
  void mux(uint32_t value) {
    zvgRegWriteLong(0x10024, value);
    node_.take();
  }
  std::string report() {
    const auto output = capture([&] { EXPECT_EQ(zvgCrtcOutputPrint(), 0); });
    EXPECT_EQ(output.err, "");
    return output.out;
  }
  RegisterNode node_;
  std::unique_ptr<VgaRegisters> vga_;
};

std::string field(const char* name, unsigned instance, unsigned selector) {
  const unsigned crtc = crtc_of[instance][selector];
  return text("%s%s %u -> CRTC%u\033[0m  ", colour_of[crtc], name, instance, crtc);
}

TEST_F(OutputMux, ReportOfEverySelector) {
  for (const uint32_t value :
       {0u, 0x1B1B1B1Bu, 0xE4E4E4E4u, 0xFFFFFFFFu, 0x55AA55AAu, 0x12345678u}) {
    mux(value);
    std::string expected = text("The value of HDMI_DAC_DVO_OUT_MUX reg: 0x%08X\n", value);
    for (unsigned n = 0; n < 4; ++n) {
      const unsigned byte = value >> n * 8 & 0xFF;
      expected += field("DAC", n, byte & 3) + field("HDMI", n, byte >> 2 & 3) +
                  field("DVO", n, byte >> 4 & 3) + field("DP", n, byte >> 6) + "\n";
    }
    EXPECT_EQ(report(), expected);
    EXPECT_THAT(node_.take(), ElementsAre("r4 0x10024"));
  }
}

TEST_F(OutputMux, OutputsReadTheirController) {
  for (unsigned instance = 0; instance < 4; ++instance) {
    for (unsigned selector = 0; selector < 4; ++selector) {
      const uint32_t wanted = 1000 + crtc_of[instance][selector];
      mux(selector << instance * 8);
      uint32_t mode[10] = {};
      EXPECT_EQ(zvgVgaModeRead(static_cast<int>(instance), mode), 54000u);
      EXPECT_EQ(mode[1], wanted);
      EXPECT_EQ(node_.take().front(), "r4 0x10024");
      mux(selector << (instance * 8 + 4));
      EXPECT_EQ(zvgDvoModeRead(instance, mode), 54000u);
      EXPECT_EQ(mode[1], wanted);
    }
  }
}

TEST_F(OutputMux, InstanceOutOfRangeReadsTheFirstController) {
  mux(0xFFFFFFFF);
  uint32_t mode[10] = {};
  auto output = capture([&] { zvgVgaModeRead(-1, mode); });
  EXPECT_EQ(output.out, "channel out of range\n");
  EXPECT_EQ(mode[1], 1000u);
  EXPECT_EQ(node_.take().front(), "r4 0x10024");
  mode[1] = 0;
  output = capture([&] { zvgDvoModeRead(4, mode); });
  EXPECT_EQ(output.out, "channel out of range\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(mode[1], 1000u);
}

}  // namespace
