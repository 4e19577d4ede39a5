// With and without windows: what the real executable loads, and what it says where it can show none. What the windows
// do is tested elsewhere; here they are drawn into memory.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::test {
namespace {

namespace fs = std::filesystem;

const std::string kModule = "odbc-data-server-windows.so";

bool IsModuleBuilt() { return fs::exists(fs::path(ODS_SERVER_PROGRAM).parent_path() / kModule); }

/// The files that a process has mapped into its memory.
std::string MapsOf(pid_t pid) { return ReadFileText("/proc/" + std::to_string(pid) + "/maps"); }

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// An environment variable with a value, or without one, as long as the object lives.
class Variable {
 public:
  Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    Put(value);
  }
  ~Variable() { Put(before_); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  Variable(Variable&&) = delete;
  Variable& operator=(Variable&&) = delete;

 private:
  void Put(const std::optional<std::string>& value) {
    if (value) {
      setenv(name_, value->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> before_;
};

/// A server that is to show windows, on the display that the environment names.
class WindowsModule : public ::testing::Test {
 protected:
  WindowsModule() {
    // One driver, so that the options dialog has nothing to complain of, and settings of the test's own.
    WriteTextFile(folders_.Root() + "/odbc/odbcinst.ini", "[Test driver]\nDriver=libtest.so\n");
  }

  [[nodiscard]] std::string OwnDatabase() const { return "Driver=SQLite3;Database=" + folders_.Root() + "/own.db"; }
  [[nodiscard]] std::string Errors() const { return ReadFileText(folders_.Root() + "/errors.txt"); }

  /// The command line of a server that is not hidden, its standard error going to a file.
  [[nodiscard]] std::vector<std::string> CommandLine(const std::vector<std::string>& moreArguments = {},
                                                     const std::string& program = ODS_SERVER_PROGRAM) const {
    std::vector<std::string> arguments = {"/bin/sh",
                                          "-c",
                                          "exec \"$0\" \"$@\" 2>'" + folders_.Root() + "/errors.txt'",
                                          program,
                                          "/instance=e2e",
                                          "/datafolder=" + folders_.Root() + "/data",
                                          "/inqueue=" + folders_.Requests(),
                                          "/outqueue=" + folders_.Results()};
    arguments.insert(arguments.end(), moreArguments.begin(), moreArguments.end());
    return arguments;
  }

  /// Starts the server where no window can be shown: it ends by itself, and says why.
  void ExpectNoWindow(const std::string& reason, const std::string& program = ODS_SERVER_PROGRAM) {
    folders_.Configure(OwnDatabase());
    EXPECT_EQ(RunProgram(CommandLine({}, program)), 1);
    EXPECT_TRUE(Holds(Errors(), "odbc-data-server: No window can be shown: ")) << Errors();
    EXPECT_TRUE(Holds(Errors(), reason)) << Errors();
    EXPECT_TRUE(Holds(Errors(), "Give the parameter \"hidden\" to run the server without windows.")) << Errors();
    EXPECT_FALSE(fs::exists(folders_.Root() + "/own.db")) << "the database was touched";
    EXPECT_FALSE(fs::exists(folders_.Requests())) << "the queue was touched";
  }

  [[nodiscard]] bool HasLogged(const std::string& entry) const { return Holds(folders_.LogText(), "'" + entry + "'"); }

  ServerFolders folders_;
  Variable display_{"DISPLAY", std::nullopt};
  Variable wayland_{"WAYLAND_DISPLAY", std::nullopt};
  Variable platform_{"QT_QPA_PLATFORM", std::nullopt};
  Variable settings_{"XDG_CONFIG_HOME", folders_.Root() + "/settings"};
};

TEST_F(WindowsModule, TheProgramItselfNeedsNoLibraryOfTheWindows) {
  EXPECT_FALSE(Holds(ReadFileText(ODS_SERVER_PROGRAM), "libQt"));
}

TEST_F(WindowsModule, AHiddenServerLoadsNoLibraryOfTheWindows) {
  const Variable display("QT_QPA_PLATFORM", "offscreen");
  folders_.Configure(OwnDatabase());
  ServerProcess server(folders_);
  QueueClient client(folders_);
  (void)client.Ask(kPing);
  const std::string maps = MapsOf(server.Pid());
  EXPECT_TRUE(Holds(maps, "libodbc")) << "the maps are read";
  EXPECT_FALSE(Holds(maps, "libQt")) << maps;
  EXPECT_FALSE(Holds(maps, kModule)) << maps;
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(WindowsModule, WithoutADisplayTheServerSaysSoAndEnds) {
  ExpectNoWindow("there is no display (neither DISPLAY nor WAYLAND_DISPLAY is set).");
  EXPECT_TRUE(Holds(folders_.LogText(), "Error: No window can be shown: ")) << folders_.LogText();
}

TEST_F(WindowsModule, WithADisplayThatCannotBeOpenedTheServerSaysSoAndEnds) {
  if (!IsModuleBuilt()) GTEST_SKIP() << "built without windows";
  const Variable display("DISPLAY", ":60123");
  ExpectNoWindow("the display cannot be opened.");
}

TEST_F(WindowsModule, WithAPlatformThatIsNotThereTheServerSaysSoAndEnds) {
  if (!IsModuleBuilt()) GTEST_SKIP() << "built without windows";
  const Variable display("QT_QPA_PLATFORM", "nonsense");
  ExpectNoWindow("the display cannot be opened.");
}

TEST_F(WindowsModule, WithoutItsModuleTheServerSaysSoAndEnds) {
  const Variable display("QT_QPA_PLATFORM", "offscreen");
  const std::string program = folders_.Root() + "/bin/odbc-data-server";
  fs::create_directory(folders_.Root() + "/bin");
  fs::copy_file(ODS_SERVER_PROGRAM, program);
  ExpectNoWindow("the module " + kModule + " is neither in " + folders_.Root() + "/bin", program);
}

TEST_F(WindowsModule, ForTheConfigurationAWindowIsWantedToo) {
  EXPECT_EQ(RunProgram(CommandLine({"/mode=config"})), 1);
  EXPECT_TRUE(Holds(Errors(), "\"hidden\"")) << Errors();
}

/// A server with its windows.
class ShownServer : public WindowsModule {
 protected:
  void SetUp() override {
    if (!IsModuleBuilt()) GTEST_SKIP() << "built without windows";
  }

  Variable display_{"QT_QPA_PLATFORM", "offscreen"};
};

TEST_F(ShownServer, LoadsItsWindowsAndAnswersLikeAnyOther) {
  folders_.Configure(OwnDatabase());
  ServerProcess server(CommandLine());
  QueueClient client(folders_);
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Ping"), "OK");
  EXPECT_TRUE(Holds(MapsOf(server.Pid()), "libQt6Widgets"));
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_TRUE(HasLogged("Stop"));
  EXPECT_TRUE(fs::is_empty(folders_.Requests() + "/cur"));
}

TEST_F(ShownServer, WatchedByAControllerItShowsItsWindowButNoBox) {
  const Variable drivers("ODBCSYSINI", folders_.Root() + "/odbc");
  ServerProcess server(CommandLine({"/runningmutex=e2e shown " + NewGuidText()}));
  QueueClient client(folders_);
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Error"), "1000") << "no box holds it up";
  EXPECT_TRUE(Holds(MapsOf(server.Pid()), "libQt6Widgets"));
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(ShownServer, StopsAlsoWhileABoxIsOpen) {
  const Variable drivers("ODBCSYSINI", folders_.Root() + "/odbc");
  ServerProcess server(CommandLine());
  // Nothing is configured: a box says so, and the loop waits for it to be closed.
  ASSERT_TRUE(Eventually([&] { return HasLogged("Mode: run"); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_FALSE(HasLogged("Enter main loop"));
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_TRUE(HasLogged("Exit main loop"));
}

TEST_F(ShownServer, StopsAlsoWhileABoxAboutTheConnectionIsOpen) {
  folders_.Configure("Driver=No such driver");
  ServerProcess server(CommandLine());
  ASSERT_TRUE(Eventually([&] { return Holds(folders_.LogText(), "'Error connecting to database."); }));
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_TRUE(HasLogged("Exit main loop"));
}

TEST_F(ShownServer, TheConfigurationModeLivesWhileItsDialogIsOpen) {
  const Variable drivers("ODBCSYSINI", folders_.Root() + "/odbc");
  ServerProcess server(CommandLine({"/mode=config"}));
  ASSERT_TRUE(Eventually([&] { return HasLogged("Stop"); })) << "the end of the start-up";
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(server.IsRunning());
  EXPECT_FALSE(fs::exists(folders_.Requests() + "/new")) << "nobody works at the queue";
  EXPECT_EQ(server.Stop(), 0);
}

}  // namespace
}  // namespace ods::test
