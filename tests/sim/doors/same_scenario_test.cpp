// One scenario through every door: the board sees the same accesses, in the same order.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "devices/dp/dp_settings.h"
#include "devices/hdmi/hdmi_settings.h"
#include "support/board_fixture.h"
#include "support/capture.h"
#include "support/scratch.h"

namespace zvgsim {
namespace {

using zvgtest::Door;

class SameScenario : public zvgtest::BoardFixture {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    auto& hdmi = config.of<HdmiSettings>().port[0];
    hdmi.edid = edid();
    hdmi.hot_plug = true;
    config.of<DpSettings>().port[0].sink = true;
    config.uart.instant = true;
    return config;
  }
  static std::vector<uint8_t> edid() {
    std::vector<uint8_t> bytes(128);
    for (unsigned i = 0; i < 128; ++i) bytes[i] = static_cast<uint8_t>(i * 37);
    bytes[126] = 0;
    return bytes;
  }
};

// What a caller does in a session: registers of each width, the VGA pair, the bus bridge, a
// monitor's EDID, a firmware update, a DisplayPort link, the memory's eyes. Everything that the
// driver does without a service of its own.
std::vector<uint64_t> scenario() {
  std::vector<uint64_t> results;
  const auto keep = [&](auto value) { results.push_back(static_cast<uint64_t>(value)); };
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t dword = 0;
  keep(zvgRegWriteByte(0x300001, 0xA5));
  keep(zvgRegWriteWord(0x300002, 0x1234));
  keep(zvgRegWriteLong(0x300004, 0xCAFEF00D));
  keep(zvgRegReadByte(0x300007, &byte));
  keep(byte);
  keep(zvgRegReadWord(0x300004, &word));
  keep(word);
  keep(zvgRegReadLong(0x300000, &dword));
  keep(dword);
  keep(zvgRegMskWriteByte(0x300001, 0xF0, 0xC0));
  keep(zvgCrtcWriteByte(0x2A, 0x5C));
  keep(zvgCrtcReadByte(0x2A, &byte));
  keep(byte);
  keep(zvgAmbaWriteLong(bus_vram_base + 0x24, 0x01020304));
  keep(zvgAmbaReadWord(bus_vram_base + 0x26, &word));
  keep(word);
  keep(zvgHdmiEDIDRead(0));
  EXPECT_EQ(last_edid[127], static_cast<uint8_t>(127 * 37)) << "the monitor's";
  uint32_t words[64];
  for (uint32_t i = 0; i < 64; ++i) words[i] = i * 0x01010101;
  keep(zvgSpiEraseSector(0x1000));
  keep(zvgSpiProgram(words, 0x1000, sizeof words));
  uint32_t read_back[64] = {};
  keep(zvgSpiReadBuffer(read_back, 0x1000, sizeof read_back));
  EXPECT_TRUE(std::equal(std::begin(words), std::end(words), std::begin(read_back)));
  zvgDpInit(0);
  keep(zvgDpLinkTraining(0));
  keep(zvgDdrShowEye(1, 0));
  return results;
}

struct Session {
  std::vector<uint64_t> results;
  zvgtest::Output output;
  std::string trace;  // the trace file
};

// The library counts on in the eyes' grids, from call to call.
std::string printed(const Session& session) {
  return session.output.out.substr(0, session.output.out.find("set_2d_eye: "));
}

TEST_F(SameScenario, LeavesOneTraceThroughEveryDoor) {
  // The library sets VGA addressing up once a process.
  uint8_t byte = 0;
  open_through(Door::driver);
  ASSERT_EQ(zvgCrtcReadByte(0, &byte), 0);
  const zvgtest::Scratch scratch;
  std::vector<Session> sessions;
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    power_up(config());
    open_through(door);
    const std::string path = scratch.path(name(door));
    FILE* const file = fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    trace().start(file);
    Session session;
    session.output = zvgtest::capture([&] { session.results = scenario(); });
    trace().stop();
    fclose(file);
    std::ifstream text(path);
    session.trace = {std::istreambuf_iterator<char>(text), {}};
    sessions.push_back(std::move(session));
  }
  const Session& first = sessions[0];
  EXPECT_GT(std::count(first.trace.begin(), first.trace.end(), '\n'), 30000);
  EXPECT_EQ(first.output.err, "");
  for (const Door door : {Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    const Session& session = sessions[static_cast<size_t>(door)];
    EXPECT_EQ(session.results, first.results);
    EXPECT_EQ(printed(session), printed(first));
    EXPECT_EQ(session.output.err, "");
    // Not with EXPECT_EQ, which would print some megabytes.
    const auto [at, there] = std::mismatch(first.trace.begin(), first.trace.end(),
                                           session.trace.begin(), session.trace.end());
    EXPECT_TRUE(at == first.trace.end() && there == session.trace.end())
        << "line " << std::count(first.trace.begin(), at, '\n') + 1 << " differs";
  }
}

}  // namespace
}  // namespace zvgsim
