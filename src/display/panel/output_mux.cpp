// Which display controller feeds which output.
#include <stdint.h>
#include <stdio.h>

#include "core/chip.h"
#include "hw/blocks/display_controllers.h"
#include "util_zvg.h"

namespace zvg::display {

namespace {

using namespace hw::display_controllers;

struct OutputName {
  MuxShift output;
  const char* name;
};

constexpr OutputName output_names[] = {
    {mux_dac, "DAC"}, {mux_hdmi, "HDMI"}, {mux_dvo, "DVO"}, {mux_dp, "DP"}};

// Terminal background colours of the report, by controller.
constexpr const char* crtc_colours[] = {"\033[43m", "\033[44m", "\033[42m", "\033[41m"};

uint32_t read_mux() {
  uint32_t value = 0;
  zvgRegReadLong(core::chip().output_mux.first, &value);
  return value;
}

uint32_t selector_of(uint32_t mux, uint32_t instance, MuxShift output) {
  return mux >> (instance * mux_bits_per_instance + output) & mux_selector;
}

// 0 selects the instance's own controller, 1 to 3 one of the other three in ascending order.
uint32_t crtc_of(uint32_t instance, uint32_t selector) {
  if (selector > mux_selector) {
    puts("out_mux out of range");
    return 0;
  }
  if (selector == 0) return instance;
  return selector - 1 < instance ? selector - 1 : selector;
}

uint32_t crtc_of_output(uint32_t instance, MuxShift output) {
  const uint32_t mux = read_mux();
  if (instance >= mux_instances) {
    puts("channel out of range");
    return 0;
  }
  return crtc_of(instance, selector_of(mux, instance, output));
}

}  // namespace

}  // namespace zvg::display

using namespace zvg::display;

int zvgCrtcOutputPrint(void) {
  const uint32_t mux = read_mux();
  printf("The value of HDMI_DAC_DVO_OUT_MUX reg: 0x%08X\n", mux);
  for (uint32_t instance = 0; instance < mux_instances; ++instance) {
    for (const OutputName& row : output_names) {
      const uint32_t crtc = crtc_of(instance, selector_of(mux, instance, row.output));
      printf("%s%s %u -> CRTC%u\033[0m  ", crtc_colours[crtc], row.name, instance, crtc);
    }
    printf("\n");
  }
  return 0;
}

uint32_t zvgVgaModeRead(int instance, uint32_t* mode) {
  return zvgCrtcModeRead(crtc_of_output(static_cast<uint32_t>(instance), mux_dac), mode);
}

uint32_t zvgDvoModeRead(uint32_t instance, uint32_t* mode) {
  return zvgCrtcModeRead(crtc_of_output(instance, mux_dvo), mode);
}
