#include "service/number.h"

#include <gtest/gtest.h>

#include "service/board/error.h"

namespace {

using zvg::parse_address_range;
using zvg::parse_number;
using zvg::parse_width;

// What the failure says; its exit status must be that of a wrong command line.
template <typename Call>
std::string usage_text(Call call) {
  try {
    call();
  } catch (const zvg::Error& failure) {
    EXPECT_EQ(failure.kind(), zvg::ErrorKind::bad_argument);
    return failure.what();
  }
  return "no failure";
}

TEST(NumberTest, ReadsDecimalAndHexadecimal) {
  EXPECT_EQ(parse_number("N", "0"), 0u);
  EXPECT_EQ(parse_number("N", "31"), 31u);
  EXPECT_EQ(parse_number("N", "0x1f"), 31u);
  EXPECT_EQ(parse_number("N", "0X1F"), 31u);
  EXPECT_EQ(parse_number("N", "0xFFFFFFFFFFFFFFFF"), UINT64_MAX);
  EXPECT_EQ(parse_number("N", "18446744073709551615"), UINT64_MAX);
}

TEST(NumberTest, LeadingZeroIsNotOctal) {
  EXPECT_EQ(parse_number("N", "010"), 10u);
}

TEST(NumberTest, RefusesWhatIsNoNumber) {
  for (const char* text :
       {"", "x", "0x", "0xg", "12zz", "1.5", "-1", "+1", " 1", "1 ", "0x-1", "0x0x1", "1f"}) {
    EXPECT_EQ(usage_text([&] { parse_number("ADDR", text); }),
              std::string("ADDR: \"") + text +
                  "\" is not a number: expected hexadecimal (0x1F) or decimal (31)");
  }
}

TEST(NumberTest, RefusesWhatIsTooLarge) {
  EXPECT_EQ(parse_number("VALUE", "255", 255), 255u);
  EXPECT_EQ(usage_text([] { parse_number("VALUE", "256", 255); }),
            "VALUE: 256 is too large: expected 0 to 0xFF (255)");
  EXPECT_EQ(usage_text([] { parse_number("VALUE", "0x10000000000000000"); }),
            "VALUE: 0x10000000000000000 is too large: expected 0 to 0xFFFFFFFFFFFFFFFF "
            "(18446744073709551615)");
}

TEST(NumberTest, WidthsAreBitsAndBecomeBytes) {
  EXPECT_EQ(parse_width("8"), 1u);
  EXPECT_EQ(parse_width("16"), 2u);
  EXPECT_EQ(parse_width("32"), 4u);
  EXPECT_EQ(parse_width("64"), 8u);
  for (const char* text : {"", "1", "4", "24", "128", "0x8", "08"}) {
    EXPECT_EQ(usage_text([&] { parse_width(text); }),
              std::string("--width: \"") + text + "\" is not a width: expected 8, 16, 32 or 64");
  }
}

TEST(NumberTest, LargestValueOfAWidth) {
  EXPECT_EQ(zvg::largest(1), 0xFFu);
  EXPECT_EQ(zvg::largest(2), 0xFFFFu);
  EXPECT_EQ(zvg::largest(4), 0xFFFFFFFFu);
  EXPECT_EQ(zvg::largest(8), UINT64_MAX);
}

TEST(NumberTest, RangesHaveBothEndsIncluded) {
  const auto one = parse_address_range("ADDR", "0x10");
  EXPECT_EQ(one.first, 0x10u);
  EXPECT_EQ(one.last, 0x10u);
  EXPECT_FALSE(one.is_range);
  const auto range = parse_address_range("ADDR", "0x10-32");
  EXPECT_EQ(range.first, 0x10u);
  EXPECT_EQ(range.last, 32u);
  EXPECT_TRUE(range.is_range);
}

TEST(NumberTest, RefusesBrokenRanges) {
  EXPECT_EQ(usage_text([] { parse_address_range("ADDR", "0x20-0x10"); }),
            "ADDR: 0x20-0x10 ends before it begins");
  for (const char* text : {"-", "1-", "-1", "1-2-3", "1-x"}) {
    EXPECT_NE(usage_text([&] { parse_address_range("ADDR", text); }), "no failure") << text;
  }
}

TEST(NumberTest, HexHasTheDigitsAskedFor) {
  EXPECT_EQ(zvg::hex(0), "0x0");
  EXPECT_EQ(zvg::hex(0xAB, 6), "0x0000ab");
  EXPECT_EQ(zvg::hex(UINT64_MAX, 4), "0xffffffffffffffff");
}

}  // namespace
