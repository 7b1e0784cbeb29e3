// zvgctl ddr eye and ddr messages on the virtual board; the measuring of eyes.
#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "service/ddr/ddr_eye.h"
#include "tools/zvgctl_process.h"
#include "zvgctl/pictures/ddr_eye_text.h"

namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using zvg::Eye;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl_sim;
using Row = std::array<uint32_t, Eye::columns>;

class DdrEyeTool : public testing::Test {
 protected:
  // On a board of that description.
  Result run(const std::string& board, const std::string& command) {
    return zvgctl_sim_board(folder_.put("board.toml", board), command);
  }
  static Result zvgctl_sim_board(const std::string& board, const std::string& command) {
    return zvgtest::run(zvgtest::zvgctl_words("--sim " + board + " " + command),
                        zvgtest::on_virtual_time());
  }

  Folder folder_;
};

TEST_F(DdrEyeTool, ShowsMessagesAndThenEyes) {
  const Result result = zvgctl_sim("ddr eye");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(
      result.out,
      StartsWith("hello zvgDdrShowEye\n"
                 "Show software eye for ddr channel 0 with phy offset 0x002c0000...\n"
                 "PMU0: lane mask under training 0x0ff, lane mask in use 0x0ff\n"
                 "PMU4: ======= Read Scanning (2D) of TG 0, CS 0x1, lanes 0x00f =======\n"));
  EXPECT_THAT(result.out, HasSubstr("ddr channel 1 with phy offset 0x001c0000..."));
  EXPECT_THAT(result.out, HasSubstr("\nset_2d_eye: read_write_f:0 write_max:"));
  EXPECT_THAT(result.out, Not(HasSubstr("\nread\n"))) << "the maps stand for the library's grids";
  const size_t maps = result.out.find("\nchannel 0\n  read   ");
  ASSERT_NE(maps, std::string::npos);
  EXPECT_THAT(result.out.substr(maps), HasSubstr("\nchannel 1\n  read   "));
  EXPECT_THAT(result.out.substr(maps), HasSubstr(" delay steps wide, "));
  EXPECT_THAT(result.out, Not(HasSubstr("\033"))) << "this is no terminal";
}

TEST_F(DdrEyeTool, ShowsTheSameThroughTheApertures) {
  const Result result =
      zvgctl_sim("ddr eye --generation rq302" + std::string(zvgtest::memory_door));
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, zvgctl_sim("ddr eye").out);
}

TEST_F(DdrEyeTool, CountsWhatTheFirmwareSent) {
  std::string row = "[0x14001f";
  for (int i = 0; i < 31; ++i) row += ", " + std::to_string(i == 0 ? 0x180 : i);
  row += "]";
  const std::string board = "[[training.channel]]\nchannel = 0\nmessages = [[0x210004,2,0,1,1]," +
                            row + "," + row + ",[0x1e0004,2,0,1,1]," + row + "]\n";
  const Result result = run(board, "ddr eye -c 1 --json -o " + folder_.path("eye.csv"));
  EXPECT_EQ(result.exit, 0) << result.err;
  const json channel = json::parse(result.out)["channels"][0];
  EXPECT_EQ(channel["complete"], true);
  ASSERT_EQ(channel["read"]["rows"].size(), 30u);
  EXPECT_EQ(channel["read"]["rows"][0]["voltage"], 30);
  EXPECT_EQ(channel["read"]["rows"][0]["counts"][30], 2);
  EXPECT_EQ(channel["write"]["rows"][29]["voltage"], 1);
  EXPECT_EQ(channel["write"]["rows"][29]["counts"][1], 1);
  EXPECT_EQ(channel["read"]["open"], false);

  std::istringstream csv(folder_.get("eye.csv"));
  std::string line;
  std::getline(csv, line);
  EXPECT_THAT(line, StartsWith("channel,eye,voltage,delay -15,delay -14,"));
  EXPECT_THAT(line, testing::EndsWith(",delay +14,delay +15"));
  std::getline(csv, line);
  EXPECT_EQ(line, "0,read,30,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,2");
  EXPECT_EQ(std::count(std::istreambuf_iterator<char>(csv), {}, '\n'), 59);
}

// The colours of a picture, of which it has more than so many pixels.
std::set<uint32_t> colours(const std::string& path, int pixels) {
  cairo_surface_t* const surface = cairo_image_surface_create_from_png(path.c_str());
  EXPECT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
  std::map<uint32_t, int> counts;
  const int width = cairo_image_surface_get_width(surface);
  const int height = cairo_image_surface_get_height(surface);
  EXPECT_GT(width, 1000);
  EXPECT_GT(height, 500);
  const unsigned char* const data = cairo_image_surface_get_data(surface);
  for (int y = 0; y < height; ++y) {
    const auto* const row =
        reinterpret_cast<const uint32_t*>(data + y * cairo_image_surface_get_stride(surface));
    for (int x = 0; x < width; ++x) ++counts[row[x] & 0xFFFFFF];
  }
  cairo_surface_destroy(surface);
  std::set<uint32_t> found;
  for (const auto& [colour, count] : counts) {
    if (count > pixels) found.insert(colour);
  }
  return found;
}

TEST_F(DdrEyeTool, DrawsPictures) {
  const std::string png = folder_.path("eye.png");
  Result result = zvgctl_sim("ddr eye --channel 0x1 -o " + png);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, testing::EndsWith("eye.png: 1 channel\n"));
  const auto found = colours(png, 2000);
  EXPECT_TRUE(found.contains(0xDBF0E3)) << "the opening";
  EXPECT_TRUE(found.contains(0xFDD485)) << "an edge that was met once";
  EXPECT_GT(found.size(), 8u) << "a heat map has many";

  EXPECT_EQ(zvgctl_sim("ddr eye -c 1 -o " + png).exit, 1) << "it exists";
  result = zvgctl_sim("ddr eye -o " + folder_.path("eye.svg"));
  EXPECT_EQ(result.exit, 0);
  const std::string svg = folder_.get("eye.svg");
  EXPECT_THAT(svg, StartsWith("<?xml"));
  EXPECT_THAT(svg, HasSubstr("<svg "));
  EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
  EXPECT_EQ(zvgctl_sim("ddr eye -o " + folder_.path("eye.pdf")).exit, 2);
  EXPECT_EQ(folder_.files(), 2u);
}

TEST_F(DdrEyeTool, FirmwareThatNeverFallsSilentIsStoppedByTheDeadline) {
  const Result result = run("[training]\nendless = true\n",
                            "ddr eye -c 1 --deadline 1 -o " + folder_.path("eye.svg"));
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: channel 0 did not fall silent within 1 s; what it had sent is shown\n");
  EXPECT_THAT(result.out, HasSubstr("\nchannel 0 (not listened to the end)\n  read   "));
  EXPECT_THAT(folder_.get("eye.svg"), testing::EndsWith("</svg>\n"));
}

TEST_F(DdrEyeTool, CtrlCDrawsWhatWasHeard) {
  const std::string board = folder_.put("board.toml", "[training]\nendless = true\n");
  zvgtest::Process process(zvgtest::zvgctl_words("--sim " + board + " ddr eye -c 3"));
  ASSERT_TRUE(process.wait_for_output("Write Scanning"));
  process.send(SIGINT);
  const Result result = process.finish();
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("listening to channel 0 was interrupted"));
  EXPECT_THAT(result.out, HasSubstr("\nchannel 0 (not listened to the end)\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("channel 1"))) << "the rest is left";
}

TEST_F(DdrEyeTool, BurstWithoutAnEndIsStoppedToo) {
  // Without firmware, the mailbox's status reads as if words were waiting, for ever.
  const Result result = run("[training]\nenabled = false\n", "ddr eye -c 1 --deadline 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("channel 0 did not fall silent within 1 s"));
  EXPECT_THAT(result.out, HasSubstr("nothing was scanned"));
  EXPECT_LT(result.seconds, 10);
}

TEST_F(DdrEyeTool, StrangeMessagesDoNotDisturb) {
  std::string arguments;
  for (int i = 0; i < 300; ++i) arguments += ", 7";
  const std::string board =
      "[[training.channel]]\nchannel = 0\nmessages = [[0x7fff0000], [0x7fff000d, 1,2,3,4,5,6,7,8,9,"
      "10,11,12,13], [0x7fff00ff" +
      arguments + "], [0xb0000], [0x10003, 1, 2, 3]]\n";
  const Result result = run(board, "ddr eye -c 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: channel 0: nothing was scanned; what it had sent is shown\n");
  EXPECT_THAT(result.out, HasSubstr("findDebugPos 7fff0000 "));
  EXPECT_THAT(result.out, HasSubstr("findDebugPos 7fff000d "));
  EXPECT_THAT(result.out, HasSubstr("PMU DEBUG: Vref index 1 less 2, taken in range index 3\n"));
  EXPECT_THAT(result.out, HasSubstr("read   nothing was scanned\n"));
}

TEST_F(DdrEyeTool, ArgumentsMakeSense) {
  EXPECT_EQ(zvgctl_sim("ddr eye --type 4").exit, 2);
  EXPECT_EQ(zvgctl_sim("ddr eye --channel 0x10").exit, 2);
  const Result result = zvgctl_sim("ddr eye --channel 0xc");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("no DDR channel of the mask: it has 0 to 1"));
}

TEST(DdrMessagesTool, LooksIdentifiersUp) {
  Result result = zvgtest::zvgctl("ddr messages 0x00160004");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out,
            "0x00160004   4 arguments  PMU4: == DB%d lane %d == eye centre at delay %d, voltage "
            "%d\\n\n");
  result = zvgtest::zvgctl("ddr messages --table ddr4-1d-old 1 --json");
  EXPECT_EQ(json::parse(result.out)["messages"][0]["format"],
            "PMU1: prbsGenCtl register is 0x%x\n");
  result = zvgtest::zvgctl("ddr messages --table lpddr4x-1d");
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 399);
  result = zvgtest::zvgctl("ddr messages 0x12345678");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("there is no message 0x12345678 in the catalogue 2d"));
  EXPECT_EQ(zvgtest::zvgctl("ddr messages --table 3d").exit, 2);
  EXPECT_EQ(zvgtest::zvgctl("ddr messages what").exit, 2);
}

// The eye between two flat edges, open in columns first to last.
Eye box(int first, int last, uint32_t low, uint32_t high) {
  Eye eye;
  Row row;
  for (const uint32_t edge : {low, high}) {
    row.fill(0x80);
    for (int column = first; column <= last; ++column) row[static_cast<size_t>(column)] = edge;
    eye.add(row);
  }
  return eye;
}

TEST(EyeMeasure, OpeningLiesBetweenTheEdges) {
  const auto opening = box(10, 18, 40, 60).opening();
  ASSERT_TRUE(opening.open);
  EXPECT_EQ(opening.height(), 19);
  EXPECT_EQ(opening.width(), 9);
  EXPECT_EQ(opening.centre_row(), 50);
  EXPECT_TRUE(opening.contains(10, 41));
  EXPECT_FALSE(opening.contains(10, 40));
  EXPECT_FALSE(opening.contains(9, 50));
}

TEST(EyeMeasure, WidestOfSeveralOpeningsCounts) {
  Eye eye = box(0, 30, 10, 100);
  Row row;
  row.fill(0x80);
  row[15] = 70;
  eye.add(row);
  EXPECT_EQ(eye.opening().first_row, 11);
  EXPECT_EQ(eye.opening().last_row, 69);
  EXPECT_EQ(eye.opening().width(), 31);
}

TEST(EyeMeasure, ClosedEyes) {
  EXPECT_FALSE(Eye().opening().open);
  EXPECT_TRUE(Eye().empty());
  EXPECT_FALSE(box(0, 14, 10, 100).opening().open) << "not in the middle";
  EXPECT_FALSE(box(0, 30, 10, 11).opening().open);
  EXPECT_EQ(zvgctl::describe(box(0, 30, 10, 11)), "closed at the middle delay step");
}

TEST(EyeMaps, HaveALineForTwoSteps) {
  zvg::ChannelEyes eyes;
  eyes.complete = true;
  eyes.read = box(0, 30, 4, 7);
  eyes.write = box(15, 15, 5, 6);
  const std::string plain = zvgctl::heat_maps(eyes, false);
  EXPECT_EQ(plain,
            "channel 0\n"
            "  read   31 delay steps wide, 2 voltage steps high, centre at voltage 5\n"
            "  write  closed at the middle delay step\n\n"
            "     read                              write\n"
            "  9\n"
            "  7  @@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@                  @\n"
            "  5  @@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@                  @\n"
            "  3\n"
            "     -15            ^ delay 0    +15   -15            ^ delay 0    +15\n");
  const std::string coloured = zvgctl::heat_maps(eyes, true);
  EXPECT_THAT(coloured, HasSubstr("\033[38;5;228;48;5;236m▀")) << "edge above, opening below";
  EXPECT_THAT(coloured, HasSubstr("\033[38;5;236;48;5;228m▀"));
  EXPECT_THAT(coloured, HasSubstr("\033[0;38;5;228m▄"));
}

}  // namespace
