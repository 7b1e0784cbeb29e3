#include "zvgctl/edid_image.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

constexpr std::array<uint8_t, 8> header = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

// Offsets in the base block.
constexpr size_t manufacturer_offset = 0x08;
constexpr size_t product_offset = 0x0A;
constexpr size_t serial_offset = 0x0C;
constexpr size_t week_offset = 0x10;
constexpr size_t year_offset = 0x11;
constexpr size_t version_offset = 0x12;
constexpr size_t revision_offset = 0x13;
constexpr size_t extensions_offset = 0x7E;

constexpr int first_year = 1990;

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

// Three letters of five bits, A is 1.
std::string manufacturer(uint8_t high, uint8_t low) {
  const unsigned letters = unsigned{high} << 8 | low;
  std::string name;
  for (const int shift : {10, 5, 0}) {
    const unsigned letter = letters >> shift & 0x1F;
    name.push_back(letter >= 1 && letter <= 26 ? static_cast<char>('A' + letter - 1) : '?');
  }
  return name;
}

}  // namespace

EdidImage EdidImage::from_file(const std::string& path) {
  const std::unique_ptr<FILE, CloseFile> file(fopen(path.c_str(), "rb"));
  if (!file) fail("cannot read %s: %s", path.c_str(), strerror(errno));
  struct stat status;
  if (fstat(fileno(file.get()), &status) != 0)
    fail("cannot read %s: %s", path.c_str(), strerror(errno));
  if (!S_ISREG(status.st_mode)) fail("cannot read %s: not a regular file", path.c_str());
  const auto size = static_cast<size_t>(status.st_size);
  if (size == 0 || size % edid_block_size != 0 || size > edid_most_blocks * edid_block_size) {
    fail("%s is no EDID: it has %zu bytes, and an EDID has 1 to %zu blocks of %zu", path.c_str(),
         size, edid_most_blocks, edid_block_size);
  }
  std::vector<uint8_t> bytes(size);
  if (fread(bytes.data(), 1, size, file.get()) != size) {
    fail("cannot read all of %s: %s", path.c_str(),
         ferror(file.get()) != 0 ? strerror(errno) : "it has become shorter");
  }
  return EdidImage(std::move(bytes));
}

bool EdidImage::header_valid() const {
  return std::equal(header.begin(), header.end(), bytes_.begin());
}

bool EdidImage::checksum_valid(size_t block) const {
  uint8_t sum = 0;
  for (size_t i = 0; i < edid_block_size; ++i) sum += bytes_[block * edid_block_size + i];
  return sum == 0;
}

bool EdidImage::count_valid() const {
  return bytes_[extensions_offset] + size_t{1} == blocks();
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
    add(format("it announces %u extensions and has %zu", bytes_[extensions_offset], blocks() - 1));
  }
  return faults;
}

Json EdidImage::json() const {
  Json checksums = Json::array();
  for (size_t block = 0; block < blocks(); ++block) checksums.push_back(checksum_valid(block));
  std::string raw;
  for (const uint8_t byte : bytes_) raw += format("%02x", byte);
  const unsigned product = bytes_[product_offset] | unsigned{bytes_[product_offset + 1]} << 8;
  uint32_t serial = 0;
  for (size_t i = 0; i < 4; ++i) serial |= uint32_t{bytes_[serial_offset + i]} << (8 * i);
  return {
      {"manufacturer", manufacturer(bytes_[manufacturer_offset], bytes_[manufacturer_offset + 1])},
      {"product", product},
      {"serial", serial},
      {"week", bytes_[week_offset]},
      {"year", first_year + bytes_[year_offset]},
      {"version", format("%u.%u", bytes_[version_offset], bytes_[revision_offset])},
      {"blocks", blocks()},
      {"valid",
       {{"all", valid()},
        {"header", header_valid()},
        {"checksums", checksums},
        {"block_count", count_valid()}}},
      {"raw", raw}};
}

}  // namespace zvgctl
