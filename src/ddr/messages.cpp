#include "ddr/messages.h"

#include <stdio.h>

#include <iterator>
#include <span>
#include <utility>

#include "ddr/catalogues.h"
#include "formats/training/catalogue.h"
#include "formats/training/message.h"
#include "util_zvg.h"

namespace zvg::ddr {

namespace {

using formats::training::look_up;
using formats::training::Lookup;

struct Catalogue {
  const zvg_ddr_message* records;
  uint32_t count;
};

// A table of another firmware has other counts, and the programs that include the header must know.
static_assert(ddr_debug_ddr4_lpddr4x_2d_count == ZVG_DDR4_LPDDR4X_2D_RECORDS &&
                  ddr_debug_ddr4_1d_count == ZVG_DDR4_1D_RECORDS &&
                  ddr_debug_lpddr4x_1d_count == ZVG_LPDDR4X_1D_RECORDS &&
                  ddr_debug_ddr4_1d_old_count == ZVG_DDR4_1D_OLD_RECORDS,
              "write the tables' new record counts into the public header");

// By training type.
constexpr Catalogue catalogues[] = {
    {ddr_debug_ddr4_lpddr4x_2d, ddr_debug_ddr4_lpddr4x_2d_count},
    {ddr_debug_ddr4_lpddr4x_2d, ddr_debug_ddr4_lpddr4x_2d_count},
    {ddr_debug_ddr4_1d, ddr_debug_ddr4_1d_count},
    {ddr_debug_lpddr4x_1d, ddr_debug_lpddr4x_1d_count},
};

// Stays selected until another training is listened to.
const Catalogue* g_current = &catalogues[ZVG_DDR_TRAINING_DDR4_2D];

// Returns the catalogue's count when it has no such record.
uint32_t search(const Catalogue& catalogue, uint32_t id) {
  const Lookup found = look_up(std::span(catalogue.records, catalogue.count), id);
  if (found.position == catalogue.count) {
    // What was compared last, and what stands where the search ended: the same record.
    printf("findDebugPos %08x %08x %08x\n", id, found.last_id, found.last_id);
  }
  return found.position;
}

constexpr uint32_t most_plain_arguments = 12;
constexpr uint32_t eye_row_arguments = 31;

// Prints with exactly as many arguments as the message takes.
template <size_t... index>
void print_with(const char* format, const uint32_t* arguments, std::index_sequence<index...>) {
  printf(format, arguments[index]...);
}

template <size_t count>
void print_with(const char* format, const uint32_t* arguments) {
  print_with(format, arguments, std::make_index_sequence<count>());
}

// Calls the one of print_with<1>, print_with<2>, ... that is wanted.
template <size_t... index>
void print_first(uint32_t count, const char* format, const uint32_t* arguments,
                 std::index_sequence<index...>) {
  static_cast<void>(
      ((index + 1 == count && (print_with<index + 1>(format, arguments), true)) || ...));
}

}  // namespace

bool select_catalogue(int type) {
  if (type < 0 || static_cast<size_t>(type) >= std::size(catalogues)) return false;
  g_current = &catalogues[type];
  return true;
}

const zvg_ddr_message* find_message(uint32_t id) {
  const uint32_t position = findDebugPos(id);
  return position == g_current->count ? nullptr : &g_current->records[position];
}

}  // namespace zvg::ddr

using namespace zvg::ddr;

uint32_t findDebugPos(uint32_t id) {
  return id == 0 ? g_current->count : search(*g_current, id);
}

void my_printf(const uint32_t* arguments, struct zvg_ddr_message message) {
  if (message.id == 0) return;
  const uint32_t count = zvg::formats::training::argument_count(message.id);
  if (count == 0) {
    printf("%s", message.format);
  } else if (count <= most_plain_arguments) {
    print_first(count, message.format, arguments, std::make_index_sequence<most_plain_arguments>());
  } else if (count == eye_row_arguments) {
    print_with<eye_row_arguments>(message.format, arguments);
  }
  // No firmware sends messages of any other length.
}
