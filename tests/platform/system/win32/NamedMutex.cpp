#include "platform/system/NamedMutex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::StartsWith;

std::string UnusedName() { return "test " + NewGuidText(); }

bool Opens(const std::string& name) {
  return static_cast<bool>(OwnHandle(OpenMutexW(SYNCHRONIZE, FALSE, ToWide(name).c_str())));
}

TEST(WindowsMutex, IsTheSystemsOwnAndOneOfAllSessions) {
  const std::string name = UnusedName();
  NamedMutex mutex(name);
  EXPECT_TRUE(Opens(name));
  EXPECT_TRUE(Opens("Global\\" + name));
  mutex.Destroy();
  EXPECT_FALSE(Opens(name));
  EXPECT_FALSE(Opens("Global\\" + name));
}

TEST(WindowsMutex, AnotherSessionsIsSeen) {
  const std::string name = UnusedName();
  const FileHandle other = OwnHandle(CreateMutexW(nullptr, FALSE, ToWide("Global\\" + name).c_str()));
  ASSERT_TRUE(other);
  EXPECT_TRUE(MutexExists(name));
  EXPECT_TRUE(MutexExists("Global\\" + name));
  EXPECT_FALSE(MutexExists("Local\\" + name)) << "a name that says where it belongs is taken as it is";
}

TEST(WindowsMutex, OneThatNobodyMayOpenExists) {
  PSECURITY_DESCRIPTOR made = nullptr;
  ASSERT_NE(ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P", SDDL_REVISION_1, &made, nullptr), 0);
  const LocalMemory<void> owned(made);
  SECURITY_ATTRIBUTES nobody{.nLength = sizeof nobody, .lpSecurityDescriptor = made, .bInheritHandle = FALSE};
  const std::string name = UnusedName();
  const FileHandle other = OwnHandle(CreateMutexW(&nobody, FALSE, ToWide(name).c_str()));
  ASSERT_TRUE(other);
  if (Opens(name)) GTEST_SKIP() << "the system lets everybody in";
  EXPECT_TRUE(MutexExists(name));
  EXPECT_RAISES(NamedMutex(name), 1000, StartsWith("Error creating instance mutex (5). "));
}

TEST(WindowsMutex, ANameOfSomethingElseIsAnError) {
  const std::string name = UnusedName();
  const FileHandle event = OwnHandle(CreateEventW(nullptr, TRUE, FALSE, ToWide(name).c_str()));
  EXPECT_RAISES(NamedMutex(name), 1000, StartsWith("Error creating instance mutex (6). "));
  EXPECT_RAISES(MutexExists(name), 1000, StartsWith("Unable to test the mutex \"" + name + "\": "));
}

}  // namespace
}  // namespace ods
