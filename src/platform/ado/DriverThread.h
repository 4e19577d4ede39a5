// A thread of its own for the calls of one connection's driver, so that a driver that does not come back holds up
// nobody.
//
// Internal to this folder. One caller hands one call at a time to the thread and waits for it, with a limit. A call
// that is not back then is first asked to end (its canceller, `SQLCancel`), and is given up when it does not: the
// caller gets an error and the thread is left to itself. It ends when its driver comes back; until then it counts as
// stuck. So a call may touch only what it owns, or shares the ownership of.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "common/Error.h"

namespace ods::odbc {

/// What a call is allowed, and what it is called in the text of its error.
struct CallLimit {
  int seconds = 0;      ///< 0 for none
  std::string givenUp;  ///< what "was given up": "connecting", "the statement"
};

/// The error of a call that was not back within its limit.
[[nodiscard]] Error RanOut(const CallLimit& limit);

/// What ends a call early. A call sets it when it knows; it may come too late, and then does nothing.
class Canceller {
 public:
  void Set(std::function<void()> cancel);
  void Cancel();

 private:
  std::mutex mutex_;
  std::function<void()> cancel_;
};

class DriverThread {
 public:
  /// `giveUp` runs on the caller's thread every few hundredths of a second while a call is under way, also when there
  /// are many short ones; true gives the call up at once. It may be empty.
  /// Raises the general failure when too many threads are stuck.
  explicit DriverThread(std::function<bool()> giveUp);
  DriverThread(const DriverThread&) = delete;
  DriverThread& operator=(const DriverThread&) = delete;
  DriverThread(DriverThread&&) = delete;
  DriverThread& operator=(DriverThread&&) = delete;
  /// Waits for what was posted to be done, but not for long.
  ~DriverThread();

  /// Runs `call` on the thread and waits for it. Raises what the call raises; the number of a time-out with a text of
  /// our own when it took longer than the limit, whether the driver came back or not; and the general failure when the
  /// call is given up for another reason, or the thread is stuck already.
  void Run(std::function<void()> call, const CallLimit& limit, const std::shared_ptr<Canceller>& canceller = nullptr);

  /// The same, for what `call` gives.
  template <typename Call>
  auto Ask(Call call, const CallLimit& limit, const std::shared_ptr<Canceller>& canceller = nullptr) {
    auto answer = std::make_shared<std::optional<decltype(call())>>();
    try {
      Run([answer, call = std::move(call)]() mutable { answer->emplace(call()); }, limit, canceller);
    } catch (...) {
      Post([answer = std::move(answer)]() mutable { answer.reset(); });  // it belongs to the thread
      throw;
    }
    return std::move(**answer);
  }

  /// When a call that nobody waits for is run: waking the thread for it takes time from the caller.
  enum class Urgency : std::uint8_t { kNow, kWithTheNextCall };

  /// Runs `call` on the thread before any later one, without waiting. What it raises is lost.
  void Post(std::function<void()> call, Urgency urgency = Urgency::kNow);

  /// True once a call was given up.
  [[nodiscard]] bool IsStuck() const;

 private:
  struct State;
  enum class Ending : std::uint8_t { kDone, kRanOut, kGivenUp };

  static void Work(const std::shared_ptr<State>& state);
  [[nodiscard]] bool MustGiveUp();
  [[nodiscard]] bool WaitUntil(std::chrono::steady_clock::time_point end, bool listen, bool& givenUp);
  [[nodiscard]] Ending Wait(const CallLimit& limit, std::chrono::steady_clock::time_point start,
                            const std::shared_ptr<Canceller>& canceller);
  void GiveUp();

  std::function<bool()> giveUp_;
  std::shared_ptr<State> state_;
  std::thread thread_;
  std::chrono::steady_clock::time_point asked_;  ///< when `giveUp_` was asked last
};

/// How many threads wait for a driver that did not come back, in the whole process.
[[nodiscard]] int StuckDriverThreads();

}  // namespace ods::odbc
