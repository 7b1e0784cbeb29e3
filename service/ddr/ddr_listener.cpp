#include "service/ddr/ddr_listener.h"

#include <util_zvg.h>

#include <array>

#include "formats/training/message.h"
#include "formats/training/printed_message.h"
#include "service/board/error.h"
#include "service/seam/library_messages.h"
#include "service/seam/transport.h"

namespace zvg {

namespace {

using namespace zvg::formats::training;

// What the library prints last before its text grids.
constexpr char state_line[] = "set_2d_eye: read_write_f:";
// And first, before the firmware's messages.
constexpr char first_line[] = "Show software eye for ddr channel";
constexpr char last_line[] = "training messages over";

// One-dimensional training draws none.
bool scans_eyes(int type) {
  return type == ZVG_DDR_TRAINING_DDR4_2D || type == ZVG_DDR_TRAINING_LPDDR4X_2D;
}

// What firmware says when it gave up.
constexpr std::string_view error_begin = "PMU: Error";
constexpr std::string_view assertion = "assertion has failed";

// Behind its last message the library prints its text grids for half a minute. It is ended at its
// next call to the platform, from which a ListeningEnd is thrown: it holds nothing there that would
// be lost.
class Ending : public seam::Forwarding {
 public:
  explicit Ending(const bool& silent) : Forwarding(seam::transport()), silent_(silent) {}

  int ioctl(int fd, unsigned long request, void* argument) override {
    end_if_silent();
    return Forwarding::ioctl(fd, request, argument);
  }
  ssize_t write(int fd, const void* bytes, size_t size) override {
    end_if_silent();
    return Forwarding::write(fd, bytes, size);
  }
  int usleep(useconds_t microseconds) override {
    end_if_silent();
    return Forwarding::usleep(microseconds);
  }

 private:
  void end_if_silent() const {
    if (silent_) throw ListeningEnd::silent;
  }

  const bool& silent_;
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

ListeningEnd DdrListener::listen() {
  Ending ending(silent_);
  // Behind the last message come the library's text grids.
  const seam::Redirection until_silent(
      [this, &until_silent](seam::Stream stream, std::string_view text) {
        if (!silent_) until_silent.pass_on(stream, text);
      });
  const MessageTap tap(
      {""}, [this](const std::string& line) { notice(line); }, seam::Stream::out);
  const seam::UseTransport use(ending);
  ListeningEnd end = ListeningEnd::silent;
  try {
    zvgDdrShowEye(1u << eyes_.channel, type_);
  } catch (const ListeningEnd silence) {
    end = silence;
  } catch (const Error& error) {
    if (error.kind() != ErrorKind::timeout && error.kind() != ErrorKind::cancelled) throw;
    end = error.kind() == ErrorKind::timeout ? ListeningEnd::too_long : ListeningEnd::interrupted;
  }
  eyes_.shortfall = shortfall(end);
  eyes_.complete = eyes_.shortfall.empty();
  return end;
}

std::string DdrListener::shortfall(ListeningEnd end) const {
  if (end != ListeningEnd::silent) return "not listened to the end";
  if (failed_) return "its firmware reported a failure";
  if (!scans_eyes(type_)) return "";
  if (eyes_.read.empty() && eyes_.write.empty()) return "nothing was scanned";
  if (eyes_.read.empty()) return "silent before the read eye was scanned";
  if (eyes_.write.empty()) return "silent before the write eye was scanned";
  return "";
}

void DdrListener::notice(const std::string& line) {
  if (line.starts_with(state_line)) silent_ = true;
  if (silent_) return;
  if (matches(read_scans_, line)) reading_ = true;
  if (matches(write_scans_, line)) reading_ = false;
  if (line.starts_with(error_begin) || line.find(assertion) != std::string::npos) failed_ = true;
  Arguments values;
  if (read_printed(eye_row_, line, values) == Eye::columns) {
    (reading_ ? eyes_.read : eyes_.write).add(std::span(values).first<Eye::columns>());
  } else if (heard_ && line != last_line) {
    eyes_.messages.push_back(line);
  }
  if (line.starts_with(first_line)) heard_ = true;
}

}  // namespace zvg
