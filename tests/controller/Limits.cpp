#include <gmock/gmock.h>
#include <vector>

#include "Backoff.h"
#include "RestartLimit.h"

namespace ods::controller {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

std::vector<double> Pauses(Backoff& backoff, int count) {
  std::vector<double> pauses;
  while (count-- > 0) pauses.push_back(backoff.Next().count());
  return pauses;
}

TEST(Backoff, PausesDoubleUpToTheLongest) {
  Backoff backoff(1, 60, [] { return 1.0; });
  EXPECT_THAT(Pauses(backoff, 8), ::testing::ElementsAre(1, 2, 4, 8, 16, 32, 60, 60));
  backoff.Reset();
  EXPECT_THAT(Pauses(backoff, 2), ::testing::ElementsAre(1, 2));
}

TEST(Backoff, JitterTakesHalfOfAPauseAtMostAndNeverGoesBelowTheShortest) {
  Backoff backoff(1, 60, [] { return 0.0; });
  EXPECT_THAT(Pauses(backoff, 8), ::testing::ElementsAre(1, 1, 2, 4, 8, 16, 30, 30));
}

TEST(Backoff, OtherEndsHoldFromTheNextPauseOn) {
  Backoff backoff(1, 60, [] { return 1.0; });
  (void)Pauses(backoff, 5);
  backoff.SetRange(2, 10);
  EXPECT_THAT(Pauses(backoff, 2), ::testing::ElementsAre(10, 10));
}

TEST(RestartLimit, NoMinuteHasMoreRestarts) {
  const TimePoint start{};
  RestartLimit limit(3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(limit.NextAllowed(start + seconds(i)), start + seconds(i));
    limit.Count(start + seconds(i));
  }
  EXPECT_EQ(limit.NextAllowed(start + seconds(3)), start + seconds(60));
  EXPECT_EQ(limit.NextAllowed(start + milliseconds(60001)), start + milliseconds(60001));
  limit.Count(start + seconds(60));
  EXPECT_EQ(limit.NextAllowed(start + seconds(60)), start + seconds(61));
}

TEST(RestartLimit, ALowerNumberHoldsAtOnce) {
  const TimePoint start{};
  RestartLimit limit(3);
  for (int i = 0; i < 3; ++i) limit.Count(start + seconds(i));
  limit.SetMost(1);
  EXPECT_EQ(limit.NextAllowed(start + seconds(5)), start + seconds(62));
}

}  // namespace
}  // namespace ods::controller
