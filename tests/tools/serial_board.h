// The far end of a serial line, well behaved or not: a pseudo-terminal that answers the debug
// UART's frames from a small memory.
#ifndef TESTS_TOOLS_SERIAL_BOARD_H
#define TESTS_TOOLS_SERIAL_BOARD_H

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zvgtest {

struct Manners {
  int silent_after = -1;  // answers so many reads, then none; -1 for always
  int late_after = -1;    // from that read on, answers after late_ms
  int late_ms = 2300;
  int half_after = -1;          // from that read on, sends two bytes of four
  int noise_before_after = -1;  // from that read on, a stray byte comes before the answer
  int noise_after_after = -1;   // from that read on, one comes right behind it
  std::string banner = {};      // sent as soon as somebody writes, like a boot message
};

class SerialBoard {
 public:
  using Frame = std::vector<uint8_t>;

  explicit SerialBoard(const Manners& manners = {});
  ~SerialBoard();
  SerialBoard(const SerialBoard&) = delete;
  SerialBoard& operator=(const SerialBoard&) = delete;

  const std::string& path() const { return path_; }
  // By word address on the bus; a word that was never put reads as its own address.
  void put(uint64_t address, uint32_t word);
  uint32_t get(uint64_t address);
  std::vector<Frame> frames();

 private:
  void serve();
  void take(const Frame& frame);
  void answer(uint32_t word);

  Manners manners_;
  std::string path_;
  int master_ = -1;
  int slave_ = -1;  // kept open, so that the line lives on between two programs
  int reads_ = 0;
  bool banner_sent_ = false;
  std::mutex lock_;
  std::map<uint64_t, uint32_t> words_;
  std::vector<Frame> frames_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace zvgtest

#endif  // TESTS_TOOLS_SERIAL_BOARD_H
