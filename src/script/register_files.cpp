// Check files and read files: register lines that name a block by letter and channel.
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "script/line_results.h"
#include "script/script_file.h"
#include "util_zvg.h"

namespace zvg::script {

namespace {

constexpr char output_file[] = "out_file.txt";

// Null when the line names none.
const zvg_reg_dev* find_block(const char* name) {
  for (const zvg_reg_dev& row : reg_dev) {
    if (static_cast<char>(row.key) == name[0] && static_cast<char>(row.key >> 8) == name[1]) {
      return &row;
    }
  }
  tell_verdict(Verdict::malformed);
  return nullptr;
}

}  // namespace

}  // namespace zvg::script

using namespace zvg::script;

int removeLine(char* line) {
  int length = 0;
  char* kept = line;
  for (; line[length] != '\0'; ++length) {
    if (line[length] != '\r') *kept++ = line[length];
  }
  *kept = '\0';
  return length;
}

int zvgRunCheckReg(const char* path) {
  ScriptFile file(block_file_format);
  if (const int result = file.open(path); result != 0) return result;
  BlockLine line;
  Line kind;
  while (file.next(&kind)) {
    // The header keeps its own newline; the colon is the full-width one.
    if (kind == Line::header) printf("\033[36mRegister\xEF\xBC\x9A%s\033[0m", file.text());
    if (kind != Line::registers) continue;
    tell_fields(line.parse(file.text()), nullptr, &line);
    const zvg_reg_dev* const block = find_block(line.name);
    if (block == nullptr) continue;
    if (block->check == nullptr) return -1;
    if (block->check(line.address, line.value, line.third, line.width, line.channel()) < 0) {
      printf("[%lx] read/write err!\n", line.address);
    }
  }
  return 0;
}

int zvgRunReadReg(const char* path) {
  ScriptFile file(block_file_format);
  if (const int result = file.open(path); result != 0) return result;
  FILE* const output = fopen(output_file, "a+");
  if (output == nullptr) {
    const int error = errno;
    fprintf(stderr, "open out_file failed, %s\n", strerror(error));
    return -error;
  }
  BlockLine line;
  Line kind;
  while (file.next(&kind)) {
    if (kind == Line::header) fputs(file.text(), output);
    if (kind != Line::registers) continue;
    tell_fields(line.parse(file.text()), nullptr, &line);
    const zvg_reg_dev* const block = find_block(line.name);
    if (block == nullptr) {
      fprintf(stderr, "no matching function found for op = %c, name = %c, channel_name = %d\n",
              line.name[0], line.name[1], static_cast<int>(line.channel()));
      continue;
    }
    if (block->read == nullptr) {
      // A line that writes has no business in a read file: the run ends here and now, and neither
      // file is closed. What was read so far is in the output all the same.
      fflush(output);
      file.abandon();
      return -1;
    }
    const uint32_t value = block->read(line.address, line.third, 0, line.width, line.channel());
    removeLine(file.text());
    file.text()[strcspn(file.text(), "\n")] = '\0';
    fprintf(output, "%s %#x\n", file.text(), value);
    printf("[%lx]: %x\n", line.address, value);
  }
  fclose(output);
  printf("reg data is in out_file.txt!\n");
  return 0;
}
