// A server started by hand, with its windows on a real X server, and a robot in front of it.
#include <QAbstractItemView>
#include <QSettings>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "common/ComponentRegistry.h"
#include "common/Files.h"
#include "desktop/Robot.h"
#include "desktop/XServer.h"
#include "e2e/ServerProcess.h"
#include "log/Trace.h"
#include "platform/system/System.h"
#include "server/modMain.h"
#include "support/OdbcFolder.h"
#include "ui/SwitchingUserInterface.h"
#include "ui/windows/DesktopUserInterface.h"

namespace ods::test {
namespace {

/// The path of the machine's list of drivers, looked for before the test has a list of its own.
std::string MachinesDrivers() {
  const char* folder = std::getenv("ODBCSYSINI");
  return std::string(folder == nullptr ? "/etc" : folder) + "/odbcinst.ini";
}

class Windows : public ::testing::Test {
 protected:
  Windows() {
    if (const char* sample = std::getenv("ODS_TEST_SQLITE_SAMPLE")) {
      std::filesystem::copy(sample, Database());
    } else {
      WriteTextFile(Database(), "");
    }
    std::filesystem::copy(drivers_, odbc_.DriversFile());
    OdbcFolder::Write(odbc_.UserFile(), "[Sales]\nDriver=SQLite3\nDatabase=" + Database() + "\n");
  }

  [[nodiscard]] std::string Database() const { return folders_.Root() + "/sales.db"; }

  /// Runs a server until it ends, while `work` goes on beside it; whatever goes wrong there stops the server.
  void RunServer(const std::function<void(Robot&)>& work, const std::string& moreArguments = "") {
    std::atomic<bool> stop = false;
    std::promise<void> end;
    std::thread worker([&, ended = end.get_future()] {
      try {
        Robot robot;
        work(robot);
        if (ended.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
          throw std::runtime_error("The end of the server did not happen in time");
        }
      } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
        stop = true;
      }
    });
    RunServerProgram(stop, moreArguments);
    end.set_value();
    worker.join();
  }

  /// What the program does, with the windows linked in: so the robot can look at them.
  void RunServerProgram(const std::atomic<bool>& stop, const std::string& moreArguments) {
    SwitchingUserInterface ui;
    Tracer tracer(ui);
    ui.SetTracer(tracer);
    ComponentRegistry components;
    RegisterComponents(components);
    Server server(
        {ui, tracer, components, ExecutablePath(), [&] { return stop.load(); },
         [&](ServerView& view) { ui.SwitchTo(std::make_unique<DesktopUserInterface>(view, components), view); }});
    server.Run("/instance=desktop /datafolder=" + folders_.Root() + "/data /inqueue=" + folders_.Requests() +
               " /outqueue=" + folders_.Results() + " " + moreArguments);
  }

  /// Where pictures of the windows are wanted, they are taken, with columns as wide as somebody may have made them.
  static bool WantsPictures() { return std::getenv("ODS_TEST_PICTURES") != nullptr; }
  static void WidenTraceLog() {
    QSettings settings("Korvanta", "ODBC Data Server");
    settings.setValue("Settings/Trace.Headers.Time.Width", 2150);
    settings.setValue("Settings/Trace.Headers.Description.Width", 5050);
    settings.setValue("Settings/Trace.Headers.Info.Width", 600);
  }
  static void Picture(Robot& robot, const std::string& window) {
    if (WantsPictures()) robot.TakePicture(window, std::getenv("ODS_TEST_PICTURES") + ("/" + window + ".png"));
  }

  ServerFolders folders_;
  XServer screen_;
  EnvironmentValue display_{"DISPLAY", screen_.Display()};
  EnvironmentValue platform_{"QT_QPA_PLATFORM", "xcb"};
  EnvironmentValue runtimeFolder_{"XDG_RUNTIME_DIR", folders_.Root()};
  std::string drivers_ = MachinesDrivers();
  OdbcFolder odbc_;  // and the user's settings are in its folder too
  EnvironmentValue settings_{"XDG_CONFIG_HOME", odbc_.Path()};
};

int Rows(const char* list) {
  const auto* view = qobject_cast<QAbstractItemView*>(Robot::Find(list));
  return view == nullptr ? -1 : view->model()->rowCount();
}

bool NewestRowIsInView(const char* list) {
  const auto* view = qobject_cast<QAbstractItemView*>(Robot::Find(list));
  return view->viewport()->rect().intersects(view->visualRect(view->model()->index(Rows(list) - 1, 0)));
}

TEST_F(Windows, StartedByHandItIsConfiguredWorksIsWatchedAndStopped) {
  if (WantsPictures()) WidenTraceLog();
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
    for (int i = 0; i < 996; ++i) EXPECT_NE(client.Ask(kPing).find("<Ping>OK</Ping>"), std::string::npos);

    // The trace log collects from its activation on.
    robot.Click("lblVersion");
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+t", "l"});
    robot.WaitForActiveWindow("Trace Log");
    EXPECT_EQ(robot.InWindows([] { return Rows("lvTrace"); }), 0);
    for (const char* type : {"TableList", "FieldList", "PrimaryKey", "TableData"}) {
      (void)client.AskDocument(
          Request(type,
                  "<TableId>[TABLE]customer</TableId><PrimaryKey>no</PrimaryKey><PageSize>10</PageSize>"
                  "<Navigate>gotofirst</Navigate><Fields><Field><Id>name</Id></Field></Fields>"));
    }
    robot.WaitUntil("An entry for each request", [] { return Rows("lvTrace") >= 4; });
    robot.WaitUntil("The newest row in view", [] { return NewestRowIsInView("lvTrace"); });
    robot.WaitForText("lblRequests", "1000");
    Picture(robot, "frmMain");
    Picture(robot, "frmTraceLog");
    robot.Click("cmdClose");
    robot.WaitUntil("The end of the trace log", [] { return Robot::Find("lvTrace") == nullptr; });

    // The button ends the server.
    robot.Click("cmdStart");
  });
}

TEST_F(Windows, AConnectionThatFailsIsToldWithItsErrorAndTheOptionsDialogAppears) {
  folders_.Configure("DSN=Nowhere");
  RunServer([](Robot& robot) {
    robot.WaitForActiveWindow("Korvanta");
    const std::string text = robot.TextOfBox();
    EXPECT_TRUE(text.starts_with(
        "Error connecting to the database.\n"
        "The Options dialog will now appear. Please specify a new database connection or check the existing one.\n"
        "Error Information:\n"
        "Connection string is DSN=Nowhere\n"
        "-2147467259 (0x80004005)\n"))
        << text;
    robot.Press({"Return"});
    robot.WaitForActiveWindow("Configure ODBC Data Server");
    EXPECT_EQ(robot.TextOf("txtConnectionString"), "DSN=Nowhere");
    robot.Press({"Escape"});
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+f", "x"});
  });
}

TEST_F(Windows, TheRequestInHandIsFinishedWhenTheWindowIsClosed) {
  folders_.Configure("Driver=" ODS_PRODUCT_DRIVER ";Product=Slow;DelayStatement=1000;Database=" + Database());
  RunServer([&](Robot& robot) {
    robot.WaitForText("lblStatus", "Running");
    robot.WaitForActiveWindow("ODBC Data Server");
    QueueClient client(folders_);
    const std::string id = client.Send(Request("TableData", "<TableId>[TABLE]nothing</TableId>"));
    while (std::filesystem::exists(folders_.Requests() + "/new/" + id + ".xml")) std::this_thread::yield();
    robot.Press({"alt+F4"});
    EXPECT_NE(client.Receive(id).find("<DataSession>"), std::string::npos);
  });
}

TEST_F(Windows, InModeConfigTheOptionsDialogIsAllThereIs) {
  RunServer(
      [&](Robot& robot) {
        robot.WaitForActiveWindow("Configure ODBC Data Server");
        EXPECT_EQ(robot.InWindows([] { return Robot::Find("frmMain"); }), nullptr);
        robot.Click("txtUserId");
        robot.Type("ann");
        robot.WaitForText("txtConnectionString", "DSN=;UID=ann;PWD=");
        robot.Press({"Return"});
      },
      "/mode=config");
  EXPECT_NE(ReadFileText(folders_.Config() + "/dataserver.xml").find("DSN=;UID=ann;PWD="), std::string::npos);
}

TEST_F(Windows, AnUnknownModeIsToldAndEndsTheServer) {
  RunServer(
      [](Robot& robot) {
        robot.WaitForActiveWindow("Korvanta");
        EXPECT_EQ(robot.TextOfBox(), "Unknown mode specified as command line parameter: dance");
        robot.Press({"Return"});
      },
      "/mode=dance");
}

}  // namespace
}  // namespace ods::test
