// Listening to the training of one DDR channel, which may never fall silent.
#ifndef ZVGCTL_DDR_LISTENER_H
#define ZVGCTL_DDR_LISTENER_H

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

#include "zvgctl/ddr_eye.h"
#include "zvgctl/ddr_message.h"
#include "zvgctl/library_messages.h"

namespace zvgctl {

enum class ListeningEnd {
  silent,   // the channel has said everything
  stopped,  // told to stop, the library did at its next message
  stuck,    // it did not: the library is still at it, on its thread
};

// Runs the library's listener on a thread, prints what it prints, and follows the eyes in it. The
// library's own text grids are left out: they take up to 26 seconds, and the tool draws the eyes.
class DdrListener {
 public:
  DdrListener(unsigned channel, int type);
  DdrListener(const DdrListener&) = delete;
  DdrListener& operator=(const DdrListener&) = delete;

  // Returns when the channel is silent, the time is over, or an interrupt came. After `stuck` the
  // object has to stay, and the connection may not be used any more.
  ListeningEnd listen(std::chrono::seconds limit);

  ChannelEyes eyes();

 private:
  static void* run(void* self);
  void notice(const std::string& line);

  const int type_;
  const PrintedMessage eye_row_;
  const std::vector<PrintedMessage> read_scans_;
  const std::vector<PrintedMessage> write_scans_;

  std::unique_ptr<MessageTap> tap_;
  pthread_t thread_{};
  std::atomic<bool> stop_{false};
  std::atomic<bool> silent_{false};
  std::atomic<bool> ended_{false};

  std::mutex lock_;  // guards what follows
  ChannelEyes eyes_;
  bool reading_ = false;
};

}  // namespace zvgctl

#endif  // ZVGCTL_DDR_LISTENER_H
