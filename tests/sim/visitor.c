/* A small program that knows nothing of the virtual board: it opens the devices that a host with a
 * card has, and tells what it found. The tests run it with and without a board. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

struct access {
  uint32_t card, bar, op, width;
  uint64_t offset, value;
};

static uint64_t reg(int fd, uint32_t op, uint64_t offset, uint64_t value) {
  struct access record = {0, 2, op, 4, offset, value};
  if (ioctl(fd, 0xC0206401, &record) != 0) {
    perror("ioctl");
    exit(3);
  }
  return record.value;
}

static int open_driver(void) {
  const int fd = open("/dev/zvgrw", O_RDWR);
  if (fd < 0) {
    printf("no driver: %s\n", strerror(errno));
    exit(4);
  }
  return fd;
}

static void* hammer(void* argument) {
  const int fd = *(int*)argument;
  for (int i = 0; i < 3000; ++i) {
    if (reg(fd, 0, 0x300000, 0) != 0x55) exit(5);
  }
  return NULL;
}

/* Threads that use the board while others fork: nobody may hang or read wrong. */
static void threads_and_forks(int fd) {
  pthread_t threads[3];
  reg(fd, 1, 0x300000, 0x55);
  for (int i = 0; i < 3; ++i) pthread_create(&threads[i], NULL, hammer, &fd);
  for (int i = 0; i < 10; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      if (reg(fd, 0, 0x300000, 0) != 0x55) _exit(6);
      close(fd);
      _exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 7) exit(8);
  }
  for (int i = 0; i < 3; ++i) pthread_join(threads[i], NULL);
  printf("threads and forks are fine\n");
}

static void sleepy(void) {
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  sleep(3600);
  usleep(900000);
  clock_gettime(CLOCK_MONOTONIC, &end);
  printf("slept %s\n", end.tv_sec - start.tv_sec < 60 ? "virtually" : "really");
}

static void apertures(void) {
  const int driver = open_driver();
  const int fd = open("/dev/mem", O_RDWR);
  volatile uint32_t* const registers =
      mmap(NULL, 0x1000000, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0xE0000000);
  if (registers == MAP_FAILED) {
    printf("no aperture: %s\n", strerror(errno));
    exit(9);
  }
  registers[0x300000 / 4] = 0xABCD;
  printf("register 0x%llx\n", (unsigned long long)reg(driver, 0, 0x300000, 0));
}

int main(int argc, char** argv) {
  const char* const what = argc > 1 ? argv[1] : "";
  if (strcmp(what, "exit") == 0) return atoi(argv[2]);
  if (strcmp(what, "sleep") == 0) sleepy();
  if (strcmp(what, "aperture") == 0) apertures();
  if (strcmp(what, "threads") == 0) threads_and_forks(open_driver());
  if (strcmp(what, "registers") == 0) {
    const int fd = open_driver();
    reg(fd, 1, 0x300000, 0x12345678);
    printf("register 0x%llx\n", (unsigned long long)reg(fd, 0, 0x300000, 0));
  }
  if (strcmp(what, "files") == 0) {
    const int fd = open("/proc/self/comm", O_RDONLY);
    char name[64] = "";
    if (read(fd, name, sizeof name - 1) < 0) return 10;
    close(fd);
    printf("comm %s", name);
  }
  return 0;
}
