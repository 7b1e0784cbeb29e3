// What the lines of register scripts, check files and read files say.
#include "formats/script/line.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace zvg::formats::script;

LineKind in_script(const char* text) {
  return classify(script_format, text);
}

LineKind in_block_file(const char* text) {
  return classify(block_file_format, text);
}

TEST(LineKinds, CommentsAndBlankLinesAreSkipped) {
  for (const char* const text :
       {"# a comment\n", "#", "// a comment\n", "/", "", "\n", "\r", "\r\n"}) {
    EXPECT_EQ(in_script(text), LineKind::skipped) << text;
  }
  for (const char* const text : {"/ a comment\n", "", "\n", "\r\n"}) {
    EXPECT_EQ(in_block_file(text), LineKind::skipped) << text;
  }
}

TEST(LineKinds, HeadersAreOfBlockFilesAlone) {
  EXPECT_EQ(in_block_file("# HDMI\n"), LineKind::header);
  EXPECT_EQ(in_script("# HDMI\n"), LineKind::skipped);
}

TEST(LineKinds, DelaysAreKnownByTheirFirstSixLetters) {
  for (const char* const text : {"ssleep 1\n", "msleep 20", "usleep", "usleepy 3\n"}) {
    EXPECT_EQ(in_script(text), LineKind::delay) << text;
    EXPECT_EQ(in_block_file(text), LineKind::delay) << text;
  }
  for (const char* const text : {"sleep 1\n", "nsleep 1\n", "Msleep 1\n", " msleep 1\n", "mslee"}) {
    EXPECT_EQ(in_script(text), LineKind::registers) << text;
  }
}

TEST(LineKinds, EchoIsOfScriptsAlone) {
  EXPECT_EQ(in_script("echo on\n"), LineKind::echo);
  EXPECT_EQ(in_script("echoes\n"), LineKind::echo);
  EXPECT_EQ(in_block_file("echo on\n"), LineKind::registers);
}

TEST(LineKinds, EverythingElseIsARegisterLine) {
  for (const char* const text : {"100 1 W FF 32\n", " \n", "\t", "word\n", " # indented\n"}) {
    EXPECT_EQ(in_script(text), LineKind::registers) << text;
    EXPECT_EQ(in_block_file(text), LineKind::registers) << text;
  }
}

TEST(Delays, HaveAUnitAndACount) {
  EXPECT_EQ(parse_delay("ssleep 2\n").unit, 's');
  EXPECT_EQ(parse_delay("ssleep 2\n").count, 2);
  EXPECT_EQ(parse_delay("msleep\t15\n").unit, 'm');
  EXPECT_EQ(parse_delay("msleep\t15\n").count, 15);
  EXPECT_EQ(parse_delay("usleep -7\n").unit, 'u');
  EXPECT_EQ(parse_delay("usleep -7\n").count, -7);
}

TEST(Delays, CountStandsBehindTheWholeWord) {
  EXPECT_EQ(parse_delay("usleepy 3\n").count, 3);
  EXPECT_EQ(parse_delay("usleep9\n").count, 9);
}

TEST(Delays, WithoutANumberAreZero) {
  EXPECT_EQ(parse_delay("msleep").count, 0);
  EXPECT_EQ(parse_delay("msleep\n").count, 0);
  EXPECT_EQ(parse_delay("msleep x\n").count, 0);
}

TEST(Echo, IsTheRestOfItsLine) {
  EXPECT_STREQ(echo_text("echo on\n"), " on\n");
  EXPECT_STREQ(echo_text("echo"), "");
}

TEST(ScriptLines, HaveFiveFields) {
  ScriptLine line;
  EXPECT_EQ(line.parse("38100 0x12 W FFff0000 16\n"), 5);
  EXPECT_EQ(line.address, 0x38100u);
  EXPECT_EQ(line.value, 0x12u);
  EXPECT_EQ(line.operation, 'W');
  EXPECT_EQ(line.mask, 0xFFFF0000u);
  EXPECT_EQ(line.width, 16);
}

TEST(ScriptLines, StartWithZeros) {
  ScriptLine line;
  EXPECT_LE(line.parse("nothing\n"), 0);
  EXPECT_EQ(line.address, 0u);
  EXPECT_EQ(line.value, 0u);
  EXPECT_EQ(line.operation, 0);
  EXPECT_EQ(line.mask, 0u);
  EXPECT_EQ(line.width, 0);
}

TEST(ScriptLines, KeepWhatTheNextLineLeavesOut) {
  ScriptLine line;
  line.parse("100 1 R F0 32\n");
  EXPECT_EQ(line.parse("200 2\n"), 2);
  EXPECT_EQ(line.address, 0x200u);
  EXPECT_EQ(line.value, 2u);
  EXPECT_EQ(line.operation, 'R');
  EXPECT_EQ(line.mask, 0xF0u);
  EXPECT_EQ(line.width, 32);
}

TEST(ScriptLines, EndBehindTheirFifthField) {
  ScriptLine line;
  EXPECT_EQ(line.parse("100 1 W FF 8 16 # more\n"), 5);
  EXPECT_EQ(line.width, 8);
}

TEST(BlockLines, OfACheckFileHaveFiveFields) {
  BlockLine line;
  EXPECT_EQ(line.parse("1c RH2 0xFF 32 80\n"), 5);
  EXPECT_EQ(line.address, 0x1Cu);
  EXPECT_STREQ(line.name, "RH2");
  EXPECT_EQ(line.channel(), 2u);
  EXPECT_EQ(line.third, 0xFFu);
  EXPECT_EQ(line.width, 32);
  EXPECT_EQ(line.value, 0x80u);
}

TEST(BlockLines, OfAReadFileHaveFour) {
  BlockLine line;
  EXPECT_EQ(line.parse("1c RP0 0 16\n"), 4);
  EXPECT_EQ(line.width, 16);
  EXPECT_EQ(line.value, 0u);
}

TEST(BlockLines, KeepWhatTheNextLineLeavesOut) {
  BlockLine line;
  line.parse("1c WM0 FF 8 55\n");
  EXPECT_EQ(line.parse("20\n"), 1);
  EXPECT_EQ(line.address, 0x20u);
  EXPECT_STREQ(line.name, "WM0");
  EXPECT_EQ(line.value, 0x55u);
}

TEST(BlockLines, ChannelIsTheThirdCharacterWhateverItIs) {
  BlockLine line;
  line.parse("0 RHA 0 8\n");
  EXPECT_EQ(line.channel(), 17u);
  line.parse("0 RH 0 8\n");
  EXPECT_EQ(line.channel(), static_cast<unsigned>(-48));
}

TEST(BlockLines, LongestNameFits) {
  const std::string name(1019, 'R');
  const auto line = std::make_unique<BlockLine>();
  EXPECT_EQ(line->parse(("0 " + name + "\n").c_str()), 2);
  EXPECT_EQ(line->name, name);
  EXPECT_EQ(line->parse(("0 " + std::string(2000, 'W')).c_str()), 2);
  EXPECT_EQ(std::string(line->name), std::string(1023, 'W'));
}

}  // namespace
