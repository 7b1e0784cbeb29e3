#include "service/ddr/ddr_message.h"

#include "ddr/catalogues.h"
#include "formats/training/catalogue.h"

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
  const auto found = zvg::formats::training::look_up(catalogue.records, id);
  return found.position == catalogue.records.size() ? nullptr : &catalogue.records[found.position];
}

}  // namespace zvg
