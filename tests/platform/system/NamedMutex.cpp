#include "platform/system/NamedMutex.h"

#include <gtest/gtest.h>
#include <string>

#include "platform/system/System.h"

namespace ods {
namespace {

std::string NewName() { return "test " + NewGuidText(); }

TEST(NamedMutex, ExistsWhileItIsHeld) {
  const std::string name = NewName();
  EXPECT_FALSE(MutexExists(name));
  {
    const NamedMutex mutex(name);
    EXPECT_TRUE(MutexExists(name));
  }
  EXPECT_FALSE(MutexExists(name));
}

TEST(NamedMutex, DestroyingTwiceIsHarmless) {
  NamedMutex mutex(NewName());
  mutex.Destroy();
  EXPECT_NO_THROW(mutex.Destroy());
}

TEST(NamedMutex, AnEmptyNameIsSeenByNobody) {
  const NamedMutex mutex("");
  EXPECT_FALSE(MutexExists(""));
}

TEST(NamedMutex, ExistsUntilTheLastHolderLetsGo) {
  const std::string name = NewName();
  NamedMutex first(name);
  NamedMutex second(name);
  first.Destroy();
  EXPECT_TRUE(MutexExists(name));
  second.Destroy();
  EXPECT_FALSE(MutexExists(name));
}

TEST(NamedMutex, ANameMayHoldAnyLetter) {
  const std::string name = "a/../b \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 " + NewName();
  const NamedMutex mutex(name);
  EXPECT_TRUE(MutexExists(name));
  EXPECT_FALSE(MutexExists(name + "\xC3\xA4"));
}

}  // namespace
}  // namespace ods
