/* A small program that knows nothing of the virtual board: it opens the devices that a host with a
 * card has, and tells what it found. The tests run it with and without a board. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
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

#ifdef __x86_64__

static sigjmp_buf escape;

static void on_fault(int number) {
  (void)number;
  siglongjmp(escape, 1);
}

static void* count_up(void* counter) {
  for (int i = 0; i < 200; ++i)
    __asm__ volatile("lock incl (%0)" : : "r"(counter) : "memory", "cc");
  return NULL;
}

// A program with threads, children and a handler for its own faults, all on mapped registers.
static void live_apertures(void) {
  const int fd = open("/dev/mem", O_RDWR);
  struct sigaction action = {.sa_handler = on_fault};
  sigaction(SIGSEGV, &action, NULL);
  volatile uint32_t* const registers =
      mmap(NULL, 0x1000000, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0xE0000000);
  if (registers == MAP_FAILED) exit(9);
  close(fd);
  volatile int* const nowhere = mmap(NULL, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  for (int i = 0; i < 2; ++i) {
    if (sigsetjmp(escape, 1) == 0) {
      *nowhere = 1;
    } else {
      printf("a fault of its own, then 0x%x\n", registers[0x300000 / 4]);
    }
  }
  pthread_t threads[3];
  for (int i = 0; i < 3; ++i) {
    pthread_create(&threads[i], NULL, count_up, (void*)&registers[0x300004 / 4]);
  }
  for (int i = 0; i < 3; ++i) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
      registers[0x300010 / 4 + i] = registers[0x300000 / 4] + 1;
      _exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 7) exit(8);
  }
  for (int i = 0; i < 3; ++i) pthread_join(threads[i], NULL);
  printf("counted %u, children wrote %u\n", registers[0x300004 / 4],
         registers[0x300010 / 4] + registers[0x300014 / 4] + registers[0x300018 / 4]);
}

#endif

int main(int argc, char** argv) {
  const char* const what = argc > 1 ? argv[1] : "";
  if (strcmp(what, "exit") == 0) return atoi(argv[2]);
  if (strcmp(what, "sleep") == 0) sleepy();
  if (strcmp(what, "aperture") == 0) apertures();
#ifdef __x86_64__
  if (strcmp(what, "live") == 0) live_apertures();
#endif
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
