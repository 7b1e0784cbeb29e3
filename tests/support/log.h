// Logs of accesses, one text an access, and how tests write the expected ones.
#ifndef TESTS_SUPPORT_LOG_H
#define TESTS_SUPPORT_LOG_H

#include <initializer_list>
#include <string>
#include <vector>

namespace zvgtest {

using Log = std::vector<std::string>;

// A line as printf() makes it.
std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));

Log join(std::initializer_list<Log> parts);
Log repeat(unsigned times, const Log& part);

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_LOG_H
