// Which display controller feeds which output.
#include <stdint.h>
#include <stdio.h>

#include "util_zvg.h"

namespace zvg::display {

namespace {

// A byte for every output instance, with a selector of two bits for each kind of output.
constexpr uint64_t output_mux = 0x10024;
constexpr uint32_t instances = 4;
constexpr uint32_t bits_per_instance = 8;
constexpr uint32_t selector_mask = 3;

enum Output : uint32_t { dac = 0, hdmi = 2, dvo = 4, dp = 6 };  // the selector's place in the byte

struct OutputName {
  Output output;
  const char* name;
};

constexpr OutputName output_names[] = {{dac, "DAC"}, {hdmi, "HDMI"}, {dvo, "DVO"}, {dp, "DP"}};

// Terminal background colours of the report, by controller.
constexpr const char* crtc_colours[] = {"\033[43m", "\033[44m", "\033[42m", "\033[41m"};

uint32_t read_mux() {
  uint32_t value = 0;
  zvgRegReadLong(output_mux, &value);
  return value;
}

uint32_t selector_of(uint32_t mux, uint32_t instance, Output output) {
  return mux >> (instance * bits_per_instance + output) & selector_mask;
}

// 0 selects the instance's own controller, 1 to 3 one of the other three in ascending order.
uint32_t crtc_of(uint32_t instance, uint32_t selector) {
  if (selector > selector_mask) {
    puts("out_mux out of range");
    return 0;
  }
  if (selector == 0) return instance;
  return selector - 1 < instance ? selector - 1 : selector;
}

uint32_t crtc_of_output(uint32_t instance, Output output) {
  const uint32_t mux = read_mux();
  if (instance >= instances) {
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
  for (uint32_t instance = 0; instance < instances; ++instance) {
    for (const OutputName& row : output_names) {
      const uint32_t crtc = crtc_of(instance, selector_of(mux, instance, row.output));
      printf("%s%s %u -> CRTC%u\033[0m  ", crtc_colours[crtc], row.name, instance, crtc);
    }
    printf("\n");
  }
  return 0;
}

uint32_t zvgVgaModeRead(int instance, uint32_t* mode) {
  return zvgCrtcModeRead(crtc_of_output(static_cast<uint32_t>(instance), dac), mode);
}

uint32_t zvgDvoModeRead(uint32_t instance, uint32_t* mode) {
  return zvgCrtcModeRead(crtc_of_output(instance, dvo), mode);
}
