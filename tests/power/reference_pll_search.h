// The divider search as its four plain loops: what the library's must agree with in every case.
#ifndef TESTS_POWER_REFERENCE_PLL_SEARCH_H
#define TESTS_POWER_REFERENCE_PLL_SEARCH_H

#include <cstdint>

namespace zvgtest {

// As zvg_rq300_pllcalc() for an input in range. word is not null.
int reference_pll_search(int input_khz, unsigned max_post_divider, unsigned target_khz,
                         uint32_t* word);

}  // namespace zvgtest

#endif  // TESTS_POWER_REFERENCE_PLL_SEARCH_H
