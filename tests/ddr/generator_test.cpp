// The generator of the message catalogues, on tables that are right and wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "support/capture.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Generator : public testing::Test {
 protected:
  // Returns what it said about a table of those records.
  std::string generate(const std::string& records, bool header = true) {
    fs::remove("out.h");
    fs::remove("out.cpp");
    scratch_.file("t.tsv", (header ? "id\tformat\n" : "") + records);
    const auto output =
        zvgtest::capture([this] { status_ = system(ZVG_GENERATOR " out.h out.cpp table=t.tsv"); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(status_ == 0, output.err.empty()) << output.err;
    EXPECT_EQ(fs::exists("out.h") && fs::exists("out.cpp"), status_ == 0);
    return output.err;
  }

  zvgtest::Scratch scratch_;
  int status_ = -1;
};

TEST_F(Generator, WritesArrayAndCount) {
  EXPECT_EQ(generate("00000001\ta \"%d\" \\\\ 100%%\\n\n00010000\t\n00000000\tend\\t\n"), "");
  EXPECT_THAT(scratch_.read("out.h"), HasSubstr("constexpr uint32_t table_count = 3;\n"));
  EXPECT_THAT(scratch_.read("out.cpp"),
              HasSubstr("const zvg_ddr_message table[3] = {\n"
                        "    {0x00000001, \"a \\\"%d\\\" \\\\ 100%%\\n\"},\n"
                        "    {0x00010000, \"\"},\n"
                        "    {0x00000000, \"end\\t\"},\n};\n"));
}

TEST_F(Generator, RefusesWrongTables) {
  const std::string longest(255, 'x');
  const std::string good = "00010000\ta\n";
  const char* const no_record =
      "3: expected an identifier of eight hexadecimal digits, a tab and a format\n";
  const struct {
    std::string records;
    const char* error;  // after the file's name; null for none
  } cases[] = {
      {"00000000\t" + longest + "\n", nullptr},
      {"00000000\t" + longest + "x\n", "2: the format has 256 bytes; 255 are the most\n"},
      {"00020000\ta\n00010000\tb\n", "3: the identifier is not greater than the one before\n"},
      {"00020000\ta\n00020000\tb\n", "3: the identifier is not greater than the one before\n"},
      {"00020000\ta\n00000000\tb\n00030000\tc\n",
       "4: a record follows the closing record 00000000\n"},
      {"00020001\ta\n", "2: the format has 0 conversions, the identifier says 1\n"},
      {"00020001\t%d %d\n", "2: the format has 2 conversions, the identifier says 1\n"},
      {"00020001\t%03x%%\n", nullptr},
      {"00020001\t%s\n", "2: \"%s\" does not print a 32-bit number\n"},
      {"00020001\t%ld\n", "2: \"%l\" does not print a 32-bit number\n"},
      {"00020001\tx %\n", "2: \"%\" does not print a 32-bit number\n"},
      {"00020000\ta\\r\n", "2: a backslash is followed by none of n, t and \\\n"},
      {"00020000\ta\\\n", "2: a backslash is followed by none of n, t and \\\n"},
      {"00020000\ta\r\n", "2: there is a byte in the format that is no text\n"},
      {good + "0002000\ta\n", no_record},
      {good + "000200000\ta\n", no_record},
      {good + "0002000g\ta\n", no_record},
      {good + "00020000 a\n", no_record},
      {good + "\n", no_record},
      {"", "1: there is no record\n"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(generate(one.records), one.error == nullptr ? "" : std::string("t.tsv:") + one.error)
        << one.records;
  }
}

TEST_F(Generator, WantsTheHeaderLine) {
  EXPECT_EQ(generate("00020000\ta\n00030000\tb\n", /*header=*/false),
            "t.tsv:1: expected the header line \"id<tab>format\"\n");
}

TEST_F(Generator, TellsEverythingThatIsWrong) {
  EXPECT_EQ(generate("00020001\ta\n00010000\tb\n"),
            "t.tsv:2: the format has 0 conversions, the identifier says 1\n"
            "t.tsv:3: the identifier is not greater than the one before\n");
}

TEST_F(Generator, TableThatIsNotThereIsNamed) {
  const auto output =
      zvgtest::capture([] { EXPECT_NE(system(ZVG_GENERATOR " out.h out.cpp table=none.tsv"), 0); });
  EXPECT_EQ(output.err, "none.tsv:0: cannot be read\n");
}

}  // namespace
