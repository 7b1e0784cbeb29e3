#include "service/ddr/ddr_message.h"

#include <algorithm>
#include <charconv>

#include "ddr/catalogues.h"

namespace zvg {

std::span<const DdrCatalogue> ddr_catalogues() {
  static const DdrCatalogue catalogues[] = {
      {"2d",
       "2D training, DDR4 and LPDDR4X",
       {ddr_debug_ddr4_lpddr4x_2d, ddr_debug_ddr4_lpddr4x_2d_count}},
      {"ddr4-1d", "1D training, DDR4", {ddr_debug_ddr4_1d, ddr_debug_ddr4_1d_count}},
      {"lpddr4x-1d", "1D training, LPDDR4X", {ddr_debug_lpddr4x_1d, ddr_debug_lpddr4x_1d_count}},
      {"ddr4-1d-old",
       "1D training, DDR4, of an earlier firmware",
       {ddr_debug_ddr4_1d_old, ddr_debug_ddr4_1d_old_count}},
  };
  return catalogues;
}

const zvg_ddr_message* find_message(const DdrCatalogue& catalogue, uint32_t id) {
  const auto found = std::find_if(catalogue.records.begin(), catalogue.records.end(),
                                  [id](const zvg_ddr_message& record) { return record.id == id; });
  return found == catalogue.records.end() ? nullptr : &*found;
}

PrintedMessage::PrintedMessage(std::string_view format) {
  if (format.ends_with('\n')) format.remove_suffix(1);
  std::string* literal = &begin_;
  for (size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%') {
      literal->push_back(format[at]);
    } else if (format.substr(at, 2) == "%%") {
      literal->push_back('%');
      ++at;
    } else {
      at = std::min(format.find_first_of("diouxX", at), format.size() - 1);
      numbers_.push_back({format[at] == 'x' || format[at] == 'X', {}});
      literal = &numbers_.back().behind;
    }
  }
}

std::optional<std::vector<uint32_t>> PrintedMessage::match(std::string_view line) const {
  const size_t begin = line.find(begin_);
  if (begin == std::string_view::npos) return std::nullopt;
  line.remove_prefix(begin + begin_.size());
  std::vector<uint32_t> arguments;
  for (const Number& number : numbers_) {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    // Numbers are printed signed; a column that is too narrow for one runs into the next text.
    const char* const end = line.data() + line.size();
    int64_t value = 0;
    const auto [stop, error] =
        std::from_chars(line.data(), end, value, number.hexadecimal ? 16 : 10);
    if (error != std::errc()) return std::nullopt;
    line.remove_prefix(static_cast<size_t>(stop - line.data()));
    if (!line.starts_with(number.behind)) return std::nullopt;
    line.remove_prefix(number.behind.size());
    arguments.push_back(static_cast<uint32_t>(value));
  }
  if (!line.empty()) return std::nullopt;
  return arguments;
}

}  // namespace zvg
