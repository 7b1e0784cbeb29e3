#ifndef BENCH_DDR_DUMP_BENCH_H
#define BENCH_DDR_DUMP_BENCH_H

namespace zvgbench {

// The registers of one channel: nine PHY blocks and a controller.
constexpr unsigned phy_blocks = 9;
constexpr unsigned phy_words = 65536;
constexpr unsigned controller_words = 8192;
constexpr unsigned dump_lines = phy_blocks * phy_words + controller_words;

}  // namespace zvgbench

#endif  // BENCH_DDR_DUMP_BENCH_H
