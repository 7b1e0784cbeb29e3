#include "board/board_file.h"

#include <errno.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>

#include "board/file_table.h"

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace zvgsim {

namespace {

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return text;
}

constexpr struct {
  std::string_view name;
  Generation value;
} generations[] = {
    {"rq300", Generation::rq300}, {"rq301", Generation::rq301}, {"rq302", Generation::rq302}};

constexpr struct {
  std::string_view name;
  UartAction value;
} uart_actions[] = {{"drop", UartAction::drop},
                    {"corrupt", UartAction::corrupt},
                    {"cut", UartAction::cut},
                    {"delay", UartAction::delay},
                    {"noise", UartAction::noise}};

constexpr struct {
  std::string_view name;
  Space value;
} initial_spaces[] = {{"mmio", Space::mmio}, {"vram", Space::vram}, {"kmem", Space::kmem}};

constexpr struct {
  std::string_view name;
  int value;
} errnos[] = {{"EPERM", EPERM},   {"EIO", EIO},       {"ENXIO", ENXIO},   {"EAGAIN", EAGAIN},
              {"ENOMEM", ENOMEM}, {"EACCES", EACCES}, {"EFAULT", EFAULT}, {"EBUSY", EBUSY},
              {"ENODEV", ENODEV}, {"EINVAL", EINVAL}, {"ENOTTY", ENOTTY}, {"ETIMEDOUT", ETIMEDOUT}};

void read_versions(FileTable& versions, BoardConfig& config) {
  versions.numbers("kernel", &config.kernel_version,
                   [](const FileValue& value, uint32_t* number) { value.number(number); });
  constexpr size_t longest = 127;  // the driver's answer has 128 bytes
  versions.text("gop", &config.gop_version, longest);
  versions.text("firmware", &config.firmware_version, longest);
}

void read_engines(FileTable& table, BoardConfig& config) {
  const auto load = table.array("load", "an array of numbers");
  if (!load) return;
  const auto elements = load->elements();
  for (const FileValue& element : elements) {
    constexpr double absent = -1;
    Signal signal = {absent};
    if (element.real() == absent || element.signal(&signal, 0, 100)) {
      config.engine_load.push_back(signal);
    }
  }
  if (elements.size() > engines) {
    load->expected("at most " + std::to_string(engines) + " numbers");
  }
}

void read_aperture(FileTable& table, BoardConfig& config) {
  const struct {
    std::string_view part;
    uint64_t* base;
    uint64_t size;
  } apertures[] = {{"mmio_base", &config.aperture.mmio_base, mmio_size},
                   {"vram_base", &config.aperture.vram_base, vram_size}};
  for (const auto& [part, base, size] : apertures) {
    const auto found = table.find(part);
    if (found && found->number(base, 0, UINT32_MAX) && *base % size != 0) {
      found->expected("a multiple of its size, " + hex(size));
    }
  }
  const uint64_t mmio = config.aperture.mmio_base;
  const uint64_t vram = config.aperture.vram_base;
  if (mmio < vram + vram_size && vram < mmio + mmio_size) {
    table.problem("the two apertures overlap");
  }
}

void read_kernel(FileTable& table, BoardConfig& config) {
  table.number("base", &config.kernel.base);
  table.number("size", &config.kernel.size, 8, 1u << 30);
  if (config.kernel.base > UINT64_MAX - config.kernel.size) {
    table.problem("expected the range to end before 2^64");
  }
}

// What every board has, but for the registers.
void read_board(FileTable& root, BoardConfig& config) {
  root.text("description", &config.description);
  root.choice("generation", generations, &config.generation);
  root.number("cards", &config.cards, 1, max_cards);
  root.table("versions", [&](FileTable& table) { read_versions(table, config); });
  root.table("cores", [&](FileTable& table) {
    table.number("3d", &config.cores.core_3d);
    table.number("2d", &config.cores.core_2d);
  });
  root.table("memory", [&](FileTable& table) {
    table.signal("used", &config.memory.used, 0, UINT32_MAX);
    table.number("free", &config.memory.free);
    table.number("channels", &config.memory.channels);
  });
  root.table("engines", [&](FileTable& table) { read_engines(table, config); });
  root.table("aperture", [&](FileTable& table) { read_aperture(table, config); });
  root.table("kernel", [&](FileTable& table) { read_kernel(table, config); });
  root.table("uart", [&](FileTable& table) {
    table.number("baud", &config.uart.baud, 300, 3'000'000);
    table.number("reply_delay_us", &config.uart.reply_delay_us, 0, 60'000'000);
    table.boolean("instant", &config.uart.instant);
  });
}

void read_register(FileTable& table, BoardConfig& config) {
  InitialValue initial;
  table.choice("space", initial_spaces, &initial.space);
  if (!table.number("offset", &initial.offset) && !table.has("offset")) {
    table.problem("expected an offset");
  }
  if (!table.number("value", &initial.value) && !table.has("value")) {
    table.problem("expected a value");
  }
  const auto width = table.find("width");
  if (width && width->number(&initial.width, 1, 8) && (initial.width & (initial.width - 1)) != 0) {
    width->expected("1, 2, 4 or 8");
  }
  table.number("after_reads", &initial.after_reads);
  if (initial.after_reads != 0 && initial.space != Space::mmio) {
    table.problem("expected the space \"mmio\" with after_reads");
  }
  const bool kernel = initial.space == Space::kmem;
  const uint64_t start = kernel ? config.kernel.base : 0;
  const uint64_t size = kernel                         ? config.kernel.size
                        : initial.space == Space::mmio ? mmio_size
                                                       : vram_size;
  if (initial.offset < start || initial.offset - start >= size ||
      initial.width > size - (initial.offset - start)) {
    table.problem("expected an offset from " + hex(start) + " to " + hex(start + size - 1) +
                  ", found " + hex(initial.offset));
    return;
  }
  config.registers.push_back(initial);
}

// Which of a sequence a fault strikes.
void read_when(FileTable& fault, std::string_view which, uint64_t* number, double* probability,
               uint64_t* count) {
  const bool numbered = fault.number(which, number, 1);
  fault.real("probability", probability, 0, 1);
  const bool chance = fault.has("probability");
  if (fault.has(which) == chance) {
    fault.problem("expected either '" + std::string(which) + "' or 'probability'");
  }
  fault.number("count", count, 1);
  if (!numbered && fault.has("count") && chance) {
    fault.problem("'count' goes with '" + std::string(which) + "', not with 'probability'");
  }
}

void read_driver_fault(FileTable& table, FaultConfig& faults) {
  DriverFault fault;
  read_when(table, "request", &fault.request, &fault.probability, &fault.count);
  table.number("number", &fault.number, 0, 0xFF);
  if (const auto error = table.find("errno")) {
    if (error->text()) {
      table.choice("errno", errnos, &fault.error);
    } else {
      error->number(&fault.error, 1, 4095);
    }
  }
  faults.driver.push_back(fault);
}

void read_uart_fault(FileTable& table, FaultConfig& faults) {
  UartFault fault;
  read_when(table, "reply", &fault.reply, &fault.probability, &fault.count);
  if (!table.choice("action", uart_actions, &fault.action) && !table.has("action")) {
    table.problem("expected an action = " + quoted_names(uart_actions));
  }
  table.number("bytes", &fault.bytes, 0, 1024);
  table.number("delay_ms", &fault.delay_ms, 0, 3'600'000);
  faults.uart.push_back(fault);
}

void read_faults(FileTable& table, FaultConfig& faults, std::span<const Model> models) {
  table.number("seed", &faults.seed);
  table.boolean("reads_ones", &faults.reads_ones);
  table.tables("driver", [&](FileTable& fault) { read_driver_fault(fault, faults); });
  table.tables("uart", [&](FileTable& fault) { read_uart_fault(fault, faults); });
  table.table("node", [&](FileTable& node) {
    node.number("gone_at_request", &faults.node_gone_at_request, 1, UINT64_MAX);
  });
  for (const Model& model : models) {
    if (model.read_faults != nullptr) model.read_faults(table, faults);
  }
}

}  // namespace

BoardFileError::BoardFileError(std::vector<std::string> problems)
    : std::runtime_error(joined(problems)), problems_(std::move(problems)) {}

BoardConfig load_board_file(const std::string& path, std::span<const Model> models) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw BoardFileError({path + ": is a directory"});
  }
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw BoardFileError({path + ": " + strerror(errno)});
  std::ostringstream text;
  text << stream.rdbuf();
  BoardConfig config;
  FileReport report = {path};
  try {
    const toml::table table = toml::parse(std::string_view(text.view()), path);
    FileTable root(report, table, "");
    read_board(root, config);
    for (const Model& model : models) {
      if (model.read != nullptr) model.read(root, config);
    }
    root.tables("registers", [&](FileTable& one) { read_register(one, config); });
    root.table("faults", [&](FileTable& faults) { read_faults(faults, config.faults, models); });
  } catch (const toml::parse_error& failure) {
    report.problems.push_back(path + ":" + std::to_string(failure.source().begin.line) + ": " +
                              std::string(failure.description()));
  }
  if (!report.problems.empty()) throw BoardFileError(std::move(report.problems));
  return config;
}

}  // namespace zvgsim
