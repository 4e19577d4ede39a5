#include "common/Attempt.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace ods {
namespace {

TEST(Attempt, GivesNothingForAnActionThatSucceeds) {
  bool ran = false;
  EXPECT_FALSE(Attempt([&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST(Attempt, GivesTheErrorAsItWasRaised) {
  const auto failure = Attempt([] { throw Error(-2147217865, "no such table"); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->Number(), -2147217865);
  EXPECT_EQ(failure->Description(), "no such table");
  EXPECT_EQ(ErrorText(*failure), "Error -2147217865. no such table");
}

TEST(Attempt, ErrorsOfTheLibraryAreTheSystemsOwn) {
  const auto failure = Attempt([] { throw std::length_error("too long"); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->Number(), error_number::kOwn);
  EXPECT_EQ(failure->Description(), "too long");
}

TEST(Attempt, WhatIsNoErrorPasses) {
  EXPECT_THROW((void)Attempt([] { throw 5; }), int);
}

}  // namespace
}  // namespace ods
