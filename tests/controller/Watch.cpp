#include "Watch.h"

#include <gmock/gmock.h>
#include <random>

namespace ods::controller {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::HasSubstr;

/// A watch whose clock and server are the test's.
class WatchTest : public testing::Test {
 protected:
  WatchTest() { limits_ = {.start = 30, .alive = 60, .stop = 15, .backoffLeast = 1, .backoffMost = 60}; }

  Watch MakeWatch() {
    return {limits_, [] { return 1.0; }};
  }
  void Pass(double time) { now_ += std::chrono::duration_cast<Clock::duration>(Seconds(time)); }
  Step Decide(Watch& watch) {
    const Step step = watch.Decide(now_, seen_);
    seen_.asked = Asked::kNothing;
    seen_.beat = false;
    return step;
  }
  /// A server that runs and has its connection.
  Watch MakeRunning() {
    Watch watch = MakeWatch();
    EXPECT_EQ(Decide(watch), Step::kStart);
    Start(watch);
    EXPECT_EQ(Decide(watch), Step::kNothing);
    EXPECT_EQ(watch.State(), State::kRunning);
    return watch;
  }
  void Start(Watch& watch) {
    watch.Started(now_);
    seen_ = {.processRuns = true, .mutexExists = true, .connection = ConnectionSeen::kOpen};
  }
  void Die() { seen_ = {}; }

  WatchLimits limits_;
  Observation seen_;
  TimePoint now_{};
};

TEST_F(WatchTest, AServerThatRunsIsLeftAlone) {
  Watch watch = MakeRunning();
  for (int i = 0; i < 1000; ++i) {
    Pass(5);
    seen_.beat = true;
    EXPECT_EQ(Decide(watch), Step::kNothing);
  }
  EXPECT_EQ(watch.Reason(), "");
  EXPECT_EQ(watch.Restarts(), 0);
}

TEST_F(WatchTest, OneThatDiesIsStartedAtOnce) {
  Watch watch = MakeRunning();
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
  Start(watch);
  EXPECT_EQ(watch.Restarts(), 1);
}

TEST_F(WatchTest, OneThatDiesBeforeAnybodySawItsConnectionIsStartedAtOnceToo) {
  Watch watch = MakeWatch();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.Started(now_);
  seen_ = {.connection = ConnectionSeen::kOpen};
  EXPECT_EQ(Decide(watch), Step::kStart);
}

TEST_F(WatchTest, OneThatDiesBeforeItHasItsConnectionIsStartedAfterLongerAndLongerPauses) {
  Watch watch = MakeRunning();
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
  for (const int pause : {1, 2, 4, 8}) {
    watch.Started(now_);
    EXPECT_EQ(Decide(watch), Step::kNothing);
    Pass(pause - 0.1);
    EXPECT_EQ(Decide(watch), Step::kNothing);
    Pass(0.1);
    EXPECT_EQ(Decide(watch), Step::kStart);
  }
}

TEST_F(WatchTest, AStartThatFailsComesAgainAfterAPause) {
  Watch watch = MakeWatch();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.StartFailed(now_, "no such program");
  EXPECT_EQ(watch.Reason(), "no such program");
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(1);
  EXPECT_EQ(Decide(watch), Step::kStart);
}

TEST_F(WatchTest, NothingIsStartedWhileTheRunningMutexExists) {
  Watch watch = MakeWatch();
  seen_.mutexExists = true;
  EXPECT_EQ(Decide(watch), Step::kNothing);
  EXPECT_EQ(watch.State(), State::kForeign);
  seen_.mutexExists = false;
  EXPECT_EQ(Decide(watch), Step::kStart);
}

TEST_F(WatchTest, OneWithoutItsMutexInTimeIsKilled) {
  Watch watch = MakeWatch();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.Started(now_);
  seen_ = {.processRuns = true};
  Pass(29);
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(1);
  EXPECT_EQ(Decide(watch), Step::kKill);
  Die();
  EXPECT_EQ(Decide(watch), Step::kNothing) << "it waits a second";
  EXPECT_THAT(watch.Reason(), HasSubstr("running mutex in time"));
}

TEST_F(WatchTest, OneWhoseMutexGoesIsEndedAndStartedAgain) {
  Watch watch = MakeRunning();
  seen_.mutexExists = false;
  EXPECT_EQ(Decide(watch), Step::kTerminate);
  Pass(14.9);
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(0.1);
  EXPECT_EQ(Decide(watch), Step::kKill);
  EXPECT_EQ(Decide(watch), Step::kNothing) << "not again and again";
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
}

TEST_F(WatchTest, OneWhoseAliveFileGrowsOldIsKilled) {
  Watch watch = MakeRunning();
  Pass(30);
  seen_.beat = true;
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(59.9);
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(0.1);
  EXPECT_EQ(Decide(watch), Step::kKill);
  EXPECT_THAT(watch.Reason(), HasSubstr("alive file"));
}

TEST_F(WatchTest, ARequestForARestartIsFollowedWhenTheConnectionIsLost) {
  Watch watch = MakeRunning();
  seen_.asked = Asked::kRestart;
  EXPECT_EQ(Decide(watch), Step::kNothing) << "a client's mistake";
  seen_.asked = Asked::kRestart;
  seen_.connection = ConnectionSeen::kLost;
  EXPECT_EQ(Decide(watch), Step::kTerminate);
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
  Start(watch);
  EXPECT_EQ(Decide(watch), Step::kNothing);
  EXPECT_EQ(watch.State(), State::kRunning);
}

TEST_F(WatchTest, AnErrorAloneRestartsOnlyWhereThatIsWanted) {
  for (const RestartOn when : {RestartOn::kLost, RestartOn::kError, RestartOn::kNever}) {
    limits_.restartOn = when;
    Die();
    Watch watch = MakeRunning();
    seen_.asked = Asked::kRestart;
    EXPECT_EQ(Decide(watch), when == RestartOn::kError ? Step::kTerminate : Step::kNothing);
    Die();
    Watch other = MakeRunning();
    seen_.asked = Asked::kRestart;
    seen_.connection = ConnectionSeen::kLost;
    EXPECT_EQ(Decide(other), when == RestartOn::kNever ? Step::kNothing : Step::kTerminate);
  }
}

TEST_F(WatchTest, OneThatConnectsAgainByItselfIsLeftToThat) {
  limits_.reconnects = true;
  Watch watch = MakeRunning();
  for (const auto connection : {ConnectionSeen::kLost, ConnectionSeen::kNone}) {
    for (const auto asked : {Asked::kRestart, Asked::kDatabase}) {
      seen_.connection = connection;
      seen_.asked = asked;
      EXPECT_EQ(Decide(watch), Step::kNothing);
      EXPECT_EQ(watch.State(), State::kRunning);
    }
  }
}

TEST_F(WatchTest, WithoutADatabaseItIsStartedAnewAfterLongerAndLongerPauses) {
  Watch watch = MakeWatch();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.Started(now_);
  seen_ = {.processRuns = true, .mutexExists = true};
  EXPECT_EQ(Decide(watch), Step::kNothing);
  for (const int pause : {1, 2, 4, 8, 16, 32, 60, 60}) {
    seen_.connection = ConnectionSeen::kNone;
    seen_.asked = Asked::kDatabase;
    EXPECT_EQ(Decide(watch), Step::kNothing) << "it answers with errors meanwhile";
    EXPECT_EQ(watch.State(), State::kRetrying);
    Pass(pause - 0.1);
    seen_.beat = true;
    seen_.asked = Asked::kRestart;
    EXPECT_EQ(Decide(watch), Step::kNothing) << pause;
    Pass(0.1);
    EXPECT_EQ(Decide(watch), Step::kTerminate) << pause;
    Die();
    EXPECT_EQ(Decide(watch), Step::kStart);
    watch.Started(now_);
    seen_ = {.processRuns = true, .mutexExists = true};
    EXPECT_EQ(Decide(watch), Step::kNothing);
  }
  seen_.connection = ConnectionSeen::kOpen;
  EXPECT_EQ(Decide(watch), Step::kNothing);
  EXPECT_EQ(watch.State(), State::kRunning);
  seen_.connection = ConnectionSeen::kNone;
  EXPECT_EQ(Decide(watch), Step::kTerminate) << "it has had one";
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.Started(now_);
  seen_ = {.processRuns = true, .mutexExists = true, .connection = ConnectionSeen::kNone};
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(1);
  EXPECT_EQ(Decide(watch), Step::kTerminate) << "the pauses begin anew";
}

TEST_F(WatchTest, WithoutADatabaseAnAdoptedServerNeedsNoReport) {
  Watch watch = MakeWatch();
  watch.Adopt(now_);
  seen_ = {.processRuns = true, .mutexExists = true, .connection = ConnectionSeen::kNone};
  EXPECT_EQ(Decide(watch), Step::kTerminate);
}

TEST_F(WatchTest, ADatabaseThatComesBackByItselfEndsTheWait) {
  Watch watch = MakeWatch();
  EXPECT_EQ(Decide(watch), Step::kStart);
  watch.Started(now_);
  seen_ = {.processRuns = true, .mutexExists = true, .asked = Asked::kDatabase, .connection = ConnectionSeen::kNone};
  EXPECT_EQ(Decide(watch), Step::kNothing);
  seen_.connection = ConnectionSeen::kOpen;
  EXPECT_EQ(Decide(watch), Step::kNothing);
  EXPECT_EQ(watch.State(), State::kRunning);
}

TEST_F(WatchTest, TheLimitOfRestartsHoldsForDeathsAndForRequests) {
  limits_.restartsPerMinute = 2;
  Watch watch = MakeRunning();
  for (int i = 0; i < 2; ++i) {
    Die();
    EXPECT_EQ(Decide(watch), Step::kStart);
    Start(watch);
    EXPECT_EQ(Decide(watch), Step::kNothing);
  }
  seen_.asked = Asked::kRestart;
  seen_.connection = ConnectionSeen::kLost;
  EXPECT_EQ(Decide(watch), Step::kNothing) << "it goes on answering";
  EXPECT_THAT(watch.Reason(), HasSubstr("limit of restarts"));
  Pass(59);
  seen_.beat = true;
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Die();
  EXPECT_EQ(Decide(watch), Step::kNothing);
  Pass(1);
  EXPECT_EQ(Decide(watch), Step::kStart);
}

TEST_F(WatchTest, NoSequenceOfEventsExceedsTheLimit) {
  limits_.restartsPerMinute = 5;
  limits_.restartOn = RestartOn::kError;
  std::mt19937 random(1);
  const auto below = [&random](unsigned end) { return random() % end; };
  Watch watch = MakeWatch();
  std::vector<TimePoint> starts;
  for (int i = 0; i < 20000; ++i) {
    Pass(0.2);
    if (below(20) == 0) Die();
    if (seen_.processRuns) {
      seen_.mutexExists = below(50) != 0;
      seen_.beat = below(2) == 0;
      seen_.asked = static_cast<Asked>(below(3));
      seen_.connection = static_cast<ConnectionSeen>(below(4));
    }
    const bool ran = seen_.processRuns;
    const Step step = Decide(watch);
    if (step == Step::kStart) {
      ASSERT_FALSE(ran) << "a double";
      starts.push_back(now_);
      if (below(5) == 0) {
        watch.StartFailed(now_, "x");
      } else {
        Start(watch);
      }
    }
    if (step == Step::kTerminate || step == Step::kKill) {
      ASSERT_TRUE(ran);
      if (step == Step::kKill || below(2) == 0) Die();
    }
  }
  EXPECT_GT(starts.size(), 300U);
  for (std::size_t i = 6; i < starts.size(); ++i) {
    EXPECT_GE(starts[i] - starts[i - 5], seconds(60)) << i;
  }
}

TEST_F(WatchTest, OneThatIsNotWantedIsAskedToEndThenKilledAndNotStartedAgain) {
  Watch watch = MakeRunning();
  watch.Stop(now_, Seconds(6));
  EXPECT_EQ(Decide(watch), Step::kNothing) << "it may finish its request";
  Pass(6);
  EXPECT_EQ(Decide(watch), Step::kTerminate);
  Pass(15);
  EXPECT_EQ(Decide(watch), Step::kKill);
  Die();
  EXPECT_EQ(Decide(watch), Step::kNothing);
  EXPECT_EQ(watch.State(), State::kStopped);
  Pass(1000);
  EXPECT_EQ(Decide(watch), Step::kNothing);
}

TEST_F(WatchTest, OtherSettingsStartItAnewWithoutAPause) {
  limits_.restartsPerMinute = 1;
  Watch watch = MakeRunning();
  for (int i = 0; i < 5; ++i) {
    watch.Restart(now_, "settings");
    EXPECT_EQ(Decide(watch), Step::kTerminate);
    Die();
    EXPECT_EQ(Decide(watch), Step::kStart);
    Start(watch);
    EXPECT_EQ(Decide(watch), Step::kNothing);
  }
}

TEST_F(WatchTest, OneThatWasStoppedIsStartedWhenItIsWantedAgain) {
  Watch watch = MakeRunning();
  watch.Stop(now_);
  watch.Restart(now_, "wanted again");
  EXPECT_EQ(Decide(watch), Step::kTerminate);
  Die();
  EXPECT_EQ(Decide(watch), Step::kStart);
}

}  // namespace
}  // namespace ods::controller
