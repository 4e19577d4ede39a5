// What the queue's folders are on Windows alone.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <system_error>

#include "common/Files.h"
#include "platform/queue/Folder.h"
#include "platform/queue/Queue.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/win32/Win32.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

TEST(WindowsFolders, AUriNamesADriveOrAShare) {
  EXPECT_EQ(ParseQueueAddress("file:///C:/srv/re%20quests?sync=1").folder, "C:/srv/re quests");
  EXPECT_EQ(ParseQueueAddress("file:////server/share/requests").folder, "//server/share/requests");
}

TEST(WindowsFolders, AnOpenOneIsNeitherMovedNorRemoved) {
  const test::TemporaryFolder root;
  const Folder folder(root.Path(), Folder::Link::kFollowed);
  {
    const Folder part = folder.OpenOrMake("part");
    EXPECT_EQ(RemoveDirectoryW(WidePath(part.Path()).c_str()), 0);
    EXPECT_EQ(MoveFileExW(WidePath(part.Path()).c_str(), WidePath(part.Path() + "2").c_str(), 0), 0);
  }
  EXPECT_NE(RemoveDirectoryW(WidePath(PathIn(root.Path(), "part")).c_str()), 0);
}

TEST(WindowsFolders, AFileThatSomebodyKeepsToHimselfIsBusy) {
  const test::TemporaryFolder root;
  const Folder folder(root.Path(), Folder::Link::kFollowed);
  {
    const FileHandle own = OwnHandle(CreateFileW(WidePath(PathIn(root.Path(), "message")).c_str(), GENERIC_WRITE, 0,
                                                 nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(own);
    EXPECT_EQ(folder.OpenForReading("message").failure, std::errc::device_or_resource_busy);
    EXPECT_EQ(folder.Move("message", folder, "other"), std::errc::device_or_resource_busy);
    EXPECT_EQ(folder.Remove("message"), std::errc::device_or_resource_busy);
  }
  EXPECT_FALSE(folder.Move("message", folder, "other"));
  EXPECT_FALSE(folder.Remove("other"));
}

TEST(WindowsFolders, NoArrivalIsLostWhenTheNamesAreMoreThanAreTold) {
  const test::TemporaryFolder root;
  const auto queue = CreateFolderQueue();
  queue->SetFolder(root.Path());
  queue->Create();
  EXPECT_EQ(queue->Poll("", 0), "");
  constexpr int kMessages = 600;  // three hundred names of this length fill what the system tells at once
  for (int i = 0; i < kMessages; ++i) {
    std::ofstream(PathOf(root.Path() + "/new/" + std::string(100, 'x') + std::to_string(i) + ".xml")) << i;
  }
  int taken = 0;
  while (!queue->Poll("", 1000).empty()) ++taken;
  EXPECT_EQ(taken, kMessages);
}

TEST(WindowsFolders, PathsOfEveryLengthReachTheirFiles) {
  const test::TemporaryFolder root;
  std::string path = root.Path();
  for (int i = 0; i < 5; ++i) path = PathIn(path, std::string(70, static_cast<char>('a' + i)));
  ASSERT_NO_THROW(std::filesystem::create_directories(std::filesystem::path(WidePath(path))));
  const Folder folder(path, Folder::Link::kFollowed);
  ASSERT_TRUE(folder) << folder.Failure().message();
  EXPECT_TRUE(folder.CreateNew("message"));
  EXPECT_TRUE(folder.FactsOf("message"));
  EXPECT_FALSE(folder.Remove("message"));
}

}  // namespace
}  // namespace ods
