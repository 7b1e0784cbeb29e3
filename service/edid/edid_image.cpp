#include "service/edid/edid_image.h"

#include <array>
#include <nlohmann/json.hpp>

#include "formats/edid/base_block.h"
#include "service/board/error.h"
#include "service/files/input_file.h"

namespace zvg {

namespace {

using namespace zvg::formats::edid;

std::string letters(const std::array<uint8_t, 3>& codes) {
  std::string text;
  for (const uint8_t code : codes) {
    text.push_back(code >= 1 && code <= 26 ? static_cast<char>('A' + code - 1) : '?');
  }
  return text;
}

}  // namespace

EdidImage EdidImage::from_file(const std::string& path) {
  std::vector<uint8_t> bytes = read_input(path, edid_most_blocks * edid_block_size, "an EDID");
  if (bytes.empty() || bytes.size() % edid_block_size != 0) {
    throw_error(ErrorKind::bad_data,
                "%s is no EDID: it has %zu bytes, and an EDID has 1 to %zu blocks of %zu",
                input_name(path).c_str(), bytes.size(), edid_most_blocks, edid_block_size);
  }
  return EdidImage(std::move(bytes));
}

bool EdidImage::header_valid() const {
  return header_right(bytes_.data());
}

bool EdidImage::checksum_valid(size_t block) const {
  return parse_checksum(bytes_.data() + block * edid_block_size).right();
}

bool EdidImage::count_valid() const {
  return parse_extension_count(bytes_.data()) + size_t{1} == blocks();
}

bool EdidImage::valid() const {
  return faults().empty();
}

std::string EdidImage::faults() const {
  std::string faults;
  const auto add = [&faults](const std::string& fault) {
    faults += faults.empty() ? fault : ", " + fault;
  };
  if (!header_valid()) add("the header is wrong");
  for (size_t block = 0; block < blocks(); ++block) {
    if (!checksum_valid(block)) add(format("the checksum of block %zu is wrong", block));
  }
  if (!count_valid()) {
    add(format("it announces %u extensions and has %zu", parse_extension_count(bytes_.data()),
               blocks() - 1));
  }
  return faults;
}

Json EdidImage::json() const {
  Json checksums = Json::array();
  for (size_t block = 0; block < blocks(); ++block) checksums.push_back(checksum_valid(block));
  std::string raw;
  for (const uint8_t byte : bytes_) raw += format("%02x", byte);
  const Identification id = parse_identification(bytes_.data());
  return {{"manufacturer", letters(id.manufacturer)},
          {"product", id.product},
          {"serial", id.serial},
          {"week", id.week},
          {"year", id.year},
          {"version", format("%u.%u", id.version, id.revision)},
          {"blocks", blocks()},
          {"valid",
           {{"all", valid()},
            {"header", header_valid()},
            {"checksums", checksums},
            {"block_count", count_valid()}}},
          {"raw", raw}};
}

}  // namespace zvg
