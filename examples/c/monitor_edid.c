/*
 * Says which monitor is behind each HDMI transmitter: looks whether one is plugged in, fetches its
 * EDID over its own wires, checks the first block and takes maker, product and size from it. The
 * library prints the bytes while it fetches them; do_edid_parse(NULL) would print all they mean.
 *
 *   cc monitor_edid.c $(pkg-config --cflags --libs util_zvg)
 *   zvgsim run -- ./a.out
 */
#include <stdio.h>
#include <util_zvg.h>

enum { TRANSMITTERS = 4 };

/* The maker's three letters, five bits each, A is 1. */
static void maker(const uint8_t* edid, char letters[4]) {
  unsigned packed = (unsigned)edid[8] << 8 | edid[9];
  for (int i = 0; i < 3; ++i) letters[i] = (char)('A' - 1 + (packed >> (10 - 5 * i) & 0x1F));
  letters[3] = '\0';
}

/* 1 for a monitor that was read, 0 for none, -1 for one that could not be read. */
static int show(unsigned transmitter) {
  uint8_t plugged;
  if (zvgHdmiHpdSense(transmitter, &plugged) != 0) {
    fprintf(stderr, "HDMI %u: its status cannot be read\n", transmitter);
    return -1;
  }
  if (plugged == 0) {
    printf("HDMI %u: no monitor\n", transmitter);
    return 0;
  }
  if (zvgHdmiDDCInit(transmitter) != 0 || zvgHdmiEDIDRead(transmitter) != 0) {
    fprintf(stderr, "HDMI %u: a monitor, but its EDID cannot be read\n", transmitter);
    return -1;
  }
  if (!zvg_edid_block_is_valid(g_last_edid, 0)) {
    fprintf(stderr, "HDMI %u: its EDID is damaged\n", transmitter);
    return -1;
  }
  char letters[4];
  maker(g_last_edid, letters);
  printf("HDMI %u: %s %u, %u x %u cm\n", transmitter, letters,
         (unsigned)(g_last_edid[11] << 8 | g_last_edid[10]), g_last_edid[21], g_last_edid[22]);
  return 1;
}

int main(void) {
  if (zvgRwOpen(0) < 0) return 1; /* has said why */
  int status = 0;
  for (unsigned transmitter = 0; transmitter < TRANSMITTERS; ++transmitter) {
    if (show(transmitter) < 0) status = 1; /* the others may do */
  }
  zvgClose();
  return status;
}
