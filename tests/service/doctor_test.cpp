// What the host lets whom do, on a host of the test's own.
#include "service/station/doctor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/scratch.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using zvg::Diagnosis;
using zvg::Way;

constexpr uid_t somebody = 54321;
constexpr gid_t somebodys_group = 54321;
constexpr gid_t line_group = 54322;

class Doctor : public testing::Test {
 protected:
  Doctor() {
    if (geteuid() != 0) return;
    std::filesystem::create_directories(scratch_.path("dev"));
  }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "gives files away";
  }
  void put(const std::string& path, const std::string& content = {}) {
    std::filesystem::create_directories(std::filesystem::path(scratch_.path(path)).parent_path());
    std::ofstream(scratch_.path(path)) << content;
  }
  void node(const std::string& path, gid_t group, mode_t mode) {
    put(path);
    ASSERT_EQ(chown(scratch_.path(path).c_str(), 0, group), 0);
    ASSERT_EQ(chmod(scratch_.path(path).c_str(), mode), 0);
  }
  Diagnosis of(uid_t user, std::vector<gid_t> groups) {
    const std::string root = std::filesystem::path(scratch_.path("x")).parent_path();
    return zvg::diagnose({user, std::move(groups)}, root);
  }
  static const Way& way(const Diagnosis& diagnosis, const std::string& path) {
    static const Way none;
    for (const Way& one : diagnosis.ways) {
      if (one.path == path) return one;
    }
    ADD_FAILURE() << "nothing is said of " << path;
    return none;
  }
  const zvgtest::Scratch scratch_;
};

TEST_F(Doctor, AHostWithoutAnything) {
  const Diagnosis diagnosis = of(0, {0});
  EXPECT_FALSE(diagnosis.any_usable());
  ASSERT_EQ(diagnosis.ways.size(), 2u);
  EXPECT_THAT(way(diagnosis, "/dev/zvgrw").reason, HasSubstr("driver is not loaded"));
  EXPECT_THAT(way(diagnosis, "/dev/mem").reason, StartsWith("it is not there"));
}

TEST_F(Doctor, RootMayOpenWhatIsThere) {
  node("dev/zvgrw", 0, 0600);
  node("dev/mem", 0, 0640);
  const Diagnosis diagnosis = of(0, {0});
  EXPECT_TRUE(way(diagnosis, "/dev/zvgrw").usable);
  EXPECT_TRUE(way(diagnosis, "/dev/mem").usable);
}

TEST_F(Doctor, AGroupIsTheWayIn) {
  node("dev/ttyUSB0", line_group, 0660);
  Diagnosis diagnosis = of(somebody, {somebodys_group});
  EXPECT_FALSE(way(diagnosis, "/dev/ttyUSB0").usable);
  EXPECT_THAT(way(diagnosis, "/dev/ttyUSB0").reason, HasSubstr("group 54322, mode 0660"));
  EXPECT_EQ(way(diagnosis, "/dev/ttyUSB0").remedy,
            "sudo usermod -aG 54322 54321, then log in again");
  diagnosis = of(somebody, {somebodys_group, line_group});
  EXPECT_TRUE(way(diagnosis, "/dev/ttyUSB0").usable);
  EXPECT_TRUE(diagnosis.any_usable());
}

TEST_F(Doctor, RootsNodeIsForRoot) {
  node("dev/zvgrw", 0, 0600);
  const Diagnosis diagnosis = of(somebody, {somebodys_group});
  EXPECT_FALSE(diagnosis.any_usable());
  EXPECT_THAT(way(diagnosis, "/dev/zvgrw").remedy, HasSubstr("as root"));
}

TEST_F(Doctor, PortsThatNoHostHasAreLeftOut) {
  node("dev/ttyS0", 0, 0600);
  node("dev/ttyS1", 0, 0600);
  put("sys/class/tty/ttyS0/type", "4\n");
  put("sys/class/tty/ttyS1/type", "0\n");
  const Diagnosis diagnosis = of(0, {0});
  EXPECT_EQ(diagnosis.ways.size(), 3u);
  EXPECT_TRUE(way(diagnosis, "/dev/ttyS0").usable);
}

TEST_F(Doctor, MemoryIsForRootAndNotWithLockdown) {
  node("dev/mem", 0, 0666);
  EXPECT_FALSE(way(of(somebody, {somebodys_group}), "/dev/mem").usable);
  EXPECT_TRUE(way(of(0, {0}), "/dev/mem").usable);
  put("sys/kernel/security/lockdown", "none [integrity] confidentiality\n");
  EXPECT_FALSE(way(of(0, {0}), "/dev/mem").usable);
  EXPECT_THAT(way(of(0, {0}), "/dev/mem").reason, HasSubstr("locked down"));
}

TEST_F(Doctor, TellsWhereDisplayControllersAre) {
  node("dev/mem", 0, 0600);
  const std::string function = "sys/bus/pci/devices/0000:01:00.0/";
  put(function + "class", "0x030000\n");
  put(function + "vendor", "0x1234\n");
  put(function + "device", "0x5678\n");
  put(function + "resource",
      "0x00000000e0000000 0x00000000e0ffffff 0x0000000000040200\n"
      "0x000000000000e000 0x000000000000e07f 0x0000000000040101\n");
  put("sys/bus/pci/devices/0000:02:00.0/class", "0x020000\n");
  EXPECT_EQ(way(of(0, {0}), "/dev/mem").detail,
            "display controller 0000:01:00.0 (0x1234:0x5678) 0xe0000000:0x1000000");
}

}  // namespace
