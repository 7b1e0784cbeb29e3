#include "service/ddr/ddr_listener.h"

#include <util_zvg.h>

#include "service/board/error.h"
#include "service/seam/library_messages.h"
#include "service/seam/transport.h"
#include "service/work.h"

namespace zvg {

namespace {

using Clock = std::chrono::steady_clock;

// Messages of the 2D catalogue that eyes come from.
constexpr uint32_t eye_row_id = 0x14001F;
constexpr uint32_t read_scan_ids[] = {0x210004, 0x250004};
constexpr uint32_t write_scan_ids[] = {0x1E0004, 0x280004};

// What the library prints last before its text grids.
constexpr char state_line[] = "set_2d_eye: read_write_f:";

// The library's listener has no end of its own on a channel that talks on. It ends at its next call
// to the platform, from which a ListeningEnd is thrown: it holds nothing there that would be lost.
class Ending : public seam::Forwarding {
 public:
  Ending(std::chrono::seconds limit, const bool& complete, const Work& work)
      : Forwarding(seam::transport()),
        until_(limit.count() == 0 ? Clock::time_point::max() : Clock::now() + limit),
        complete_(complete),
        work_(work) {}

  int ioctl(int fd, unsigned long request, void* argument) override {
    end_if_over();
    return Forwarding::ioctl(fd, request, argument);
  }
  ssize_t write(int fd, const void* bytes, size_t size) override {
    end_if_over();
    return Forwarding::write(fd, bytes, size);
  }
  int usleep(useconds_t microseconds) override {
    end_if_over();
    return Forwarding::usleep(microseconds);
  }

 private:
  void end_if_over() const {
    if (complete_) throw ListeningEnd::silent;
    if (work_.is_cancelled()) throw ListeningEnd::interrupted;
    if (Clock::now() >= until_) throw ListeningEnd::too_long;
  }

  const Clock::time_point until_;
  const bool& complete_;
  const Work& work_;
};

PrintedMessage printed(uint32_t id) {
  const zvg_ddr_message* const record = find_message(ddr_catalogues().front(), id);
  if (record == nullptr) {
    throw_error(ErrorKind::unsupported,
                "the library's catalogue of 2D training has no message 0x%08x, which eyes need",
                id);
  }
  return PrintedMessage(record->format);
}

template <size_t count>
std::vector<PrintedMessage> printed(const uint32_t (&ids)[count]) {
  std::vector<PrintedMessage> messages;
  for (const uint32_t id : ids) messages.push_back(printed(id));
  return messages;
}

bool matches(const std::vector<PrintedMessage>& messages, const std::string& line) {
  for (const PrintedMessage& message : messages) {
    if (message.match(line)) return true;
  }
  return false;
}

}  // namespace

DdrListener::DdrListener(unsigned channel, int type)
    : type_(type),
      eye_row_(printed(eye_row_id)),
      read_scans_(printed(read_scan_ids)),
      write_scans_(printed(write_scan_ids)) {
  eyes_.channel = channel;
}

ListeningEnd DdrListener::listen(std::chrono::seconds limit, const Work& work) {
  Ending ending(limit, eyes_.complete, work);
  // Behind the last message come the library's text grids.
  const seam::Redirection until_complete(
      [this, &until_complete](seam::Stream stream, std::string_view text) {
        if (!eyes_.complete) until_complete.pass_on(stream, text);
      });
  const MessageTap tap(
      {""}, [this](const std::string& line) { notice(line); }, seam::Stream::out);
  const seam::UseTransport use(ending);
  try {
    zvgDdrShowEye(1u << eyes_.channel, type_);
    eyes_.complete = true;
    return ListeningEnd::silent;
  } catch (const ListeningEnd end) {
    return end;
  }
}

void DdrListener::notice(const std::string& line) {
  if (line.starts_with(state_line)) eyes_.complete = true;
  if (matches(read_scans_, line)) reading_ = true;
  if (matches(write_scans_, line)) reading_ = false;
  if (const auto values = eye_row_.match(line); values && values->size() == Eye::columns) {
    (reading_ ? eyes_.read : eyes_.write).add(std::span<const uint32_t, Eye::columns>(*values));
  }
}

}  // namespace zvg
