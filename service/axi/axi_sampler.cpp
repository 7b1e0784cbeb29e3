#include "service/axi/axi_sampler.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <util_zvg.h>

#include <exception>

#include "service/board/error.h"
#include "service/seam/library_messages.h"

namespace zvg {

namespace {

struct Sampling {
  std::string suffix;
  std::exception_ptr failure;
};

// A thread that an Error leaves would end the process.
void* sample(void* argument) {
  auto& sampling = *static_cast<Sampling*>(argument);
  try {
    return zvg_thread_rq302monitor(sampling.suffix.data());
  } catch (const Error&) {
    sampling.failure = std::current_exception();
    return nullptr;
  }
}

}  // namespace

void sample_axi(std::string suffix, const std::function<bool(uint32_t, uint32_t)>& each) {
  constexpr char updates_line[] = "data_update: ";
  constexpr char sample_line[] = "cycle times :";
  uint32_t updates = 0;
  Sampling sampling = {std::move(suffix), nullptr};
  const QuietStdout quiet;
  // The loop has no end of its own. The thread ends in the line that it prints behind a sample:
  // all files are closed there.
  const MessageTap tap(
      {"", "\r"},
      [&](const std::string& text) {
        // Some lines end with the carriage return behind their newline.
        const char* const line = text.c_str() + (text.starts_with('\r') ? 1 : 0);
        if (strncmp(line, updates_line, strlen(updates_line)) == 0) {
          updates = static_cast<uint32_t>(strtoul(line + strlen(updates_line), nullptr, 16));
        }
        if (strncmp(line, sample_line, strlen(sample_line)) != 0) return;
        bool more = false;
        try {
          more = each(static_cast<uint32_t>(strtoul(line + strlen(sample_line), nullptr, 10)),
                      updates);
        } catch (...) {
          sampling.failure = std::current_exception();
        }
        if (!more) pthread_exit(nullptr);
      },
      zvg::seam::Stream::out);
  pthread_t thread;
  const int error = pthread_create(&thread, nullptr, sample, &sampling);
  if (error != 0) throw_error(ErrorKind::unsupported, "cannot start a thread: %s", strerror(error));
  pthread_join(thread, nullptr);
  if (sampling.failure) std::rethrow_exception(sampling.failure);
}

}  // namespace zvg
