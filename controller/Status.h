// What `status` shows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Reports.h"
#include "Settings.h"

namespace ods::controller {

struct ServerStatus {
  std::string id;
  std::string state;
  std::string reason;
  std::optional<int> process;
  std::optional<double> uptime;          ///< seconds
  std::optional<std::int64_t> requests;  ///< answered by this process
  std::optional<std::uint64_t> residentBytes;
  std::int64_t restarts = 0;       ///< by this controller
  std::optional<Message> message;  ///< the last report
  std::string messageTime;         ///< "yyyy-mm-dd hh:nn:ss", local time
};

struct ControllerStatus {
  std::optional<int> process;  ///< of the controller; nothing when none runs
  std::vector<ServerStatus> servers;
};

/// Looks at the folders of the settings. Without a controller servers are "running" or "stopped"; those that it has not
/// looked at yet are "waiting". Raises error 1000
/// when the folders may not be read.
[[nodiscard]] ControllerStatus ReadStatus(const Settings& settings);

/// True when the controller and all its servers run.
[[nodiscard]] bool IsWell(const ControllerStatus& status);
/// A table with a line for the controller above it; each line ends with a line break.
[[nodiscard]] std::string StatusTable(const ControllerStatus& status);
/// {"controller": {"process": …}, "servers": [{…}]}, one line; null where there is nothing.
[[nodiscard]] std::string StatusJson(const ControllerStatus& status);

}  // namespace ods::controller
