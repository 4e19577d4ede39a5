// What the queue does on POSIX systems: files' rights, links, devices, signals, children that die, folders that are
// cleared away while they are open. What it does everywhere stands in QueueRules.cpp.
#include "platform/queue/Queue.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <grp.h>
#include <map>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "common/Error.h"
#include "platform/queue/TwoServers.h"
#include "platform/system/FileHandle.h"
#include "platform/system/System.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "support/MountedFolder.h"
#include "support/RaisedErrors.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using test::RaisedText;
using test::SendToTwo;
using test::SetTime;
using testing::Child;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModeOf;
using testing::ReadText;
using testing::Report;
using testing::TestFolder;
using testing::WriteText;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kLong = 20000;  // milliseconds that no test ever waits to the end

std::shared_ptr<Queue> Open(const std::string& folder) {
  auto queue = CreateFolderQueue();
  queue->SetFolder(folder);
  queue->Create();
  return queue;
}

void Send(const std::string& folder, const std::string& id, const std::string& text) {
  const auto queue = Open(folder);
  queue->SetPackage(text);
  queue->Send(id);
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

/// A server that takes the next message and dies over it.
void DieOverAMessage(const std::string& folder) {
  Child server([&folder](int pipe) {
    const auto queue = Open(folder);
    Report(pipe, queue->Poll("", kLong));
    pause();
  });
  ASSERT_NE(server.Line(), "");
  server.End(SIGKILL);
}

class QueueTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string New(const std::string& name) const { return folder_ + "/new/" + name; }

  /// A message from a sender that is no queue object.
  void Arrive(const std::string& name, const std::string& text) const {
    WriteText(folder_ + "/tmp/part", text);
    std::filesystem::rename(folder_ + "/tmp/part", New(name));
  }

  TestFolder base_;
  std::string folder_ = base_ / "queue";
};

TEST_F(QueueTest, CreateMakesPrivateFoldersAndTheirParents) {
  const mode_t before = umask(0);
  const auto queue = Open(base_ / "a/b/c");
  umask(before);
  EXPECT_THAT(NamesIn(base_ / "a/b/c"), ElementsAre("cur", "failed", "new", "tmp"));
  for (const char* name : {"a", "a/b", "a/b/c", "a/b/c/tmp", "a/b/c/new", "a/b/c/cur", "a/b/c/failed"}) {
    EXPECT_EQ(ModeOf(base_ / name), 0700U) << name;
  }
  EXPECT_NO_THROW(Open(base_ / "a/b/c")) << "the folders are there already";
}

TEST_F(QueueTest, CreateNamesTheFolderThatCannotBeMade) {
  WriteText(base_ / "file", "");
  EXPECT_RAISES(Open(base_ / "file/queue"), 1000,
                "Unable to create the queue folder \"" + (base_ / "file/queue") + "\": Not a directory");
  EXPECT_RAISES(Open(base_ / "file"), 1000,
                "Unable to open the queue folder \"" + (base_ / "file") + "\": Not a directory");
  EXPECT_RAISES(Open(""), 1000, "The queue has no folder.");
}

TEST_F(QueueTest, ASubfolderThatIsALinkIsRefused) {
  std::filesystem::create_directories(folder_);
  std::filesystem::create_directories(base_ / "elsewhere");
  std::filesystem::create_symlink(base_ / "elsewhere", folder_ + "/new");
  EXPECT_RAISES(Open(folder_), 1000, "Unable to open the queue folder \"" + folder_ + "/new\": Not a directory");
}

TEST_F(QueueTest, CarriesAMessageFromSenderToServer) {
  const std::string text = "<XML><Type>Ping</Type></XML>\n\xC3\xA4";
  Send(folder_, "id-1", text);
  EXPECT_EQ(ReadText(New("id-1.xml")), text);
  EXPECT_EQ(ModeOf(New("id-1.xml")), 0600U);
  EXPECT_THAT(NamesIn(folder_ + "/tmp"), IsEmpty());

  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "id-1");
  EXPECT_EQ(queue->Package(), text);
  EXPECT_EQ(queue->Package(), text) << "reading twice gives the same";
  EXPECT_THAT(NamesIn(folder_ + "/new"), IsEmpty());
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("id-1.xml"));

  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty()) << "the next poll removes it";
  EXPECT_RAISES(queue->Package(), 1000, "The queue has no message: none was polled.");
}

TEST_F(QueueTest, SendLeavesNothingBehindWhenItFails) {
  Child poor([this](int pipe) {
    const auto queue = Open(folder_);
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{.rlim_cur = 1000, .rlim_max = 1000};
    setrlimit(RLIMIT_FSIZE, &small);
    queue->SetPackage(std::string(5000, 'x'));
    Report(pipe, RaisedText([&] { queue->Send("big"); }));
    Report(pipe, queue->CanSend() ? "smaller ones can be sent" : "nothing can be sent");
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_FSIZE, &none);
    Report(pipe, queue->CanSend() ? "smaller ones can be sent" : "nothing can be sent");
  });
  EXPECT_EQ(poor.Line(),
            "61 The message \"big\" cannot be sent to the queue folder \"" + folder_ + "\": File too large");
  EXPECT_EQ(poor.Line(), "smaller ones can be sent");
  EXPECT_EQ(poor.Line(), "nothing can be sent");
  EXPECT_THAT(NamesIn(folder_ + "/tmp"), IsEmpty());
  EXPECT_THAT(NamesIn(folder_ + "/new"), IsEmpty());
}

TEST_F(QueueTest, SendNamesTheFolderThatCannotBeWritten) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  Open(folder_);
  for (const char* name : {"", "/tmp", "/new", "/cur", "/failed"}) chmod((folder_ + name).c_str(), 0755);
  chmod(base_.Path().c_str(), 0755);
  Child other([this](int pipe) {
    if (setuid(65534) != 0) _exit(3);
    Report(pipe, RaisedText([this] { Send(folder_, "id", "x"); }));
  });
  EXPECT_EQ(other.Line(),
            "1000 The message \"id\" cannot be sent to the queue folder \"" + folder_ + "\": Permission denied");
}

TEST_F(QueueTest, PollReturnsAtOnceWhenAMessageArrives) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  Child sender([this](int) {
    SleepMilliseconds(100);
    Send(folder_, "hello", "");
  });
  const auto start = Clock::now();
  EXPECT_EQ(queue->Poll("", kLong), "hello");
  EXPECT_LT(Clock::now() - start, milliseconds(kLong / 2));
}

TEST_F(QueueTest, PollEndsEarlyWhenASignalComes) {
  Child server([this](int pipe) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const auto queue = Open(folder_);
    Report(pipe, "polling");
    Report(pipe, "\"" + queue->Poll("", 600000) + "\"");
  });
  ASSERT_EQ(server.Line(), "polling");
  SleepMilliseconds(100);
  kill(server.Pid(), SIGUSR1);
  EXPECT_EQ(server.Line(), "\"\"");
}

TEST_F(QueueTest, PollWorksWhereTheSystemHasNoWatchLeft) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  chmod(base_.Path().c_str(), 0777);
  Child server([this](int pipe) {
    // Every user has a number of watches of his own (inotify(7), max_user_instances): a user of this test's own uses
    // them up.
    if (setuid(1234567) != 0) _exit(3);
    std::vector<FileHandle> watches;
    for (FileHandle one(inotify_init1(IN_CLOEXEC)); one; one = FileHandle(inotify_init1(IN_CLOEXEC))) {
      watches.push_back(std::move(one));
    }
    const bool noFileLeft = errno == EMFILE && !FileHandle(open("/dev/null", O_RDONLY));
    if (noFileLeft) watches.resize(watches.size() / 2);
    const auto queue = Open(folder_);
    Report(pipe, noFileLeft ? "cannot be tried" : "unwatched" + queue->Poll("", 0));
    WriteText(New("hello.xml"), "text");
    Report(pipe, queue->Poll("", kLong));
  });
  if (server.Line() == "cannot be tried") GTEST_SKIP() << "the process has fewer files than the user has watches";
  EXPECT_EQ(server.Line(), "hello");
}

TEST_F(QueueTest, TwentyThousandMessagesAreTakenInOrder) {
  Open(folder_);
  constexpr int kMessages = 20000;
  for (int i = 0; i < kMessages; ++i) {
    const FileHandle file(open(New(std::to_string(100000 + i) + ".xml").c_str(), O_WRONLY | O_CREAT, 0600));
    const timespec times[2] = {{.tv_sec = 1000, .tv_nsec = i}, {.tv_sec = 1000, .tv_nsec = i}};
    ASSERT_EQ(futimens(file.Get(), times), 0);
  }
  const auto queue = Open(folder_);
  for (int i = 0; i < kMessages; ++i) ASSERT_EQ(queue->Poll("", 0), std::to_string(100000 + i));
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_F(QueueTest, AFolderThatWasClearedAwayIsMadeAnew) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  std::filesystem::remove_all(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  Send(folder_, "after", "text");
  EXPECT_EQ(queue->Poll("", kLong), "after");

  std::filesystem::rename(folder_, base_ / "moved");
  queue->SetPackage("answer");
  queue->Send("sent");
  EXPECT_EQ(ReadText(New("sent.xml")), "answer") << "sent into the folder of the path, not into the one moved away";
  EXPECT_EQ(queue->Poll("", 0), "sent");
}

TEST_F(QueueTest, AFolderExchangedDuringAPollIsNoticed) {
  const auto queue = Open(folder_);
  Child other([this](int) {
    SleepMilliseconds(200);
    std::filesystem::rename(folder_, base_ / "moved");
    Send(folder_, "hello", "");
  });
  EXPECT_EQ(queue->Poll("", kLong), "hello");
}

TEST_F(QueueTest, AMessageTakenInAFolderMovedAwayIsRemovedThere) {
  Send(folder_, "a", "old");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  std::filesystem::rename(folder_, base_ / "moved");
  Send(folder_, "a", "new");
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_EQ(queue->Package(), "new");
  EXPECT_THAT(NamesIn(base_ / "moved/cur"), IsEmpty());
}

TEST_F(QueueTest, WhatIsNoPlainFileGoesToFailed) {
  Open(folder_);
  WriteText(base_ / "secret", "secret");
  std::filesystem::create_symlink(base_ / "secret", New("link.xml"));
  std::filesystem::create_directories(New("folder.xml/inside"));
  ASSERT_EQ(mkfifo(New("pipe.xml").c_str(), 0600), 0);
  const FileHandle listener(socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  New("socket.xml").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

  const auto queue = Open(folder_);
  for (int i = 0; i < 4; ++i) {
    const std::string id = queue->Poll("", 0);
    EXPECT_RAISES(queue->Package(), 1000, "The message \"" + id + "\" is not a plain file.");
  }
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("folder.xml", "link.xml", "pipe.xml", "socket.xml"));
  EXPECT_EQ(ReadText(base_ / "secret"), "secret");
}

TEST_F(QueueTest, AMessageThatMayNotBeReadGoesToFailed) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  chmod(base_.Path().c_str(), 0777);
  Child server([this](int pipe) {
    if (setuid(65534) != 0) _exit(3);
    const auto queue = Open(folder_);
    WriteText(New("locked.xml"), "x");
    chmod(New("locked.xml").c_str(), 0);
    Report(pipe, queue->Poll("", 0));
    Report(pipe, RaisedText([&] { (void)queue->Package(); }));
  });
  EXPECT_EQ(server.Line(), "locked");
  EXPECT_EQ(server.Line(), "1000 The message \"locked\" cannot be read: Permission denied");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("locked.xml"));
}

TEST_F(QueueTest, AMessageOfADeadServerIsPutBack) {
  Send(folder_, "precious", "text");
  DieOverAMessage(folder_);
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("precious.xml"));
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "precious");
  EXPECT_EQ(queue->Package(), "text");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("precious.tries", "precious.xml"));
  EXPECT_EQ(ReadText(folder_ + "/cur/precious.tries"), "1");
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty()) << "the count goes with the message";
}

TEST_F(QueueTest, AnotherServerPutsItBackWhileItPolls) {
  Send(folder_, "precious", "text");
  Child first([this](int pipe) {
    const auto queue = Open(folder_);
    Report(pipe, queue->Poll("", kLong));
    pause();
  });
  ASSERT_EQ(first.Line(), "precious");
  const auto second = Open(folder_);
  EXPECT_EQ(second->Poll("", 0), "") << "the first server is alive";
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("precious.xml"));
  first.End(SIGKILL);
  EXPECT_EQ(second->Poll("", kLong), "precious");
}

TEST_F(QueueTest, TheThirdDeathGivesAMessageUp) {
  Send(folder_, "deadly", "text");
  for (int i = 0; i < 3; ++i) DieOverAMessage(folder_);
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "deadly");
  EXPECT_RAISES(queue->Package(), 1000,
                "The message \"deadly\" was given up: the server ended 3 times while it answered it.");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("deadly.xml"));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
  EXPECT_EQ(queue->Poll("", 0), "");
  // A later message of the same id starts anew.
  Send(folder_, "deadly", "text");
  EXPECT_EQ(queue->Poll("", 0), "deadly");
  EXPECT_EQ(queue->Package(), "text");
}

TEST_F(QueueTest, TheCountOfDeathsGoesIntoAFileOfItsOwn) {
  WriteText(base_ / "precious", "precious");
  const std::string count = folder_ + "/cur/m.tries";
  const std::vector<std::function<void()>> traps = {
      [&] { std::filesystem::create_symlink(base_ / "precious", count); },
      [&] { std::filesystem::create_hard_link(base_ / "precious", count); },
      [&] { ASSERT_EQ(mkfifo(count.c_str(), 0600), 0); },
  };
  Open(folder_);
  for (const auto& trap : traps) {
    WriteText(folder_ + "/cur/m.xml", "text");
    trap();
    const auto queue = Open(folder_);
    EXPECT_EQ(ReadText(count), "1");
    EXPECT_EQ(ModeOf(count), 0600U);
    EXPECT_EQ(queue->Poll("m", 0), "m");
    queue->Answered();
  }
  EXPECT_EQ(ReadText(base_ / "precious"), "precious");
}

TEST_F(QueueTest, AFolderInPlaceOfTheCountLeavesTheMessage) {
  Open(folder_);
  WriteText(folder_ + "/cur/m.xml", "text");
  std::filesystem::create_directories(folder_ + "/cur/m.tries/inside");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_EQ(ReadText(folder_ + "/cur/m.xml"), "text");
}

TEST_F(QueueTest, FilesArePrivateWhateverTheMaskIs) {
  Open(folder_);
  const mode_t before = umask(0);
  Send(folder_, "a", "text");
  umask(before);
  EXPECT_EQ(ModeOf(New("a.xml")), 0600U);
}

TEST_F(QueueTest, AMessageIsNotPutBackOverAWaitingOne) {
  Send(folder_, "a", "old");
  DieOverAMessage(folder_);
  Arrive("a.xml", "new");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_EQ(queue->Package(), "old");
  EXPECT_EQ(ReadText(New("a.xml")), "new");
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_EQ(queue->Package(), "new");
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_F(QueueTest, AMessageInFrontOfAWaitingOneIsGivenUpToo) {
  Send(folder_, "a", "old");
  DieOverAMessage(folder_);
  Arrive("a.xml", "new");
  DieOverAMessage(folder_);
  DieOverAMessage(folder_);
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_RAISES(queue->Package(), 1000,
                "The message \"a\" was given up: the server ended 3 times while it answered it.");
  EXPECT_EQ(ReadText(folder_ + "/failed/a.xml"), "old");
  EXPECT_EQ(queue->Poll("a", 0), "a");
  EXPECT_EQ(queue->Package(), "new");
}

TEST_F(QueueTest, AMessageLockedByAnotherServerIsPassedOver) {
  Send(folder_, "a", "");
  Send(folder_, "b", "");
  SetTime(New("a.xml"), 1000, 0);
  const auto queue = Open(folder_);
  FileHandle lock(open(New("a.xml").c_str(), O_RDONLY));
  ASSERT_EQ(flock(lock.Get(), LOCK_EX), 0);
  EXPECT_EQ(queue->Poll("", 0), "b");
  EXPECT_EQ(queue->Poll("", 0), "");
  lock.Close();
  EXPECT_EQ(queue->Poll("", 0), "a") << "no event tells it, and it is not forgotten";
}

TEST_F(QueueTest, AnswerThatCannotBeClearedAwayIsNotTakenForWaiting) {
  Send(folder_, "a", "");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  // Somebody put a folder in the message's place.
  std::filesystem::remove(folder_ + "/cur/a.xml");
  std::filesystem::create_directory(folder_ + "/cur/a.xml");
  EXPECT_RAISES(queue->Poll("", 0), 1000,
                "Unable to remove an answered message from the queue folder \"" + folder_ + "\": Is a directory");
  std::filesystem::remove(folder_ + "/cur/a.xml");
  EXPECT_EQ(queue->Poll("", 0), "");
}

TEST_F(QueueTest, EachMessageGoesToOneOfSeveralServers) {
  constexpr int kMessages = 500;
  const std::string record = base_ / "record";
  const auto serve = [&](int pipe) {
    const auto queue = Open(folder_);
    Report(pipe, "ready");
    const int file = open(record.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    for (std::string id = queue->Poll("", kLong); !id.starts_with("stop"); id = queue->Poll("", kLong)) {
      Report(file, id + "=" + queue->Package());
    }
    queue->Answered();
  };
  Child one(serve);
  Child two(serve);
  ASSERT_EQ(one.Line(), "ready");
  ASSERT_EQ(two.Line(), "ready");
  const std::vector<std::string> sent = SendToTwo(*Open(folder_), kMessages);
  EXPECT_EQ(one.End(0), 0);
  EXPECT_EQ(two.End(0), 0);
  std::vector<std::string> taken;
  std::ifstream lines(record);
  for (std::string line; std::getline(lines, line);) taken.push_back(line);
  EXPECT_THAT(taken, ::testing::UnorderedElementsAreArray(sent));
  for (const char* name : {"/new", "/cur", "/failed", "/tmp"}) EXPECT_THAT(NamesIn(folder_ + name), IsEmpty()) << name;
}

// Folders that are cleared away

/// The parts of a queue that somebody removes.
class RemovedPartsTest : public QueueTest, public ::testing::WithParamInterface<std::vector<std::string>> {
 protected:
  void RemoveParts() const {
    for (const std::string& part : GetParam()) ASSERT_GT(std::filesystem::remove_all(folder_ + "/" + part), 0U) << part;
  }
};

TEST_P(RemovedPartsTest, AreMadeAnewWhileNothingWaits) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  RemoveParts();
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_), ElementsAre("cur", "failed", "new", "tmp"));
}

TEST_P(RemovedPartsTest, AreMadeAnewWhenTheQueueHasNotChangedForLong) {
  const auto queue = Open(folder_);
  SleepMilliseconds(2100);
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_EQ(queue->Poll("", 0), "");
  RemoveParts();
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_), ElementsAre("cur", "failed", "new", "tmp"));
}

TEST_P(RemovedPartsTest, AreMadeAnewForTheMessageThatWaits) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  for (const char* name : {"a.xml", "b.xml"}) Arrive(name, "text");
  EXPECT_EQ(queue->Poll("", 0), "a");
  queue->Answered();
  RemoveParts();
  if (!std::filesystem::exists(folder_ + "/new")) return;  // with the message
  EXPECT_EQ(queue->Poll("", 0), "b");
  EXPECT_EQ(queue->Package(), "text");
  queue->Answered();
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_), ElementsAre("cur", "failed", "new", "tmp"));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_P(RemovedPartsTest, AreMadeAnewForTheMessageThatFails) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  std::filesystem::create_directory(New("folder.xml"));
  RemoveParts();
  if (!std::filesystem::exists(New("folder.xml"))) return;
  EXPECT_EQ(queue->Poll("", 0), "folder");
  EXPECT_EQ(RaisedText([&] { (void)queue->Package(); }), "1000 The message \"folder\" is not a plain file.");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("folder.xml"));
}

TEST_P(RemovedPartsTest, AreMadeAnewForTheMessageThatIsSent) {
  const auto queue = Open(folder_);
  queue->SetPackage("text");
  queue->Send("a");
  RemoveParts();
  EXPECT_TRUE(queue->CanSend());
  queue->Send("b");
  EXPECT_EQ(ReadText(New("b.xml")), "text");
  EXPECT_THAT(NamesIn(folder_), ElementsAre("cur", "failed", "new", "tmp"));
}

TEST_P(RemovedPartsTest, AreNoticedWhenThePollIsDueToLookAfterDeadServers) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  for (const char* name : {"a.xml", "b.xml"}) Arrive(name, "text");
  EXPECT_EQ(queue->Poll("", 0), "a");
  RemoveParts();
  if (!std::filesystem::exists(folder_ + "/new")) return;
  SleepMilliseconds(5100);
  EXPECT_EQ(queue->Poll("", 0), "b");
}

INSTANTIATE_TEST_SUITE_P(Parts, RemovedPartsTest,
                         ::testing::Values(std::vector<std::string>{"cur"}, std::vector<std::string>{"tmp"},
                                           std::vector<std::string>{"failed"}, std::vector<std::string>{"new"},
                                           std::vector<std::string>{"cur", "tmp", "failed"},
                                           std::vector<std::string>{"cur", "tmp", "failed", "new"}),
                         [](const auto& parts) {
                           std::string name;
                           for (const std::string& part : parts.param) name += part;
                           return name;
                         });

TEST_F(QueueTest, AnExchangedPartIsNoticed) {
  const auto queue = Open(folder_);
  Arrive("a.xml", "text");
  std::filesystem::rename(folder_ + "/cur", base_ / "moved");
  std::filesystem::create_directory(folder_ + "/cur");
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("a.xml"));
}

TEST_F(QueueTest, AFileUnderTwoNamesIsOneMessage) {
  // What a server leaves that dies between making the name in `cur` and removing the one in `new`.
  Send(folder_, "a", "text");
  std::filesystem::create_hard_link(New("a.xml"), folder_ + "/cur/a.xml");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_EQ(queue->Package(), "text");
  EXPECT_THAT(NamesIn(folder_ + "/new"), IsEmpty());
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("a.xml"));
  queue->Answered();
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_F(QueueTest, AFileUnderTwoNamesIsFoundWhilePolling) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  WriteText(folder_ + "/tmp/part", "text");
  std::filesystem::create_hard_link(folder_ + "/tmp/part", folder_ + "/cur/a.xml");
  std::filesystem::rename(folder_ + "/tmp/part", New("a.xml"));
  EXPECT_EQ(queue->Poll("", 0), "a");
  queue->Answered();
  EXPECT_EQ(queue->Poll("", 0), "");
}

TEST_F(QueueTest, NothingIsLostOnAFullFileSystem) {
  const test::MountedFolder full("tmpfs", "size=64k");
  if (!full.Mounted()) GTEST_SKIP() << "nobody may mount a file system here";
  const std::string folder = full.Path() + "/queue";
  Send(folder, "waiting", "text");
  const auto queue = Open(folder);
  queue->SetPackage("a small one");
  EXPECT_TRUE(queue->CanSend());
  const std::string filling = test::FillUp(full.Path());
  EXPECT_FALSE(queue->CanSend());
  EXPECT_EQ(RaisedText([&] { queue->Send("a"); }),
            "61 The message \"a\" cannot be sent to the queue folder \"" + folder + "\": No space left on device");
  EXPECT_EQ(queue->Poll("", 0), "waiting") << "taking needs no room";
  queue->PutBack();
  EXPECT_THAT(NamesIn(folder + "/new"), ElementsAre("waiting.xml"));
  EXPECT_THAT(NamesIn(folder + "/tmp"), IsEmpty());
  std::filesystem::remove(filling);
  EXPECT_TRUE(queue->CanSend());
  queue->Send("a");
  EXPECT_EQ(ReadText(folder + "/new/a.xml"), "a small one");
}

// Folders that were prepared for a group

constexpr uid_t kServerUser = 2000001;
constexpr uid_t kClientUser = 2000002;
constexpr uid_t kStranger = 2000003;
constexpr gid_t kCommonGroup = 2000010;

gid_t GroupOf(const std::string& path) {
  struct stat facts {};
  return lstat(path.c_str(), &facts) == 0 ? facts.st_gid : 0;
}

class SharedQueueTest : public QueueTest {
 protected:
  SharedQueueTest() {
    if (geteuid() != 0) return;
    chmod(base_.Path().c_str(), 0755);
    std::filesystem::create_directories(folder_);
    Prepare(folder_, 02770);
  }

  /// What an administrator does to a folder.
  static void Prepare(const std::string& folder, mode_t mode) {
    ASSERT_EQ(chown(folder.c_str(), kServerUser, kCommonGroup), 0);
    ASSERT_EQ(chmod(folder.c_str(), mode), 0);
  }

  /// Runs something as a user in the group and gives what it reports in one line.
  template <typename Routine>
  static std::string As(uid_t user, bool inGroup, mode_t mask, Routine routine) {
    Child other([&](int pipe) {
      const gid_t group = kCommonGroup;
      if (setgroups(inGroup ? 1 : 0, &group) != 0 || setresgid(user, user, user) != 0 ||
          setresuid(user, user, user) != 0) {
        _exit(3);
      }
      umask(mask);
      std::string text;
      const std::string raised = RaisedText([&] { text = routine(); });
      Report(pipe, raised == "nothing" ? text : raised);
    });
    return other.Line();
  }
};

TEST_F(SharedQueueTest, FoldersInItAreTheGroupsToo) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  for (const mode_t mask : {0000U, 0077U}) {
    As(kServerUser, true, mask, [this] { return Open(folder_), ""; });
    for (const char* name : {"tmp", "new", "cur", "failed"}) {
      EXPECT_EQ(ModeOf(folder_ + "/" + name), 02770U) << name;
      EXPECT_EQ(GroupOf(folder_ + "/" + name), kCommonGroup) << name;
      std::filesystem::remove(folder_ + "/" + name);
    }
  }
}

TEST_F(SharedQueueTest, ClientAndServerOfTwoUsersReachEachOther) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  const std::string results = base_ / "results";
  std::filesystem::create_directories(results);
  Prepare(results, 02770);
  // Whoever comes first makes the folders.
  for (const bool serverFirst : {true, false}) {
    if (serverFirst) As(kServerUser, true, 0077, [&] { return Open(folder_), Open(results), ""; });
    EXPECT_EQ(As(kClientUser, true, 0077, [&] { return Send(folder_, "a", "request"), "sent"; }), "sent");
    EXPECT_EQ(ModeOf(New("a.xml")), 0660U);
    EXPECT_EQ(GroupOf(New("a.xml")), kCommonGroup);
    EXPECT_EQ(As(kServerUser, true, 0077,
                 [&] {
                   const auto queue = Open(folder_);
                   const std::string id = queue->Poll("", 0);
                   const std::string text = queue->Package();
                   Send(results, id, "answer to " + text);
                   queue->Answered();
                   return id;
                 }),
              "a");
    EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
    EXPECT_EQ(ModeOf(results + "/new/a.xml"), 0660U);
    EXPECT_EQ(GroupOf(results + "/new/a.xml"), kCommonGroup);
    EXPECT_EQ(As(kStranger, false, 0077, [&] { return ReadText(results + "/new/a.xml"); }), "");
    EXPECT_EQ(As(kClientUser, true, 0077,
                 [&] { return AnswerFolder(results).Receive("a", milliseconds(0)).value_or("none"); }),
              "answer to request");
    EXPECT_THAT(NamesIn(results + "/new"), IsEmpty()) << "the client removed it";
    for (const std::string& queue : {folder_, results}) {
      for (const char* name : {"tmp", "new", "cur", "failed"}) std::filesystem::remove_all(queue + "/" + name);
    }
  }
}

TEST_F(SharedQueueTest, AFileHasNoMoreRightsThanItsFolderGivesTheGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  const std::map<mode_t, mode_t> filesByFolder = {{02770, 0660}, {02750, 0640}, {02700, 0600},
                                                  {02710, 0600}, {0770, 0600},  {02777, 0660}};
  As(kServerUser, true, 0, [this] { return Open(folder_), ""; });
  for (const auto& [ofFolder, ofFile] : filesByFolder) {
    Prepare(folder_ + "/new", ofFolder);
    EXPECT_EQ(As(kServerUser, true, 0, [this] { return Send(folder_, "a", "text"), "sent"; }), "sent");
    EXPECT_EQ(ModeOf(New("a.xml")), ofFile) << std::oct << ofFolder;
    std::filesystem::remove(New("a.xml"));
  }
}

TEST_F(SharedQueueTest, AFolderForReadersHasFoldersForReaders) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  Prepare(folder_, 02750);
  As(kServerUser, true, 0, [this] { return Send(folder_, "a", "text"), ""; });
  EXPECT_EQ(ModeOf(folder_ + "/new"), 02750U);
  EXPECT_EQ(ModeOf(New("a.xml")), 0640U);
  EXPECT_EQ(As(kClientUser, true, 0, [this] { return ReadText(New("a.xml")); }), "text");
}

TEST_F(SharedQueueTest, NoOtherGroupGetsTheRights) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  As(kServerUser, true, 0, [this] { return Open(folder_), ""; });
  // Written in a folder without the bit the file has the writer's own group first.
  Prepare(folder_ + "/tmp", 0770);
  EXPECT_EQ(As(kServerUser, true, 0, [this] { return Send(folder_, "a", "text"), "sent"; }), "sent");
  EXPECT_EQ(ModeOf(New("a.xml")), 0660U);
  EXPECT_EQ(GroupOf(New("a.xml")), kCommonGroup);
  // A writer who is not in the group cannot give it the file.
  for (const char* name : {"", "/new"}) chmod((folder_ + name).c_str(), 02777);
  chmod((folder_ + "/tmp").c_str(), 0777);
  for (const char* name : {"/cur", "/failed"}) chmod((folder_ + name).c_str(), 0755);
  EXPECT_EQ(As(kStranger, false, 0, [this] { return Send(folder_, "b", "text"), "sent"; }), "sent");
  EXPECT_EQ(ModeOf(New("b.xml")), 0600U);
}

TEST_F(SharedQueueTest, TheCountOfDeathsIsTheGroupsToo) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  As(kClientUser, true, 0077, [this] { return Send(folder_, "a", "text"), ""; });
  const auto die = [this] { return Open(folder_)->Poll("", 0); };
  for (const uid_t user : {kServerUser, kClientUser, kServerUser}) EXPECT_EQ(As(user, true, 0077, die), "a");
  EXPECT_EQ(As(kClientUser, true, 0077,
               [this] {
                 const auto queue = Open(folder_);
                 queue->Poll("", 0);
                 return queue->Package();
               }),
            "1000 The message \"a\" was given up: the server ended 3 times while it answered it.");
}

TEST_F(QueueTest, WithoutTheBitAllStaysPrivate) {
  std::filesystem::create_directories(folder_);
  chmod(folder_.c_str(), 0770);
  Send(folder_, "a", "text");
  EXPECT_EQ(ModeOf(folder_ + "/new"), 0700U);
  EXPECT_EQ(ModeOf(New("a.xml")), 0600U);
}

class AnswerFolderTest : public QueueTest {};

TEST_F(AnswerFolderTest, ReturnsAtOnceWhenTheAnswerComes) {
  Open(folder_);
  Child server([this](int) {
    SleepMilliseconds(50);
    Send(folder_, "other", "not mine");
    SleepMilliseconds(50);
    Send(folder_, "mine", "answer");
  });
  const auto start = Clock::now();
  EXPECT_EQ(AnswerFolder(folder_).Receive("mine", milliseconds(kLong)), "answer");
  EXPECT_LT(Clock::now() - start, milliseconds(kLong / 2));
}

TEST_F(AnswerFolderTest, WaitsForAFolderThatIsNotThereYet) {
  EXPECT_EQ(AnswerFolder(folder_).Receive("none", milliseconds(50)), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(folder_));
  Child server([this](int) {
    SleepMilliseconds(100);
    Send(folder_, "mine", "answer");
  });
  EXPECT_EQ(AnswerFolder(folder_).Receive("mine", milliseconds(kLong)), "answer");
}

TEST_F(AnswerFolderTest, FindsTheAnswerInAFolderMadeAnew) {
  Open(folder_);
  Child server([this](int) {
    SleepMilliseconds(50);
    std::filesystem::rename(folder_, base_ / "moved");
    Send(folder_, "mine", "answer");
  });
  EXPECT_EQ(AnswerFolder(folder_).Receive("mine", milliseconds(kLong)), "answer");
}

TEST_F(AnswerFolderTest, NamesWhatCannotBeRead) {
  WriteText(folder_, "a file");
  EXPECT_RAISES(AnswerFolder(folder_).Receive("a", milliseconds(0)), 1000,
                "Unable to read the queue folder \"" + folder_ + "\": Not a directory");
  EXPECT_RAISES(AnswerFolder(folder_).Receive("", milliseconds(0)), 1000,
                "The id of the answer cannot be a message id.");
  std::filesystem::remove(folder_);
  Open(folder_);
  std::filesystem::create_symlink("/etc/passwd", New("link.xml"));
  std::filesystem::create_directory(New("folder.xml"));
  WriteText(New("huge.xml"), "");
  ASSERT_EQ(truncate(New("huge.xml").c_str(), (std::int64_t{1} << 30) + 1), 0);
  const auto what = [this](const std::string& name) {
    return "The answer \"" + name + "\" in the queue folder \"" + folder_ + "\" ";
  };
  EXPECT_RAISES(AnswerFolder(folder_).Receive("link", milliseconds(0)), 1000,
                what("link.xml") + "cannot be read: Too many levels of symbolic links");
  EXPECT_RAISES(AnswerFolder(folder_).Receive("folder", milliseconds(0)), 1000,
                what("folder.xml") + "is not a plain file.");
  EXPECT_RAISES(AnswerFolder(folder_).Receive("huge", milliseconds(0)), 1000,
                what("huge.xml") + "is larger than 1073741824 bytes.");
}

}  // namespace
}  // namespace ods
