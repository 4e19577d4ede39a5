#include "ui/windows/DesktopUserInterface.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QLineEdit>
#include <QPointer>
#include <QTableView>
#include <QWindow>
#include <gtest/gtest.h>
#include <string>

#include "doubles/FakeServerView.h"
#include "support/OdbcFolder.h"
#include "ui/windows/EventCounter.h"
#include "ui/windows/Widgets.h"

namespace ods {
namespace {

class DesktopTest : public testing::Test {
 protected:
  // Without a driver the options dialog would say so in a box, once a second.
  DesktopTest() { test::OdbcFolder::Write(odbc_.DriversFile(), "[Test driver]\nDriver=libtest.so\n"); }
  /// The open window of a name, nullptr when there is none.
  static QWidget* OpenWindow(const char* name) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (window->objectName() == name && window->isVisible()) return window;
    }
    return nullptr;
  }
  static std::string UserInOptions() {
    return test::Find<QLineEdit>(*OpenWindow("frmConfigure"), "txtUserId").text().toStdString();
  }
  static void Trigger(const char* action) { test::Find<QAction>(*OpenWindow("frmMain"), action).trigger(); }

  test::OdbcFolder odbc_;
  test::FakeServerView server_;
  ComponentRegistry components_;
  DesktopUserInterface ui_{server_, components_};
};

TEST_F(DesktopTest, ShowsNothingUntilItIsAskedTo) {
  ui_.LetEventsRun();
  EXPECT_EQ(OpenWindow("frmMain"), nullptr);
  EXPECT_EQ(OpenWindow("frmTraceLog"), nullptr);
}

TEST_F(DesktopTest, ShowsTheMainWindowAlone) {
  ui_.ShowMainWindow();
  EXPECT_NE(OpenWindow("frmMain"), nullptr);
  EXPECT_EQ(OpenWindow("frmTraceLog"), nullptr);
}

TEST_F(DesktopTest, LettingEventsRunKeepsTheWindowsLive) {
  ui_.ShowMainWindow();
  server_.requestCount = 42;
  const auto& requests = test::Find<QLabel>(*OpenWindow("frmMain"), "lblRequests");
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (requests.text() != "42" && std::chrono::steady_clock::now() < end) ui_.LetEventsRun();
  EXPECT_EQ(requests.text(), "42");
}

TEST_F(DesktopTest, TheMainWindowIsOnTheScreenAndRightWhenItWasShown) {
  server_.statusText = "Connect to Database";
  ui_.ShowMainWindow();
  EXPECT_TRUE(OpenWindow("frmMain")->windowHandle()->isExposed());
  EXPECT_EQ(test::LabelText(*OpenWindow("frmMain"), "lblStatus"), "Connect to Database");
}

TEST_F(DesktopTest, LongWorkShowsTheStateOfItsBeginAndAWaitCursor) {
  server_.statusText = "Running";
  ui_.ShowMainWindow();
  server_.statusText = "Connect to Database";
  test::EventCounter paints(test::Find(*OpenWindow("frmMain"), "lblStatus"), QEvent::Paint);
  {
    const LongWork work(ui_);
    EXPECT_EQ(test::LabelText(*OpenWindow("frmMain"), "lblStatus"), "Connect to Database");
    EXPECT_GT(paints.count, 0);
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
  }
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(DesktopTest, AClosedDialogIsGoneBeforeLongWork) {
  ui_.ShowMainWindow();
  ui_.ShowOptionsDialog();
  const QPointer<QWidget> dialog = OpenWindow("frmConfigure");
  dialog->close();
  const LongWork work(ui_);
  EXPECT_TRUE(dialog.isNull());
}

TEST_F(DesktopTest, LongWorkGoesOnWithoutAMainWindow) {
  { const LongWork work(ui_); }
  ui_.ShowMainWindow();
  OpenWindow("frmMain")->close();
  { const LongWork work(ui_); }
  EXPECT_EQ(OpenWindow("frmMain"), nullptr);
  EXPECT_FALSE(server_.runFlag);
}

TEST_F(DesktopTest, ADialogThatTestsAConnectionOutlivesItsClosing) {
  for (const bool closesMainWindow : {false, true}) {
    QPointer<QWidget> dialog;
    components_.Register("ADODB.Connection", [&]() -> std::shared_ptr<Object> {
      if (closesMainWindow) {
        OpenWindow("frmMain")->close();
      } else {
        dialog->close();
      }
      ui_.LetEventsRun();  // as where the driver is waited for
      EXPECT_FALSE(dialog.isNull());
      throw Error(error_number::kOwn, "not there");
    });
    ui_.ShowMainWindow();
    ui_.ShowOptionsDialog();
    dialog = OpenWindow("frmConfigure");
    test::Click(*dialog, "cmdTestConnection");
    ui_.LetEventsRun();
    EXPECT_TRUE(dialog.isNull());
  }
}

TEST_F(DesktopTest, UnloadingTheMainWindowClosesIt) {
  ui_.ShowMainWindow();
  ui_.UnloadMainWindow();
  EXPECT_EQ(OpenWindow("frmMain"), nullptr);
  EXPECT_FALSE(server_.runFlag);
  ui_.UnloadMainWindow();
}

TEST_F(DesktopTest, ClosingTheMainWindowClosesTheTraceLog) {
  ui_.ShowMainWindow();
  Trigger("mnuTraceLog");
  ASSERT_NE(OpenWindow("frmTraceLog"), nullptr);
  OpenWindow("frmMain")->close();
  EXPECT_EQ(OpenWindow("frmTraceLog"), nullptr);
  EXPECT_EQ(OpenWindow("frmMain"), nullptr);
}

TEST_F(DesktopTest, TheTraceLogShowsWhatIsLoggedWhileItIsOpen) {
  ui_.ShowMainWindow();
  ui_.AddTraceEntry(0, "before");
  Trigger("mnuTraceLog");
  ui_.AddTraceEntry(2, "while open");
  const auto* rows = test::Find<QTableView>(*OpenWindow("frmTraceLog"), "lvTrace").model();
  ASSERT_TRUE(QTest::qWaitFor([&] { return rows->rowCount() > 0; }, 20000));
  EXPECT_EQ(rows->rowCount(), 1);
  EXPECT_EQ(rows->index(0, 1).data(), "while open");
  EXPECT_EQ(rows->index(0, 2).data(), "2");
}

TEST_F(DesktopTest, ClosedTheTraceLogStaysLoaded) {
  ui_.ShowMainWindow();
  Trigger("mnuTraceLog");
  const QWidget* window = OpenWindow("frmTraceLog");
  ASSERT_NE(window, nullptr);
  test::Click(*window, "cmdClose");
  EXPECT_EQ(OpenWindow("frmTraceLog"), nullptr);
  Trigger("mnuTraceLog");
  EXPECT_EQ(OpenWindow("frmTraceLog"), window);
}

TEST_F(DesktopTest, AskedForAgainAnOpenTraceLogKeepsItsRows) {
  ui_.ShowMainWindow();
  Trigger("mnuTraceLog");
  ui_.AddTraceEntry(0, "one");
  const auto* rows = test::Find<QTableView>(*OpenWindow("frmTraceLog"), "lvTrace").model();
  ASSERT_TRUE(QTest::qWaitFor([&] { return rows->rowCount() == 1; }, 20000));
  OpenWindow("frmTraceLog")->showMinimized();
  Trigger("mnuTraceLog");
  EXPECT_FALSE(OpenWindow("frmTraceLog")->isMinimized());
  EXPECT_EQ(rows->rowCount(), 1);
}

TEST_F(DesktopTest, TheOptionsDialogDoesNotBlock) {
  ui_.ShowMainWindow();
  Trigger("mnuOptions");
  ASSERT_NE(OpenWindow("frmConfigure"), nullptr);
  EXPECT_FALSE(OpenWindow("frmConfigure")->isModal());
  EXPECT_NE(OpenWindow("frmMain"), nullptr);
}

TEST_F(DesktopTest, AskedForAgainAnOpenOptionsDialogKeepsWhatWasTyped) {
  ui_.ShowOptionsDialog();
  test::Find<QLineEdit>(*OpenWindow("frmConfigure"), "txtUserId").setText("half typed");
  ui_.LetEventsRun();
  ui_.ShowOptionsDialog();
  EXPECT_EQ(UserInOptions(), "half typed");
}

TEST_F(DesktopTest, AClosedOptionsDialogStartsAnewFromTheSettingsOfThatTime) {
  server_.settings.User = "ann";
  ui_.ShowOptionsDialog();
  EXPECT_EQ(UserInOptions(), "ann");
  OpenWindow("frmConfigure")->close();
  server_.settings.User = "bob";
  ui_.ShowOptionsDialog();
  EXPECT_EQ(UserInOptions(), "bob");
}

TEST_F(DesktopTest, AClosedOptionsDialogIsGone) {
  ui_.ShowOptionsDialog();
  const QPointer<QWidget> dialog = OpenWindow("frmConfigure");
  dialog->close();
  ui_.LetEventsRun();
  EXPECT_TRUE(dialog.isNull());
}

TEST_F(DesktopTest, ClosingTheMainWindowClosesTheOptionsDialog) {
  ui_.ShowMainWindow();
  ui_.ShowOptionsDialog();
  OpenWindow("frmMain")->close();
  EXPECT_EQ(OpenWindow("frmConfigure"), nullptr);
}

TEST_F(DesktopTest, TheOptionsDialogAloneIsWaitedFor) {
  ui_.ShowOptionsDialog();
  bool closed = false;
  QTimer::singleShot(50, [&] {
    test::Click(*OpenWindow("frmConfigure"), "cmdCancel");
    closed = true;
  });
  ui_.WaitUntilClosed();
  EXPECT_TRUE(closed);
}

TEST_F(DesktopTest, ABoxBelongsToTheOptionsDialogWhenThatIsOpen) {
  ui_.ShowMainWindow();
  ui_.ShowOptionsDialog();
  const QWidget* parent = nullptr;
  QTimer::singleShot(0, [&] {
    parent = QApplication::activeModalWidget()->parentWidget();
    QApplication::activeModalWidget()->close();
  });
  ui_.MessageBox("Korvanta", "Please select an ODBC data source.", BoxStyle::kInformation);
  EXPECT_EQ(parent, OpenWindow("frmConfigure"));
}

TEST_F(DesktopTest, ABoxEndsWhenTheServerHasToStop) {
  server_.stopRequested = true;
  ui_.MessageBox("Korvanta", "text", BoxStyle::kInformation);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(DesktopTest, BoxesOverBoxesEndWhenTheServerHasToStop) {
  QTimer::singleShot(0, [&] {
    server_.stopRequested = true;
    ui_.MessageBox("Korvanta", "inner", BoxStyle::kInformation);
  });
  ui_.MessageBox("Korvanta", "outer", BoxStyle::kInformation);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(DesktopTest, ABoxWithoutATitleHasTheApplications) {
  QString title;
  QTimer::singleShot(0, [&] {
    title = QApplication::activeModalWidget()->windowTitle();
    QApplication::activeModalWidget()->close();
  });
  ui_.MessageBox("", "No decimal factor set", BoxStyle::kInformation);
  EXPECT_EQ(title, "ODBC Data Server");
}

TEST_F(DesktopTest, ABoxBelongsToTheMainWindow) {
  ui_.ShowMainWindow();
  const QWidget* parent = nullptr;
  QTimer::singleShot(0, [&] {
    parent = QApplication::activeModalWidget()->parentWidget();
    QApplication::activeModalWidget()->close();
  });
  ui_.MessageBox("Korvanta", "text", BoxStyle::kInformation);
  EXPECT_EQ(parent, OpenWindow("frmMain"));
}

TEST_F(DesktopTest, WaitsForNothingWhenNoWindowIsOpen) {
  ui_.WaitUntilClosed();
  EXPECT_TRUE(server_.runFlag);
}

TEST_F(DesktopTest, WaitsUntilTheLastWindowIsClosed) {
  ui_.ShowMainWindow();
  Trigger("mnuTraceLog");
  QTimer::singleShot(0, [] { OpenWindow("frmTraceLog")->close(); });
  QTimer::singleShot(50, [] { OpenWindow("frmMain")->close(); });
  ui_.WaitUntilClosed();
  EXPECT_EQ(OpenWindow("frmMain"), nullptr);
}

TEST_F(DesktopTest, WaitsNoLongerWhenTheServerHasToStop) {
  ui_.ShowMainWindow();
  QTimer::singleShot(0, [&] { server_.stopRequested = true; });
  ui_.WaitUntilClosed();
  EXPECT_EQ(OpenWindow("frmMain"), nullptr) << "what was still open is closed";
}

}  // namespace
}  // namespace ods
