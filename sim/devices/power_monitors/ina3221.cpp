#include "devices/power_monitors/ina3221.h"

#include <algorithm>
#include <cmath>

#include "devices/i2c/i2c_settings.h"

namespace zvgsim {

namespace {

enum Register : uint8_t {
  configuration = 0x00,
  first_shunt = 0x01,  // then the channel's load voltage, and so on for each channel
  first_limit = 0x07,
  mask_enable = 0x0F,
  manufacturer = 0xFE,
  die = 0xFF,
};

constexpr uint16_t reset_bit = 0x8000;
constexpr uint16_t power_up_configuration = 0x7127;
constexpr uint16_t mode_shunts = 0x1, mode_loads = 0x2, mode_continuous = 0x4;
constexpr uint16_t conversion_ready = 0x0001;
constexpr uint16_t manufacturer_id = 0x5449;
constexpr uint16_t die_id = 0x3220;

constexpr double shunt_step = 40e-6;  // volts, in bit 3
constexpr double load_step = 8e-3;
constexpr uint64_t conversion_us[] = {140, 204, 332, 588, 1100, 2116, 4156, 8244};
constexpr unsigned averages[] = {1, 4, 16, 64, 128, 256, 512, 1024};

// 13 bits with a sign, above three that are always 0.
uint16_t code_of(double volts, double step) {
  const double code = std::clamp(std::round(volts / step), -4096.0, 4095.0);
  return static_cast<uint16_t>(static_cast<int>(code) * 8);
}

}  // namespace

Ina3221::Ina3221(Board& board, const PowerMonitorSettings& settings)
    : settings_(settings), board_(board) {
  configure(power_up_configuration);
}

bool Ina3221::start(uint8_t address, bool read) {
  bytes_ = 0;
  reading_ = read;
  return address == settings_.address;
}

bool Ina3221::write(uint8_t byte) {
  switch (bytes_++) {
    case 0:
      pointer_ = byte;
      return true;
    case 1:
      high_ = byte;
      return true;
    case 2: {
      const auto word = static_cast<uint16_t>(high_ << 8 | byte);
      if (pointer_ == configuration) {
        configure(word);
      } else if (pointer_ >= first_limit && pointer_ < register_count && pointer_ != mask_enable) {
        registers_[pointer_] = word;
      }
      return true;
    }
    default:
      return true;
  }
}

uint8_t Ina3221::read() {
  const uint16_t word = register_word();
  return static_cast<uint8_t>(bytes_++ % 2 == 0 ? word >> 8 : word);
}

uint16_t Ina3221::register_word() {
  advance();
  if (pointer_ == manufacturer) return manufacturer_id;
  if (pointer_ == die) return die_id;
  if (pointer_ >= register_count) return 0;
  const uint16_t word = registers_[pointer_];
  if (pointer_ == mask_enable && bytes_ % 2 == 1) {
    registers_[mask_enable] &= static_cast<uint16_t>(~conversion_ready);  // once it was read
  }
  return word;
}

// A write begins a round anew.
void Ina3221::configure(uint16_t value) {
  if ((value & reset_bit) != 0) {
    registers_ = {};
    value = power_up_configuration;
  } else {
    advance();
  }
  registers_[configuration] = value;
  registers_[mask_enable] &= static_cast<uint16_t>(~conversion_ready);
  round_begin_ = board_.clock().now();
  converting_ = (value & (mode_shunts | mode_loads)) != 0;
}

uint64_t Ina3221::round_time() const {
  const uint16_t value = registers_[configuration];
  uint64_t one_channel = 0;
  if ((value & mode_shunts) != 0) one_channel += conversion_us[value >> 3 & 7];
  if ((value & mode_loads) != 0) one_channel += conversion_us[value >> 6 & 7];
  unsigned enabled = 0;
  for (unsigned i = 0; i < channels; ++i) enabled += value >> (14 - i) & 1;
  return microseconds(one_channel) * enabled * averages[value >> 9 & 7];
}

// Catches up with the rounds that ended since somebody looked. An average over a round is not
// modelled: a result is what is there at its end.
void Ina3221::advance() {
  if (!converting_) return;
  const uint64_t round = round_time();
  const uint64_t now = board_.clock().now();
  if (round == 0 || now - round_begin_ < round) return;
  const uint16_t value = registers_[configuration];
  const bool continuous = (value & mode_continuous) != 0;
  const uint64_t end = round_begin_ + (continuous ? (now - round_begin_) / round : 1) * round;
  for (unsigned i = 0; i < channels; ++i) {
    if ((value >> (14 - i) & 1) == 0) continue;
    const double volts = i < settings_.volts.size() ? settings_.volts[i].at(end) : 0;
    const double shunt = i < settings_.shunts.size() ? settings_.shunts[i].amperes.at(end) *
                                                           settings_.shunts[i].milliohms / 1000
                                                     : 0;
    if ((value & mode_shunts) != 0) registers_[first_shunt + 2 * i] = code_of(shunt, shunt_step);
    if ((value & mode_loads) != 0) registers_[first_shunt + 2 * i + 1] = code_of(volts, load_step);
  }
  registers_[mask_enable] |= conversion_ready;
  round_begin_ = end;
  converting_ = continuous;
}

}  // namespace zvgsim
