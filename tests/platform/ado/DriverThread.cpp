#include "platform/ado/DriverThread.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "common/Error.h"
#include "support/RaisedErrors.h"

namespace ods::odbc {
namespace {

using std::chrono::milliseconds;

constexpr auto kTimeOut = static_cast<std::int32_t>(0x80040E31U);
const CallLimit kNoLimit = {0, "the call"};

TEST(DriverThread, GivesWhatACallGivesAndRaisesWhatItRaises) {
  DriverThread thread(nullptr);
  EXPECT_NE(thread.Ask([] { return std::this_thread::get_id(); }, kNoLimit), std::this_thread::get_id());
  EXPECT_RAISES(thread.Run([] { throw Error(53, "no such thing"); }, kNoLimit), 53, "no such thing");
  EXPECT_FALSE(thread.IsStuck());
}

TEST(DriverThread, WhatIsPostedRunsBeforeTheNextCallAndBeforeTheEnd) {
  std::vector<int> order;
  {
    DriverThread thread(nullptr);
    thread.Post([&] { order.push_back(1); }, DriverThread::Urgency::kWithTheNextCall);
    thread.Post([&] { order.push_back(2); });
    thread.Run([&] { order.push_back(3); }, kNoLimit);
    thread.Post([&] { order.push_back(4); }, DriverThread::Urgency::kWithTheNextCall);
  }
  EXPECT_THAT(order, ::testing::ElementsAre(1, 2, 3, 4));
}

TEST(DriverThread, WhatIsUrgentWaitsForNoCall) {
  std::promise<void> done;
  DriverThread thread(nullptr);
  thread.Post([&] { done.set_value(); });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

// The cancelling may come only when the call is over, and would then end the next one.
TEST(DriverThread, WhatACallGivesAfterItWasCancelledIsNotTaken) {
  const auto canceller = std::make_shared<Canceller>();
  auto cancelled = std::make_shared<std::promise<void>>();
  canceller->Set([cancelled] { cancelled->set_value(); });
  DriverThread thread(nullptr);
  EXPECT_RAISES(thread.Ask(
                    [cancelled] {
                      cancelled->get_future().wait();
                      return 1;
                    },
                    {1, "the statement"}, canceller),
                kTimeOut, "The database did not answer within 1 seconds: the statement was given up.");
  EXPECT_FALSE(thread.IsStuck()) << "it came back";
  EXPECT_EQ(thread.Ask([] { return 2; }, kNoLimit), 2);
}

TEST(DriverThread, ACallerWhoGivesUpWaitsForNobody) {
  const int stuckBefore = StuckDriverThreads();
  auto release = std::make_shared<std::promise<void>>();
  std::atomic<bool> mustStop = false;
  {
    DriverThread thread([&] { return mustStop.load(); });
    mustStop = true;
    EXPECT_RAISES(thread.Run([release] { release->get_future().wait(); }, kNoLimit), error_number::kGeneralFailure,
                  "The call of the database driver was given up: the call.");
    EXPECT_TRUE(thread.IsStuck());
    EXPECT_RAISES(thread.Run([] {}, kNoLimit), error_number::kGeneralFailure,
                  "The connection is given up: the database driver did not come back.");
  }
  EXPECT_EQ(StuckDriverThreads(), stuckBefore + 1);
  release->set_value();
  while (StuckDriverThreads() > stuckBefore) std::this_thread::sleep_for(milliseconds(1));
}

}  // namespace
}  // namespace ods::odbc
