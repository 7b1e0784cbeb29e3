// The listener to the training firmware, which streams messages through a mailbox in the PHY.
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include "core/ddr_channels.h"
#include "ddr/eye.h"
#include "ddr/messages.h"
#include "formats/training/message.h"
#include "hw/blocks/ddr_phy.h"
#include "util_zvg.h"

namespace zvg::ddr {

namespace {

using formats::training::Message;

// The mailbox is in the PHY.
using namespace hw::ddr_phy;

constexpr useconds_t poll_step_us = 100;
constexpr useconds_t unknown_pause_us = 1000;
constexpr uint32_t idle_polls = 1000;

uint32_t read(uint32_t address) {
  uint32_t value = 0;
  zvgRegReadLong(address, &value);
  return value;
}

void show(const Message& message) {
  const zvg_ddr_message* const record = find_message(message.id());
  if (record == nullptr) {
    usleep(unknown_pause_us);
    return;
  }
  my_printf(message.arguments(), *record);
  if (const auto scan = formats::training::scan_begun_by(message.id())) begin_scan(*scan);
  if (message.id() == formats::training::eye_row_id) set_2d_eye(message.arguments());
}

// Takes words until the firmware has no more of them.
void take_burst(uint32_t phy, Message* message) {
  do {
    const uint32_t low = read(phy + word_low);
    const uint32_t high = read(phy + word_high);
    zvgRegWriteLong(phy + acknowledge, word_taken);
    const uint32_t status = read(phy + mailbox_status);
    message->take(low, high);
    if ((status & status_empty) != 0) return;
  } while (true);
}

// Listens to a channel until its firmware has been silent for long.
void listen(uint32_t phy) {
  Message message;
  uint32_t idle = 0;
  read(phy + word_low);
  while (idle < idle_polls) {
    bool fresh = true;
    if ((read(phy + mailbox_status) & status_empty) == 0) {
      take_burst(phy, &message);
      idle = 1;
    } else {
      ++idle;
      fresh = idle == 1;
    }
    zvgRegWriteLong(phy + acknowledge, burst_done);
    usleep(poll_step_us);
    if (fresh && message.complete()) {
      show(message);
      idle = 1;
    }
  }
  puts("training messages over");
  report_eyes();
}

}  // namespace

}  // namespace zvg::ddr

int zvgDdrShowEye(uint32_t channel_mask, int type) {
  using namespace zvg::core::ddr;
  puts("hello zvgDdrShowEye");
  if (!zvg::ddr::select_catalogue(type)) {
    fprintf(stderr,
            "ddr type %d error.\n\t0: ddr4 2d training, 1: lpddr4x 2d training, "
            "2: ddr4 1d training, 3: lpddr4x 1d training\n",
            type);
    return -1;
  }
  for (unsigned channel = 0; channel < channels(); ++channel) {
    if (!selected(channel_mask, channel)) continue;
    const uint32_t phy = phy_base(channel);
    printf("Show software eye for ddr channel %d with phy offset 0x%08x...\n",
           static_cast<int>(channel), phy);
    zvg::ddr::listen(phy);
  }
  return 0;
}
