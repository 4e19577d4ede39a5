// A step whose failure is dealt with on the spot: its error as a value.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "common/Error.h"

namespace ods {

/// Runs `action`; gives the error it raised, nothing when it succeeded. Errors of the language's library (no memory, a
/// text too long) count as the system's own, number 1000.
template <typename Action>
[[nodiscard]] std::optional<Error> Attempt(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const Error& error) {
    return error;
  } catch (const std::exception& error) {
    return Error(error_number::kOwn, error.what());
  }
  return std::nullopt;
}

/// "Error " + number + ". " + description.
[[nodiscard]] inline std::string ErrorText(const Error& error) {
  return "Error " + std::to_string(error.Number()) + ". " + error.Description();
}

}  // namespace ods
