// The driver's node, request by request, as raw ioctl() calls on records of bytes.
#include "doors/driver_door.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <set>

#include "devices/clocks/clock_settings.h"
#include "devices/fan/fan.h"
#include "devices/hdmi/hdmi_settings.h"
#include "devices/sensors/pvt_sensors.h"
#include "sim/doors/driver_records.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

using namespace driver;
using ::testing::Each;
using ::testing::ElementsAre;

class DriverDoorTest : public zvgtest::BoardFixture {
 protected:
  void SetUp() override {
    BoardFixture::SetUp();
    fd_ = open("/dev/zvgrw", O_RDWR);
    ASSERT_GE(fd_, 0);
  }
  void TearDown() override {
    close(fd_);
    BoardFixture::TearDown();
  }
  void power_up_again(BoardConfig config) {
    close(fd_);
    power_up(std::move(config));
    fd_ = open("/dev/zvgrw", O_RDWR);
    ASSERT_GE(fd_, 0);
  }

  // The result of a request: 0, or the errno it failed with.
  template <typename Record>
  int request(unsigned long number, Record* record) {
    errno = 0;
    const int result = ioctl(fd_, number, record);
    if (result == 0) return 0;
    EXPECT_EQ(result, -1);
    return errno;
  }
  int reg(RegisterAccess* record) { return request(0xC0206401, record); }
  uint32_t query_number(uint32_t key, uint8_t argument = 0) {
    Query record = {0, key, {argument}};
    EXPECT_EQ(request(0xC0886410, &record), 0) << key;
    uint32_t value;
    memcpy(&value, record.data, sizeof value);
    return value;
  }

  int fd_ = -1;
};

TEST_F(DriverDoorTest, RegisterAccessReadsAndWritesBothBars) {
  trace().start();
  RegisterAccess write = {0, 2, 1, 4, 0x300000, 0xFFFFFFFF12345678};
  EXPECT_EQ(reg(&write), 0);
  RegisterAccess read = {0, 2, 0, 2, 0x300002, 0xDEADBEEFDEADBEEF};
  EXPECT_EQ(reg(&read), 0);
  EXPECT_EQ(read.value, 0x1234u) << "zero-extended";
  RegisterAccess vram = {0, 0, 1, 8, 0xFFFFFF8, 0x0102030405060708};
  EXPECT_EQ(reg(&vram), 0);
  RegisterAccess byte = {0, 0, 0, 1, 0xFFFFFFF, 0};
  EXPECT_EQ(reg(&byte), 0);
  EXPECT_EQ(byte.value, 1u);
  EXPECT_THAT(trace().take(),
              ElementsAre("w4 mmio 0x300000 0xffffffff12345678", "r2 mmio 0x300002 0x1234",
                          "w8 vram 0xffffff8 0x102030405060708", "r1 vram 0xfffffff 0x1"));
}

TEST_F(DriverDoorTest, RecordsNeedNoAlignment) {
  std::array<uint8_t, 33> bytes{};
  const RegisterAccess record = {0, 2, 1, 4, 0x300000, 77};
  memcpy(&bytes[1], &record, sizeof record);
  EXPECT_EQ(request(0xC0206401, &bytes[1]), 0);
  EXPECT_EQ(peek(0x300000), 77u);
}

TEST_F(DriverDoorTest, RegisterAccessChecksEveryField) {
  const struct {
    const char* what;
    RegisterAccess record;
    int error;
  } rows[] = {
      {"card", {1, 2, 0, 4, 0, 7}, ENODEV},
      {"bar", {0, 1, 0, 4, 0, 7}, EINVAL},
      {"op", {0, 2, 2, 4, 0, 7}, EINVAL},
      {"width 0", {0, 2, 0, 0, 0, 7}, EINVAL},
      {"width 3", {0, 2, 0, 3, 0, 7}, EINVAL},
      {"width 16", {0, 2, 0, 16, 0, 7}, EINVAL},
      {"end of the registers", {0, 2, 0, 4, 0xFFFFFD, 7}, EINVAL},
      {"beyond the registers", {0, 2, 0, 1, 0x1000000, 7}, EINVAL},
      {"beyond video memory", {0, 0, 1, 1, 0x10000000, 7}, EINVAL},
      {"wrapping", {0, 2, 0, 8, UINT64_MAX - 3, 7}, EINVAL},
  };
  trace().start();
  for (const auto& row : rows) {
    RegisterAccess record = row.record;
    EXPECT_EQ(reg(&record), row.error) << row.what;
    EXPECT_EQ(record.value, 7u) << row.what << ": a failed request changed its record";
  }
  EXPECT_TRUE(trace().entries().empty());
}

TEST_F(DriverDoorTest, KernelVersion) {
  KernelVersion record = {};
  EXPECT_EQ(request(0xC0106403, &record), 0);
  EXPECT_THAT(record.words, ElementsAre(1, 4, 0, 218));
}

TEST_F(DriverDoorTest, PciConfiguration) {
  PciAccess read = {0, 0, 0, 9};
  EXPECT_EQ(request(0xC0106404, &read), 0);
  EXPECT_EQ(read.value, 0x03025A56u);
  PciAccess write = {0, 1, 0x10, 0xFFFFFFFF};
  EXPECT_EQ(request(0xC0106404, &write), 0);
  PciAccess bar = {0, 0, 0x10, 0};
  EXPECT_EQ(request(0xC0106404, &bar), 0);
  EXPECT_EQ(bar.value, 0xF0000008u);
  PciAccess odd = {0, 0, 2, 9}, beyond = {0, 0, 4096, 9}, op = {0, 2, 0, 9}, card = {1, 0, 0, 9};
  EXPECT_EQ(request(0xC0106404, &odd), EINVAL);
  EXPECT_EQ(request(0xC0106404, &beyond), EINVAL);
  EXPECT_EQ(request(0xC0106404, &op), EINVAL);
  EXPECT_EQ(request(0xC0106404, &card), ENODEV);
  EXPECT_EQ(odd.value, 9u);
}

TEST_F(DriverDoorTest, InformationIsVideoMemoryUse) {
  Information record = {0, 1, 2, 3};
  EXPECT_EQ(request(0xC0106405, &record), 0);
  EXPECT_EQ(record.used, 128u);
  EXPECT_EQ(record.reserved, 0u);
  EXPECT_EQ(record.free, 1920u);
  record.card = 4;
  EXPECT_EQ(request(0xC0106405, &record), ENODEV);
}

TEST_F(DriverDoorTest, KernelMemory) {
  const uint64_t base = machine().config().kernel.base;
  KernelMemory write = {base + 8, 1, 4, 0xAABBCCDD};
  EXPECT_EQ(request(0xC0186406, &write), 0);
  KernelMemory read = {base + 9, 0, 2, 0};
  EXPECT_EQ(request(0xC0186406, &read), 0);
  EXPECT_EQ(read.value, 0xBBCCu);
  KernelMemory outside = {base - 1, 0, 1, 5}, width = {base, 0, 5, 5}, op = {base, 7, 1, 5};
  EXPECT_EQ(request(0xC0186406, &outside), EFAULT);
  EXPECT_EQ(request(0xC0186406, &width), EINVAL);
  EXPECT_EQ(request(0xC0186406, &op), EINVAL);
  EXPECT_EQ(outside.value, 5u);
}

TEST_F(DriverDoorTest, GenericOperationsAreAcceptedAndWrittenDown) {
  trace().start();
  for (const unsigned long number :
       {0xC0186407, 0xC0186408, 0xC0186409, 0xC018640A, 0xC018640B, 0xC018640E}) {
    Generic record = {{1, 2, 3, 4}, number};
    EXPECT_EQ(request(number, &record), 0) << std::hex << number;
  }
  Auxiliary ddr = {};
  const Generic generic = {{5, 6, 7, 8}, 9};
  memcpy(&ddr, &generic, sizeof generic);
  EXPECT_EQ(request(0xC214640C, &ddr), 0);
  EXPECT_THAT(trace().take(), ElementsAre("# request 0x07: 0x1 0x2 0x3 0x4 0xc0186407",
                                          "# request 0x08: 0x1 0x2 0x3 0x4 0xc0186408",
                                          "# request 0x09: 0x1 0x2 0x3 0x4 0xc0186409",
                                          "# request 0x0a: 0x1 0x2 0x3 0x4 0xc018640a",
                                          "# request 0x0b: 0x1 0x2 0x3 0x4 0xc018640b",
                                          "# request 0x0e: 0x1 0x2 0x3 0x4 0xc018640e",
                                          "# request 0x0c: 0x5 0x6 0x7 0x8 0x9"));
}

TEST_F(DriverDoorTest, AuxTransfersNeedASink) {
  Auxiliary read = {0, 1, 1, 0x202, 4, {}}, write = {0, 1, 0, 0x100, 1, {}},
            edid = {0, 1, 2, 0, 0, {}};
  for (Auxiliary* record : {&read, &write, &edid}) {
    EXPECT_EQ(request(0xC214640C, record), ETIMEDOUT);
  }
  read.length = 17;
  write.length = 0;
  EXPECT_EQ(request(0xC214640C, &read), EINVAL);
  EXPECT_EQ(request(0xC214640C, &write), EINVAL);
}

TEST_F(DriverDoorTest, LookupTableComesFromTheCaller) {
  std::vector<uint16_t> entries(3 * 256, 0x1234);
  const auto address = reinterpret_cast<uintptr_t>(entries.data());
  LutLoad load = {3, 256, address, address + 512, address + 1024};
  entries[256] = 0x5678;
  EXPECT_EQ(request(0xC0206413, &load), 0);
  EXPECT_EQ(board().lut(3)[0][0], 0x1234);
  EXPECT_EQ(board().lut(3)[1][0], 0x5678);
  LutLoad nowhere = load, crtc = load, size = load;
  nowhere.blue = 16;
  crtc.crtc = 4;
  size.size = 255;
  EXPECT_EQ(request(0xC0206413, &nowhere), EFAULT);
  EXPECT_EQ(request(0xC0206413, &crtc), EINVAL);
  EXPECT_EQ(request(0xC0206413, &size), EINVAL);
}

TEST_F(DriverDoorTest, I2cFindsNoDevices) {
  I2cTransfer record = {};
  for (record.bus = 0; record.bus < 6; ++record.bus) {
    record.result = 99;
    EXPECT_EQ(request(0xC21C640F, &record), 0);
    EXPECT_EQ(record.result, -2) << record.bus;
  }
  EXPECT_EQ(request(0xC21C640F, &record), 0);
  EXPECT_EQ(record.result, -1) << "bus 6";
  record.bus = 0;
  record.op = 2;
  EXPECT_EQ(request(0xC21C640F, &record), 0);
  EXPECT_EQ(record.result, -4);
  record.op = 0;
  record.length = 513;
  EXPECT_EQ(request(0xC21C640F, &record), 0);
  EXPECT_EQ(record.result, -4);
  record.card = 1;
  EXPECT_EQ(request(0xC21C640F, &record), ENODEV);
}

TEST_F(DriverDoorTest, QueriesAnswerFromTheBoard) {
  BoardConfig config;
  config.generation = Generation::rq301;
  config.cards = 2;
  config.of<ClockSettings>() = {11, 12, 13, 14, 15};
  config.cores = {16, 17};
  config.memory.channels = 12;
  config.engine_load = {{50}, {-1}, {100}};
  power_up_again(config);
  EXPECT_EQ(query_number(0), 0x201u);
  EXPECT_EQ(query_number(1), 11u);
  EXPECT_EQ(query_number(2), 12u);
  EXPECT_EQ(query_number(3), 13u);
  EXPECT_EQ(query_number(4), 14u);
  EXPECT_EQ(query_number(5), 15u);
  EXPECT_EQ(query_number(6), 16u);
  EXPECT_EQ(query_number(7), 17u);
  EXPECT_EQ(query_number(8), 2u);
  EXPECT_EQ(query_number(10), 12u);
  EXPECT_EQ(query_number(11, 0), 50u);
  EXPECT_EQ(query_number(11, 1), 0xFFFFFFFFu);
  EXPECT_EQ(query_number(11, 2), 100u);
  EXPECT_EQ(query_number(11, 3), 0xFFFFFFFFu) << "an engine that is not there";
  Query unknown = {0, 13, {}}, card = {2, 0, {}};
  unknown.data[5] = 0x77;
  EXPECT_EQ(request(0xC0886410, &unknown), EINVAL);
  EXPECT_EQ(unknown.data[5], 0x77) << "a failed request changed its record";
  EXPECT_EQ(request(0xC0886410, &card), ENODEV);
}

TEST_F(DriverDoorTest, TextsAreZeroFilled) {
  BoardConfig config;
  config.gop_version = "GOP x";
  config.firmware_version = std::string(200, 'F');
  power_up_again(config);
  Query record = {0, 9, {}};
  memset(record.data, 0xEE, sizeof record.data);
  EXPECT_EQ(request(0xC0886410, &record), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(record.data), "GOP x");
  EXPECT_EQ(record.data[127], 0);
  record.key = 12;
  EXPECT_EQ(request(0xC0886410, &record), 0);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(record.data)), std::string(127, 'F'));
}

TEST_F(DriverDoorTest, CommandDumpsFreeVideoMemory) {
  trace().start();
  Command record = {0, 5, {}, {}};
  memset(record.result, 0xEE, sizeof record.result);
  EXPECT_EQ(request(0xC0506411, &record), 0);
  EXPECT_THAT(record.result, Each(0u));
  EXPECT_THAT(trace().take(),
              ElementsAre("# card 0: free vram node: 0x78000000 bytes at 0x8000000"));
  record.command = 6;
  EXPECT_EQ(request(0xC0506411, &record), EINVAL);
  record = {1, 5, {}, {}};
  EXPECT_EQ(request(0xC0506411, &record), ENODEV);
}

TEST_F(DriverDoorTest, IoPorts) {
  IoportAccess write = {0xC2, 0x67, 1};
  EXPECT_EQ(request(0xC0036412, &write), 0);
  IoportAccess read = {0xCC, 0, 0};
  EXPECT_EQ(request(0xC0036412, &read), 0);
  EXPECT_EQ(read.value, 0x67);
  IoportAccess nobody = {0x10, 0, 0}, op = {0xCC, 0x11, 2};
  EXPECT_EQ(request(0xC0036412, &nobody), 0);
  EXPECT_EQ(nobody.value, 0xFF);
  EXPECT_EQ(request(0xC0036412, &op), EINVAL);
  EXPECT_EQ(op.value, 0x11);
}

TEST_F(DriverDoorTest, DdcChannelsAreTheHdmiPorts) {
  BoardConfig config;
  auto& edid = config.of<HdmiSettings>().port[2].edid;
  edid.resize(512);
  for (size_t i = 0; i < 512; ++i) edid[i] = static_cast<uint8_t>(i * 3 + i / 256);
  edid[126] = 3;
  power_up_again(config);
  DdcRead record = {};
  record.channel = 2;
  EXPECT_EQ(request(0xC2146402, &record), 0);
  EXPECT_EQ(record.result, 0);
  EXPECT_EQ(record.count, 512u);
  EXPECT_EQ(memcmp(record.data, edid.data(), 512), 0);
  faults().of<HdmiFaults>().port[2].ddc_nack_at_byte = 300;
  EXPECT_EQ(request(0xC2146402, &record), 0);
  EXPECT_EQ(record.result, -3);
  EXPECT_EQ(record.count, 0u);
  record.channel = 0;
  EXPECT_EQ(request(0xC2146402, &record), 0);
  EXPECT_EQ(record.result, -2) << "no monitor";
  EXPECT_THAT(record.data, Each(0));
  record.channel = 15;
  EXPECT_EQ(request(0xC2146402, &record), 0);
  EXPECT_EQ(record.result, -1) << "nothing is wired there";
  record.channel = 16;
  EXPECT_EQ(request(0xC2146402, &record), EINVAL);
}

TEST_F(DriverDoorTest, SensorCodesAreCommands) {
  BoardConfig config;
  config.of<SensorSettings>().process = {7, 8, 9};
  power_up_again(config);
  for (uint32_t type = 0; type < 5; ++type) {
    for (uint32_t sensor = 0; sensor < 2; ++sensor) {
      Command record = {0, type, {sensor, 4}, {}};
      EXPECT_EQ(request(0xC0506411, &record), 0);
      EXPECT_EQ(record.result[0], pvt_code(config.of<SensorSettings>(), type, sensor, 0));
    }
  }
  Command sensor = {0, 0, {2, 4}, {}}, card = {1, 0, {0, 4}, {}};
  EXPECT_EQ(request(0xC0506411, &sensor), EINVAL);
  EXPECT_EQ(request(0xC0506411, &card), ENODEV);
}

TEST_F(DriverDoorTest, PowerStateIsKeptFromOpenToOpen) {
  PowerState get = {0, 9};
  EXPECT_EQ(request(0xC0086414, &get), 0);
  EXPECT_EQ(get.state, 0u);
  PowerState set = {1, 2};
  EXPECT_EQ(request(0xC0086414, &set), 0);
  const int second = open("/dev/zvgrw", O_RDWR);
  EXPECT_EQ(ioctl(second, 0xC0086414, &get), 0);
  EXPECT_EQ(get.state, 2u);
  close(second);
  PowerState state = {1, 3}, op = {2, 0};
  EXPECT_EQ(request(0xC0086414, &state), EINVAL);
  EXPECT_EQ(request(0xC0086414, &op), EINVAL);
  EXPECT_EQ(machine().power_state(), 2u);
}

TEST_F(DriverDoorTest, FanAndTestTemperature) {
  FanRate rate = {33}, too_much = {101};
  EXPECT_EQ(request(0xC0046415, &rate), 0);
  EXPECT_EQ(board().part<Fan>().percent(), 33);
  EXPECT_EQ(request(0xC0046415, &too_much), EINVAL);
  EXPECT_EQ(board().part<Fan>().percent(), 33);
  TestTemperature hot = {90};
  EXPECT_EQ(request(0xC0046417, &hot), 0);
  EXPECT_EQ(request(0x6416, static_cast<void*>(nullptr)), 0);
  EXPECT_FALSE(board().part<Fan>().manual());
  EXPECT_EQ(board().part<Fan>().percent(), 100);
}

TEST_F(DriverDoorTest, AnswersFollowTheBoardsSignals) {
  BoardConfig config;
  config.engine_load = {{90, 10, 17}, {-1}, {5, 20, 17}};
  config.memory.used = {128, 13, 17};
  power_up_again(config);
  std::set<uint32_t> loads, used;
  for (int second = 0; second < 20; ++second) {
    clock().sleep(seconds(1));
    loads.insert(query_number(11, 0));
    EXPECT_LE(query_number(11, 0), 100u);
    EXPECT_EQ(query_number(11, 1), 0xFFFFFFFFu);
    EXPECT_LE(query_number(11, 2), 25u);
    Information record{};
    EXPECT_EQ(request(0xC0106405, &record), 0);
    EXPECT_EQ(record.used + record.free, 2048u);
    EXPECT_NEAR(record.used, 128, 13);
    used.insert(record.used);
  }
  EXPECT_GT(loads.size(), 5u);
  EXPECT_GT(used.size(), 5u);
}

TEST_F(DriverDoorTest, UnknownNumbersAreNotTheDrivers) {
  std::array<uint8_t, 1024> record{};
  const unsigned long numbers[] = {
      0xC020640D,  // unused
      0xC0046416,  // the fan's automatic control has no record
      0xC0206418,
      0xC01C6401 /* size */,
      0x40206401 /* direction */,
      0xC0206501 /* type */,
      0x5401 /* a terminal's */,
  };
  for (const unsigned long number : numbers) {
    EXPECT_EQ(request(number, record.data()), ENOTTY) << std::hex << number;
  }
  EXPECT_EQ(request(0xC0206401, static_cast<void*>(nullptr)), EFAULT);
}

TEST_F(DriverDoorTest, SeveralOpensReachOneBoard) {
  const int second = open64("/dev/zvgrw", O_RDWR);
  ASSERT_GE(second, 0);
  ASSERT_NE(second, fd_);
  RegisterAccess write = {0, 2, 1, 4, 0x300000, 5};
  EXPECT_EQ(ioctl(second, 0xC0206401, &write), 0);
  close(second);
  RegisterAccess read = {0, 2, 0, 4, 0x300000, 0};
  EXPECT_EQ(reg(&read), 0);
  EXPECT_EQ(read.value, 5u);
  errno = 0;
  EXPECT_EQ(ioctl(second, 0xC0206401, &read), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(DriverDoorTest, NodeIsNoFile) {
  char byte = 0;
  EXPECT_EQ(read(fd_, &byte, 1), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(write(fd_, &byte, 1), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(DriverDoorTest, CardsAreApart) {
  BoardConfig config;
  config.cards = 2;
  power_up_again(config);
  RegisterAccess write = {1, 2, 1, 4, 0x300000, 5};
  EXPECT_EQ(reg(&write), 0);
  EXPECT_EQ(peek(0x300000), 0u);
  EXPECT_EQ(board(1).dispatch_read(Space::mmio, 0x300000, 4), 5u);
}

TEST_F(DriverDoorTest, NodeThatGoesCannotBeOpenedAgain) {
  BoardConfig config;
  config.faults.node_gone_at_request = 2;
  power_up_again(config);
  RegisterAccess record = {0, 2, 1, 4, 0x300000, 5};
  EXPECT_EQ(reg(&record), 0);
  record.value = 6;
  EXPECT_EQ(reg(&record), ENODEV);
  EXPECT_EQ(peek(0x300000), 5u);
  EXPECT_EQ(open(driver_node, O_RDWR), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(DriverDoorTest, PlannedFaultFailsTheNthRequest) {
  BoardConfig config;
  config.faults.driver.push_back({.request = 2, .error = EBUSY});
  power_up_again(config);
  RegisterAccess record = {0, 2, 1, 4, 0x300000, 5};
  EXPECT_EQ(reg(&record), 0);
  record.value = 6;
  EXPECT_EQ(reg(&record), EBUSY);
  EXPECT_EQ(peek(0x300000), 5u) << "the failed write reached the board";
  EXPECT_EQ(reg(&record), 0);
  EXPECT_EQ(peek(0x300000), 6u);
}

}  // namespace
}  // namespace zvgsim
