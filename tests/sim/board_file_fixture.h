// Board files, and what is said about them.
#ifndef TESTS_SIM_BOARD_FILE_FIXTURE_H
#define TESTS_SIM_BOARD_FILE_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "board/board_file.h"
#include "machine/machine.h"

namespace zvgsim {

class BoardFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "board-file-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    put("one.edid", 128);
    put("four.edid", 512);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  void put(const std::string& name, size_t size) {
    std::ofstream stream(folder_ / name, std::ios::binary);
    for (size_t i = 0; i < size; ++i) stream.put(static_cast<char>(i * 5));
  }
  std::string file() const { return (folder_ / "board.toml").string(); }
  BoardConfig load(const std::string& text) {
    std::ofstream(file()) << text;
    return load_board_file(file());
  }
  // What is wrong with a file, without its path.
  std::vector<std::string> problems(const std::string& text) {
    try {
      load(text);
    } catch (const BoardFileError& failure) {
      std::vector<std::string> lines;
      for (const std::string& line : failure.problems()) {
        EXPECT_THAT(line, ::testing::StartsWith(file() + ":"));
        lines.push_back(line.substr(file().size() + 1));
      }
      return lines;
    }
    return {};
  }

  std::filesystem::path folder_;
};

}  // namespace zvgsim

#endif  // TESTS_SIM_BOARD_FILE_FIXTURE_H
