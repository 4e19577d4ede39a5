#include "platform/system/Folders.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::ModeOf;
using testing::TestFolder;

TEST(MkDirRecurse, TellsTheStepThatFailed) {
  const TestFolder folder;
  const std::string file = folder / "file";
  testing::WriteText(file, "");
  EXPECT_RAISES(MkDirRecurse(file), 1000,
                "Error creating folder path " + file + ": File exists. Create folder '" + file + "'.");
  EXPECT_RAISES(MkDirRecurse(file + "/a"), 1000,
                "Error creating folder path " + file + "/a: File exists. Create folder '" + file + "'.");
  const std::string longName = folder / std::string(300, 'a');
  EXPECT_RAISES(MkDirRecurse(longName), 1000,
                "Error creating folder path " + longName + ": File name too long. Check if '" + longName + "' exists.");
}

TEST(MkDirRecurse, FoldersArePrivateWhateverTheMask) {
  for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
    const TestFolder folder;
    const mode_t before = umask(mask);
    MkDirRecurse(folder / "a/b/c");
    umask(before);
    for (const char* name : {"a", "a/b", "a/b/c"}) EXPECT_EQ(ModeOf(folder / name), 0700U) << std::oct << mask;
  }
}

TEST(MkDirRecurse, FoldersThatAreThereKeepTheirMode) {
  const TestFolder folder;
  MkDirRecurse(folder / "a");
  chmod((folder / "a").c_str(), 0755);
  MkDirRecurse(folder / "a/b");
  EXPECT_EQ(ModeOf(folder / "a"), 0755U);
}

}  // namespace
}  // namespace ods
