/* A bring-up program in C: everything but the board. */
#include <stdio.h>
#include <string.h>
#include <util_zvg.h>

int main(void) {
  uint32_t value = 1;
  if (strcmp(zvgType2Str(ZVG_MODE_DRIVER), "ZVGWR") != 0) return 1;
  if (zvgRegReadLong(0, &value) != -22 || value != 0) return 2; /* no connection is open */
  if (g_last_edid != last_edid) return 3;
  if (zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS] != 4) return 4;
  printf("C program: ok\n");
  return 0;
}
