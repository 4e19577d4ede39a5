// A step whose failure is dealt with on the spot: its error as a value.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "common/Error.h"

namespace ods {

/// An error that was caught.
struct Failure {
  std::int32_t number = 0;
  std::string description;
};

/// Runs `action`; gives the error it raised, nothing when it succeeded. Errors of the language's library (no memory, a
/// text too long) count as the system's own, number 1000.
template <typename Action>
[[nodiscard]] std::optional<Failure> Attempt(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const Error& error) {
    return Failure{error.Number(), error.Description()};
  } catch (const std::exception& error) {
    return Failure{error_number::kOwn, error.what()};
  }
  return std::nullopt;
}

/// "Error " + number + ". " + description.
[[nodiscard]] inline std::string FailureText(const Failure& failure) {
  return "Error " + std::to_string(failure.number) + ". " + failure.description;
}

}  // namespace ods
