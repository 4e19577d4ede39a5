// A server started by hand, with its windows on a real X server, and a robot in front of it.
#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QToolTip>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <vector>

#include "common/ComponentRegistry.h"
#include "desktop/Robot.h"
#include "desktop/XServer.h"
#include "e2e/ServerProcess.h"
#include "log/Trace.h"
#include "platform/ado/Ado.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "server/modMain.h"
#include "support/OdbcFolder.h"
#include "support/PlainUser.h"
#include "support/SilentListener.h"
#include "ui/SwitchingUserInterface.h"
#include "ui/windows/DesktopUserInterface.h"
#include "ui/windows/frmConfigure.h"

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
    if (onConnect_) {
      components.Register("ADODB.Connection", [this]() -> std::shared_ptr<Object> {
        onConnect_();
        return CreateOdbcConnection();
      });
    }
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
  /// The same in the windows' own thread.
  static void PictureHere(const std::string& window, const std::string& name) {
    if (!WantsPictures()) return;
    const QRect frame = Robot::Find(window)->frameGeometry();
    Robot::OnScreen(frame).save(QString::fromStdString(std::getenv("ODS_TEST_PICTURES") + ("/" + name + ".png")));
  }

  /// What happens in the windows' thread when the server, or a test of a connection, begins to connect.
  std::function<void()> onConnect_;
  ServerFolders folders_;
  XServer screen_;
  EnvironmentValue display_{"DISPLAY", screen_.Display()};
  EnvironmentValue platform_{"QT_QPA_PLATFORM", "xcb"};
  EnvironmentValue runtimeFolder_{"XDG_RUNTIME_DIR", folders_.Root()};
  std::string drivers_ = MachinesDrivers();
  OdbcFolder odbc_;  // and the user's settings are in its folder too
  EnvironmentValue settings_{"XDG_CONFIG_HOME", odbc_.Path()};
};

/// The middle of the description in a row of a list, on the screen.
QPoint MiddleOf(const char* list, int row) {
  const auto* view = qobject_cast<QAbstractItemView*>(Robot::Find(list));
  return view->viewport()->mapToGlobal(view->visualRect(view->model()->index(row, 1)).center());
}

/// The row of the trace log with a long description, as soon as there is one.
int LongestRow(Robot& robot) {
  int found = -1;
  robot.WaitUntil("A long entry", [&found] {
    const auto* model = qobject_cast<QAbstractItemView*>(Robot::Find("lvTrace"))->model();
    for (int row = 0; row < model->rowCount() && found < 0; ++row) {
      if (model->index(row, 1).data().toString().size() > 1000) found = row;
    }
    return found >= 0;
  });
  return found;
}

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
    const std::string table = "<TableId>[TABLE]customer</TableId>";
    for (const std::string& request :
         {Request("TableList"), Request("FieldList", table), Request("PrimaryKey", table),
          Request("TableData", table + "<PrimaryKey>no</PrimaryKey><PageSize>10</PageSize><Navigate>gotofirst"
                                       "</Navigate><Fields><Field><Id>name</Id></Field></Fields>")}) {
      (void)client.AskDocument(request);
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
    const std::string id = client.Send(
        Request("TableData", "<TableId>[TABLE]nothing</TableId><Fields><Field><Id>no</Id></Field></Fields>"));
    while (std::filesystem::exists(folders_.Requests() + "/new/" + id + ".xml")) std::this_thread::yield();
    // Once more as long as there is no answer: a busy window manager may lose a key.
    const std::string answer = folders_.Results() + "/new/" + id + ".xml";
    for (int i = 0; i < 10 && !std::filesystem::exists(answer); ++i) {
      robot.Press({"alt+F4"});
      std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
    EXPECT_NE(client.Receive(id).find("<DataSession>"), std::string::npos);
  });
}

TEST_F(Windows, WhileTheServerConnectsItsWindowLivesAndEndsIt) {
  const SilentListener listener;
  folders_.Configure("Driver=PostgreSQL Unicode" + listener.Target());
  RunServer(
      [&](Robot& robot) {
        robot.WaitForText("lblStatus", "Connect to Database");
        robot.WaitForActiveWindow("ODBC Data Server");
        robot.Press({"alt+t", "l"});
        robot.WaitForActiveWindow("Trace Log");
        robot.WaitForText("lblStatus", "Connect to Database");
        if (WantsPictures()) {
          robot.TakePicture("frmMain", std::getenv("ODS_TEST_PICTURES") + std::string("/frmMain-connecting.png"));
        }
        robot.Click("cmdClose");
        robot.WaitUntil("The end of the trace log", [] { return Robot::Find("lvTrace") == nullptr; });
        robot.WaitForActiveWindow("ODBC Data Server");
        robot.Press({"alt+f", "x"});
      },
      "/connecttimeout=0");
  EXPECT_NE(folders_.LogText().find("'Exit main loop'"), std::string::npos);
}

TEST_F(Windows, ATestOfAConnectionCanBeCancelled) {
  const SilentListener listener;
  folders_.Configure("Driver=PostgreSQL Unicode" + listener.Target());
  RunServer(
      [&](Robot& robot) {
        robot.WaitForActiveWindow("Configure ODBC Data Server");
        robot.WaitForText("txtConnectionString", "Driver=PostgreSQL Unicode" + listener.Target());
        robot.Click("cmdTestConnection");
        robot.WaitUntil("The test", [] {
          const auto* const dialog = dynamic_cast<frmConfigure*>(Robot::Find("frmConfigure"));
          return dialog != nullptr && dialog->IsTesting();
        });
        robot.Click("cmdCancel");
      },
      "/mode=config /connecttimeout=0");
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

/// What somebody sees of the main window while no window event runs.
struct SeenMainWindow {
  std::string status;
  std::string button;
  bool isWaitCursor = false;
  /// The screen shows what the window would paint now.
  bool isPainted = false;

  static SeenMainWindow Look() {
    QWidget* window = Robot::Find("frmMain");
    if (window == nullptr) return {};
    SeenMainWindow seen;
    seen.status = window->findChild<QLabel*>("lblStatus")->text().toStdString();
    seen.button = window->findChild<QPushButton*>("cmdStart")->text().toStdString();
    const QCursor* cursor = QGuiApplication::overrideCursor();
    seen.isWaitCursor = cursor != nullptr && cursor->shape() == Qt::WaitCursor;
    const QImage onScreen = Robot::OnScreen(window->geometry());
    seen.isPainted = onScreen == window->grab().toImage().convertToFormat(QImage::Format_RGB32);
    return seen;
  }
};

TEST_F(Windows, WhileTheServerConnectsTheMainWindowTellsIt) {
  folders_.Configure("DSN=Sales");
  SeenMainWindow seen;
  onConnect_ = [&] {
    seen = SeenMainWindow::Look();
    PictureHere("frmMain", "frmMain-connecting");
  };
  RunServer([](Robot& robot) {
    robot.WaitForText("lblStatus", "Running");
    EXPECT_EQ(robot.InWindows([] { return QGuiApplication::overrideCursor(); }), nullptr);
    robot.Click("cmdStart");
  });
  EXPECT_EQ(seen.status, "Connect to Database");
  EXPECT_EQ(seen.button, "&Stop");
  EXPECT_TRUE(seen.isWaitCursor);
  EXPECT_TRUE(seen.isPainted);
}

TEST_F(Windows, TheOptionsDialogIsOffTheScreenWhileTheServerConnects) {
  SeenMainWindow seen;
  QRect dialog;
  bool isUncovered = false;
  onConnect_ = [&] {
    seen = SeenMainWindow::Look();
    // All that is left of the dialog's place is the desktop, of one colour, and the main window.
    QImage screen = Robot::OnScreen(QGuiApplication::primaryScreen()->geometry());
    const QRgb desktop = screen.pixel(screen.width() - 2, screen.height() - 2);
    const QRect window = Robot::Find("frmMain")->frameGeometry();
    isUncovered = !dialog.isEmpty();
    for (int y = dialog.top(); y <= dialog.bottom(); ++y) {
      for (int x = dialog.left(); x <= dialog.right(); ++x) {
        isUncovered = isUncovered && (window.contains(x, y) || screen.pixel(x, y) == desktop);
      }
    }
  };
  RunServer([&](Robot& robot) {
    robot.WaitForActiveWindow("Korvanta");
    robot.Press({"Return"});
    robot.WaitForActiveWindow("Configure ODBC Data Server");
    robot.Click("cmbDSN");
    robot.Press({"Down"});
    robot.WaitForText("cmbDSN", "Sales");
    robot.InWindows([&] {
      dialog = Robot::Find("frmConfigure")->frameGeometry();
      return true;
    });
    robot.Click("cmdOK");
    // It said "Running" before, too: that means that requests are taken.
    robot.WaitUntil("The connect", [&] { return !seen.status.empty(); });
    robot.Click("cmdStart");
  });
  EXPECT_EQ(seen.status, "Connect to Database");
  EXPECT_TRUE(seen.isWaitCursor);
  EXPECT_TRUE(seen.isPainted);
  EXPECT_TRUE(isUncovered);
}

TEST_F(Windows, WhileADatabaseDoesNotAnswerTheWindowsLiveAndCancelAnswers) {
  // Longer than the robot needs, and no longer: the driver's threads have to be gone at the end.
  const std::string string =
      "Driver=" ODS_PRODUCT_DRIVER ";Product=Slow;HangConnect=1;HangMilliseconds=12000;Database=" + Database();
  folders_.Configure(string);
  RunServer(
      [&](Robot& robot) {
        robot.WaitForText("lblStatus", "Connect to Database");
        Picture(robot, "frmMain");
        robot.Click("lblVersion");
        robot.WaitForActiveWindow("ODBC Data Server");
        robot.Press({"alt+t", "o"});
        robot.Click("txtUserId");
        robot.Type("ann");
        robot.WaitForText("txtUserId", "ann");
        // The server's own connect waits still; a test of the connection waits beside it.
        robot.InWindows([&] {
          qobject_cast<QLineEdit*>(Robot::Find("txtConnectionString"))->setText(QString::fromStdString(string));
          return true;
        });
        robot.Click("cmdTestConnection");
        robot.Click("cmdCancel");
        robot.WaitUntil("The end of the dialog", [] { return Robot::Find("frmConfigure") == nullptr; });
        EXPECT_EQ(robot.TextOf("lblStatus"), "Connect to Database");
        robot.Click("cmdStart");
      },
      "/connecttimeout=300");
  for (int tries = 0; tries < 3000 && DriverCallsAreStuck(); ++tries) SleepMilliseconds(10);
  EXPECT_FALSE(DriverCallsAreStuck());
}

TEST_F(Windows, ALongConnectionStringIsWholeInTheBox) {
  std::string connectionString = "DSN=Nowhere;Option=";
  while (connectionString.size() < 1500) connectionString += "0123456789";
  folders_.Configure(connectionString);
  RunServer([&](Robot& robot) {
    robot.WaitForActiveWindow("Korvanta");
    EXPECT_NE(robot.TextOfBox().find("Connection string is " + connectionString + "\n-2147467259"), std::string::npos);
    EXPECT_TRUE(robot.InWindows([] {
      const QWidget* box = Robot::Find("messageBox");
      return box->screen()->availableGeometry().contains(box->frameGeometry());
    }));
    Picture(robot, "messageBox");
    robot.Press({"Return"});
    robot.WaitForActiveWindow("Configure ODBC Data Server");
    robot.Press({"Escape"});
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+f", "x"});
  });
}

TEST_F(Windows, AWholeEntryOfTheTraceLogIsCopiedAndShown) {
  folders_.Configure("DSN=Sales");
  RunServer([&](Robot& robot) {
    robot.WaitForText("lblStatus", "Running");
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+t", "l"});
    robot.WaitForActiveWindow("Trace Log");
    QueueClient client(folders_);
    const std::string type = "<img src='/dev/zero'> " + std::string(1 << 20, 'x');
    (void)client.Ask(
        Malformed("<XML><Type>&lt;img src='/dev/zero'&gt; " + std::string(1 << 20, 'x') + "</Type></XML>"));
    EXPECT_NE(client.Ask(kPing).find("<Ping>OK</Ping>"), std::string::npos);
    const int row = LongestRow(robot);
    ASSERT_GE(row, 0) << "the type of the request is traced";
    // The tool tip, the context menu, the double click.
    robot.MoveTo(robot.InWindows([row] { return MiddleOf("lvTrace", row); }));
    robot.WaitUntil("The tool tip", [] { return QToolTip::isVisible(); });
    EXPECT_LT(robot.InWindows([] { return QToolTip::text().size(); }), 8000);
    Picture(robot, "qtooltip_label");
    robot.ClickAt(robot.InWindows([row] { return MiddleOf("lvTrace", row); }), 3);
    robot.WaitUntil("The context menu", [] { return QApplication::activePopupWidget() != nullptr; });
    robot.Press({"c"});
    robot.WaitUntil("The copy",
                    [&] { return QGuiApplication::clipboard()->text().toStdString().find(type) != std::string::npos; });
    robot.ClickAt(robot.InWindows([row] { return MiddleOf("lvTrace", row); }), 1, 2);
    robot.WaitForWidget("txtEntry");
    EXPECT_NE(
        robot
            .InWindows([] {
              return qobject_cast<QPlainTextEdit*>(Robot::Find("txtEntry"))->toPlainText().remove('\n').toStdString();
            })
            .find(type),
        std::string::npos);
    Picture(robot, "frmTraceEntry");
    robot.Press({"Escape"});
    robot.WaitForActiveWindow("Trace Log");
    robot.Press({"alt+F4"});
    robot.WaitForActiveWindow("ODBC Data Server");
    robot.Press({"alt+f", "x"});
  });
}

// The program itself, as a desktop starts it

/// Waits for a window of another program, closes it with Return, and gives the program's exit status.
int CloseBoxOf(std::future<int>& program, const std::string& title) {
  EXPECT_EQ(RunProgram({"timeout", "20", "xdotool", "search", "--sync", "--onlyvisible", "--name", title}), 0);
  // The box may not have the keyboard yet.
  for (int tries = 0; tries < 100; ++tries) {
    EXPECT_EQ(RunProgram({"xdotool", "key", "Return"}), 0);
    if (program.wait_for(std::chrono::milliseconds(200)) == std::future_status::ready) return program.get();
  }
  ADD_FAILURE() << "The end of the program did not happen in time";
  return -1000;
}

TEST_F(Windows, AStartThatFailsIsToldInABoxToo) {
  const std::string told = folders_.Root() + "/told";
  WriteTextFile(folders_.Root() + "/file", "in the way");
  auto program = std::async(std::launch::async, [&] {
    return RunProgram({"/bin/sh", "-c", "exec \"$@\" 2> '" + told + "'", "sh", ODS_SERVER_PROGRAM,
                       "/datafolder=" + folders_.Root() + "/file"});
  });
  EXPECT_EQ(CloseBoxOf(program, "^ODBC Data Server$"), 1);
  EXPECT_NE(ReadFileText(told).find("odbc-data-server: "), std::string::npos);
  EXPECT_NE(ReadFileText(told).find(folders_.Root() + "/file"), std::string::npos);
}

bool Exists(const std::string& path) { return std::filesystem::exists(path); }

TEST_F(Windows, InstalledForEverybodyItWorksForAPlainUser) {
  namespace fs = std::filesystem;
  const std::string prefix = folders_.Root() + "/prefix";
  ASSERT_EQ(RunProgram({ODS_CMAKE, "--install", ODS_BINARY_FOLDER, "--prefix", prefix}), 0);
  EXPECT_TRUE(Exists(prefix + "/share/applications/odbc-data-server.desktop"));
  EXPECT_TRUE(Exists(prefix + "/share/icons/hicolor/48x48/apps/odbc-data-server.png"));
  EXPECT_TRUE(Exists(prefix + "/share/icons/hicolor/scalable/apps/odbc-data-server.svg"));
  EXPECT_TRUE(Exists(prefix + "/bin/odbc-data-client"));

  const std::string home = folders_.Root() + "/home";
  fs::create_directory(home);
  for (const std::string& folder : {folders_.Root(), odbc_.Path(), prefix + "/bin"}) {
    fs::permissions(folder, fs::perms(0555));
  }
  std::vector<std::string> command = {"env", "PATH=" + prefix + "/bin:" + EnvironmentVariable("PATH"),
                                      "odbc-data-server"};  // as the desktop entry has it
  if (geteuid() == 0) {
    ASSERT_EQ(chown(home.c_str(), kNobody, kNobody), 0);
    const std::string nobody = std::to_string(kNobody);
    command.insert(command.begin(), {"setpriv", "--reuid", nobody, "--regid", nobody, "--clear-groups"});
  }
  const EnvironmentValue homeFolder("HOME", home);
  const EnvironmentValue data("XDG_DATA_HOME", "");
  const EnvironmentValue config("XDG_CONFIG_HOME", "");
  const EnvironmentValue temp("TEMP", "");
  const EnvironmentValue tmp("TMP", "");
  {
    ServerProcess server(command);
    // It asks for a data source, as any server does that has none.
    EXPECT_EQ(RunProgram({"timeout", "20", "xdotool", "search", "--sync", "--onlyvisible", "--name", "^Korvanta$"}), 0);
    EXPECT_TRUE(server.IsRunning());
    EXPECT_TRUE(Exists(home + "/.local/share/Korvanta/Logs"));
    EXPECT_TRUE(Exists(home + "/.local/share/Korvanta/Temp/" + std::to_string(server.Pid()) + "/Queue/Requests"));
    EXPECT_TRUE(Exists(home + "/.config/Korvanta/dataserver.xml"));
    EXPECT_EQ(server.Stop(), 0);
  }
  EXPECT_FALSE(Exists(prefix + "/bin/Data"));
  for (const std::string& folder : {folders_.Root(), odbc_.Path(), prefix + "/bin"}) {
    fs::permissions(folder, fs::perms(0700));
  }
}

}  // namespace
}  // namespace ods::test
