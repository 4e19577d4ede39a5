#include "platform/system/ReplaceFile.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "common/Error.h"
#include "common/Files.h"
#include "platform/system/TestFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::ReadText;
using ::testing::StartsWith;
using testing::TestFolder;
using testing::WriteText;

constexpr unsigned kPrivate = 0600;

std::ptrdiff_t NamesIn(const TestFolder& folder) {
  return std::distance(std::filesystem::directory_iterator(PathOf(folder.Path())), {});
}

TEST(WriteFileAtomically, MakesAndReplacesAFileAndLeavesNothingBesideIt) {
  const TestFolder folder;
  const std::string path = folder / "status \xC3\xA4.xml";
  WriteFileAtomically(path, "a much longer old content");
  EXPECT_EQ(ReadText(path), "a much longer old content");
  WriteFileAtomically(path, "new\n");
  EXPECT_EQ(ReadText(path), "new\n");
  EXPECT_EQ(NamesIn(folder), 1);
}

TEST(ReplaceFile, MakesAndReplacesAFileAndLeavesNothingBesideIt) {
  const TestFolder folder;
  const std::string path = folder / "status \xC3\xA4.xml";
  for (const unsigned mode : {0600U, 0644U}) {
    ReplaceFile(path, "a much longer old content", mode);
    EXPECT_EQ(ReadText(path), "a much longer old content");
    ReplaceFile(path, "", mode);
    EXPECT_EQ(ReadText(path), "");
  }
  EXPECT_EQ(NamesIn(folder), 1);
}

TEST(ReplaceFile, ThePathOfAFailureIsNamed) {
  const TestFolder folder;
  for (const std::string& path : {folder / "no/file", folder.Path()}) {
    EXPECT_RAISES(ReplaceFile(path, "x", kPrivate), 1000, StartsWith("Unable to write file \"" + path + "\": "));
  }
  EXPECT_RAISES(WriteFileAtomically(folder / "no/file", "x"), 1000,
                StartsWith("Unable to write file \"" + (folder / "no/file") + "\": "));
  EXPECT_EQ(NamesIn(folder), 0);
}

}  // namespace
}  // namespace ods
