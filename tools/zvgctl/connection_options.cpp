#include "zvgctl/connection_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <climits>

#include "service/number.h"
#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

constexpr int default_baud = 115200;
constexpr int baud_rates[] = {9600, 19200, 38400, 115200, 460800};
constexpr uint64_t page_size = 4096;

struct GenerationName {
  const char* text;
  Generation generation;
};
constexpr GenerationName generation_names[] = {
    {"rq300", Generation::rq300},
    {"rq301", Generation::rq301},
    {"rq302", Generation::rq302},
};

Aperture parse_aperture(const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) {
    usage_error(
        "--mem: \"%s\" is not an aperture: expected BASE:LENGTH, such as "
        "0xE0000000:0x1000000",
        text.c_str());
  }
  const Aperture aperture = {parse_number("--mem", text.substr(0, colon)),
                             parse_number("--mem", text.substr(colon + 1))};
  if (aperture.base % page_size != 0) {
    usage_error("--mem: base 0x%llx is not at the start of a page (a multiple of 0x1000)",
                static_cast<unsigned long long>(aperture.base));
  }
  return aperture;
}

void parse_memory(const std::string& text, Route& options) {
  const size_t comma = text.find(',');
  options.door = Door::memory;
  options.registers = parse_aperture(text.substr(0, comma));
  if (comma != std::string::npos) options.video_memory = parse_aperture(text.substr(comma + 1));
}

void parse_serial(const std::string& text, Route& options) {
  options.door = Door::serial;
  options.device = text;
  options.baud = default_baud;
  // Device paths may hold colons of their own: only digits behind the last one are a baud rate.
  const size_t colon = text.rfind(':');
  if (colon != std::string::npos && colon + 1 < text.size() &&
      std::all_of(text.begin() + static_cast<std::ptrdiff_t>(colon) + 1, text.end(),
                  [](unsigned char c) { return std::isdigit(c) != 0; })) {
    const auto baud = static_cast<int>(parse_number("--serial", text.substr(colon + 1), INT_MAX));
    if (std::find(std::begin(baud_rates), std::end(baud_rates), baud) == std::end(baud_rates)) {
      usage_error(
          "--serial: %d baud is not supported: expected 9600, 19200, 38400, 115200 or "
          "460800",
          baud);
    }
    options.device = text.substr(0, colon);
    options.baud = baud;
  }
  if (options.device.empty()) usage_error("--serial: expected DEVICE[:BAUD]");
}

Generation parse_generation(const std::string& text) {
  for (const GenerationName& name : generation_names) {
    if (text == name.text) return name.generation;
  }
  usage_error("--generation: \"%s\" is not a generation: expected rq300, rq301 or rq302",
              text.c_str());
}

}  // namespace

void add_connection_options(CLI::App& application, ConnectionText& text) {
  const char* const group = "Connection";
  application
      .add_option("--driver", text.driver,
                  "Reach the board through the kernel driver (the default); CARD is its index, "
                  "0 unless given")
      ->type_name("[CARD]")
      ->group(group);
  application
      .add_option("--mem", text.memory,
                  "Reach the board through apertures mapped from /dev/mem: registers, and video "
                  "memory if given. lspci -v shows the bases")
      ->type_name("BASE:LENGTH[,BASE:LENGTH]")
      ->group(group);
  application
      .add_option("--serial", text.serial,
                  "Reach the board over the serial line to its debug UART: 9600, 19200, 38400, "
                  "115200 (the default) or 460800 baud")
      ->type_name("DEVICE[:BAUD]")
      ->group(group);
  application
      .add_option("--sim", text.sim,
                  "Run on a virtual board; BOARD is a board file or the name of a ready one. "
                  "Combines with --mem and --serial /dev/ttyZVG0")
      ->type_name("[BOARD]")
      ->group(group);
  application
      .add_option("--generation", text.generation,
                  "The chip where no driver tells it: rq300, rq301 or rq302")
      ->type_name("CHIP")
      ->group(group);
}

Route parse_connection(const ConnectionText& text) {
  Route options;
  const int doors =
      int{!text.driver.empty()} + int{!text.memory.empty()} + int{!text.serial.empty()};
  if (doors > 1) usage_error("give only one of --driver, --mem and --serial");
  if (!text.driver.empty()) {
    options.card = static_cast<int>(parse_number("--driver", text.driver, INT_MAX));
  }
  if (!text.memory.empty()) parse_memory(text.memory, options);
  if (!text.serial.empty()) parse_serial(text.serial, options);
  if (!text.generation.empty()) {
    if (options.door == Door::driver) {
      usage_error("--generation is for --mem and --serial: the driver knows its board's chip");
    }
    options.generation = parse_generation(text.generation);
  }
  return options;
}

void require_driver(const Route& options, const char* what) {
  if (options.door != Door::driver) {
    usage_error("%s can be reached only through the driver: leave --mem and --serial out", what);
  }
}

void require_generation(const Route& options, const char* what) {
  if (options.door != Door::driver && options.generation == Generation::unknown) {
    usage_error(
        "%s differs between the chips, and nothing tells which one this is: add "
        "--generation rq300, rq301 or rq302",
        what);
  }
}

}  // namespace zvgctl
