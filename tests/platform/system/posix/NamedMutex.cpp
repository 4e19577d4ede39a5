#include "platform/system/NamedMutex.h"

#include <gmock/gmock.h>
#include <memory>
#include <sys/file.h>

#include "common/Error.h"
#include "common/PercentCode.h"
#include "platform/system/FileHandle.h"
#include "platform/system/System.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "platform/system/posix/LockFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::_;
using testing::Child;
using ::testing::HasSubstr;
using testing::ModeOf;
using testing::Report;
using ::testing::StartsWith;
using testing::TestFolder;
using testing::WriteText;

constexpr uid_t kNobody = 65534;

std::string FreeName() { return "test " + NewGuidText(); }
std::string LockFile(const std::string& name) { return LockFolder() + "/" + PercentEncode(name) + ".lock"; }

TEST(NamedMutex, TestingANameCreatesNothing) {
  const std::string name = FreeName();
  EXPECT_FALSE(MutexExists(name));
  EXPECT_FALSE(std::filesystem::exists(LockFile(name)));
}

TEST(NamedMutex, TheLastHolderRemovesTheFile) {
  const std::string name = FreeName();
  auto first = std::make_unique<NamedMutex>(name);
  auto second = std::make_unique<NamedMutex>(name);
  first->Destroy();
  EXPECT_TRUE(MutexExists(name));
  EXPECT_TRUE(std::filesystem::exists(LockFile(name)));
  second->Destroy();
  EXPECT_FALSE(MutexExists(name));
  EXPECT_FALSE(std::filesystem::exists(LockFile(name))) << "the last holder removes the file";
}

TEST(NamedMutex, ReportsTheSystemsErrorWhenItCannotBeDestroyed) {
  const std::string name = FreeName();
  NamedMutex mutex(name);
  // Take the descriptor away behind the mutex's back: the close then fails with EBADF (9).
  struct stat wanted {};
  ASSERT_EQ(stat(LockFile(name).c_str(), &wanted), 0);
  for (int descriptor = 3; descriptor < 256; ++descriptor) {
    struct stat facts {};
    if (fstat(descriptor, &facts) == 0 && facts.st_ino == wanted.st_ino && facts.st_dev == wanted.st_dev) {
      close(descriptor);
    }
  }
  EXPECT_RAISES(mutex.Destroy(), 1000,
                "Error destroying instance mutex handle (9). " + std::system_category().message(9));
  unlink(LockFile(name).c_str());
}

TEST(NamedMutex, FileNamesAreEncodedAndStayInTheFolder) {
  const std::string name = "../../" + FreeName() + "\\\xC3\xA4";
  const NamedMutex mutex(name);
  EXPECT_TRUE(std::filesystem::exists(LockFile(name)));
  EXPECT_THAT(LockFile(name), StartsWith(LockFolder() + "/%2E.%2F..%2Ftest%20"));
  EXPECT_THAT(LockFile(name), HasSubstr("%5C%C3%A4.lock"));
  EXPECT_TRUE(MutexExists(name));
}

TEST(NamedMutex, TheNameVanishesWhenItsHolderIsKilled) {
  const std::string name = FreeName();
  Child holder([&name](int pipe) {
    const NamedMutex mutex(name);
    Report(pipe, "held");
    pause();
  });
  ASSERT_EQ(holder.Line(), "held");
  EXPECT_TRUE(MutexExists(name));
  holder.End(SIGKILL);
  EXPECT_FALSE(MutexExists(name));
  // The file it left does not keep the next holder away, who then clears it.
  EXPECT_TRUE(std::filesystem::exists(LockFile(name)));
  NamedMutex next(name);
  EXPECT_TRUE(MutexExists(name));
  next.Destroy();
  EXPECT_FALSE(std::filesystem::exists(LockFile(name)));
}

TEST(NamedMutex, AShellScriptTakesPartWithFlock) {
  const std::string name = FreeName();
  const std::string path = LockFile(name);
  Child shell([&path](int pipe) {
    setpgid(0, 0);
    dup2(pipe, STDOUT_FILENO);
    execlp("flock", "flock", "-s", path.c_str(), "sh", "-c", "echo held; exec sleep 60", nullptr);
    _exit(127);
  });
  ASSERT_EQ(shell.Line(), "held");
  EXPECT_TRUE(MutexExists(name));
  {
    const NamedMutex alsoHeld(name);
    EXPECT_TRUE(MutexExists(name));
  }
  EXPECT_TRUE(std::filesystem::exists(path)) << "the shell still holds it";
  kill(-shell.Pid(), SIGKILL);  // flock(1) and the command it runs: the lock goes with the last of both
  shell.End(0);
  for (int tries = 0; tries < 500 && MutexExists(name); ++tries) SleepMilliseconds(10);
  EXPECT_FALSE(MutexExists(name));
  unlink(path.c_str());
}

TEST(NamedMutex, AHolderWaitsForSomebodyWhoTestsTheName) {
  const std::string name = FreeName();
  const std::string path = LockFile(name);
  Child tester([&path](int pipe) {
    const FileHandle file(open(path.c_str(), O_RDONLY | O_CREAT, 0644));
    flock(file.Get(), LOCK_EX);
    Report(pipe, "testing");
    SleepMilliseconds(100);
  });
  ASSERT_EQ(tester.Line(), "testing");
  const NamedMutex mutex(name);
  EXPECT_EQ(tester.End(0), 0);
  EXPECT_TRUE(MutexExists(name));
}

TEST(NamedMutex, AFileThatWasRemovedMeanwhileIsNotTheMutex) {
  const std::string name = FreeName();
  const std::string path = LockFile(name);
  // Somebody has the file locked exclusively, removes it, and lets go: a holder that waited must not keep its lock on
  // the removed file.
  Child remover([&path](int pipe) {
    const FileHandle file(open(path.c_str(), O_RDONLY | O_CREAT, 0644));
    flock(file.Get(), LOCK_EX);
    Report(pipe, "locked");
    SleepMilliseconds(50);
    unlink(path.c_str());
    SleepMilliseconds(50);
  });
  ASSERT_EQ(remover.Line(), "locked");
  const NamedMutex mutex(name);
  remover.End(0);
  EXPECT_TRUE(std::filesystem::exists(path));
  EXPECT_TRUE(MutexExists(name));
}

TEST(NamedMutex, AccessDeniedCountsAsExisting) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  const std::string name = FreeName();
  WriteText(LockFile(name), "");
  ASSERT_EQ(chmod(LockFile(name).c_str(), 0600), 0);
  Child other([&name](int pipe) {
    if (setuid(kNobody) != 0) _exit(3);
    Report(pipe, MutexExists(name) ? "exists" : "free");
    Report(pipe, test::RaisedText([&name] { const NamedMutex mutex(name); }));
  });
  EXPECT_EQ(other.Line(), "exists");
  EXPECT_EQ(other.Line(), "1000 Error creating instance mutex (13). Permission denied");
  unlink(LockFile(name).c_str());
}

TEST(NamedMutex, IsSharedBetweenUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  const std::string name = FreeName();
  const mode_t before = umask(0077);
  NamedMutex mutex(name);
  umask(before);
  EXPECT_EQ(ModeOf(LockFile(name)), 0644U);
  Child other([&name](int pipe) {
    if (setuid(kNobody) != 0) _exit(3);
    Report(pipe, MutexExists(name) ? "exists" : "free");
    const NamedMutex held(name);
    Report(pipe, "held");
    pause();
  });
  EXPECT_EQ(other.Line(), "exists");
  EXPECT_EQ(other.Line(), "held");
  mutex.Destroy();
  EXPECT_TRUE(MutexExists(name));
  other.End(SIGKILL);
  EXPECT_FALSE(MutexExists(name));
  unlink(LockFile(name).c_str());
}

TEST(NamedMutex, ALinkIsNotFollowed) {
  const TestFolder folder;
  const std::string name = FreeName();
  ASSERT_EQ(symlink((folder / "victim").c_str(), LockFile(name).c_str()), 0);
  EXPECT_RAISES(NamedMutex(name), 1000, _);
  EXPECT_RAISES(MutexExists(name), 1000, _);
  EXPECT_FALSE(std::filesystem::exists(folder / "victim"));
  unlink(LockFile(name).c_str());
}

TEST(NamedMutex, ANameThatIsNoFileNameIsAnError) {
  const std::string name(300, 'x');
  EXPECT_RAISES(NamedMutex(name), 1000, "Error creating instance mutex (36). File name too long");
  EXPECT_RAISES(MutexExists(name), 1000, "Unable to test the mutex \"" + name + "\": File name too long");
}

TEST(LockFolder, IsOpenToAllUsersAndSticky) {
  const TestFolder folder;
  EXPECT_EQ(FirstLockFolder({folder / "locks", folder / "other"}), folder / "locks");
  EXPECT_EQ(ModeOf(folder / "locks"), 01777U);
  EXPECT_FALSE(std::filesystem::exists(folder / "other"));
  EXPECT_TRUE(LockFolder() == "/run/lock/odbc-data-server" || LockFolder() == "/tmp/odbc-data-server-locks");
}

TEST(LockFolder, FallsBackWhereTheFirstCannotBeMade) {
  const TestFolder folder;
  std::filesystem::create_symlink(folder.Path(), folder / "link");
  EXPECT_EQ(FirstLockFolder({folder / "no/such/parent", folder / "link", folder / "locks"}), folder / "locks");
  EXPECT_RAISES(FirstLockFolder({folder / "no/such/parent"}), 1000,
                "Unable to create the lock folder \"" + (folder / "no/such/parent") + "\"");
}

}  // namespace
}  // namespace ods
