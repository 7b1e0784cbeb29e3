// zvgctl reg: the chip's registers.
#include <errno.h>
#include <stdio.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/text.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

const Space registers = {
    .name = "reg",
    .noun = "register",
    .argument = "ADDR",
    .digits = 6,
    .last = last_register,
    .fixed_width = 0,
    .aligned = false,
    .check = [](const Route&) {},
    .read = [](Connection& connection, uint64_t address,
               unsigned width) { return connection.read_register(address, width); },
    .write = [](Connection& connection, uint64_t address, unsigned width,
                uint64_t value) { connection.write_register(address, width, value); },
};

struct MaskArguments {
  std::string address;
  std::string mask;
  std::string value;
  std::string width = "8";
  bool verify = false;
};

void mask_command(const Context& context, const MaskArguments& arguments) {
  if (arguments.address.find('-') != std::string::npos) {
    usage_error("ADDR: a masked write takes one address");
  }
  const Span span = parse_span(registers, arguments.address, arguments.width, "");
  const uint64_t mask = parse_number("MASK", arguments.mask, largest(span.width));
  const uint64_t value = parse_number("VALUE", arguments.value, largest(span.width));
  if ((value & ~mask) != 0) {
    usage_error("VALUE: %s has bits outside of MASK %s, which would stay as they are",
                hex(value).c_str(), hex(mask).c_str());
  }
  Connection connection(context);
  if (span.width == 1 && connection.door() != Door::serial) {
    const int result =
        zvgRegMskWriteByte(span.first, static_cast<uint8_t>(mask), static_cast<uint8_t>(value));
    if (result != 0) {
      fail("cannot change register %s: %s", hex(span.first, registers.digits).c_str(),
           reason(result, errno).c_str());
    }
  } else {
    const uint64_t old = connection.read_register(span.first, span.width);
    connection.write_register(span.first, span.width, (old & ~mask) | (value & mask));
  }
  if (arguments.verify) verify_written(registers, connection, span, {value}, mask);
}

struct WatchArguments {
  std::string address;
  std::string width = "32";
  std::string interval = "0.1";
  std::string count;
};

// Sleeps in slices, so that a signal between the test and the sleep costs little.
void sleep_unless_ended(double seconds) {
  constexpr double slice_us = 50'000;
  for (double left = seconds * 1e6; left > 0 && !InterruptNotice::came(); left -= slice_us) {
    usleep(static_cast<useconds_t>(std::min(left, slice_us)));
  }
}

double parse_interval(const std::string& text) {
  constexpr double longest = 86400;
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != '\0' || !std::isfinite(seconds) || seconds < 0 ||
      seconds > longest) {
    usage_error("--interval: \"%s\" is not a time: expected seconds such as 0.5", text.c_str());
  }
  return seconds;
}

void print_sample(const Context& context, const Span& span, double seconds, uint64_t value,
                  const uint64_t* previous) {
  const int digits = static_cast<int>(2 * span.width);
  const std::string address = hex(span.first, registers.digits);
  if (context.json) {
    print_json_line({{"time", timestamp()},
                     {"seconds", rounded(seconds, 3)},
                     {"address", address_text(span.first)},
                     {"value", hex(value, digits)}});
  } else if (previous == nullptr) {
    printf("%s: %s\n", address.c_str(), hex(value, digits).c_str());
  } else {
    printf("%s: %s -> %s (after %.3f s)\n", address.c_str(), hex(*previous, digits).c_str(),
           hex(value, digits).c_str(), seconds);
  }
  // Whoever follows through a pipe wants to see a change when it happens.
  fflush(stdout);
}

void watch_command(const Context& context, const WatchArguments& arguments) {
  if (arguments.address.find('-') != std::string::npos) {
    usage_error("ADDR: a watch takes one address");
  }
  const Span span = parse_span(registers, arguments.address, arguments.width, "");
  const double interval = parse_interval(arguments.interval);
  const uint64_t count = arguments.count.empty() ? 0 : parse_number("--count", arguments.count);
  Connection connection(context);
  const InterruptNotice ctrl_c;  // how a watch normally ends, so it is no failure here
  const auto start = std::chrono::steady_clock::now();
  uint64_t previous = 0;
  for (uint64_t sample = 0; !InterruptNotice::came(); ++sample) {
    const uint64_t value = connection.read_register(span.first, span.width);
    if (sample == 0 || value != previous) {
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
      print_sample(context, span, elapsed.count(), value, sample == 0 ? nullptr : &previous);
    }
    previous = value;
    if (count != 0 && sample + 1 >= count) return;
    sleep_unless_ended(interval);
  }
  // The terminal shows "^C" on the current line.
  if (!context.json) printf("\n");
}

void add_mask(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<MaskArguments>();
  CLI::App* const command = family.add_subcommand(
      "mask", "Change some bits of a register: those of MASK become those of VALUE");
  command->add_option("ADDR", arguments->address, "Register address")
      ->required()
      ->type_name("ADDRESS, up to 0xffffff");
  command->add_option("MASK", arguments->mask, "The bits to change")
      ->required()
      ->type_name("NUMBER");
  command->add_option("VALUE", arguments->value, "Their new state")
      ->required()
      ->type_name("NUMBER");
  command
      ->add_option("-w,--width", arguments->width,
                   "Bits of the register: 8 (default), 16, 32 or 64")
      ->type_name("BITS");
  add_verify_option(*command, arguments->verify);
  command->footer(
      "Examples:\n"
      "  zvgctl reg mask 0x113000 0x38 0x30           bits 5:3 become 110\n"
      "  zvgctl reg mask 0x308030 0x100 0 --width 32  clears bit 8 of 32");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { mask_command(context, *arguments); };
  });
}

void add_watch(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<WatchArguments>();
  CLI::App* const command =
      family.add_subcommand("watch", "Show a register whenever it changes, until Ctrl-C");
  command->add_option("ADDR", arguments->address, "Register address")
      ->required()
      ->type_name("ADDRESS, up to 0xffffff");
  add_width_option(*command, arguments->width);
  command
      ->add_option("-i,--interval", arguments->interval,
                   "Seconds between two looks (default 0.1); 0 looks as often as it can")
      ->type_name("SECONDS");
  command->add_option("-n,--count", arguments->count, "End after that many looks")->type_name("N");
  command->footer(
      "Examples:\n"
      "  zvgctl reg watch 0x113004 --width 8   is HDMI 0 plugged?\n"
      "  zvgctl reg watch 0x308050 -i 1 -n 60        for a minute, once a second\n"
      "With --json each change is one JSON document on a line of its own.");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { watch_command(context, *arguments); };
  });
}

}  // namespace

void add_reg(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "reg", "Registers of the chip (MMIO space)",
                                "Examples:\n"
                                "  zvgctl reg read 0x113004 --width 8\n"
                                "  zvgctl reg write 0x308030 0x301\n"
                                "Every command has a --help of its own with more of them.");
  add_read_command(family, context, registers,
                   "Examples:\n"
                   "  zvgctl reg read 0x308000                       one 32-bit register\n"
                   "  zvgctl reg read 0x111001-0x111010 --width 8    a range of byte registers\n"
                   "  zvgctl reg read 0x308000 --count 16 --json     sixteen of them, as JSON\n"
                   "  zvgctl reg read 0x308000 --serial /dev/ttyUSB0:115200");
  add_write_command(family, context, registers, nullptr,
                    "Examples:\n"
                    "  zvgctl reg write 0x308030 0x301\n"
                    "  zvgctl reg write 0x117e00 0x50 0x00 --width 8   two byte registers");
  add_mask(family, context);
  add_watch(family, context);
  add_snapshot(family, context);
  add_diff(family, context);
}

}  // namespace zvgctl
