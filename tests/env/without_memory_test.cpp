// What becomes of a setting when an allocation fails: it is made as ever, or refused and nothing
// changed. The process goes on.
#include "env/scarce_memory.h"

#if defined(ZVG_SCARCE_MEMORY)

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "env/profile_host.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;

constexpr char unopened[] = "/etc/profile.d/zvg_util_env.sh was not opened: out of memory\n";

// A call that ends the process must not look like a test that has passed.
bool g_calling = false;

class WithoutMemory : public testing::Test {
 protected:
  void SetUp() override {
    host_.quiet = true;
    atexit([] {
      if (g_calling) _Exit(1);
    });
  }

  // Fails each allocation of a call in turn, alone and with all that follow it.
  //
  // script: before each. call: the call. check: is given its result.
  template <typename Call, typename Check>
  void fail_each(const std::string& script, Call call, Check check) {
    for (const auto lasts : {ScarceMemory::Lasts::once, ScarceMemory::Lasts::for_ever}) {
      bool failed = false;
      unsigned failing = 0;
      do {
        ++failing;
        host_.write_script(script);
        decltype(call()) result = 0;
        output_ = capture([&] {
          const ScarceMemory scarce(failing, lasts);
          g_calling = true;
          result = call();
          g_calling = false;
          failed = ScarceMemory::has_failed();
        });
        EXPECT_TRUE(failed || failing > 1) << "nothing was allocated";
        SCOPED_TRACE(testing::Message() << "allocation " << failing << " on " << script);
        check(result);
      } while (failed);
    }
  }

  ProfileHost host_;
  Output output_;
};

TEST_F(WithoutMemory, ASettingIsMadeOrNot) {
  const struct {
    const char *before, *name, *value, *after;
  } rows[] = {
      {"", "KRT_GL_TRACE", "1", "export KRT_GL_TRACE=1\n"},
      {"export KRT_GLX_TRACE=1\n", "KRT_GL_TRACE", "1",
       "export KRT_GLX_TRACE=1\nexport KRT_GL_TRACE=1\n"},
      {"export KRT_GL_TRACE=0\n", "KRT_GL_TRACE", "1", "export KRT_GL_TRACE=1\n"},
      {"export A=1\nexport KRT_GL_TRACE=0\nexport B=2\n", "KRT_GL_TRACE", "22",
       "export A=1\nexport KRT_GL_TRACE=22\nexport B=2\n"},
      {"export A=1\n", "0", "0", ""},
  };
  for (const auto& row : rows) {
    char value[16];
    const auto set = [&] {
      strcpy(value, row.value);
      return zvgEnvSet(row.name, value);
    };
    fail_each(row.before, set, [&](int result) {
      EXPECT_EQ(result, 0);
      if (output_.err.empty()) {
        EXPECT_EQ(host_.script(), row.after);
      } else {
        EXPECT_EQ(output_.err, unopened);
        EXPECT_EQ(host_.script(), row.before);
        EXPECT_STREQ(value, row.value);
      }
    });
  }
}

TEST_F(WithoutMemory, TheMenuSaysWhetherItWasMade) {
  const std::string before = "export VIV_MGPU_AFFINITY=B\n";
  const struct {
    const char *words, *after;
  } rows[] = {
      {"func 3 1", "export VIV_MGPU_AFFINITY=0\n"},
      {"func 3 2 5", "export VIV_MGPU_AFFINITY=1:5\n"},
      {"func 1 gl", "export VIV_MGPU_AFFINITY=B\nexport KRT_GL_TRACE=1\n"},
      {"func 5", ""},
  };
  for (const auto& row : rows) {
    char line[32];
    const auto choose = [&] {
      strcpy(line, row.words);
      return zvgkit_func(line);
    };
    fail_each(before, choose, [&](int64_t result) {
      EXPECT_EQ(host_.script(), result == 0 ? row.after : before);
      EXPECT_EQ(output_.err, result == 0 ? "" : unopened);
      EXPECT_TRUE(result == 0 || result == -1);
    });
  }
}

TEST_F(WithoutMemory, AListIsWholeOrNone) {
  char line[32];
  const auto list = [&] {
    strcpy(line, "func on");
    return zvgkit_func(line);
  };
  fail_each("export KRT_GL_TRACE=1\nexport VIV_MGPU_AFFINITY=0\n", list, [&](int64_t result) {
    EXPECT_TRUE(result == 0 || result == -1);
    EXPECT_EQ(output_.out,
              result == 0 ? "The open function :\n+—— GL\n+—— MGPU —— COMBINED\n" : "");
    EXPECT_EQ(output_.err, result == 0 ? "" : unopened);
  });
}

}  // namespace

#endif
