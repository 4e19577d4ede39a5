// What a queue has on the disk, and when: the system's fsync is this file's here, and tells of itself.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "platform/queue/QueueChoice.h"
#include "support/TemporaryFolder.h"

namespace {

/// Where the messages of the queue lie that is watched, and what was synced: the folder or file, and how many messages
/// could be seen then.
struct Watched {
  std::string folder;
  std::vector<std::string> synced;
};

Watched& TheWatched() {
  static Watched watched;
  return watched;
}

std::ptrdiff_t MessagesIn(const std::string& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

}  // namespace

extern "C" int fsync(int file) {
  Watched& watched = TheWatched();
  if (!watched.folder.empty()) {
    const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    const std::string name = std::filesystem::path(path).filename() == std::filesystem::path(watched.folder).filename()
                                 ? "queue"
                                 : path.substr(watched.folder.size() + 1, 3);
    watched.synced.push_back(name + " " + std::to_string(MessagesIn(watched.folder + "/new")));
  }
  return static_cast<int>(syscall(SYS_fsync, file));
}

namespace ods {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SyncTest : public ::testing::Test {
 protected:
  ~SyncTest() override { TheWatched() = {}; }

  /// What is synced while a queue is made and one message sent.
  std::vector<std::string> Synced(const std::string& address) {
    TheWatched() = {folder_.Path(), {}};
    const auto queue = CreateQueue();
    queue->SetFolder(address);
    queue->Create();
    queue->SetPackage("<XML/>");
    queue->Send("m");
    return TheWatched().synced;
  }

  test::TemporaryFolder folder_;
};

TEST_F(SyncTest, NothingUnlessAsked) { EXPECT_THAT(Synced(folder_.Path()), IsEmpty()); }

TEST_F(SyncTest, TheTextBeforeItsNameAndTheNameBeforeSendReturns) {
  EXPECT_THAT(Synced("file://" + folder_.Path() + "?sync=1"), ElementsAre("queue 0", "tmp 0", "new 1"));
}

TEST_F(SyncTest, AFileInTheFolderAsksForAllWhoUseIt) {
  std::ofstream(folder_.Path() + "/sync").close();
  EXPECT_THAT(Synced(folder_.Path()), ElementsAre("queue 0", "tmp 0", "new 1"));
}

}  // namespace
}  // namespace ods
