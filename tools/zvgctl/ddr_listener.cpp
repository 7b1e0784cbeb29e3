#include "zvgctl/ddr_listener.h"

#include <errno.h>
#include <string.h>
#include <util_zvg.h>

#include <thread>

#include "zvgctl/errors.h"
#include "zvgctl/interrupts.h"

namespace zvgctl {

namespace {

using namespace std::chrono_literals;

// Messages of the 2D catalogue that eyes come from.
constexpr uint32_t eye_row_id = 0x14001F;
constexpr uint32_t read_scan_ids[] = {0x210004, 0x250004};
constexpr uint32_t write_scan_ids[] = {0x1E0004, 0x280004};

// What the library prints last before its text grids.
constexpr char state_line[] = "set_2d_eye: read_write_f:";

constexpr auto look_step = 20ms;
constexpr auto patience = 2s;  // with a library that was told to stop

PrintedMessage printed(uint32_t id) {
  const zvg_ddr_message* const record = find_message(ddr_catalogues().front(), id);
  if (record == nullptr) {
    fail("the library's catalogue of 2D training has no message 0x%08x, which eyes need", id);
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

ListeningEnd DdrListener::listen(std::chrono::seconds limit) {
  tap_ = std::make_unique<MessageTap>(
      std::initializer_list<std::string_view>{""},
      [this](const std::string& line) { notice(line); }, &stdout);
  if (const int error = pthread_create(&thread_, nullptr, run, this); error != 0) {
    fail("cannot start a thread: %s", strerror(error));
  }
  using Clock = std::chrono::steady_clock;
  const auto ends = [this](Clock::time_point until, bool until_interrupt) {
    while (!ended_ && Clock::now() < until && !(until_interrupt && InterruptNotice::came())) {
      std::this_thread::sleep_for(look_step);
    }
    return ended_.load();
  };
  if (!ends(limit == 0s ? Clock::time_point::max() : Clock::now() + limit, true)) {
    stop_ = true;
    if (!ends(Clock::now() + patience, false)) {
      tap_->release();  // what the caller prints now is no message
      return ListeningEnd::stuck;
    }
  }
  pthread_join(thread_, nullptr);
  tap_.reset();
  return silent_ ? ListeningEnd::silent : ListeningEnd::stopped;
}

ChannelEyes DdrListener::eyes() {
  const std::lock_guard guard(lock_);
  eyes_.complete = silent_;
  return eyes_;
}

void* DdrListener::run(void* self) {
  auto& listener = *static_cast<DdrListener*>(self);
  // Also when the thread ends in the middle of the library.
  struct End {
    std::atomic<bool>& ended;
    ~End() { ended = true; }
  } end{listener.ended_};
  zvgDdrShowEye(1u << listener.eyes_.channel, listener.type_);
  listener.silent_ = true;
  return nullptr;
}

// Called by the library's prints, on its thread.
void DdrListener::notice(const std::string& line) {
  if (line.starts_with(state_line)) {
    silent_ = true;
    pthread_exit(nullptr);
  }
  if (stop_) pthread_exit(nullptr);
  const std::lock_guard guard(lock_);
  if (matches(read_scans_, line)) reading_ = true;
  if (matches(write_scans_, line)) reading_ = false;
  if (const auto values = eye_row_.match(line); values && values->size() == Eye::columns) {
    (reading_ ? eyes_.read : eyes_.write).add(std::span<const uint32_t, Eye::columns>(*values));
  }
}

}  // namespace zvgctl
