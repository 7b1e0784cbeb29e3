// The open connection to a board, and accesses whose failures are reported.
#ifndef ZVGCTL_CONNECTION_H
#define ZVGCTL_CONNECTION_H

#include <cstdint>
#include <memory>
#include <string>

#include "zvgctl/connection_options.h"
#include "zvgctl/context.h"
#include "zvgctl/library_messages.h"
#include "zvgctl/serial_link.h"

namespace zvgctl {

inline constexpr uint64_t last_register = 0xFFFFFF;
inline constexpr uint64_t last_vram = 0xFFFFFFF;

class Connection {
 public:
  // Opens the board that the options name; with --sim, runs this very command on a virtual board
  // instead and does not return. Also starts the deadline: what --deadline says, else
  // default_deadline seconds (0 for none). With --json, standard output is kept for the document.
  // Throws a Failure when there is no such board.
  explicit Connection(const Context& context, unsigned default_deadline = 0);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const ConnectionOptions& options() const { return options_; }

  // True when the driver or --generation told which chip it is.
  bool generation_known() const;
  // "RQ301", "RQ302", or "RQ300" where --generation says so.
  std::string generation_name() const;

  // One access of 1, 2, 4 or 8 bytes. Throw a Failure when it did not work.
  uint64_t read_register(uint64_t offset, unsigned width);
  void write_register(uint64_t offset, unsigned width, uint64_t value);
  uint64_t read_vram(uint64_t offset, unsigned width);
  void write_vram(uint64_t offset, unsigned width, uint64_t value);

  // Null unless the board is on the other end of a serial line.
  SerialLink* serial() { return serial_.get(); }

 private:
  void open_driver();
  void open_memory();
  void open_serial();
  void tell_generation();
  void end_by_link_failure(const std::string& message);
  [[noreturn]] void fail_access(const char* deed, const char* noun, const Aperture& aperture,
                                uint64_t offset, unsigned width, int error) const;

  ConnectionOptions options_;
  std::unique_ptr<SerialLink> serial_;
  std::unique_ptr<MessageTap> link_messages_;
  bool open_ = false;
};

// The reason of a request that returned a negative result, from errno or from the result.
std::string reason(int result, int error);

}  // namespace zvgctl

#endif  // ZVGCTL_CONNECTION_H
