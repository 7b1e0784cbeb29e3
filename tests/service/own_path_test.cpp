// Files that are written where others could have put a symbolic link.
#include "service/files/own_path.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "service/board/error.h"
#include "service/files/atomic_file.h"

namespace {

namespace fs = std::filesystem;

class OwnPath : public testing::Test {
 protected:
  OwnPath() {
    folder_ = fs::temp_directory_path() / ("own-path-" + std::to_string(getpid()));
    fs::create_directories(folder_ / "open");
    fs::create_directories(folder_ / "own");
    chmod((folder_ / "open").c_str(), 0777);  // as /tmp would be without its sticky bit
    std::ofstream(folder_ / "victim") << "precious";
  }
  ~OwnPath() override { fs::remove_all(folder_); }

  // What came of opening it: "opened", the system's reason, or the refusal.
  std::string write_to(const fs::path& path, int flags = O_CREAT) {
    try {
      const int fd = zvg::open_to_write(path.string(), O_WRONLY | flags);
      if (fd < 0) return strerror(errno);
      close(fd);
      return "opened";
    } catch (const zvg::Error& error) {
      return error.what();
    }
  }

  fs::path folder_;
};

TEST_F(OwnPath, LinksInFoldersThatOthersWriteAreRefused) {
  fs::create_symlink(folder_ / "victim", folder_ / "open" / "log");
  fs::create_symlink(folder_ / "nothing", folder_ / "open" / "dangling");
  fs::create_symlink(folder_ / "own", folder_ / "open" / "folder");
  for (const char* const name : {"log", "dangling", "folder/log"}) {
    EXPECT_THAT(write_to(folder_ / "open" / name), testing::HasSubstr("symbolic link")) << name;
  }
  EXPECT_FALSE(fs::exists(folder_ / "nothing"));
  EXPECT_FALSE(fs::exists(folder_ / "own" / "log"));
  EXPECT_THROW(zvg::AtomicFile((folder_ / "open/folder/image").string(), true), zvg::Error);
}

TEST_F(OwnPath, LinksOfOnesOwnAreFollowed) {
  fs::create_symlink(folder_ / "victim", folder_ / "own" / "log");
  EXPECT_EQ(write_to(folder_ / "own" / "log"), "opened");
  EXPECT_EQ(write_to(folder_ / "own" / "new"), "opened");
  EXPECT_EQ(write_to(folder_ / "open" / "new"), "opened");
  EXPECT_EQ(write_to(folder_ / "open" / "new"), "opened") << "once more";
  EXPECT_EQ(write_to(folder_ / "own" / "none" / "new"), "No such file or directory");
}

TEST_F(OwnPath, OtherNamesOfAFileAreRefused) {
  fs::create_hard_link(folder_ / "victim", folder_ / "open" / "log");
  EXPECT_THAT(write_to(folder_ / "open" / "log"), testing::HasSubstr("somebody else's"));
}

TEST_F(OwnPath, FoldersThatOthersWriteAreRefused) {
  EXPECT_THROW(zvg::expect_own_folder((folder_ / "open").string()), zvg::Error);
  zvg::expect_own_folder((folder_ / "own").string());
  zvg::expect_own_folder((folder_ / "none").string());
  fs::create_symlink(folder_ / "own", folder_ / "open" / "run");
  EXPECT_THROW(zvg::expect_own_folder((folder_ / "open" / "run").string()), zvg::Error);
}

}  // namespace
