// A server started by hand, with its windows on a real X server, and a robot in front of it.
#include <QAbstractItemView>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

#include "common/ComponentRegistry.h"
#include "common/Files.h"
#include "desktop/Robot.h"
#include "desktop/XServer.h"
#include "e2e/ServerProcess.h"
#include "log/Trace.h"
#include "platform/system/System.h"
#include "server/modMain.h"
#include "ui/SwitchingUserInterface.h"
#include "ui/windows/DesktopUserInterface.h"

namespace ods::test {
namespace {

/// An ODBC configuration of the test's own: the machine's drivers, and one data source named Sales.
class OdbcConfiguration {
 public:
  explicit OdbcConfiguration(const std::string& database) {
    const char* machines = std::getenv("ODBCSYSINI");
    std::filesystem::copy(std::string(machines == nullptr ? "/etc" : machines) + "/odbcinst.ini",
                          folder_.Path() + "/odbcinst.ini");
    WriteTextFile(folder_.Path() + "/odbc.ini", "");
    WriteTextFile(folder_.Path() + "/user.ini",
                  "[ODBC Data Sources]\nSales=SQLite3\n\n[Sales]\nDriver=SQLite3\nDatabase=" + database + "\n");
    setenv("ODBCSYSINI", folder_.Path().c_str(), 1);
    setenv("ODBCINI", (folder_.Path() + "/user.ini").c_str(), 1);
  }

 private:
  TemporaryFolder folder_;
};

class Windows : public ::testing::Test {
 protected:
  Windows() : odbc_(Database()) {
    setenv("DISPLAY", screen_.Display().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("XDG_RUNTIME_DIR", folders_.Root().c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folders_.Root() + "/settings").c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
  }

  [[nodiscard]] std::string Database() const { return folders_.Root() + "/sales.db"; }

  /// Runs a server until it ends, while `work` goes on beside it; whatever goes wrong there stops the server.
  void RunServer(const std::function<void(Robot&)>& work) {
    std::atomic<bool> stop = false;
    std::thread worker([&] {
      try {
        Robot robot;
        work(robot);
      } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
        stop = true;
      }
    });
    RunServerProgram(stop);
    worker.join();
  }

  /// What the program does, with the windows linked in: so the robot can look at them.
  void RunServerProgram(const std::atomic<bool>& stop) {
    SwitchingUserInterface ui;
    Tracer tracer(ui);
    ui.SetTracer(tracer);
    ComponentRegistry components;
    RegisterComponents(components);
    Server server(
        {ui, tracer, components, ExecutablePath(), [&] { return stop.load(); },
         [&](ServerView& view) { ui.SwitchTo(std::make_unique<DesktopUserInterface>(view, components), view); }});
    server.Run("/instance=desktop /datafolder=" + folders_.Root() + "/data /inqueue=" + folders_.Requests() +
               " /outqueue=" + folders_.Results());
  }

  /// Where pictures of the windows are wanted, they are taken.
  static void Picture(Robot& robot, const std::string& window) {
    if (const char* folder = std::getenv("ODS_TEST_PICTURES")) {
      robot.TakePicture(window, std::string(folder) + "/" + window + ".png");
    }
  }

  ServerFolders folders_;
  XServer screen_;
  OdbcConfiguration odbc_;
};

int Rows(const char* list) {
  const auto* view = qobject_cast<QAbstractItemView*>(Robot::Find(list));
  return view == nullptr ? -1 : view->model()->rowCount();
}

TEST_F(Windows, StartedByHandItIsConfiguredWorksIsWatchedAndStopped) {
  RunServer([&](Robot& robot) {
    // Nothing is configured: the options dialog and a box that says what to do.
    robot.WaitForActiveWindow("Korvanta");
    EXPECT_EQ(robot.TextOfBox(), "Please select an ODBC data source.");
    robot.Press({"Return"});

    // A data source is chosen, tested and accepted.
    robot.WaitForActiveWindow("Configure ODBC Data Server");
    EXPECT_EQ(robot.TextOf("cmbDSN"), "");
    robot.Click("cmbDSN");
    robot.Press({"Down"});
    robot.WaitForText("cmbDSN", "Sales");
    robot.WaitForText("txtConnectionString", "DSN=Sales;UID=;PWD=");
    robot.Click("cmdTestConnection");
    robot.WaitForActiveWindow("Test Connection");
    EXPECT_EQ(robot.TextOfBox(), "Connection is ok!");
    robot.Press({"Return"});
    robot.WaitForActiveWindow("Configure ODBC Data Server");
    Picture(robot, "frmConfigure");
    robot.Click("cmdOK");

    // The server runs, and counts what it is asked.
    robot.WaitForText("lblStatus", "Running");
    robot.WaitForText("cmdStart", "&Stop");
    EXPECT_NE(ReadFileText(folders_.Config() + "/dataserver.xml").find("DSN=Sales;UID=;PWD="), std::string::npos);
    QueueClient client(folders_);
    for (int i = 0; i < 999; ++i) EXPECT_NE(client.Ask(kPing).find("<Ping>OK</Ping>"), std::string::npos);

    // The trace log collects from its activation on.
    robot.Click("lblVersion");
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+t", "l"});
    robot.WaitForActiveWindow("Trace Log");
    EXPECT_EQ(robot.InWindows([] { return Rows("lvTrace"); }), 0);
    EXPECT_NE(client.Ask(Request("TableList")).find("<Tables"), std::string::npos);
    robot.WaitUntil("The entry of the request", [] { return Rows("lvTrace") > 0; });
    robot.WaitForText("lblRequests", "1000");
    Picture(robot, "frmMain");
    Picture(robot, "frmTraceLog");
    robot.Click("cmdClose");
    robot.WaitUntil("The end of the trace log", [] { return Robot::Find("lvTrace") == nullptr; });

    // The button ends the server.
    robot.Click("cmdStart");
  });
}

}  // namespace
}  // namespace ods::test
