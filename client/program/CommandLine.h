// The command line: its options, commands and help texts.
#pragma once

#include <optional>

#include "Options.h"

namespace odbc_data {

/// Reads the command line into `options`. Gives the exit status when there is nothing more to do: a help was printed,
/// or what is wrong.
[[nodiscard]] std::optional<int> ReadCommandLine(int argumentCount, const char* const* arguments, Options& options);

}  // namespace odbc_data
