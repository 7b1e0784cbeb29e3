// The printing of messages.
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <numeric>
#include <vector>

#include "support/capture.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;

zvg_ddr_message record(uint32_t id, const std::string& format) {
  zvg_ddr_message message = {id, {}};
  strncpy(message.format, format.c_str(), sizeof message.format - 1);
  return message;
}

std::string printed(const uint32_t* arguments, const zvg_ddr_message& message) {
  const auto output = capture([&] { my_printf(arguments, message); });
  EXPECT_EQ(output.err, "");
  return output.out;
}

// Arguments that end where memory that may not be touched begins.
class Arguments {
 public:
  explicit Arguments(unsigned count) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_ = 2 * page;
    memory_ = static_cast<uint8_t*>(
        mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(memory_ + page, page, PROT_NONE);
    words_ = reinterpret_cast<uint32_t*>(memory_ + page) - count;
    std::iota(words_, words_ + count, 100);
  }
  ~Arguments() { munmap(memory_, size_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;
  const uint32_t* words() const { return words_; }

 private:
  uint8_t* memory_;
  size_t size_;
  uint32_t* words_;
};

TEST(Message, PrintsExactlyItsArguments) {
  for (unsigned count = 1; count <= 255; ++count) {
    SCOPED_TRACE(count);
    const Arguments arguments(count);
    std::string format = "PMU:";
    std::string expected = "PMU:";
    for (unsigned i = 0; i < count && i < 31; ++i) {
      format += " %d";
      expected += " " + std::to_string(100 + i);
    }
    const bool printable = count <= 12 || count == 31;
    EXPECT_EQ(printed(arguments.words(), record(0x120000 | count, format)),
              printable ? expected : "");
  }
}

TEST(Message, ArgumentsAreUnsigned) {
  const uint32_t words[] = {0xFFFFFFFF, 0x80000000};
  EXPECT_EQ(printed(words, record(2, "%u %x")), "4294967295 80000000");
}

TEST(Message, WithoutArgumentsIsPrintedAsItStands) {
  EXPECT_EQ(printed(nullptr, record(0x10000, "100 %% %d %s\n")), "100 %% %d %s\n");
}

TEST(Message, IdentifierZeroPrintsNothing) {
  EXPECT_EQ(printed(nullptr, record(0, "PMU: end of table\n")), "");
}

}  // namespace
