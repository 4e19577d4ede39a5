// What the commands do.
#pragma once

#include <iosfwd>

#include "Options.h"

namespace odbc_data {

/// The streams that a command reads and writes.
struct Streams {
  std::istream& input;
  std::ostream& output;
  std::ostream& errors;
};

/// Runs a command and gives its exit status. Errors of asking are told on `streams.errors`. Raises `UsageError`,
/// `Failure` and the errors of files.
[[nodiscard]] int RunCommand(const Options& options, Streams streams);

}  // namespace odbc_data
