// How a board is reached: through which door, and which board behind it.
#ifndef ZVG_SERVICE_BOARD_ROUTE_H
#define ZVG_SERVICE_BOARD_ROUTE_H

#include <cstdint>
#include <string>

namespace zvg {

enum class Door { driver, memory, serial };

// "driver", "memory" or "serial".
const char* door_name(Door door);

// Where no driver tells the chip, whoever opens the board does. Through the driver RQ300 shows as
// RQ301.
enum class Generation { unknown, rq300, rq301, rq302 };

// "RQ300" to "RQ302", or "unknown".
const char* generation_name(Generation generation);

// A piece of the host's physical address space that shows a piece of the board.
struct Aperture {
  uint64_t base = 0;    // bytes
  uint64_t length = 0;  // bytes; 0 leaves it unmapped
};

struct Route {
  Door door = Door::driver;
  int card = 0;        // driver
  Aperture registers;  // memory
  Aperture video_memory;
  std::string device;  // serial
  int baud = 0;
  Generation generation = Generation::unknown;  // memory and serial: what the caller says
};

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_ROUTE_H
