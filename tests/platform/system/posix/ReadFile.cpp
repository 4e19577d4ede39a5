#include "platform/system/ReadFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "platform/system/TestFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::TestFolder;
using testing::WriteText;

TEST(ReadFile, TellsWhyItFails) {
  const TestFolder folder;
  EXPECT_RAISES(ReadFile(folder.Path()), 1000, "Error reading file " + folder.Path() + ": Is a directory");
  WriteText(folder / "file", "");
  const std::string inFile = folder / "file/a";
  EXPECT_RAISES(ReadFile(inFile), 1000, "Error reading file " + inFile + ": Not a directory");
}

TEST(ReadFile, TellsThatNoHandleIsLeft) {
  const TestFolder folder;
  const std::string path = folder / "file";
  WriteText(path, "x");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_RAISES(ReadFile(path), 1000, "Function ReadFile was not able to get a free file handle.");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(ReadFileText(path), "x");
}

}  // namespace
}  // namespace ods
