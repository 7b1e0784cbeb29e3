#include "devices/power_monitors/ltc299x.h"

#include <algorithm>
#include <cmath>

#include "devices/i2c/i2c_settings.h"

namespace zvgsim {

namespace {

constexpr uint8_t data_valid = 0x80;
constexpr uint64_t voltage_time = microseconds(1500);
constexpr uint64_t temperature_time = milliseconds(46);

// 14 bits and the sign above them.
uint16_t code_of(double value, double step) {
  const double code = std::clamp(std::round(value / step), -16384.0, 16383.0);
  return static_cast<uint16_t>(static_cast<int>(code) & 0x7FFF);
}

}  // namespace

uint64_t Ltc299x::Conversion::duration() const {
  return step == degree_step ? temperature_time : voltage_time;
}

void Ltc299x::trigger(bool repeat) {
  const uint64_t now = board_.clock().now();
  running_ = acquisition(now);
  next_ = 0;
  repeat_ = repeat && !running_.empty();
  if (!running_.empty()) next_done_ = now + running_.front().duration();
}

void Ltc299x::advance() {
  const uint64_t now = board_.clock().now();
  const I2cFault* const fault =
      board_.faults().of<I2cFaults>().find(settings_.bus, settings_.address);
  while (next_ < running_.size() && next_done_ <= now) {
    const Conversion& done = running_[next_];
    Result& result = results_[done.result];
    result.code = code_of(done.value, done.step);
    result.valid = fault == nullptr || !fault->drops_valid;
    result.ready = done.ready_bit && (fault == nullptr || !fault->never_ready);
    if (++next_ == running_.size() && repeat_) {
      // Of the rounds that nobody looked at, only the last ones matter.
      uint64_t round = 0;
      for (const Conversion& one : running_) round += one.duration();
      const uint64_t missed = (now - next_done_) / round;
      if (missed > 1) next_done_ += (missed - 1) * round;
      running_ = acquisition(next_done_);
      next_ = 0;
    }
    if (next_ < running_.size()) next_done_ += running_[next_].duration();
  }
}

bool Ltc299x::busy() {
  const I2cFault* const fault =
      board_.faults().of<I2cFaults>().find(settings_.bus, settings_.address);
  return next_ < running_.size() || (fault != nullptr && fault->stays_busy);
}

uint8_t Ltc299x::result_byte(unsigned number, bool high) {
  Result& result = results_[number];
  if (!high) return static_cast<uint8_t>(result.code);
  const auto byte = static_cast<uint8_t>(result.code >> 8 | (result.valid ? data_valid : 0));
  result.valid = result.ready = false;
  return byte;
}

double Ltc299x::difference(unsigned pair, uint64_t time) const {
  if (pair < settings_.shunts.size()) {
    const Shunt& shunt = settings_.shunts[pair];
    return shunt.amperes.at(time) * shunt.milliohms / 1000;
  }
  return volts(2 * pair, time) - volts(2 * pair + 1, time);
}

// LTC2990 -----------------------------------------------------------------------------------

namespace ltc2990 {

enum Register : uint8_t { status = 0, control = 1, trigger = 2, first_result = 4 };
enum Result : unsigned { internal, v1, v2, v3, v4, supply, results };

constexpr double pair_step = 19.42e-6;
constexpr uint8_t single_shot = 0x40;
constexpr uint8_t status_busy = 0x01;

// What the inputs are in each of the eight modes. A thermometer is not modelled: it reads 0.
enum class Use : uint8_t { voltage, difference, temperature };
struct Mode {
  Use first[2];   // V1 and V2
  Use second[2];  // V3 and V4
};
using enum Use;
constexpr Mode modes[] = {
    {{voltage, voltage}, {temperature, temperature}},
    {{difference, difference}, {temperature, temperature}},
    {{difference, difference}, {voltage, voltage}},
    {{temperature, temperature}, {voltage, voltage}},
    {{temperature, temperature}, {difference, difference}},
    {{temperature, temperature}, {temperature, temperature}},
    {{difference, difference}, {difference, difference}},
    {{voltage, voltage}, {voltage, voltage}},
};

}  // namespace ltc2990

Ltc2990::Ltc2990(Board& board, const PowerMonitorSettings& settings)
    : Ltc299x(board, settings, 0x0F, ltc2990::results) {}

uint8_t Ltc2990::read_register(uint8_t number) {
  advance();
  if (number >= ltc2990::first_result) {
    return result_byte((number - ltc2990::first_result) / 2u, number % 2 == 0);
  }
  switch (number) {
    case ltc2990::status: {
      uint8_t value = busy() ? ltc2990::status_busy : 0;
      for (unsigned i = 0; i < ltc2990::results; ++i) {
        if (ready(i)) value = static_cast<uint8_t>(value | 2u << i);
      }
      return value;
    }
    case ltc2990::control:
      return control_;
    default:
      return 0;
  }
}

void Ltc2990::write_register(uint8_t number, uint8_t value) {
  if (number == ltc2990::control) control_ = value;
  if (number == ltc2990::trigger) trigger((control_ & ltc2990::single_shot) == 0);
}

std::vector<Ltc299x::Conversion> Ltc2990::acquisition(uint64_t time) {
  const ltc2990::Mode& mode = ltc2990::modes[control_ & 7];
  const bool first = (control_ & 0x08) != 0, second = (control_ & 0x10) != 0;
  std::vector<Conversion> list = {{ltc2990::internal, degree_step, settings_.temperature.at(time)}};
  for (unsigned i = 0; i < 4; ++i) {
    const unsigned pair = i / 2;
    if (!(pair == 0 ? first : second)) continue;
    const ltc2990::Use* const uses = pair == 0 ? mode.first : mode.second;
    switch (uses[i % 2]) {
      case ltc2990::Use::voltage:
        list.push_back({ltc2990::v1 + i, volt_step, volts(i, time)});
        break;
      case ltc2990::Use::difference:
        // Both registers of a pair take its difference; the ready bit is the first one's.
        list.push_back({ltc2990::v1 + i, ltc2990::pair_step, difference(pair, time), i % 2 == 0});
        break;
      case ltc2990::Use::temperature:
        list.push_back({ltc2990::v1 + i, degree_step, 0, i % 2 == 0});
        break;
    }
  }
  list.push_back({ltc2990::supply, volt_step, settings_.supply.at(time) - supply_offset});
  return list;
}

// LTC2991 -----------------------------------------------------------------------------------

namespace ltc2991 {

enum Register : uint8_t {
  ready_bits = 0x00,
  enables = 0x01,  // and status
  pairs_low = 0x06,
  pairs_high = 0x07,
  acquisition_control = 0x08,
  pwm_threshold = 0x09,
  first_result = 0x0A,
  end = 0x1E,
};
enum Result : unsigned { v1, internal = 8, supply, results };

constexpr double pair_step = 19.075e-6;
constexpr uint8_t repeated = 0x10;
constexpr uint8_t enable_supply = 0x08;
constexpr unsigned first_enable_bit = 4;
constexpr uint8_t status_busy = 0x04;
constexpr uint8_t status_internal_ready = 0x02;
constexpr uint8_t status_supply_ready = 0x01;

}  // namespace ltc2991

Ltc2991::Ltc2991(Board& board, const PowerMonitorSettings& settings)
    : Ltc299x(board, settings, 0x1F, ltc2991::results) {}

uint8_t Ltc2991::read_register(uint8_t number) {
  advance();
  if (number >= ltc2991::first_result && number < ltc2991::end) {
    return result_byte((number - ltc2991::first_result) / 2u, number % 2 == 0);
  }
  switch (number) {
    case ltc2991::ready_bits: {
      uint8_t value = 0;
      for (unsigned i = 0; i < 8; ++i) {
        if (ready(i)) value = static_cast<uint8_t>(value | 1u << i);
      }
      return value;
    }
    case ltc2991::enables:
      return static_cast<uint8_t>((enables_ & 0xF8) | (busy() ? ltc2991::status_busy : 0) |
                                  (ready(ltc2991::internal) ? ltc2991::status_internal_ready : 0) |
                                  (ready(ltc2991::supply) ? ltc2991::status_supply_ready : 0));
    case ltc2991::pairs_low:
    case ltc2991::pairs_high:
      return pair_controls_[number - ltc2991::pairs_low];
    case ltc2991::acquisition_control:
      return acquisition_control_;
    case ltc2991::pwm_threshold:
      return pwm_threshold_;
    default:
      return 0;
  }
}

void Ltc2991::write_register(uint8_t number, uint8_t value) {
  switch (number) {
    case ltc2991::enables:
      enables_ = value;
      trigger((acquisition_control_ & ltc2991::repeated) != 0);
      break;
    case ltc2991::pairs_low:
    case ltc2991::pairs_high:
      pair_controls_[number - ltc2991::pairs_low] = value;
      break;
    case ltc2991::acquisition_control:
      acquisition_control_ = value;
      break;
    case ltc2991::pwm_threshold:
      pwm_threshold_ = value;
      break;
    default:
      break;
  }
}

std::vector<Ltc299x::Conversion> Ltc2991::acquisition(uint64_t time) {
  std::vector<Conversion> list;
  for (unsigned pair = 0; pair < 4; ++pair) {
    if ((enables_ >> (ltc2991::first_enable_bit + pair) & 1) == 0) continue;
    const bool differential = (pair_controls_[pair / 2] >> (4 * (pair % 2)) & 1) != 0;
    const unsigned input = 2 * pair;
    list.push_back({ltc2991::v1 + input, volt_step, volts(input, time)});
    if (differential) {
      // The second register of the pair takes the difference.
      list.push_back({ltc2991::v1 + input + 1, ltc2991::pair_step, difference(pair, time)});
    } else {
      list.push_back({ltc2991::v1 + input + 1, volt_step, volts(input + 1, time)});
    }
  }
  if ((enables_ & ltc2991::enable_supply) != 0) {
    list.push_back({ltc2991::internal, degree_step, settings_.temperature.at(time)});
    list.push_back({ltc2991::supply, volt_step, settings_.supply.at(time) - supply_offset});
  }
  return list;
}

}  // namespace zvgsim
