// What the program's exit status tells scripts, and the error that means wrong usage.
#pragma once

#include <stdexcept>

namespace odbc_data {

namespace exit_status {
inline constexpr int kAnswered = 0;
/// The answer came, and it is an error document.
inline constexpr int kErrorAnswer = 1;
/// Wrong usage, a file that cannot be read or written, a folder that cannot be used, an answer that is not understood.
inline constexpr int kUsage = 2;
/// No answer came in time.
inline constexpr int kNoAnswer = 3;
/// The user or the system stopped it: what shells give for an interrupted program.
inline constexpr int kInterrupted = 130;
}  // namespace exit_status

/// The user asked for something that there is not. The text tells what.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace odbc_data
