#include "Watch.h"

#include <utility>

namespace ods::controller {

namespace {

TimePoint After(TimePoint now, Seconds pause) { return now + std::chrono::duration_cast<Clock::duration>(pause); }

}  // namespace

std::string_view StateName(State state) {
  switch (state) {
    case State::kWaiting:
      return "waiting";
    case State::kForeign:
      return "foreign";
    case State::kStarting:
      return "starting";
    case State::kRunning:
      return "running";
    case State::kRetrying:
      return "no database";
    case State::kEnding:
      return "ending";
    case State::kStopped:
      return "stopped";
  }
  return "";
}

Watch::Watch(const WatchLimits& limits, std::function<double()> random)
    : limits_(limits),
      backoff_(limits.backoffLeast, limits.backoffMost, std::move(random)),
      restartLimit_(limits.restartsPerMinute) {}

void Watch::Enter(controller::State state, std::optional<TimePoint> due, std::string reason) {
  state_ = state;
  due_ = due;
  reason_ = std::move(reason);
}

void Watch::Adopt(TimePoint now) {
  Started(now);
  // Its parent mutex was gone for a while: it may be about to end, and is then started again at once.
  healthy_ = true;
}

void Watch::Started(TimePoint now) {
  if (hasRun_) ++restarts_;
  hasRun_ = true;
  healthy_ = false;
  planned_ = false;
  counted_ = false;
  lastBeat_ = now;
  Enter(State::kStarting, After(now, Seconds(limits_.start)), reason_);
}

void Watch::StartFailed(TimePoint now, const std::string& why) {
  hasRun_ = true;
  counted_ = false;
  Enter(State::kWaiting, After(now, backoff_.Next()), why);
}

void Watch::Stop(TimePoint now, Seconds grace) {
  wanted_ = false;
  if (state_ == State::kWaiting || state_ == State::kForeign) return Enter(State::kStopped, std::nullopt, "");
  if (state_ == State::kStopped) return;
  asked_ = false;
  killAt_ = After(now, grace + Seconds(limits_.stop));
  Enter(State::kEnding, After(now, grace), "it is not wanted any more");
}

void Watch::SetLimits(const WatchLimits& limits) {
  limits_ = limits;
  backoff_.SetRange(limits.backoffLeast, limits.backoffMost);
  restartLimit_.SetMost(limits.restartsPerMinute);
}

void Watch::Restart(TimePoint now, const std::string& why) {
  wanted_ = true;
  planned_ = true;
  counted_ = true;  // by an administrator's wish: not a failure
  if (state_ == State::kStopped || state_ == State::kWaiting || state_ == State::kForeign)
    return Enter(State::kWaiting, now, why);
  if (state_ == State::kEnding) return;
  asked_ = false;
  killAt_ = After(now, Seconds(limits_.stop));
  Enter(State::kEnding, now, why);
}

Step Watch::Decide(TimePoint now, const Observation& seen) {
  return seen.processRuns ? WhenThere(now, seen) : WhenGone(now, seen);
}

void Watch::HasGone(TimePoint now) {
  if (!wanted_) return Enter(State::kStopped, std::nullopt, "");
  const bool wasEnding = state_ == State::kEnding;
  const Seconds pause = planned_ || healthy_ ? Seconds(0) : backoff_.Next();
  Enter(State::kWaiting, After(now, pause), wasEnding ? reason_ : "its process has ended");
}

Step Watch::WhenGone(TimePoint now, const Observation& seen) {
  if (state_ == State::kStopped) return Step::kNothing;
  HearConnection(seen);
  if (state_ != State::kWaiting && state_ != State::kForeign) HasGone(now);
  if (state_ == State::kStopped) return Step::kNothing;
  if (seen.mutexExists) {
    if (state_ != State::kForeign) Enter(State::kForeign, due_, "another process holds its running mutex");
    return Step::kNothing;
  }
  if (state_ == State::kForeign) Enter(State::kWaiting, due_, reason_);
  if (due_ && now < *due_) return Step::kNothing;
  if (hasRun_ && !counted_) {
    if (!MayRestart(now)) return Step::kNothing;
    restartLimit_.Count(now);
    counted_ = true;
  }
  return Step::kStart;
}

/// True when the limit allows a restart now; it counts from the moment at which it is made.
bool Watch::MayRestart(TimePoint now) {
  if (const TimePoint allowed = restartLimit_.NextAllowed(now); allowed > now) {
    constexpr std::string_view kHeld = "; the limit of restarts a minute is reached";
    if (!reason_.ends_with(kHeld)) reason_ += kHeld;
    due_ = allowed;
    return false;
  }
  return true;
}

void Watch::HearConnection(const Observation& seen) {
  if (seen.connection != ConnectionSeen::kOpen) return;
  healthy_ = true;
  backoff_.Reset();
}

Step Watch::WhenThere(TimePoint now, const Observation& seen) {
  if (seen.beat) lastBeat_ = now;
  HearConnection(seen);
  if (state_ == State::kEnding) return WhenEnding(now);
  if (state_ == State::kStarting) {
    if (seen.mutexExists) {
      Enter(State::kRunning, std::nullopt, "");
    } else if (now >= *due_) {
      killAt_ = now;
      healthy_ = false;
      Enter(State::kEnding, now, "it did not take its running mutex in time");
      return WhenEnding(now);
    } else {
      return Step::kNothing;
    }
  }
  return WhenRunning(now, seen);
}

Step Watch::WhenRunning(TimePoint now, const Observation& seen) {
  if (!seen.mutexExists) {
    asked_ = false;
    killAt_ = After(now, Seconds(limits_.stop));
    Enter(State::kEnding, now, "its running mutex is gone");
    return WhenEnding(now);
  }
  if (now - lastBeat_ >= Seconds(limits_.alive)) {
    killAt_ = now;
    Enter(State::kEnding, now, "its alive file is older than " + std::to_string(limits_.alive) + " seconds");
    return WhenEnding(now);
  }
  Hear(now, seen);
  if (state_ != State::kRetrying) return Step::kNothing;
  if (mends_ && seen.connection == ConnectionSeen::kOpen) {
    Enter(State::kRunning, std::nullopt, "");
    return Step::kNothing;
  }
  return now >= *due_ ? StartAnew(now) : Step::kNothing;
}

/// A report of a server that has a connection is a client's failed request, and that may be the client's fault.
void Watch::Hear(TimePoint now, const Observation& seen) {
  if (state_ == State::kRetrying) return;
  // Without a connection no report is needed, which may have come before somebody looked.
  if (seen.asked == Asked::kNothing && seen.connection != ConnectionSeen::kNone) return;
  mends_ = seen.connection == ConnectionSeen::kNone || seen.connection == ConnectionSeen::kUnknown;
  if (seen.connection == ConnectionSeen::kLost) {
    if (limits_.reconnects || limits_.restartOn == RestartOn::kNever) return;
    Enter(State::kRetrying, now, "its connection to the database is lost");
  } else if (seen.connection == ConnectionSeen::kNone || seen.asked == Asked::kDatabase) {
    if (limits_.reconnects || seen.connection == ConnectionSeen::kOpen) return;
    // One that has had its connection and gave it up, because its driver is stuck, say, is started anew at once.
    const Seconds pause = healthy_ ? Seconds(0) : backoff_.Next();
    Enter(State::kRetrying, After(now, pause), "it has no connection to the database");
  } else if (limits_.restartOn == RestartOn::kError) {
    Enter(State::kRetrying, now, "a request failed");
  }
}

Step Watch::StartAnew(TimePoint now) {
  // It goes on answering, if only with errors, until the limit allows to start another one.
  if (!MayRestart(now)) return Step::kNothing;
  planned_ = true;
  asked_ = false;
  killAt_ = After(now, Seconds(limits_.stop));
  Enter(State::kEnding, now, reason_);
  return WhenEnding(now);
}

Step Watch::WhenEnding(TimePoint now) {
  constexpr Seconds kBetweenKills(1);
  if (now >= killAt_) {
    killAt_ = After(now, kBetweenKills);
    due_ = killAt_;
    return Step::kKill;
  }
  if (asked_ || (due_ && now < *due_)) return Step::kNothing;
  asked_ = true;
  due_ = killAt_;
  return Step::kTerminate;
}

}  // namespace ods::controller
