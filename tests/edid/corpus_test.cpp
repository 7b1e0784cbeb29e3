// The fuzzer's seed corpus, decoded in the builds that have no fuzzer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

std::string report(const char* path) {
  return zvgtest::capture([path] { EXPECT_EQ(do_edid_parse(path), 0); }).out;
}

TEST(Corpus, GivesTheSameReportFromStoreAndFile) {
  int decoded = 0;
  for (const auto& entry : std::filesystem::directory_iterator(ZVG_EDID_CORPUS)) {
    const std::string path = entry.path().string();
    FILE* const file = fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr) << path;
    std::vector<uint8_t> bytes(4096);
    bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
    fclose(file);

    zvgtest::capture(
        [&] { edid_print_helper(bytes.data(), static_cast<uint32_t>(bytes.size()), 1); });
    const std::string from_store = report(nullptr);
    EXPECT_NE(from_store.find("Detailed Timing Block 3"), std::string::npos) << path;
    if (bytes.size() != 128 && bytes.size() < 256) continue;
    EXPECT_EQ(report(path.c_str()), from_store) << path;
    ++decoded;
  }
  EXPECT_GE(decoded, 14);
}

}  // namespace
}  // namespace edidtest
