#include "zvgctl/terminal/output.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "service/files/input_file.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

constexpr unsigned dump_line_bytes = 16;

// Where JSON goes: standard output, or its copy once the library was moved off it.
int json_fd = STDOUT_FILENO;

void write_json(const std::string& text) {
  fflush(stdout);
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t size = write(json_fd, text.data() + written, text.size() - written);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) fail("cannot write to standard output: %s", strerror(errno));
    written += static_cast<size_t>(size);
  }
}

bool documents_wanted = false;
std::string document_name;
Json pending;  // the command's document; null until there is one

// What is no UTF-8, such as a file's name, appears with replacement characters.
std::string text_of(const Json& document, int indent) {
  const std::string text = document.dump(indent, ' ', false, Json::error_handler_t::replace);
  // JSON escapes the control characters of ASCII; terminals obey these as well.
  std::string shown;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
    if (byte == 0x7F) {
      shown += "\\u007f";
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      shown += format("\\u%04x", next);
      ++i;
    } else {
      shown += text[i];
    }
  }
  return shown;
}

void print_pending() {
  if (pending.is_null()) return;
  write_json(text_of(std::exchange(pending, nullptr), 2) + "\n");
}

}  // namespace

bool use_colour(int fd) {
  const char* const no_colour = getenv("NO_COLOR");
  return (no_colour == nullptr || no_colour[0] == '\0') && isatty(fd) == 1;
}

void reserve_stdout_for_json() {
  if (json_fd != STDOUT_FILENO) return;
  fflush(stdout);
  const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  if (copy < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    fail("cannot set standard output aside for JSON: %s", strerror(errno));
  }
  json_fd = copy;
}

int take_stdout_for_data() {
  if (documents_wanted) {
    usage_error("-: standard output is for the document of --json; name a file");
  }
  // A reader that has enough ends the command as a full disk would, with all that was begun tidied.
  signal(SIGPIPE, SIG_IGN);
  reserve_stdout_for_json();
  const int copy = fcntl(json_fd, F_DUPFD_CLOEXEC, 3);
  if (copy < 0) fail("cannot use standard output: %s", strerror(errno));
  return copy;
}

std::string output_name(const std::string& path) {
  return path == zvg::standard_stream ? "standard output" : path;
}

void give_stdout_back() {
  fflush(stdout);
  if (json_fd == STDOUT_FILENO) return;
  dup2(json_fd, STDOUT_FILENO);
  close(json_fd);
  json_fd = STDOUT_FILENO;
}

void begin_output(bool json, const std::string& name) {
  documents_wanted = json;
  document_name = name;
}

void print_json(const Json& document) {
  print_pending();
  pending = zvg::document(document_name);
  pending.update(document);  // which may have a name of its own
}

void print_json(const char* member, const Json& list) {
  print_json({{member, list}});
}

void print_json_line(const Json& document) {
  Json named = zvg::document(document_name);
  named.update(document);
  write_json(text_of(named, -1) + "\n");
}

void put_error_into_json(const zvg::Error& error, const std::string& message) {
  if (!documents_wanted) return;
  if (pending.is_null()) pending = zvg::document("error");
  pending["error"] = to_json(error);
  pending["error"]["message"] = message;
}

void finish_output() {
  print_pending();
  if (fflush(stdout) != 0 || ferror(stdout) != 0) {
    fail("cannot write to standard output: %s", strerror(errno));
  }
}

void print_hex_dump(uint64_t address, int address_digits, unsigned width,
                    std::span<const uint64_t> values) {
  const size_t items = dump_line_bytes / width;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i % items == 0) {
      printf("%s0x%0*" PRIx64 ":", i == 0 ? "" : "\n", address_digits, address + i * width);
    }
    printf(" %0*" PRIx64, static_cast<int>(2 * width), values[i]);
  }
  if (!values.empty()) printf("\n");
}

const char* yes_no(bool value) {
  return value ? "yes" : "no";
}

}  // namespace zvgctl
