#include "ui/Uptime.h"

#include <gtest/gtest.h>

namespace ods {
namespace {

constexpr std::int64_t Seconds(std::int64_t days, std::int64_t hours, std::int64_t minutes, std::int64_t seconds = 0) {
  return ((days * 24 + hours) * 60 + minutes) * 60 + seconds;
}

TEST(UptimeText, IsZeroAtTheStart) { EXPECT_EQ(UptimeText(0), "0 d 0:00"); }

TEST(UptimeText, RoundsHalfAnHourDownToTheEvenHour) {
  EXPECT_EQ(UptimeText(Seconds(0, 0, 30)), "0 d 0:30");
  EXPECT_EQ(UptimeText(Seconds(0, 0, 31)), "0 d 1:31");
  EXPECT_EQ(UptimeText(Seconds(0, 2, 30)), "0 d 2:30");
  EXPECT_EQ(UptimeText(Seconds(0, 2, 30, 1)), "0 d 3:30");
}

TEST(UptimeText, RoundsHalfAnHourUpToTheEvenHour) {
  EXPECT_EQ(UptimeText(Seconds(0, 1, 30)), "0 d 2:30");
  EXPECT_EQ(UptimeText(Seconds(0, 3, 29, 59)), "0 d 3:30");
}

TEST(UptimeText, RoundsHalfAMinuteToTheEvenMinute) {
  EXPECT_EQ(UptimeText(30), "0 d 0:00");
  EXPECT_EQ(UptimeText(31), "0 d 0:01");
  EXPECT_EQ(UptimeText(89), "0 d 0:01");
  EXPECT_EQ(UptimeText(90), "0 d 0:02");
  EXPECT_EQ(UptimeText(150), "0 d 0:02");
}

TEST(UptimeText, RoundsTheDaysDown) {
  EXPECT_EQ(UptimeText(Seconds(1, 2, 5)), "1 d 2:05");
  EXPECT_EQ(UptimeText(Seconds(1, 23, 20)), "1 d 23:20");
}

TEST(UptimeText, HoursAndMinutesWrapWhileTheDayDoesNot) {
  EXPECT_EQ(UptimeText(Seconds(0, 23, 59, 45)), "0 d 0:00");
  EXPECT_EQ(UptimeText(Seconds(0, 23, 45)), "0 d 0:45");
  EXPECT_EQ(UptimeText(Seconds(1, 0, 0)), "1 d 0:00");
}

TEST(UptimeText, PadsOnlyTheMinutes) {
  EXPECT_EQ(UptimeText(Seconds(0, 9, 5)), "0 d 9:05");
  EXPECT_EQ(UptimeText(Seconds(0, 10, 10)), "0 d 10:10");
}

TEST(UptimeText, GrowsWithoutGrouping) { EXPECT_EQ(UptimeText(Seconds(12345, 6, 7)), "12345 d 6:07"); }

TEST(UptimeText, AClockThatWasSetBackCountsAsTheStart) { EXPECT_EQ(UptimeText(-86400), "0 d 0:00"); }

}  // namespace
}  // namespace ods
