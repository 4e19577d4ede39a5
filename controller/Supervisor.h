// All servers of one configuration.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ManagedServer.h"
#include "Settings.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/Slot.h"

namespace ods::controller {

class Supervisor {
 public:
  /// Makes the folders, becomes their only controller, takes the parent mutex, and takes over the servers that an
  /// earlier controller has left; those that the settings do not know are to end. Nothing is started yet. Raises error
  /// 1000, with the other's process id when there is a controller of these folders already.
  Supervisor(Settings settings, Surroundings surroundings, TimePoint now);

  /// Looks at every server, takes the steps that are due, and writes the overview when it has changed.
  void Round(TimePoint now);
  /// Starts, stops and restarts what other settings want. Settings with other folders are refused with a told line.
  void Reload(Settings settings, TimePoint now);
  /// Lets go of the parent mutex, so that the servers end after the request in hand; who does not is asked to, then
  /// killed.
  void Stop(TimePoint now);

  /// True when no server has a process, after `Stop`.
  [[nodiscard]] bool HasEnded() const;
  /// True when every server was started, with or without success.
  [[nodiscard]] bool HasStarted() const;
  /// One line: how many servers run, and what is the matter with the first one that does not.
  [[nodiscard]] std::string Summary() const;
  /// What becomes readable when a server's process ends.
  [[nodiscard]] std::vector<int> Descriptors() const;

 private:
  void AddWanted(const Source& source, TimePoint now);
  void AdoptUnwanted(TimePoint now);
  ManagedServer& Add(const std::string& id, const Launch& launch, const WatchLimits& limits);
  void WriteOverview();

  Settings settings_;
  Surroundings surroundings_;
  std::optional<OccupiedSlot> slot_;
  std::unique_ptr<NamedMutex> parentMutex_;
  std::map<std::string, std::unique_ptr<ManagedServer>> servers_;
  std::string overview_;
};

}  // namespace ods::controller
