// Counts what the flash service asks of the controller: register accesses per byte, next to the
// least that the frame format allows. Nothing is timed. A count over its limit makes the program
// exit with 1.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "board/board_config.h"
#include "doors/mount_doors.h"
#include "machine/machine.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using zvgsim::Generation;

constexpr int image_size = 1 << 20;
constexpr uint32_t image_at = 0x80000;

struct Count {
  const char* generation;
  const char* operation;
  double per_byte;
  double least;  // a data access moves four bytes in quad mode, one over a single line
  double limit;  // accesses per byte; 0 is none
};

[[noreturn]] void give_up(const std::string& what) {
  fprintf(stderr, "flash_accesses: %s\n", what.c_str());
  exit(1);
}

// No byte of it is zero: the library's comparison would end there.
std::vector<uint32_t> make_image() {
  std::vector<uint32_t> words(image_size / sizeof(uint32_t));
  uint32_t seed = 1;
  for (uint32_t& word : words) {
    seed = seed * 1664525 + 1013904223;
    word = seed | 0x01010101;
  }
  return words;
}

class FlashCounter {
 public:
  FlashCounter(Generation generation, const char* name, double read_limit)
      : machine_(config(generation)), doors_(machine_), name_(name), read_limit_(read_limit) {
    zvgsim::mount_doors(doors_, machine_);
    if (zvgRwOpen(0) < 0) give_up("the connection does not open");
  }
  ~FlashCounter() {
    zvgClose();
    zvgsim::unmount_all();
  }

  void count(std::vector<Count>* counts) {
    constexpr double quad = 1.0 / 4, single = 1;
    std::vector<uint32_t> back(image_.size());
    uint8_t* const bytes = reinterpret_cast<uint8_t*>(image_.data());
    uint8_t* const back_bytes = reinterpret_cast<uint8_t*>(back.data());
    // The first transfer after power-up sets the controller up.
    run([&] { return zvgSpiReadBuffer(back.data(), image_at, 4); });
    const auto erase = [&] {
      for (uint32_t at = 0; at < image_size; at += 0x10000) {
        run([&] { return zvgSpiErase64kbBlock(image_at + at); });
      }
    };
    const auto note = [&](const char* operation, double accesses, double least, double limit = 0) {
      counts->push_back({name_, operation, accesses / image_size, least, limit});
    };

    erase();
    const double program = run([&] { return zvgSpiProgram(image_.data(), image_at, image_size); });
    const double read = run([&] { return zvgSpiReadBuffer(back.data(), image_at, image_size); });
    if (back != image_) give_up("what was read is not what was programmed");
    const double verify = run([&] { return zvgSpiCheckData(bytes, image_at, image_size); });
    // Programming verifies at its end.
    note("read, quad", read, quad, read_limit_);
    note("program, quad", program - verify, quad);
    note("verify, quad", verify, quad);

    erase();
    const double program_single =
        run([&] { return zvgSpiProgramStandard(bytes, image_at, image_size); });
    const double read_single =
        run([&] { return zvgSpiReadBufferStandard(back_bytes, image_at, image_size); });
    if (back != image_) give_up("what was read is not what was programmed");
    const double verify_single =
        run([&] { return zvgSpiCheckDataStandard(bytes, image_at, image_size); });
    note("read, single", read_single, single);
    note("program, single", program_single - verify_single, single);
    note("verify, single", verify_single, single);
  }

 private:
  static zvgsim::BoardConfig config(Generation generation) {
    zvgsim::BoardConfig config;
    config.generation = generation;
    return config;
  }

  // Returns how many accesses the call makes.
  double run(const std::function<int()>& call) {
    int result = 0;
    machine_.trace().clear();
    machine_.trace().start();
    zvgtest::capture([&] { result = call(); });
    machine_.trace().stop();
    if (result != 0) give_up("a call returned " + std::to_string(result));
    return static_cast<double>(machine_.trace().entries().size());
  }

  zvgsim::Machine machine_;
  zvgsim::Doors doors_;
  const char* const name_;
  const double read_limit_;
  std::vector<uint32_t> image_ = make_image();
};

}  // namespace

int main() {
  std::vector<Count> counts;
  // In this order: a process that has seen an RQ302 keeps its register layout.
  FlashCounter(Generation::rq301, "RQ301", 1.6 / 4).count(&counts);
  FlashCounter(Generation::rq302, "RQ302", 0).count(&counts);
  bool good = true;
  printf("%-6s %-16s %14s %8s %7s\n", "", "1 MiB", "accesses/byte", "least", "ratio");
  for (const Count& count : counts) {
    const bool over = count.limit != 0 && count.per_byte > count.limit;
    printf("%-6s %-16s %14.3f %8.2f %7.2f%s\n", count.generation, count.operation, count.per_byte,
           count.least, count.per_byte / count.least,
           over               ? "  OVER ITS LIMIT"
           : count.limit != 0 ? "  within its limit"
                              : "");
    good = good && !over;
  }
  return good ? 0 : 1;
}
