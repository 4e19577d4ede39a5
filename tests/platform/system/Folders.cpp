#include "platform/system/Folders.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <system_error>

#include "common/Files.h"
#include "platform/system/TestFolder.h"

namespace ods {
namespace {

using testing::TestFolder;

TEST(MkDirRecurse, CreatesWhatIsMissing) {
  const TestFolder folder;
  MkDirRecurse(folder / "a/b/c/");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
  const auto before = std::filesystem::last_write_time(folder / "a/b");
  MkDirRecurse(folder / "a/b/c");
  EXPECT_EQ(std::filesystem::last_write_time(folder / "a/b"), before);
  MkDirRecurse(folder / "a/x");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "a/x"));
}

TEST(MakePrivateFolder, TellsWhyThereIsNone) {
  const TestFolder folder;
  EXPECT_EQ(MakePrivateFolder(folder / "a"), std::error_code());
  EXPECT_EQ(MakePrivateFolder(folder / "a"), std::errc::file_exists);
  EXPECT_EQ(MakePrivateFolder(folder / "no/a"), std::errc::no_such_file_or_directory);
}

TEST(MkDirRecurse, NamesMayHoldAnyLetter) {
  const TestFolder folder;
  const std::string path = folder / "\xC3\xA4 \xE2\x82\xAC/\xF0\x9F\x98\x80";
  MkDirRecurse(path);
  EXPECT_TRUE(std::filesystem::is_directory(PathOf(path)));
  EXPECT_EQ(TextOf(std::filesystem::directory_iterator(PathOf(folder.Path()))->path().filename()),
            "\xC3\xA4 \xE2\x82\xAC");
}

}  // namespace
}  // namespace ods
