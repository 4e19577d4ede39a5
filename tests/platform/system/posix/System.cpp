#include "platform/system/System.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <optional>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/time.h>

#include "common/Error.h"
#include "platform/system/FileHandle.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "support/PlainUser.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::Child;
using ::testing::EndsWith;
using testing::ModeOf;
using testing::ReadText;
using testing::Report;
using testing::TestFolder;
using testing::WriteText;

using Clock = std::chrono::steady_clock;

TEST(Process, KnowsItself) {
  EXPECT_EQ(CurrentProcessId(), static_cast<std::uint32_t>(getpid()));
  EXPECT_THAT(ExecutablePath(), EndsWith("/test-platform-system"));
  char name[256] = {};
  ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
  EXPECT_EQ(ComputerName(), name);
}

TEST(Process, KnowsItsUser) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  EXPECT_EQ(CurrentUserName(), "root");
  Child other([](int pipe) {
    if (setuid(123456789) != 0) _exit(3);
    Report(pipe, "\"" + CurrentUserName() + "\"");
  });
  EXPECT_EQ(other.Line(), "\"\"") << "a user that the system does not know";
}

TEST(Process, TakesTheTempFolderFromTheEnvironment) {
  const std::string before = EnvironmentVariable("TMPDIR");
  setenv("TMPDIR", "/var/tmp", 1);
  EXPECT_EQ(SystemTempFolder(), "/var/tmp");
  setenv("TMPDIR", "relative", 1);
  EXPECT_EQ(SystemTempFolder(), "/tmp");
  unsetenv("TMPDIR");
  EXPECT_EQ(SystemTempFolder(), "/tmp");
  if (!before.empty()) setenv("TMPDIR", before.c_str(), 1);
}

TEST(Process, TheHomeFolderComesFromTheEnvironmentOrTheListOfUsers) {
  const std::string before = EnvironmentVariable("HOME");
  setenv("HOME", "/home/ann", 1);
  EXPECT_EQ(HomeFolder(), "/home/ann");
  unsetenv("HOME");
  EXPECT_EQ(HomeFolder(), getpwuid(geteuid())->pw_dir);
  if (!before.empty()) setenv("HOME", before.c_str(), 1);
}

TEST(Folder, IsWritableWhenTheUserMayMakeFilesInIt) {
  const TestFolder folder;
  EXPECT_TRUE(IsWritableFolder(folder.Path()));
  EXPECT_FALSE(IsWritableFolder(folder / "missing"));
  WriteText(folder / "file", "");
  EXPECT_FALSE(IsWritableFolder(folder / "file"));
  ASSERT_EQ(chmod(folder.Path().c_str(), 0555), 0);
  {
    const test::PlainUser user;
    EXPECT_FALSE(IsWritableFolder(folder.Path()));
  }
  ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
}

/// What a watched program ended with, as soon as it is told; nothing when it is not told for a while.
std::optional<int> FailedStatusOf(const std::string& program, const std::vector<std::string>& arguments) {
  const auto watched = StartWatchedProgram(program, arguments);
  std::optional<int> status;
  for (int tries = 0; tries < 40 && !status; ++tries) {
    SleepMilliseconds(25);
    status = watched->FailedStatus();
  }
  return status;
}

TEST(WatchedProgram, TellsTheStatusOfItsFailure) {
  EXPECT_EQ(FailedStatusOf("/bin/sh", {"-c", "exit 3"}), 3);
  EXPECT_EQ(FailedStatusOf("/bin/sh", {"-c", "echo 5; exit 255"}), 255) << "what it writes is no status";
  EXPECT_EQ(FailedStatusOf("/bin/sh", {"-c", "kill -KILL $$"}), 128 + SIGKILL);
  EXPECT_EQ(FailedStatusOf("/no/such/program", {}), 127);
}

TEST(WatchedProgram, TellsNothingOfSuccessAndWhileItRuns) {
  EXPECT_EQ(FailedStatusOf("/bin/sh", {"-c", "echo done"}), std::nullopt);
  EXPECT_EQ(FailedStatusOf("/bin/sleep", {"3"}), std::nullopt);
}

TEST(WatchedProgram, GetsItsArgumentsAsTheyAre) {
  EXPECT_EQ(FailedStatusOf("/bin/sh", {"-c", "test \"$1\" = \"a b'\\\"c\" && exit 9", "sh", "a b'\"c"}), 9);
}

TEST(Time, IsLocal) {
  const std::string before = EnvironmentVariable("TZ");
  setenv("TZ", "XYZ-5:30", 1);  // five and a half hours east
  tzset();
  const std::time_t now = std::time(nullptr);
  const Date zero = *Date::FromParts({.year = 1970, .month = 1, .day = 1});
  EXPECT_NEAR(static_cast<double>(LocalNow().seconds - zero.seconds), static_cast<double>(now + 19800), 2);

  const TestFolder folder;
  WriteText(folder / "file", "");
  const timeval times[2] = {{.tv_sec = 1000000000, .tv_usec = 0}, {.tv_sec = 1000000000, .tv_usec = 250000}};
  ASSERT_EQ(utimes((folder / "file").c_str(), times), 0);
  EXPECT_EQ(FileModificationTime(folder / "file").seconds - zero.seconds, 1000000000 + 19800);
  EXPECT_FALSE(FileModificationTime(folder / "file").dateOnly);
  before.empty() ? unsetenv("TZ") : setenv("TZ", before.c_str(), 1);
  tzset();
}

TEST(Sleep, EndsEarlyByASignal) {
  Child sleeper([](int pipe) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    Report(pipe, "sleeping");
    SleepMilliseconds(60000);
  });
  ASSERT_EQ(sleeper.Line(), "sleeping");
  SleepMilliseconds(50);
  EXPECT_EQ(sleeper.End(SIGUSR1), 0);
}

TEST(Time, StampsTellChangesOfANanosecond) {
  const TestFolder folder;
  const std::string path = folder / "file";
  WriteText(path, "");
  const auto stampAt = [&path](std::int64_t seconds, long nanoseconds) {
    const timespec times[2] = {{.tv_sec = seconds, .tv_nsec = nanoseconds},
                               {.tv_sec = seconds, .tv_nsec = nanoseconds}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    return FileModificationStamp(path);
  };
  EXPECT_EQ(stampAt(1000000000, 5), stampAt(1000000000, 5));
  EXPECT_NE(stampAt(1000000000, 5), stampAt(1000000000, 6));
  EXPECT_NE(stampAt(0, 0), 0) << "an existing file never looks missing";
}

TEST(AppendToPrivateFile, CreatesAppendsAndTellsTheSize) {
  const TestFolder folder;
  const std::string path = folder / "log";
  const mode_t before = umask(0);
  EXPECT_EQ(AppendToPrivateFile(path, "one\n"), 4U);
  umask(before);
  EXPECT_EQ(ModeOf(path), 0600U);
  EXPECT_EQ(AppendToPrivateFile(path, "two\n"), 8U);
  EXPECT_EQ(AppendToPrivateFile(path, ""), 8U);
  EXPECT_EQ(ReadText(path), "one\ntwo\n");
}

TEST(AppendToPrivateFile, NamesThePathThatCannotBeWritten) {
  const TestFolder folder;
  EXPECT_RAISES(AppendToPrivateFile(folder / "no/log", "x"), 1000,
                "Unable to append to file \"" + (folder / "no/log") + "\": No such file or directory");
  EXPECT_RAISES(AppendToPrivateFile("/dev/full", "x"), 1000,
                "Unable to append to file \"/dev/full\": No space left on device");
}

TEST(AppendToPrivateFile, NeverFollowsALinkNorWaitsForAPipe) {
  const TestFolder folder;
  std::filesystem::create_symlink(folder / "victim", folder / "link");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_RAISES(AppendToPrivateFile(folder / "link", "x"), 1000,
                "Unable to append to file \"" + (folder / "link") + "\": Too many levels of symbolic links");
  EXPECT_RAISES(AppendToPrivateFile(folder / "pipe", "x"), 1000,
                "Unable to append to file \"" + (folder / "pipe") + "\": No such device or address");
  EXPECT_FALSE(CanAppendTo(folder / "link"));
  EXPECT_FALSE(CanAppendTo(folder / "pipe"));
  EXPECT_FALSE(std::filesystem::exists(folder / "victim"));
}

TEST(AppendToPrivateFile, TellsThatNoHandleIsLeft) {
  const TestFolder folder;
  const std::string path = folder / "log";
  Child poor([&path](int pipe) {
    const int next = dup(pipe);
    close(next);
    const rlimit none{.rlim_cur = static_cast<rlim_t>(next), .rlim_max = static_cast<rlim_t>(next)};
    setrlimit(RLIMIT_NOFILE, &none);
    Report(pipe, test::RaisedText([&path] { AppendToPrivateFile(path, "x"); }));
    Report(pipe, CanAppendTo(path) ? "can" : "cannot");
  });
  EXPECT_EQ(poor.Line(), "1000 Unable to get file handle in function PreLog");
  EXPECT_EQ(poor.Line(), "cannot");
}

TEST(FailureSignals, DoNotEndAProcessThatTakesFailuresInstead) {
  const TestFolder folder;
  Child process([&folder](int pipe) {
    TakeFailuresInsteadOfSignals();
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) _exit(3);
    close(ends[0]);
    Report(pipe, write(ends[1], "x", 1) < 0 && errno == EPIPE ? "no reader" : "written");
    const rlimit small{.rlim_cur = 10, .rlim_max = 10};
    setrlimit(RLIMIT_FSIZE, &small);
    Report(pipe, test::RaisedText([&] { AppendToPrivateFile(folder / "file", std::string(20, 'x')); }));
  });
  EXPECT_EQ(process.Line(), "no reader");
  EXPECT_EQ(process.Line(), "1000 Unable to append to file \"" + (folder / "file") + "\": File too large");
}

TEST(FailureSignals, ActAsEverInProgramsThatAreStarted) {
  const TestFolder folder;
  const std::string script = "trap '' USR1; grep SigIgn /proc/self/status > '" + (folder / "part") + "'; mv '" +
                             (folder / "part") + "' '" + (folder / "ignored") + "'";
  Child process([&](int pipe) {
    TakeFailuresInsteadOfSignals();
    Report(pipe, StartProgram("/bin/sh", {"-c", script}) ? "started" : "not started");
  });
  ASSERT_EQ(process.Line(), "started");
  const auto end = Clock::now() + std::chrono::seconds(20);
  while (!std::filesystem::exists(folder / "ignored") && Clock::now() < end) SleepMilliseconds(10);
  // Only what the script itself ignores: signal 10 is bit 9.
  EXPECT_EQ(ReadText(folder / "ignored"), "SigIgn:\t0000000000000200\n");
}

TEST(StopSignals, SeeTerminateAndInterruptAndKeepTheProcessAlive) {
  for (const int signal : {SIGTERM, SIGINT}) {
    Child process([](int pipe) {
      StopSignals signals;
      Report(pipe, signals.Requested() ? "early" : "running");
      for (int rounds = 0; rounds < 1000 && !signals.Requested(); ++rounds) SleepMilliseconds(10);
      Report(pipe, signals.Requested() ? "stopped" : "never");
      Report(pipe, signals.Requested() ? "still stopped" : "forgotten");
    });
    ASSERT_EQ(process.Line(), "running");
    kill(process.Pid(), signal);
    EXPECT_EQ(process.Line(), "stopped");
    EXPECT_EQ(process.Line(), "still stopped");
    EXPECT_EQ(process.End(0), 0);
  }
}

TEST(StopSignals, ARepeatedRequestDoesNotKillAProcessOnItsWayOut) {
  Child process([](int pipe) {
    {
      StopSignals signals;
      kill(getpid(), SIGTERM);
      Report(pipe, signals.Requested() ? "stopped" : "not");
      kill(getpid(), SIGTERM);
      kill(getpid(), SIGINT);
    }
    Report(pipe, "ended in order");
  });
  EXPECT_EQ(process.Line(), "stopped");
  EXPECT_EQ(process.Line(), "ended in order");
  EXPECT_EQ(process.End(0), 0);
}

TEST(StopSignals, ActAsEverAfterwards) {
  Child process([](int pipe) {
    { const StopSignals signals; }
    Report(pipe, "unwatched");
    pause();
  });
  ASSERT_EQ(process.Line(), "unwatched");
  const int status = process.End(SIGTERM);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

}  // namespace
}  // namespace ods
