// A board, open: everything that is done with it goes through here.
#ifndef ZVG_SERVICE_BOARD_BOARD_H
#define ZVG_SERVICE_BOARD_BOARD_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "service/board/access_guard.h"
#include "service/board/error.h"
#include "service/board/liveness.h"
#include "service/board/lock.h"
#include "service/board/route.h"
#include "service/board/stop.h"
#include "service/seam/output.h"
#include "service/seam/transport.h"

namespace zvg {

inline constexpr uint64_t last_register = 0xFFFFFF;
inline constexpr uint64_t last_vram = 0xFFFFFFF;

// Where the on-chip bus, which the serial line reaches, shows the two spaces.
inline constexpr uint64_t bus_mmio_base = 0x1000000;
inline constexpr uint64_t bus_vram_base = 0x8000000000;

struct BoardOptions {
  // Who carries the library's calls; the C library when null. Has to outlive the board.
  seam::Transport* transport = nullptr;
  // Whether a driver that does not tell which chip it has is good enough: where its registers are
  // differs by chip.
  bool any_chip = false;
  // Gets what the library prints; dropped where there is none. Must not throw.
  seam::Sink log = nullptr;
  // When the work has to be done, opening included; 0 for never. The library is ended by an Error
  // (timeout) that names the access which it attempted. Mapped memory is reached without a call
  // that could look at the time: there the caller's timer asks for a stop.
  std::chrono::seconds deadline{0};
  // Ends it from outside, by an Error (timeout or cancelled); null for none. Has to outlive the
  // board. A signal that asks for it should interrupt system calls, that waits end early.
  Stop* stop = nullptr;
  // Whether a board that reads as ones everywhere ends what goes on, or is let through and told by
  // dead().
  DeadBoard dead_board = DeadBoard::refused;
  // Whether what is written is but a means of reading; else the board is asked before.
  bool only_reads = false;
  // How long to wait for another process that uses the board.
  std::chrono::seconds wait{0};
  // Which board this is when no bus tells, as with a virtual one: a file, or anything else that
  // only this board has; empty when the caller does not know better.
  std::string identity = {};
};

// One a process, as the library has one connection.
class Board {
 public:
  // Opens the board. Throws an Error (not_connected, busy, bad_argument) when there is none.
  explicit Board(const Route& route, BoardOptions options = {});
  // Closes it; a serial line and the board behind it go back to 9600 baud.
  ~Board();
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  const Route& route() const { return route_; }
  Door door() const { return route_.door; }

  // The descriptor of the node or line; it stays the library's.
  int descriptor() const { return descriptor_; }

  // What the driver tells, else what the route says. RQ300 behind the driver shows as RQ301.
  Generation generation() const;
  bool generation_known() const { return generation() != Generation::unknown; }

  // One access of 1, 2, 4 or 8 bytes at a byte offset. Over a serial line, unaligned ones are made
  // of bytes, and a 64-bit one of two words, because the board sees words. Throw an Error (access)
  // when it did not reach the board, or the answer did not come back whole; and when one before it
  // did not, of which nobody has been told: what follows from a lost answer is worth nothing.
  uint64_t read_register(uint64_t offset, unsigned width);
  void write_register(uint64_t offset, unsigned width, uint64_t value);
  uint64_t read_vram(uint64_t offset, unsigned width);
  void write_vram(uint64_t offset, unsigned width, uint64_t value);

  // A register that something is decided on or that is kept: a bit that changes within an answer
  // over the serial line cannot be seen, so that there two reads have to agree. Throws an Error
  // (bad_data) when no two in a row do.
  uint64_t read_proven(uint64_t offset, unsigned width);

  // Puts the VGA registers into colour addressing unless they are. The library does so once a
  // process and takes it for done, also when the access was lost: what reads CRTC registers and is
  // tried again asks here first.
  void ensure_colour_addressing();

  // Throws an Error (dead_board) when everything reads as ones. Whatever is read or written asks by
  // itself, except for mapped memory, which is asked when it is opened.
  void expect_alive() { liveness_.ask(); }
  // That error, where dead boards are shown.
  std::optional<Error> dead() const { return liveness_.dead(); }

  // Keeps every other process that asks for the same away from this board until it is closed, for
  // what two must not do at a time: writing the flash, training a link. Over a serial line every
  // board is locked from the beginning. Throws an Error (busy) that names the process which has it.
  void lock_exclusively();

  // Calls a function of the library, whatever it returns. Throws an Error (access) when an access
  // failed meanwhile, whether or not the library passed it on.
  //
  // deed: what is attempted, as in "cannot DEED".
  template <typename Call>
  auto checked(const char* deed, Call&& call) {
    const uint64_t before = failures();
    try {
      if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
        std::forward<Call>(call)();
        expect_none_since(before, deed);
      } else {
        auto result = std::forward<Call>(call)();
        expect_none_since(before, deed);
        return result;
      }
    } catch (const Error&) {
      settle();  // whatever failed before it, the Error tells
      throw;
    }
  }

  // Calls a function that finds out whether something is there: accesses that fail are its answer
  // and nobody's error. Returns how many they were.
  template <typename Call>
  uint64_t probing(Call&& call) {
    const Probe probe(*this);
    std::forward<Call>(call)();
    return probe.failures();
  }

  // The serial line as messages name it: "DEVICE at BAUD baud".
  std::string line_name() const;

  // Another deadline, from now on; 0 for none.
  void set_deadline(std::chrono::seconds limit) { guard_->set_deadline(limit); }

 private:
  class Probe {
   public:
    explicit Probe(Board& board);
    ~Probe();
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    uint64_t failures() const;

   private:
    Board& board_;
    uint64_t before_;
  };

  static uint64_t failures();
  static void settle();
  void end_if_lost() const;
  void expect_none_since(uint64_t before, const char* deed);
  void lock_line();
  void claim_line(bool claimed) const;
  void lock_by_pci(const Patience& patience);
  Patience patience() const { return {wait_, stop_}; }
  void open(bool any_chip);
  void close();
  void open_driver(bool any_chip);
  void open_memory();
  void open_serial();
  void tell_generation() const;
  void probe_line();
  uint64_t read_bus(uint64_t address, unsigned width);
  void write_bus(uint64_t address, unsigned width, uint64_t value);
  uint64_t read_bus_word(uint64_t address, unsigned width);
  void expect_silence(uint64_t address);
  bool more_comes();
  void note_long_reply(std::optional<uint64_t> address);
  void forget_input();
  void before_frame();
  void quiet_line();
  [[noreturn]] void fail_access(const char* deed, const char* noun, const Aperture& aperture,
                                uint64_t offset, unsigned width, int error) const;
  [[noreturn]] void fail_line(uint64_t address, std::string message) const;

  Route route_;
  seam::Redirection output_;
  std::optional<seam::UseTransport> use_transport_;
  Liveness liveness_;
  std::unique_ptr<AccessGuard> guard_;
  Stop* const stop_;
  const std::chrono::seconds wait_;
  const std::string identity_;
  std::vector<Lock> locks_;
  std::optional<seam::UseTransport> use_guard_;
  int descriptor_ = -1;
  int probes_ = 0;
  bool checking_line_ = true;   // until the line is open
  bool lost_ = false;           // the line, in the middle of a frame
  uint64_t line_failures_ = 0;  // that the line has been quieted after
};

// The last access of the process that failed outside of checked() and probing(): nobody has told
// anybody yet. A face asks before it says that all is well.
std::optional<Error> untold_failure();

// The reason of a request that returned a negative result, from errno or from the result.
std::string reason(int result, int error);

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_BOARD_H
