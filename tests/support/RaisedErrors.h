// What tests say about raised errors.
#pragma once

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>

#include "common/Error.h"

namespace ods::test {

/// The error that `action` raises; nothing when it raises none.
template <typename Action>
std::optional<Error> ErrorOf(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const Error& error) {
    return error;
  }
  return std::nullopt;
}

/// The same as "<number> <description>", or "nothing", for a child process, which can only report texts.
template <typename Action>
std::string RaisedText(Action&& action) {
  const std::optional<Error> error = ErrorOf(std::forward<Action>(action));
  return error ? std::to_string(error->Number()) + " " + error->Description() : "nothing";
}

template <typename Action>
::testing::AssertionResult Raises(Action&& action, const ::testing::Matcher<std::int32_t>& number,
                                  const ::testing::Matcher<const std::string&>& description) {
  const std::optional<Error> error = ErrorOf(std::forward<Action>(action));
  if (error && number.Matches(error->Number()) && description.Matches(error->Description())) {
    return ::testing::AssertionSuccess();
  }
  auto failure = ::testing::AssertionFailure() << "raised ";
  if (error) {
    failure << error->Number() << " (0x" << ErrorNumberHex(error->Number()) << ") \"" << error->Description() << '"';
  } else {
    failure << "nothing";
  }
  return failure << ", wanted a number that " << ::testing::DescribeMatcher<std::int32_t>(number)
                 << ", and a text that " << ::testing::DescribeMatcher<const std::string&>(description);
}

}  // namespace ods::test

/// The expression raises an `Error` of this number and description. Either may be a matcher, `_` for any.
#define EXPECT_RAISES(expression, number, description) \
  EXPECT_TRUE(::ods::test::Raises([&] { static_cast<void>(expression); }, number, description))
