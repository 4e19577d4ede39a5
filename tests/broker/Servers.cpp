// Real servers on queues of a real broker: every request, several servers, and what ends, breaks or attacks them.
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <regex>
#include <set>
#include <sqlite3.h>
#include <thread>

#include "OdbcDataClient.h"
#include "broker/Broker.h"
#include "common/Attempt.h"
#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/System.h"
#include "support/SilentListener.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;
using ::testing::HasSubstr;

constexpr int kRows = 500;

/// The folders of servers on one database with a table of 500 items, and a view over it that takes a few milliseconds.
class Items {
 public:
  Items() {
    const std::string file = folders_.Root() + "/items.db";
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    const std::string script =
        "CREATE TABLE item(no INTEGER PRIMARY KEY, name TEXT NOT NULL);"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<" +
        std::to_string(kRows) + ") INSERT INTO item SELECT i, 'name '||i FROM n;";
    EXPECT_EQ(sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    folders_.Configure("Driver=SQLite3;Database=" + file);
  }

  [[nodiscard]] const ServerFolders& Folders() const { return folders_; }
  /// Writes a view whose one row takes `steps` of a recursion to compute.
  void AddSlowView(const std::string& steps) const {
    WriteTextFile(
        folders_.Config() + "/views/slow.xml",
        "<View><Query subquery='no'>WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i &lt; " +
            steps + ") SELECT count(*) AS total FROM n</Query></View>");
  }

 private:
  ServerFolders folders_;
};

std::string PageOf(int number) {
  return Request("TableData",
                 "<TableId>[TABLE]item</TableId><PageSize>1</PageSize><Navigate>gotofirst</Navigate>"
                 "<Filter><Condition><FieldId>no</FieldId><FilterOp>eq</FilterOp><Filter>" +
                     std::to_string(number) +
                     "</Filter></Condition></Filter><Fields><Field><Id>no</Id></Field><Field><Id>name</Id>"
                     "</Field></Fields>");
}

class Servers : public testing::Test {
 protected:
  void SetUp() override {
    if (BrokerRoot().empty()) GTEST_SKIP() << "ODS_TEST_AMQP is not set";
    queues_.emplace();
  }
  void TearDown() override { queues_.reset(); }

  [[nodiscard]] std::unique_ptr<ServerProcess> Start(const ServerFolders& folders,
                                                     std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"/exact", "/inqueue=" + queues_->Requests(), "/outqueue=" + queues_->Results()});
    return std::make_unique<ServerProcess>(folders, more);
  }
  [[nodiscard]] odbc_data::Client Client() const { return odbc_data::Client({.requests = queues_->Requests()}); }

  std::optional<BrokerQueues> queues_;
};

TEST_F(Servers, EveryRequestIsAnsweredAsThroughAFolder) {
  const Items items;
  const auto server = Start(items.Folders());
  ServerProcess other(items.Folders(), {"/exact"});
  odbc_data::Client client = Client();
  QueueClient folder(items.Folders());
  const std::regex session("<DataSession>[^<]*</DataSession>");
  const std::string table = "<TableId>[TABLE]item</TableId>";
  const std::vector<Message> requests = {kPing,
                                         Request("Initialize", "<UserMode>DETECT</UserMode>"),
                                         Request("Authorize", "<UserId>ann</UserId>"),
                                         Request("UsersAndRoles"),
                                         Request("TableList"),
                                         Request("FieldList", table),
                                         Request("KeyList", table),
                                         Request("PrimaryKey", table),
                                         PageOf(7),
                                         Request("FieldList", "<TableId>[TABLE]none</TableId>"),
                                         Malformed(Request("Nonsense")),
                                         Malformed("no XML"),
                                         Malformed("")};
  for (const Message& request : requests) {
    const std::string answer = client.Receive(client.Send(request.text));
    EXPECT_NE(answer.find("<DataSession>"), std::string::npos) << answer;
    EXPECT_EQ(std::regex_replace(answer, session, ""), std::regex_replace(folder.Ask(request), session, ""))
        << request.text;
  }
  EXPECT_EQ(server->Stop(), 0);
  EXPECT_EQ(items.Folders().LogText().find(ParseBrokerUri(queues_->Requests()).password), std::string::npos);
}

TEST_F(Servers, TheClientProgramAsksThroughTheBroker) {
  const Items items;
  const auto server = Start(items.Folders());
  EXPECT_EQ(RunProgram({ODS_CLIENT_PROGRAM, "ping", "--requests", queues_->Requests()}), 0);
  EXPECT_EQ(RunProgram({ODS_CLIENT_PROGRAM, "fields", "none", "--requests", queues_->Requests()}), 2);
  EXPECT_EQ(RunProgram({ODS_CLIENT_PROGRAM, "ping", "--requests", queues_->Requests(), "--results", "/tmp"}), 2);
  EXPECT_EQ(RunProgram({ODS_CLIENT_PROGRAM, "ping", "--requests", "amqp://h/"}), 2);
  EXPECT_EQ(server->Stop(), 0);
  EXPECT_EQ(RunProgram({ODS_CLIENT_PROGRAM, "ping", "--requests", queues_->Requests(), "--timeout", "0.5"}), 3);
}

TEST_F(Servers, FourOnOneQueueShareTheWorkAndAnyOfThemGivesTheNextPage) {
  const Items items;
  std::vector<std::unique_ptr<ServerProcess>> servers;
  for (int i = 0; i < 4; ++i) {
    servers.push_back(Start(items.Folders(), {"/instance=" + std::to_string(i),
                                              "/statefile=" + items.Folders().Root() + "/state" + std::to_string(i)}));
  }
  const auto walk = [&] {
    odbc_data::Client client = Client();
    odbc_data::TableWalk pages(client, {.table = "[TABLE]item", .fields = {"no", "name"}, .pageSize = 10});
    int next = 1;
    while (const auto page = pages.Next()) {
      for (const auto& row : page->rows) {
        EXPECT_EQ(row[0].text, std::to_string(next));
        EXPECT_EQ(row[1].text, "name " + std::to_string(next));
        ++next;
      }
    }
    EXPECT_EQ(next, kRows + 1);
  };
  std::vector<std::thread> clients;
  for (int i = 0; i < 4; ++i) clients.emplace_back(walk);
  for (std::thread& client : clients) client.join();
  for (auto& server : servers) EXPECT_EQ(server->Stop(), 0);
  // One log a process: each has answered pages of these walks.
  const std::string log = items.Folders().LogText();
  int working = 0;
  for (const auto& entry : std::filesystem::directory_iterator(items.Folders().Root() + "/data/Logs")) {
    std::ifstream file(entry.path());
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (text.find("'TableData") != std::string::npos) ++working;
  }
  EXPECT_EQ(working, 4);
}

TEST_F(Servers, HeartbeatsGoOnWhileAStatementRunsLong) {
  const Items items;
  items.AddSlowView("12000000");  // some seconds; the broker gives up a connection that is silent for two
  const std::string requests = queues_->Requests("&heartbeat=1");
  ServerProcess server(items.Folders(), {"/inqueue=" + requests, "/outqueue=" + queues_->Results()});
  odbc_data::Client client({.requests = requests});
  const auto start = Clock::now();
  EXPECT_THAT(client.Receive(client.Send(Request("FieldList", "<TableId>[APPVIEW]slow</TableId>"))),
              HasSubstr("<Id>total</Id>"));
  if (Clock::now() - start < seconds(3)) GTEST_SKIP() << "this machine is too fast";
  EXPECT_EQ(items.Folders().LogText().find("Error polling queue"), std::string::npos);
  EXPECT_EQ(items.Folders().LogText().find("Error sending answer"), std::string::npos);
  EXPECT_EQ(server.Stop(), 0);
}

TEST(SilentBroker, HoldsUpNeitherHeartbeatNorStop) {
  const Items items;
  const SilentListener silent;
  const std::string uri = "amqp://127.0.0.1:" + std::to_string(silent.Port()) + "/?queue=";
  const std::string alive = items.Folders().AliveFile();
  ServerProcess server(items.Folders(), {"/inqueue=" + uri + "in", "/outqueue=" + uri + "out", "/alivefile=" + alive});
  ASSERT_TRUE(Eventually([&] { return items.Folders().LogText().find("'Start Polling'") != std::string::npos; }));
  // The file is written anew every five seconds; the broker is waited for twice as long.
  std::filesystem::remove(alive);
  EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(alive); }));
  EXPECT_EQ(items.Folders().LogText().find("Error polling queue"), std::string::npos) << "it is still waited for";
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(Servers, AStatementThatNeverEndsIsLeftToTheNextServer) {
  const Items items;
  items.AddSlowView("100000000000");
  odbc_data::Client client = Client();
  std::string id;
  {
    const auto server = Start(items.Folders());
    id = client.Send(Request("FieldList", "<TableId>[APPVIEW]slow</TableId>"));
    ASSERT_TRUE(Eventually([&] { return items.Folders().LogText().find("SQL: WITH") != std::string::npos; }));
    const auto start = Clock::now();
    EXPECT_EQ(server->Stop(), 0);
    EXPECT_LT(Clock::now() - start, seconds(10));
  }
  items.AddSlowView("3");
  const auto server = Start(items.Folders());
  EXPECT_THAT(client.Receive(id), HasSubstr("<Id>total</Id>"));
}

TEST_F(Servers, ARequestThatEndsThreeServersIsSetAsideWithAnErrorAnswer) {
  StandIn standIn("Other");
  standIn.Run("CREATE TABLE t(a INTEGER)");
  standIn.Connect(";ExitStatement=1");
  odbc_data::Client client = Client();
  const std::string request = Request("FieldList", "<TableId>[TABLE]t</TableId>");
  const std::string id = client.Send(request);
  for (int i = 0; i < 3; ++i) {
    ServerProcess server(standIn.Folders(), {"/inqueue=" + queues_->Requests(), "/outqueue=" + queues_->Results()});
    ASSERT_TRUE(Eventually([&] { return !server.IsRunning(); })) << i;
  }
  ServerProcess server(standIn.Folders(), {"/inqueue=" + queues_->Requests(), "/outqueue=" + queues_->Results()});
  EXPECT_THAT(client.Receive(id), HasSubstr("was given up: the server ended 3 times while it answered it."));
  EXPECT_NO_THROW(client.Ping());
  const RawBroker raw;
  const auto failed = raw.Get(queues_->Name() + ".failed");
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->body, request);
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(Servers, HostileMessagesGetAnErrorOrNothingAndTheServerLives) {
  const Items items;
  const auto server = Start(items.Folders());
  const RawBroker raw;
  odbc_data::Client client = Client();
  client.Ping();
  const std::string own = raw.MakeReplyQueue();
  const auto errorOf = [&](const std::string& body, Properties properties) {
    raw.Publish(queues_->Name(), body, properties.ReplyTo(own).Get());
    const auto answer = raw.Get(own, 60);
    return answer ? answer->correlationId + ": " + answer->body : "nothing";
  };
  EXPECT_THAT(errorOf("", Properties().MessageId("empty")), HasSubstr("empty: <XML><Error>1</Error>"));
  EXPECT_THAT(errorOf(std::string(64 * 1024 * 1024, ' '), Properties().MessageId("large")),
              HasSubstr("is larger than 16777216 bytes."));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId("p").ContentType("image/png")), HasSubstr("content type"));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId("p").ContentType(std::string(255, '\xff'))),
              HasSubstr("content type"));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId("p").ContentEncoding("gzip")), HasSubstr("content encoding"));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId("p").ContentType("Text/XML; charset=utf-8")), HasSubstr("OK"));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId(std::string(255, '\n'))), HasSubstr("OK"));
  EXPECT_THAT(errorOf(kPing, Properties().MessageId(std::string("a\0b", 3))), HasSubstr("OK"));
  EXPECT_THAT(errorOf(kPing, Properties()), HasSubstr("OK"));

  // Headers of every type, one that says it was delivered often, and nested ones as deep as a frame can hold.
  std::vector<amqp_table_entry_t> entries;
  const auto add = [&entries](const char* key, amqp_field_value_kind_t kind) -> amqp_field_value_t& {
    amqp_table_entry_t& entry = entries.emplace_back();
    entry.key = amqp_cstring_bytes(key);
    entry.value.kind = static_cast<std::uint8_t>(kind);
    return entry.value;
  };
  add("bool", AMQP_FIELD_KIND_BOOLEAN).value.boolean = 1;
  add("i8", AMQP_FIELD_KIND_I8).value.i8 = -1;
  add("u8", AMQP_FIELD_KIND_U8).value.u8 = 1;
  add("i16", AMQP_FIELD_KIND_I16).value.i16 = -1;
  add("u16", AMQP_FIELD_KIND_U16).value.u16 = 1;
  add("i32", AMQP_FIELD_KIND_I32).value.i32 = -1;
  add("u32", AMQP_FIELD_KIND_U32).value.u32 = 1;
  add("i64", AMQP_FIELD_KIND_I64).value.i64 = -1;
  add("f32", AMQP_FIELD_KIND_F32).value.f32 = 1.5F;
  add("f64", AMQP_FIELD_KIND_F64).value.f64 = -1.5;
  add("decimal", AMQP_FIELD_KIND_DECIMAL).value.decimal = {2, 314};
  add("text", AMQP_FIELD_KIND_UTF8).value.bytes = amqp_cstring_bytes("text");
  add("bytes", AMQP_FIELD_KIND_BYTES).value.bytes = amqp_cstring_bytes("\xff\xfe");
  add("time", AMQP_FIELD_KIND_TIMESTAMP).value.u64 = 1;
  add("void", AMQP_FIELD_KIND_VOID);
  add("x-delivery-count", AMQP_FIELD_KIND_UTF8).value.bytes = amqp_cstring_bytes("many");
  std::vector<amqp_field_value_t> nest(24000);
  for (std::size_t i = 0; i < nest.size(); ++i) {
    nest[i].kind = AMQP_FIELD_KIND_ARRAY;
    nest[i].value.array = {i + 1 < nest.size() ? 1 : 0, i + 1 < nest.size() ? &nest[i + 1] : nullptr};
  }
  amqp_table_entry_t& deep = entries.emplace_back();
  deep.key = amqp_cstring_bytes("deep");
  deep.value = nest.front();
  EXPECT_THAT(errorOf(kPing, Properties().MessageId("h").Headers({static_cast<int>(entries.size()), entries.data()})),
              HasSubstr("OK"));

  // Receivers that are not there, or not the sender's.
  const std::string foreign = RawBroker().MakeReplyQueue();
  for (const std::string& to : {std::string("none"), std::string(255, 'x'), foreign, queues_->Name(),
                                queues_->Name() + ".failed", std::string("amq.rabbitmq.reply-to.nonsense"),
                                std::string("amq.rabbitmq.reply-to.g1h2AAA=="), std::string("\xff\xfe\r\n")}) {
    raw.Publish(queues_->Name(), kPing, Properties().MessageId("r").ReplyTo(to).Get());
  }
  EXPECT_NO_THROW(client.Ping());
  EXPECT_TRUE(server->IsRunning());
  EXPECT_EQ(server->Stop(), 0);
  // Without a receiver of its own, and with the queue of requests for one, the answer lies among the answers. Asked on
  // a new connection: a broker may have closed that of one that sends such things.
  const RawBroker counting;
  EXPECT_TRUE(Eventually([&] { return counting.Waiting(queues_->Answers()) == 2; }))
      << counting.Waiting(queues_->Answers());
}

/// What the queues are made of: the two addresses of a server's queues.
struct Addresses {
  std::string requests;
  std::string results;
};

/// Random deaths of servers while requests come: each is answered, and rightly.
class Killing : public Servers, public testing::WithParamInterface<bool> {
 protected:
  static void SendAll(const Addresses& addresses, int count) {
    const auto queue = CreateQueue();
    queue->SetFolder(addresses.requests);
    queue->Create();
    for (int i = 0; i < count; ++i) {
      queue->SetPackage(PageOf(i % kRows + 1));
      while (const auto failure = Attempt([&] { queue->Send("r" + std::to_string(i)); })) {
        if (failure->Number() == error_number::kFileExists) break;
        std::this_thread::sleep_for(milliseconds(20));
      }
    }
  }
  static bool IsAnswerTo(const std::string& id, const std::string& text) {
    const int number = std::stoi(id.substr(1)) % kRows + 1;
    return text.find(">name " + std::to_string(number) + "</V>") != std::string::npos;
  }
};

int FromEnvironment(const char* name, int standard) {
  const std::string text = EnvironmentVariable(name);
  return text.empty() ? standard : std::stoi(text);
}

TEST_P(Killing, LosesNoRequest) {
  const bool byBroker = GetParam();
  const int count = FromEnvironment("ODS_TEST_BROKER_REQUESTS", 1500);
  const int wanted = FromEnvironment("ODS_TEST_BROKER_RESTARTS", 2);
  const Items items;
  // While the broker comes back answers wait to be confirmed, and servers are killed over the same requests again and
  // again: that counts as theirs, which is tested by itself.
  const Addresses addresses = byBroker ? Addresses{queues_->Requests("&delivery-limit=100"), queues_->Results()}
                                       : Addresses{items.Folders().Requests(), items.Folders().Results()};
  const auto start = [&] {
    return std::make_unique<ServerProcess>(
        items.Folders(),
        std::vector<std::string>{"/exact", "/inqueue=" + addresses.requests, "/outqueue=" + addresses.results});
  };
  std::vector<std::unique_ptr<ServerProcess>> servers(4);
  for (auto& server : servers) server = start();
  std::thread sender(SendAll, addresses, count);
  const auto answers = CreateQueue();
  answers->SetFolder(addresses.results);
  answers->Create();
  std::set<std::string> answered;
  std::mt19937 random(20240301);
  std::thread restart;
  int kills = 0;
  int twice = 0;
  int wrong = 0;
  int restarts = 0;
  auto nextKill = Clock::now() + milliseconds(100);
  auto lastAnswer = Clock::now();
  while (answered.size() < static_cast<std::size_t>(count) && Clock::now() - lastAnswer < seconds(60)) {
    std::string id;
    const auto failure = Attempt([&] {
      id = answers->Poll("", 50);
      if (!id.empty() && !IsAnswerTo(id, answers->Package())) {
        ++wrong;
        ADD_FAILURE() << id << ": " << answers->Package();
      }
    });
    if (!failure && !id.empty()) {
      lastAnswer = Clock::now();
      if (!answered.insert(id).second) ++twice;
      answers->Answered();
    }
    if (failure) std::this_thread::sleep_for(milliseconds(20));
    if (Clock::now() >= nextKill) {
      auto& server = servers[random() % servers.size()];
      server->Kill();
      server = start();
      ++kills;
      nextKill = Clock::now() + milliseconds(byBroker ? 50 + random() % 300 : 10 + random() % 100);
    }
    const bool due = answered.size() * static_cast<std::size_t>(wanted + 1) >=
                     static_cast<std::size_t>(count) * static_cast<std::size_t>(restarts + 1);
    if (byBroker && restarts < wanted && due) {
      if (restart.joinable()) restart.join();
      restart = std::thread([] { EXPECT_EQ(RunProgram({BrokerFile("restart")}), 0); });
      ++restarts;
    }
  }
  sender.join();
  if (restart.joinable()) restart.join();
  std::cout << count << " requests, " << answered.size() << " answered, " << twice << " of them twice, " << wrong
            << " wrong, " << kills << " servers killed, " << restarts << " restarts of the broker\n";
  EXPECT_EQ(answered.size(), static_cast<std::size_t>(count));
  // The last ones may not have come to where they see a signal.
  for (auto& server : servers) EXPECT_THAT(server->Stop(), testing::AnyOf(0, -SIGTERM));
}

INSTANTIATE_TEST_SUITE_P(Of, Killing, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "TheBroker" : "TheFolder"; });

}  // namespace
}  // namespace ods::test
