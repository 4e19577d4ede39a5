#include "server/modLoop.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "common/Conversions.h"
#include "database/Response.h"
#include "doubles/ServerDoubles.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "server/modReconnect.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::_;
using ::testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kNoConnection = "The database connection is not open. The database configuration may be invalid.";

void RaiseDriverError(const XmlDocument& /*request*/, XmlDocument& response, DataSession& /*session*/) {
  response.LoadXML("<XML><Half>done</Half></XML>");
  throw Error(-2147217865, "no such table: t");
}

void RaiseMarkup(const XmlDocument& /*request*/, XmlDocument& /*response*/, DataSession& /*session*/) {
  throw Error(5, "near \"<\": syntax error & more");
}

void RaiseNoMemory(const XmlDocument& /*request*/, XmlDocument& /*response*/, DataSession& /*session*/) {
  throw std::bad_alloc();
}

/// Takes its time.
constexpr std::chrono::milliseconds kSlow(50);
void AnswerSlowly(const XmlDocument& /*request*/, XmlDocument& response, DataSession& /*session*/) {
  response.LoadXML("<XML/>");
  std::this_thread::sleep_for(kSlow);
}

void FillNothing(const XmlDocument& /*request*/, XmlDocument& /*response*/, DataSession& /*session*/) {}

/// Adds one to an entry of the session's cache and answers with it.
void CountInCache(const XmlDocument& /*request*/, XmlDocument& response, DataSession& session) {
  const std::int32_t count = SafeLng(session.cache->Item("count")) + 1;
  session.cache->Set("count", count);
  response.LoadXML("<XML><Count>" + std::to_string(count) + "</Count></XML>");
}

void FillMuch(const XmlDocument& /*request*/, XmlDocument& response, DataSession& /*session*/) {
  response.LoadXML("<XML/>");
  response.DocumentElement().SetText(std::string(kMaxResponseBytes, 'x'));
}

void FillSome(const XmlDocument& /*request*/, XmlDocument& response, DataSession& /*session*/) {
  response.LoadXML("<XML>" + std::string(1000, 'x') + "</XML>");
}

/// Reads from the database.
void ReadOne(const XmlDocument& /*request*/, XmlDocument& response, DataSession& session) {
  response.LoadXML("<XML><Begun/></XML>");
  const auto rows = session.connection->OpenRecordSet("SELECT 1", 0);
  response.LoadXML("<XML><One>" + SafeStr(rows->Item(0)) + "</One></XML>");
}

/// Reads, and keeps its failure to itself.
void ReadQuietly(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  try {
    ReadOne(request, response, session);
  } catch (const Error&) {
    response.LoadXML("<XML><Nothing/></XML>");
  }
}

RequestHandler FindTestHandler(std::string_view type, bool exact) {
  if (type == "Read") return &ReadOne;
  if (type == "ReadQuietly") return &ReadQuietly;
  if (type == "DriverError") return &RaiseDriverError;
  if (type == "Markup") return &RaiseMarkup;
  if (type == "NoMemory") return &RaiseNoMemory;
  if (type == "Nothing") return &FillNothing;
  if (type == "Count") return &CountInCache;
  if (type == "Slow") return &AnswerSlowly;
  if (type == "Large") return &FillMuch;
  if (type == "Medium") return &FillSome;
  return FindHandler(type, exact);
}

/// A main loop that runs until its script is at its end.
class LoopTest : public testing::Test {
 protected:
  LoopTest() {
    auto log = std::make_unique<Log>();
    log->folder = folder_.Path();
    tracer_.SetLog(std::move(log));
    process_.ui = &ui_;
    process_.tracer = &tracer_;
    process_.components = &components_;
    test::RegisterDoubles(components_, queues_, database_);
    settings_.config = folder_.Path() + "/dataserver.xml";
    settings_.messagefile = folder_.Path() + "/message.xml";
    settings_.inqueue = "in";
    settings_.outqueue = "out";
    Configure("DSN=test");
    LoadConfiguration(settings_.config, settings_.configuration);
    state_.RunFlag = true;
    state_.pollingEnabled = true;
    state_.databaseConnectPending = true;
    state_.queueConnectPending = true;
    state_.buttonState = button_state::kStop;
    queues_.atEnd = [this] { state_.RunFlag = false; };
    ui_.onEvents = [this] { StopWhenLost(); };
  }

  void Run() {
    StatusSignals signals(tracer_, settings_.messagefile, settings_.alivefile);
    MainLoop({settings_, state_, process_, signals, stopRequested_, &FindTestHandler});
  }
  /// Saves a configuration file that is later than every one before.
  void Configure(const std::string& connectionString) {
    Configuration configuration;
    configuration.ConnectionString = connectionString;
    SaveConfiguration(settings_.config, configuration);
    Touch();
  }
  void Touch() {
    std::filesystem::last_write_time(settings_.config,
                                     std::filesystem::file_time_type::clock::now() + std::chrono::hours(++saves_));
  }
  void StopWhenLost() {
    if (ui_.eventRounds < 300) return;
    ADD_FAILURE() << "the loop does not end";
    state_.RunFlag = false;
  }
  /// Runs `action` at the `round`th time that events run from now on.
  void AtEvents(int round, std::function<void()> action) {
    const int due = ui_.eventRounds + round;
    ui_.onEvents = [this, due, action = std::move(action)] {
      StopWhenLost();
      if (ui_.eventRounds == due) action();
    };
  }
  void Request(const std::string& id, const std::string& type) {
    queues_.Receive(id, "<XML><Type>" + type + "</Type></XML>");
  }
  [[nodiscard]] XmlDocument Answer(std::size_t index) const { return XmlDocument(queues_.sent.at(index).text); }
  [[nodiscard]] std::string AnswerText(std::size_t index, const char* xpath) const {
    return GetNodeText(Answer(index), xpath);
  }
  [[nodiscard]] std::string Report(const char* xpath) const {
    XmlDocument document;
    document.Load(settings_.messagefile);
    return GetNodeText(document, xpath);
  }
  [[nodiscard]] int EventCount(const std::string& event) const {
    return static_cast<int>(std::count(queues_.events.begin(), queues_.events.end(), event));
  }

  test::TemporaryFolder folder_;
  test::RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  ComponentRegistry components_;
  test::QueueScript queues_;
  test::DatabaseScript database_;
  ProcessState process_;
  Settings settings_;
  ServerState state_;
  std::function<bool()> stopRequested_;
  int saves_ = 0;
};

TEST_F(LoopTest, TracesItsWholeWay) {
  Request("m1", "Ping");
  Run();
  EXPECT_THAT(ui_.entries,
              ElementsAre("In main loop", "Start conditions: run=True, parentmutex(\"\")=False",
                          "Connect to database: DSN=test", "Get database information", "Property: DBMS Name=SQLite",
                          "Property: Current Catalog=main", "Connect to Queue", "Connect to queue \"in\"",
                          "Connect to queue \"out\"", "Start Polling", MatchesRegex("Pingm1 \\(.+ ms\\)"),
                          "Stop conditions: run=False, parentmutex(\"\")=False", "Exit main loop"));
}

TEST_F(LoopTest, AnswersAMessageUnderItsId) {
  Request("m1", "Ping");
  Run();
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(queues_.sent[0].id, "m1");
  EXPECT_EQ(queues_.sent[0].text,
            "<XML><Ping>OK</Ping><DataSession>" + process_.ServerSessionId + "</DataSession></XML>");
  EXPECT_THAT(queues_.events, ElementsAre("create in", "create out", "poll in", "send m1 to out", "answered m1",
                                          "poll in", "drop out", "drop in"));
}

TEST_F(LoopTest, LetsOthersRunAfterEveryPollAndMessage) {
  Request("m1", "Ping");
  queues_.Idle();
  Run();
  EXPECT_EQ(ui_.eventRounds, 4) << "at the entry, after the message, and after two polls";
}

TEST_F(LoopTest, BeatsTheHeartAtItsEntry) {
  settings_.alivefile = folder_.Path() + "/alive.xml";
  state_.RunFlag = false;
  Run();
  EXPECT_EQ(GetNodeText(XmlDocument(ReadFileText(settings_.alivefile)), "/XML/Type"), "Running");
}

/// A loop that has what it does besides its work on the record of its queues: "events" each time that it lets them run,
/// "beat" each time that it looks whether the heart is due.
class Heartbeat : public LoopTest {
 protected:
  Heartbeat() {
    settings_.alivefile = folder_.Path() + "/alive.xml";
    ui_.onEvents = [this] {
      queues_.events.emplace_back("events");
      StopWhenLost();
    };
  }
  /// The record from the first round on.
  std::vector<std::string> RoundsOf() {
    StatusSignals signals(tracer_, "", settings_.alivefile, [this] {
      queues_.events.emplace_back("beat");
      return LocalNow();
    });
    MainLoop({settings_, state_, process_, signals, stopRequested_, &FindTestHandler});
    const auto isEntry = std::vector<std::string>{"beat", "events"};
    std::vector<std::string>& all = queues_.events;
    EXPECT_TRUE(std::equal(isEntry.begin(), isEntry.end(), all.begin())) << "at the entry";
    std::vector<std::string> rounds(all.begin() + 2, all.end());
    std::erase_if(rounds,
                  [](const std::string& event) { return event.starts_with("create ") || event.starts_with("drop "); });
    return rounds;
  }
};

TEST_F(Heartbeat, FollowsEveryPoll) {
  queues_.Idle();
  EXPECT_THAT(RoundsOf(), ElementsAre("poll in", "events", "beat", "poll in", "events", "beat"));
}

TEST_F(Heartbeat, FollowsEveryMessage) {
  Request("m1", "Ping");
  Request("m2", "nonsense");
  EXPECT_THAT(RoundsOf(), ElementsAre("poll in", "send m1 to out", "answered m1", "events", "beat",  //
                                      "poll in", "send m2 to out", "answered m2", "events", "beat",  //
                                      "poll in", "events", "beat"));
}

TEST_F(Heartbeat, FollowsEverySleepOfAStoppedServer) {
  state_.pollingEnabled = false;
  state_.queueConnectPending = false;
  AtEvents(3, [this] { state_.RunFlag = false; });
  ui_.onEvents = [this, inner = ui_.onEvents] {
    queues_.events.emplace_back("events");
    inner();
  };
  EXPECT_THAT(RoundsOf(), ElementsAre("events", "beat", "events", "beat"));
}

TEST_F(Heartbeat, FollowsTheSleepAfterAFailedPoll) {
  queues_.polls.emplace_back([]() -> std::string { throw Error(1000, "the folder is gone"); });
  EXPECT_THAT(RoundsOf(), ElementsAre("poll in", "events", "beat", "poll in", "events", "beat"));
}

TEST_F(Heartbeat, FollowsTheSleepBeforeAQueueIsTriedAgain) {
  queues_.createFailures.emplace_back(Error(1000, "no such folder"));
  EXPECT_THAT(RoundsOf(), ElementsAre("events", "beat", "poll in", "events", "beat"));
}

TEST_F(LoopTest, TheTraceOfAMessageTellsHowLongItTook) {
  using std::chrono::milliseconds;
  using std::chrono::steady_clock;
  constexpr milliseconds kWait(120);
  // The time until the message comes is none of it.
  queues_.packages["m1"] = "<XML><Type>Slow</Type></XML>";
  queues_.polls.emplace_back([kWait] {
    std::this_thread::sleep_for(kWait);
    return "m1";
  });
  const auto start = steady_clock::now();
  Run();
  const auto most = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start) - kWait;
  const auto line = std::ranges::find_if(ui_.entries, [](const std::string& e) { return e.starts_with("Slowm1 ("); });
  ASSERT_NE(line, ui_.entries.end());
  ASSERT_TRUE(line->ends_with(" ms)")) << *line;
  const milliseconds told(std::stoll(line->substr(line->find('(') + 1)));
  EXPECT_GE(told, kSlow) << *line;
  EXPECT_LE(told, most) << *line;
}

TEST_F(LoopTest, EveryResponseCarriesTheSameSession) {
  Request("m1", "Ping");
  Request("m2", "nonsense");
  Request("m3", "DriverError");
  Run();
  ASSERT_EQ(queues_.sent.size(), 3U);
  EXPECT_EQ(process_.ServerSessionId.size(), 36U);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(AnswerText(i, "/XML/DataSession"), process_.ServerSessionId);
}

TEST_F(LoopTest, ASessionIdThatThereIsIsKept) {
  process_.ServerSessionId = "given";
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/DataSession"), "given");
}

TEST_F(LoopTest, InitializeReplacesTheSessionIdFromItsOwnResponseOn) {
  Request("m1", "Ping");
  Request("m2", "Initialize");
  Request("m3", "Ping");
  Request("m4", "Initialize");
  Run();
  EXPECT_NE(AnswerText(0, "/XML/DataSession"), AnswerText(1, "/XML/DataSession"));
  EXPECT_EQ(AnswerText(1, "/XML/DataSession"), AnswerText(2, "/XML/DataSession"));
  EXPECT_NE(AnswerText(2, "/XML/DataSession"), AnswerText(3, "/XML/DataSession"));
  EXPECT_EQ(AnswerText(3, "/XML/DataSession"), process_.ServerSessionId);
}

TEST_F(LoopTest, CountsEveryMessage) {
  Request("m1", "Ping");
  Request("m2", "DriverError");
  Request("m3", "nonsense");
  queues_.polls.emplace_back([] { return "unreadable"; });
  Run();
  EXPECT_EQ(state_.requestCount, 4);
}

TEST_F(LoopTest, ACountThatWouldOverflowIsAnErrorAndTheMessageStays) {
  state_.requestCount = std::numeric_limits<std::int32_t>::max();
  Request("m1", "Ping");
  EXPECT_RAISES(Run(), error_number::kOverflow, _);
  EXPECT_EQ(EventCount("answered m1"), 0);
}

TEST_F(LoopTest, AnUnknownTypeGetsErrorOneAndNoRestart) {
  Request("m1", "ping");
  queues_.Receive("m2", "<XML/>");
  queues_.Receive("m3", "no XML at all");
  Run();
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(AnswerText(i, "/XML/Error"), "1");
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "Unknown message type: ping");
  EXPECT_EQ(AnswerText(1, "/XML/Message"), "Unknown message type: ");
  EXPECT_EQ(AnswerText(2, "/XML/Message"), "Unknown message type: ");
  EXPECT_FALSE(std::filesystem::exists(settings_.messagefile));
  EXPECT_THAT(ui_.entries, Contains(MatchesRegex("m2 \\(.+ ms\\)")));
}

TEST_F(LoopTest, AHandlersErrorBecomesAnErrorDocumentAndARestartRequest) {
  Request("m1", "DriverError");
  Request("m2", "Ping");
  Run();
  EXPECT_EQ(queues_.sent[0].text, "<XML><Error>-2147217865</Error><Message>no such table: t</Message><DataSession>" +
                                      process_.ServerSessionId + "</DataSession></XML>");
  constexpr const char* kText =
      "Request a restart of dataserver in order to recover error state. -2147217865 no such table: t";
  EXPECT_EQ(Report("/XML/Type"), "Restart");
  EXPECT_EQ(Report("/XML/Code"), "ErrorProcessingMessage");
  EXPECT_EQ(Report("/XML/Message"), kText);
  EXPECT_EQ(ui_.CountOf(std::string("Report status: Restart - ") + kText), 1);
  EXPECT_EQ(AnswerText(1, "/XML/Ping"), "OK") << "the loop goes on";
}

TEST_F(LoopTest, AResponseThatIsTooLargeBecomesAnErrorDocument) {
  Request("m1", "Large");
  Request("m2", "Ping");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "1000");
  EXPECT_EQ(AnswerText(0, "/XML/Message"),
            "The response is larger than 67108864 bytes (64 MiB). Ask for fewer rows or fields.");
  EXPECT_EQ(AnswerText(0, "/XML/DataSession"), process_.ServerSessionId);
  EXPECT_EQ(AnswerText(1, "/XML/Ping"), "OK") << "the loop goes on";
}

TEST_F(LoopTest, AnErrorTextThatIsNoXmlArrivesAllTheSame) {
  Request("m1", "Markup");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "5");
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "near \"<\": syntax error & more");
}

TEST_F(LoopTest, ErrorsOfTheLanguageCountAsOwnOnes) {
  Request("m1", "NoMemory");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "1000");
  EXPECT_EQ(AnswerText(0, "/XML/Message"), std::bad_alloc().what());
  EXPECT_EQ(Report("/XML/Type"), "Restart");
}

TEST_F(LoopTest, AResponseWithoutARootGetsOne) {
  Request("m1", "Nothing");
  Run();
  EXPECT_EQ(queues_.sent[0].text, "<XML><DataSession>" + process_.ServerSessionId + "</DataSession></XML>");
}

TEST_F(LoopTest, AMessageThatCannotBeReadIsAnsweredWithoutARestartRequest) {
  queues_.polls.emplace_back([] { return "m1"; });
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "1000");
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "The message \"m1\" is too large.");
  EXPECT_EQ(AnswerText(0, "/XML/DataSession"), process_.ServerSessionId);
  EXPECT_EQ(EventCount("answered m1"), 1);
  EXPECT_FALSE(std::filesystem::exists(settings_.messagefile));
}

// Stopping

TEST_F(LoopTest, DoesNothingWithoutTheRunFlag) {
  state_.RunFlag = false;
  Run();
  EXPECT_THAT(ui_.entries, ElementsAre("In main loop", "Start conditions: run=False, parentmutex(\"\")=False",
                                       "Stop conditions: run=False, parentmutex(\"\")=False", "Exit main loop"));
  EXPECT_EQ(state_.statusText, "Stopped");
}

TEST_F(LoopTest, TheWindowsKnowOfItWhileItConnectsAndNoLonger) {
  bool wasWorking = false;
  std::string status;
  database_.onOpen = [&] {
    wasWorking = ui_.isWorking;
    status = state_.statusText;
  };
  Request("m1", "Ping");
  Run();
  EXPECT_TRUE(wasWorking);
  EXPECT_EQ(status, "Connect to Database");
  EXPECT_FALSE(ui_.isWorking);
}

TEST_F(LoopTest, ABoxThatTellsOfAFailedConnectIsNoLongWork) {
  settings_.Unattended = false;
  database_.openFailures.emplace_back(Error(error_number::kOwn, "not there"));
  bool wasWorking = true;
  ui_.onBox = [&] { wasWorking = ui_.isWorking; };
  Request("m1", "Ping");
  Run();
  EXPECT_FALSE(wasWorking);
}

TEST_F(LoopTest, FinishesTheMessageInHandBeforeItStops) {
  queues_.packages["m1"] = "<XML><Type>Ping</Type></XML>";
  queues_.polls.emplace_back([this] {
    state_.RunFlag = false;
    return "m1";
  });
  Request("m2", "Ping");
  Run();
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(EventCount("answered m1"), 1);
}

TEST_F(LoopTest, AStopFromOutsideClearsTheRunFlag) {
  bool stop = false;
  stopRequested_ = [&] { return stop; };
  queues_.Idle([&] { stop = true; });
  queues_.Idle();
  Run();
  EXPECT_FALSE(state_.RunFlag);
  EXPECT_EQ(queues_.polls.size(), 1U);
}

TEST_F(LoopTest, StopsWhenTheParentMutexIsGone) {
  settings_.parentmutex = "ods-test-" + std::to_string(CurrentProcessId()) + "-parent";
  auto parent = std::make_unique<NamedMutex>(settings_.parentmutex);
  queues_.Idle();
  queues_.Idle([&] { parent.reset(); });
  queues_.Idle();
  Run();
  EXPECT_EQ(queues_.polls.size(), 1U);
  EXPECT_EQ(ui_.entries[1], "Start conditions: run=True, parentmutex(\"" + settings_.parentmutex + "\")=True");
  EXPECT_EQ(ui_.CountOf("Stop conditions: run=True, parentmutex(\"" + settings_.parentmutex + "\")=False"), 1);
}

TEST_F(LoopTest, WithoutItsParentItDoesNotEvenConnect) {
  settings_.parentmutex = "ods-test-" + std::to_string(CurrentProcessId()) + "-nobody";
  Run();
  EXPECT_THAT(database_.opened, IsEmpty());
  EXPECT_THAT(queues_.events, IsEmpty());
}

// Status and button

TEST_F(LoopTest, TellsItsStatus) {
  std::vector<std::string> seen;
  queues_.packages["m1"] = "<XML><Type>Ping</Type></XML>";
  queues_.polls.emplace_back([&] {
    seen.push_back(state_.statusText + "/" + state_.buttonState);
    return "m1";
  });
  ui_.onEvents = [&] { seen.push_back(state_.statusText + "/" + state_.buttonState); };
  state_.buttonState = button_state::kStart;
  Run();
  EXPECT_THAT(seen, ElementsAre("/START", "Running/STOP", "Processing.../STOP", "Running/STOP"));
  EXPECT_EQ(state_.statusText, "Stopped");
}

TEST_F(LoopTest, TellsThatItConnects) {
  std::vector<std::string> seen;
  components_.Register("ADODB.Connection", [&] {
    seen.push_back(state_.statusText);
    return std::make_shared<test::ScriptedConnection>(database_);
  });
  components_.Register("Halvik.Queue", [&] {
    seen.push_back(state_.statusText);
    return std::make_shared<test::FakeQueue>(queues_);
  });
  Run();
  EXPECT_THAT(seen, ElementsAre("Connect to Database", "Connect to Queue", "Connect to Queue"));
}

// The database

TEST_F(LoopTest, AFailedConnectIsReportedAndRequestsGetErrorThousand) {
  database_.openFailures.emplace_back(Error(-2147217843, "Login failed"));
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error connecting to database. Error -2147217843. Login failed"), 1);
  EXPECT_EQ(Report("/XML/Type"), "Message");
  EXPECT_EQ(Report("/XML/Code"), "UnableToConnectDB");
  EXPECT_EQ(Report("/XML/Message"), "Unable to connect to database.");
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "1000");
  EXPECT_EQ(AnswerText(0, "/XML/Message"), kNoConnection);
  EXPECT_EQ(AnswerText(0, "/XML/DataSession"), process_.ServerSessionId);
  EXPECT_EQ(database_.opened.size(), 1U) << "no other try";
}

TEST_F(LoopTest, AFailedLookUpCountsAsAFailedConnect) {
  database_.schemaFailures.emplace_back(std::nullopt);
  database_.schemaFailures.emplace_back(Error(error_number::kGeneralFailure, "no literals"));
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error connecting to database. Error -2147467259. no literals"), 1);
  EXPECT_EQ(AnswerText(0, "/XML/Message"), kNoConnection);
}

TEST_F(LoopTest, AFailedConnectIsShownToAPerson) {
  settings_.Unattended = false;
  database_.openFailures.emplace_back(Error(-2147217843, "Login failed"));
  Run();
  EXPECT_THAT(
      ui_.calls,
      ElementsAre("warning: Korvanta: Error connecting to the database.\nThe Options dialog will now appear. Please "
                  "specify a new database connection or check the existing one.\nError Information:\nConnection string "
                  "is DSN=test\n-2147217843 (0x80040E4D)\nLogin failed",
                  "options dialog"));
  EXPECT_FALSE(std::filesystem::exists(settings_.messagefile));
}

TEST_F(LoopTest, WithoutAPendingConnectRequestsGetErrorThousand) {
  state_.databaseConnectPending = false;
  Request("m1", "Ping");
  Run();
  EXPECT_THAT(database_.opened, IsEmpty());
  EXPECT_EQ(AnswerText(0, "/XML/Message"), kNoConnection);
}

TEST_F(LoopTest, ASavedWorkbookConnectsAnew) {
  const std::string workbook = folder_.Path() + "/Book.xls";
  std::ofstream(workbook) << "1";
  database_.properties = {{"DBMS Name", "EXCEL"}, {"Current Catalog", folder_.Path() + "/Book"}};
  queues_.Idle();
  queues_.Idle([&] {
    std::filesystem::last_write_time(workbook, std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  });
  queues_.Idle();
  Run();
  EXPECT_EQ(database_.opened.size(), 2U);
  EXPECT_EQ(EventCount("create in"), 2);
}

// The configuration file

TEST_F(LoopTest, AChangedFileConnectsAnew) {
  Request("m1", "Count");
  Request("m2", "Count");
  queues_.Idle([this] { Configure("DSN=other"); });
  Request("m3", "Count");
  Run();
  EXPECT_THAT(database_.opened, ElementsAre("DSN=test", "DSN=other"));
  EXPECT_EQ(AnswerText(1, "/XML/Count"), "2");
  EXPECT_EQ(AnswerText(2, "/XML/Count"), "1") << "the cache is a new one";
  EXPECT_EQ(ui_.CountOf("Reload ini-file from: " + FormatDate(FileModificationTime(settings_.config))), 1);
  EXPECT_EQ(ui_.CountOf("Start Polling"), 1) << "polling went on";
}

TEST_F(LoopTest, AReconnectLetsGoOfTheOldQueuesFirst) {
  Request("m1", "Ping");
  queues_.Idle([this] { Configure("DSN=other"); });
  Run();
  EXPECT_THAT(queues_.events,
              ElementsAre("create in", "create out", "poll in", "send m1 to out", "answered m1", "poll in", "drop in",
                          "drop out", "create in", "create out", "poll in", "drop out", "drop in"));
}

TEST_F(LoopTest, WithoutAConnectionStringPollingStops) {
  queues_.Idle([this] {
    Configure("");
    AtEvents(3, [this] {
      EXPECT_EQ(state_.statusText, "Stopped");
      EXPECT_EQ(state_.buttonState, "START");
      state_.RunFlag = false;
    });
  });
  Run();
  EXPECT_EQ(EventCount("poll in"), 1);
  EXPECT_EQ(ui_.CountOf("Stop Polling"), 1);
  EXPECT_EQ(Report("/XML/Code"), "UnableToConnectDB");
  EXPECT_EQ(ui_.CountOf("Report status: Message - Unable to connect to database."), 1);
}

TEST_F(LoopTest, StoppedItSleepsBetweenRounds) {
  state_.pollingEnabled = false;
  AtEvents(4, [this] { state_.RunFlag = false; });
  const auto start = std::chrono::steady_clock::now();
  Run();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(290));
  EXPECT_EQ(ui_.CountOf("Stop Polling"), 0) << "it had not polled";
}

TEST_F(LoopTest, AConnectionStringStartsPollingAgain) {
  queues_.Idle([this] {
    Configure("");
    AtEvents(2, [this] { Configure("DSN=new"); });
  });
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
  EXPECT_THAT(database_.opened, ElementsAre("DSN=test", "DSN=new"));
  EXPECT_EQ(ui_.CountOf("Start Polling"), 2);
  EXPECT_EQ(ui_.CountOf("Stop Polling"), 1);
  EXPECT_EQ(state_.buttonState, "STOP");
}

TEST_F(LoopTest, AMissingConnectionStringIsShownToAPerson) {
  settings_.Unattended = false;
  queues_.Idle([this] {
    Configure("");
    AtEvents(2, [this] { state_.RunFlag = false; });
  });
  Run();
  EXPECT_THAT(ui_.calls, ElementsAre(AllOf(StartsWith("warning: Korvanta: Error connecting to the database.\n"),
                                           testing::EndsWith("\nConnection string is ")),
                                     "options dialog"));
}

TEST_F(LoopTest, AFileThatCannotBeReadLeavesTheSettingsUntilItCan) {
  queues_.Idle([this] {
    std::filesystem::remove(settings_.config);
    std::filesystem::create_directory(settings_.config);
  });
  queues_.Idle();
  Request("m1", "Ping");
  queues_.Idle([this] {
    std::filesystem::remove(settings_.config);
    Configure("DSN=later");
  });
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
  EXPECT_THAT(database_.opened, ElementsAre("DSN=test", "DSN=later"));
  EXPECT_EQ(std::count_if(ui_.entries.begin(), ui_.entries.end(),
                          [](const std::string& entry) {
                            return entry.find("Error loading configuration") != std::string::npos;
                          }),
            1);
  EXPECT_EQ(std::count_if(ui_.entries.begin(), ui_.entries.end(),
                          [](const std::string& entry) { return entry.starts_with("Reload ini-file from: "); }),
            2);
}

TEST_F(LoopTest, AFileWithTheSameTextConnectsAnewOnlyByItsTime) {
  queues_.Idle([this] {
    // Another file of the same text and time: a copy put in its place.
    const auto time = std::filesystem::last_write_time(settings_.config);
    std::filesystem::copy_file(settings_.config, settings_.config + ".copy");
    std::filesystem::rename(settings_.config + ".copy", settings_.config);
    std::filesystem::last_write_time(settings_.config, time);
  });
  queues_.Idle([this] { Touch(); });
  queues_.Idle();
  Run();
  EXPECT_EQ(database_.opened.size(), 2U);
}

TEST_F(LoopTest, ARemovedFileIsMadeAnewAndStopsPolling) {
  queues_.Idle([this] {
    std::filesystem::remove(settings_.config);
    AtEvents(2, [this] { state_.RunFlag = false; });
  });
  Run();
  EXPECT_TRUE(std::filesystem::exists(settings_.config));
  EXPECT_EQ(settings_.configuration.ConnectionString, "");
  EXPECT_FALSE(state_.pollingEnabled);
}

// The queues

TEST_F(LoopTest, AQueueThatCannotBeCreatedIsTriedAgainAndTracedOnce) {
  const Error refused(error_number::kOwn, "no folder");
  queues_.createFailures = {refused, std::nullopt, refused, Error(error_number::kOwn, "disk full"), std::nullopt};
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
  EXPECT_EQ(ui_.CountOf("Error connecting to queue. Error 1000. no folder"), 1);
  EXPECT_EQ(ui_.CountOf("Error connecting to queue. Error 1000. disk full"), 1);
  EXPECT_EQ(ui_.CountOf("Connect to Queue"), 1);
  EXPECT_EQ(database_.opened.size(), 1U);
}

TEST_F(LoopTest, AMissingQueueComponentDoesNotEndTheLoop) {
  const ComponentRegistry empty;
  process_.components = &empty;
  state_.databaseConnectPending = false;
  AtEvents(3, [this] { state_.RunFlag = false; });
  Run();
  EXPECT_EQ(ui_.CountOf("Error connecting to queue. Error 429. Error creating object: Halvik.Queue"), 1);
  EXPECT_TRUE(state_.queueConnectPending);
}

TEST_F(LoopTest, AFailingPollIsTracedOnceAndTriedAgain) {
  const auto fail = [] {
    throw Error(error_number::kOwn, "cannot be read");
    return std::string();
  };
  queues_.polls.emplace_back(fail);
  queues_.polls.emplace_back(fail);
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error polling queue. Error 1000. cannot be read"), 1);
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
  EXPECT_EQ(EventCount("create in"), 1);
}

TEST_F(LoopTest, AnAnswerThatWaitsAlreadyCountsAsAnswered) {
  queues_.sendFailures.emplace_back(Error(error_number::kFileExists, "is waiting already"));
  Request("m1", "Ping");
  Request("m2", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m1. Error 58. is waiting already"), 1);
  EXPECT_EQ(EventCount("send m1 to out"), 1);
  EXPECT_EQ(EventCount("answered m1"), 1);
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(queues_.sent[0].id, "m2");
}

TEST_F(LoopTest, AnAnswerGoesToTheReceiverThatTheRequestNames) {
  queues_.receivers["m1"] = std::nullopt;
  Request("m1", "Ping");
  Request("m2", "Ping");
  Run();
  ASSERT_EQ(queues_.sent.size(), 2U);
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
  EXPECT_THAT(queues_.events, ElementsAre("create in", "create out", "poll in", "reply to m1", "answered m1", "poll in",
                                          "send m2 to out", "answered m2", "poll in", "drop out", "drop in"));
}

TEST_F(LoopTest, AnAnswerWhoseReceiverIsGoneCountsAsAnswered) {
  queues_.receivers["m1"] = Error(error_number::kFileNotFound, "is not there");
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m1. Error 53. is not there"), 1);
  EXPECT_EQ(EventCount("answered m1"), 1);
  EXPECT_EQ(EventCount("put back m1"), 0);
  EXPECT_TRUE(queues_.sent.empty());
}

TEST_F(LoopTest, AnAnswerThatItsReceiverCannotGetNowIsPutBack) {
  queues_.receivers["m1"] = Error(error_number::kOwn, "the connection is lost");
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(EventCount("put back m1"), 1);
  EXPECT_EQ(EventCount("answered m1"), 0);
}

TEST_F(LoopTest, TheEndOfAFailureOfTheQueueIsTraced) {
  queues_.polls.emplace_back([]() -> std::string { throw Error(error_number::kOwn, "cannot be read"); });
  Request("m1", "Ping");
  Request("m2", "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("The queue is there again."), 1);
}

TEST_F(LoopTest, AnAnswerThatCannotBeSentHoldsUpNobody) {
  queues_.sendFailures = {Error(error_number::kOwn, "no folder")};
  Request("m1", "Ping");
  Request("m2", "Ping");
  Request("m1", "Ping");
  Run();
  EXPECT_THAT(queues_.events, ElementsAre("create in", "create out", "poll in", "send m1 to out", "put back m1",
                                          "can send to out", "poll in", "send m2 to out", "answered m2", "poll in",
                                          "send m1 to out", "answered m1", "poll in", "drop out", "drop in"));
  ASSERT_EQ(queues_.sent.size(), 2U);
  EXPECT_EQ(AnswerText(1, "/XML/Ping"), "OK");
  EXPECT_EQ(state_.requestCount, 2) << "a message counts once";
}

TEST_F(LoopTest, WhyAnAnswerCannotBeSentIsTracedOnceAMessage) {
  const Error broken(error_number::kOwn, "no folder");
  queues_.sendFailures = {broken, broken, broken, Error(error_number::kOwn, "not allowed"), std::nullopt, broken};
  for (const char* id : {"m1", "m2", "m1", "m1", "m1", "m1"}) Request(id, "Ping");
  Run();
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m1. Error 1000. no folder"), 2)
      << "once, and again after it was sent";
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m2. Error 1000. no folder"), 1);
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m1. Error 1000. not allowed"), 1);
}

TEST_F(LoopTest, AnAnswerWithoutRoomBecomesAnErrorDocument) {
  queues_.sendFailures = {Error(error_number::kDiskFull, "No space left")};
  Request("m1", "Medium");
  Request("m2", "Ping");
  Run();
  ASSERT_EQ(queues_.sent.size(), 2U);
  EXPECT_EQ(queues_.sent[0].id, "m1");
  EXPECT_EQ(AnswerText(0, "/XML/Error"), "61");
  EXPECT_EQ(AnswerText(0, "/XML/Message"),
            "There is no room for the answer of 1074 bytes. Ask for fewer rows or fields, or ask again later.");
  EXPECT_EQ(AnswerText(0, "/XML/DataSession"), process_.ServerSessionId);
  EXPECT_EQ(EventCount("answered m1"), 1);
  EXPECT_EQ(EventCount("put back m1"), 0);
  EXPECT_EQ(ui_.CountOf("Error sending answer to message m1. Error 61. No space left"), 1);
}

TEST_F(LoopTest, WithoutRoomForTheErrorDocumentTheMessageWaits) {
  queues_.sendFailures = {Error(error_number::kDiskFull, "No space left"),
                          Error(error_number::kDiskFull, "No space left")};
  Request("m1", "Medium");
  Request("m2", "Ping");
  Request("m1", "Medium");
  Run();
  EXPECT_EQ(EventCount("send m1 to out"), 3);
  EXPECT_EQ(EventCount("put back m1"), 1);
  ASSERT_EQ(queues_.sent.size(), 2U);
  EXPECT_EQ(AnswerText(1, "/XML").size(), 1036U) << "the whole answer in the end";
}

TEST_F(LoopTest, ASmallAnswerIsNotReplacedByALargerErrorDocument) {
  queues_.sendFailures = {Error(error_number::kDiskFull, "No space left")};
  Request("m1", "Ping");
  Request("m1", "Ping");
  Run();
  EXPECT_EQ(EventCount("put back m1"), 1);
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(AnswerText(0, "/XML/Ping"), "OK");
}

TEST_F(LoopTest, WhileNothingCanBeSentNoMessageIsTaken) {
  queues_.sendFailures = {Error(error_number::kDiskFull, "No space left")};
  queues_.canSend = {false, false, true};
  Request("m1", "Ping");
  Request("m2", "Ping");
  Run();
  EXPECT_THAT(queues_.events, ElementsAre("create in", "create out", "poll in", "send m1 to out", "put back m1",
                                          "can send to out", "can send to out", "can send to out", "poll in",
                                          "send m2 to out", "answered m2", "poll in", "drop out", "drop in"));
}

TEST_F(LoopTest, AStopIsSeenWhileNothingCanBeSent) {
  bool stop = false;
  stopRequested_ = [&] { return stop; };
  queues_.sendFailures = {Error(error_number::kDiskFull, "No space left")};
  queues_.canSend.assign(100, false);
  Request("m1", "Ping");
  Request("m2", "Ping");
  AtEvents(4, [&] { stop = true; });
  Run();
  EXPECT_THAT(queues_.sent, IsEmpty());
  EXPECT_EQ(EventCount("put back m1"), 1);
  EXPECT_EQ(EventCount("answered m1"), 0);
  EXPECT_FALSE(state_.RunFlag);
  EXPECT_EQ(ui_.entries.back(), "Exit main loop");
}

TEST_F(LoopTest, AnIdThatNoAnswerCanHaveIsGivenUp) {
  const std::string id(201, 'x');
  queues_.sendFailures.emplace_back(Error(error_number::kOwn, "too long"));
  Request(id, "Ping");
  Run();
  EXPECT_EQ(EventCount("send " + id + " to out"), 1);
  EXPECT_EQ(EventCount("answered " + id), 1);
}

TEST_F(LoopTest, AStatusFileThatCannotBeWrittenStopsNothing) {
  settings_.messagefile = folder_.Path() + "/missing/message.xml";
  Request("m1", "DriverError");
  Request("m2", "DriverError");
  Run();
  EXPECT_EQ(queues_.sent.size(), 2U);
  EXPECT_EQ(std::count_if(ui_.entries.begin(), ui_.entries.end(),
                          [](const std::string& entry) { return entry.starts_with("Error writing status file "); }),
            1);
}

TEST_F(LoopTest, ALostConnectionStaysWithoutReconnect) {
  database_.losses = 1;
  for (const char* id : {"m1", "m2"}) Request(id, "Read");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "the connection is lost");
  EXPECT_EQ(AnswerText(1, "/XML/Message"), "the connection is lost");
  EXPECT_EQ(database_.opened.size(), 1U);
}

TEST_F(LoopTest, WithReconnectALostConnectionIsOpenedAnewAndTheRequestIsRunAgain) {
  settings_.reconnect = 1;
  database_.losses = 1;
  for (const char* id : {"m1", "m2"}) Request(id, "Read");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/One"), "1");
  const XmlDocument first = Answer(0);
  EXPECT_FALSE(first.SelectSingleNode("/XML/Begun")) << "the answer was begun anew";
  EXPECT_EQ(AnswerText(1, "/XML/One"), "1");
  EXPECT_EQ(database_.opened.size(), 2U);
  EXPECT_EQ(ui_.CountOf("The connection to the database is lost."), 1);
  EXPECT_EQ(Report("/XML/Code"), "") << "no failure is left to report";
}

TEST_F(LoopTest, AFailureThatAHandlerKeepsToItselfIsALossAllTheSame) {
  settings_.reconnect = 1;
  database_.losses = 1;
  Request("m1", "ReadQuietly");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/One"), "1");
}

TEST_F(LoopTest, ARequestIsRunAgainOnlyOnce) {
  settings_.reconnect = 1;
  database_.losses = 2;
  Request("m1", "Read");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "the connection is lost");
  EXPECT_EQ(database_.opened.size(), 2U);
}

TEST_F(LoopTest, UntilTheConnectionIsBackRequestsGetTheirErrorAtOnce) {
  settings_.reconnect = 1;
  settings_.Unattended = false;
  database_.losses = 1;
  const Error refused(error_number::kGeneralFailure, "refused");
  database_.openFailures = {std::nullopt, refused, refused};
  for (const char* id : {"m1", "m2"}) Request(id, "Read");
  queues_.Idle([] { SleepMilliseconds(120); });  // the first pause
  queues_.Idle();
  Request("m3", "Read");
  queues_.Idle([] { SleepMilliseconds(220); });  // the second
  queues_.Idle();
  Request("m4", "Read");
  Run();
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(AnswerText(i, "/XML/Message"), kNoConnection) << i;
  EXPECT_EQ(AnswerText(3, "/XML/One"), "1");
  EXPECT_EQ(database_.opened.size(), 4U);
  EXPECT_EQ(ui_.CountOf("Error connecting to database. Error -2147467259. refused"), 1) << "told once";
  EXPECT_THAT(ui_.calls, IsEmpty()) << "and nobody is asked";
}

TEST_F(LoopTest, AConnectionWhoseDriverIsStuckIsDropped) {
  database_.losses = 1;
  database_.stuck = true;
  for (const char* id : {"m1", "m2"}) Request(id, "Read");
  Run();
  EXPECT_EQ(AnswerText(0, "/XML/Message"), "the connection is lost") << "its time is over: it is not run again";
  EXPECT_EQ(AnswerText(1, "/XML/Message"), kNoConnection);
  EXPECT_EQ(database_.opened.size(), 1U);
}

TEST_F(LoopTest, WhileADriverIsWaitedForOthersRunUntilAStop) {
  process_.limits.connectSeconds = 7;
  bool stop = false;
  stopRequested_ = [&] { return stop; };
  queues_.Idle([&] {
    ASSERT_EQ(database_.limits.size(), 1U);
    EXPECT_EQ(database_.limits[0].connectSeconds, 7);
    const int before = ui_.eventRounds;
    EXPECT_FALSE(database_.limits[0].giveUp());
    EXPECT_EQ(ui_.eventRounds, before + 1);
    stop = true;
    EXPECT_FALSE(database_.limits[0].giveUp()) << "a moment to come back";
    SleepMilliseconds(450);
    EXPECT_TRUE(database_.limits[0].giveUp());
  });
  Run();
  EXPECT_FALSE(process_.limits.giveUp) << "it asked the loop";
}

TEST(Reconnect, PausesDoubleUpToTheLongest) {
  using std::chrono::milliseconds;
  Reconnect reconnect(1);
  const Reconnect::Clock::time_point now{};
  EXPECT_FALSE(reconnect.IsDue(now + std::chrono::hours(1))) << "nothing failed";
  for (const int pause : {100, 200, 400, 800, 1000, 1000}) {
    reconnect.Failed(now);
    EXPECT_FALSE(reconnect.IsDue(now + milliseconds(pause - 1)));
    EXPECT_TRUE(reconnect.IsDue(now + milliseconds(pause)));
  }
  reconnect.Settled();
  EXPECT_FALSE(reconnect.IsDue(now + std::chrono::hours(1)));
  reconnect.Failed(now);
  EXPECT_TRUE(reconnect.IsDue(now + milliseconds(100)));
}

TEST(Reconnect, WithoutTheParameterNothingIsTriedAgain) {
  Reconnect reconnect(0);
  reconnect.Failed({});
  EXPECT_FALSE(reconnect.IsWanted());
  EXPECT_FALSE(reconnect.IsDue(Reconnect::Clock::time_point::max()));
}

}  // namespace
}  // namespace ods
