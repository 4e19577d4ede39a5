#include "common/Files.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "common/Error.h"
#include "support/EnvironmentValue.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FilesTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name) const { return root_ + "/" + name; }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }

  test::TemporaryFolder temporary_;
  std::string root_ = temporary_.Path();
};

TEST(PathTest, JoinsFolderAndName) { EXPECT_EQ(JoinPath("/var/log", "a.log"), "/var/log/a.log"); }

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

TEST_F(FilesTest, ReadFileGivesTheBytesAsTheyAre) {
  const std::string path = Write("bytes", std::string("\xEF\xBB\xBF a\0\r\n\xFF", 9));
  EXPECT_EQ(ReadFile(path), (Bytes{0xEF, 0xBB, 0xBF, ' ', 'a', 0, '\r', '\n', 0xFF}));
  EXPECT_EQ(ReadFileText(path), std::string("\xEF\xBB\xBF a\0\r\n\xFF", 9));
}

TEST_F(FilesTest, ReadFileReadsEverySize) {
  for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 100000U}) {
    std::string content(size, 'x');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i % 251);
    EXPECT_EQ(ReadFileText(Write("file", content)), content) << size;
  }
  EXPECT_EQ(ReadFile(Write("empty", "")), Bytes{});
}

TEST_F(FilesTest, ReadFileTellsWhyItFails) {
  EXPECT_RAISES(ReadFile(""), 1000, "Function ReadFile does not accept an empty file name as parameter.");
  EXPECT_RAISES(ReadFile(Path("missing")), 53, "File not found: " + Path("missing"));
  EXPECT_RAISES(ReadFile(root_), 1000, "Error reading file " + root_ + ": Is a directory");
  const std::string inFile = Write("file", "") + "/a";
  EXPECT_RAISES(ReadFile(inFile), 1000, "Error reading file " + inFile + ": Not a directory");
}

TEST_F(FilesTest, ReadFileTellsThatNoHandleIsLeft) {
  const std::string path = Write("file", "x");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_RAISES(ReadFile(path), 1000, "Function ReadFile was not able to get a free file handle.");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(ReadFileText(path), "x");
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
