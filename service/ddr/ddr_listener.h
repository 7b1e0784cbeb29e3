// Listening to the training of one DDR channel, which may never fall silent: then the board's
// deadline or a stop ends it.
#ifndef ZVG_SERVICE_DDR_DDR_LISTENER_H
#define ZVG_SERVICE_DDR_DDR_LISTENER_H

#include <string>
#include <string_view>
#include <vector>

#include "service/ddr/ddr_eye.h"
#include "service/ddr/ddr_message.h"

namespace zvg {

enum class ListeningEnd {
  silent,       // the channel has said everything
  interrupted,  // the board was stopped by its user
  too_long,     // it did not fall silent within the board's deadline
};

// Runs the library's listener, prints what it prints, and follows the eyes in it. The library's own
// text grids are left out: they take up to 26 seconds, and the tool draws the eyes.
class DdrListener {
 public:
  DdrListener(unsigned channel, int type);
  DdrListener(const DdrListener&) = delete;
  DdrListener& operator=(const DdrListener&) = delete;

  // Returns when the channel is silent, or the board was stopped.
  ListeningEnd listen();

  ChannelEyes eyes() const { return eyes_; }

 private:
  void notice(const std::string& line);
  std::string shortfall(ListeningEnd end) const;

  const int type_;
  // Formats of messages, in the library's catalogue.
  const std::string_view eye_row_;
  const std::vector<std::string_view> read_scans_;
  const std::vector<std::string_view> write_scans_;

  ChannelEyes eyes_;
  bool heard_ = false;   // the firmware's messages begin
  bool silent_ = false;  // and are over
  bool reading_ = false;
  bool failed_ = false;  // by the firmware's own words
};

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_LISTENER_H
