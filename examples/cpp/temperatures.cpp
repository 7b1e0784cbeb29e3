// Prints the chip's two temperatures and core voltages a few times, with a connection that closes
// itself however the program ends. A sensor that fails is told and does not stop the others.
//
//   c++ -std=c++17 temperatures.cpp $(pkg-config --cflags --libs util_zvg)
//   zvgsim run --board busy -- ./a.out 5      five times, a second apart
#include <unistd.h>
#include <util_zvg.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

class Connection {
 public:
  explicit Connection(int card) : open_(zvgRwOpen(card) >= 0) {}
  ~Connection() {
    if (open_) zvgClose();
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  explicit operator bool() const { return open_; }

 private:
  bool open_;
};

// Either sensor function: nothing when it fails.
std::optional<double> read(int (*sensor)(uint32_t, double*), uint32_t index) {
  double value = 0;
  if (sensor(index, &value) != 0) return std::nullopt;
  return value;
}

void print(const char* format, std::optional<double> value) {
  if (value) {
    std::printf(format, *value);
  } else {
    std::printf("   failed");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int times = argc > 1 ? std::atoi(argv[1]) : 1;
  if (argc > 2 || times < 1) {
    std::fprintf(stderr, "usage: %s [TIMES]\n", argv[0]);
    return 2;
  }
  const Connection board(0);
  if (!board) return 1;  // the library has said why

  int failures = 0;
  for (int i = 0; i < times; ++i) {
    if (i > 0) sleep(1);
    for (uint32_t sensor = 0; sensor < 2; ++sensor) {
      const std::optional<double> celsius = read(zvgSensorTemp, sensor);
      const std::optional<double> volts = read(zvgSensorVolt, sensor);
      failures += (celsius ? 0 : 1) + (volts ? 0 : 1);
      std::printf("sensor %u:", sensor);
      print(" %5.1f C", celsius);
      print(" %6.3f V", volts);
      std::printf("\n");
    }
  }
  return failures == 0 ? 0 : 1;
}
