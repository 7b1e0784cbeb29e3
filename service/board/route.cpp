#include "service/board/route.h"

namespace zvg {

const char* door_name(Door door) {
  switch (door) {
    case Door::driver:
      return "driver";
    case Door::memory:
      return "memory";
    case Door::serial:
      return "serial";
  }
  return "unknown";
}

const char* generation_name(Generation generation) {
  switch (generation) {
    case Generation::rq300:
      return "RQ300";
    case Generation::rq301:
      return "RQ301";
    case Generation::rq302:
      return "RQ302";
    case Generation::unknown:
      break;
  }
  return "unknown";
}

}  // namespace zvg
