// The same in C++.
#include <util_zvg.h>

#include <cstdio>
#include <cstring>

int main() {
  zvg_display_mode mode{};
  mode.hdisplay = 1920;
  mode.vdisplay = 1080;
  if (zvg_mode_set_name(&mode) != 9 || std::strcmp(mode.name, "1920x1080") != 0) return 1;
  if (set_rq302_reg_base() != zvg_gpu_hardware) return 2;
  if (zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS] != 2) return 3;
  std::printf("C++ program: ok\n");
}
