// How one server is started, and where everything of it lies.
#pragma once

#include <string>
#include <vector>

#include "Settings.h"

namespace ods::controller {

/// Paths and names of one server, which stay the same over any number of starts.
struct Place {
  std::string id;    ///< source, ".", number from 1
  std::string slot;  ///< occupied by its process
  std::string alive;
  std::string message;
  std::string state;
  std::string configuration;
  std::string data;  ///< folder; its logs are in "Logs"
  std::string runningMutex;
};
[[nodiscard]] Place PlaceOf(const Settings& settings, const std::string& id);
[[nodiscard]] std::string ServerId(const Source& source, int number);

/// The name of the mutex that says that the controller of these folders runs.
[[nodiscard]] std::string ParentMutexName(const Settings& settings);
/// The slot of that controller.
[[nodiscard]] std::string ControllerSlot(const Settings& settings);
/// Where the controller writes what `status` shows.
[[nodiscard]] std::string OverviewFile(const Settings& settings);
/// The folder of the servers' slots.
[[nodiscard]] std::string SlotFolder(const Settings& settings);

/// What a server is started with. Two that are equal make the same server.
struct Launch {
  std::vector<std::string> command;  ///< the program and its arguments; no secret
  std::string configuration;         ///< the text of its configuration file, with the connection string

  [[nodiscard]] bool operator==(const Launch&) const = default;
};
[[nodiscard]] Launch LaunchOf(const Settings& settings, const Source& source, const Place& place);

}  // namespace ods::controller
