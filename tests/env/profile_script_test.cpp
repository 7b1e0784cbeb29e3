// Every way in which a setting is edited into the profile script.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "env/profile_host.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using testing::ElementsAre;

constexpr char reload[] = "system source /etc/profile";

class ProfileScript : public testing::Test {
 protected:
  // Sets a variable and keeps what was printed and what became of the value's text.
  int set(const std::string& name, const std::string& value) {
    char text[2048];
    strcpy(text, value.c_str());
    int result = -7;
    output_ = capture([&] { result = zvgEnvSet(name.c_str(), text); });
    value_after_ = text;
    return result;
  }

  ProfileHost host_;
  Output output_;
  std::string value_after_;
};

TEST_F(ProfileScript, TwoZeroesEmptyIt) {
  host_.write_script("export A=1\n");
  EXPECT_EQ(set("0", "0"), 0);
  EXPECT_EQ(host_.script(), "");
  EXPECT_EQ(output_.out, "All function is close!\n");
  EXPECT_THAT(host_.take(), ElementsAre("fopen w"));
}

TEST_F(ProfileScript, TwoZeroesCreateIt) {
  EXPECT_EQ(set("0", "0"), 0);
  EXPECT_EQ(set("A", "1"), 0);
  EXPECT_EQ(host_.script(), "export A=1\n");
}

TEST_F(ProfileScript, OneZeroIsASetting) {
  host_.write_script("");
  EXPECT_EQ(set("0", "1"), 0);
  EXPECT_EQ(set("A", "0"), 0);
  EXPECT_EQ(host_.script(), "export 0=1\nexport A=0\n");
}

TEST_F(ProfileScript, MissingScriptEndsTheProcess) {
  const auto set_to_stderr = [](const char* name) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    char value[8] = "1";
    zvgEnvSet(name, value);
  };
  EXPECT_EXIT(set_to_stderr("A"), testing::ExitedWithCode(0), "^can't open file$");
  EXPECT_EQ(host_.script(), "");
}

TEST_F(ProfileScript, ScriptThatIsNoFileEndsTheProcess) {
  mkdir("script", 0700);
  const auto close_to_stderr = [] {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    char value[8] = "0";
    zvgEnvSet("0", value);
  };
  EXPECT_EXIT(close_to_stderr(), testing::ExitedWithCode(0), "^can't open file$");
}

TEST_F(ProfileScript, FirstSetting) {
  host_.write_script("");
  EXPECT_EQ(set("KRT_GL_TRACE", "1"), 0);
  EXPECT_EQ(output_.out + output_.err, "");
  EXPECT_THAT(host_.take(),
              ElementsAre("fopen r+", "setenv KRT_GL_TRACE=1", reload, "export KRT_GL_TRACE=1\n"));
  EXPECT_STREQ(getenv("KRT_GL_TRACE"), "1");
  EXPECT_EQ(value_after_, "1");
}

TEST_F(ProfileScript, FurtherSettingsAreAppended) {
  host_.write_script("export KRT_GL_TRACE=1\n");
  EXPECT_EQ(set("KRT_GLX_TRACE", "22"), 0);
  EXPECT_EQ(output_.out + output_.err, "");
  const std::string both = "export KRT_GL_TRACE=1\nexport KRT_GLX_TRACE=22\n";
  EXPECT_EQ(host_.script(), both);
  EXPECT_THAT(host_.take(),
              ElementsAre("fopen r+", "fopen a", "setenv KRT_GLX_TRACE=22", reload, both));
  EXPECT_EQ(value_after_, "22");
}

TEST_F(ProfileScript, ValueOfTheSameLengthIsWrittenInPlace) {
  for (const std::string before : {"", "export LONGER=12345\n"}) {
    for (const std::string after : {"", "export C=3\n"}) {
      host_.write_script(before + "export B=old\n" + after);
      EXPECT_EQ(set("B", "new"), 0);
      const std::string script = before + "export B=new\n" + after;
      EXPECT_THAT(host_.take(), ElementsAre("fopen r+", "setenv B=new", reload, script));
      EXPECT_EQ(output_.out + output_.err, "");
      EXPECT_EQ(value_after_, "new");
    }
  }
}

TEST_F(ProfileScript, ValueOfAnotherLengthRewritesIt) {
  for (const std::string value : {"", "x", "longer"}) {
    for (const std::string before : {"", "export A=1\n", "export A=1\nexport LONGER=12345\n"}) {
      for (const std::string after : {"", "export C=3\n", "export C=3\nexport D=44\n"}) {
        host_.write_script(before + "export B=old\n" + after);
        EXPECT_EQ(set("B", value), 0);
        const std::string script = before + "export B=" + value + "\n" + after;
        // The text was lengthened in place before the environment got it.
        EXPECT_THAT(host_.take(),
                    ElementsAre("fopen r+", "fopen w", "setenv B=" + value + "\n", reload, script));
        EXPECT_EQ(getenv("B"), value + "\n");
        EXPECT_EQ(value_after_, value + "\n");
        EXPECT_EQ(output_.out + output_.err, "");
      }
    }
  }
}

TEST_F(ProfileScript, LastLineMayLackItsEnd) {
  host_.write_script("export A=1\nexport B=2");
  EXPECT_EQ(set("B", "3"), 0);
  EXPECT_EQ(host_.script(), "export A=1\nexport B=3");
  EXPECT_EQ(set("B", "44"), 0);
  EXPECT_EQ(host_.script(), "export A=1\nexport B=44\n");
}

TEST_F(ProfileScript, NameMatchesTheFirstAssignmentThatBeginsWithIt) {
  host_.write_script("export KRT_GLX_TRACE=1\nexport KRT_GL_TRACE=2\n");
  EXPECT_EQ(set("KRT_GL", "9"), 0);
  EXPECT_EQ(host_.script(), "export KRT_GLX_TRACE=9\nexport KRT_GL_TRACE=2\n");
  EXPECT_EQ(set("KRT_GL_", "8"), 0);
  EXPECT_EQ(host_.script(), "export KRT_GLX_TRACE=9\nexport KRT_GL_TRACE=8\n");
  EXPECT_STREQ(getenv("KRT_GL_"), "8");
}

TEST_F(ProfileScript, OnlyAssignmentsAreCompared) {
  host_.write_script("export A=1\n");
  EXPECT_EQ(set("export", "1"), 0);
  EXPECT_EQ(host_.script(), "export A=1\nexport export=1\n");
  EXPECT_EQ(set("export", "2"), 0);
  EXPECT_EQ(host_.script(), "export A=1\nexport export=2\n");
}

TEST_F(ProfileScript, PositionsComeFromTheLinesForm) {
  // The old value ends at a comma, but is looked for at the end of its line.
  host_.write_script("export A=1,2\n");
  EXPECT_EQ(set("A", "9"), 0);
  EXPECT_EQ(host_.script(), "export A=1,9\n");
  // Without "=" there is no old value; the line's last character gives way.
  host_.write_script("export AB\nexport C=1\n");
  EXPECT_EQ(set("AB", "x"), 0);
  EXPECT_EQ(host_.script(), "export ABx\nexport C=1\n");
  // Lines that are shorter than their form put the position behind the end.
  host_.write_script("a A=1");
  EXPECT_EQ(set("A", "22"), 0);
  EXPECT_EQ(host_.script(), "a A=122\n");
}

TEST_F(ProfileScript, OldValueEndsAtWhiteSpace) {
  for (const char end : {' ', '\t', '\r'}) {
    host_.write_script(std::string("export A=1") + end + "\nexport B=2\n");
    EXPECT_EQ(set("A", "9"), 0);
    EXPECT_EQ(host_.script(), std::string("export A=9") + end + "\nexport B=2\n");
  }
}

std::string script_of(size_t size) {
  std::string script = "export A=1\nexport LONG=";
  return script + std::string(size - script.size() - 1, 'x') + "\n";
}

TEST_F(ProfileScript, UpTo1023BytesAreEdited) {
  host_.write_script(script_of(1023));
  EXPECT_EQ(set("A", "2"), 0);
  EXPECT_EQ(host_.script(), "export A=2" + script_of(1023).substr(10));
  EXPECT_EQ(output_.out + output_.err, "");
  EXPECT_EQ(set("A", ""), 0);
  EXPECT_EQ(host_.script(), "export A=" + script_of(1023).substr(10));
  EXPECT_EQ(output_.out + output_.err, "");
}

TEST_F(ProfileScript, From1024BytesOnItIsLeftAlone) {
  for (const size_t size : {1024u, 1025u, 5000u}) {
    host_.write_script(script_of(size));
    for (const char* const name : {"A", "B"}) {
      EXPECT_EQ(set(name, "22"), 0);
      EXPECT_EQ(host_.script(), script_of(size));
      EXPECT_EQ(output_.err,
                "/etc/profile.d/zvg_util_env.sh has 1024 bytes or more and was not changed\n");
      EXPECT_EQ(output_.out, "");
      EXPECT_THAT(host_.take(), ElementsAre("fopen r+"));
      EXPECT_EQ(value_after_, "22");
    }
  }
  // Emptying needs no room.
  EXPECT_EQ(set("0", "0"), 0);
  EXPECT_EQ(host_.script(), "");
}

// Lines that are shorter than their form: each is counted as 11 bytes, all together as 1001.
std::string short_lines() {
  std::string script;
  for (int i = 0; i < 91; ++i) script += "a X=1\n";
  return script;
}

TEST_F(ProfileScript, ItDoesNotGrowTo1024Bytes) {
  struct Case {
    std::string script, name, value;  // one byte less fits
  };
  const Case cases[] = {
      {"", "A", std::string(1024 - 10, 'x')},                 // the first one
      {script_of(1000), "B", std::string(24 - 10, 'x')},      // a further one
      {script_of(1000), "A", std::string(1 + 24, 'x')},       // a longer value
      {script_of(1000), "LONG", std::string(976 + 24, 'x')},  // in the last line
      {short_lines() + "a A=" + std::string(14, 'y'), "A",
       std::string(14, 'x')},  // in place, behind the end
  };
  for (const Case& c : cases) {
    host_.write_script(c.script);
    host_.take();
    unsetenv(c.name.c_str());
    EXPECT_EQ(set(c.name, c.value), 0);
    EXPECT_EQ(host_.script(), c.script);
    EXPECT_EQ(output_.err,
              "/etc/profile.d/zvg_util_env.sh would have 1024 bytes or more and was not changed\n");
    EXPECT_EQ(output_.out, "");
    EXPECT_THAT(host_.take(), ElementsAre("fopen r+"));
    EXPECT_EQ(value_after_, c.value);
    EXPECT_EQ(getenv(c.name.c_str()), nullptr);
  }
}

TEST_F(ProfileScript, ItGrowsTo1023Bytes) {
  const struct {
    std::string script, name, value;
  } cases[] = {
      {"", "A", std::string(1023 - 10, 'x')},
      {script_of(1000), "B", std::string(23 - 10, 'x')},
      {script_of(1000), "A", std::string(1 + 23, 'x')},
      {script_of(1000), "LONG", std::string(976 + 23, 'x')},
  };
  for (const auto& c : cases) {
    host_.write_script(c.script);
    EXPECT_EQ(set(c.name, c.value), 0);
    EXPECT_EQ(host_.script().size(), 1023u);
    EXPECT_THAT(host_.script(), testing::HasSubstr("export " + c.name + "=" + c.value + "\n"));
    EXPECT_EQ(output_.out + output_.err, "");
    // What is as long, or shorter, always fits.
    EXPECT_EQ(set(c.name, std::string(c.value.size(), 'y')), 0);
    EXPECT_EQ(set(c.name, ""), 0);
    EXPECT_EQ(host_.script().size(), 1023 - c.value.size());
  }
}

// A position behind the end makes a script longer only when it is written in place.
TEST_F(ProfileScript, ARewrittenScriptHasNoGap) {
  const std::string value(40, 'x');
  host_.write_script(short_lines() + "a A=1");
  EXPECT_EQ(set("A", value), 0);
  EXPECT_EQ(host_.script(), short_lines() + "a A=1" + value + "\n");
  EXPECT_EQ(output_.out + output_.err, "");
}

TEST_F(ProfileScript, FailedWritesAreReportedAndEndNothing) {
  host_.writes_fail = true;
  const struct {
    const char* script;
    const char* value;
  } cases[] = {{"", "1"}, {"export B=1\n", "1"}, {"export A=1\n", "2"}};
  for (const auto& c : cases) {
    host_.write_script(c.script);
    host_.take();
    EXPECT_EQ(set("A", c.value), 0);
    EXPECT_EQ(output_.out, "file write error!\n");
    const auto log = host_.take();
    EXPECT_EQ(log.at(log.size() - 2), reload);
    EXPECT_STREQ(getenv("A"), c.value);
  }
  host_.write_script("export A=1\n");
  EXPECT_EQ(set("A", "22"), 0);
  EXPECT_EQ(output_.out.substr(0, 18), "file write error!\n");
}

TEST_F(ProfileScript, RefusedVariablesAreReportedAndEndNothing) {
  host_.setenv_fails = true;
  for (const std::string script : {"", "export B=1\n", "export A=1\n", "export A=12\n"}) {
    host_.write_script(script);
    EXPECT_EQ(set("A", "2"), 0);
    EXPECT_EQ(output_.out, "set tmp env error!\n");
    const auto log = host_.take();
    EXPECT_EQ(log.at(log.size() - 2), reload);
    EXPECT_NE(host_.script(), script);
  }
}

}  // namespace
