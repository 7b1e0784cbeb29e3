#include "service/ddr/ddr_listener.h"

#include <util_zvg.h>

#include <array>

#include "formats/training/message.h"
#include "formats/training/printed_message.h"
#include "service/board/error.h"
#include "service/seam/library_messages.h"
#include "service/seam/transport.h"
#include "service/work.h"

namespace zvg {

namespace {

using namespace zvg::formats::training;

using Clock = std::chrono::steady_clock;

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

// The formats of those messages that the catalogue of 2D training has.
template <size_t count>
std::vector<std::string_view> formats_of(const uint32_t (&ids)[count]) {
  std::vector<std::string_view> formats;
  for (const uint32_t id : ids) {
    const zvg_ddr_message* const record = find_message(ddr_catalogues().front(), id);
    if (record != nullptr) formats.push_back(record->format);
  }
  if (formats.empty()) {
    throw_error(ErrorKind::unsupported,
                "the library's catalogue of 2D training has no message 0x%08x, which eyes need",
                ids[0]);
  }
  return formats;
}

using Arguments = std::array<uint32_t, most_arguments>;

bool matches(const std::vector<std::string_view>& formats, const std::string& line) {
  Arguments arguments;
  for (const std::string_view format : formats) {
    if (read_printed(format, line, arguments)) return true;
  }
  return false;
}

}  // namespace

DdrListener::DdrListener(unsigned channel, int type)
    : type_(type),
      eye_row_(formats_of({eye_row_id}).front()),
      read_scans_(formats_of(read_scan_ids)),
      write_scans_(formats_of(write_scan_ids)) {
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
  Arguments values;
  if (read_printed(eye_row_, line, values) == Eye::columns) {
    (reading_ ? eyes_.read : eyes_.write).add(std::span(values).first<Eye::columns>());
  }
}

}  // namespace zvg
