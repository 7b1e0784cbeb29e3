// Two processes and one board.
#include "service/board/lock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "service/board/error.h"
#include "service/board/identity.h"
#include "support/scratch.h"

namespace {

using testing::HasSubstr;
using zvg::Error;
using zvg::ErrorKind;
using zvg::Lock;

constexpr uid_t nobody = 65534;

// Another process, of another user if there is one to be told.
class Other {
 public:
  explicit Other(const std::function<void()>& work, uid_t user = 0) {
    int ready[2];
    if (pipe(ready) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      if (user != 0 && (setgid(user) != 0 || setuid(user) != 0)) _exit(2);
      try {
        work();
      } catch (const Error& error) {
        _exit(error.kind() == ErrorKind::busy ? 10 : 11);
      }
      [[maybe_unused]] const ssize_t told = write(ready[1], "x", 1);
      pause();
    }
    close(ready[1]);
    char byte;
    [[maybe_unused]] const ssize_t ready_size = read(ready[0], &byte, 1);
    close(ready[0]);
  }
  ~Other() { end(); }
  Other(const Other&) = delete;
  Other& operator=(const Other&) = delete;

  // Its exit status; 0 for one that holds what it has until it is killed.
  int end() {
    if (pid_ < 0) return status_;
    kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return status_;
  }
  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
  int status_ = -1;
};

class LockTest : public testing::Test {
 protected:
  LockTest() { chmod(folder_.c_str(), 01777); }
  Lock take(Lock::Kind kind = Lock::Kind::exclusive, zvg::Patience patience = {}) {
    return Lock::on_name("board-1", "the board", kind, patience, folder_);
  }
  template <typename Call>
  static Error error_of(Call call) {
    try {
      call();
    } catch (const Error& error) {
      return error;
    }
    ADD_FAILURE() << "no error was told";
    return Error(ErrorKind::internal, "");
  }

  const zvgtest::Scratch scratch_;
  const std::string folder_ = std::filesystem::path(scratch_.path("x")).parent_path();
  std::optional<Lock> held_;
};

TEST_F(LockTest, TheSecondIsToldWhoHasIt) {
  Other other([&] { held_ = take(); });
  const Error error = error_of([&] { take(); });
  EXPECT_EQ(error.kind(), ErrorKind::busy);
  EXPECT_EQ(error.what(),
            "the board is in use by process " + std::to_string(other.pid()) + " (service_test)");
}

TEST_F(LockTest, AKilledHolderBlocksNobody) {
  Other other([&] { held_ = take(); });
  other.end();
  EXPECT_NO_THROW(take());
}

TEST_F(LockTest, AnotherNameIsAnotherBoard) {
  const Lock one = take();
  EXPECT_EQ(Other([&] {
              held_ = Lock::on_name("board-2", "the board", Lock::Kind::exclusive, {}, folder_);
            }).end(),
            0);
}

TEST_F(LockTest, SharedOnesMeet) {
  const Lock one = take(Lock::Kind::shared);
  EXPECT_EQ(Other([&] { held_ = take(Lock::Kind::shared); }).end(), 0);
  EXPECT_EQ(Other([&] { held_ = take(Lock::Kind::exclusive); }).end(), 10);
}

TEST_F(LockTest, WaitsForItsTurn) {
  Other other([&] {
    held_ = take();
    signal(SIGALRM, [](int) { _exit(0); });
    alarm(1);
  });
  EXPECT_NO_THROW(take(Lock::Kind::exclusive, {.wait = std::chrono::seconds(30)}));
}

TEST_F(LockTest, AStopEndsTheWait) {
  Other other([&] { held_ = take(); });
  zvg::Stop stop;
  stop.request(zvg::Stop::Cause::cancelled);
  const Error error = error_of(
      [&] { take(Lock::Kind::exclusive, {.wait = std::chrono::seconds(3600), .stop = &stop}); });
  EXPECT_EQ(error.kind(), ErrorKind::cancelled);
}

TEST_F(LockTest, RootAndOthersMeet) {
  if (geteuid() != 0) GTEST_SKIP() << "changes users";
  {
    Other user([&] { held_ = take(); }, nobody);
    const Error error = error_of([&] { take(); });
    EXPECT_THAT(error.what(), HasSubstr("process " + std::to_string(user.pid())));
  }
  const Lock root = take();
  EXPECT_EQ(Other([&] { held_ = take(); }, nobody).end(), 10) << "busy, not forbidden";
}

TEST_F(LockTest, ALinkIsNotFollowed) {
  std::filesystem::create_symlink(scratch_.path("victim"), folder_ + "/zvg-board-1.lock");
  const Error error = error_of([&] { take(); });
  EXPECT_THAT(error.what(), HasSubstr("it is a symbolic link"));
  EXPECT_FALSE(std::filesystem::exists(scratch_.path("victim")));
}

TEST_F(LockTest, ANodeIsLockedItself) {
  const std::string node = scratch_.path("node");
  std::ofstream(node) << "";
  Other other([&] { held_ = Lock::on_node(node, "the line", {}); });
  const Error error = error_of([&] { Lock::on_node(node, "the line", {}); });
  EXPECT_THAT(error.what(),
              HasSubstr("the line is in use by process " + std::to_string(other.pid())));
}

// Which board

TEST(Identity, FindsTheFunctionOverAPlace) {
  const zvgtest::Scratch scratch;
  const auto put = [&](const std::string& address, const std::string& kind,
                       const std::string& resource) {
    const std::string folder = scratch.path("sys/bus/pci/devices/" + address);
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/class") << kind << "\n";
    std::ofstream(folder + "/resource") << resource;
  };
  const std::string root = std::filesystem::path(scratch.path("x")).parent_path();
  put("0000:00:01.0", "0x060400", "0x00000000e0000000 0x00000000efffffff 0x0000000000000200\n");
  put("0000:01:00.0", "0x030000",
      "0x00000000e0000000 0x00000000e0ffffff 0x0000000000040200\n"
      "0x00000000d0000000 0x00000000dfffffff 0x0000000000042208\n"
      "0x000000000000e000 0x000000000000e07f 0x0000000000040101\n");
  EXPECT_EQ(zvg::pci_function_at(0xE0000000, root), "0000:01:00.0");
  EXPECT_EQ(zvg::pci_function_at(0xD0001000, root), "0000:01:00.0");
  EXPECT_FALSE(zvg::pci_function_at(0xE1000000, root)) << "a bridge's window";
  EXPECT_FALSE(zvg::pci_function_at(0xE000, root)) << "ports are no memory";
  EXPECT_FALSE(zvg::pci_function_at(0x1000, root));
}

TEST(Identity, ReadsMemoryBars) {
  EXPECT_THAT(zvg::memory_bars({0xE0000000, 0xD000000C, 0x00000001, 0x0000E001, 0, 0}),
              testing::ElementsAre(0xE0000000u, 0x1D0000000u));
}

}  // namespace
