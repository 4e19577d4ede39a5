// The signals that the process takes otherwise than the programs that it starts.
#pragma once

#include <array>
#include <csignal>

namespace ods {

/// They end a process that has not asked for them; without them the writing fails, and that is told.
inline constexpr auto kFailureSignals = std::to_array({SIGPIPE, SIGXFSZ});

}  // namespace ods
