/* Raw requests to the driver's node, and how each ended: a line each. The answers are the same
   whether the node is in this process or forwarded by the kernel. */
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

static int fd;

/* The result and, of a request that was done, the record's first words. */
static void show(const char* what, unsigned long request, void* record, unsigned words) {
  errno = 0;
  const int result = ioctl(fd, request, record);
  printf("%s: %d %s", what, result, result == 0 ? "done" : strerror(errno));
  for (unsigned i = 0; i < words; ++i) {
    uint32_t word;
    memcpy(&word, (const char*)record + 4 * i, sizeof word);
    printf(" %x", word);
  }
  printf("\n");
}

struct load {
  uint32_t crtc, size;
  uint64_t tables[3];
};

int main(int argc, char** argv) {
  fd = open("/dev/zvgrw", O_RDWR);
  if (fd < 0) {
    perror("/dev/zvgrw");
    return 1;
  }
  uint32_t access[8] = {0, 2, 1, 4, 0x700300, 0, 0xfeedf00d, 0};
  show("register write", 0xC0206401, access, 8);
  uint32_t again[8] = {0, 2, 0, 2, 0x700302, 0, 0, 0};
  show("register read", 0xC0206401, again, 8);
  again[0] = 9;
  show("no such card", 0xC0206401, again, 1);
  again[0] = 0;
  again[3] = 3;
  show("no such width", 0xC0206401, again, 1);

  char unaligned[33] = {0};
  memcpy(unaligned + 1, access, sizeof access);
  show("unaligned record", 0xC0206401, unaligned + 1, 8);
  uint32_t version[4] = {0};
  show("kernel version", 0xC0106403, version, 4);
  uint32_t query[34] = {0, 0};
  show("device id", 0xC0886410, query, 3);
  uint32_t ddc[133] = {0, 0};
  show("ddc read", 0xC2146402, ddc, 6);
  uint8_t port[4] = {0xCC, 0, 0, 0};
  show("i/o port", 0xC0036412, port, 1);
  uint32_t memory[6] = {0x1000, 0, 0, 4, 0, 0};
  show("kernel memory that is none", 0xC0186406, memory, 1);
  uint32_t percent = 101;
  show("too fast a fan", 0xC0046415, &percent, 1);
  percent = 60;
  show("manual fan", 0xC0046415, &percent, 1);
  show("automatic fan", 0x6416, NULL, 0);

  static uint16_t tables[3][256];
  for (int i = 0; i < 256; ++i) tables[0][i] = tables[1][i] = tables[2][i] = (uint16_t)(i << 8);
  struct load load = {1, 256, {0, 0, 0}};
  for (int i = 0; i < 3; ++i) load.tables[i] = (uintptr_t)tables[i];
  show("lookup table", 0xC0206413, &load, 2);
  load.tables[2] = 16;
  show("lookup table that is nowhere", 0xC0206413, &load, 2);
  load.size = 255;
  show("lookup table too short", 0xC0206413, &load, 2);
  load.crtc = 4;
  show("no such controller", 0xC0206413, &load, 2);

  show("unused number", 0xC020640D, access, 1);
  show("wrong size", 0xC01C6401, access, 1);
  show("fan request with a record", 0xC0046416, &percent, 1);
  show("another type", 0xC0206501, access, 1);
  show("a terminal's", 0x5401, access, 1);
  show("no record", 0xC0206401, NULL, 0);
  char byte = 0;
  const int got = (int)read(fd, &byte, 1);
  printf("read: %d %s\n", got, strerror(errno));
  const int put = (int)write(fd, &byte, 1);
  printf("write: %d %s\n", put, strerror(errno));
  /* Only a kernel can tell: in process it would be the end of the program. */
  if (argc > 1 && strcmp(argv[1], "--forwarded") == 0) {
    errno = 0;
    const int result = ioctl(fd, 0xC0206401UL, (void*)16);
    fprintf(stderr, "record that is nowhere: %d %s\n", result, strerror(errno));
    if (result != -1 || errno != EFAULT) return 1;
  }
  return close(fd) == 0 ? 0 : 1;
}
