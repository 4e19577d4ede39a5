// What to do with one server, decided from what is seen of it: no process, file or clock is touched here.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Backoff.h"
#include "RestartLimit.h"
#include "Settings.h"

namespace ods::controller {

/// How the server says that its connection is, in its state file.
enum class ConnectionSeen { kUnknown, kNone, kLost, kOpen };
/// What its message file asks for.
enum class Asked { kNothing, kRestart, kDatabase };

/// One look at a server.
struct Observation {
  bool processRuns = false;
  bool mutexExists = false;                              ///< the running mutex
  bool beat = false;                                     ///< the alive file is another than at the look before
  Asked asked = Asked::kNothing;                         ///< by a report that was not there at the look before
  ConnectionSeen connection = ConnectionSeen::kUnknown;  ///< also what the last process has said at last
};

enum class Step { kNothing, kStart, kTerminate, kKill };

enum class State {
  kWaiting,   ///< it does not run, and is started when its time has come
  kForeign,   ///< the same, and a server that is not ours holds its running mutex
  kStarting,  ///< its process runs, its running mutex does not exist yet
  kRunning,
  kRetrying,  ///< it runs without a database, and is started anew when its time has come
  kEnding,    ///< it was asked to end, or ends by itself
  kStopped    ///< it does not run, and is not wanted
};
[[nodiscard]] std::string_view StateName(State state);

class Watch {
 public:
  Watch(const WatchLimits& limits, std::function<double()> random);

  /// A process of an earlier controller was found, which runs since before.
  void Adopt(TimePoint now);
  /// The step that `Decide` asked for was taken; `kStart` with success. A failed start comes again after a pause.
  void Started(TimePoint now);
  void StartFailed(TimePoint now, const std::string& why);
  /// It is not wanted any more. With `grace` it stops by itself, its parent mutex being gone, and is asked to only
  /// after so many seconds.
  void Stop(TimePoint now, Seconds grace = Seconds(0));
  /// It is wanted, with other settings.
  void Restart(TimePoint now, const std::string& why);

  /// Other limits, from the next decision on.
  void SetLimits(const WatchLimits& limits);

  [[nodiscard]] Step Decide(TimePoint now, const Observation& seen);

  [[nodiscard]] controller::State State() const { return state_; }
  /// Why the last step was taken or the next is waited for; "" when all is well.
  [[nodiscard]] const std::string& Reason() const { return reason_; }
  /// When something is to happen without anything being seen; nothing is when it hangs on what is seen.
  [[nodiscard]] std::optional<TimePoint> Due() const { return due_; }
  [[nodiscard]] bool IsWanted() const { return wanted_; }
  [[nodiscard]] std::int64_t Restarts() const { return restarts_; }

 private:
  [[nodiscard]] Step WhenGone(TimePoint now, const Observation& seen);
  [[nodiscard]] Step WhenThere(TimePoint now, const Observation& seen);
  [[nodiscard]] Step WhenRunning(TimePoint now, const Observation& seen);
  [[nodiscard]] Step WhenEnding(TimePoint now);
  [[nodiscard]] bool MayRestart(TimePoint now);
  void HasGone(TimePoint now);
  void HearConnection(const Observation& seen);
  void Hear(TimePoint now, const Observation& seen);
  /// Asks a running server to end, to start it anew, as soon as the limit allows.
  [[nodiscard]] Step StartAnew(TimePoint now);
  void Enter(controller::State state, std::optional<TimePoint> due, std::string reason);

  WatchLimits limits_;
  Backoff backoff_;
  RestartLimit restartLimit_;
  controller::State state_ = controller::State::kWaiting;
  std::string reason_;
  std::optional<TimePoint> due_;
  TimePoint lastBeat_;
  TimePoint killAt_;  ///< while it ends
  bool wanted_ = true;
  bool asked_ = false;    ///< SIGTERM was sent, while it ends
  bool counted_ = false;  ///< the restart that is under way is in the limit already
  bool hasRun_ = false;   ///< it was started before: the next start is a restart
  bool healthy_ = false;  ///< this process has had its connection
  bool mends_ = false;    ///< the wait for a new start is over when it gets its connection by itself
  bool planned_ = false;  ///< its end was wanted: no pause before the next start
  std::int64_t restarts_ = 0;
};

}  // namespace ods::controller
