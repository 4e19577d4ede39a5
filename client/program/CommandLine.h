// The command line: its options, commands and help texts.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Options.h"

namespace odbc_data {

/// Reads the command line, without the program's name, into `options`. Gives the exit status when there is nothing more
/// to do: a help was printed, or what is wrong.
[[nodiscard]] std::optional<int> ReadCommandLine(std::vector<std::string> arguments, Options& options);

}  // namespace odbc_data
