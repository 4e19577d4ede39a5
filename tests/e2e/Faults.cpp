// What happens to the real executable when its surroundings fail: full file systems, removed folders, pipes without
// readers, users who share a queue.
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "e2e/ServerProcess.h"
#include "platform/system/FileHandle.h"
#include "platform/system/ReadFile.h"
#include "support/MountedFolder.h"

namespace ods::test {
namespace {

namespace fs = std::filesystem;

/// A server on an empty database of its own.
class FaultsTest : public ::testing::Test {
 protected:
  FaultsTest() { folders_.Configure("Driver=SQLite3;Database=" + folders_.Root() + "/own.db"); }

  static bool IsPong(const std::string& answer) { return answer.find("<Ping>OK</Ping>") != std::string::npos; }
  /// A request whose answer names its type: an answer of that many bytes and some more.
  static Message Large(std::size_t bytes) { return Malformed(Request(std::string(bytes, 'x'))); }
  static bool IsWhole(const std::string& answer, std::size_t bytes) {
    return answer.find("Unknown message type: " + std::string(bytes, 'x')) != std::string::npos;
  }
  void ExpectEmptyQueues() const {
    for (const std::string& queue : {folders_.Requests(), folders_.Results()}) {
      for (const char* part : {"/new", "/failed", "/tmp"}) EXPECT_TRUE(fs::is_empty(queue + part)) << queue << part;
    }
  }

  ServerFolders folders_;
};

TEST_F(FaultsTest, AFullFileSystemOfTheAnswersHoldsUpNobodyAndLosesNothing) {
  const MountedFolder small("tmpfs", "size=1m");  // all answers of the test fit
  if (!small.Mounted()) GTEST_SKIP() << "nobody may mount a file system here";
  fs::create_directory_symlink(small.Path() + "/results", folders_.Results());
  fs::create_directory(small.Path() + "/results");
  ServerProcess server(folders_);
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));

  // An answer that does not fit becomes an error document; others are answered as ever.
  constexpr std::size_t kTooLarge = 1'500'000;
  const std::string large = client.Send(Large(kTooLarge));
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  EXPECT_NE(client.Receive(large).find("<Error>61</Error><Message>There is no room for the answer of "),
            std::string::npos);

  // Without any room the requests wait.
  const std::string filling = FillUp(small.Path());
  std::set<std::string> pings;
  for (int i = 0; i < 100; ++i) pings.insert(client.Send(kPing));
  const std::string other = client.Send(Large(1000));
  EXPECT_TRUE(Eventually([&] { return folders_.LogText().find("No space left on device") != std::string::npos; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(fs::is_empty(folders_.Results() + "/new"));

  fs::remove(filling);
  for (const std::string& id : pings) EXPECT_TRUE(IsPong(client.Receive(id))) << id;
  EXPECT_TRUE(IsWhole(client.Receive(other), 1000));
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  EXPECT_EQ(server.Stop(), 0);
  ExpectEmptyQueues();
  EXPECT_TRUE(fs::is_empty(folders_.Requests() + "/cur"));
}

TEST_F(FaultsTest, AServerStopsWhileNoAnswerCanBeWrittenAndTheNextOneAnswers) {
  const MountedFolder small("tmpfs", "size=64k");
  if (!small.Mounted()) GTEST_SKIP() << "nobody may mount a file system here";
  fs::create_directory_symlink(small.Path() + "/results", folders_.Results());
  fs::create_directory(small.Path() + "/results");
  std::string filling;
  std::string id;
  {
    ServerProcess server(folders_);
    QueueClient client(folders_);
    EXPECT_TRUE(IsPong(client.Ask(kPing)));
    filling = FillUp(small.Path());
    id = client.Send(kPing);
    EXPECT_TRUE(Eventually([&] { return folders_.LogText().find("No space left on device") != std::string::npos; }));
    EXPECT_EQ(server.Stop(), 0);
  }
  EXPECT_TRUE(fs::exists(folders_.Requests() + "/new/" + id + ".xml"));
  EXPECT_FALSE(fs::exists(folders_.Requests() + "/cur/" + id + ".tries"));
  fs::remove(filling);
  ServerProcess server(folders_);
  EXPECT_TRUE(IsPong(QueueClient(folders_).Receive(id)));
}

TEST_F(FaultsTest, AnswersThatMayNotBeSoLargeWaitUntilTheyMay) {
  ServerProcess server(folders_);
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  const auto limitFiles = [&server](rlim_t bytes) {
    const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
    ASSERT_EQ(prlimit(server.Pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
  };
  // Room for the answer to a ping, and for no error document.
  limitFiles(120);
  std::set<std::string> large;
  for (int i = 0; i < 200; ++i) large.insert(client.Send(Large(5000)));
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(IsPong(client.Ask(kPing)));
  EXPECT_TRUE(fs::is_empty(folders_.Results() + "/new"));
  limitFiles(RLIM_INFINITY);
  for (const std::string& id : large) EXPECT_TRUE(IsWhole(client.Receive(id), 5000)) << id;
  EXPECT_EQ(server.Stop(), 0);
  ExpectEmptyQueues();
  EXPECT_TRUE(fs::is_empty(folders_.Requests() + "/cur"));
}

TEST_F(FaultsTest, RemovedPartsOfTheQueuesAreMadeAnew) {
  ServerProcess server(folders_);
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  for (const std::string& queue : {folders_.Requests(), folders_.Results()}) {
    for (const char* part : {"/cur", "/tmp", "/failed", "/new"}) {
      fs::remove_all(queue + part);
      EXPECT_TRUE(IsPong(client.Ask(kPing))) << queue << part;
      EXPECT_TRUE(Eventually([&] { return fs::is_directory(queue + part); })) << queue << part;
    }
    fs::remove_all(queue);
    EXPECT_TRUE(IsPong(client.Ask(kPing))) << queue;
  }
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(FaultsTest, NeitherABrokenStandardErrorNorAMissingLogEndsTheServer) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const FileHandle before(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
  dup2(ends[1], STDERR_FILENO);
  ServerProcess server(folders_);
  dup2(before.Get(), STDERR_FILENO);
  for (const int end : ends) close(end);
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  // A log that cannot be written is told on standard error, which nobody reads.
  const std::string logs = folders_.Root() + "/data/Logs";
  fs::remove_all(logs);
  WriteTextFile(logs, "");
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(IsPong(client.Ask(kPing)));
  EXPECT_TRUE(server.IsRunning());
  fs::remove(logs);
  const std::string id = client.Send(kPing);
  EXPECT_TRUE(IsPong(client.Receive(id)));
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_NE(folders_.LogText().find("Ping" + id), std::string::npos) << "the folder was made anew";
}

TEST_F(FaultsTest, OneFolderForRequestsAndAnswersIsRefused) {
  const std::string errors = folders_.Root() + "/errors";
  const std::string folder = folders_.Root() + "/requests";
  EXPECT_EQ(RunProgram({"/bin/sh", "-c", "\"$@\" 2>'" + errors + "'", "sh", ODS_SERVER_PROGRAM, "/hidden",
                        "/datafolder=" + folders_.Root() + "/data", "/inqueue=" + folder, "/outqueue=" + folder + "/"}),
            1);
  const std::string text = "The parameters inqueue (\"" + folder + "\") and outqueue (\"" + folder +
                           "/\") name the same folder: requests and answers need a folder each.";
  EXPECT_EQ(ReadFileText(errors), "odbc-data-server: " + text + "\n");
  EXPECT_NE(folders_.LogText().find("Error: " + text), std::string::npos);
}

TEST_F(FaultsTest, AStatusFileThatIsAPipeIsNeverWaitedFor) {
  ASSERT_EQ(mkfifo(folders_.AliveFile().c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(folders_.MessageFile().c_str(), 0600), 0);
  const FileHandle reader(open(folders_.MessageFile().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  ServerProcess server(folders_, {"/alivefile=" + folders_.AliveFile(), "/messagefile=" + folders_.MessageFile()});
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  EXPECT_TRUE(fs::is_fifo(folders_.AliveFile()));
  EXPECT_NE(folders_.LogText().find("Error writing status file " + folders_.AliveFile()), std::string::npos);
  // What has a reader gets the report of a failed request.
  (void)client.Ask(Request("FieldList", "<TableId>[TABLE]nothing</TableId>"));
  std::string text(10000, '\0');
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(read(reader.Get(), text.data(), text.size()), 0)));
  EXPECT_NE(text.find("<Code>ErrorProcessingMessage</Code>"), std::string::npos) << text;
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(FaultsTest, AnEditOfTheConfigurationInPlaceIsTakenHoweverSoonItComes) {
  ServerProcess server(folders_);
  QueueClient client(folders_);
  EXPECT_TRUE(IsPong(client.Ask(kPing)));
  // Texts of one size, one right after the other.
  for (const char* name : {"a.db", "b.db", "c.db", "d.db"}) {
    folders_.Configure("Driver=SQLite3;Database=" + folders_.Root() + "/" + name);
    EXPECT_TRUE(Eventually([&] { return fs::exists(folders_.Root() + "/" + name); })) << name;
  }
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(FaultsTest, TwoUsersOfAGroupShareQueuesThatAnAdministratorPrepared) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become other users";
  if (RunProgram({"setpriv", "--reuid=2000001", "true"}) != 0) GTEST_SKIP() << "setpriv cannot be run";
  const std::string root = folders_.Root();
  fs::permissions(root, fs::perms(0755));
  constexpr gid_t kGroup = 2000010;
  for (const std::string& queue : {folders_.Requests(), folders_.Results()}) {
    fs::create_directory(queue);
    ASSERT_EQ(chown(queue.c_str(), 0, kGroup), 0);
    ASSERT_EQ(chmod(queue.c_str(), 02770), 0);
  }
  constexpr uid_t kServerUser = 2000001;
  for (const auto& entry : fs::recursive_directory_iterator(root + "/data")) {
    ASSERT_EQ(chown(entry.path().c_str(), kServerUser, kServerUser), 0);
  }
  ASSERT_EQ(chown((root + "/data").c_str(), kServerUser, kServerUser), 0);
  folders_.Configure("Driver=SQLite3;Database=" + root + "/data/own.db");
  // Where they were built, other users may not go.
  const auto copied = [&root](const char* program) {
    const fs::path copy = fs::path(root) / fs::path(program).filename();
    fs::copy_file(program, copy);
    fs::permissions(copy, fs::perms(0755));
    return copy.string();
  };
  const auto as = [](uid_t user, const std::vector<std::string>& command) {
    const std::string number = std::to_string(user);
    std::vector<std::string> all = {"setpriv", "--reuid=" + number, "--regid=" + number,
                                    "--groups=" + std::to_string(kGroup)};
    all.insert(all.end(), command.begin(), command.end());
    return all;
  };
  ServerProcess server(as(kServerUser, {copied(ODS_SERVER_PROGRAM), "/hidden", "/datafolder=" + root + "/data",
                                        "/inqueue=" + folders_.Requests(), "/outqueue=" + folders_.Results()}));
  const std::string client = copied(ODS_CLIENT_PROGRAM);
  for (const uid_t user : {2000002U, 2000003U}) {
    EXPECT_EQ(RunProgram(as(user, {"/bin/sh", "-c", "\"$@\" >/dev/null", "sh", client, "ping", "--requests",
                                   folders_.Requests(), "--results", folders_.Results()})),
              0)
        << user;
  }
  EXPECT_EQ(server.Stop(), 0);
  ExpectEmptyQueues();
}

}  // namespace
}  // namespace ods::test
