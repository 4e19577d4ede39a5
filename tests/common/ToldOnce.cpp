#include "common/ToldOnce.h"

#include <gtest/gtest.h>

namespace ods {
namespace {

TEST(ToldOnce, ATextIsNewUntilItWasTold) {
  ToldOnce told;
  EXPECT_FALSE(told.Stands());
  EXPECT_TRUE(told.IsNew("disk full"));
  EXPECT_TRUE(told.Stands());
  EXPECT_FALSE(told.IsNew("disk full"));
  EXPECT_FALSE(told.IsNew("disk full"));
}

TEST(ToldOnce, AnotherTextIsNewAndThenTheFirstOneAgain) {
  ToldOnce told;
  EXPECT_TRUE(told.IsNew("disk full"));
  EXPECT_TRUE(told.IsNew("no access"));
  EXPECT_FALSE(told.IsNew("no access"));
  EXPECT_TRUE(told.IsNew("disk full"));
}

TEST(ToldOnce, WhatWasSettledIsNewWhenItComesBack) {
  ToldOnce told;
  EXPECT_TRUE(told.IsNew("disk full"));
  told.Clear();
  EXPECT_FALSE(told.Stands());
  EXPECT_TRUE(told.IsNew("disk full"));
}

TEST(ToldOnce, AnEmptyTextIsATextToo) {
  ToldOnce told;
  EXPECT_TRUE(told.IsNew(""));
  EXPECT_FALSE(told.IsNew(""));
  EXPECT_TRUE(told.Stands());
}

}  // namespace
}  // namespace ods
