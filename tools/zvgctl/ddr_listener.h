// Listening to the training of one DDR channel, which may never fall silent.
#ifndef ZVGCTL_DDR_LISTENER_H
#define ZVGCTL_DDR_LISTENER_H

#include <chrono>

#include "zvgctl/ddr_eye.h"
#include "zvgctl/ddr_message.h"

namespace zvgctl {

enum class ListeningEnd {
  silent,       // the channel has said everything
  interrupted,  // by Ctrl-C
  too_long,     // it did not fall silent in its time
};

// Runs the library's listener, prints what it prints, and follows the eyes in it. The library's own
// text grids are left out: they take up to 26 seconds, and the tool draws the eyes.
class DdrListener {
 public:
  DdrListener(unsigned channel, int type);
  DdrListener(const DdrListener&) = delete;
  DdrListener& operator=(const DdrListener&) = delete;

  // Returns when the channel is silent, the time is over (0: never), or an interrupt came.
  ListeningEnd listen(std::chrono::seconds limit);

  ChannelEyes eyes() const { return eyes_; }

 private:
  void notice(const std::string& line);

  const int type_;
  const PrintedMessage eye_row_;
  const std::vector<PrintedMessage> read_scans_;
  const std::vector<PrintedMessage> write_scans_;

  ChannelEyes eyes_;
  bool reading_ = false;
};

}  // namespace zvgctl

#endif  // ZVGCTL_DDR_LISTENER_H
