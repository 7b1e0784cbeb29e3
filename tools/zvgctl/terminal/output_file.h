// A file that a command writes: complete under its name, or not there, also when the command is
// interrupted.
#ifndef ZVGCTL_OUTPUT_FILE_H
#define ZVGCTL_OUTPUT_FILE_H

#include "service/files/atomic_file.h"
#include "service/files/input_file.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

// What becomes of a file that has the name already.
enum class Existing {
  keep,                // it stays, and that is the end of the command
  keep_unless_forced,  // the same, and --force would replace it
  replace,
};

// "-" is standard output: it gets the bytes and nothing else; what the command says besides goes to
// standard error.
class OutputFile : public zvg::AtomicFile {
 public:
  OutputFile(const std::string& path, Existing existing)
      : AtomicFile(output_name(path), existing == Existing::replace,
                   is_stream(path) ? take_stdout_for_data() : -1,
                   existing == Existing::keep_unless_forced ? ", or --force to replace it" : "") {
    if (!is_stream(path)) remove_when_interrupted(temporary().c_str());
  }
  OutputFile(const std::string& path, bool force)
      : OutputFile(path, force ? Existing::replace : Existing::keep_unless_forced) {}
  ~OutputFile() { remove_when_interrupted(nullptr); }

 private:
  static bool is_stream(const std::string& path) { return path == zvg::standard_stream; }
};

}  // namespace zvgctl

#endif  // ZVGCTL_OUTPUT_FILE_H
