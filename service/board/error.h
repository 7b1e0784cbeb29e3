// How an operation on a board ends when it cannot keep its promise.
#ifndef ZVG_SERVICE_BOARD_ERROR_H
#define ZVG_SERVICE_BOARD_ERROR_H

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "service/board/route.h"
#include "service/json.h"

namespace zvg {

enum class ErrorKind {
  bad_argument,   // the caller asked for something that does not exist
  not_connected,  // the board could not be opened
  access,         // an access did not reach the board, or its answer did not come back whole
  timeout,        // the hardware did not get where it should in its time
  busy,           // somebody else uses the board
  bad_data,       // what the board or a file holds makes no sense
  unsupported,    // this chip, or this door, has no such thing
  file,           // a file could not be read or written
  dead_board,     // everything reads as ones
  cancelled,      // the caller wanted no more
  internal,       // a mistake in this software
};

// The kind's name in documents: "access", "dead_board" ...
const char* error_kind_name(ErrorKind kind);

class Error : public std::exception {
 public:
  Error(ErrorKind kind, std::string message) : kind_(kind), message_(std::move(message)) {}

  ErrorKind kind() const { return kind_; }
  // What was attempted, what happened, and what to do: a sentence without a full stop.
  const char* what() const noexcept override { return message_.c_str(); }

  // What is known of the access that failed.
  std::optional<Door> door;
  std::optional<uint64_t> address;
  std::optional<uint32_t> request;  // the driver request's number, 0x01 to 0x17
  int system_error = 0;             // errno; 0 where the system said nothing

 private:
  ErrorKind kind_;
  std::string message_;
};

// {"kind", "message", "door", "address", "request", "errno"}, null where nothing is known.
Json to_json(const Error& error);

// Throws an Error whose message is made as by printf.
[[noreturn, gnu::format(printf, 2, 3)]] void throw_error(ErrorKind kind, const char* pattern, ...);

// The text that printf would print.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_ERROR_H
