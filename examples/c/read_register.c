/*
 * Reads a register by its offset in the register space, and tells a value from a board that is
 * gone: a chip that is off the bus reads as all ones, with a result of 0. So a second register, of
 * another block, is asked before all ones are believed.
 *
 *   cc read_register.c $(pkg-config --cflags --libs util_zvg)
 *   zvgsim run -- ./a.out 0x288400        on the virtual board
 *   ./a.out 0x288400 1                    on the second real one
 */
#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <util_zvg.h>

/* A whole number from 0 to max, decimal or "0x...". */
static int parse(const char* text, uint64_t max, uint64_t* number) {
  char* end;
  errno = 0;
  unsigned long long value = strtoull(text, &end, 0);
  if (errno != 0 || end == text || *end != '\0' || text[0] == '-' || value > max) return -1;
  *number = value;
  return 0;
}

static int answers(void) {
  uint32_t control = 0xFFFFFFFF;
  return zvgRegReadLong(zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL], &control) == 0 &&
         control != 0xFFFFFFFF;
}

int main(int argc, char** argv) {
  uint64_t offset;
  uint64_t card = 0;
  if (argc < 2 || argc > 3 || parse(argv[1], 0xFFFFFC, &offset) != 0 || offset % 4 != 0 ||
      (argc == 3 && parse(argv[2], 15, &card) != 0)) {
    fprintf(stderr, "usage: %s OFFSET [CARD]    a multiple of 4 up to 0xFFFFFC\n", argv[0]);
    return 2;
  }
  if (zvgRwOpen((int)card) < 0) return 1; /* has said why */

  int status = 1;
  uint32_t value;
  if (zvgRegReadLong(offset, &value) != 0) {
    fprintf(stderr, "cannot read 0x%" PRIx64 ": %s\n", offset, strerror(errno));
  } else if (value == 0xFFFFFFFF && !answers()) {
    fprintf(stderr, "the board does not answer: all its registers read as ones\n");
  } else {
    printf("0x%06" PRIx64 ": 0x%08" PRIx32 "\n", offset, value);
    status = 0;
  }
  zvgClose();
  return status;
}
