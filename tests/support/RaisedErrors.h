// What tests say about raised errors.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "common/Error.h"

namespace ods {

template <typename Action>
::testing::AssertionResult Raises(Action action, std::int32_t number, const std::string& description) {
  try {
    action();
  } catch (const Error& error) {
    if (error.Number() == number && error.Description() == description) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "raised " << error.Number() << " \"" << error.Description() << "\", wanted "
                                         << number << " \"" << description << '"';
  }
  return ::testing::AssertionFailure() << "nothing was raised, wanted " << number << " \"" << description << '"';
}

}  // namespace ods

/// The expression raises exactly this error.
#define EXPECT_RAISES(expression, number, description) \
  EXPECT_TRUE(::ods::Raises([&] { static_cast<void>(expression); }, number, description))
