// zvgctl env: what it does to the profile script, what it refuses, and that it never loses it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::Setting;
using zvgtest::zvgctl_words;
using Json = nlohmann::json;

constexpr char script_name[] = "zvg_util_env.sh";
constexpr char gl[] = "export KRT_GL_TRACE=1\n";
constexpr char affinity[] = "export VIV_MGPU_AFFINITY=0\n";

class Env : public testing::Test {
 protected:
  Setting setting() const {
    Setting setting;
    setting.environment = {{"LD_PRELOAD", PROFILE_REDIRECT},
                           {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
                           {"PROFILE_FOLDER", folder_.path("")}};
    return setting;
  }
  Result env(const std::string& command) const {
    return zvgtest::run(zvgctl_words("env " + command), setting());
  }
  void write(const std::string& content) const { folder_.put(script_name, content); }
  std::string script() const { return folder_.get(script_name); }

  // Runs with the kill at a call; returns how many calls there were.
  uint32_t env_killed_at(uint32_t call, const std::string& command, bool orphan) const {
    const uint32_t numbers[2] = {0, call};
    const std::string counter = folder_of_counter_.put(
        "counter", std::string(reinterpret_cast<const char*>(numbers), sizeof numbers));
    Setting killing = setting();
    killing.environment.emplace_back("PROFILE_COUNTER", counter);
    if (orphan) killing.environment.emplace_back("PROFILE_ORPHAN", "1");
    zvgtest::run(zvgctl_words("env " + command), killing);
    uint32_t calls = 0;
    memcpy(&calls, folder_of_counter_.get("counter").data(), sizeof calls);
    return calls;
  }

  Folder folder_;
  Folder folder_of_counter_;
};

TEST_F(Env, ClearCreatesTheScriptAndSetFillsIt) {
  EXPECT_EQ(env("clear").exit, 0);
  const Result set = env("set 3d gl");
  EXPECT_EQ(set.exit, 0) << set.err;
  EXPECT_EQ(set.out, "Core Function - GL is open!\n****New shell takes effect!****\n");
  EXPECT_EQ(set.err, "");
  EXPECT_EQ(env("set mgpu independent 5").exit, 0);
  EXPECT_EQ(env("set T").exit, 0);
  EXPECT_EQ(script(),
            std::string(gl) + "export VIV_MGPU_AFFINITY=1:5\nexport KRT_TEXTURE_DUMP=1\n");
  EXPECT_EQ(env("set 3 1").exit, 0);
  EXPECT_EQ(script(), std::string(gl) + affinity + "export KRT_TEXTURE_DUMP=1\n");
  EXPECT_EQ(folder_.files(), 1u) << "a copy was left";
}

TEST_F(Env, SetTakesVariables) {
  write(gl);
  EXPECT_EQ(env("set KRT_GL_TRACE=0").exit, 0);
  EXPECT_EQ(env("set KRT_MY_OWN=some/value:1.5").exit, 0);
  EXPECT_EQ(script(), "export KRT_GL_TRACE=0\nexport KRT_MY_OWN=some/value:1.5\n");
  const Result json = env("set KRT_MY_OWN=x --json");
  EXPECT_EQ(Json::parse(json.out),
            Json({{"schema", "zvg/env-set/1"}, {"name", "KRT_MY_OWN"}, {"value", "x"}}));
  EXPECT_EQ(script(), "export KRT_GL_TRACE=0\nexport KRT_MY_OWN=x\n");
  EXPECT_EQ(Json::parse(env("set 3d es --json").out),
            Json({{"schema", "zvg/env-set/1"}, {"name", "KRT_ES_TRACE"}, {"value", "1"}}));
}

TEST_F(Env, ListShowsTheSettings) {
  EXPECT_EQ(env("list").out, "No function is open\n");
  write(std::string(gl) + affinity);
  EXPECT_EQ(env("list").out,
            "The open function :\n+\u2014\u2014 GL\n+\u2014\u2014 MGPU \u2014\u2014 COMBINED\n");
  EXPECT_EQ(Json::parse(env("list --json").out)["settings"],
            Json({{"KRT_GL_TRACE", "1"}, {"VIV_MGPU_AFFINITY", "0"}}));
}

TEST_F(Env, ClearAsksWhenThereIsSomethingToLose) {
  write(gl);
  const Result refused = env("clear");
  EXPECT_EQ(refused.exit, 2);
  EXPECT_THAT(refused.err, HasSubstr("refusing to remove all settings"));
  EXPECT_EQ(script(), gl);
  EXPECT_EQ(env("clear --yes").exit, 0);
  EXPECT_EQ(script(), "");
}

TEST_F(Env, WrongWordsAreExplainedAndChangeNothing) {
  write(gl);
  const std::pair<const char*, const char*> cases[] = {
      {"set wombat", "there is no 'wombat' here; expected 3D, TEXTURE, MGPU, ON, CLOSE"},
      {"set 3d", "3D needs one more word: GL, GLX, ES, EGL"},
      {"set mgpu", "MGPU needs one more word: COMBINED, INDEPENDENT, BALANCE"},
      {"set 3 2", "INDEPENDENT needs one more word: a core, 0 to 7"},
      {"set 3 2 8", "expected a core, 0 to 7, found '8'"},
      {"set 3 2 abc", "expected a core, 0 to 7, found 'abc'"},
      {"set 3 2 5 5", "nothing follows a core: '5'"},
      {"set texture 1", "nothing follows TEXTURE"},
      {"set on", "ON is no setting"},
      {"set =1", "'' is no setting of the graphics driver"},
      {"set PATH=/tmp", "'PATH' is no setting of the graphics driver"},
      {"set LD_PRELOAD=/tmp/x.so", "'LD_PRELOAD' is no setting"},
      {"set KRT_=1", "'KRT_' is no setting"},
      {"set KRT_A;B=1", "'KRT_A;B' is no setting"},
      {"set KRT-X=1", "'KRT-X' is no setting"},
      {"set KRT_X=$(id)", "'$(id)' cannot be kept in the script"},
      {"set KRT_X=A;id", "'A;id' cannot be kept in the script"},
      {"set KRT_X=`id`", "'`id`' cannot be kept in the script"},
      {"set KRT_X=a|b", "'a|b' cannot be kept in the script"},
      {"set KRT_X='a'", "''a'' cannot be kept in the script"},
      {"set KRT_X=a=b", "'a=b' cannot be kept in the script"},
      {"set KRT_A=", "'' cannot be kept in the script"},
      {"set VIV_A=1,2", "'1,2' cannot be kept in the script"},
      {"set", "WORDS"},
      {"menu", "the menu asks on a terminal"},
  };
  for (const auto& [command, error] : cases) {
    const Result result = env(command);
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr(error)) << command;
    EXPECT_EQ(script(), gl) << command;
  }
}

TEST_F(Env, MissingScriptIsExplained) {
  const Result result = env("set 3d gl");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: there is no /etc/profile.d/zvg_util_env.sh; 'zvgctl env clear' creates it\n");
  EXPECT_EQ(folder_.files(), 0u);
}

TEST_F(Env, MissingFolderIsExplained) {
  Setting nowhere = setting();
  nowhere.environment.back().second = folder_.path("none");
  const Result result = zvgtest::run(zvgctl_words("env clear"), nowhere);
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: there is no folder /etc/profile.d; create it first, as root\n");
}

TEST_F(Env, LongScriptIsLeftAlone) {
  for (const size_t size : {1024u, 4000u}) {
    const std::string content = gl + std::string(size - strlen(gl), '#');
    write(content);
    const Result result = env("set 3d gl");
    EXPECT_EQ(result.exit, 1);
    EXPECT_THAT(result.err, HasSubstr("has " + std::to_string(size) +
                                      " bytes, and only up to 1023 can be edited"));
    EXPECT_EQ(script(), content);
    EXPECT_EQ(folder_.files(), 1u);
  }
}

TEST_F(Env, ReadOnlyFolderLosesNothing) {
  write(gl);
  chmod(folder_.path(script_name).c_str(), 0644);
  chmod(folder_.path("").c_str(), 0555);
  Setting powerless = setting();
  powerless.powerless = true;
  const Result result = zvgtest::run(zvgctl_words("env set texture"), powerless);
  chmod(folder_.path("").c_str(), 0755);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("Permission denied"));
  EXPECT_EQ(script(), gl);
}

TEST_F(Env, VariableThatWouldChangeAnotherIsRefused) {
  write("export KRT_GLX_TRACE=1\n");
  const Result result = env("set KRT_GL=5");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err,
              HasSubstr("KRT_GLX_TRACE is there already, and would be changed instead"));
  EXPECT_EQ(script(), "export KRT_GLX_TRACE=1\n");
}

TEST_F(Env, WaitsForAnotherEditorAndGivesUp) {
  write(gl);
  const int fd = open(folder_.path(script_name).c_str(), O_RDWR);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  const Result result = env("set texture");
  close(fd);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("another program is editing"));
  EXPECT_GE(result.seconds, 4.5);
  EXPECT_EQ(script(), gl);
}

TEST_F(Env, CopyOfAnEditThatDidNotEndWellIsPutBack) {
  write("export KRT_G");
  folder_.put(std::string(script_name) + ".zvgctl-copy", gl);
  folder_.put(std::string(script_name) + ".zvgctl-copy.new", "exp");
  const Result list = env("list");
  EXPECT_EQ(list.out, "The open function :\n+\u2014\u2014 GL\n");
  EXPECT_THAT(list.err, HasSubstr("had not ended well: it was put back as it was"));
  EXPECT_EQ(script(), gl);
  EXPECT_EQ(folder_.files(), 1u);
  EXPECT_EQ(env("list").err, "");
}

// A terminal whose user has typed everything already.
class TypedTerminal {
 public:
  explicit TypedTerminal(const std::string& keys) : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    grantpt(master_);
    unlockpt(master_);
    path_ = ptsname(master_);
    slave_ = open(path_.c_str(), O_RDWR | O_NOCTTY);  // keeps what was typed
    EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  ~TypedTerminal() {
    close(slave_);
    close(master_);
  }
  const std::string& path() const { return path_; }

 private:
  int master_;
  int slave_;
  std::string path_;
};

TEST_F(Env, MenuAsksQuestionByQuestion) {
  write(gl);
  const auto answer = [this](const std::string& keys) {
    const TypedTerminal terminal(keys);
    Setting at_terminal = setting();
    at_terminal.terminal = terminal.path();
    return zvgtest::run(zvgctl_words("env menu"), at_terminal);
  };
  Result result = answer("3\n2\n5\n");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out,
            "Choose one function to set\n1.3D  2.TEXTURE  3.MGPU  4.ON  5.CLOSE  \n> "
            "Mode setting for core\n1.COMBINED  2.INDEPENDENT  3.BALANCE  \n> "
            "Please input which core to rendering [0,7]:\n> "
            "Core Function - INDEPENDENT for 5 is open!\n****New shell takes effect!****\n");
  EXPECT_EQ(script(), std::string(gl) + "export VIV_MGPU_AFFINITY=1:5\n");
  // A wrong word begins the questions again; several words answer several of them.
  result = answer("wombat\nm b\n");
  EXPECT_THAT(result.out, HasSubstr("there is no 'wombat' here; expected 3D, TEXTURE, MGPU"));
  EXPECT_EQ(script(), std::string(gl) + "export VIV_MGPU_AFFINITY=B\n");
  EXPECT_THAT(answer("4\n").out, HasSubstr("The open function :\n"));
  EXPECT_THAT(answer("5\nn\n").err, HasSubstr("stopped: nothing was changed"));
  EXPECT_NE(script(), "");
  EXPECT_EQ(answer("5\ny\n").exit, 0);
  EXPECT_EQ(script(), "");
  EXPECT_EQ(answer("1\n\x04").exit, 0) << "the end of the input";
}

// Kills the command at each of its calls in turn, alone or with its parent: the next command finds
// the script as it was before or as it should be after, and nothing else.
TEST_F(Env, IsNeverLostWhereverItIsKilled) {
  const std::string before = std::string(gl) + affinity + "export KRT_TEXTURE_DUMP=1\n";
  const std::string after = std::string(gl) +
                            "export VIV_MGPU_AFFINITY=1:5\n"
                            "export KRT_TEXTURE_DUMP=1\n";
  write(before);
  const uint32_t calls = env_killed_at(0, "set 3 2 5", false);
  ASSERT_EQ(script(), after);
  ASSERT_GE(calls, 15u);
  int interrupted = 0;
  for (const bool orphan : {false, true}) {
    for (uint32_t call = 1; call <= calls; ++call) {
      SCOPED_TRACE(testing::Message() << "call " << call << " orphan " << orphan);
      write(before);
      env_killed_at(call, "set 3 2 5", orphan);
      interrupted += script() != before && script() != after;
      const Result list = env("list --json");
      EXPECT_EQ(list.exit, 0) << list.err;
      EXPECT_TRUE(script() == before || script() == after) << script();
      EXPECT_EQ(folder_.files(), 1u);
    }
  }
  EXPECT_GT(interrupted, 0) << "no kill struck while the script was incomplete";
}

}  // namespace
