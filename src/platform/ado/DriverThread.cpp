#include "platform/ado/DriverThread.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>

#include "common/Error.h"
#include "platform/ado/OdbcDiagnostics.h"

namespace ods::odbc {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often the caller is asked whether to give up: often enough to paint windows.
constexpr milliseconds kAsk(20);
/// A driver that keeps the limit by itself ends before it is cancelled.
constexpr milliseconds kGrace(250);
/// How long a cancelled call may take to come back.
constexpr milliseconds kCancelled(3000);
/// The same where the caller gives up: it has no time.
constexpr milliseconds kCancelledInHaste(200);
/// How long the end of a connection is waited for.
constexpr milliseconds kClosing(3000);
/// No more threads are begun than this beside stuck ones.
constexpr int kMostStuck = 16;

std::atomic<int>& Stuck() {
  static std::atomic<int> stuck = 0;
  return stuck;
}

/// Runs a call, and lets go of what it holds.
void RunPosted(std::function<void()>&& call) {
  try {
    const std::function<void()> posted = std::move(call);
    posted();
  } catch (const std::exception&) {  // nobody waits for it
  }
}

/// Runs `call` on a thread of its own, which counts as stuck as long as it is there.
void RunApart(std::function<void()> call) {
  ++Stuck();
  std::thread([call = std::move(call)]() mutable {
    RunPosted(std::move(call));
    --Stuck();
  }).detach();
}

/// Cancelling may hang as well.
void CancelApart(const std::shared_ptr<Canceller>& canceller) {
  RunApart([canceller] { canceller->Cancel(); });
}

}  // namespace

Error RanOut(const CallLimit& limit) {
  return {ErrorNumberOfState("HYT00"), "The database did not answer within " + std::to_string(limit.seconds) +
                                           " seconds: " + limit.givenUp + " was given up."};
}

void Canceller::Set(std::function<void()> cancel) {
  const std::lock_guard lock(mutex_);
  cancel_ = std::move(cancel);
}

void Canceller::Cancel() {
  std::function<void()> cancel;
  {
    const std::lock_guard lock(mutex_);
    cancel = cancel_;
  }
  if (cancel) cancel();
}

struct DriverThread::State {
  std::mutex mutex;
  std::condition_variable changed;  ///< for the thread: there is a call, or the end
  std::condition_variable done;     ///< for the caller
  std::deque<std::function<void()>> posted;
  std::function<void()> call;
  std::exception_ptr failure;
  bool calling = false;  ///< a call that somebody waits for is not done
  bool closing = false;
  bool stuck = false;
  bool ended = false;  ///< the thread does nothing more
};

DriverThread::DriverThread(std::function<bool()> giveUp)
    : giveUp_(std::move(giveUp)), state_(std::make_shared<State>()), asked_(Clock::now()) {
  if (Stuck() >= kMostStuck) {
    throw Error(error_number::kGeneralFailure,
                std::to_string(kMostStuck) +
                    " calls of database drivers have not come back: no connection is opened before one does.");
  }
  thread_ = std::thread([state = state_] { Work(state); });
}

DriverThread::~DriverThread() {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->stuck) return;  // the thread is on its own already
    state_->closing = true;
    state_->changed.notify_one();
  }
  bool givenUp = false;
  try {
    if (WaitUntil(Clock::now() + kClosing, true, givenUp)) {
      thread_.join();
      return;
    }
  } catch (const std::exception&) {  // of what the caller runs meanwhile: nothing can be done about it here
  }
  GiveUp();
}

/// The thread. A call's own things go with it before the caller is told: they belong to this thread.
void DriverThread::Work(const std::shared_ptr<State>& state) {
  std::unique_lock lock(state->mutex);
  while (true) {
    state->changed.wait(lock, [&] { return !state->posted.empty() || state->call || state->closing || state->stuck; });
    if (state->stuck) break;
    if (!state->posted.empty()) {
      std::function<void()> posted = std::move(state->posted.front());
      state->posted.pop_front();
      lock.unlock();
      RunPosted(std::move(posted));
      lock.lock();
    } else if (state->call) {
      std::function<void()> call = std::exchange(state->call, nullptr);
      lock.unlock();
      std::exception_ptr failure;
      try {
        call();
      } catch (...) {
        failure = std::current_exception();
      }
      call = nullptr;
      lock.lock();
      state->failure = std::move(failure);
      state->calling = false;
      lock.unlock();  // or the caller would wake up to a locked mutex
      state->done.notify_one();
      lock.lock();
    } else {
      break;
    }
  }
  // A stuck thread whose driver came back, or whose connection was given up for another reason, cleans up.
  while (!state->posted.empty() || state->call) {
    std::deque<std::function<void()>> posted = std::exchange(state->posted, {});
    std::function<void()> neverRun = std::exchange(state->call, nullptr);
    lock.unlock();
    neverRun = nullptr;
    for (std::function<void()>& each : posted) RunPosted(std::move(each));
    lock.lock();
  }
  state->ended = true;
  state->done.notify_one();
  if (state->stuck) --Stuck();
}

void DriverThread::Run(std::function<void()> call, const CallLimit& limit,
                       const std::shared_ptr<Canceller>& canceller) {
  const auto start = Clock::now();
  if (IsStuck()) {
    throw Error(error_number::kGeneralFailure, "The connection is given up: the database driver did not come back.");
  }
  bool givenUp = start - asked_ >= kAsk && MustGiveUp();
  if (!givenUp) {
    std::unique_lock lock(state_->mutex);
    state_->failure = nullptr;
    state_->call = std::move(call);
    state_->calling = true;
    lock.unlock();
    state_->changed.notify_one();
  }
  const Ending ending = givenUp ? Ending::kGivenUp : Wait(limit, start, canceller);
  const std::exception_ptr failure = ending == Ending::kDone ? std::exchange(state_->failure, nullptr) : nullptr;
  const bool late = limit.seconds > 0 && Clock::now() - start >= std::chrono::seconds(limit.seconds);
  const bool ranOut = ending == Ending::kRanOut || (failure && late);
  if (ranOut) throw RanOut(limit);
  if (ending == Ending::kGivenUp) {
    throw Error(error_number::kGeneralFailure, "The call of the database driver was given up: " + limit.givenUp + ".");
  }
  if (failure) std::rethrow_exception(failure);
}

DriverThread::Ending DriverThread::Wait(const CallLimit& limit, Clock::time_point start,
                                        const std::shared_ptr<Canceller>& canceller) {
  const auto end = limit.seconds > 0 ? start + std::chrono::seconds(limit.seconds) + kGrace : Clock::time_point::max();
  bool givenUp = false;
  try {
    if (WaitUntil(end, true, givenUp)) return Ending::kDone;
    if (canceller) {
      CancelApart(canceller);
      const bool inHaste = givenUp;
      if (WaitUntil(Clock::now() + (inHaste ? kCancelledInHaste : kCancelled), !inHaste, givenUp)) {
        // What it gave is of no use: the cancelling may come late, and would end the next call.
        return inHaste ? Ending::kGivenUp : Ending::kRanOut;
      }
    }
    GiveUp();
    return givenUp ? Ending::kGivenUp : Ending::kRanOut;
  } catch (...) {
    GiveUp();
    throw;
  }
}

/// True when the call, or the thread that is to end, is done. With `listen` the caller is asked meanwhile; `givenUp`
/// tells that he gave up.
bool DriverThread::WaitUntil(Clock::time_point end, bool listen, bool& givenUp) {
  std::unique_lock lock(state_->mutex);
  const auto isDone = [&] { return state_->closing ? state_->ended : !state_->calling; };
  while (!isDone()) {
    const auto now = Clock::now();
    if (now >= end) return false;
    if (state_->done.wait_until(lock, std::min(end, now + kAsk), isDone)) return true;
    if (!listen) continue;
    lock.unlock();
    givenUp = MustGiveUp();
    lock.lock();
    if (givenUp) return isDone();
  }
  return true;
}

bool DriverThread::MustGiveUp() {
  asked_ = Clock::now();
  return giveUp_ && giveUp_();
}

void DriverThread::GiveUp() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->stuck = true;
    if (!state_->ended) ++Stuck();
    state_->changed.notify_one();
  }
  thread_.detach();
}

void DriverThread::Post(std::function<void()> call, Urgency urgency) {
  {
    const std::lock_guard lock(state_->mutex);
    if (!state_->ended) {
      state_->posted.push_back(std::move(call));
      if (urgency == Urgency::kNow || state_->stuck) state_->changed.notify_one();
      return;
    }
  }
  RunApart(std::move(call));
}

bool DriverThread::IsStuck() const {
  const std::lock_guard lock(state_->mutex);
  return state_->stuck;
}

int StuckDriverThreads() { return Stuck(); }

}  // namespace ods::odbc
