#include "devices/monitor/edid_file.h"

#include <fstream>
#include <string>

namespace zvgsim {

void read_edid(FileTable& table, std::vector<uint8_t>* edid) {
  std::string name;
  const auto value = table.find("edid");
  if (!value || !value->string(&name)) return;
  const auto place = table.beside(name);
  std::error_code error;
  const auto size = std::filesystem::file_size(place, error);
  if (error) {
    value->problem("cannot read '" + place.string() + "': " + error.message());
    return;
  }
  if (size == 0 || size % edid_block_size != 0 || size > edid_block_size * max_edid_blocks) {
    value->problem("expected a file of 1 to 256 blocks of 128 bytes, found " +
                   std::to_string(size) + " bytes in '" + place.string() + "'");
    return;
  }
  edid->resize(size);
  std::ifstream stream(place, std::ios::binary);
  if (!stream.read(reinterpret_cast<char*>(edid->data()), static_cast<std::streamsize>(size))) {
    value->problem("cannot read '" + place.string() + "'");
  }
}

void read_needed_edid(FileTable& table, std::vector<uint8_t>* edid) {
  read_edid(table, edid);
  if (!table.has("edid")) table.problem("expected a key 'edid'");
}

}  // namespace zvgsim
