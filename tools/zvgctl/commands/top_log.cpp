#include "zvgctl/commands/top_log.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <fstream>

#include "service/files/input_file.h"
#include "service/files/own_path.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

// The last line of names in a log, with its line feed, and whether its last line is whole.
std::string last_header(const std::string& path, bool* whole) {
  std::ifstream file(path);
  std::string header;
  *whole = true;
  for (std::string line; std::getline(file, line);) {
    *whole = !file.eof();
    if (line.starts_with("time,")) header = line + "\n";
  }
  return header;
}

}  // namespace

TopLog::TopLog(const std::string& path, ExistingLog existing) : path_(output_name(path)) {
  if (path.empty()) return;
  if (path == zvg::standard_stream) {
    file_ = fdopen(take_stdout_for_data(), "w");
    return;
  }
  const bool append = existing == ExistingLog::append;
  const bool keep = existing == ExistingLog::keep;
  const int fd = open_to_write(path, O_WRONLY | O_CREAT | (append ? O_APPEND : keep ? O_EXCL : 0));
  if (fd < 0 && errno == EEXIST) {
    fail("%s exists already: --append goes on in it, --force replaces it", path.c_str());
  }
  const bool emptied = fd >= 0 && (append || ftruncate(fd, 0) == 0);
  file_ = !emptied ? nullptr : fdopen(fd, "w");
  if (file_ == nullptr) fail("cannot create %s: %s", path.c_str(), strerror(errno));
  if (!append) return;
  bool whole = true;
  header_ = last_header(path, &whole);
  if (!whole) fputc('\n', file_);  // a line that the power cut off
}

TopLog::~TopLog() {
  if (file_ != nullptr) fclose(file_);
}

void TopLog::write(const BoardSample& sample) {
  if (file_ == nullptr) return;
  // Other columns than before, because something came or went, get their names again.
  const std::string header = csv_header(sample);
  if (header != header_) fputs(header.c_str(), file_);
  header_ = header;
  fputs(csv_line(sample).c_str(), file_);
  if (fflush(file_) != 0) fail("cannot write %s: %s", path_.c_str(), strerror(errno));
}

}  // namespace zvgctl
