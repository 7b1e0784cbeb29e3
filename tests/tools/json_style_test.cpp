// The documents of all commands are in one style.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <regex>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using Json = nlohmann::ordered_json;
using zvgtest::Folder;
using zvgtest::Result;

bool matches(const std::string& text, const char* pattern) {
  return std::regex_match(text, std::regex(pattern));
}

// What is wrong with the document, each with its place.
class Style {
 public:
  explicit Style(const Json& document) {
    if (!document.is_object() || document.begin().key() != "schema") {
      note("", "its first key is not \"schema\"");
    } else if (!matches(document["schema"], "zvg/[a-z0-9-]+/[0-9]+")) {
      note("schema", "no schema's name");
    }
    walk(document, "", "");
  }
  const std::string& faults() const { return faults_; }

 private:
  void note(const std::string& place, const std::string& what) {
    faults_ += place + ": " + what + "\n";
  }

  void walk(const Json& value, const std::string& key, const std::string& place) {
    if (value.is_object()) {
      for (const auto& [name, member] : value.items()) {
        if (!matches(name, "[a-z0-9]+(_[a-z0-9]+)*")) note(place + "/" + name, "not snake_case");
        walk(member, name, place + "/" + name);
      }
    } else if (value.is_array()) {
      for (const Json& element : value) walk(element, key, place + "[]");
    } else if (value.is_string()) {
      text(value, key, place);
    } else if (value.is_number_float()) {
      number(value, place);
    }
  }

  void text(const std::string& value, const std::string& key, const std::string& place) {
    const bool address = matches(key, "(.*_)?(address|base|offset|slave|register|devices)") ||
                         place.find("block_bases") != std::string::npos;
    if (address && !matches(value, "0x(0|[1-9a-f][0-9a-f]*)")) {
      note(place, value + " is not the shortest hexadecimal text");
    }
    if (matches(key, "bytes|raw") && !matches(value, "([0-9a-f]{2})*")) {
      note(place, value + " is no hexadecimal text of bytes");
    }
    const bool number = matches(key, "value|values|word|read|expected|mask|written|before|after");
    if (number && value.starts_with("0x") &&
        !matches(value, "0x([0-9a-f]{2}|[0-9a-f]{4}|[0-9a-f]{8}|[0-9a-f]{16})")) {
      note(place, value + " is not padded to a register's width");
    }
    if (key == "time" &&
        !matches(value, R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d))")) {
      note(place, value + " is no time with its zone");
    }
    if (value == "-" || value == "n/a" || value == "none given") note(place, "not null");
  }

  // No more than what a double is printed with when it was rounded.
  void number(double value, const std::string& place) {
    constexpr double most_decimals = 1e4;
    if (std::abs(value * most_decimals - std::round(value * most_decimals)) > 1e-6) {
      note(place, std::to_string(value) + " is not rounded");
    }
  }

  std::string faults_;
};

// Every document on standard output: one, or one a line.
std::vector<Json> documents(const std::string& out) {
  if (Json::accept(out)) return {Json::parse(out)};
  std::vector<Json> all;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) all.push_back(Json::parse(line));
  return all;
}

class JsonStyle : public testing::Test {
 protected:
  void expect_style(const std::string& command, const std::string& board = "default") {
    const Result result =
        zvgtest::zvgctl(command + " --json --sim " + board, zvgtest::on_virtual_time());
    ASSERT_NE(result.out, "") << command << "\n" << result.err;
    for (const Json& document : documents(result.out)) {
      EXPECT_EQ(Style(document).faults(), "") << command;
    }
  }
  Folder folder_;
};

TEST_F(JsonStyle, KnowsWhatIsWrong) {
  EXPECT_NE(Style(Json{{"a", 1}, {"schema", "zvg/x/1"}}).faults(), "");
  for (const Json& member : {Json{{"camelCase", 1}}, Json{{"address", "0x00"}},
                             Json{{"bytes", "0x12"}}, Json{{"celsius", 1.00004999}},
                             Json{{"time", "12:00"}}, Json{{"value", "0x1"}}, Json{{"x", "-"}}}) {
    Json document = {{"schema", "zvg/x/1"}};
    document.update(member);
    EXPECT_NE(Style(document).faults(), "") << member;
  }
}

TEST_F(JsonStyle, OfEveryCommandThatShowsSomething) {
  const std::string commands[] = {
      "info",
      "info --mem 0xE0000000:0x1000000",
      "info --serial /dev/ttyZVG0",
      "reg read 0x288400 --count 4",
      "reg read 0x113004 --width 8",
      "reg watch 0x288400 --count 2",
      "vram read 0x100",
      "crtc read 0",
      "amba read 0x1308000",
      "pci read 0",
      "pci dump",
      "hdmi status",
      "hdmi mode 0",
      "hdmi phy read 0 0x06",
      "hdmi ddc read 0 0x50 0 --count 4",
      "hdmi ddc dump 0",
      "edid read --hdmi 0",
      "edid read --dp 1",
      "ddc read 0",
      "i2c scan",
      "i2c read 0 0x54 0",
      "i2c dump 0 0x54",
      "power read",
      "power watch --count 2",
      "video status",
      "mcu edid 0:1",
      "mcu reset --yes",
      "dp status",
      "dp train 1",
      "dp dpcd read 0 0 --count 16 --decode",
      "dp dpcd dump 0",
      "dp cdb read 0 0xe001",
      "dp edid 0",
      "mode list",
      "vga gain --red 40",
      "gamma show --gamma 2.2",
      "clock list",
      "clock get 3d",
      "clock plan --mhz 148.5",
      "clock set 3d --mhz 900 --yes",
      "sensor read --process",
      "sensor watch --count 2",
      "query",
      "query LOAD 0",
      "power-state get",
      "top --once",
      "top --count 2",
      "flash status",
      "flash read --region 0x1000:0x20",
      "flash sn read",
      "flash edid list",
      "ddr read 0x2801b0",
      "ddr eye --channel 1",
      "ddr messages 0x00160004",
      "reg read 0x1000000",
      "no such command",
  };
  for (const std::string& command : commands) expect_style(command);
  expect_style("axi summary", "rq301");
  expect_style("top --once", "busy");
}

TEST_F(JsonStyle, OfCommandsWithFiles) {
  const std::string script =
      folder_.put("script", "300004 0 C FF 8\n300008 1 W FF 16\n# x\nhello\n");
  const std::string check = folder_.put("check", "300004 RM0 FF 8 1\n3004 RH0 01 8 01\n");
  const std::string edid = folder_.put("edid", zvgtest::monitor_bytes("office-24-dvi"));
  const std::string before = folder_.put("before", "100 1 C f 32\n104 2 C f 32\n");
  const std::string after = folder_.put("after", "100 2 C f 32\n");
  expect_style("script run " + script);
  expect_style("script run --dry-run " + script);
  expect_style("check " + check);
  expect_style("edid show " + edid);
  expect_style("reg diff " + before + " " + after);
  expect_style("flash verify " + edid);
  expect_style("flash write --yes --no-backup --offset 0x1000 " + edid);
}

}  // namespace
