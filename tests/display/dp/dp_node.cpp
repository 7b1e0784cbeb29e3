#include "display/dp/dp_node.h"

#include <stdio.h>

#include <optional>

namespace zvgtest {

namespace {

// Reads a log backwards and forwards: one place in it, and what is expected there.
class Cursor {
 public:
  Cursor(const Log& log, size_t at) : log_(log), at_(at) {}

  bool take(const std::string& line) {
    if (at_ >= log_.size() || log_[at_] != line) return false;
    ++at_;
    return true;
  }
  // "prefix" followed by a hex number.
  std::optional<uint32_t> number(const std::string& prefix) {
    if (at_ >= log_.size() || log_[at_].rfind(prefix, 0) != 0) return {};
    return static_cast<uint32_t>(std::stoul(log_[at_++].substr(prefix.size()), nullptr, 16));
  }
  size_t at() const { return at_; }

 private:
  const Log& log_;
  size_t at_;
};

bool take_answer(Cursor& c) {
  return c.take("ctl? 0x10c") && c.take("ctl? 0x130") && c.take("ctl? 0x14c") &&
         c.take("ctl? 0x130") && c.take("ctl? 0x140") && c.take("ctl? 0x138");
}

std::optional<std::string> take_wait(Cursor& c) {
  if (!c.take("ctl 0x158=0x0") || !c.take("ctl? 0x158")) return {};
  const auto ticks = c.number("ctl 0x158=");
  if (!ticks || !c.take("ctl? 0x158") || !c.take(text("ctl 0x158=0x%x", *ticks | 0x80000000)) ||
      !c.take("ctl? 0x158")) {
    return {};
  }
  return text("wait %u", *ticks);
}

std::optional<std::string> take_cdb(Cursor& c) {
  if (!c.take("phy? 0xc")) return {};
  const auto address = c.number("phy 0x0=");
  if (!address) return {};
  if (const auto data = c.number("phy 0x4=")) {
    if (!c.take("phy 0x8=0x3") || !c.take("phy 0x18=0x1")) return {};
    return text("cdb 0x%x=0x%x", *address, *data);
  }
  if (!c.take("phy 0x8=0x2") || !c.take("phy 0x18=0x1") || !c.take("phy? 0xc") ||
      !c.take("phy? 0xc") || !c.take("phy? 0x10")) {
    return {};
  }
  return text("cdb? 0x%x", *address);
}

std::optional<std::string> take_dpcd(Cursor& c) {
  if (!c.take("ctl? 0x14c")) return {};
  const auto value = c.number("ctl 0x104=");
  const auto address = c.number("ctl 0x108=");
  if (!address) return {};
  if (value) {
    if (!c.take("ctl 0x100=0x800") || !take_answer(c)) return {};
    return text("dpcd 0x%x=0x%x", *address, *value);
  }
  const auto command = c.number("ctl 0x100=");
  if (!command || (*command & ~15u) != 0x900 || !take_answer(c)) return {};
  const unsigned length = (*command & 15) + 1;
  for (unsigned i = 0; i < length; ++i) {
    if (!c.take("ctl? 0x134")) return {};
  }
  return length == 1 ? text("dpcd? 0x%x", *address) : text("dpcd? 0x%x+%u", *address, length);
}

// "w4 0x530080 0x1" as "ctl 0x80=0x1".
std::string name_of(const std::string& line, uint64_t block) {
  unsigned long long offset = 0, value = 0;
  char direction = 0;
  const int fields = sscanf(line.c_str(), "%c4 0x%llx 0x%llx", &direction, &offset, &value);
  if (fields < 2 || offset < block || offset >= block + 0x20000) return line;
  const bool controller = offset >= block + 0x10000;
  const std::string reg = text("%s%s 0x%llx", controller ? "ctl" : "phy",
                               direction == 'r' ? "?" : "", (offset - block) & 0xFFFF);
  return direction == 'r' ? reg : reg + text("=0x%llx", value);
}

}  // namespace

DpNode::DpNode() {
  on_read = [this](uint64_t offset, uint64_t* value) { return answer(offset, value); };
  on_write = [this](uint64_t offset, uint64_t value) { note_write(offset, value); };
  for (unsigned port = 0; port < 4; ++port) bytes[dp_block(port) + 0x1010C] = 100;
}

zvg_dptx DpNode::device(unsigned port) {
  return {nullptr, static_cast<uint32_t>(dp_block(port)), static_cast<int>(port), 2, 2};
}

bool DpNode::answer(uint64_t offset, uint64_t* value) {
  if (offset < dp_block(0) || offset >= dp_block(4)) return false;
  switch ((offset - dp_block(0)) % 0x20000) {
    case 0x0C:
      *value = cdb_ready ? cdb_word : 0;
      return true;
    case 0x10:
      *value = cdb_data;
      return true;
    case 0x44:
      *value = common_ready;
      return true;
    case 0x64:
      *value = !power_acknowledge || power_acknowledge(power_) ? power_ : 0;
      return true;
    case 0x6C:
      *value = pll_acknowledge;
      return true;
    case 0x10130:
      *value = reply_.signal;
      return true;
    case 0x10134:
      *value = received_.empty() ? 0xEE : received_.front();
      if (!received_.empty()) received_.erase(received_.begin());
      return true;
    case 0x10138:
      *value = reply_.code;
      return true;
    case 0x1014C:
      *value = requested_ ? reply_.status : idle_status;
      return true;
    case 0x10158:
      *value = 0;  // once it is started
      return (bytes[offset + 3] & 0x80) != 0;
    default:
      return false;
  }
}

void DpNode::note_write(uint64_t offset, uint64_t value) {
  if (offset < dp_block(0) || offset >= dp_block(4)) return;
  switch ((offset - dp_block(0)) % 0x20000) {
    case 0x60:
      if (value != 0) power_ = static_cast<uint32_t>(value);
      break;
    case 0x10100:
      request(static_cast<uint32_t>(value));
      break;
    case 0x10104:
      written_.push_back(static_cast<uint8_t>(value));
      break;
    case 0x10108:
      address_ = static_cast<uint32_t>(value);
      break;
    default:
      break;
  }
}

void DpNode::request(uint32_t command) {
  reply_ = on_request ? on_request(command, address_) : Reply{};
  requested_ = reply_.status != 0;
  received_.clear();
  if (reply_.code == 0) {
    const uint32_t length = (command & 15) + 1;
    for (uint32_t i = 0; i < length; ++i) {
      const uint32_t address = address_ + i;
      switch (command >> 8 & 15) {
        case 0x9:
          if (i == 0 && before_dpcd_read) before_dpcd_read(address);
          received_.push_back(dpcd[address]);
          break;
        case 0x8:
          if (i < written_.size()) dpcd[address] = written_[i];
          break;
        case 0x5:
        case 0x1:
          received_.push_back(i2c_at < i2c.size() ? i2c[i2c_at] : 0xEE);
          ++i2c_at;
          break;
        default:
          if (!written_.empty()) i2c_at = written_.front();
          break;
      }
    }
  }
  written_.clear();
}

Log DpNode::named(unsigned port) {
  Log lines;
  for (const std::string& line : take()) lines.push_back(name_of(line, dp_block(port)));
  return lines;
}

Log DpNode::folded(unsigned port) {
  const Log plain = named(port);
  Log lines;
  for (size_t at = 0; at < plain.size();) {
    std::optional<std::string> folded;
    for (const auto& take : {take_wait, take_cdb, take_dpcd}) {
      Cursor cursor(plain, at);
      folded = take(cursor);
      if (folded) {
        at = cursor.at();
        break;
      }
    }
    lines.push_back(folded ? *folded : plain[at++]);
  }
  return lines;
}

}  // namespace zvgtest
