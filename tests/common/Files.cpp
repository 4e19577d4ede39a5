#include "common/Files.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/EnvironmentValue.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PathTest, JoinsFolderAndName) {
  EXPECT_EQ(JoinPath("/var/log", "a.log"), std::string("/var/log") + kPathSeparator + "a.log");
}

TEST(PathTest, KnowsAbsolutePaths) {
  for (const char* path : {"/", "/a", "C:\\a", "c:/a", "\\\\server\\share", "//server"}) {
    EXPECT_TRUE(IsAbsolutePath(path)) << path;
  }
  for (const char* path : {"", "a", "a/b", "./a", "C:", "C:a", "\\a", ":/a"})
    EXPECT_FALSE(IsAbsolutePath(path)) << path;
}

TEST(FolderLevelsTest, GoesFromTheTopDown) {
  EXPECT_THAT(FolderLevels("/a/b/c", '/'), ElementsAre("/a", "/a/b", "/a/b/c"));
  EXPECT_THAT(FolderLevels("/a/b/", '/'), ElementsAre("/a", "/a/b"));
  EXPECT_THAT(FolderLevels("a/b", '/'), ElementsAre("a", "a/b"));
  EXPECT_THAT(FolderLevels("/a//b", '/'), ElementsAre("/a", "/a/b"));
  EXPECT_THAT(FolderLevels("a\\b", '/'), ElementsAre("a\\b"));
}

TEST(FolderLevelsTest, TakesEitherSeparatorForABackslash) {
  EXPECT_THAT(FolderLevels("C:/a/b/c/", '\\'), ElementsAre("C:\\a", "C:\\a\\b", "C:\\a\\b\\c"));
  EXPECT_THAT(FolderLevels("C:\\a\\b", '\\'), ElementsAre("C:\\a", "C:\\a\\b"));
  EXPECT_THAT(FolderLevels("\\a\\b", '\\'), ElementsAre("\\a", "\\a\\b"));
  EXPECT_THAT(FolderLevels("a\\C:", '\\'), ElementsAre("a", "a\\C:"));
}

TEST(FolderLevelsTest, LeavesServerAndShareOut) {
  EXPECT_THAT(FolderLevels("\\\\server\\share\\a\\b\\", '\\'),
              ElementsAre("\\\\server\\share\\a", "\\\\server\\share\\a\\b"));
  EXPECT_THAT(FolderLevels("//server/share/a", '\\'), ElementsAre("\\\\server\\share\\a"));
  EXPECT_THAT(FolderLevels("\\\\server\\share", '\\'), IsEmpty());
  EXPECT_THAT(FolderLevels("\\\\server", '\\'), IsEmpty());
  EXPECT_THAT(FolderLevels("//server/share/a", '/'), ElementsAre("//server/share/a"));
}

TEST(FolderLevelsTest, TheRootIsNoLevel) {
  for (const char* path : {"", "/", "//"}) EXPECT_THAT(FolderLevels(path, '/'), IsEmpty()) << path;
  for (const char* path : {"C:", "C:\\", "C:/", "\\"}) EXPECT_THAT(FolderLevels(path, '\\'), IsEmpty()) << path;
}

TEST(PathTest, KeepsEveryLetterOnTheWayToTheLibraryAndBack) {
  for (const char* path : {"", "a", "/a b/\xC3\xA4\xC3\xB6", "C:\\\xE2\x82\xAC\\\xF0\x9F\x98\x80.txt"}) {
    EXPECT_EQ(TextOf(PathOf(path)), path);
  }
  EXPECT_EQ(PathOf("\xE2\x82\xAC").u32string(), U"\u20AC");
}

TEST(TemporaryFolder, StaysWhenItIsToBeKeptAndTellsWhereItIs) {
  std::string path;
  ::testing::internal::CaptureStderr();
  {
    const test::EnvironmentValue keep("ODS_TEST_KEEP", "1");
    path = test::TemporaryFolder().Path();
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Kept " + path + "\n");
  EXPECT_TRUE(std::filesystem::remove(path));
  {
    const test::EnvironmentValue keep("ODS_TEST_KEEP", "");
    path = test::TemporaryFolder().Path();
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace ods
