// Tries the connections of a configuration, each by a server of its own: what a driver does to its process, it does to
// none that matters, and what is tried is what will run.
#pragma once

#include <string>

#include "Settings.h"

namespace ods::controller {

struct CheckResult {
  bool connected = false;
  double seconds = 0;
  std::string failure;  ///< "" when connected
};

/// Starts a server of the source in a temporary folder, with queues of its own, and waits until it has its connection
/// or tells why it has none. It is ended again. Raises error 1000 when it cannot be started.
[[nodiscard]] CheckResult CheckConnection(const Settings& settings, const Source& source);

}  // namespace ods::controller
