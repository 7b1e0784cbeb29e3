// The built zvgctl, run as its users run it.
#ifndef TESTS_TOOLS_ZVGCTL_PROCESS_H
#define TESTS_TOOLS_ZVGCTL_PROCESS_H

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tools/process.h"

namespace zvgtest {

// The command line: the program, then the words of the text.
inline std::vector<std::string> zvgctl_words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words = {ZVGCTL_PROGRAM};
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// Where there is no board at all.
inline Result zvgctl(const std::string& text, const Setting& setting = {}) {
  return run(zvgctl_words(text), setting);
}

inline Setting on_virtual_time(Setting setting = {}) {
  setting.environment.emplace_back("ZVGSIM_VIRTUAL_TIME", "1");
  return setting;
}

// On a virtual board, whose sleeps take no time. Each call is a new board, fresh from power-up.
inline Result zvgctl_sim(const std::string& text, const Setting& setting = {}) {
  return run(zvgctl_words("--sim " + text), on_virtual_time(setting));
}

// A text of the library as the tool prints it where there is no terminal.
inline std::string without_colours(std::string text) {
  for (size_t at; (at = text.find("\033[")) != std::string::npos;) {
    text.erase(at, text.find('m', at) + 1 - at);
  }
  return text;
}

// To a virtual board by its apertures, wherever in a command.
constexpr char memory_door[] = " --mem 0xE0000000:0x1000000,0xD0000000:0x10000000";

// A folder that is gone when the test is over.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zvgctl-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) const { return (path_ / name).string(); }
  std::string put(const std::string& name, const std::string& content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
    return path(name);
  }
  std::string get(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  size_t files() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_;
};

}  // namespace zvgtest

#endif  // TESTS_TOOLS_ZVGCTL_PROCESS_H
