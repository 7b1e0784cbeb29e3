#include "display/dp/ports.h"

#include <stdio.h>

#include "display/dp/registers.h"

namespace zvg::display::dp {

namespace {

// Set up once and never torn down: the transmitters keep running when the connection is closed.
struct {
  zvg_dptx record[last_port + 1];
  zvg_dptx beyond;  // for a set-up of a port that the chip does not have
  bool any_set_up;
} ports;

}  // namespace

zvg_dptx& record_of(uint32_t port) {
  return port <= last_port ? ports.record[port] : ports.beyond;
}

zvg_dptx& record_for_transfer(uint32_t port) {
  if (!ports.any_set_up) zvgDpInit(static_cast<int>(port));
  return record_of(port);
}

zvg_dptx& record_for_link(uint32_t port) {
  if (record_of(port).block_offset == 0) zvgDpInit(static_cast<int>(port));
  return record_of(port);
}

int refuse_channel(uint32_t port) {
  printf("channel %d is out of range\n", static_cast<int>(port));
  return -1;
}

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvgDpInit(int port) {
  const auto number = static_cast<uint32_t>(port);
  const int result = zvg_dptx_init(&record_of(number), nullptr, block_of(number), port);
  ports.any_set_up = true;
  return result;
}
