// Loads and stores that a model answers: one access for each that an instruction makes, whatever
// the instruction is.
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

TEST_F(TrappedMemoryTest, EveryWidthIsOneAccess) {
  EXPECT_EQ(at<uint8_t>(1), 0x82u);
  EXPECT_EQ(at<uint16_t>(2), 0x8483u);
  EXPECT_EQ(at<uint32_t>(4), 0x88878685u);
  EXPECT_EQ(at<uint64_t>(8), 0x908F8E8D8C8B8A89u);
  at<uint8_t>(16) = 0x11;
  at<uint16_t>(18) = 0x2222;
  at<uint32_t>(20) = 0x33333333;
  at<uint64_t>(24) = 0x4444444444444444;
  EXPECT_THAT(model_.take(),
              ElementsAre("r1 0x1 0x82", "r2 0x2 0x8483", "r4 0x4 0x88878685",
                          "r8 0x8 0x908f8e8d8c8b8a89", "w1 0x10 0x11", "w2 0x12 0x2222",
                          "w4 0x14 0x33333333", "w8 0x18 0x4444444444444444"));
}

TEST_F(TrappedMemoryTest, ValuesThatSayNothingAreAccessesAllTheSame) {
  memset(model_.bytes, 0, 64);
  for (int round = 0; round < 2; ++round) {
    at<uint32_t>(0) = 0;
    EXPECT_EQ(at<uint32_t>(0), 0u);
    at<uint16_t>(4) = 0xFFFF;
    EXPECT_THAT(model_.take(), ElementsAre("w4 0x0 0x0", "r4 0x0 0x0", "w2 0x4 0xffff"));
  }
}

TEST_F(TrappedMemoryTest, SideEffectsHappenOnceALoad) {
  for (uint32_t i = 1; i <= 5; ++i) EXPECT_EQ(at<uint32_t>(counter_at), i);
  for (uint32_t i = 1; i <= 5; ++i) at<uint32_t>(adder_at) = i;
  EXPECT_EQ(model_.sum, 15u);
}

TEST_F(TrappedMemoryTest, UnalignedAccessesStayWhole) {
  EXPECT_EQ(at<uint8_t>(3), 0x84u);
  uint32_t value;
  asm volatile("movl (%1), %0" : "=r"(value) : "r"(memory_ + page_size - 1) : "memory");
  EXPECT_EQ(value, 0x83828180u);
  asm volatile("movl %0, (%1)" : : "r"(7), "r"(memory_ + 2 * page_size - 3) : "memory");
  EXPECT_THAT(model_.take(), ElementsAre("r1 0x3 0x84", "r4 0xfff 0x83828180", "w4 0x1ffd 0x7"));
}

// One line of assembly each, on rdi = the memory at 0x20 and rax = 0x1122334455667788.
#define ON_MEMORY(text)                                                              \
  [](uint8_t* address, uint64_t* rax, uint64_t* rcx, uint64_t* flags) {              \
    uint64_t rdi = reinterpret_cast<uint64_t>(address), a = *rax, c = *rcx, f = 0;   \
    asm volatile(text "\n\tpushfq\n\tpopq %3"                                        \
                 : "+a"(a), "+c"(c), "+D"(rdi), "=r"(f)                              \
                 :                                                                   \
                 : "rbx", "rdx", "rsi", "r8", "r9", "memory", "cc", "xmm0", "xmm1"); \
    *rax = a, *rcx = c, *flags = f & 0x8C5;                                          \
    return rdi - reinterpret_cast<uint64_t>(address);                                \
  }

struct Form {
  const char* text;
  uint64_t (*run)(uint8_t* address, uint64_t* rax, uint64_t* rcx, uint64_t* flags);
  std::vector<std::string> accesses;
  bool changes_pointer = false;  // to what depends on where the memory is
};

// The stack pointer is moved past the red zone where a form uses the stack.
const Form forms[] = {
    {"movzbl", ON_MEMORY("movzbl (%%rdi), %%eax"), {"r1 0x20 0xa1"}},
    {"movsbq", ON_MEMORY("movsbq (%%rdi), %%rax"), {"r1 0x20 0xa1"}},
    {"movswl", ON_MEMORY("movswl (%%rdi), %%eax"), {"r2 0x20 0xa2a1"}},
    {"movslq", ON_MEMORY("movslq (%%rdi), %%rax"), {"r4 0x20 0xa4a3a2a1"}},
    {"high byte, load", ON_MEMORY("movb (%%rdi), %%ah"), {"r1 0x20 0xa1"}},
    {"high byte, store", ON_MEMORY("movb %%ah, (%%rdi)"), {"w1 0x20 0x77"}},
    {"movbe", ON_MEMORY("movbe (%%rdi), %%eax"), {"r4 0x20 0xa4a3a2a1"}},
    {"cmp", ON_MEMORY("cmpl %%eax, (%%rdi)"), {"r4 0x20 0xa4a3a2a1"}},
    {"cmp, constant", ON_MEMORY("cmpw $5, (%%rdi)"), {"r2 0x20 0xa2a1"}},
    {"test", ON_MEMORY("testb $0x80, (%%rdi)"), {"r1 0x20 0xa1"}},
    {"test of nothing", ON_MEMORY("testl $0, (%%rdi)"), {"r4 0x20 0xa4a3a2a1"}},
    {"bit test", ON_MEMORY("btl $7, (%%rdi)"), {"r4 0x20 0xa4a3a2a1"}},
    {"adc from", ON_MEMORY("stc\n\tadcl (%%rdi), %%eax"), {"r4 0x20 0xa4a3a2a1"}},
    {"div", ON_MEMORY("xorl %%edx, %%edx\n\tdivl (%%rdi)"), {"r4 0x20 0xa4a3a2a1"}},
    {"add", ON_MEMORY("addl $5, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xa4a3a2a6"}},
    {"or nothing", ON_MEMORY("orl $0, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xa4a3a2a1"}},
    {"and nothing", ON_MEMORY("andw $0, (%%rdi)"), {"r2 0x20 0xa2a1", "w2 0x20 0x0"}},
    {"or everything",
     ON_MEMORY("orq $-1, (%%rdi)"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1", "w8 0x20 0xffffffffffffffff"}},
    {"shift out",
     ON_MEMORY("movb $9, %%cl\n\tshlb %%cl, (%%rdi)"),
     {"r1 0x20 0xa1", "w1 0x20 0x0"}},
    {"not", ON_MEMORY("notb (%%rdi)"), {"r1 0x20 0xa1", "w1 0x20 0x5e"}},
    {"inc",
     ON_MEMORY("incq (%%rdi)"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1", "w8 0x20 0xa8a7a6a5a4a3a2a2"}},
    {"lock inc", ON_MEMORY("lock incw (%%rdi)"), {"r2 0x20 0xa2a1", "w2 0x20 0xa2a2"}},
    {"xchg", ON_MEMORY("xchgl %%eax, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0x55667788"}},
    {"xadd", ON_MEMORY("lock xaddl %%eax, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xfa0a1a29"}},
    {"cmpxchg",
     ON_MEMORY("lock cmpxchgl %%ecx, (%%rdi)"),
     {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xa4a3a2a1"}},
    {"bts", ON_MEMORY("btsl $3, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xa4a3a2a9"}},
    {"lock bts", ON_MEMORY("lock btsl $3, (%%rdi)"), {"r4 0x20 0xa4a3a2a1", "w4 0x20 0xa4a3a2a9"}},
    {"setcc", ON_MEMORY("cmpl %%eax, %%eax\n\tsete (%%rdi)"), {"w1 0x20 0x1"}},
    {"store of a constant", ON_MEMORY("movq $-2, (%%rdi)"), {"w8 0x20 0xfffffffffffffffe"}},
    {"into the pointer", ON_MEMORY("movl (%%rdi), %%edi"), {"r4 0x20 0xa4a3a2a1"}, true},
    {"into the pointer's half", ON_MEMORY("movw (%%rdi), %%di"), {"r2 0x20 0xa2a1"}, true},
    {"added to the pointer",
     ON_MEMORY("addq (%%rdi), %%rdi\n\ttestq %%rax, %%rax"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1"},
     true},
    {"scaled index",
     ON_MEMORY("movl $3, %%ecx\n\tmovl 4(%%rdi,%%rcx,8), %%eax"),
     {"r4 0x3c 0xc0bfbebd"}},
    {"pointer as the index",
     ON_MEMORY("movl $8, %%ecx\n\tmovl (%%rcx,%%rdi), %%eax"),
     {"r4 0x28 0xacabaaa9"}},
    {"two halves",
     ON_MEMORY(
         "movq %%rdi, %%rcx\n\tshrq $1, %%rcx\n\tmovl (,%%rcx,2), %%eax\n\txorl %%ecx, %%ecx"),
     {"r4 0x20 0xa4a3a2a1"}},
    {"below", ON_MEMORY("movl -16(%%rdi), %%eax"), {"r4 0x10 0x94939291"}},
    {"frame pointer",
     ON_MEMORY("pushq %%rbp\n\tmovq %%rdi, %%rbp\n\tmovl 4(%%rbp), %%eax\n\tpopq %%rbp"),
     {"r4 0x24 0xa8a7a6a5"}},
    {"push", ON_MEMORY("pushq (%%rdi)\n\tpopq %%rax"), {"r8 0x20 0xa8a7a6a5a4a3a2a1"}},
    {"pop", ON_MEMORY("pushq %%rax\n\tpopq (%%rdi)"), {"w8 0x20 0x1122334455667788"}},
    {"xlat",
     ON_MEMORY("pushq %%rbx\n\tmovq %%rdi, %%rbx\n\tmovb $4, %%al\n\txlatb\n\tpopq %%rbx"),
     {"r1 0x24 0xa5"}},
    {"SSE, load",
     ON_MEMORY("movaps (%%rdi), %%xmm0\n\tmovq %%xmm0, %%rax"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1", "r8 0x28 0xb0afaeadacabaaa9"}},
    {"SSE, store",
     ON_MEMORY("movq %%rax, %%xmm0\n\tpunpcklqdq %%xmm0, %%xmm0\n\tmovaps %%xmm0, (%%rdi)"),
     {"w8 0x20 0x1122334455667788", "w8 0x28 0x1122334455667788"}},
    {"SSE, unaligned",
     ON_MEMORY("movups 1(%%rdi), %%xmm0\n\tmovq %%xmm0, %%rax"),
     {"r8 0x21 0xa9a8a7a6a5a4a3a2", "r8 0x29 0xb1b0afaeadacabaa"}},
    {"SSE, scalar",
     ON_MEMORY("movss (%%rdi), %%xmm0\n\tmovd %%xmm0, %%eax"),
     {"r4 0x20 0xa4a3a2a1"}},
    {"x87, store", ON_MEMORY("fld1\n\tfstpl (%%rdi)"), {"w8 0x20 0x3ff0000000000000"}},
    {"x87, ten bytes",
     ON_MEMORY("fld1\n\tfstpt (%%rdi)"),
     {"w8 0x20 0x8000000000000000", "w2 0x28 0x3fff"}},
    {"stos", ON_MEMORY("stosl"), {"w4 0x20 0x55667788"}},
    {"stos, backwards", ON_MEMORY("std\n\tstosw\n\tcld"), {"w2 0x20 0x7788"}},
    {"rep stos",
     ON_MEMORY("movl $3, %%ecx\n\trep stosb"),
     {"w1 0x20 0x88", "w1 0x21 0x88", "w1 0x22 0x88"}},
    {"lods",
     ON_MEMORY("movq %%rdi, %%rsi\n\tlodsq\n\tmovq %%rsi, %%rdi"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1"}},
    {"scas",
     ON_MEMORY("movl $4, %%ecx\n\tmovb $0xA2, %%al\n\trepne scasb"),
     {"r1 0x20 0xa1", "r1 0x21 0xa2"}},
    {"rep movs from",
     ON_MEMORY("movq %%rdi, %%rsi\n\tsubq $256, %%rsp\n\tmovq %%rsp, %%rdi\n\tmovl $2, %%ecx\n\t"
               "rep movsl\n\tpopq %%rax\n\taddq $248, %%rsp\n\tmovq %%rsi, %%rdi"),
     {"r4 0x20 0xa4a3a2a1", "r4 0x24 0xa8a7a6a5"}},
    {"movs to",
     ON_MEMORY("subq $128, %%rsp\n\tpushq %%rax\n\tmovq %%rsp, %%rsi\n\tmovsw\n\t"
               "addq $136, %%rsp"),
     {"w2 0x20 0x7788"}},
    {"movs within",
     ON_MEMORY("movq %%rdi, %%rsi\n\tleaq 64(%%rdi), %%rdi\n\trep movsq"),
     {"r8 0x20 0xa8a7a6a5a4a3a2a1", "w8 0x60 0xa8a7a6a5a4a3a2a1", "r8 0x28 0xb0afaeadacabaaa9",
      "w8 0x68 0xb0afaeadacabaaa9"}},
    {"cmps within",
     ON_MEMORY("movq %%rdi, %%rsi\n\tleaq 2(%%rdi), %%rdi\n\tcmpsb"),
     {"r1 0x20 0xa1", "r1 0x22 0xa3"}},
};

// What the processor does with plain memory is what it does here, and the second time is as the
// first, when the instruction had to be tried out.
TEST_F(TrappedMemoryTest, EveryFormIsCarriedOutAsOnMemory) {
  constexpr size_t size = 512, offset = 0x20;
  for (const Form& form : forms) {
    SCOPED_TRACE(form.text);
    alignas(64) uint8_t plain[size];
    for (size_t i = 0; i < size; ++i) plain[i] = static_cast<uint8_t>(0x81 + i);
    uint64_t expected_rax = 0x1122334455667788, expected_rcx = 2, expected_flags = 0;
    const uint64_t expected_rdi =
        form.run(plain + offset, &expected_rax, &expected_rcx, &expected_flags);
    for (int round = 0; round < 3; ++round) {
      SCOPED_TRACE(round);
      for (size_t i = 0; i < size; ++i) model_.bytes[i] = static_cast<uint8_t>(0x81 + i);
      uint64_t rax = 0x1122334455667788, rcx = 2, flags = 0;
      const uint64_t rdi = form.run(memory_ + offset, &rax, &rcx, &flags);
      EXPECT_EQ(rax, expected_rax);
      EXPECT_EQ(rcx, expected_rcx);
      EXPECT_EQ(flags, expected_flags);
      if (!form.changes_pointer) {
        EXPECT_EQ(rdi, expected_rdi);
      }
      EXPECT_EQ(memcmp(model_.bytes, plain, size), 0);
      EXPECT_THAT(model_.take(), ElementsAreArray(form.accesses));
    }
  }
}

TEST_F(TrappedMemoryTest, PointerItselfCanBeLoadedAndStored) {
  for (int round = 0; round < 2; ++round) {
    uint64_t pointer = reinterpret_cast<uint64_t>(memory_) + 0x80;
    asm volatile("movq %0, (%0)" : : "r"(pointer) : "memory");
    uint64_t stored = 0;
    memcpy(&stored, &model_.bytes[0x80], sizeof stored);
    EXPECT_EQ(stored, pointer);
    asm volatile("xchgq %0, (%0)" : "+r"(pointer) : : "memory");
    EXPECT_EQ(pointer, stored);
    // Loading the very value that the register has.
    asm volatile("movq (%0), %0" : "+r"(pointer) : : "memory");
    EXPECT_EQ(pointer, stored);
    uint64_t chain = pointer;
    asm volatile("addq %0, (%0)\n\tmovq (%0), %0" : "+r"(chain) : : "memory", "cc");
    EXPECT_EQ(chain, 2 * pointer);
    EXPECT_EQ(model_.take().size(), 7u);
  }
}

TEST_F(TrappedMemoryTest, WideVectorsAreQuadsInAscendingOrder) {
  if (!__builtin_cpu_supports("avx")) GTEST_SKIP() << "no AVX";
  alignas(32) uint64_t out[4];
  for (int round = 0; round < 2; ++round) {
    asm volatile(
        "vmovdqa (%0), %%ymm0\n\tvmovdqu %%ymm0, (%1)\n\tvmovdqu %%ymm0, 0x41(%0)\n\tvzeroupper"
        :
        : "r"(memory_), "r"(out)
        : "memory", "xmm0");
    EXPECT_EQ(out[3], 0xA09F9E9D9C9B9A99u);
    EXPECT_THAT(model_.take(),
                ElementsAre("r8 0x0 0x8887868584838281", "r8 0x8 0x908f8e8d8c8b8a89",
                            "r8 0x10 0x9897969594939291", "r8 0x18 0xa09f9e9d9c9b9a99",
                            "w8 0x41 0x8887868584838281", "w8 0x49 0x908f8e8d8c8b8a89",
                            "w8 0x51 0x9897969594939291", "w8 0x59 0xa09f9e9d9c9b9a99"));
  }
}

TEST_F(TrappedMemoryTest, VectorRegistersSurviveTrials) {
  uint64_t before[2] = {0x0123456789ABCDEF, 0xFEDCBA9876543210}, after[2] = {};
  asm volatile("movups %2, %%xmm1\n\tmovups (%1), %%xmm0\n\tmovups %%xmm1, %0"
               : "=m"(after)
               : "r"(memory_), "m"(before)
               : "xmm0", "xmm1");
  EXPECT_EQ(after[0], before[0]);
  EXPECT_EQ(after[1], before[1]);
}

// The same place in the code, with another instruction at it.
TEST_F(TrappedMemoryTest, CodeMayChange) {
  auto* const code = static_cast<uint8_t*>(mmap(
      nullptr, page_size, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(code, MAP_FAILED);
  const auto run = [&](std::initializer_list<uint8_t> bytes) {
    // At the very end of what can be executed, too.
    uint8_t* const at = code + page_size - bytes.size();
    std::copy(bytes.begin(), bytes.end(), at);
    reinterpret_cast<void (*)(void*)>(at)(memory_);
  };
  run({0x8A, 0x07, 0xC3});        // movb (%rdi), %al; ret
  run({0xC6, 0x07, 0x2A, 0xC3});  // movb $0x2A, (%rdi); ret
  run({0x66, 0x8B, 0x07, 0xC3});  // movw (%rdi), %ax; ret
  EXPECT_THAT(model_.take(), ElementsAre("r1 0x0 0x81", "w1 0x0 0x2a", "r2 0x0 0x822a"));
  munmap(code, page_size);
}

TEST_F(TrappedMemoryTest, PartialMappingsAndSeveralAtATime) {
  uint8_t* const second = map(page_size, PROT_READ | PROT_WRITE, 2 * page_size);
  *reinterpret_cast<volatile uint32_t*>(second + 4) = 0xCAFE;
  EXPECT_EQ(at<uint32_t>(2 * page_size + 4), 0xCAFEu);
  EXPECT_THAT(model_.take(), ElementsAre("w4 0x2004 0xcafe", "r4 0x2004 0xcafe"));
  // A hole in the middle leaves both ends.
  ASSERT_EQ(munmap(memory_ + page_size, page_size), 0);
  touch<uint8_t>(0);
  touch<uint8_t>(2 * page_size);
  EXPECT_THAT(model_.take(), ElementsAre("r1 0x0 0x81", "r1 0x2000 0x81"));
  EXPECT_EXIT(touch<uint8_t>(page_size), ::testing::KilledBySignal(SIGSEGV), "");
  // Something else in its place is what it is.
  void* const plain = mmap(memory_ + page_size, page_size, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  ASSERT_EQ(plain, memory_ + page_size);
  at<uint8_t>(page_size) = 3;
  EXPECT_EQ(at<uint8_t>(page_size), 3u);
  EXPECT_THAT(model_.take(), ElementsAre());
}

TEST_F(TrappedMemoryTest, ProtectionAndTheEndHold) {
  uint8_t* const constant = map(2 * page_size, PROT_READ);
  EXPECT_EQ(*reinterpret_cast<volatile uint8_t*>(constant), 0x81u);
  EXPECT_EXIT(*reinterpret_cast<volatile uint8_t*>(constant) = 1,
              ::testing::KilledBySignal(SIGSEGV), "");
  ASSERT_EQ(munmap(constant + page_size, page_size), 0);
  const auto across = [](uint8_t* last) {
    uint32_t value;
    asm volatile("movl (%1), %0" : "=r"(value) : "r"(last));
  };
  model_.take();
  EXPECT_EXIT(across(constant + page_size - 2), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(TrappedMemoryTest, SaysWhatItCannotDo) {
  const auto call = [this] { reinterpret_cast<void (*)()>(memory_)(); };
  EXPECT_EXIT(call(), ::testing::KilledBySignal(SIGSEGV), "");
  const auto call_through = [this] { asm volatile("call *(%0)" : : "r"(memory_) : "memory"); };
  EXPECT_EXIT(call_through(), ::testing::KilledBySignal(SIGSEGV), "cannot be carried out");
  const auto as_stack = [this] {
    asm volatile("movq %%rsp, %%rbx\n\tmovq %0, %%rsp\n\tpushq %%rax\n\tmovq %%rbx, %%rsp"
                 :
                 : "r"(memory_ + 64)
                 : "rbx", "memory");
  };
  EXPECT_EXIT(as_stack(), ::testing::KilledBySignal(SIGSEGV), "");
}

}  // namespace
}  // namespace zvgsim

#endif  // __x86_64__
