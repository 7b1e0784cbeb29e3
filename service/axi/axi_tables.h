// The tables that the library samples the AXI monitors of RQ302 into: a file a port, a row a
// sample.
#ifndef ZVG_SERVICE_AXI_AXI_TABLES_H
#define ZVG_SERVICE_AXI_AXI_TABLES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zvg {

// The ports in the order of their flags; also the names of their tables, before ".dat".
inline constexpr std::string_view rq302_axi_ports[] = {
    "PCIE_M",  "2D",      "3D0",     "3D1",     "3D2",     "3D3",    "VPU0",    "VGA_h0",
    "VGA_h1",  "VGA_h2",  "VGA_h5",  "VGA_h6",  "VGA_h9",  "PCIE_S", "DDRC0_0", "DDRC0_1",
    "DDRC0_2", "DDRC0_3", "DDRC1_0", "DDRC1_1", "DDRC1_2", "DDRC1_3"};

std::filesystem::path axi_table_path(const std::filesystem::path& folder, std::string_view port);

struct AxiTable {
  std::string port;
  std::vector<std::string> columns;           // their names, without blanks around
  std::vector<std::vector<uint64_t>> values;  // column by column

  size_t rows() const { return values.empty() ? 0 : values.front().size(); }
  // A column by its name; null when the table has none.
  const std::vector<uint64_t>* find(std::string_view column) const;
};

// Reads a port's table. A row that is cut short or is no row is left out and told in *problems, as
// "3D0.dat:17: ...". Throws an Error when the file cannot be read or has no header.
AxiTable read_axi_table(const std::filesystem::path& folder, std::string_view port,
                        std::vector<std::string>* problems);

// Reads the tables of all ports that there are in the folder. A port without a table is a problem.
// Throws an Error when there is none at all.
std::vector<AxiTable> read_axi_tables(const std::filesystem::path& folder,
                                      std::vector<std::string>* problems);

}  // namespace zvg

#endif  // ZVG_SERVICE_AXI_AXI_TABLES_H
