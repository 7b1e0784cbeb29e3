#include "service/script/script_plan.h"

#include <inttypes.h>

#include <algorithm>
#include <memory>

#include "formats/script/line.h"
#include "service/board/board.h"
#include "service/board/error.h"
#include "service/files/input_file.h"
#include "service/text.h"

namespace zvg {

namespace {

using zvg::formats::script::BlockLine;
using zvg::formats::script::LineKind;
using zvg::formats::script::ScriptLine;

// A register file is a few bytes a line; the longest are recordings.
constexpr size_t most_bytes = size_t{64} << 20;

// A text in the pieces that the library's buffer takes.
std::vector<std::string> pieces_of(const std::string& text) {
  std::vector<std::string> pieces;
  for (size_t at = 0; at < text.size();) {
    const size_t newline = text.find('\n', at);
    const size_t end = newline == std::string::npos ? text.size() : newline + 1;
    const size_t size = std::min(end - at, zvg::formats::script::line_buffer_size - 1);
    pieces.push_back(text.substr(at, size));
    at += size;
  }
  return pieces;
}

void add_remark(PlannedLine& line, const std::string& remark) {
  if (!line.remark.empty()) line.remark += "; ";
  line.remark += remark;
}

// What is behind the last field of a line; empty when nothing is.
std::string leftover(const std::string& text, int fields) {
  size_t at = 0;
  for (int i = 0; i < fields && at != std::string::npos; ++i) {
    at = text.find_first_not_of(" \t\r\n", at);
    if (at != std::string::npos) at = text.find_first_of(" \t\r\n", at);
  }
  if (at == std::string::npos) return {};
  const size_t begin = text.find_first_not_of(" \t\r\n", at);
  if (begin == std::string::npos || text[begin] == '#' || text[begin] == '/') return {};
  return text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
}

void plan_wait(PlannedLine& line, const std::string& text) {
  const zvg::formats::script::Delay delay = zvg::formats::script::parse_delay(text.c_str());
  const char* const unit = delay.unit == 's'   ? "seconds"
                           : delay.unit == 'm' ? "milliseconds"
                                               : "microseconds";
  line.step = Step::wait;
  line.deed = format("wait %d %s", std::max(delay.count, 0), unit);
  if (delay.count <= 0) add_remark(line, "no number above 0: it does not wait");
  constexpr size_t word = zvg::formats::script::delay_word_length;
  if (text.size() > word && text[word] != ' ' && text[word] != '\t') {
    add_remark(line, "the command word is longer than six letters: it is taken for a delay");
  }
}

std::string bits(uint32_t mask) {
  return mask == UINT32_MAX ? "" : " in bits " + hex(mask);
}

// Fields that a line leaves out come from the line before.
void remark_on_fields(PlannedLine& line, const std::string& text, int fields, int expected) {
  if (fields < expected) {
    add_remark(line, fields <= 0 ? "no number at its beginning: all fields are those of the line "
                                   "before"
                                 : format("only %d of %d fields: the rest are those of the line "
                                          "before",
                                          fields, expected));
  } else if (const std::string rest = leftover(text, expected); !rest.empty()) {
    add_remark(line, format("\"%s\" at its end is not looked at", rest.c_str()));
  }
}

void remark_on_address(PlannedLine& line, uint64_t address) {
  if (address > last_register) {
    add_remark(line, "there is no register above " + hex(last_register) + ": it stops the script");
  }
}

void plan_script_line(PlannedLine& line, const std::string& text, ScriptLine& fields, bool ddr) {
  const int count = fields.parse(text.c_str());
  const std::string address = hex(fields.address);
  const std::string value = hex(fields.value);
  const std::string width = ddr ? "" : format(" (%d bits)", fields.width);
  switch (fields.operation) {
    case 'W':
    case 'w':
      line.step = Step::write;
      line.deed = "write " + value + " to " + address + width;
      break;
    case 'R':
    case 'r':
      line.step = Step::poll;
      line.deed = "poll " + address + " until it is " + value + bits(fields.mask) + width;
      break;
    case 'C':
    case 'c':
      line.step = Step::check;
      line.deed = "check that " + address + " is " + value + bits(fields.mask) + width;
      break;
    case 'N':
    case 'n':
      line.step = Step::poll;
      line.deed = "poll " + address + " until it is not " + value + bits(fields.mask) + width;
      break;
    case 'S':
    case 's':
      line.step = Step::set_bits;
      line.deed = "set " + address + " to " + value + bits(fields.mask) + width;
      break;
    default:
      line.step = Step::unknown;
      line.deed = "nothing";
      add_remark(line, fields.operation == 0 ? "there is no operation"
                                             : format("'%c' is no operation", fields.operation));
      break;
  }
  if (ddr && line.step != Step::write && line.step != Step::poll && line.step != Step::unknown) {
    add_remark(line, "a DDR script has only W and R");
    line.step = Step::unknown;
  }
  remark_on_fields(line, text, count, ScriptLine::field_count);
  if (ddr || line.step == Step::unknown) return;
  if (fields.width != 8 && fields.width != 16 && fields.width != 32) {
    add_remark(line, "the width is not 8, 16 or 32: it stops the script");
  } else if (fields.width < 32 && fields.value >> fields.width != 0 && line.step == Step::write) {
    add_remark(line,
               format("the value has more than %d bits: the upper ones are cut off", fields.width));
  }
  remark_on_address(line, fields.address);
}

struct BlockRule {
  char letter;
  const char* noun;
  std::initializer_list<int> widths;
  unsigned channels;  // 0: not looked at
};

constexpr unsigned any_channel = 10;
const BlockRule block_rules[] = {
    {'H', "HDMI register", {8, 16, 32}, 4},
    {'V', "CRTC register", {8}, 1},
    {'M', "register", {8, 16, 32}, any_channel},
    {'P', "HDMI PHY register", {16}, 4},
    {'D', "DP register", {32}, 4},
};

void plan_block_line(PlannedLine& line, const std::string& text, BlockLine& fields, FileKind kind) {
  const int count = fields.parse(text.c_str());
  const std::string name = fields.name;
  const bool writes = name[0] == 'W';
  const BlockRule* rule = nullptr;
  for (const BlockRule& candidate : block_rules) {
    if (name.size() >= 2 && candidate.letter == name[1]) rule = &candidate;
  }
  if (rule == nullptr || (name[0] != 'R' && !writes)) {
    line.step = Step::unknown;
    line.deed = "nothing";
    add_remark(line, format("\"%.16s\" names no block: it is passed over", fields.name));
    return;
  }
  const std::string place = std::string(rule->noun) + " " + hex(fields.address) + " of channel " +
                            name.substr(2, 1) + format(" (%d bits)", fields.width);
  if (kind == FileKind::read) {
    line.step = writes ? Step::unknown : Step::read;
    line.deed = writes ? "end the run" : "read " + place;
    if (writes) add_remark(line, "a read file cannot write");
  } else if (writes) {
    line.step = Step::write;
    line.deed = "write " + hex(fields.value) + " to " + place;
  } else {
    line.step = Step::check;
    line.deed = "check that " + place + " is " + hex(fields.value) + bits(fields.third);
  }
  if (std::find(rule->widths.begin(), rule->widths.end(), fields.width) == rule->widths.end()) {
    add_remark(line, format("the block does not take %d bits", fields.width));
  }
  if (name.size() != 3 || fields.channel() >= rule->channels) {
    add_remark(line,
               format("\"%.16s\": the third character is no channel of the block", fields.name));
  }
  remark_on_fields(
      line, text, count,
      kind == FileKind::read ? BlockLine::read_field_count : BlockLine::check_field_count);
}

Plan plan_text(const std::string& text_of_file, FileKind kind) {
  const bool blocks = kind == FileKind::check || kind == FileKind::read;
  const auto& format_of_file =
      blocks ? zvg::formats::script::block_file_format : zvg::formats::script::script_format;
  Plan plan;
  ScriptLine script_fields_so_far;
  const auto block_fields_so_far = std::make_unique<BlockLine>();
  bool continues = false;
  for (const std::string& text : pieces_of(text_of_file)) {
    PlannedLine line;
    line.number = static_cast<int>(plan.lines.size()) + 1;
    switch (classify(format_of_file, text.c_str())) {
      case LineKind::skipped:
        break;
      case LineKind::delay:
        plan_wait(line, text);
        break;
      case LineKind::echo:
        line.step = Step::echo;
        line.deed = "print";
        break;
      case LineKind::header:
        line.step = Step::header;
        line.deed = "header";
        break;
      case LineKind::registers:
        if (blocks) {
          plan_block_line(line, text, *block_fields_so_far, kind);
        } else {
          plan_script_line(line, text, script_fields_so_far, kind == FileKind::ddr_script);
        }
        break;
    }
    if (continues) add_remark(line, "it is the rest of a line of over 1,023 characters");
    continues = text.back() != '\n' && text.size() == zvg::formats::script::line_buffer_size - 1;
    plan.lines.push_back(line);
  }
  return plan;
}

}  // namespace

size_t Plan::remarks() const {
  return static_cast<size_t>(std::count_if(
      lines.begin(), lines.end(), [](const PlannedLine& line) { return !line.remark.empty(); }));
}

bool Plan::is_empty() const {
  return std::all_of(lines.begin(), lines.end(), [](const PlannedLine& line) {
    return line.step == Step::nothing || line.step == Step::header;
  });
}

RegisterFile::RegisterFile(const std::string& path, FileKind kind)
    : name_(input_name(path)),
      kind_(kind),
      text_(read_input_text(path, most_bytes, "a register file")),
      plan_(plan_text(text_, kind)) {}

}  // namespace zvg
