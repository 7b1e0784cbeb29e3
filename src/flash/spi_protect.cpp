// Block protection of the flash.
#include <stdio.h>

#include "core/poll.h"
#include "flash/spi_controller.h"
#include "util_zvg.h"

using namespace zvg::flash;

namespace {

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
  uint32_t value = 0;
  const auto look = [&] {
    value = read(status);
    return 0;
  };
  zvg::core::read_wait_compare(zvg::core::endless, zvg::core::sleeping(look_step_us), look,
                               [&] { return value == sent_and_idle; });
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
