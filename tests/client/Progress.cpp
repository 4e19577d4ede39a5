#include "Progress.h"

#include <gtest/gtest.h>

#include "Width.h"

namespace odbc_data {
namespace {

using std::chrono::duration;

TEST(Progress, TellsShareRowsRateAndTime) {
  UseUnicode();
  const Progress half{.rows = 500000, .total = 1000000, .elapsed = duration<double>(10)};
  EXPECT_EQ(
      ProgressLine(half, 120),
      " 50 % ━━━━━━━━━━━━━━━━━━━━────────────────────  500,000 of 1,000,000 rows  50,000 rows/s  0:10  0:10 left");
  EXPECT_EQ(ProgressEnd(half), "500,000 rows in 0:10, 50,000 rows/s");
}

TEST(Progress, WithoutATotalThereIsNoShare) {
  EXPECT_EQ(ProgressLine({.rows = 12345, .total = {}, .elapsed = duration<double>(3725)}, 80),
            "12,345 rows  3 rows/s  1:02:05");
  EXPECT_EQ(ProgressLine({}, 80), "0 rows  0 rows/s  0:00");
}

TEST(Progress, FitsEveryTerminal) {
  UseUnicode();
  const Progress progress{.rows = 123456789, .total = 1234567890, .elapsed = duration<double>(4000)};
  for (std::size_t width = 0; width < 200; ++width) {
    EXPECT_LE(DisplayWidth(ProgressLine(progress, width)), width);
  }
}

TEST(Progress, MoreRowsThanWereCountedAreNoMoreThanAll) {
  EXPECT_EQ(ProgressLine({.rows = 12, .total = 10, .elapsed = duration<double>(1)}, 40).substr(0, 5), "100 %");
  EXPECT_EQ(ProgressLine({.rows = 0, .total = 0, .elapsed = duration<double>(1)}, 40).substr(0, 5), "100 %");
  EXPECT_EQ(ProgressLine({.rows = 999, .total = 1000, .elapsed = duration<double>(1)}, 40).substr(0, 5), " 99 %");
}

TEST(Progress, GroupsDigits) {
  EXPECT_EQ(Grouped(0), "0");
  EXPECT_EQ(Grouped(999), "999");
  EXPECT_EQ(Grouped(1000), "1,000");
  EXPECT_EQ(Grouped(-123456), "-123,456");
  EXPECT_EQ(Grouped(1234567890), "1,234,567,890");
}

}  // namespace
}  // namespace odbc_data
