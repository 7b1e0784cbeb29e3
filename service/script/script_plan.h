// What the lines of a register file mean, read as the library reads them.
#ifndef ZVG_SERVICE_SCRIPT_SCRIPT_PLAN_H
#define ZVG_SERVICE_SCRIPT_SCRIPT_PLAN_H

#include <cstddef>
#include <string>
#include <vector>

namespace zvg {

enum class FileKind { script, ddr_script, check, read };

enum class Step { nothing, wait, echo, header, write, check, poll, set_bits, read, unknown };

struct PlannedLine {
  int number = 0;  // as the library counts: a line of over 1,023 characters is several
  Step step = Step::nothing;
  std::string deed;    // "write 0x1 to 0x100 (32 bits)"; empty for nothing
  std::string remark;  // why it may not mean what was meant; empty when all is well
};

struct Plan {
  std::vector<PlannedLine> lines;

  size_t remarks() const;
  // Whether all of it is comments, blank lines and headers.
  bool is_empty() const;
};

// A register file that was read once, for all that is done with it.
class RegisterFile {
 public:
  // path: "-" for standard input. Throws an Error when it cannot be read or is no text.
  RegisterFile(const std::string& path, FileKind kind);

  // As messages call it.
  const std::string& name() const { return name_; }
  FileKind kind() const { return kind_; }
  const std::string& text() const { return text_; }
  const Plan& plan() const { return plan_; }

 private:
  std::string name_;
  FileKind kind_;
  std::string text_;
  Plan plan_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_SCRIPT_SCRIPT_PLAN_H
