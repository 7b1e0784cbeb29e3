// A file that a command writes: complete under its name, or not there, also when the command is
// interrupted.
#ifndef ZVGCTL_OUTPUT_FILE_H
#define ZVGCTL_OUTPUT_FILE_H

#include "service/files/atomic_file.h"
#include "zvgctl/terminal/interrupts.h"

namespace zvgctl {

class OutputFile : public zvg::AtomicFile {
 public:
  OutputFile(std::string path, bool overwrite) : AtomicFile(std::move(path), overwrite) {
    remove_when_interrupted(temporary().c_str());
  }
  ~OutputFile() { remove_when_interrupted(nullptr); }
};

}  // namespace zvgctl

#endif  // ZVGCTL_OUTPUT_FILE_H
