// The lookup-table command: a controller, and what its ramps shall correct for.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/driver_requests.h"
#include "env/white_point.h"
#include "util_zvg.h"

namespace zvg::env {

namespace {

constexpr size_t longest_command = 255;
constexpr unsigned long crtcs = 4;
constexpr const char* separators = " ,\t\r\n";

constexpr zvg_color_setting default_setting = {0, 6500, {1, 1, 1}, 1};

int refuse(int result, const char* text) {
  puts(text);
  return result;
}

// Sets what the text names. Every key is found as a plain piece of text, wherever it is.
// Returns 0, or -22 when a value is missing.
int parse_keys(const char* text, zvg_color_setting* setting) {
  float* const gamma = setting->gamma;
  if (const char* at = strstr(text, "ga")) {
    if (sscanf(at, "ga %f:%f:%f", &gamma[0], &gamma[1], &gamma[2]) < channels) {
      return refuse(-EINVAL, "[ERROR] Can't get gamma value.");
    }
  }
  if (const char* at = strstr(text, "br")) {
    if (sscanf(at, "br %f", &setting->brightness) < 1) {
      return refuse(-EINVAL, "[ERROR] Can't get brightness value.");
    }
  }
  if (const char* at = strstr(text, "ct")) {
    if (sscanf(at, "ct %d", &setting->temperature) < 1) {
      return refuse(-EINVAL, "[ERROR] Can't get color temperature value.");
    }
  }
  return 0;
}

int refuse_temperature(int32_t kelvin) {
  printf("[ERROR] color temperature %d is out of range [%d, %d].\n", kelvin, lowest_kelvin,
         highest_kelvin);
  return -EINVAL;
}

// Sends a request and frees it.
int send(int fd, zvg_crtc_lut* lut) {
  // The request reads and writes: where the entries are must be known before.
  auto* const entries = reinterpret_cast<void*>(static_cast<uintptr_t>(lut->red));
  const int result = ioctl(fd, hw::driver::request_lut, lut);
  free(entries);
  free(lut);
  return result;
}

}  // namespace

}  // namespace zvg::env

using namespace zvg::env;

int zvg_lut_load(int fd, const char* cmdline) {
  if (strlen(cmdline) > longest_command) return refuse(-1, "[ERROR]cmdline is too long.");
  const char* const word = cmdline + strspn(cmdline, separators);
  const char* const rest = word + strcspn(word, separators);
  // A negative number is out of range as well, since it is compared unsigned; so is no word at all.
  const auto crtc = static_cast<unsigned long>(strtol(word, nullptr, 10));
  if (crtc >= crtcs || *word == '\0') return refuse(-1, "[ERROR]crtc_id is out of range.");

  zvg_color_setting setting = default_setting;
  setting.crtc = static_cast<uint32_t>(crtc);
  if (const int result = parse_keys(rest, &setting); result != 0) return result;
  // The range is said here, before anything is sent, since the white points end there.
  if (setting.temperature < lowest_kelvin || setting.temperature > highest_kelvin) {
    return refuse_temperature(setting.temperature);
  }
  zvg_crtc_lut* const lut = zvg_set_color(&setting);
  return lut != nullptr ? send(fd, lut) : -1;
}
