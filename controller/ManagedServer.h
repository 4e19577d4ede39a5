// One server under watch: its process, its files, and the watch that decides.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Launch.h"
#include "Reports.h"
#include "Watch.h"
#include "platform/system/Processes.h"

namespace ods::controller {

/// What a server has from its controller. The functions outlive it.
struct Surroundings {
  std::function<void(const std::string&)> tell;  ///< a line for the journal
  std::function<double()> random;                ///< from 0 up to 1
};

class ManagedServer {
 public:
  ManagedServer(Place place, Launch launch, const WatchLimits& limits, const Surroundings& surroundings);

  /// Takes over the process that occupies the slot, if there is one. One that was started otherwise than this one would
  /// be is started anew.
  void AdoptRunning(TimePoint now);
  /// Looks, and takes the step that is due.
  void Round(TimePoint now);
  void Stop(TimePoint now, Seconds grace = Seconds(0));
  /// Other settings: the server is started anew where they make another one.
  void Change(Launch launch, const WatchLimits& limits, TimePoint now);

  [[nodiscard]] const Place& Files() const { return place_; }
  [[nodiscard]] const Watch& Decisions() const { return watch_; }
  [[nodiscard]] bool HasProcess() const { return process_.has_value(); }
  /// Readable when its process has ended; nothing without one.
  [[nodiscard]] std::optional<int> Descriptor() const;

 private:
  [[nodiscard]] Observation Look();
  [[nodiscard]] bool ProcessRuns();
  void Take(Step step, TimePoint now);
  void Start(TimePoint now);
  [[nodiscard]] bool Adopt(TimePoint now);
  [[nodiscard]] bool RunsAsWanted() const;
  void Tell(const std::string& text) const { surroundings_->tell(place_.id + ": " + text); }
  void TellState();

  Place place_;
  Launch launch_;
  const Surroundings* surroundings_;
  Watch watch_;
  std::optional<ProcessHandle> process_;
  ChangeOfFile alive_;
  ChangeOfFile message_;
  std::string told_;  ///< state and reason that were told last
};

}  // namespace ods::controller
