// The options that say which board to talk to, and through which door.
#ifndef ZVGCTL_CONNECTION_OPTIONS_H
#define ZVGCTL_CONNECTION_OPTIONS_H

#include <string>

#include "service/board/route.h"

namespace CLI {
class App;
}

namespace zvgctl {

// As given; empty where an option is absent.
struct ConnectionText {
  std::string driver = {};
  std::string memory = {};
  std::string serial = {};
  std::string sim = {};
  std::string generation = {};
};

using zvg::Aperture;
using zvg::Door;
using zvg::Generation;
using zvg::Route;

// What stands for "--sim" and "--driver" without a value (see arguments.h).
inline constexpr char default_board[] = "default";
inline constexpr char default_card[] = "0";

void add_connection_options(CLI::App& application, ConnectionText& text);

// Throws a usage Failure for what makes no sense, alone or together.
Route parse_connection(const ConnectionText& text);

// Throw a usage Failure unless the driver is the door, or unless the driver or --generation tells
// which chip it is. what: the thing that needs it, at the start of a sentence.
void require_driver(const Route& options, const char* what);
void require_generation(const Route& options, const char* what);

}  // namespace zvgctl

#endif  // ZVGCTL_CONNECTION_OPTIONS_H
