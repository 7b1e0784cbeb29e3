// zvgctl info: what there is to know about the board.
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>

#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr size_t answer_size = 128;

struct NumberItem {
  const char* key;    // in JSON
  const char* label;  // for people
  unsigned query;
};

// The driver gives no units, so none are printed.
constexpr NumberItem clocks[] = {
    {"axi", "AXI clock", ZVG_QUERY_AXI_CLOCK}, {"vpu", "VPU clock", ZVG_QUERY_VPU_CLOCK},
    {"3d", "3D clock", ZVG_QUERY_3D_CLOCK},    {"2d", "2D clock", ZVG_QUERY_2D_CLOCK},
    {"ddr", "DDR clock", ZVG_QUERY_DDR_CLOCK},
};
constexpr NumberItem engines[] = {
    {"3d_cores", "3D cores", ZVG_QUERY_3D_CORES},
    {"2d_cores", "2D cores", ZVG_QUERY_2D_CORES},
    {"channel_mask", "Memory channel mask", ZVG_QUERY_CHANNEL_MASK},
};

struct BaseItem {
  const char* key;
  const char* label;
  size_t word;
};
constexpr BaseItem bases[] = {
    {"system_control", "System control", ZVG_HW_SYSTEM_CONTROL},
    {"spi_flash", "SPI flash controller", ZVG_HW_SPI_FLASH},
    {"clock", "Clocks and PLLs", ZVG_HW_CLOCK},
};

// Asks the driver, and once more when the request failed. What it will not tell shows as such.
bool told(Connection& connection, const std::function<int()>& question) {
  int result = -1;
  for (int i = 0; i < 2 && result != 0; ++i) connection.probing([&] { result = question(); });
  return result == 0;
}

std::optional<uint32_t> query_number(Connection& connection, unsigned key) {
  uint32_t value = 0;
  if (!told(connection, [&] { return zvgQueryInt(key, &value); })) return std::nullopt;
  return value;
}

std::optional<std::string> query_text(Connection& connection, int key) {
  char answer[answer_size] = {};
  const bool has_text =
      told(connection, [&] { return zvgQueryOperate(key, answer); }) && answer[0] != '\0';
  if (!has_text) return std::nullopt;
  return std::string(answer, strnlen(answer, sizeof answer));
}

template <typename Value>
Json or_null(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

void line(const char* label, const std::string& value) {
  printf("%-22s %s\n", label, zvg::printable(value).c_str());
}

// What the driver would not say stays visible as such.
std::string or_unknown(const std::optional<uint32_t>& value) {
  return value ? std::to_string(*value) : std::string("not told by the driver");
}

std::string or_unknown(const std::optional<std::string>& value) {
  return value ? *value : std::string("not told by the driver");
}

struct DriverInfo {
  std::optional<uint32_t> cards;
  std::optional<std::string> core_version;
  std::optional<std::string> gop_version;
  std::optional<std::string> firmware_version;
  std::optional<zvg_info> memory;
  std::optional<std::string> power_state;
};

DriverInfo ask_driver(Connection& connection) {
  DriverInfo info;
  info.cards = query_number(connection, ZVG_QUERY_CARDS);
  uint32_t version[4] = {};
  if (told(connection,
           [&] { return zvgKrtcoreVer(&version[0], &version[1], &version[2], &version[3]); })) {
    info.core_version = format("%u.%u.%u.%u", version[0], version[1], version[2], version[3]);
  }
  info.gop_version = query_text(connection, ZVG_QUERY_GOP_VERSION);
  info.firmware_version = query_text(connection, ZVG_QUERY_FIRMWARE_VERSION);
  zvg_info memory = {};
  if (told(connection, [&] { return zvgInfoRead(&memory); })) info.memory = memory;
  uint32_t state = 0;
  if (told(connection, [&] { return zvgPowerGetState(&state); }))
    info.power_state = zvgPowerStateName(state);
  return info;
}

void print_driver(Connection& connection, const DriverInfo& info) {
  line("Card", format("%d of %s", connection.route().card, or_unknown(info.cards).c_str()));
  line("Device id", hex(get_device_id(), 3));
  line("Driver core version", or_unknown(info.core_version));
  line("GOP version", or_unknown(info.gop_version));
  line("Firmware version", or_unknown(info.firmware_version));
  for (const NumberItem& item : clocks)
    line(item.label, or_unknown(query_number(connection, item.query)));
  for (const NumberItem& item : engines)
    line(item.label, or_unknown(query_number(connection, item.query)));
  line("Power state", or_unknown(info.power_state));
  if (info.memory) {
    line("Video memory used", std::to_string(info.memory->used));
    line("Video memory free", std::to_string(info.memory->free));
  } else {
    line("Video memory", "not told by the driver");
  }
}

void add_driver(Json& document, Connection& connection, const DriverInfo& info) {
  document["card"] = connection.route().card;
  document["cards"] = or_null(info.cards);
  document["device_id"] = hex(get_device_id(), 3);
  document["versions"] = {{"core", or_null(info.core_version)},
                          {"gop", or_null(info.gop_version)},
                          {"firmware", or_null(info.firmware_version)}};
  for (const NumberItem& item : clocks) {
    document["clocks"][item.key] = or_null(query_number(connection, item.query));
  }
  for (const NumberItem& item : engines)
    document[item.key] = or_null(query_number(connection, item.query));
  document["power_state"] = or_null(info.power_state);
  document["video_memory"] = Json();
  if (info.memory) {
    document["video_memory"] = {{"used", info.memory->used}, {"free", info.memory->free}};
  }
}

std::string aperture_text(const Aperture& aperture) {
  if (aperture.length == 0) return "not mapped";
  return format("0x%" PRIx64 " bytes at 0x%" PRIx64, aperture.length, aperture.base);
}

Json aperture_json(const Aperture& aperture) {
  return {{"base", address_text(aperture.base)}, {"bytes", aperture.length}};
}

void print_info(Connection& connection) {
  const Route& options = connection.route();
  line("Mode", zvgType2Str(get_s_type()));
  if (on_virtual_board()) line("Board", "virtual (" + virtual_board_name() + ")");
  if (options.door == Door::memory) {
    line("Register aperture", aperture_text(options.registers));
    line("Video memory aperture", aperture_text(options.video_memory));
  }
  if (options.door == Door::serial) line("Serial line", connection.line_name());
  line("Generation", connection.generation_known()  ? connection.generation_name()
                     : options.door == Door::driver ? "not told by the driver"
                                                    : "unknown: --generation tells");
  if (options.door == Door::driver) print_driver(connection, ask_driver(connection));
  if (!connection.generation_known()) return;
  for (const BaseItem& item : bases) line(item.label, hex(zvg_gpu_hardware[item.word], 6));
  const uint32_t channels = zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS];
  line("DDR channels", std::to_string(channels));
  for (uint32_t channel = 0; channel < channels; ++channel) {
    line(format("DDR %u controller", channel).c_str(),
         hex(zvg_gpu_hardware[ZVG_HW_DDR_CONTROLLER + channel], 6));
    line(format("DDR %u PHY", channel).c_str(), hex(zvg_gpu_hardware[ZVG_HW_DDR_PHY + channel], 6));
  }
}

Json info_json(Connection& connection) {
  const Route& options = connection.route();
  Json document;
  document["mode"] = zvgType2Str(get_s_type());
  document["virtual_board"] = on_virtual_board() ? Json(virtual_board_name()) : Json();
  if (options.door == Door::memory) {
    document["apertures"] = {{"mmio", aperture_json(options.registers)},
                             {"vram", aperture_json(options.video_memory)}};
  }
  if (options.door == Door::serial) {
    document["serial"] = {{"device", options.device}, {"baud", options.baud}};
  }
  document["generation"] =
      connection.generation_known() ? Json(connection.generation_name()) : Json();
  if (options.door == Door::driver) add_driver(document, connection, ask_driver(connection));
  if (!connection.generation_known()) return document;
  Json& blocks = document["block_bases"];
  for (const BaseItem& item : bases) blocks[item.key] = address_text(zvg_gpu_hardware[item.word]);
  blocks["ddr"] = Json::array();
  for (uint32_t channel = 0; channel < zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS]; ++channel) {
    blocks["ddr"].push_back(
        {{"controller", address_text(zvg_gpu_hardware[ZVG_HW_DDR_CONTROLLER + channel])},
         {"phy", address_text(zvg_gpu_hardware[ZVG_HW_DDR_PHY + channel])}});
  }
  return document;
}

void info_command(const Context& context) {
  Connection connection(context, 0, /*any_chip=*/true);
  if (context.json) {
    print_json(info_json(connection));
  } else {
    print_info(connection);
  }
}

}  // namespace

void add_info(CLI::App& application, Context& context) {
  CLI::App* const command = application.add_subcommand(
      "info", "Show the connection, the chip, its versions, clocks and block bases");
  command->footer(
      "The driver knows most; --mem and --serial show what they can. Numbers are the driver's "
      "own,\n"
      "in its units.\n"
      "Examples:\n"
      "  zvgctl info\n"
      "  zvgctl info --json --sim\n"
      "  zvgctl info --serial /dev/ttyUSB0 --generation rq302");
  command->callback([&context] { context.action = [&context] { info_command(context); }; });
}

}  // namespace zvgctl
