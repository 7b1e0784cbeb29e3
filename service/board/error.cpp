#include "service/board/error.h"

#include <stdarg.h>
#include <stdio.h>

#include <nlohmann/json.hpp>

namespace zvg {

namespace {

std::string format_list(const char* pattern, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int size = vsnprintf(nullptr, 0, pattern, arguments);
  std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
  vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  return text;
}

}  // namespace

const char* error_kind_name(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::bad_argument:
      return "bad_argument";
    case ErrorKind::not_connected:
      return "not_connected";
    case ErrorKind::access:
      return "access";
    case ErrorKind::timeout:
      return "timeout";
    case ErrorKind::busy:
      return "busy";
    case ErrorKind::bad_data:
      return "bad_data";
    case ErrorKind::unsupported:
      return "unsupported";
    case ErrorKind::file:
      return "file";
    case ErrorKind::dead_board:
      return "dead_board";
    case ErrorKind::cancelled:
      return "cancelled";
    case ErrorKind::internal:
      return "internal";
  }
  return "unknown";
}

Json to_json(const Error& error) {
  Json json = {{"kind", error_kind_name(error.kind())}, {"message", error.what()}};
  json["door"] = error.door ? Json(door_name(*error.door)) : Json();
  json["address"] = error.address ? Json(address_text(*error.address)) : Json();
  json["request"] = error.request ? Json(address_text(*error.request)) : Json();
  json["errno"] = error.system_error != 0 ? Json(error.system_error) : Json();
  return json;
}

void throw_error(ErrorKind kind, const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  std::string text = format_list(pattern, arguments);
  va_end(arguments);
  throw Error(kind, std::move(text));
}

std::string format(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  std::string text = format_list(pattern, arguments);
  va_end(arguments);
  return text;
}

}  // namespace zvg
