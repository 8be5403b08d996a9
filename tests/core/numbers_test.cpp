// The one text rule of truncated numbers in notes and exports.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "store/Numbers.h"

TEST(NumberTexts, SignificantFiguresKeepTheirZeros) {
  EXPECT_EQ(FormatFigures(0.0100345, 3), "0.0100");
  EXPECT_EQ(FormatFigures(20.19, 3), "20.2");
  EXPECT_EQ(FormatFigures(-0.9772, 3), "-0.977");
  EXPECT_EQ(FormatFigures(123456.7, 3), "123457");
  EXPECT_EQ(FormatFigures(0.1, 4), "0.1000");
}

TEST(NumberTexts, TruncationThroughAnIntegerPart) {
  EXPECT_EQ(TruncatedText(1.23456, 1000, 0.001), "1.234");
  EXPECT_EQ(TruncatedText(-1.23456, 100, 0.01), "-1.23");
  // Below one step either side of zero: the integer part is 0, never "-0".
  EXPECT_EQ(TruncatedText(-0.0004, 1000.001, 0.001), "0");
  EXPECT_EQ(TruncatedText(-0.0, 10, 0.1), "0");
  // Not a number is "nan" whatever its sign bit; infinities keep theirs.
  EXPECT_EQ(TruncatedText(-std::numeric_limits<double>::quiet_NaN(), 1000, 0.001), "nan");
  EXPECT_EQ(TruncatedText(std::nan(""), 1000, 0.001), "nan");
  EXPECT_EQ(TruncatedText(-std::numeric_limits<double>::infinity(), 1000, 0.001), "-inf");
}
