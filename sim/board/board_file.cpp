#include "board/board_file.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include "devices/axi/axi_ports.h"

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace zvgsim {

namespace {

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return text;
}

// How many letters have to be changed, added or taken away to make b of a.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t i = 0; i <= b.size(); ++i) row[i] = i;
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t above = row[j + 1];
      row[j + 1] = std::min({above + 1, row[j] + 1, diagonal + (a[i] == b[j] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
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
  PowerChip value;
} power_chips[] = {{"ltc2990", PowerChip::ltc2990},
                   {"ltc2991", PowerChip::ltc2991},
                   {"ina3221", PowerChip::ina3221}};

// What each power monitor has, and where on the bus it can be.
struct PowerChipTraits {
  size_t inputs, shunts;
  uint8_t first_address, last_address;
};
constexpr PowerChipTraits traits_of(PowerChip chip) {
  switch (chip) {
    case PowerChip::ltc2990:
      return {4, 2, 0x4C, 0x4F};
    case PowerChip::ltc2991:
      return {8, 4, 0x48, 0x4F};
    default:
      return {3, 3, 0x40, 0x43};
  }
}

constexpr struct {
  std::string_view name;
} pll_names[plls] = {{"devpll"}, {"dev2pll"}, {"gpupll"}, {"gpu2pll"}};

constexpr struct {
  std::string_view name;
  int value;
} errnos[] = {{"EPERM", EPERM},   {"EIO", EIO},       {"ENXIO", ENXIO},   {"EAGAIN", EAGAIN},
              {"ENOMEM", ENOMEM}, {"EACCES", EACCES}, {"EFAULT", EFAULT}, {"EBUSY", EBUSY},
              {"ENODEV", ENODEV}, {"EINVAL", EINVAL}, {"ENOTTY", ENOTTY}, {"ETIMEDOUT", ETIMEDOUT}};

constexpr struct {
  std::string_view name;
  AxiLoad value;
} axi_loads[] = {
    {"idle", AxiLoad::idle}, {"bursty", AxiLoad::bursty}, {"saturated", AxiLoad::saturated}};

template <typename Row, size_t size>
std::string names(const Row (&rows)[size]) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    text += i == 0 ? "" : i + 1 == size ? " or " : ", ";
    text += '"';
    text += rows[i].name;
    text += '"';
  }
  return text;
}

// What stands in the file, for "found ...".
std::string shown(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return "a table";
    case toml::node_type::array:
      return "an array of " + std::to_string(node.as_array()->size());
    case toml::node_type::string:
      return "\"" + node.as_string()->get() + "\"";
    case toml::node_type::integer:
      return std::to_string(node.as_integer()->get());
    case toml::node_type::boolean:
      return node.as_boolean()->get() ? "true" : "false";
    case toml::node_type::floating_point: {
      std::ostringstream text;
      text << node.as_floating_point()->get();
      return text.str();
    }
    default:
      return "a date or time";
  }
}

std::string hex(uint64_t value) {
  char digits[24];
  snprintf(digits, sizeof digits, "0x%llX", static_cast<unsigned long long>(value));
  return digits;
}

// Limits read better in hex when they are round there.
std::string limit(uint64_t value) {
  return value > 99'999 ? hex(value) : std::to_string(value);
}

class Loader {
 public:
  explicit Loader(std::string path) : path_(std::move(path)) {}
  BoardConfig load();

 private:
  void problem(const toml::node& node, const std::string& key, const std::string& text) {
    problems_.push_back(path_ + ":" + std::to_string(node.source().begin.line) + ": " +
                        (key.empty() ? "" : key + ": ") + text);
  }
  void expected(const toml::node& node, const std::string& key, const std::string& what) {
    problem(node, key, "expected " + what + ", found " + shown(node));
  }

  // One table of the file, with its name for messages. Every key that is looked up counts as known.
  class Table {
   public:
    Table(Loader& loader, const toml::table& table, std::string name)
        : loader_(loader), table_(table), name_(std::move(name)) {}
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    ~Table() { report_unknown(); }

    const toml::table& toml() const { return table_; }
    std::string key(std::string_view part) const {
      return name_.empty() ? std::string(part) : name_ + "." + std::string(part);
    }

    const toml::node* find(std::string_view part) {
      known_.push_back(part);
      return table_.get(part);
    }

    // Each stores the key's value and returns true when it is there and right.
    template <typename Number>
    bool number(std::string_view part, Number* value, uint64_t minimum = 0,
                uint64_t maximum = std::numeric_limits<Number>::max()) {
      const toml::node* const node = find(part);
      return node != nullptr && loader_.unsigned_value(*node, key(part), value, minimum, maximum);
    }
    // As number(), for a key that the table cannot do without.
    template <typename Number>
    bool needed(std::string_view part, Number* value, uint64_t minimum, uint64_t maximum) {
      if (number(part, value, minimum, maximum)) return true;
      if (!table_.contains(part)) problem("expected a key '" + std::string(part) + "'");
      return false;
    }
    bool signal(std::string_view part, Signal* value) {
      const toml::node* const node = find(part);
      return node != nullptr && loader_.read_signal(*node, key(part), value);
    }
    // A number that need not be whole.
    bool real(std::string_view part, double* value, double minimum, double maximum) {
      const toml::node* const node = find(part);
      if (node == nullptr) return false;
      const auto found = node->value<double>();
      if (!found || *found < minimum || *found > maximum) {
        std::ostringstream what;
        what << "a number from " << minimum << " to " << maximum;
        loader_.expected(*node, key(part), what.str());
        return false;
      }
      *value = *found;
      return true;
    }
    template <typename Number>
    bool number(std::string_view part, std::optional<Number>* value, uint64_t minimum,
                uint64_t maximum) {
      Number found;
      if (!number(part, &found, minimum, maximum)) return false;
      *value = found;
      return true;
    }
    bool boolean(std::string_view part, bool* value) {
      const toml::node* const node = find(part);
      if (node == nullptr) return false;
      if (!node->is_boolean()) {
        loader_.expected(*node, key(part), "true or false");
        return false;
      }
      *value = node->as_boolean()->get();
      return true;
    }
    bool boolean(std::string_view part, std::optional<bool>* value) {
      bool found;
      if (!boolean(part, &found)) return false;
      *value = found;
      return true;
    }
    bool text(std::string_view part, std::string* value,
              size_t maximum = std::numeric_limits<size_t>::max()) {
      const toml::node* const node = find(part);
      if (node == nullptr) return false;
      if (!node->is_string() || node->as_string()->get().size() > maximum) {
        loader_.expected(*node, key(part),
                         maximum == std::numeric_limits<size_t>::max()
                             ? std::string("a string")
                             : "a string of at most " + std::to_string(maximum) + " bytes");
        return false;
      }
      *value = node->as_string()->get();
      return true;
    }
    // One of the names in rows.
    template <typename Row, size_t size, typename Value>
    bool choice(std::string_view part, const Row (&rows)[size], Value* value) {
      const toml::node* const node = find(part);
      if (node == nullptr) return false;
      if (node->is_string()) {
        for (const Row& row : rows) {
          if (node->as_string()->get() == row.name) {
            *value = row.value;
            return true;
          }
        }
      }
      loader_.expected(*node, key(part), names(rows));
      return false;
    }
    // Calls each(node, name) for the elements of an array.
    template <typename Each>
    const toml::array* array(std::string_view part, const std::string& what, Each each) {
      const toml::node* const node = find(part);
      if (node == nullptr) return nullptr;
      const toml::array* const array = node->as_array();
      if (array == nullptr) {
        loader_.expected(*node, key(part), what);
        return nullptr;
      }
      size_t index = 0;
      for (const toml::node& element : *array) {
        each(element, key(part) + "[" + std::to_string(index++) + "]");
      }
      return array;
    }
    // Calls each(table) for a table.
    template <typename Each>
    void table(std::string_view part, Each each) {
      const toml::node* const node = find(part);
      if (node == nullptr) return;
      if (!node->is_table()) {
        loader_.expected(*node, key(part), "a table, as [" + key(part) + "]");
        return;
      }
      Table inner(loader_, *node->as_table(), key(part));
      each(inner);
    }
    // Calls each(table) for an array of tables.
    template <typename Each>
    void tables(std::string_view part, Each each) {
      const std::string what = "an array of tables, as [[" + key(part) + "]]";
      array(part, what, [&](const toml::node& node, const std::string& name) {
        if (!node.is_table()) {
          loader_.expected(node, name, "a table, as [[" + key(part) + "]]");
          return;
        }
        Table inner(loader_, *node.as_table(), name);
        each(inner);
      });
    }
    void problem(const std::string& text) { loader_.problem(table_, name_, text); }

   private:
    void report_unknown() {
      for (const auto& [found, node] : table_) {
        if (std::find(known_.begin(), known_.end(), found.str()) != known_.end()) continue;
        std::string text = "unknown key";
        const auto best = std::min_element(known_.begin(), known_.end(), [&](auto a, auto b) {
          return distance(found.str(), a) < distance(found.str(), b);
        });
        if (best != known_.end() &&
            distance(found.str(), *best) <= std::max<size_t>(1, best->size() / 2)) {
          text += "; did you mean '" + std::string(*best) + "'?";
        } else {
          text += "; known here:";
          for (const std::string_view one : known_) text += " " + std::string(one);
        }
        loader_.problems_.push_back(loader_.path_ + ":" +
                                    std::to_string(found.source().begin.line) + ": " +
                                    key(found.str()) + ": " + text);
      }
    }

    Loader& loader_;
    const toml::table& table_;
    const std::string name_;
    std::vector<std::string_view> known_;
  };

  template <typename Number>
  bool unsigned_value(const toml::node& node, const std::string& key, Number* value,
                      uint64_t minimum, uint64_t maximum) {
    uint64_t number = 0;
    bool valid = false;
    if (const auto* integer = node.as_integer()) {
      valid = integer->get() >= 0;
      number = static_cast<uint64_t>(integer->get());
    } else if (const auto* text = node.as_string(); text != nullptr && maximum > INT64_MAX) {
      // TOML's integers end at 2^63 - 1: larger numbers are hexadecimal strings.
      const std::string& digits = text->get();
      const char* const end = digits.data() + digits.size();
      valid = digits.starts_with("0x") && digits.size() > 2 &&
              std::from_chars(digits.data() + 2, end, number, 16).ptr == end;
    }
    if (!valid || number < minimum || number > maximum) {
      std::string what = "a number from " + limit(minimum) + " to " + limit(maximum);
      if (maximum > INT64_MAX) what += " (in quotes, as \"0x...\", from 0x8000000000000000 on)";
      expected(node, key, what);
      return false;
    }
    *value = static_cast<Number>(number);
    return true;
  }

  void read_sensors(Table& sensors);
  void read_root(Table& root);
  void read_hdmi(Table& port);
  void read_dp(Table& port);
  void read_channel(const toml::array& array, const std::string& key, DpPortSettings* port);
  void read_crtc(Table& crtc);
  void read_dp_faults(Table& table);
  void read_edid(const toml::node& node, const std::string& key, const std::string& file,
                 std::vector<uint8_t>* edid);
  void read_timing(const toml::array& array, const std::string& key,
                   std::optional<ModeTiming>* timing);
  bool read_signal(const toml::node& node, const std::string& key, Signal* signal);
  bool read_signal_within(const toml::node& node, const std::string& key, double minimum,
                          double maximum, Signal* signal);
  bool read_i2c_place(Table& table, unsigned* bus, uint8_t* address, uint8_t first, uint8_t last);
  void read_power_monitor(Table& table);
  void read_i2c_memory(Table& table);
  void read_video(Table& table);
  void read_mcu(Table& table);
  void read_flash(Table& table);
  void read_register(Table& table);
  void read_axi(Table& table);
  void read_training(Table& table);
  void read_training_channel(Table& table);
  void read_eye(Table& table, std::string_view part, EyeShape* eye);
  void read_message(const toml::node& node, const std::string& key,
                    std::vector<TrainingMessage>* messages);
  void read_faults(Table& faults);
  // Reads which of a sequence a fault strikes.
  void read_when(Table& fault, std::string_view which, uint64_t* number, double* probability,
                 uint64_t* count);

  const std::string path_;
  BoardConfig config_;
  std::array<bool, hdmi_ports> port_seen_{};
  std::array<bool, dp_ports> dp_seen_{};
  std::array<bool, max_training_channels> channel_seen_{};
  std::set<std::pair<unsigned, uint8_t>> i2c_taken_;  // bus and address
  std::vector<std::string> problems_;
};

void Loader::read_edid(const toml::node& node, const std::string& key, const std::string& file,
                       std::vector<uint8_t>* edid) {
  const auto place = std::filesystem::path(path_).parent_path() / file;
  std::error_code error;
  const auto size = std::filesystem::file_size(place, error);
  if (error) {
    problem(node, key, "cannot read '" + place.string() + "': " + error.message());
    return;
  }
  if (size == 0 || size % edid_block_size != 0 || size > edid_block_size * max_edid_blocks) {
    problem(node, key,
            "expected a file of 1 to 256 blocks of 128 bytes, found " + std::to_string(size) +
                " bytes in '" + place.string() + "'");
    return;
  }
  edid->resize(size);
  std::ifstream stream(place, std::ios::binary);
  if (!stream.read(reinterpret_cast<char*>(edid->data()), static_cast<std::streamsize>(size))) {
    problem(node, key, "cannot read '" + place.string() + "'");
  }
}

void Loader::read_timing(const toml::array& array, const std::string& key,
                         std::optional<ModeTiming>* timing) {
  constexpr size_t words = 9;
  uint32_t w[words] = {};
  bool valid = array.size() == words;
  for (size_t i = 0; valid && i < words; ++i) {
    const auto* const integer = array.get(i)->as_integer();
    valid = integer != nullptr && integer->get() >= 0 && integer->get() <= 0xFFFFFF;
    if (valid) w[i] = static_cast<uint32_t>(integer->get());
  }
  const auto rising = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return a <= b && b <= c && c <= d;
  };
  // The widths of the frame composer's registers.
  valid = valid && rising(w[1], w[2], w[3], w[4]) && rising(w[5], w[6], w[7], w[8]) &&
          w[1] < 8192 && w[4] - w[1] < 8192 && w[2] - w[1] < 8192 && w[3] - w[2] < 1024 &&
          w[5] < 8192 && w[8] - w[5] < 256 && w[6] - w[5] < 256 && w[7] - w[6] < 256;
  if (!valid) {
    problem(array, key,
            "expected [kHz, hactive, hsync start, hsync end, htotal, vactive, vsync start, vsync "
            "end, vtotal], rising, actives below 8192, blanking below 8192 by 256");
    return;
  }
  *timing = ModeTiming{w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8]};
}

void Loader::read_hdmi(Table& table) {
  unsigned number = hdmi_ports;
  HdmiPortSettings port;
  const bool named = table.number("port", &number, 0, hdmi_ports - 1);
  if (!named && !table.toml().contains("port")) table.problem("expected a port = 0 to 3");
  if (named && port_seen_[number]) {
    table.problem("port " + std::to_string(number) + " is described a second time");
  }
  std::string file;
  if (table.text("edid", &file)) {
    read_edid(*table.toml().get("edid"), table.key("edid"), file, &port.edid);
  }
  table.boolean("hot_plug", &port.hot_plug);
  table.number("receiver_sense", &port.receiver_sense, 0, 0xF);
  if (const toml::array* timing = table.array("timing", "an array of 9 numbers",
                                              [](const toml::node&, const std::string&) {})) {
    read_timing(*timing, table.key("timing"), &port.timing);
  }
  table.boolean("pixel_clock", &port.pixel_clock);
  table.number("pll_lock_ms", &port.pll_lock_ms, 0, 60'000);
  if (!named) return;
  port_seen_[number] = true;
  config_.hdmi[number] = std::move(port);
}

bool Loader::read_signal(const toml::node& node, const std::string& key, Signal* signal) {
  if (const auto value = node.value<double>()) {
    *signal = {*value};
    return true;
  }
  if (!node.is_table()) {
    expected(node, key, "a number, or { value = ..., swing = ..., period_s = ... }");
    return false;
  }
  constexpr double anything = 1e9;
  Table table(*this, *node.as_table(), key);
  table.real("value", &signal->value, -anything, anything);
  table.real("swing", &signal->swing, 0, anything);
  table.real("period_s", &signal->period_s, 0.001, anything);
  return true;
}

// Where a chip stands. Two at one place would answer at once.
bool Loader::read_i2c_place(Table& table, unsigned* bus, uint8_t* address, uint8_t first,
                            uint8_t last) {
  const bool bus_known = table.needed("bus", bus, 0, i2c_buses - 1);
  const bool address_known = table.needed("address", address, first, last);
  if (!bus_known || !address_known) return false;
  if (!i2c_taken_.insert({*bus, *address}).second) {
    table.problem("bus " + std::to_string(*bus) + " has another chip at " + hex(*address));
    return false;
  }
  return true;
}

void Loader::read_power_monitor(Table& table) {
  PowerMonitorSettings monitor;
  if (!table.choice("chip", power_chips, &monitor.chip) && !table.toml().contains("chip")) {
    table.problem("expected a chip = " + names(power_chips));
  }
  const PowerChipTraits traits = traits_of(monitor.chip);
  const bool placed = read_i2c_place(table, &monitor.bus, &monitor.address, traits.first_address,
                                     traits.last_address);
  table.text("name", &monitor.name);
  table.signal("supply", &monitor.supply);
  table.signal("temperature", &monitor.temperature);
  table.array("volts", "an array of numbers", [&](const toml::node& node, const std::string& key) {
    read_signal(node, key, &monitor.volts.emplace_back());
  });
  table.tables("shunts", [&](Table& shunt) {
    Shunt& one = monitor.shunts.emplace_back();
    shunt.text("name", &one.name);
    shunt.real("milliohms", &one.milliohms, 0.001, 1e6);
    shunt.signal("amperes", &one.amperes);
  });
  if (monitor.volts.size() > traits.inputs || monitor.shunts.size() > traits.shunts) {
    table.problem("expected at most " + std::to_string(traits.inputs) + " volts and " +
                  std::to_string(traits.shunts) + " shunts");
  }
  if (placed) config_.power_monitors.push_back(std::move(monitor));
}

void Loader::read_i2c_memory(Table& table) {
  I2cMemorySettings memory;
  const bool placed = read_i2c_place(table, &memory.bus, &memory.address, 0x08, 0x77);
  table.array("contents", "an array of bytes", [&](const toml::node& node, const std::string& key) {
    uint8_t byte = 0;
    unsigned_value(node, key, &byte, 0, 0xFF);
    memory.contents.push_back(byte);
  });
  if (memory.contents.size() > 256) table.problem("expected at most 256 bytes of contents");
  if (placed) config_.i2c_memories.push_back(std::move(memory));
}

void Loader::read_video(Table& table) {
  VideoInputSettings input;
  unsigned port = 0;
  const bool named = table.needed("port", &port, 0, video_inputs - 1);
  const bool placed = read_i2c_place(table, &input.bus, &input.address, 0x24, 0x25);
  table.number("width", &input.width, 0, 0x7FFF);
  table.number("height", &input.height, 0, 0xFFFF);
  if (!named || !placed) return;
  if (config_.video[port]) {
    table.problem("port " + std::to_string(port) + " is described a second time");
  }
  config_.video[port] = input;
}

void Loader::read_mcu(Table& table) {
  table.boolean("running", &config_.mcu.running);
  table.tables("monitors", [&](Table& one) {
    McuSettings::MonitorOn monitor;
    one.needed("first", &monitor.first_selector, 0, 15);
    one.needed("second", &monitor.second_selector, 0, 15);
    std::string file;
    if (one.text("edid", &file)) {
      read_edid(*one.toml().get("edid"), one.key("edid"), file, &monitor.edid);
    } else if (!one.toml().contains("edid")) {
      one.problem("expected a key 'edid'");
    }
    config_.mcu.monitors.push_back(std::move(monitor));
  });
}

void Loader::read_channel(const toml::array& array, const std::string& key, DpPortSettings* port) {
  bool valid = array.size() == dp_lanes;
  for (size_t lane = 0; valid && lane < dp_lanes; ++lane) {
    const auto* const levels = array.get(lane)->as_array();
    const auto level = [&](size_t i) -> std::optional<unsigned> {
      const auto* const integer = levels->get(i)->as_integer();
      if (integer == nullptr || integer->get() < 0 || integer->get() > 3) return {};
      return static_cast<unsigned>(integer->get());
    };
    valid = levels != nullptr && levels->size() == 2 && level(0) && level(1);
    if (valid) port->channel[lane] = {*level(0), *level(1)};
  }
  if (!valid) problem(array, key, "expected [swing, pre-emphasis] of 0 to 3 for each of 4 lanes");
}

void Loader::read_dp(Table& table) {
  unsigned number = dp_ports;
  DpPortSettings port;
  port.sink = true;
  const bool named = table.number("port", &number, 0, dp_ports - 1);
  if (!named && !table.toml().contains("port")) table.problem("expected a port = 0 to 3");
  if (named && dp_seen_[number]) {
    table.problem("port " + std::to_string(number) + " is described a second time");
  }
  std::string file;
  if (table.text("edid", &file)) {
    read_edid(*table.toml().get("edid"), table.key("edid"), file, &port.edid);
  }
  table.boolean("sink", &port.sink);
  table.number("rate", &port.rate);
  table.number("lanes", &port.lanes, 0, 31);
  table.number("revision", &port.revision);
  table.number("aux_interval", &port.aux_interval);
  table.boolean("panel", &port.panel);
  if (const toml::array* channel = table.array("channel", "an array of 4 arrays",
                                               [](const toml::node&, const std::string&) {})) {
    read_channel(*channel, table.key("channel"), &port);
  }
  if (!named) return;
  dp_seen_[number] = true;
  config_.dp[number] = std::move(port);
}

void Loader::read_crtc(Table& table) {
  unsigned number = crtcs;
  CrtcSettings crtc{};
  std::optional<ModeTiming> timing;
  const bool named = table.number("number", &number, 0, crtcs - 1);
  if (!named && !table.toml().contains("number")) table.problem("expected a number = 0 to 3");
  if (const toml::array* array = table.array("timing", "an array of 9 numbers",
                                             [](const toml::node&, const std::string&) {})) {
    read_timing(*array, table.key("timing"), &timing);
  } else if (!table.toml().contains("timing")) {
    table.problem("expected a timing = [...]");
  }
  table.boolean("hsync_negative", &crtc.hsync_negative);
  table.boolean("vsync_negative", &crtc.vsync_negative);
  if (!named || !timing) return;
  crtc.timing = *timing;
  config_.crtc[number] = crtc;
}

void Loader::read_dp_faults(Table& table) {
  unsigned port = 0;
  if (!table.number("port", &port, 0, dp_ports - 1) && !table.toml().contains("port")) {
    table.problem("expected a port = 0 to 3");
  }
  DpPortFaults& fault = config_.faults.dp[port];
  const struct {
    std::string_view name;
    bool* value;
  } standing[] = {
      {"no_reply", &fault.no_reply},
      {"reply_error", &fault.reply_error},
      {"nack", &fault.nack},
      {"never_equalises", &fault.never_equalises},
      {"cdb_busy", &fault.cdb_busy},
      {"no_power_acknowledge", &fault.no_power_acknowledge},
      {"pll_never_locks", &fault.pll_never_locks},
      {"timer_stopped", &fault.timer_stopped},
  };
  for (const auto& one : standing) table.boolean(one.name, one.value);
  table.number("defers", &fault.defers);
  table.number("i2c_defers", &fault.i2c_defers);
  table.number("short_by", &fault.short_by, 0, 16);
}

void Loader::read_flash(Table& table) {
  constexpr size_t longest_serial = 63, slots = 127;
  FlashSettings& flash = config_.flash;
  if (table.text("image", &flash.image) && !flash.image.empty()) {
    flash.image = (std::filesystem::path(path_).parent_path() / flash.image).string();
  }
  table.text("serial", &flash.serial, longest_serial);
  table.boolean("write_protected", &flash.write_protected);
  table.tables("edids", [&](Table& one) {
    FlashEdid stored;
    one.needed("output", &stored.output, 0, 0xFFFF);
    std::string file;
    if (one.text("edid", &file)) {
      read_edid(*one.toml().get("edid"), one.key("edid"), file, &stored.edid);
      stored.edid.resize(std::min<size_t>(stored.edid.size(), 2 * edid_block_size));
    } else if (!one.toml().contains("edid")) {
      one.problem("expected a key 'edid'");
    }
    flash.edids.push_back(std::move(stored));
  });
  if (flash.edids.size() > slots) {
    table.problem("expected at most " + std::to_string(slots) + " edids");
  }
}

void Loader::read_register(Table& table) {
  InitialValue initial;
  table.choice("space", initial_spaces, &initial.space);
  if (!table.number("offset", &initial.offset) && !table.toml().contains("offset")) {
    table.problem("expected an offset");
  }
  if (!table.number("value", &initial.value) && !table.toml().contains("value")) {
    table.problem("expected a value");
  }
  if (table.number("width", &initial.width, 1, 8) && (initial.width & (initial.width - 1)) != 0) {
    expected(*table.toml().get("width"), table.key("width"), "1, 2, 4 or 8");
  }
  table.number("after_reads", &initial.after_reads);
  if (initial.after_reads != 0 && initial.space != Space::mmio) {
    table.problem("expected the space \"mmio\" with after_reads");
  }
  const bool kernel = initial.space == Space::kmem;
  const uint64_t start = kernel ? config_.kernel.base : 0;
  const uint64_t size = kernel                         ? config_.kernel.size
                        : initial.space == Space::mmio ? mmio_size
                                                       : vram_size;
  if (initial.offset < start || initial.offset - start >= size ||
      initial.width > size - (initial.offset - start)) {
    table.problem("expected an offset from " + hex(start) + " to " + hex(start + size - 1) +
                  ", found " + hex(initial.offset));
    return;
  }
  config_.registers.push_back(initial);
}

void Loader::read_axi(Table& axi) {
  axi.number("seed", &config_.axi.seed);
  axi.number("period_cycles", &config_.axi.period_cycles, 1);
  axi.tables("port", [&](Table& table) {
    AxiPortSettings port;
    const auto ports = axi_ports(config_.generation);
    const auto named = [&] {
      return std::find_if(ports.begin(), ports.end(), [&](const AxiPort& one) {
        return !one.name.empty() && one.name == port.name;
      });
    };
    if (!table.text("name", &port.name) || named() == ports.end()) {
      std::string known;
      for (const AxiPort& one : ports) known += one.name.empty() ? "" : " " + std::string(one.name);
      table.problem("expected the name of a port:" + known);
      return;
    }
    port.load = named()->load;
    table.choice("load", axi_loads, &port.load);
    table.number("timeout_every", &port.timeout_every);
    table.boolean("data_update", &port.data_update);
    config_.axi.ports.push_back(port);
  });
}

void Loader::read_eye(Table& table, std::string_view part, EyeShape* eye) {
  double* const fields[] = {&eye->width, &eye->height, &eye->centre};
  size_t count = 0;
  bool numbers = true;
  const toml::array* const array =
      table.array(part, "[width, height, centre]", [&](const toml::node& node, const std::string&) {
        const auto number = node.value<double>();
        numbers = numbers && number && *number >= 0 && *number <= 127;
        if (numbers && count < std::size(fields)) *fields[count] = *number;
        ++count;
      });
  if (array != nullptr && (!numbers || count != std::size(fields))) {
    expected(*array, table.key(part), "[width, height, centre] in steps, 0 to 127");
  }
}

void Loader::read_message(const toml::node& node, const std::string& key,
                          std::vector<TrainingMessage>* messages) {
  const toml::array* const array = node.as_array();
  std::vector<uint32_t> words;
  for (size_t i = 0; array != nullptr && i < array->size(); ++i) {
    uint32_t word = 0;
    unsigned_value(*array->get(i), key + "[" + std::to_string(i) + "]", &word, 0, UINT32_MAX);
    words.push_back(word);
  }
  if (words.empty()) {
    expected(node, key, "an identifier and its arguments, as [0x10003, 1, 2, 3]");
    return;
  }
  messages->push_back({words.front(), {words.begin() + 1, words.end()}});
}

void Loader::read_training_channel(Table& table) {
  unsigned number = max_training_channels;
  if (!table.number("channel", &number, 0, max_training_channels - 1)) {
    if (!table.toml().contains("channel")) table.problem("expected a channel = 0 to 3");
    number = 0;
  } else if (std::exchange(channel_seen_[number], true)) {
    table.problem("channel " + std::to_string(number) + " is described a second time");
  }
  TrainingChannelSettings& channel = config_.training.channels[number];
  std::vector<TrainingMessage> messages;
  if (table.array("messages", "an array of messages",
                  [&](const toml::node& node, const std::string& key) {
                    read_message(node, key, &messages);
                  }) != nullptr) {
    channel.messages = std::move(messages);
  }
  table.number("lanes", &channel.lanes, 1, 72);
  read_eye(table, "read_eye", &channel.read_eye);
  read_eye(table, "write_eye", &channel.write_eye);
}

void Loader::read_training(Table& training) {
  training.boolean("enabled", &config_.training.enabled);
  training.number("seed", &config_.training.seed);
  training.number("gap_us", &config_.training.gap_us, 0, 3'600'000'000);
  training.boolean("endless", &config_.training.endless);
  training.tables("channel", [&](Table& table) { read_training_channel(table); });
}

void Loader::read_when(Table& fault, std::string_view which, uint64_t* number, double* probability,
                       uint64_t* count) {
  const bool numbered = fault.number(which, number, 1);
  const toml::node* const chance = fault.find("probability");
  if (chance != nullptr) {
    const auto value = chance->value<double>();
    if (!value || *value < 0 || *value > 1) {
      expected(*chance, fault.key("probability"), "a number from 0 to 1");
    } else {
      *probability = *value;
    }
  }
  if ((fault.toml().contains(which)) == (chance != nullptr)) {
    fault.problem("expected either '" + std::string(which) + "' or 'probability'");
  }
  fault.number("count", count, 1);
  if (!numbered && fault.toml().contains("count") && chance != nullptr) {
    fault.problem("'count' goes with '" + std::string(which) + "', not with 'probability'");
  }
}

void Loader::read_faults(Table& faults) {
  faults.number("seed", &config_.faults.seed);
  faults.tables("driver", [&](Table& table) {
    DriverFault fault;
    read_when(table, "request", &fault.request, &fault.probability, &fault.count);
    table.number("number", &fault.number, 0, 0xFF);
    if (const toml::node* error = table.find("errno")) {
      if (error->is_string()) {
        table.choice("errno", errnos, &fault.error);
      } else {
        unsigned_value(*error, table.key("errno"), &fault.error, 1, 4095);
      }
    }
    config_.faults.driver.push_back(fault);
  });
  faults.tables("uart", [&](Table& table) {
    UartFault fault;
    read_when(table, "reply", &fault.reply, &fault.probability, &fault.count);
    if (!table.choice("action", uart_actions, &fault.action) && !table.toml().contains("action")) {
      table.problem("expected an action = " + names(uart_actions));
    }
    table.number("bytes", &fault.bytes, 0, 1024);
    table.number("delay_ms", &fault.delay_ms, 0, 3'600'000);
    config_.faults.uart.push_back(fault);
  });
  faults.tables("hdmi", [&](Table& table) {
    unsigned port = 0;
    if (!table.number("port", &port, 0, hdmi_ports - 1) && !table.toml().contains("port")) {
      table.problem("expected a port = 0 to 3");
    }
    HdmiPortFaults& fault = config_.faults.hdmi[port];
    table.array("ddc_nack", "an array of 7-bit addresses",
                [&](const toml::node& node, const std::string& key) {
                  uint8_t address;
                  if (unsigned_value(node, key, &address, 0, 0x7F)) {
                    fault.ddc_nack.push_back(address);
                  }
                });
    table.number("ddc_nack_at_byte", &fault.ddc_nack_at_byte, 0,
                 edid_block_size * max_edid_blocks - 1);
    table.boolean("ddc_busy", &fault.ddc_busy);
    table.boolean("phy_busy", &fault.phy_busy);
    table.boolean("pll_never_locks", &fault.pll_never_locks);
  });
  faults.tables("dp", [&](Table& table) { read_dp_faults(table); });
  faults.tables("i2c", [&](Table& table) {
    I2cFault fault;
    table.needed("bus", &fault.bus, 0, i2c_buses - 1);
    table.number("address", &fault.address, 0, 0x7F);
    table.boolean("hangs", &fault.hangs);
    table.boolean("nack", &fault.nack);
    table.number("nack_at_byte", &fault.nack_at_byte, 1, UINT32_MAX);
    table.boolean("stays_busy", &fault.stays_busy);
    table.boolean("never_ready", &fault.never_ready);
    table.boolean("drops_valid", &fault.drops_valid);
    if (fault.hangs == fault.address.has_value()) {
      table.problem("expected either 'hangs', for the bus, or an 'address'");
    }
    config_.faults.i2c.push_back(fault);
  });
  faults.table("flash", [&](Table& table) {
    FlashFaults& flash = config_.faults.flash;
    table.boolean("stays_busy", &flash.stays_busy);
    table.number("lost_write_enable", &flash.lost_write_enable);
    table.number("bad_byte", &flash.bad_byte, 0, 0x1FFFFF);
    table.number("power_cut_at_frame", &flash.power_cut_at_frame);
  });
  faults.table("mcu",
               [&](Table& table) { table.boolean("never_done", &config_.faults.mcu_never_done); });
  faults.table("clocks", [&](Table& table) {
    table.array("never_locks", "an array of PLLs",
                [&](const toml::node& node, const std::string& key) {
                  const auto name = node.value<std::string_view>();
                  for (unsigned i = 0; i < plls; ++i) {
                    if (!name || *name != pll_names[i].name) continue;
                    config_.faults.pll_never_locks[i] = true;
                    return;
                  }
                  expected(node, key, names(pll_names));
                });
  });
  faults.table("node", [&](Table& table) {
    table.number("gone_at_request", &config_.faults.node_gone_at_request, 1, UINT64_MAX);
  });
  faults.table("amba", [&](Table& table) {
    table.boolean("never_answers", &config_.faults.amba_never_answers);
  });
}

bool Loader::read_signal_within(const toml::node& node, const std::string& key, double minimum,
                                double maximum, Signal* signal) {
  Signal found;
  if (!read_signal(node, key, &found)) return false;
  if (found.value - found.swing < minimum || found.value + found.swing > maximum) {
    std::ostringstream text;
    text << "expected numbers from " << minimum << " to " << maximum << ", found "
         << found.value - found.swing;
    if (found.swing != 0) text << " to " << found.value + found.swing;
    problem(node, key, text.str());
    return false;
  }
  *signal = found;
  return true;
}

void Loader::read_sensors(Table& table) {
  SensorSettings& sensors = config_.sensors;
  const auto pair = [&](std::string_view part, double minimum, double maximum,
                        std::array<Signal, pvt_sensors>* signals) {
    const auto* const array =
        table.array(part, "an array of 2 numbers",
                    [&, i = size_t{0}](const toml::node& node, const std::string& key) mutable {
                      Signal signal;
                      read_signal_within(node, key, minimum, maximum, &signal);
                      if (i < signals->size()) (*signals)[i++] = signal;
                    });
    if (array != nullptr && array->size() != signals->size()) {
      expected(*array, table.key(part), "an array of 2 numbers");
    }
  };
  // What 10-bit codes can say.
  pair("temperature", -62, 155, &sensors.temperature);
  pair("voltage", 0.512, 1.12, &sensors.voltage);
  const auto* const process =
      table.array("process", "an array of 3 numbers",
                  [&, i = size_t{0}](const toml::node& node, const std::string& key) mutable {
                    uint32_t code = 0;
                    unsigned_value(node, key, &code, 0, 0x3FF);
                    if (i < sensors.process.size()) sensors.process[i++] = code;
                  });
  if (process != nullptr && process->size() != sensors.process.size()) {
    expected(*process, table.key("process"), "an array of 3 numbers");
  }
  table.number("conversion_ms", &sensors.conversion_ms, 0, 60'000);
}

void Loader::read_root(Table& root) {
  root.text("description", &config_.description);
  root.choice("generation", generations, &config_.generation);
  root.number("cards", &config_.cards, 1, max_cards);
  root.table("versions", [&](Table& table) {
    const auto* const kernel =
        table.array("kernel", "an array of 4 numbers",
                    [&, i = size_t{0}](const toml::node& node, const std::string& key) mutable {
                      uint32_t number = 0;
                      unsigned_value(node, key, &number, 0, UINT32_MAX);
                      if (i < config_.kernel_version.size()) config_.kernel_version[i++] = number;
                    });
    if (kernel != nullptr && kernel->size() != config_.kernel_version.size()) {
      expected(*kernel, table.key("kernel"), "an array of 4 numbers");
    }
    constexpr size_t longest = 127;  // the driver's answer has 128 bytes
    table.text("gop", &config_.gop_version, longest);
    table.text("firmware", &config_.firmware_version, longest);
  });
  root.table("clocks", [&](Table& table) {
    table.number("axi", &config_.clocks.axi);
    table.number("vpu", &config_.clocks.vpu);
    table.number("3d", &config_.clocks.core_3d);
    table.number("2d", &config_.clocks.core_2d);
    table.number("ddr", &config_.clocks.ddr);
    table.number("lock_us", &config_.clocks.lock_us, 0, 60'000'000);
  });
  root.table("cores", [&](Table& table) {
    table.number("3d", &config_.cores.core_3d);
    table.number("2d", &config_.cores.core_2d);
  });
  root.table("memory", [&](Table& table) {
    if (const toml::node* const used = table.find("used")) {
      read_signal_within(*used, table.key("used"), 0, UINT32_MAX, &config_.memory.used);
    }
    table.number("free", &config_.memory.free);
    table.number("channels", &config_.memory.channels);
  });
  root.table("engines", [&](Table& table) {
    const auto* const load = table.array(
        "load", "an array of numbers", [&](const toml::node& node, const std::string& key) {
          // -1 is an engine that is not there.
          const auto absent = node.value<int64_t>();
          Signal load = {-1};
          if ((absent && *absent == -1) || read_signal_within(node, key, 0, 100, &load)) {
            config_.engine_load.push_back(load);
          }
        });
    if (load != nullptr && load->size() > engines) {
      expected(*load, table.key("load"), "at most " + std::to_string(engines) + " numbers");
    }
  });
  root.table("aperture", [&](Table& table) {
    const struct {
      std::string_view part;
      uint64_t* base;
      uint64_t size;
    } apertures[] = {{"mmio_base", &config_.aperture.mmio_base, mmio_size},
                     {"vram_base", &config_.aperture.vram_base, vram_size}};
    for (const auto& aperture : apertures) {
      if (table.number(aperture.part, aperture.base, 0, UINT32_MAX) &&
          *aperture.base % aperture.size != 0) {
        expected(*table.toml().get(aperture.part), table.key(aperture.part),
                 "a multiple of its size, " + hex(aperture.size));
      }
    }
    const uint64_t mmio = config_.aperture.mmio_base;
    const uint64_t vram = config_.aperture.vram_base;
    if (mmio < vram + vram_size && vram < mmio + mmio_size) {
      table.problem("the two apertures overlap");
    }
  });
  root.table("kernel", [&](Table& table) {
    table.number("base", &config_.kernel.base);
    table.number("size", &config_.kernel.size, 8, 1u << 30);
    if (config_.kernel.base > UINT64_MAX - config_.kernel.size) {
      table.problem("expected the range to end before 2^64");
    }
  });
  root.table("pci", [&](Table& table) {
    table.number("vendor", &config_.pci.vendor);
    table.number("device", &config_.pci.device);
    table.number("subsystem_vendor", &config_.pci.subsystem_vendor);
    table.number("subsystem", &config_.pci.subsystem);
    table.number("revision", &config_.pci.revision);
  });
  root.table("uart", [&](Table& table) {
    table.number("baud", &config_.uart.baud, 300, 3'000'000);
    table.number("reply_delay_us", &config_.uart.reply_delay_us, 0, 60'000'000);
    table.boolean("instant", &config_.uart.instant);
  });
  root.tables("hdmi", [&](Table& table) { read_hdmi(table); });
  root.tables("dp", [&](Table& table) { read_dp(table); });
  root.tables("crtc", [&](Table& table) { read_crtc(table); });
  root.number("output_mux", &config_.output_mux);
  root.table("axi", [&](Table& table) { read_axi(table); });
  root.table("training", [&](Table& table) { read_training(table); });
  root.tables("power_monitors", [&](Table& table) { read_power_monitor(table); });
  root.tables("i2c_memories", [&](Table& table) { read_i2c_memory(table); });
  root.tables("video", [&](Table& table) { read_video(table); });
  root.table("mcu", [&](Table& table) { read_mcu(table); });
  root.table("flash", [&](Table& table) { read_flash(table); });
  root.tables("registers", [&](Table& table) { read_register(table); });
  root.table("sensors", [&](Table& table) { read_sensors(table); });
  root.table("faults", [&](Table& table) { read_faults(table); });
}

BoardConfig Loader::load() {
  std::error_code error;
  if (std::filesystem::is_directory(path_, error)) {
    throw BoardFileError({path_ + ": is a directory"});
  }
  std::ifstream stream(path_, std::ios::binary);
  if (!stream) throw BoardFileError({path_ + ": " + strerror(errno)});
  std::ostringstream text;
  text << stream.rdbuf();
  try {
    const toml::table table = toml::parse(std::string_view(text.view()), path_);
    Table root(*this, table, "");
    read_root(root);
  } catch (const toml::parse_error& failure) {
    problems_.push_back(path_ + ":" + std::to_string(failure.source().begin.line) + ": " +
                        std::string(failure.description()));
  }
  if (!problems_.empty()) throw BoardFileError(std::move(problems_));
  return std::move(config_);
}

}  // namespace

BoardFileError::BoardFileError(std::vector<std::string> problems)
    : std::runtime_error(joined(problems)), problems_(std::move(problems)) {}

BoardConfig load_board_file(const std::string& path) {
  return Loader(path).load();
}

}  // namespace zvgsim
