// The controller with real servers, driven from outside: configuration file, signals, `status`; clients ask all the
// time meanwhile.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <mutex>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

#include "common/Attempt.h"
#include "e2e/DatabaseServer.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/system/FileHandle.h"
#include "platform/system/Processes.h"
#include "platform/system/ReadFile.h"
#include "platform/system/Slot.h"
#include "support/EnvironmentValue.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

const std::string kPage =
    "<XML><Type>TableData</Type><TableId>[TABLE]t</TableId><PrimaryKey>a</PrimaryKey><PageSize>10</PageSize>"
    "<Navigate>gotofirst</Navigate><Fields><Field><Id>a</Id></Field></Fields></XML>";

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// A controller with its configuration and the folders of its one source, "data".
class Controlled {
 public:
  explicit Controlled(const ServerFolders& folders) : folders_(&folders) {
    folders.Watch().SetExact(true);  // as a controller starts its servers unless told otherwise
  }

  [[nodiscard]] std::string File() const { return folders_->Root() + "/controller.toml"; }
  void Configure(const std::string& connection, const std::string& lines = "", const std::string& more = "") const {
    WriteTextFile(File(), "[controller]\nstate_folder = \"state\"\nruntime_folder = \"run\"\nserver = \"" +
                              std::string(ODS_SERVER_PROGRAM) +
                              "\"\n[[source]]\nname = \"data\"\nrequests = \"requests\"\nresults = \"results\"\n"
                              "restarts_per_minute = 100\nconnection = '" +
                              connection + "'\n" + lines + more);
  }
  void Start() { process_ = std::make_unique<ServerProcess>(CommandLine({})); }
  [[nodiscard]] ServerProcess& Process() { return *process_; }
  [[nodiscard]] std::vector<std::string> CommandLine(const std::vector<std::string>& more) const {
    std::vector<std::string> line = {ODS_CONTROLLER_PROGRAM, "--config", File()};
    line.insert(line.end(), more.begin(), more.end());
    return line;
  }
  /// The same under a service manager.
  void StartAsService(const std::string& socket) {
    std::vector<std::string> line = {"/usr/bin/env", "NOTIFY_SOCKET=" + socket, "WATCHDOG_USEC=600000"};
    const std::vector<std::string> program = CommandLine({});
    line.insert(line.end(), program.begin(), program.end());
    process_ = std::make_unique<ServerProcess>(line);
  }
  void Reload() { kill(process_->Pid(), SIGHUP); }

  [[nodiscard]] std::optional<int> Server(const std::string& id = "data.1") const {
    return SlotOccupant(folders_->Root() + "/state/servers/" + id + ".slot");
  }
  [[nodiscard]] bool Says(const std::string& text, const std::string& id = "data.1") const {
    return Status().find("\"id\": \"" + id + "\", \"state\": \"" + text + "\"") != std::string::npos;
  }
  [[nodiscard]] std::string Status() const {
    return OutputOf(std::string(ODS_CONTROLLER_PROGRAM) + " --config " + File() + " status --json");
  }
  static std::string OutputOf(const std::string& command) {
    std::string text;
    std::FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> block{};
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), pipe)) text.append(block.data(), got);
    pclose(pipe);
    return text;
  }

 private:
  const ServerFolders* folders_;
  std::unique_ptr<ServerProcess> process_;
};

/// Stops a process in its tracks, and waits until it stands.
void MakeStandStill(int pid) {
  kill(pid, SIGSTOP);
  EXPECT_TRUE(Eventually([&] {
    const std::string stat = ReadFileText("/proc/" + std::to_string(pid) + "/stat");
    return stat.find(") T ") != std::string::npos;
  }));
}

/// Looks all the time how many processes there are of each server of a folder.
class DoublesWatch {
 public:
  explicit DoublesWatch(const ServerFolders& folders) : mark_("--config=" + folders.Root() + "/run/") {
    thread_ = std::thread([this] {
      while (!stop_) {
        Look();
        std::this_thread::sleep_for(milliseconds(2));
      }
    });
  }
  ~DoublesWatch() {
    stop_ = true;
    thread_.join();
    EXPECT_GT(looks_, 0);
    EXPECT_EQ(doubles_, 0) << "of " << looks_ << " looks";
  }
  DoublesWatch(const DoublesWatch&) = delete;
  DoublesWatch& operator=(const DoublesWatch&) = delete;
  DoublesWatch(DoublesWatch&&) = delete;
  DoublesWatch& operator=(DoublesWatch&&) = delete;

 private:
  void Look() {
    std::vector<std::string> found;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", gone)) {
      const std::string name = entry.path().filename().string();
      if (name.find_first_not_of("0123456789") != std::string::npos) continue;
      for (const std::string& argument : CommandLineOf(std::stoi(name))) {
        if (argument.starts_with(mark_)) found.push_back(argument);
      }
    }
    std::ranges::sort(found);
    if (std::ranges::adjacent_find(found) != found.end()) ++doubles_;
    ++looks_;
  }

  std::string mark_;
  std::atomic<bool> stop_ = false;
  int looks_ = 0;
  int doubles_ = 0;
  std::thread thread_;
};

/// A client that asks without a pause, in a thread of its own, and waits for every answer.
class BusyClient {
 public:
  BusyClient(const ServerFolders& folders, std::string request) : client_(folders), request_(std::move(request)) {
    thread_ = std::thread([this] { Run(); });
  }
  ~BusyClient() { Finish(); }
  BusyClient(const BusyClient&) = delete;
  BusyClient& operator=(const BusyClient&) = delete;
  BusyClient(BusyClient&&) = delete;
  BusyClient& operator=(BusyClient&&) = delete;

  /// Seconds from now until a request that is asked after now has its answer, without an error.
  [[nodiscard]] double UntilAnswered() {
    const auto start = Clock::now();
    while (SecondsSince(start) < 60) {
      {
        const std::lock_guard lock(mutex_);
        if (goodAskedAt_ >= start) return SecondsSince(start);
      }
      std::this_thread::sleep_for(milliseconds(1));
    }
    ADD_FAILURE() << "no good answer in a minute";
    return 60;
  }
  void Finish() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  [[nodiscard]] int Asked() const { return asked_; }
  [[nodiscard]] int Good() const { return good_; }
  [[nodiscard]] int Unanswered() const { return unanswered_; }

 private:
  void Run() {
    while (!stop_) {
      const auto start = Clock::now();
      ++asked_;
      const std::string answer = client_.Ask(request_, seconds(60));
      if (answer.empty()) ++unanswered_;
      if (!answer.empty() && answer.find("<Error>") == std::string::npos) {
        ++good_;
        const std::lock_guard lock(mutex_);
        goodAskedAt_ = start;
      }
    }
  }

  QueueClient client_;
  std::string request_;
  std::atomic<bool> stop_ = false;
  std::atomic<int> asked_ = 0;
  std::atomic<int> good_ = 0;
  std::atomic<int> unanswered_ = 0;
  std::mutex mutex_;
  Clock::time_point goodAskedAt_{};
  std::thread thread_;
};

/// What a service manager listens at.
class NotifySocket {
 public:
  explicit NotifySocket(std::string path) : path_(std::move(path)), socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  [[nodiscard]] const std::string& Path() const { return path_; }
  /// Waits for a message with `text`; what comes before it is passed over.
  [[nodiscard]] bool Hears(const std::string& text) {
    std::array<char, 4096> block{};
    const auto start = Clock::now();
    while (SecondsSince(start) < 20) {
      WaitForAny({socket_.Get()}, 1000);
      const ssize_t got = recv(socket_.Get(), block.data(), block.size(), MSG_DONTWAIT);
      if (got > 0 && std::string(block.data(), static_cast<std::size_t>(got)).find(text) != std::string::npos)
        return true;
    }
    return false;
  }

 private:
  std::string path_;
  FileHandle socket_;
};

void Print(const std::string& what, std::vector<double> times) {
  std::ranges::sort(times);
  std::cout << what << ": " << times.size() << " times, seconds: shortest " << times.front() << ", middle "
            << times[times.size() / 2] << ", longest " << times.back() << '\n';
}

/// A table of a thousand rows on the stand-in driver, or on SQLite.
class Controllers : public testing::Test {
 protected:
  Controllers() : standIn_("Other"), controlled_(standIn_.Folders()) {
    standIn_.Run(
        "CREATE TABLE t (a int NOT NULL PRIMARY KEY); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n "
        "WHERE i<1000) INSERT INTO t SELECT i FROM n");
  }
  [[nodiscard]] const ServerFolders& Folders() const { return standIn_.Folders(); }
  [[nodiscard]] std::string Sqlite() const { return "Driver=SQLite3;Database=" + Folders().Root() + "/product.db"; }
  [[nodiscard]] std::string Driver(const std::string& settings) const {
    return std::string("DRIVER=") + ODS_PRODUCT_DRIVER + ";Product=Other;Database=" + Folders().Root() + "/product.db" +
           settings;
  }
  void StartAndWait() {
    controlled_.Start();
    // Without a controller a server that is there counts as running, too.
    const std::string controller = "\"controller\": {\"process\": " + std::to_string(controlled_.Process().Pid()) + "}";
    ASSERT_TRUE(Eventually(
        [&] { return controlled_.Status().find(controller) != std::string::npos && controlled_.Says("running"); }));
  }
  void ExpectAllAnswered(BusyClient& client) {
    client.Finish();
    EXPECT_EQ(client.Unanswered(), 0) << "of " << client.Asked();
    std::cout << client.Asked() << " requests, " << client.Unanswered() << " unanswered, "
              << client.Asked() - client.Good() << " with an error\n";
  }

  // The sanitizer's check for leaks works in a copy of the process that ends, which would count as a double.
  EnvironmentValue sanitizer_{"ASAN_OPTIONS", "detect_leaks=0"};
  StandIn standIn_;
  Controlled controlled_;
};

TEST_F(Controllers, AServerThatIsKilledTenTimesIsBackEachTime) {
  controlled_.Configure(Sqlite());
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), kPage);
  (void)client.UntilAnswered();
  std::vector<double> times;
  for (int i = 0; i < 10; ++i) {
    kill(controlled_.Server().value(), SIGKILL);
    times.push_back(client.UntilAnswered());
    std::this_thread::sleep_for(milliseconds(50 * i));
  }
  Print("recovery after the server was killed", times);
  ExpectAllAnswered(client);
  EXPECT_EQ(client.Asked(), client.Good());
  EXPECT_EQ(controlled_.Process().Stop(), 0);
  EXPECT_FALSE(controlled_.Server());
}

TEST_F(Controllers, SharedQueuesGoOnWhileOneOfTheServersIsKilled) {
  controlled_.Configure(Sqlite(), "servers = 3\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient one(Folders(), kPage);
  BusyClient two(Folders(), kPage);
  for (int i = 0; i < 9; ++i) {
    (void)one.UntilAnswered();
    if (const auto pid = controlled_.Server("data." + std::to_string(i % 3 + 1))) kill(*pid, SIGKILL);
  }
  (void)two.UntilAnswered();
  ExpectAllAnswered(one);
  ExpectAllAnswered(two);
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, AControllerThatIsKilledIsFollowedByOneThatHasNoDoubles) {
  controlled_.Configure(Sqlite(), "servers = 2\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), kPage);
  std::vector<double> times;
  // At once; when servers are about to end; when they are gone.
  for (const int pause : {0, 0, 20, 50, 80, 100, 120, 150, 200, 300, 1000}) {
    (void)client.UntilAnswered();
    ASSERT_TRUE(Eventually([&] { return controlled_.Server() && controlled_.Server("data.2"); }));
    controlled_.Process().Kill();
    std::this_thread::sleep_for(milliseconds(pause));
    controlled_.Start();
    times.push_back(client.UntilAnswered());
    ASSERT_TRUE(Eventually([&] { return controlled_.Says("running") && controlled_.Says("running", "data.2"); }));
  }
  Print("recovery after the controller was started again", times);
  ExpectAllAnswered(client);
  EXPECT_EQ(client.Asked(), client.Good());
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, AServerThatHasNotMissedItsControllerIsTakenOver) {
  controlled_.Configure(Sqlite());
  const DoublesWatch doubles(Folders());
  StartAndWait();
  const std::optional<int> server = controlled_.Server();
  for (int i = 0; i < 3; ++i) {
    MakeStandStill(server.value());  // it cannot look
    controlled_.Process().Kill();
    StartAndWait();
    kill(server.value(), SIGCONT);
    QueueClient client(Folders());
    EXPECT_NE(client.Ask(kPage).find("<HasNextPage>"), std::string::npos);
    EXPECT_EQ(controlled_.Server(), server);
  }
  kill(server.value(), SIGKILL);
  ASSERT_TRUE(Eventually([&] { return controlled_.Server() && controlled_.Server() != server; }))
      << "it is watched as any other";
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ServersThatAreNotWantedAnyMoreOrStartedOtherwiseAreReplacedAfterACrash) {
  controlled_.Configure(Sqlite(), "servers = 2\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  ASSERT_TRUE(Eventually([&] { return controlled_.Says("running", "data.2"); }));
  const auto first = controlled_.Server();
  controlled_.Configure(Sqlite(), "query_timeout = 20\n");
  controlled_.Process().Kill();
  controlled_.Start();
  ASSERT_TRUE(Eventually([&] { return !controlled_.Server("data.2") && controlled_.Server() != first; }));
  ASSERT_TRUE(Eventually([&] { return controlled_.Says("running"); }));
  const std::vector<std::string> line = CommandLineOf(controlled_.Server().value());
  EXPECT_NE(std::ranges::find(line, "--querytimeout=20"), line.end());
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, TheSecondControllerOfAConfigurationSaysSoAndEnds) {
  controlled_.Configure(Sqlite());
  StartAndWait();
  const auto server = controlled_.Server();
  const std::string text = Controlled::OutputOf(std::string(ODS_CONTROLLER_PROGRAM) + " --config " +
                                                controlled_.File() + " 2>&1; echo status $?");
  EXPECT_NE(text.find("runs already, process " + std::to_string(controlled_.Process().Pid())), std::string::npos)
      << text;
  EXPECT_NE(text.find("status 2"), std::string::npos) << text;
  EXPECT_EQ(controlled_.Server(), server);
  EXPECT_TRUE(controlled_.Says("running"));
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ASignalMakesItTakeOverWhatHasChanged) {
  controlled_.Configure(Sqlite());
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), kPage);
  const auto first = controlled_.Server();
  const auto second = "[[source]]\nname = \"other\"\nconnection = '" + Sqlite() + "'\n";

  controlled_.Configure(Sqlite(), "", second);
  controlled_.Reload();
  ASSERT_TRUE(Eventually([&] { return controlled_.Says("running", "other.1"); }));
  EXPECT_EQ(controlled_.Server(), first) << "what has not changed goes on";

  controlled_.Configure(Sqlite(), "querytimeout = 5\n");
  controlled_.Reload();
  std::this_thread::sleep_for(milliseconds(500));
  EXPECT_EQ(controlled_.Server(), first) << "a mistake changes nothing";
  EXPECT_TRUE(controlled_.Server("other.1"));

  controlled_.Configure(Sqlite() + ";Timeout=500");
  controlled_.Reload();
  ASSERT_TRUE(Eventually([&] { return !controlled_.Server("other.1") && controlled_.Server() != first; }));
  std::cout << "recovery after a reload: " << client.UntilAnswered() << " s\n";
  ExpectAllAnswered(client);
  EXPECT_EQ(client.Asked(), client.Good());
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, AnEndLetsTheRequestInHandFinish) {
  controlled_.Configure(Driver(";DelayStatement=300"));
  StartAndWait();
  QueueClient client(Folders());
  const std::string id = client.Send(kPage);
  ASSERT_TRUE(Eventually([&] { return !std::filesystem::is_empty(Folders().Requests() + "/cur"); }));
  EXPECT_EQ(controlled_.Process().Stop(), 0);
  EXPECT_FALSE(controlled_.Server());
  EXPECT_NE(client.Receive(id, seconds(1)).find("<HasNextPage>"), std::string::npos);
}

TEST_F(Controllers, AClientsMistakesRestartNothing) {
  controlled_.Configure(Sqlite());
  StartAndWait();
  const auto server = controlled_.Server();
  QueueClient client(Folders());
  for (int i = 0; i < 20; ++i) {
    const XmlDocument answer = client.AskDocument(Request("FieldList", "<TableId>[TABLE]08S01 lost</TableId>"));
    EXPECT_NE(GetNodeText(answer, "/XML/Error"), "");
  }
  std::this_thread::sleep_for(seconds(1));
  EXPECT_NE(controlled_.Status().find("ErrorProcessingMessage"), std::string::npos) << "the report was there";
  EXPECT_EQ(controlled_.Server(), server);
  EXPECT_TRUE(controlled_.Says("running"));
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ALostConnectionRestartsTheServer) {
  controlled_.Configure(Driver(";LoseStatement=20"));
  const DoublesWatch doubles(Folders());
  StartAndWait();
  const auto server = controlled_.Server();
  BusyClient client(Folders(), kPage);
  ASSERT_TRUE(Eventually([&] { return controlled_.Server() && controlled_.Server() != server; }));
  std::cout << "recovery after a lost connection: " << client.UntilAnswered() << " s\n";
  ExpectAllAnswered(client);
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ADriverThatHangsCostsOneAnswerAndItsServer) {
  controlled_.Configure(Driver(";HangStatement=20;IgnoreCancel=1"), "query_timeout = 1\nalive_limit = 10\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), kPage);
  const auto server = controlled_.Server();
  const auto start = Clock::now();
  ASSERT_TRUE(Eventually([&] { return controlled_.Server() && controlled_.Server() != server; }));
  const double replaced = SecondsSince(start);
  std::cout << "a hanging statement (limit 1 s): server replaced after " << replaced << " s, answers again after "
            << client.UntilAnswered() << " s more\n";
  ExpectAllAnswered(client);
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, AServerThatStandsStillIsKilled) {
  controlled_.Configure(Sqlite(), "query_timeout = 1\nalive_limit = 10\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), kPage);
  (void)client.UntilAnswered();
  MakeStandStill(controlled_.Server().value());
  const double time = client.UntilAnswered();
  std::cout << "recovery after the server stood still (limit 10 s): " << time << " s\n";
  EXPECT_GT(time, 4);
  ExpectAllAnswered(client);
  EXPECT_EQ(client.Asked(), client.Good());
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ADatabaseThatIsNotThereIsTriedAgain) {
  const std::string folder = Folders().Root() + "/later";
  controlled_.Configure("Driver=SQLite3;Database=" + folder + "/product.db");
  controlled_.Start();
  ASSERT_TRUE(Eventually([&] { return controlled_.Says("no database"); }));
  BusyClient client(Folders(), kPage);
  std::this_thread::sleep_for(seconds(1));
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(Folders().Root() + "/product.db", folder + "/product.db");
  std::cout << "recovery after the database came: " << client.UntilAnswered() << " s\n";
  ExpectAllAnswered(client);
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, CheckTriesEveryConnection) {
  controlled_.Configure(Sqlite(), "", "[[source]]\nname = \"bad\"\ndsn = \"no such source\"\n");
  const std::string command = std::string(ODS_CONTROLLER_PROGRAM) + " --config " + controlled_.File();
  const std::string text = Controlled::OutputOf(command + " check 2>&1; echo status $?");
  EXPECT_NE(text.find("data: connected in "), std::string::npos) << text;
  EXPECT_NE(text.find("bad: not connected. Error "), std::string::npos) << text;
  EXPECT_NE(text.find("status 1\n"), std::string::npos) << text;
  controlled_.Configure(Sqlite());
  EXPECT_NE(Controlled::OutputOf(command + " check 2>&1; echo status $?").find("status 0\n"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(Folders().Root() + "/state")) << "it leaves nothing behind";
  controlled_.Configure(Sqlite(), "sevrers = 1\n");
  const std::string mistake = Controlled::OutputOf(command + " check 2>&1; echo status $?");
  EXPECT_NE(mistake.find("controller.toml:11: \"sevrers\" is not known"), std::string::npos) << mistake;
  EXPECT_NE(mistake.find("status 2\n"), std::string::npos) << mistake;
}

TEST_F(Controllers, AServiceManagerIsTold) {
  controlled_.Configure(Sqlite());
  NotifySocket manager(Folders().Root() + "/notify");
  controlled_.StartAsService(manager.Path());
  EXPECT_TRUE(manager.Hears("READY=1"));
  EXPECT_TRUE(manager.Hears("STATUS=1 of 1 servers run"));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(manager.Hears("WATCHDOG=1"));
  controlled_.Reload();
  EXPECT_TRUE(manager.Hears("RELOADING=1"));
  EXPECT_TRUE(manager.Hears("READY=1"));
  kill(controlled_.Process().Pid(), SIGTERM);
  EXPECT_TRUE(manager.Hears("STOPPING=1"));
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ThePasswordStandsInPrivateFilesOnly) {
  WriteTextFile(Folders().Root() + "/password", "geheim;1\n");
  std::filesystem::permissions(Folders().Root() + "/password", std::filesystem::perms(0600));
  controlled_.Configure(Sqlite(), "password_file = \"password\"\n");
  StartAndWait();
  for (const std::string& argument : CommandLineOf(controlled_.Server().value())) {
    EXPECT_EQ(argument.find("geheim"), std::string::npos);
  }
  const std::string file = Folders().Root() + "/run/data.1.config.xml";
  EXPECT_NE(ReadFileText(file).find("PWD={geheim;1}"), std::string::npos);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

TEST_F(Controllers, ADatabaseServerThatStopsAndStartsComesBackIntoUse) {
  std::optional<DatabaseServer> database;
  if (const auto failure = Attempt([&] { database.emplace("postgresql"); })) {
    GTEST_SKIP() << "PostgreSQL does not start here: " << failure->Description();
  }
  controlled_.Configure(database->ConnectionString(), "backoff_most = 4\n");
  const DoublesWatch doubles(Folders());
  StartAndWait();
  BusyClient client(Folders(), Request("TableList"));
  (void)client.UntilAnswered();
  std::vector<double> times;
  for (const int pause : {0, 1, 3}) {
    database->Stop();
    std::this_thread::sleep_for(seconds(pause));
    database->Start();
    times.push_back(client.UntilAnswered());
  }
  Print("recovery after PostgreSQL was up again (pauses up to 4 s)", times);
  ExpectAllAnswered(client);
  EXPECT_EQ(controlled_.Process().Stop(), 0);
}

}  // namespace
}  // namespace ods::test
