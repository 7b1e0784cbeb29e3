// Programs that have signals, threads and children of their own beside trapped memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "sim/doors/trapped_memory_fixture.h"

#ifdef __x86_64__

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

sigjmp_buf escape;
volatile void* faulted_at;
volatile int faults;

void escape_handler(int, siginfo_t* info, void*) {
  faulted_at = info->si_addr;
  faults = faults + 1;
  siglongjmp(escape, 1);
}

void on_fault_do(void (*handler)(int, siginfo_t*, void*), int flags = 0) {
  struct sigaction action = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO | flags;
  ASSERT_EQ(sigaction(SIGSEGV, &action, nullptr), 0);
}

// A page without access that nobody answers for.
volatile int* nowhere() {
  static void* const page = mmap(nullptr, page_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return static_cast<volatile int*>(page);
}

TEST_F(TrappedMemoryTest, ProgramsHandlerGetsItsOwnFaults) {
  on_fault_do(escape_handler);
  faults = 0;
  for (int i = 1; i <= 3; ++i) {
    if (sigsetjmp(escape, 1) == 0) *nowhere() = 1;
    EXPECT_EQ(faults, i);
    EXPECT_EQ(faulted_at, nowhere());
    EXPECT_EQ(at<uint32_t>(counter_at), static_cast<uint32_t>(i)) << "and only those";
  }
  struct sigaction now = {};
  ASSERT_EQ(sigaction(SIGSEGV, nullptr, &now), 0);
  EXPECT_EQ(now.sa_sigaction, escape_handler) << "which it is told, too";
  EXPECT_EQ(signal(SIGSEGV, SIG_DFL), now.sa_handler);
  EXPECT_EXIT(*nowhere() = 1, ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(TrappedMemoryTest, FaultWithinAnInstructionOnTheMemoryIsTheProgramsWithItsRegisters) {
  on_fault_do([](int, siginfo_t* info, void* context) {
    faulted_at = info->si_addr;
    auto* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    faults = registers[REG_RDI] == reinterpret_cast<greg_t>(nowhere()) ? 1 : 0;
    registers[REG_RDI] = registers[REG_R8];  // mended: the instruction is carried out again
  });
  faults = 0;
  uint64_t copied = 0;
  uint64_t rdi = reinterpret_cast<uint64_t>(nowhere());
  uint64_t rsi = reinterpret_cast<uint64_t>(memory_);
  register uint64_t* r8 asm("r8") = &copied;
  asm volatile("movsq" : "+D"(rdi), "+S"(rsi) : "r"(r8) : "memory");
  EXPECT_EQ(faults, 1);
  EXPECT_EQ(faulted_at, nowhere());
  EXPECT_EQ(copied, 0x8887868584838281u);
  signal(SIGSEGV, SIG_DFL);
}

TEST_F(TrappedMemoryTest, OneShotHandlersAreOne) {
  on_fault_do(escape_handler, static_cast<int>(SA_RESETHAND));
  if (sigsetjmp(escape, 1) == 0) *nowhere() = 1;
  EXPECT_EXIT(*nowhere() = 1, ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(TrappedMemoryTest, IgnoredAndBlockedFaultsKillAndSentSignalsDoNot) {
  signal(SIGSEGV, SIG_IGN);
  raise(SIGSEGV);
  EXPECT_EXIT(*nowhere() = 1, ::testing::KilledBySignal(SIGSEGV), "");
  on_fault_do(escape_handler);
  const auto fault_while_blocked = [] {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGSEGV);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    sigset_t now;
    pthread_sigmask(SIG_SETMASK, nullptr, &now);
    if (sigismember(&now, SIGSEGV) != 1) _exit(3);
    if (sigsetjmp(escape, 1) == 0) *nowhere() = 1;
    _exit(4);
  };
  EXPECT_EXIT(fault_while_blocked(), ::testing::KilledBySignal(SIGSEGV), "");
  // A handler that faults itself is not called again.
  on_fault_do([](int, siginfo_t*, void*) {
    fputs("once ", stderr);
    *nowhere() = 1;
  });
  EXPECT_EXIT(*nowhere() = 1, ::testing::KilledBySignal(SIGSEGV), "^once $");
  signal(SIGSEGV, SIG_DFL);
}

TEST_F(TrappedMemoryTest, ProgramsTrapsAreItsOwn) {
  static volatile int traps;
  traps = 0;
  signal(SIGTRAP, [](int) { traps = traps + 1; });
  asm volatile("int3");
  EXPECT_EQ(traps, 1);
  touch<uint32_t>(0);
  EXPECT_EQ(traps, 1);
  signal(SIGTRAP, SIG_DFL);
  EXPECT_EXIT(asm volatile("int3"), ::testing::KilledBySignal(SIGTRAP), "");
}

TEST_F(TrappedMemoryTest, WorksWhereEverythingIsBlocked) {
  sigset_t all, before;
  sigfillset(&all);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &all, &before), 0);
  EXPECT_EQ(at<uint32_t>(counter_at), 1u);
  sigset_t now;
  pthread_sigmask(SIG_SETMASK, &before, &now);
  EXPECT_EQ(sigismember(&now, SIGSEGV), 1);
  EXPECT_EQ(sigismember(&now, SIGUSR1), 1) << "an access leaves the mask as it was";
  EXPECT_EQ(sigismember(&before, SIGSEGV), 0);
}

TEST_F(TrappedMemoryTest, WorksOnASmallAlternateStack) {
  static uint8_t stack[16384];
  const stack_t alternate = {stack, 0, sizeof stack};
  stack_t before;
  ASSERT_EQ(sigaltstack(&alternate, &before), 0);
  for (uint32_t i = 1; i <= 3; ++i) EXPECT_EQ(at<uint32_t>(counter_at), i);
  // And in a handler that is on it already.
  static volatile uint32_t* counter;
  static uint32_t seen;
  counter = &at<uint32_t>(counter_at);
  struct sigaction action = {};
  action.sa_handler = [](int) { seen = *counter; };
  action.sa_flags = SA_ONSTACK;
  sigfillset(&action.sa_mask);
  sigaction(SIGUSR1, &action, nullptr);
  raise(SIGUSR1);
  EXPECT_EQ(seen, 4u);
  signal(SIGUSR1, SIG_DFL);
  sigaltstack(&before, nullptr);
}

TEST_F(TrappedMemoryTest, HandlersThatInterruptTouchItToo) {
  static volatile uint32_t* counter;
  static volatile uint32_t handled;
  counter = &at<uint32_t>(counter_at);
  handled = 0;
  model_.quiet = true;
  signal(SIGALRM, [](int) {
    [[maybe_unused]] const uint32_t value = *counter;
    handled = handled + 1;
  });
  const itimerval often = {{0, 300}, {0, 300}}, never = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  uint32_t mine = 0, last = 0;
  while (handled < 200 || mine < 2000) {
    const uint32_t now = *counter;
    ++mine;
    ASSERT_GT(now, last);
    last = now;
  }
  setitimer(ITIMER_REAL, &never, nullptr);
  signal(SIGALRM, SIG_DFL);
  EXPECT_EQ(model_.count, mine + handled);
}

TEST_F(TrappedMemoryTest, ThreadsLoseNothing) {
  model_.quiet = true;
  constexpr unsigned rounds = 1000;
  for (const unsigned threads : {2u, 4u, 20u}) {
    model_.count = model_.sum = 0;
    std::vector<std::thread> pool;
    std::atomic<bool> wrong{false};
    uint64_t old = 0;
    memcpy(&model_.bytes[0x50], &old, sizeof old);
    for (unsigned i = 0; i < threads; ++i) {
      pool.emplace_back([&, i] {
        uint32_t last = 0;
        for (unsigned round = 0; round < rounds / threads; ++round) {
          const uint32_t now = at<uint32_t>(counter_at);
          if (now <= last) wrong = true;
          last = now;
          at<uint64_t>(adder_at) = i + 1;
          asm volatile("lock incl (%0)" : : "r"(memory_ + 0x50) : "memory", "cc");
        }
      });
    }
    for (std::thread& thread : pool) thread.join();
    EXPECT_FALSE(wrong);
    EXPECT_EQ(model_.count, rounds / threads * threads);
    EXPECT_EQ(model_.sum, rounds / threads * (threads * (threads + 1) / 2));
    uint32_t locked;
    memcpy(&locked, &model_.bytes[0x50], sizeof locked);
    EXPECT_EQ(locked, rounds / threads * threads) << "and locked ones are whole";
  }
}

TEST_F(TrappedMemoryTest, ChildrenGoOn) {
  touch<uint32_t>(counter_at);
  std::atomic<bool> stop{false};
  model_.quiet = true;
  std::thread other([&] {
    while (!stop) at<uint32_t>(adder_at) = 1;
  });
  for (int i = 0; i < 10; ++i) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      // The other thread may have been in the model, which is this test's to care for.
      alarm(10);
      for (int j = 0; j < 40; ++j) {
        uint8_t* const fresh = map(page_size);
        (void)fresh;
      }
      _exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
  }
  stop = true;
  other.join();
  const pid_t child = fork();
  if (child == 0) _exit(at<uint32_t>(counter_at) == 2 ? 7 : 8);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(at<uint32_t>(counter_at), 2u) << "each has its own";
}

}  // namespace
}  // namespace zvgsim

#endif  // __x86_64__
