#include "server/modMain.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <vector>

#include "common/Files.h"
#include "common/Text.h"
#include "doubles/ServerDoubles.h"
#include "platform/system/COpSysInfo.h"
#include "platform/system/Folders.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "server/modConfiguration.h"
#include "support/EnvironmentValue.h"
#include "support/RaisedErrors.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using ::testing::_;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A text as the trace shows it.
std::string Traced(const std::string& text) { return ReplaceAll(text, "\\", "\\\\"); }

/// A server whose program lies in a temporary folder.
class ServerTest : public testing::Test {
 protected:
  ServerTest() {
    std::filesystem::create_directory(exeFolder_);
    test::RegisterDoubles(components_, queues_, database_);
    // At the end of the script a stop comes from outside.
    queues_.atEnd = [this] { stop_ = true; };
  }

  void Configure(const std::string& path, const std::string& connectionString = "DSN=test") {
    Configuration configuration;
    configuration.ConnectionString = connectionString;
    MkDirRecurse(path.substr(0, path.find_last_of(kPathSeparators)));
    SaveConfiguration(path, configuration);
  }
  [[nodiscard]] std::string DefaultIni() const { return test::Native(exeFolder_ + "/Data/config/dataserver.xml"); }
  const Settings& Run(const std::string& commandLine) {
    server_.Run(commandLine);
    return server_.GetSettings();
  }

  /// The text of the error that a run raises, "" for none.
  [[nodiscard]] std::string FailureOf(const std::string& commandLine) {
    const auto error = test::ErrorOf([&] { Run(commandLine); });
    return error ? error->Description() : "";
  }

  test::TemporaryFolder folder_;
  test::EnvironmentValue temp_{"TEMP", test::Native(folder_.Path() + "/temp")};
  std::string exeFolder_ = test::Native(folder_.Path() + "/bin");
  test::RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  ComponentRegistry components_;
  test::QueueScript queues_;
  test::DatabaseScript database_;
  bool stop_ = false;
  ServerView* view_ = nullptr;  ///< what the windows were opened with
  std::string noWindow_;        ///< why none can be opened; "" when they can
  Server server_{{ui_, tracer_, components_, test::Native(exeFolder_ + "/odbc-data-server"), [this] { return stop_; },
                  [this](ServerView& view) {
                    if (!noWindow_.empty()) throw Error(error_number::kOwn, noWindow_);
                    view_ = &view;
                    ui_.calls.emplace_back("open windows");
                  }}};
};

TEST_F(ServerTest, StartsUpInItsOrder) {
  Configure(DefaultIni());
  const std::string mutex = "ods-test-" + std::to_string(CurrentProcessId()) + "-running";
  const std::string line = "instance=7 hidden runningmutex=" + mutex;
  bool existed = false;
  queues_.Idle([&] { existed = MutexExists(mutex); });
  Run(line);
  const std::string queueFolder = test::Native(folder_.Path() + "/temp/Korvanta/7/Queue");
  EXPECT_THAT(ui_.entries, ElementsAreArray({std::string("Starting odbc-data-server version 1.0.0.0"),
                                             "Parse command line: " + line,
                                             "Platform: " + COpSysInfo().Description(),
                                             Traced("Context file: " + JoinPath(exeFolder_, "context.xml")),
                                             Traced("Ini file: " + DefaultIni()),
                                             Traced("Incoming Queue: " + JoinPath(queueFolder, "Requests")),
                                             Traced("Outgoing Queue: " + JoinPath(queueFolder, "Results")),
                                             std::string("Mode: run"),
                                             "Create mutex: " + mutex,
                                             "Mutex created: " + mutex,
                                             std::string("Enter main loop"),
                                             std::string("In main loop"),
                                             std::string("Start conditions: run=True, parentmutex(\"\")=False"),
                                             std::string("Connect to database: DSN=test"),
                                             std::string("Get database information"),
                                             std::string("Property: DBMS Name=SQLite"),
                                             std::string("Property: Current Catalog=main"),
                                             std::string("Connect to Queue"),
                                             Traced("Connect to queue \"" + JoinPath(queueFolder, "Requests") + "\""),
                                             Traced("Connect to queue \"" + JoinPath(queueFolder, "Results") + "\""),
                                             std::string("Start Polling"),
                                             std::string("Stop conditions: run=False, parentmutex(\"\")=False"),
                                             std::string("Exit main loop"),
                                             std::string("Signal that data server is stopped"),
                                             std::string("Stop")}));
  EXPECT_TRUE(existed) << "while the loop runs";
  EXPECT_FALSE(MutexExists(mutex));
  EXPECT_TRUE(std::filesystem::is_directory(queueFolder + "/Requests"));
  EXPECT_TRUE(std::filesystem::is_directory(queueFolder + "/Results"));
  EXPECT_THAT(ui_.calls, ElementsAre("wait until closed")) << "which returns at once: there are none";
}

TEST_F(ServerTest, OneFolderForRequestsAndAnswersIsRefused) {
  const std::string folder = folder_.Path() + "/queue";
  std::filesystem::create_directory(folder);
  std::vector<std::string> others = {folder, folder + "/", folder_.Path() + "/./bin/../queue"};
  std::error_code refused;  // Windows lets not everybody make links
  std::filesystem::create_directory_symlink(folder, folder_.Path() + "/link", refused);
  if (!refused) others.push_back(folder_.Path() + "/link");
  for (const std::string& other : others) {
    const std::string wanted = "The parameters inqueue (\"" + folder + "\") and outqueue (\"" + other +
                               "\") name the same folder: requests and answers need a folder each.";
    EXPECT_RAISES(Run("hidden inqueue=" + folder + " outqueue=" + other), 1000, wanted);
    EXPECT_EQ(ui_.CountOf(Traced("Error: " + wanted)), 1) << "the log tells it too";
  }
  EXPECT_THAT(database_.opened, IsEmpty());
}

TEST_F(ServerTest, ThePasswordOfABrokerIsNeverTraced) {
  const std::string in = "amqp://ann:geheim@h/?queue=in";
  const std::string out = "amqp://ann:geheim@h/?queue=out";
  (void)FailureOf("hidden mode=none inqueue=" + in + " outqueue=" + out);
  (void)FailureOf("hidden mode=none amqp://ann:geheim@h/?queue=in inqueue=" + folder_.Path() + "/in");
  (void)FailureOf("hidden mode=none inqueue=amqp://ann:geheim@h/");
  (void)FailureOf("hidden mode=none \"inqueue=amqp://ann:ge heim,geheim@h/?queue=in\"");
  Run("hidden inqueue=" + folder_.Path() + "/in outqueue=" + folder_.Path() + "/out");
  EXPECT_GT(ui_.entries.size(), 10U);
  for (const std::string& entry : ui_.entries) EXPECT_EQ(entry.find("heim"), std::string::npos) << entry;
  for (const std::string& warning : ui_.warnings) EXPECT_EQ(warning.find("heim"), std::string::npos) << warning;
}

TEST_F(ServerTest, OneQueueOfABrokerForRequestsAndAnswersIsRefused) {
  const std::string told =
      FailureOf("hidden inqueue=amqp://a:geheim@h/?queue=q outqueue=amqp://b:geheim@h/%2F?queue=q");
#ifdef ODS_WITH_AMQP
  EXPECT_EQ(told,
            "The parameters inqueue (\"amqp://a@h:5672/%2F?queue=q\") and outqueue (\"amqp://b@h:5672/%2F?queue=q\") "
            "name the same queue: requests and answers need a queue each.");
#else
  EXPECT_THAT(told, HasSubstr("WITH_AMQP=OFF"));
#endif
}

TEST_F(ServerTest, TheFoldersItMakesArePrivateWhateverTheMask) {
  for (const unsigned mask : {0000U, 0077U}) {
    const std::string root = folder_.Path() + "/mask" + std::to_string(mask);
    const auto before = umask(static_cast<mode_t>(mask));
    Run("hidden mode=none datafolder=" + root + "/data inqueue=" + root + "/q/in outqueue=" + root + "/q/out");
    umask(before);
    for (const char* name : {"", "/data", "/data/Logs", "/data/config", "/q", "/q/in", "/q/out"}) {
      EXPECT_TRUE(test::IsPrivate(root + name)) << root + name;
    }
  }
}

TEST_F(ServerTest, TheLogBeginsWithTheSystemsEntry) {
  Run("mode=config hidden");
  const std::string log = ReadFileText(tracer_.GetLog()->PathOf(LocalNow()));
  EXPECT_THAT(log, HasSubstr(", 1, 0, 'User="));
  EXPECT_THAT(log, HasSubstr(", 2, 0, 'Starting "));
  EXPECT_THAT(log, HasSubstr(", 4, 0, 'Platform: " + COpSysInfo().Name() + " " + COpSysInfo().Version()));
  EXPECT_EQ(tracer_.GetLog()->PathOf(LocalNow()).find(test::Native(exeFolder_ + "/Data/Logs/")), 0U);
  EXPECT_THAT(tracer_.GetLog()->PathOf(LocalNow()),
              testing::EndsWith("-DBSRV-" + std::to_string(CurrentProcessId()) + ".log"));
  EXPECT_EQ(tracer_.GetLog()->maxsize, 100000);
}

TEST_F(ServerTest, HasItsDefaults) {
  const Settings& settings = Run("mode=config");
  EXPECT_EQ(settings.instance, std::to_string(CurrentProcessId()));
  EXPECT_EQ(settings.datafolder, test::Native(exeFolder_ + "/Data"));
  EXPECT_EQ(settings.configfolder, test::Native(exeFolder_ + "/Data/config"));
  EXPECT_EQ(settings.config, DefaultIni());
  EXPECT_EQ(settings.context, test::Native(exeFolder_ + "/context.xml"));
  EXPECT_EQ(settings.inqueue, test::Native(folder_.Path() + "/temp/Korvanta/" + settings.instance + "/Queue/Requests"));
  EXPECT_EQ(settings.runningmutex + settings.parentmutex + settings.messagefile + settings.alivefile, "");
  EXPECT_TRUE(std::filesystem::exists(DefaultIni())) << "made with defaults";
}

TEST_F(ServerTest, TakesEveryPathFromTheCommandLine) {
  const std::string data = folder_.Path() + "/data";
  const std::string elsewhere = folder_.Path() + "/elsewhere";
  Configure(elsewhere + "/my.xml");
  const Settings& settings =
      Run("mode=config datafolder=" + data + " configfolder=" + elsewhere + "/cfg config=" + elsewhere +
          "/my.xml context=" + elsewhere + "/c.xml inqueue=" + elsewhere + "/in outqueue=" + elsewhere + "/out");
  EXPECT_EQ(settings.configfolder, elsewhere + "/cfg");
  EXPECT_EQ(settings.configuration.ConnectionString, "DSN=test");
  EXPECT_FALSE(std::filesystem::exists(elsewhere + "/cfg")) << "made only for the default file";
  EXPECT_TRUE(std::filesystem::exists(elsewhere + "/in"));
  EXPECT_TRUE(std::filesystem::exists(elsewhere + "/out"));
  EXPECT_TRUE(std::filesystem::exists(data + "/Logs"));
  EXPECT_EQ(ui_.CountOf(Traced("Context file: " + elsewhere + "/c.xml")), 1);
}

TEST_F(ServerTest, ARelativeConfigFolderLiesInTheDataFolder) {
  const std::string data = folder_.Path() + "/data";
  EXPECT_EQ(Run("mode=config configfolder=cfg datafolder=" + data).configfolder, JoinPath(data, "cfg"));
}

TEST_F(ServerTest, DriveAndNetworkPathsAreAbsolute) {
  const std::string ini = " mode=config config=" + folder_.Path() + "/my.xml";
  EXPECT_EQ(Run("configfolder=D:\\cfg" + ini).configfolder, "D:\\cfg");
  EXPECT_EQ(Run("configfolder=\\\\srv\\cfg" + ini).configfolder, "\\\\srv\\cfg");
}

TEST_F(ServerTest, TheDefaultConfigFolderOfARelativeDataFolderIsDoubled) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.Path());
  EXPECT_EQ(Run("mode=config datafolder=D").configfolder, test::Native("D/D/config"));
  EXPECT_TRUE(std::filesystem::exists(folder_.Path() + "/D/D/config/dataserver.xml"));
  std::filesystem::current_path(before);
}

TEST_F(ServerTest, LoadsTheContextDocument) {
  std::ofstream(exeFolder_ + "/context.xml") << "<Context><A>1</A></Context>";
  Run("mode=config");
  EXPECT_EQ(GetNodeText(server_.Context(), "/Context/A"), "1");
}

TEST_F(ServerTest, HandlersSeeTheFolderOfTheExecutable) {
  std::ofstream(exeFolder_ + "/users.xml") << "<UserData><Users><User Id='ann' Name='Ann'/></Users></UserData>";
  Configure(DefaultIni());
  database_.properties = {{"DBMS Name", "SQLite"}};
  queues_.Receive("m1", "<XML><Type>Authorize</Type><UserId>ann</UserId></XML>");
  Run("hidden");
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(GetNodeText(XmlDocument(queues_.sent[0].text), "/XML/UserName"), "Ann");
}

TEST_F(ServerTest, HandlersSeeTheContextDocument) {
  std::ofstream(exeFolder_ + "/context.xml")
      << "<Context><Users><Table id='2000000002'><TableName>Staff</TableName></Table></Users></Context>";
  Configure(DefaultIni());
  database_.properties = {{"DBMS Name", "NAVISION"}};
  queues_.Receive("m1", "<XML><Type>UsersAndRoles</Type></XML>");
  Run("hidden");
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_THAT(GetNodeText(XmlDocument(queues_.sent[0].text), "/XML/Message"),
              StartsWith("unexpected statement: SELECT \"\" AS userid, \"\" as username FROM \"Staff\""));
}

TEST_F(ServerTest, AContextDocumentThatDoesNotLoadIsNoError) {
  std::ofstream(exeFolder_ + "/context.xml") << "<Context>";
  Run("mode=config");
  EXPECT_FALSE(server_.Context().DocumentElement());
  EXPECT_EQ(ui_.entries.back(), "Stop");
}

TEST_F(ServerTest, ReadsTheParameterFileBelowTheCommandLine) {
  const std::string file = folder_.Path() + "/server.par";
  std::ofstream(file, std::ios::binary) << "MODE=run\r\ninstance=file\r\nhidden";
  const Settings& settings = Run("mode=config parameterfile=" + file);
  EXPECT_EQ(settings.mode, "config");
  EXPECT_EQ(settings.instance, "file");
  EXPECT_TRUE(settings.hidden);
}

TEST_F(ServerTest, TakesParametersWithTwoHyphens) {
  const Settings& settings = Run("--hidden --mode=config --outqueue=" + folder_.Path() + "/answers");
  EXPECT_EQ(settings.outqueue, folder_.Path() + "/answers");
  EXPECT_TRUE(settings.hidden);
}

TEST_F(ServerTest, WarnsOfParametersThatItDoesNotKnow) {
  const std::string file = folder_.Path() + "/parameters.txt";
  std::ofstream(file) << "hidden\nouteqeue=/q\nalivefil=/a\ninqeue=/other\n";
  Run("mode=config inqeue=/in parameterfile=" + file);
  EXPECT_THAT(ui_.warnings, ElementsAre("Unknown parameter \"inqeue\" on the command line.",
                                        Traced("Unknown parameter \"outeqeue\" in the parameter file " + file + "."),
                                        Traced("Unknown parameter \"alivefil\" in the parameter file " + file + ".")));
}

TEST_F(ServerTest, WarnsOfNoParameterThatItKnows) {
  Run("mode=config hidden instance=7 config=" + folder_.Path() + "/a.xml");
  EXPECT_THAT(ui_.warnings, IsEmpty());
}

TEST_F(ServerTest, AMissingParameterFileIsAnErrorThatNamesIt) {
  const std::string file = folder_.Path() + "/missing.par";
  EXPECT_RAISES(Run("parameterfile=" + file), error_number::kFileNotFound, HasSubstr(file));
  EXPECT_FALSE(std::filesystem::exists(exeFolder_ + "/Data")) << "nothing was made yet";
}

TEST_F(ServerTest, AConfigurationThatCannotBeLoadedEndsTheStart) {
  const std::optional<Error> error = test::ErrorOf([&] { Run("config=" + folder_.Path() + "/no/such/folder.xml"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->Number(), error_number::kOwn);
  EXPECT_THAT(error->Description(),
              StartsWith("Error saving default configuration file to " + folder_.Path() + "/no/such/folder.xml"));
  ASSERT_GE(ui_.entries.size(), 2U);
  EXPECT_EQ(ui_.entries[ui_.entries.size() - 2], Traced("Error: " + error->Description()));
  EXPECT_EQ(ui_.entries.back(), "Stop");
}

TEST_F(ServerTest, AMutexThatCannotBeCreatedEndsTheStart) {
  Configure(DefaultIni());
  EXPECT_RAISES(Run("runningmutex=" + test::ImpossibleMutexName()), error_number::kOwn,
                StartsWith("Error creating instance mutex ("));
  EXPECT_THAT(database_.opened, IsEmpty());
}

TEST_F(ServerTest, BeatsTheHeartBeforeItsModeIsLookedAt) {
  const std::string alive = folder_.Path() + "/alive.xml";
  Run("mode=config alivefile=" + alive);
  EXPECT_EQ(GetNodeText(XmlDocument(ReadFileText(alive)), "/XML/Type"), "Running");
}

// Modes

TEST_F(ServerTest, ModesAreLowerCased) {
  Configure(DefaultIni());
  Run("Mode=RUN");
  EXPECT_EQ(ui_.CountOf("Mode: run"), 1);
  EXPECT_EQ(ui_.CountOf("Exit main loop"), 1);
}

TEST_F(ServerTest, AnEmptyModeRuns) {
  Configure(DefaultIni());
  Run("mode=");
  EXPECT_EQ(ui_.CountOf("Exit main loop"), 1);
}

TEST_F(ServerTest, TheConfigModeShowsTheOptionsOnlyAndLivesUntilTheyAreClosed) {
  Run("mode=Config");
  EXPECT_THAT(ui_.calls, ElementsAre("open windows", "options dialog", "wait until closed"));
  EXPECT_EQ(ui_.CountOf("Mode: config"), 1);
  EXPECT_EQ(ui_.entries.back(), "Stop");
  EXPECT_THAT(queues_.events, IsEmpty());
}

TEST_F(ServerTest, AnUnknownModeStopsAtOnce) {
  Run("mode=fly hidden");
  EXPECT_THAT(ui_.calls, ElementsAre("wait until closed")) << "nobody is there to read a box";
  EXPECT_EQ(ui_.CountOf("Unknown mode: fly"), 1);
  EXPECT_EQ(ui_.entries.back(), "Stop");
  EXPECT_THAT(database_.opened, IsEmpty());
  EXPECT_THAT(queues_.events, IsEmpty());
}

TEST_F(ServerTest, AnUnknownModeIsShownToAPerson) {
  Run("mode=fly");
  EXPECT_THAT(ui_.calls,
              ElementsAre("open windows", "warning: Korvanta: Unknown mode specified as command line parameter: fly",
                          "wait until closed"));
  EXPECT_EQ(ui_.CountOf("Unknown mode: fly"), 1);
}

// Who watches

TEST_F(ServerTest, PagesAreExactWhenTheParameterIsThere) {
  EXPECT_FALSE(Run("mode=config").exact);
  EXPECT_TRUE(Run("mode=config exact").exact);
  EXPECT_TRUE(Run("mode=config --exact").exact);
  EXPECT_TRUE(Run("mode=config exact=0").exact) << "its value does not count";
  const std::string file = folder_.Path() + "/exact.par";
  std::ofstream(file) << "exact\n";
  EXPECT_TRUE(Run("mode=config parameterfile=" + file).exact);
  EXPECT_THAT(ui_.warnings, IsEmpty());
}

TEST_F(ServerTest, AServerIsUnattendedWhenHiddenOrWatched) {
  EXPECT_FALSE(Run("mode=config").Unattended);
  EXPECT_TRUE(Run("mode=config hidden").Unattended);
  EXPECT_TRUE(Run("mode=config hidden=0").Unattended) << "its value does not count";
  EXPECT_TRUE(Run("mode=config runningmutex=x").Unattended);
}

TEST_F(ServerTest, AWatchedServerShowsItsWindowStillButNoBoxes) {
  Run("runningmutex=ods-test-" + std::to_string(CurrentProcessId()) + "-watched");
  EXPECT_THAT(ui_.calls, ElementsAre("open windows", "show main window", "unload main window", "wait until closed"));
}

TEST_F(ServerTest, WithoutAConnectionStringItReportsAndServesAllTheSame) {
  const std::string message = folder_.Path() + "/message.xml";
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  Run("hidden messagefile=" + message);
  EXPECT_EQ(GetNodeText(XmlDocument(ReadFileText(message)), "/XML/Code"), "UnableToConnectDB");
  EXPECT_THAT(database_.opened, IsEmpty());
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(GetNodeText(XmlDocument(queues_.sent[0].text), "/XML/Error"), "1000");
}

TEST_F(ServerTest, WithoutAConnectionStringItAsksAPerson) {
  Run("");
  EXPECT_THAT(ui_.calls, ElementsAre("open windows", "show main window", "options dialog",
                                     "information: Korvanta: Please select an ODBC data source.", "unload main window",
                                     "wait until closed"));
}

TEST_F(ServerTest, AConnectionThatFailsAsksAPersonForAnother) {
  Configure(DefaultIni(), "DSN=gone");
  database_.openFailures.emplace_back(Error(-2147467259, "no such data source"));
  Run("");
  EXPECT_THAT(ui_.calls,
              ElementsAre("open windows", "show main window",
                          "warning: Korvanta: Error connecting to the database.\n"
                          "The Options dialog will now appear. Please specify a new database connection or check the "
                          "existing one.\n"
                          "Error Information:\n"
                          "Connection string is DSN=gone\n"
                          "-2147467259 (0x80004005)\n"
                          "no such data source",
                          "options dialog", "unload main window", "wait until closed"));
}

TEST_F(ServerTest, TheConfigModeOfAHiddenServerTellsWhyNothingIsSeen) {
  testing::internal::CaptureStderr();
  Run("mode=config hidden");
  EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "odbc-data-server: The options dialog is not shown: the parameter \"hidden\" is given, too. Leave it out to "
      "configure the server with mode=config.\n");
  testing::internal::CaptureStderr();
  Run("mode=config");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// A start that fails

TEST_F(ServerTest, AFailureIsShownToAPersonAlsoBeforeThereAreWindows) {
  std::ofstream(exeFolder_ + "/Data") << "in the way";
  const std::string text = FailureOf("");
  EXPECT_THAT(text, HasSubstr(test::Native(exeFolder_ + "/Data")));
  server_.ShowFailure(text);
  EXPECT_THAT(ui_.calls, ElementsAre("unload main window", "open windows", "warning: : " + text));
}

TEST_F(ServerTest, AFailureIsShownInTheWindowsThatThereAre) {
  const std::string text = FailureOf("config=" + folder_.Path() + "/no/such/folder.xml");
  server_.ShowFailure(text);
  EXPECT_THAT(ui_.calls, ElementsAre("open windows", "unload main window", "warning: : " + text));
}

TEST_F(ServerTest, AFailureOfTheParametersIsShown) {
  const std::string text = FailureOf("parameterfile=" + folder_.Path() + "/missing.par");
  server_.ShowFailure(text);
  EXPECT_THAT(ui_.calls, ElementsAre("unload main window", "open windows", "warning: : " + text));
}

TEST_F(ServerTest, NobodyIsShownTheFailureOfAnUnattendedServer) {
  std::ofstream(exeFolder_ + "/Data") << "in the way";
  for (const char* line : {"hidden", "runningmutex=x", "hidden parameterfile=missing.par"}) {
    const std::string text = FailureOf(line);
    EXPECT_NE(text, "") << line;
    server_.ShowFailure(text);
  }
  EXPECT_THAT(ui_.calls, testing::Each("unload main window"));
}

TEST_F(ServerTest, WithoutADisplayAFailureIsNotShown) {
  noWindow_ = "no display";
  std::ofstream(exeFolder_ + "/Data") << "in the way";
  const std::string text = FailureOf("");
  server_.ShowFailure(text);
  EXPECT_THAT(ui_.calls, ElementsAre("unload main window"));
}

// The windows

TEST_F(ServerTest, TheMainWindowIsShownWithWhatTheServerDoesFirst) {
  for (const auto& [connectionString, status] :
       {std::pair{"DSN=test", "Connect to Database"}, std::pair{"", "Connect to Queue"}}) {
    Configure(DefaultIni(), connectionString);
    std::string shown;
    ui_.onMainWindow = [&] { shown = view_->StatusText() + ", " + view_->ButtonAction(); };
    stop_ = false;
    Run("");
    EXPECT_EQ(shown, std::string(status) + ", STOP");
  }
}

TEST_F(ServerTest, AHiddenServerOpensNoWindows) {
  noWindow_ = "no display";
  Run("mode=config hidden");
  EXPECT_EQ(view_, nullptr);
}

TEST_F(ServerTest, HiddenMayComeFromTheParameterFile) {
  const std::string file = folder_.Path() + "/server.par";
  std::ofstream(file) << "hidden";
  noWindow_ = "no display";
  Run("mode=config parameterfile=" + file);
  EXPECT_EQ(view_, nullptr);
}

TEST_F(ServerTest, WithoutADisplayItEndsBeforeItTouchesDatabaseOrQueues) {
  Configure(DefaultIni());
  noWindow_ = "No window can be shown: no display.";
  EXPECT_RAISES(Run(""), _, noWindow_);
  EXPECT_THAT(database_.opened, IsEmpty());
  EXPECT_THAT(queues_.events, IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(folder_.Path() + "/temp")) << "where the queues would be";
  ASSERT_GE(ui_.entries.size(), 2U);
  EXPECT_EQ(ui_.entries[ui_.entries.size() - 2], "Error: " + noWindow_);
  EXPECT_EQ(ui_.entries.back(), "Stop");
}

TEST_F(ServerTest, AStartThatFailsLeavesNoWindowOpen) {
  Configure(DefaultIni());
  EXPECT_RAISES(Run("runningmutex=" + test::ImpossibleMutexName()), error_number::kOwn, _);
  EXPECT_THAT(ui_.calls, ElementsAre("open windows", "show main window", "unload main window"));
}

TEST_F(ServerTest, WindowEventsRunBeforeTheLoopAndInItsRounds) {
  Configure(DefaultIni());
  int before = 0;
  queues_.Idle([&] { before = ui_.eventRounds; });
  int afterPoll = 0;
  queues_.Idle([&] { afterPoll = ui_.eventRounds; });
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  Run("");
  EXPECT_EQ(before, 2) << "at the end of the start, and at the loop's entry";
  EXPECT_EQ(afterPoll, 3);
  EXPECT_EQ(ui_.eventRounds, 6) << "after the second poll, after the message, after the last poll";
}

TEST_F(ServerTest, AWindowThatClearsTheRunFlagEndsTheServer) {
  Configure(DefaultIni());
  bool again = false;
  queues_.Idle([&] { ui_.onEvents = [&] { view_->ClearRunFlag(); }; });
  queues_.Idle([&] { again = true; });
  Run("");
  EXPECT_FALSE(again);
  EXPECT_EQ(ui_.CountOf("Exit main loop"), 1);
}

TEST_F(ServerTest, TheRequestInHandIsAnsweredBeforeAClosedWindowEndsTheServer) {
  Configure(DefaultIni());
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  queues_.Idle([] { ADD_FAILURE() << "polled again"; });
  // Events run at the end of the start, at the loop's entry, and after the answer: the window is closed at the last.
  ui_.onEvents = [&] {
    if (ui_.eventRounds == 3) view_->ClearRunFlag();
  };
  Run("");
  EXPECT_EQ(queues_.sent.size(), 1U);
}

TEST_F(ServerTest, SettingsFromAWindowReconnectUnderANewSession) {
  Configure(DefaultIni());
  const std::string ping = "<XML><Type>Ping</Type></XML>";
  queues_.Receive("m1", ping);
  queues_.Idle([&] {
    ui_.onEvents = [&] {
      ui_.onEvents = nullptr;
      view_->StoreSettings({"Sales", "sa", "secret", "DSN=Sales;UID=sa;PWD=secret", true});
    };
  });
  queues_.Receive("m2", ping);
  const Settings& settings = Run("");
  EXPECT_THAT(database_.opened, ElementsAre("DSN=test", "DSN=Sales;UID=sa;PWD=secret"));
  EXPECT_EQ(ui_.CountOf("Connect to Queue"), 2);
  EXPECT_EQ(settings.configuration.DSN + "/" + settings.configuration.User + "/" + settings.configuration.Password,
            "Sales/sa/secret");
  EXPECT_TRUE(settings.configuration.DebugMode);
  ASSERT_EQ(queues_.sent.size(), 2U);
  const std::string first = GetNodeText(XmlDocument(queues_.sent[0].text), "/XML/DataSession");
  const std::string second = GetNodeText(XmlDocument(queues_.sent[1].text), "/XML/DataSession");
  EXPECT_NE(first, second);
  EXPECT_EQ(second.size(), 36U);
}

TEST_F(ServerTest, SettingsSavedByAWindowConnectOnce) {
  Configure(DefaultIni());
  queues_.Idle([&] {
    ui_.onEvents = [&] {
      ui_.onEvents = nullptr;
      view_->SaveSettings({"Sales", "", "", "DSN=Sales", false});
      view_->StoreSettings({"Sales", "", "", "DSN=Sales", false});
    };
  });
  queues_.Idle();
  queues_.Idle();
  const Settings& settings = Run("");
  EXPECT_THAT(database_.opened, ElementsAre("DSN=test", "DSN=Sales"));
  EXPECT_EQ(settings.configuration.ConnectionString, "DSN=Sales");
  Configuration saved;
  LoadConfiguration(DefaultIni(), saved);
  EXPECT_EQ(saved.DSN, "Sales");
  EXPECT_EQ(saved.ConnectionString, "DSN=Sales");
}

TEST_F(ServerTest, AServerThatHadNoConnectionStringTakesOneFromAWindow) {
  Configure(DefaultIni(), "");
  queues_.Idle([&] {
    ui_.onEvents = [&] {
      ui_.onEvents = nullptr;
      view_->StoreSettings({"", "", "", "DSN=test", false});
    };
  });
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  Run("");
  ASSERT_EQ(queues_.sent.size(), 1U);
  EXPECT_EQ(GetNodeText(XmlDocument(queues_.sent[0].text), "/XML/Ping"), "OK");
}

TEST_F(ServerTest, SettingsThatCannotBeSavedAreAnErrorThatNamesTheFile) {
  Configure(DefaultIni());
  Run("mode=config");
  std::filesystem::remove_all(exeFolder_ + "/Data/config");
  const OperatorSettings before = view_->GetSettings();
  EXPECT_RAISES(view_->SaveSettings({"Sales", "", "", "DSN=Sales", false}), error_number::kOwn,
                HasSubstr(DefaultIni()));
  EXPECT_EQ(view_->GetSettings(), before);
}

TEST_F(ServerTest, TheWindowsSeeWhatTheServerIsAndDoes) {
  Configure(DefaultIni());
  std::ofstream(exeFolder_ + "/context.xml")
      << "<Context><DataServer><ODBCDrivers>^SQLite</ODBCDrivers></DataServer></Context>";
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  std::vector<std::string> seen;
  queues_.Idle([&] {
    seen = {view_->ApplicationTitle(), view_->ProductName(),
            view_->Version(),          view_->StatusText(),
            view_->ButtonAction(),     std::to_string(view_->RequestCount()),
            view_->DriverPattern(),    view_->GetSettings().ConnectionString};
    EXPECT_FALSE(view_->StopRequested());
    EXPECT_FALSE(view_->Unattended());
    EXPECT_EQ(view_->StartTime(), server_.State().startTime);
    stop_ = true;
    EXPECT_TRUE(view_->StopRequested());
  });
  Run("");
  EXPECT_THAT(seen,
              ElementsAre("ODBC Data Server", "Korvanta", "1.0.0", "Running", "STOP", "1", "^SQLite", "DSN=test"));
}

TEST_F(ServerTest, WithoutAContextDocumentThereIsNoDriverPattern) {
  Run("mode=config");
  EXPECT_EQ(view_->DriverPattern(), "");
}

TEST_F(ServerTest, TheStateTellsWhatHappened) {
  Configure(DefaultIni());
  queues_.Receive("m1", "<XML><Type>Ping</Type></XML>");
  const Date before = LocalNow();
  Run("");
  EXPECT_EQ(server_.State().requestCount, 1);
  EXPECT_EQ(server_.State().statusText, "Stopped");
  EXPECT_GE(server_.State().startTime.seconds, before.seconds);
}

TEST(Components, TheServerRegistersItsOwn) {
  ComponentRegistry components;
  RegisterComponents(components);
  EXPECT_EQ(components.Create("Halvik.Queue")->TypeName(), "IHalvikQueue");
  EXPECT_EQ(components.Create("ADODB.Connection")->TypeName(), "Connection");
}

}  // namespace
}  // namespace ods
