// Listening to the training of one DDR channel, which may never fall silent.
#ifndef ZVG_SERVICE_DDR_DDR_LISTENER_H
#define ZVG_SERVICE_DDR_DDR_LISTENER_H

#include <chrono>
#include <string_view>
#include <vector>

#include "service/ddr/ddr_eye.h"
#include "service/ddr/ddr_message.h"
#include "service/work.h"

namespace zvg {

enum class ListeningEnd {
  silent,       // the channel has said everything
  interrupted,  // cancelled by the caller
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
  ListeningEnd listen(std::chrono::seconds limit, const Work& work = {});

  ChannelEyes eyes() const { return eyes_; }

 private:
  void notice(const std::string& line);

  const int type_;
  // Formats of messages, in the library's catalogue.
  const std::string_view eye_row_;
  const std::vector<std::string_view> read_scans_;
  const std::vector<std::string_view> write_scans_;

  ChannelEyes eyes_;
  bool reading_ = false;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_LISTENER_H
