// The controller as a service: the loop around the supervisor, from the first start to the end of the last server.
#pragma once

#include <string>

namespace ods::controller {

/// Runs until SIGTERM or SIGINT; SIGHUP reads the configuration again. What happens goes to standard error, a line
/// each. Raises error 1000 when it cannot begin: a bad configuration, another controller of the same folders.
void RunService(const std::string& configuration);

}  // namespace ods::controller
