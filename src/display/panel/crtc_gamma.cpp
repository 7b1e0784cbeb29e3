// The lookup table of a display controller, for the connection that is open.
#include <stdint.h>

#include "core/connection.h"
#include "util_zvg.h"

int zvgCrtcGammaSet(uint8_t* lut) {
  return zvg_lut_load(zvg::core::g_connection.fd, reinterpret_cast<const char*>(lut));
}
