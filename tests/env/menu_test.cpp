// The menu's tables, and what each way through it prints, returns and sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <span>

#include "env/profile_host.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using testing::ElementsAre;
using testing::IsEmpty;

// Tables --------------------------------------------------------------------------------------

struct Expected {
  uint32_t number;
  const char* label;
  const char* alias;
  uint32_t level;
  const char* env;
  const char* value;
  int32_t child_count;
  const zvgkit_menu_node* children;
  const char* prompt;
};

void expect_nodes(std::span<const zvgkit_menu_node> nodes, std::initializer_list<Expected> table) {
  ASSERT_EQ(nodes.size(), table.size());
  const zvgkit_menu_node* node = nodes.data();
  for (const Expected& expected : table) {
    EXPECT_EQ(node->number, expected.number);
    EXPECT_STREQ(node->label, expected.label);
    EXPECT_STREQ(node->alias, expected.alias);
    EXPECT_EQ(node->level, expected.level);
    EXPECT_STREQ(node->env, expected.env);
    EXPECT_STREQ(node->value, expected.value);
    EXPECT_EQ(node->child_count, expected.child_count);
    EXPECT_EQ(node->children, expected.children);
    EXPECT_STREQ(node->prompt, expected.prompt);
    ++node;
  }
}

TEST(MenuTables, AreTheMenu) {
  const char* const no = nullptr;
  const char* const affinity = "VIV_MGPU_AFFINITY";
  expect_nodes(Func, {{0, "FUNC", no, 0, "", "", 5, Func_child, "Choose one function to set"}});
  expect_nodes(Func_child, {{1, "3D", "3D", 1, "", "", 4, _3D_child, "print 3D api when run:"},
                            {2, "TEXTURE", "T", 1, "KRT_TEXTURE_DUMP", "1", 0, nullptr, no},
                            {3, "MGPU", "M", 1, "", "", 3, Core_child, "Mode setting for core"},
                            {4, "ON", "O", 1, "", "", 0, nullptr, no},
                            {5, "CLOSE", "C", 1, "", "", 0, nullptr, no}});
  expect_nodes(_3D_child, {{1, "GL", "GL", 2, "KRT_GL_TRACE", "1", 0, nullptr, no},
                           {2, "GLX", "GLX", 2, "KRT_GLX_TRACE", "1", 0, nullptr, no},
                           {3, "ES", "ES", 2, "KRT_ES_TRACE", "1", 0, nullptr, no},
                           {4, "EGL", "EGL", 2, "KRT_EGL_TRACE", "1", 0, nullptr, no}});
  expect_nodes(Core_child, {{1, "COMBINED", "C", 2, affinity, "0", 0, nullptr, no},
                            {2, "INDEPENDENT", "I", 2, "", "", 1, Indep_child,
                             "Please input which core to rendering [0,7]:"},
                            {3, "BALANCE", "B", 2, affinity, "B", 0, nullptr, no}});
  expect_nodes(Indep_child, {{0, "", no, 0, affinity, "1:", 3, nullptr, no}});
}

TEST(MenuTables, NodesHaveTheLayoutThatProgramsCount) {
  EXPECT_EQ(sizeof(zvgkit_menu_node), 136u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, value), 32u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, label), 64u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, alias), 96u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, number), 104u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, level), 108u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, child_count), 112u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, prompt), 120u);
  EXPECT_EQ(offsetof(zvgkit_menu_node, children), 128u);
}

// Ways ----------------------------------------------------------------------------------------

constexpr char wrong[] = "wrong choose!\n";
constexpr char functions[] =
    "Choose one function to set\n1.3D  2.TEXTURE  3.MGPU  4.ON  5.CLOSE  \n";
constexpr char interfaces[] = "print 3D api when run:\n1.GL  2.GLX  3.ES  4.EGL  \n";
constexpr char core_modes[] = "Mode setting for core\n1.COMBINED  2.INDEPENDENT  3.BALANCE  \n";
constexpr char which_core[] = "Please input which core to rendering [0,7]:\n";

std::string opened(const std::string& label) {
  return "Core Function - " + label + " is open!\n****New shell takes effect!****\n";
}

class Menu : public testing::Test {
 protected:
  void SetUp() override { host_.write_script(""); }

  int64_t run(const std::string& line) {
    std::string text = line;
    int64_t result = -7;
    const auto output = capture([&] { result = zvgkit_func(text.data()); });
    out_ = output.out;
    EXPECT_EQ(output.err, "");
    return result;
  }

  ProfileHost host_;
  std::string out_;
};

TEST_F(Menu, QuestionsShowTheChoices) {
  const std::pair<const char*, const char*> cases[] = {
      {"", functions},
      {"env", functions},
      {"env \t,\r\n", functions},
      {"env 1", interfaces},
      {"env 3D", interfaces},
      {"env 3d", interfaces},
      {"env 3", core_modes},
      {"env M", core_modes},
      {"env mgpu", core_modes},
      {"env m", core_modes},
      {"env 3 2", which_core},
      {"env 3 I", which_core},
      {"env m independent", which_core},
  };
  for (const auto& [line, out] : cases) {
    EXPECT_EQ(run(line), 0) << line;
    EXPECT_EQ(out_, out) << line;
  }
  EXPECT_THAT(host_.take(), IsEmpty());
}

TEST_F(Menu, WrongWordsChangeNothing) {
  for (const char* const line :
       {"env 9", "env 0", "env x", "env -1", "env 2 1", "env T x", "env 4 1", "env 5 5", "env 1 5",
        "env 1 gly", "env 1 1 1", "env 3 4", "env 3 1 1", "env 3 3 0", "env g", "env MG",
        "env 4294967297"}) {
    EXPECT_EQ(run(line), -1) << line;
    EXPECT_EQ(out_, wrong) << line;
  }
  EXPECT_THAT(host_.take(), IsEmpty());
}

TEST_F(Menu, SettingsGoIntoTheScript) {
  const struct {
    const char* line;
    const char* assignment;
    const char* label;
  } cases[] = {
      {"env 1 gl", "KRT_GL_TRACE=1", "GL"},
      {"env 1 1", "KRT_GL_TRACE=1", "GL"},
      {"env 3d GLX", "KRT_GLX_TRACE=1", "GLX"},
      {"env 3D 2", "KRT_GLX_TRACE=1", "GLX"},
      {"env,1,es", "KRT_ES_TRACE=1", "ES"},
      {"env 1 3", "KRT_ES_TRACE=1", "ES"},
      {"env\t1\r\nEgl\n", "KRT_EGL_TRACE=1", "EGL"},
      {"env 1 4", "KRT_EGL_TRACE=1", "EGL"},
      {"env 2", "KRT_TEXTURE_DUMP=1", "TEXTURE"},
      {"env t", "KRT_TEXTURE_DUMP=1", "TEXTURE"},
      {"env texture", "KRT_TEXTURE_DUMP=1", "TEXTURE"},
      {"env 3 C", "VIV_MGPU_AFFINITY=0", "COMBINED"},
      {"env 3 1", "VIV_MGPU_AFFINITY=0", "COMBINED"},
      {"env mgpu combined", "VIV_MGPU_AFFINITY=0", "COMBINED"},
      {"env 3 b", "VIV_MGPU_AFFINITY=B", "BALANCE"},
      {"env 3 3", "VIV_MGPU_AFFINITY=B", "BALANCE"},
      // A word that begins with a number is that number.
      {"env 2x", "KRT_TEXTURE_DUMP=1", "TEXTURE"},
      {"env +1 04", "KRT_EGL_TRACE=1", "EGL"},
      {"env 3 2 5", "VIV_MGPU_AFFINITY=1:5", "INDEPENDENT for 5"},
      {"env M I 0", "VIV_MGPU_AFFINITY=1:0", "INDEPENDENT for 0"},
      // The core is neither checked nor put into capitals, and what follows it not looked at.
      {"env 3 2 12", "VIV_MGPU_AFFINITY=1:12", "INDEPENDENT for 12"},
      {"env 3 2 abc", "VIV_MGPU_AFFINITY=1:abc", "INDEPENDENT for abc"},
      {"env 3 2 7 8 9", "VIV_MGPU_AFFINITY=1:7", "INDEPENDENT for 7"},
  };
  for (const auto& c : cases) {
    host_.write_script("");
    EXPECT_EQ(run(c.line), 0) << c.line;
    EXPECT_EQ(out_, opened(c.label)) << c.line;
    EXPECT_EQ(host_.script(), std::string("export ") + c.assignment + "\n") << c.line;
    EXPECT_THAT(host_.take(), ElementsAre("fopen r+", std::string("setenv ") + c.assignment,
                                          "system source /etc/profile", host_.script()));
  }
}

TEST_F(Menu, AffinityChangesInPlaceAndByRewriting) {
  run("env 1 1");
  run("env 3 1");
  run("env 2");
  host_.take();
  EXPECT_EQ(run("env 3 3"), 0);
  EXPECT_EQ(host_.script(),
            "export KRT_GL_TRACE=1\nexport VIV_MGPU_AFFINITY=B\nexport KRT_TEXTURE_DUMP=1\n");
  EXPECT_EQ(host_.take().size(), 4u);  // opened once
  EXPECT_EQ(run("env 3 2 5"), 0);
  EXPECT_EQ(out_, opened("INDEPENDENT for 5"));
  EXPECT_EQ(host_.script(),
            "export KRT_GL_TRACE=1\nexport VIV_MGPU_AFFINITY=1:5\nexport KRT_TEXTURE_DUMP=1\n");
  EXPECT_EQ(run("env 3 1"), 0);
  EXPECT_EQ(host_.script(),
            "export KRT_GL_TRACE=1\nexport VIV_MGPU_AFFINITY=0\nexport KRT_TEXTURE_DUMP=1\n");
}

TEST_F(Menu, CloseEmptiesAndListShowsNothing) {
  run("env 1 1");
  for (const char* const line : {"env 5", "env c", "env close"}) {
    EXPECT_EQ(run(line), 0);
    EXPECT_EQ(out_, "All function is close!\n****New shell takes effect!****\n");
    EXPECT_EQ(host_.script(), "");
  }
  host_.take();
  for (const char* const line : {"env 4", "env o", "env ON"}) {
    EXPECT_EQ(run(line), 0);
    EXPECT_EQ(out_, "No function is open\n");
  }
  EXPECT_THAT(host_.take(), ElementsAre("fopen r", "fopen r", "fopen r"));
}

TEST_F(Menu, MissingScriptListsAsEmpty) {
  unlink("script");
  EXPECT_EQ(run("env 4"), 0);
  EXPECT_EQ(out_, "No function is open\n");
}

TEST_F(Menu, ListNamesTheSettings) {
  const std::string dashes = "\xE2\x80\x94\xE2\x80\x94";
  for (const auto& [affinity, text] : {std::pair{"0", "COMBINED"},
                                       {"B", "BALANCE"},
                                       {"1:5", "INDEPENDENT for 5"},
                                       {"1:12", "INDEPENDENT for 1"},
                                       {"00x", "INDEPENDENT for x"}}) {
    host_.write_script(
        "export KRT_GL_TRACE=1\nexport KRT_GLX_TRACE=1\nexport KRT_TEXTURE_DUMP=1\n"
        "export VIV_MGPU_AFFINITY=" +
        std::string(affinity) + "\nexport KRT_ES_TRACE=1\nexport KRT_EGL_TRACE=1\n");
    EXPECT_EQ(run("env 4"), 0);
    EXPECT_EQ(out_, "The open function :\n+" + dashes + " GL\n+" + dashes + " GLX\n+" + dashes +
                        " TEXTURE\n+" + dashes + " MGPU " + dashes + " " + text + "\n+" + dashes +
                        " ES\n+" + dashes + " EGL\n");
  }
}

TEST_F(Menu, ListPassesOverLinesOfAnotherForm) {
  host_.write_script("\nexport\nexport A\nexport A=1\nexport X_Y\n");
  EXPECT_EQ(run("env 4"), 0);
  EXPECT_EQ(out_, "The open function :\n+\u2014\u2014 Y\n");
}

TEST_F(Menu, ListCallsEveryOtherAffinityIndependent) {
  for (const char* const affinity : {"", "1", "00", "BB", "b", "1:"}) {
    host_.write_script(std::string("export VIV_MGPU_AFFINITY=") + affinity + "\n");
    EXPECT_EQ(run("env 4"), 0);
    EXPECT_EQ(out_, "The open function :\n+\u2014\u2014 MGPU \u2014\u2014 INDEPENDENT for \n")
        << affinity;
  }
}

TEST_F(Menu, ListReadsPiecesOf63Characters) {
  host_.write_script("export KRT_GL_TRACE=" + std::string(63 - 20, '1') + "a_b_c_d\n");
  EXPECT_EQ(run("env 4"), 0);
  EXPECT_EQ(out_, "The open function :\n+\u2014\u2014 GL\n");
}

TEST_F(Menu, MissingScriptEndsTheProcess) {
  unlink("script");
  const auto run_to_stderr = [] {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    char line[] = "env 1 1";
    zvgkit_func(line);
  };
  EXPECT_EXIT(run_to_stderr(), testing::ExitedWithCode(0),
              "^Core Function - GL is open!\ncan't open file$");
}

TEST_F(Menu, ScriptThatIsTooLongIsNoSuccess) {
  host_.write_script(std::string(1024, 'x'));
  char line[] = "env 1 1";
  int64_t result = 0;
  const auto output = capture([&] { result = zvgkit_func(line); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(output.out, "Core Function - GL is open!\n");
  EXPECT_NE(output.err, "");
  EXPECT_EQ(host_.script(), std::string(1024, 'x'));
}

TEST_F(Menu, TheCallersScanIsLeftAlone) {
  char scanned[] = "a b c";
  strtok(scanned, " ");
  run("env 1 1");
  EXPECT_STREQ(strtok(nullptr, " "), "b");
}

}  // namespace
