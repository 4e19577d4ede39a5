// How the server and its controller see each other live: the running mutex, the alive file, the message file,
// the state file.
// (`MutexExists`, with which the parent mutex is watched, is the platform's.)
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/Error.h"
#include "common/ToldOnce.h"
#include "common/Value.h"
#include "log/Trace.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/System.h"

namespace ods {

/// Creates a named mutex, held until it is destroyed. Raises error 1000 "Error creating instance mutex (" + system
/// error number + "). " + system error text.
[[nodiscard]] std::unique_ptr<NamedMutex> CreateInstanceMutex(const std::string& name);
/// Lets go of the mutex and clears the handle; does nothing for a cleared one. Raises error 1000 "Error destroying
/// instance mutex handle (" + number + "). " + text; the handle is cleared then too.
void DestroyInstanceMutex(std::unique_ptr<NamedMutex>& handle);

/// Writes a status document over `file`; does nothing for "". Characters that XML cannot carry become "?".
/// Raises error 1000 naming the file.
void WriteStatusFile(const std::string& type, const std::string& code, const std::string& message,
                     const std::string& file);

/// How the connection to the database is, as the state file tells it.
namespace connection_state {
inline constexpr std::string_view kNone = "none";
inline constexpr std::string_view kOpen = "open";
/// An error has told that nothing can be asked of it any more.
inline constexpr std::string_view kLost = "lost";
}  // namespace connection_state

/// What a controller wants to know beyond whether the server lives. The server judges the connection by the driver's
/// own states and numbers, so no text that a client has a part in can feign a loss.
struct StateReport {
  std::int32_t requests = 0;  ///< answered since the start
  std::string connection = std::string(connection_state::kNone);
  std::string failure = {};  ///< why there is no connection; "" when there is one, or none was tried

  [[nodiscard]] bool operator==(const StateReport&) const = default;
};

/// The two status files of the process, and the state file. A file that cannot be written is traced, once until it can
/// be written again or fails in another way, and never raises an error.
class StatusSignals {
 public:
  using Clock = std::function<Date()>;

  /// `tracer` outlives the object. "" as a file writes none. `clock` gives the local time.
  StatusSignals(Tracer& tracer, std::string messageFile, std::string aliveFile, Clock clock = LocalNow);

  /// Traces the report and writes it to the message file.
  void ReportStatus(const std::string& type, const std::string& code, const std::string& message);
  /// Writes the time to the alive file, when the last write is more than 5 seconds ago (or the day has changed since).
  void AliveHeartbeat();

  /// Names the file of `TellState`; "" is none.
  void WriteStateTo(std::string file) { stateFile_ = {std::move(file)}; }
  /// Writes the state, `<XML><Requests/><Connection/><Failure/></XML>`: at once when connection or failure have
  /// changed, otherwise when it has changed and the last write is more than 5 seconds ago.
  void TellState(const StateReport& state);

 private:
  struct StatusFile {
    std::string path;
    ToldOnce failure = {};
  };

  void Write(StatusFile& file, const std::string& type, const std::string& code, const std::string& message);
  void TraceFailure(StatusFile& file, const std::optional<Error>& failure);

  Tracer* tracer_;
  StatusFile messageFile_;
  StatusFile aliveFile_;
  StatusFile stateFile_;
  Clock clock_;
  std::optional<int> lastBeat_;  ///< seconds since midnight
  std::optional<StateReport> told_;
  std::optional<int> toldAt_;  ///< seconds since midnight
};

}  // namespace ods
