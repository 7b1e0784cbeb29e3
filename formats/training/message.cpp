#include "formats/training/message.h"

namespace zvg::formats::training {

void Message::take(uint32_t low, uint32_t high) {
  // The word in front of a message's identifier.
  constexpr uint32_t marker = 8;
  if (low == marker && all_collected()) {
    // What was expected stays: right after a marker, a second 8 is an identifier unless the
    // message before had no arguments.
    id_ = 0;
    collected_ = 0;
  } else if (id_ == 0) {
    expected_ = argument_count(low);
    id_ = (high << 16) + low;
  } else {
    if (collected_ < most_arguments) arguments_[collected_] = low;
    ++collected_;
  }
}

}  // namespace zvg::formats::training
