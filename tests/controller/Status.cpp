#include "Status.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "Json.h"
#include "Launch.h"
#include "Reports.h"
#include "platform/system/Slot.h"
#include "support/TemporaryFolder.h"

namespace ods::controller {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

Source MakeSource(const std::string& name) {
  Source source;
  source.name = name;
  source.connection = "DSN=x;PWD=geheim";
  source.requests = "/q/requests";
  source.results = "/q/results";
  return source;
}

TEST(Launch, TheConnectionStringStandsInTheFileAlone) {
  Settings settings{.file = "", .state = "/s", .runtime = "/r", .server = "/bin/server", .sources = {}};
  const Launch launch = LaunchOf(settings, MakeSource("a"), PlaceOf(settings, "a.1"));
  for (const std::string& argument : launch.command) EXPECT_THAT(argument, Not(HasSubstr("geheim")));
  EXPECT_EQ(launch.configuration, "<Settings><ConnectionString>DSN=x;PWD=geheim</ConnectionString></Settings>");
  EXPECT_EQ(launch.command.front(), "/bin/server");
  EXPECT_THAT(launch.command, Contains("--exact"));
  EXPECT_THAT(launch.command, Contains("--config=/r/a.1.config.xml"));
  EXPECT_THAT(launch.command, Contains("--parentmutex=" + ParentMutexName(settings)));
}

TEST(Launch, EverySettingOfTheServerMakesAnotherOne) {
  const Settings settings{.file = "", .state = "/s", .runtime = "/r", .server = "/bin/server", .sources = {}};
  const Place place = PlaceOf(settings, "a.1");
  const Launch first = LaunchOf(settings, MakeSource("a"), place);
  const std::vector<void (*)(Source&)> changes = {[](Source& source) { source.connection += ";X=1"; },
                                                  [](Source& source) { source.requests += "x"; },
                                                  [](Source& source) { source.results += "x"; },
                                                  [](Source& source) { source.exact = false; },
                                                  [](Source& source) { source.connectTimeout = 1; },
                                                  [](Source& source) { source.queryTimeout = 1; },
                                                  [](Source& source) { source.reconnect = 1; },
                                                  [](Source& source) { source.context = "/c"; },
                                                  [](Source& source) { source.configurationFolder = "/c"; }};
  for (const auto change : changes) {
    Source source = MakeSource("a");
    change(source);
    EXPECT_FALSE(LaunchOf(settings, source, place) == first);
  }
  Source source = MakeSource("a");
  source.limits.alive = 1000;
  EXPECT_TRUE(LaunchOf(settings, source, place) == first) << "the controller's own affair";
}

TEST(Launch, OtherFoldersHaveOtherMutexes) {
  const Settings one{.file = "", .state = "/s", .runtime = "/r", .server = "", .sources = {}};
  const Settings two{.file = "", .state = "/t", .runtime = "/r", .server = "", .sources = {}};
  EXPECT_NE(ParentMutexName(one), ParentMutexName(two));
  EXPECT_NE(PlaceOf(one, "a.1").runningMutex, PlaceOf(two, "a.1").runningMutex);
  EXPECT_NE(PlaceOf(one, "a.1").runningMutex, PlaceOf(one, "a.2").runningMutex);
}

class ReportTest : public testing::Test {
 protected:
  void Write(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }
  test::TemporaryFolder folder_;
  std::string file_ = folder_.Path() + "/report.xml";
};

TEST_F(ReportTest, AMessageFileAsksForARestartOrADatabase) {
  EXPECT_FALSE(ReadMessage(file_));
  Write("<XML><Type>Restart</Type><Code>ErrorProcessingMessage</Code><Message>why</Message></XML>");
  EXPECT_EQ(AskedBy(*ReadMessage(file_)), Asked::kRestart);
  EXPECT_EQ(ReadMessage(file_)->text, "why");
  Write("<XML><Type>Message</Type><Code>UnableToConnectDB</Code><Message>why</Message></XML>");
  EXPECT_EQ(AskedBy(*ReadMessage(file_)), Asked::kDatabase);
  Write("<XML><Type>Message</Type><Code>Other</Code><Message>UnableToConnectDB</Message></XML>");
  EXPECT_EQ(AskedBy(*ReadMessage(file_)), Asked::kNothing);
  Write("<XML><Type>Rest");
  EXPECT_FALSE(ReadMessage(file_));
}

TEST_F(ReportTest, AStateFileTellsConnectionAndRequests) {
  EXPECT_FALSE(ReadServerFacts(file_));
  Write("<XML><Requests>12</Requests><Connection>lost</Connection><Failure>f</Failure></XML>");
  const ServerFacts facts = ReadServerFacts(file_).value();
  EXPECT_EQ(facts.requests, 12);
  EXPECT_EQ(facts.connection, ConnectionSeen::kLost);
  EXPECT_EQ(facts.failure, "f");
  Write("<XML><Requests>x</Requests><Connection>?</Connection></XML>");
  EXPECT_EQ(ReadServerFacts(file_)->requests, 0);
  EXPECT_EQ(ReadServerFacts(file_)->connection, ConnectionSeen::kUnknown);
}

TEST_F(ReportTest, AFileIsNewUntilItWasSeen) {
  ChangeOfFile change(file_);
  EXPECT_FALSE(change.Seen());
  Write("<XML/>");
  EXPECT_TRUE(change.Seen());
  EXPECT_FALSE(change.Seen());
  std::filesystem::remove(file_);
  EXPECT_FALSE(change.Seen());
  Write("<XML/>");
  EXPECT_TRUE(change.Seen());
}

TEST(Json, TextIsEscaped) {
  EXPECT_EQ(JsonText("a\"b\\c\nd\x01\xC3\xA9\xFF"), "\"a\\\"b\\\\c\\u000Ad\\u0001\xC3\xA9?\"");
}

ControllerStatus MakeStatus() {
  ControllerStatus status;
  status.process = 7;
  status.servers.push_back({.id = "a.1",
                            .state = "running",
                            .reason = "",
                            .process = 8,
                            .uptime = 3723.0,
                            .requests = 12,
                            .residentBytes = 2048,
                            .restarts = 1,
                            .message = Message{"Restart", "Code", "t\xC3\xA4xt\nmore"},
                            .messageTime = "2024-02-09 08:05:03"});
  status.servers.push_back({.id = "long-name.1",
                            .state = "waiting",
                            .reason = "why",
                            .process = {},
                            .uptime = {},
                            .requests = {},
                            .residentBytes = {},
                            .restarts = 0,
                            .message = {},
                            .messageTime = ""});
  return status;
}

TEST(Status, TheTableAlignsItsColumns) {
  EXPECT_EQ(
      StatusTable(MakeStatus()),
      "The controller runs as process 7.\n"
      "SERVER       STATE    PROCESS   UPTIME  REQUESTS  KIB  RESTARTS  REASON  LAST MESSAGE\n"
      "a.1          running        8  1:02:03        12    2         1  -       2024-02-09 08:05:03 Restart Code: "
      "t\xC3\xA4xt more\n"
      "long-name.1  waiting        -        -         -    -         0  why     -\n");
}

TEST(Status, JsonHasNullWhereThereIsNothing) {
  EXPECT_EQ(
      StatusJson(MakeStatus()),
      "{\"controller\": {\"process\": 7}, \"servers\": [{\"id\": \"a.1\", \"state\": \"running\", \"reason\": \"\", "
      "\"process\": 8, \"uptime\": 3723, \"requests\": 12, \"residentBytes\": 2048, \"restarts\": 1, \"message\": "
      "{\"time\": \"2024-02-09 08:05:03\", \"type\": \"Restart\", \"code\": \"Code\", \"text\": "
      "\"t\xC3\xA4xt\\u000Amore\"}}, {\"id\": \"long-name.1\", \"state\": \"waiting\", \"reason\": \"why\", "
      "\"process\": null, \"uptime\": null, \"requests\": null, \"residentBytes\": null, \"restarts\": 0, "
      "\"message\": null}]}\n");
}

TEST(Status, AllIsWellWhenAllRun) {
  ControllerStatus status = MakeStatus();
  EXPECT_FALSE(IsWell(status));
  status.servers.pop_back();
  EXPECT_TRUE(IsWell(status));
  status.process.reset();
  EXPECT_FALSE(IsWell(status));
}

TEST(Status, WithoutAControllerTheServersAreStopped) {
  const test::TemporaryFolder folder;
  Settings settings{.file = "", .state = folder.Path(), .runtime = folder.Path(), .server = "", .sources = {}};
  settings.sources.push_back(MakeSource("a"));
  settings.sources.back().servers = 2;
  const ControllerStatus status = ReadStatus(settings);
  EXPECT_FALSE(status.process);
  ASSERT_EQ(status.servers.size(), 2U);
  EXPECT_EQ(status.servers[1].id, "a.2");
  EXPECT_EQ(status.servers[1].state, "stopped");
}

}  // namespace
}  // namespace ods::controller
