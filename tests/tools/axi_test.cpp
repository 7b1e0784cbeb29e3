// zvgctl axi on the virtual board, and the reading of its tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "service/axi/axi_tables.h"
#include "tools/zvgctl_process.h"
#include "zvgctl/errors.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

constexpr char run_folder[] = "traffic/Monitor_Data_rq302/";

size_t lines(const std::string& text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The document in a report page.
json page_data(const std::string& page) {
  constexpr std::string_view begin = "id=\"data\">";
  const size_t first = page.find(begin) + begin.size();
  return json::parse(page.substr(first, page.find("</script>", first) - first));
}

class AxiTool : public testing::Test {
 protected:
  Result sample(const std::string& options) {
    return zvgctl_sim("axi sample -o " + folder_.path("traffic") + " " + options);
  }
  Result report(const std::string& options = {}) {
    return zvgctl("axi report " + folder_.path("traffic") + " -o " + folder_.path("page.html") +
                  " " + options);
  }

  Folder folder_;
};

TEST_F(AxiTool, SamplesAndReports) {
  Result result = sample("--count 12");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, folder_.path("traffic/Monitor_Data_rq302") + ": 12 samples of 22 ports\n");
  EXPECT_EQ(result.err, "");
  for (const std::string_view port : zvgctl::rq302_axi_ports) {
    EXPECT_EQ(lines(folder_.get(run_folder + std::string(port) + ".dat")), 13u) << port;
  }
  result = report();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            folder_.path("page.html") + ": 22 ports, up to 12 samples; timeouts on DDRC1_2\n");

  const std::string page = folder_.get("page.html");
  EXPECT_THAT(page, Not(HasSubstr("http://"))) << "the page needs no network";
  EXPECT_THAT(page, Not(HasSubstr("src=")));
  EXPECT_THAT(page, HasSubstr("Permission is hereby granted")) << "the chart library's licence";
  const json data = page_data(page);
  EXPECT_THAT(data["problems"], IsEmpty());
  ASSERT_EQ(data["ports"].size(), 22u);
  for (const json& port : data["ports"]) {
    EXPECT_EQ(port["samples"], 12);
    EXPECT_EQ(port["times"].size(), 12u);
    const bool reads_only = port["name"].get<std::string>().starts_with("VGA_");
    EXPECT_EQ(port["curves"][0][0].is_null(), reads_only) << port["name"];
    EXPECT_EQ(port["curves"][0][1].size(), 12u);
    EXPECT_EQ(port["timeouts"].empty(), port["name"] != "DDRC1_2");
  }
}

TEST_F(AxiTool, ReportsWhatTheTablesHold) {
  sample("--count 3");
  // Two samples of one port, by hand: bandwidths, means of latency, outstanding, a timeout.
  std::string header = folder_.get(run_folder + std::string("VGA_h0.dat"));
  header.resize(header.find('\n') + 1);
  folder_.put(run_folder + std::string("VGA_h0.dat"),
              header +
                  "0\t 1\t 10\t 1\t 0\t 1000\t 10\t 3\t 4\t 5\t 6\t 700\t 800\t 90\t 12\t 1\n"
                  "5\t 1\t 20\t 1\t 1\t -1\t 0\t 3\t 4\t 5\t 6\t -2\t 800\t 90\t 13\t 1\n");
  ASSERT_EQ(report().exit, 0);
  const json page = page_data(folder_.get("page.html"));
  for (const json& port : page["ports"]) {
    if (port["name"] != "VGA_h0") continue;
    EXPECT_EQ(port["times"], json::parse("[0, 5]"));
    EXPECT_EQ(port["timeouts"], json::parse("[5]"));
    EXPECT_EQ(port["curves"][0][1], json::parse("[700, 4294967294]")) << "counters are unsigned";
    EXPECT_EQ(port["curves"][1][2], json::parse("[100, null]")) << "no mean of nothing";
    EXPECT_EQ(port["curves"][1][3], json::parse("[800, 800]"));
    EXPECT_EQ(port["curves"][2][1], json::parse("[12, 13]"));
    EXPECT_EQ(port["totals"][1], 30);
  }
}

TEST_F(AxiTool, ThinsManySamples) {
  constexpr int samples = 10'000;
  sample("--count 1");
  for (const std::string_view port : zvgctl::rq302_axi_ports) {
    const std::string name = run_folder + std::string(port) + ".dat";
    const std::string table = folder_.get(name);
    const size_t header = table.find('\n') + 1;
    const std::string row = table.substr(table.find('\t', header));
    std::string text = table.substr(0, header);
    for (int i = 0; i < samples; ++i) text += std::to_string(i) + row;
    folder_.put(name, text);
  }
  const Result result = report();
  EXPECT_EQ(result.exit, 0) << result.err;
  const std::string page = folder_.get("page.html");
  EXPECT_LT(page.size(), 2'000'000u);
  const json port = page_data(page)["ports"][0];
  EXPECT_EQ(port["samples"], samples);
  EXPECT_EQ(port["each"], 34);
  EXPECT_EQ(port["times"].size(), 300u);
  for (const char* part : {"mean", "low", "high"}) {
    EXPECT_EQ(port["curves"][0][0][part].size(), 300u);
  }
}

TEST_F(AxiTool, EarlierRunIsReplacedOnlyWithForce) {
  sample("--count 2");
  const Result refused = sample("--count 1");
  EXPECT_EQ(refused.exit, 1);
  EXPECT_THAT(refused.err, HasSubstr("has samples of an earlier run"));
  EXPECT_EQ(lines(folder_.get(run_folder + std::string("3D0.dat"))), 3u);
  EXPECT_EQ(sample("--count 1 --force").exit, 0);
  EXPECT_EQ(lines(folder_.get(run_folder + std::string("3D0.dat"))), 2u);
  EXPECT_EQ(sample("--count 1 --suffix other").exit, 0);
  const Result several = report();
  EXPECT_EQ(several.exit, 1);
  EXPECT_THAT(several.err,
              HasSubstr("several runs; name one of them: Monitor_Data_other Monitor_Data_rq302"));
}

TEST_F(AxiTool, SuffixHasRoomFor34Bytes) {
  const Result result = sample("--count 1 --suffix " + std::string(40, 's'));
  EXPECT_EQ(result.exit, 2);
  EXPECT_THAT(result.err, HasSubstr("has 40 bytes; the library's folder name has room for 34"));
  EXPECT_EQ(folder_.files(), 0u);
  EXPECT_EQ(sample("--count 1 --suffix " + std::string(34, 's')).exit, 0);
  EXPECT_EQ(sample("--count 1 --suffix a/b").exit, 2);
}

TEST_F(AxiTool, SecondsAreFourSamplesEach) {
  const Result result = sample("--seconds 2 --json");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["samples"], 8);
  EXPECT_EQ(sample("--seconds 2 --count 2 --force").exit, 2);
}

TEST_F(AxiTool, CtrlCEndsARunBehindASample) {
  zvgtest::Process process(zvgtest::zvgctl_words("--sim axi sample -o " + folder_.path("traffic")));
  const std::string table = run_folder + std::string("DDRC1_3.dat");
  for (int i = 0; i < 100 && lines(folder_.get(table)) < 3; ++i) usleep(50'000);
  process.send(SIGINT);
  const Result result = process.finish();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr(" samples of 22 ports\n"));
  for (const std::string_view port : zvgctl::rq302_axi_ports) {
    const std::string text = folder_.get(run_folder + std::string(port) + ".dat");
    EXPECT_TRUE(text.ends_with('\n'));
    EXPECT_EQ(lines(text), lines(folder_.get(table))) << port;
  }
}

TEST_F(AxiTool, TableThatCannotBeWrittenEndsTheRun) {
  fs::create_directories(folder_.path(run_folder));
  fs::create_symlink("/nowhere/at/all", folder_.path(run_folder + std::string("3D0.dat")));
  const Result result = sample("--count 5");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("sample 0 was not written: "));
  EXPECT_THAT(result.err, HasSubstr("/3D0.dat: No such file or directory"));
  EXPECT_EQ(lines(folder_.get(run_folder + std::string("2D.dat"))), 2u) << "the others are there";
}

TEST_F(AxiTool, DiskThatIsFullEndsTheRun) {
  zvgtest::Process board({ZVGSIM_PROGRAM, "serve", "--uart", "--link", folder_.path("board")});
  ASSERT_TRUE(board.wait_for_output("\n"));
  // Files may have 512 bytes, which is less than a header. Without the signal, writing only fails.
  const Result result = zvgtest::run({"/bin/sh", "-c",
                                      std::string("trap '' XFSZ; ulimit -f 1; exec ") +
                                          ZVGCTL_PROGRAM + " --serial " + folder_.path("board") +
                                          ":460800 --generation rq302 axi sample --count 3 -o " +
                                          folder_.path("traffic")});
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("sample 0 was not written into "));
  EXPECT_EQ(folder_.get(run_folder + std::string("PCIE_M.dat")).size(), 512u);
}

TEST_F(AxiTool, CutAndStrangeRowsAreToldAndLeftOut) {
  sample("--count 5");
  const std::string name = run_folder + std::string("3D0.dat");
  const std::string table = folder_.get(name);
  folder_.put(name, table.substr(0, table.size() - 20));
  folder_.put(run_folder + std::string("2D.dat"),
              folder_.get(run_folder + std::string("2D.dat")) + "6\t 1\n7\t what\n");
  fs::remove(folder_.path(run_folder + std::string("VPU0.dat")));
  const Result result = report();
  EXPECT_EQ(result.exit, 0);
  EXPECT_THAT(result.err, HasSubstr("3D0.dat:6: the row is cut short; it is left out"));
  EXPECT_THAT(result.err, HasSubstr("2D.dat:7: the row is cut short; it is left out"));
  EXPECT_THAT(result.err, HasSubstr("VPU0.dat: there is no such table"));
  EXPECT_THAT(result.out, HasSubstr(": 21 ports, up to 5 samples"));
  const json data = page_data(folder_.get("page.html"));
  EXPECT_EQ(data["problems"].size(), 4u) << "the page says so, too";
}

TEST_F(AxiTool, ReportNeedsTables) {
  Result result = report();
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("is no folder"));
  fs::create_directory(folder_.path("traffic"));
  EXPECT_THAT(report().err, HasSubstr("'zvgctl axi sample -o"));
  folder_.put("traffic/PCIE_M.dat", "");
  EXPECT_THAT(report().err, HasSubstr("PCIE_M.dat is empty"));
  folder_.put("traffic/PCIE_M.dat", "something else\n");
  EXPECT_THAT(report().err, HasSubstr("its header does not begin with \"time\""));
  sample("--count 1");
  folder_.put("page.html", "mine");
  EXPECT_THAT(
      zvgctl("axi report " + folder_.path(run_folder) + " -o " + folder_.path("page.html")).err,
      HasSubstr("--force"));
  EXPECT_EQ(folder_.get("page.html"), "mine");
}

TEST_F(AxiTool, PageEscapesWhatComesFromFiles) {
  sample("--count 1");
  // The folder's name is "<", and "script>" the one in it: together they would end the element.
  fs::create_directories(folder_.path("<"));
  fs::rename(folder_.path(run_folder), folder_.path("</script>"));
  const Result result = zvgtest::run({ZVGCTL_PROGRAM, "axi", "report", folder_.path("</script>"),
                                      "-o", folder_.path("page.html")});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(page_data(folder_.get("page.html"))["source"].get<std::string>(),
              HasSubstr("</script>"));
}

// The sampling thread beside the tool's own.
TEST_F(AxiTool, SamplesThroughTheApertures) {
  const Result result = zvgctl_sim("axi sample --count 12 -o " + folder_.path("traffic") +
                                   zvgtest::memory_door + " --generation rq302");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, folder_.path("traffic/Monitor_Data_rq302") + ": 12 samples of 22 ports\n");
  for (const std::string_view port : zvgctl::rq302_axi_ports) {
    EXPECT_EQ(lines(folder_.get(run_folder + std::string(port) + ".dat")), 13u) << port;
  }
}

TEST_F(AxiTool, SamplesOverASerialLine) {
  const Result result =
      zvgctl_sim("--serial /dev/ttyZVG0:460800 --generation rq302 axi sample --count 2 -o " +
                 folder_.path("traffic"));
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(lines(folder_.get(run_folder + std::string("PCIE_M.dat"))), 1u)
      << "the measuring period is longer than that now";
}

TEST(AxiSummaryTool, HasLabelsInTwoLanguages) {
  Result result = zvgctl_sim("axi summary", {});
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("RQ302 have no summary"));

  const auto rq301 = [](const std::string& options) {
    return zvgtest::run(zvgtest::zvgctl_words("--sim rq301 axi summary " + options),
                        zvgtest::on_virtual_time());
  };
  result = rq301("");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, testing::StartsWith("PCIE\n  active cycles "));
  EXPECT_THAT(result.out, HasSubstr("\nVGA_h11\n  read active cycles "));
  EXPECT_EQ(lines(result.out), 26u * 2 - 1 + 10 * 29 + 12 * 13 + 4 * 15);
  for (const char c : result.out) EXPECT_GT(c, 0) << "every label is translated";

  const Result chinese = rq301("--labels zh");
  EXPECT_THAT(chinese.out, testing::StartsWith("\n\tPCIE:\nactive的总cycle数: "));
  EXPECT_THAT(chinese.out, HasSubstr("\n写active的总cycle数："));
  EXPECT_EQ(rq301("--labels fr").exit, 2);

  const json ports = json::parse(rq301("--json").out)["ports"];
  ASSERT_EQ(ports.size(), 26u);
  const json& counters = ports[2]["counters"];
  EXPECT_EQ(ports[2]["port"], "3D0_AXI0");
  EXPECT_EQ(counters.size(), 29u) << "bursts of writes and of reads have labels of their own";
  EXPECT_EQ(counters["write_bursts"], 0xFFFF);
  EXPECT_EQ(counters["read_bursts"], 0xFFFF);
  EXPECT_NE(counters["highest_read_bandwidth"], 0);
}

TEST(AxiSummaryTool, TablesAreOfRq302Only) {
  const Folder folder;
  const Result result = zvgctl("--sim rq301 axi sample --count 1 -o " + folder.path("traffic"));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("'zvgctl axi summary' shows them"));
}

TEST(AxiTopTool, ShowsEveryPort) {
  EXPECT_EQ(zvgctl_sim("axi top").exit, 1);
  EXPECT_THAT(zvgctl_sim("axi top").err, HasSubstr("axi top needs a terminal"));
  EXPECT_EQ(zvgctl_sim("axi top --interval 0").exit, 2);

  const auto on_terminal = [](const std::string& options) {
    zvgtest::Setting setting;
    setting.environment = {{"TERM", "xterm"}, {"LANG", "C.UTF-8"}};
    return zvgtest::run(
        {"/usr/bin/script", "-qec",
         "stty rows 40 cols 120; " + (ZVGCTL_PROGRAM + (" --sim " + options)), "/dev/null"},
        setting);
  };
  const std::string leave = "\033[?1049l";
  Result result = on_terminal("axi top --count 3 --interval 0.2");
  EXPECT_EQ(result.exit, 0);
  for (const std::string_view port : zvgctl::rq302_axi_ports) {
    EXPECT_THAT(result.out, HasSubstr(std::string(port)));
  }
  EXPECT_THAT(result.out, HasSubstr("RQ302 AXI bus"));
  EXPECT_THAT(result.out, HasSubstr("█"));
  EXPECT_THAT(result.out, HasSubstr(leave));

  result = on_terminal("rq301 axi top --count 1 --interval 0.2");
  EXPECT_THAT(result.out, HasSubstr("3D0_AXI0"));

  result = on_terminal("axi top --deadline 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr(leave)) << "the terminal comes back in any case";
}

// Tables by hand.
class AxiTables : public testing::Test {
 protected:
  zvg::AxiTable read(const std::string& content) {
    folder_.put("2D.dat", content);
    return zvg::read_axi_table(folder_.path("."), "2D", &problems_);
  }

  Folder folder_;
  std::vector<std::string> problems_;
};

TEST_F(AxiTables, HaveColumnsByName) {
  const auto table = read("time\t  a\t slot\n0\t -1\t\t0x123456789\n");
  EXPECT_THAT(problems_, ElementsAre("2D.dat:2: this is no row; it is left out"));
  problems_.clear();
  const auto good = read("time\t  a\t slot\n0\t -1\t0x123456789\n3\t 7\t 0x0\n");
  EXPECT_THAT(problems_, IsEmpty());
  EXPECT_THAT(good.columns, ElementsAre("time", "a", "slot"));
  EXPECT_THAT(*good.find("a"), ElementsAre(0xFFFFFFFF, 7));
  EXPECT_THAT(*good.find("slot"), ElementsAre(0x123456789, 0));
  EXPECT_EQ(good.find("b"), nullptr);
  EXPECT_EQ(good.rows(), 2u);
  EXPECT_EQ(table.rows(), 0u);
}

}  // namespace
