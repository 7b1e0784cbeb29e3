// Block protection of the flash.
#include <stdio.h>
#include <unistd.h>

#include "flash/spi_controller.h"
#include "util_zvg.h"

using namespace zvg::flash;

namespace {

constexpr uint32_t sent_and_idle = 6;

void begin() {
  zvgSpiExitCrmMode();
  write({{enable, 0}, {control, bytes_transmit}, {enable, 1}, {data, write_enable}});
}

// Quad enable stays set.
int finish(uint32_t status_1, const char* success, const char* error) {
  if (!command({write_status, status_1, flash_quad_ready})) {
    puts(error);
    return -1;
  }
  puts(success);
  return 0;
}

}  // namespace

int zvgSpiProtect(void) {
  begin();
  // A flash without protection is not left behind: this wait has no end.
  while (read(status) != sent_and_idle) usleep(10);
  return finish(flash_protected, "SPI protect ok!", "SPI PROTECT ERROR");
}

int zvgSpiUnprotect(void) {
  constexpr char error[] = "SPI UNPROTECT ERROR";
  begin();
  if (!wait_for(Awaited::sent)) {
    puts(error);
    return -1;
  }
  return finish(0, "SPI unprotect ok!", error);
}
