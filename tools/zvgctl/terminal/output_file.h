// A file that a command writes: complete under its name, or not there, also when the command is
// interrupted.
#ifndef ZVGCTL_OUTPUT_FILE_H
#define ZVGCTL_OUTPUT_FILE_H

#include "service/files/atomic_file.h"
#include "service/files/input_file.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

// "-" is standard output: it gets the bytes and nothing else; what the command says besides goes to
// standard error.
class OutputFile : public zvg::AtomicFile {
 public:
  OutputFile(const std::string& path, bool overwrite)
      : AtomicFile(output_name(path), overwrite, is_stream(path) ? take_stdout_for_data() : -1) {
    if (!is_stream(path)) remove_when_interrupted(temporary().c_str());
  }
  ~OutputFile() { remove_when_interrupted(nullptr); }

 private:
  static bool is_stream(const std::string& path) { return path == zvg::standard_stream; }
};

}  // namespace zvgctl

#endif  // ZVGCTL_OUTPUT_FILE_H
