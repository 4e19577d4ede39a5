#include "ui/windows/frmMain.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "doubles/FakeServerView.h"
#include "ui/windows/EventCounter.h"
#include "ui/windows/Widgets.h"

namespace ods {
namespace {

using test::EventCounter;
using test::Find;
using test::LabelText;
using testing::ElementsAre;

class MainWindowTest : public testing::Test {
 protected:
  /// A window as it is after its load.
  frmMain& Load(const std::string& debugMutex = "") {
    window_ = std::make_unique<frmMain>(
        server_,
        MainWindowActions{.showOptions = [this] { calls_.emplace_back("options"); },
                          .showTraceLog = [this] { calls_.emplace_back("trace log"); },
                          .unloadOthers = [this] { calls_.emplace_back("unload others"); }},
        [this] {
          if (onClock_) onClock_();
          return now_;
        },
        debugMutex);
    return *window_;
  }
  void Tick() { QMetaObject::invokeMethod(&Timer(), "timeout", Qt::DirectConnection); }
  [[nodiscard]] QTimer& Timer() const { return Find<QTimer>(*window_, "timerGUI"); }
  [[nodiscard]] std::string ButtonText() const { return Find<QPushButton>(*window_, "cmdStart").text().toStdString(); }
  void After(std::int64_t days, std::int64_t hours, std::int64_t minutes, std::int64_t seconds = 0) {
    now_.seconds = server_.startTime.seconds + ((days * 24 + hours) * 60 + minutes) * 60 + seconds;
  }
  void Trigger(const char* action) { Find<QAction>(*window_, action).trigger(); }
  void ExpectEnded() {
    EXPECT_FALSE(server_.runFlag);
    EXPECT_FALSE(window_->isVisible());
    EXPECT_THAT(calls_, ElementsAre("unload others"));
  }

  const std::string mutex_ = "ods-test-" + std::to_string(CurrentProcessId()) + "-debug";
  test::FakeServerView server_;
  Date now_ = server_.startTime;
  std::function<void()> onClock_;
  std::vector<std::string> calls_;
  std::unique_ptr<frmMain> window_;
};

// What it shows

TEST_F(MainWindowTest, HasTheTextsOfItsDesignUntilItIsShown) {
  const frmMain& window = Load();
  EXPECT_EQ(window.objectName(), "frmMain");
  EXPECT_EQ(window.windowTitle(), "ODBC Data Server");
  EXPECT_EQ(Find<QGroupBox>(window, "Frame3").title(), "Status");
  EXPECT_EQ(LabelText(window, "Label1"), "Status:");
  EXPECT_EQ(LabelText(window, "lblStatus"), "...");
  EXPECT_EQ(LabelText(window, "Label2"), "Uptime:");
  EXPECT_EQ(LabelText(window, "lblUptime"), "0 d 00:00");
  EXPECT_EQ(LabelText(window, "Label4"), "Requests:");
  EXPECT_EQ(LabelText(window, "lblRequests"), "0");
  EXPECT_EQ(ButtonText(), "&Start");
}

TEST_F(MainWindowTest, ShownItIsRightFromItsFirstMoment) {
  server_.statusText = "Connect to Database";
  server_.requestCount = 7;
  Load().show();  // and no event runs
  EXPECT_EQ(LabelText(*window_, "lblStatus"), "Connect to Database");
  EXPECT_EQ(LabelText(*window_, "lblUptime"), "0 d 0:00");
  EXPECT_EQ(LabelText(*window_, "lblRequests"), "7");
  EXPECT_EQ(ButtonText(), "&Stop");
}

TEST_F(MainWindowTest, ShowsTheTitleAndTheVersionOfTheApplication) {
  server_.version = "2.3.117";
  const frmMain& window = Load();
  EXPECT_EQ(LabelText(window, "lblProductName"), "ODBC Data Server");
  EXPECT_EQ(LabelText(window, "lblVersion"), "Version 2.3.117");
}

TEST_F(MainWindowTest, HasItsMenu) {
  const frmMain& window = Load();
  const std::tuple<const char*, const char*, std::vector<std::pair<const char*, const char*>>> menus[] = {
      {"mnuFile", "&File", {{"mnuExit", "E&xit"}}},
      {"mnuTools", "&Tools", {{"mnuOptions", "&Options..."}, {"mnuTraceLog", "Trace &Log"}}},
      {"mnuHelp", "&Help", {{"mnuAbout", "&About"}}},
  };
  ASSERT_EQ(window.menuBar()->actions().size(), 3);
  qsizetype position = 0;
  for (const auto& [name, title, items] : menus) {
    const QMenu* menu = window.menuBar()->actions()[position++]->menu();
    EXPECT_EQ(menu->objectName(), name);
    EXPECT_EQ(menu->title(), title);
    ASSERT_EQ(menu->actions().size(), static_cast<qsizetype>(items.size())) << name;
    for (std::size_t i = 0; i < items.size(); ++i) {
      EXPECT_EQ(menu->actions()[static_cast<qsizetype>(i)]->objectName(), items[i].first);
      EXPECT_EQ(menu->actions()[static_cast<qsizetype>(i)]->text(), items[i].second);
    }
  }
}

TEST_F(MainWindowTest, ACaptionIsTheLabelOfItsValue) {
  const frmMain& window = Load();
  for (const auto& [caption, value] :
       {std::pair{"Label1", "lblStatus"}, {"Label2", "lblUptime"}, {"Label4", "lblRequests"}}) {
    EXPECT_EQ(Find<QLabel>(window, caption).buddy(), &Find<QLabel>(window, value)) << caption;
  }
}

// The tick

TEST_F(MainWindowTest, TicksEvery200Milliseconds) {
  Load();
  EXPECT_EQ(Timer().interval(), 200);
  EXPECT_TRUE(Timer().isActive());
  server_.statusText = "Stopped";
  EXPECT_TRUE(QTest::qWaitFor([&] { return LabelText(*window_, "lblStatus") == "Stopped"; }, 20000));
}

TEST_F(MainWindowTest, ATickDoesNotOverlapTheNextOne) {
  Load();
  bool ran = false;
  onClock_ = [&] {
    EXPECT_FALSE(Timer().isActive());
    ran = true;
  };
  Tick();
  EXPECT_TRUE(ran);
  EXPECT_TRUE(Timer().isActive());
}

TEST_F(MainWindowTest, ATickShowsTheStatus) {
  Load();
  for (const char* status : {"Connect to Database", "Connect to Queue", "Running", "Processing...", "Stopped"}) {
    server_.statusText = status;
    Tick();
    EXPECT_EQ(LabelText(*window_, "lblStatus"), status);
  }
}

TEST_F(MainWindowTest, TheUptimeReadsZeroAfterTheFirstTick) {
  Load();
  Tick();
  EXPECT_EQ(LabelText(*window_, "lblUptime"), "0 d 0:00");
}

TEST_F(MainWindowTest, TheUptimeIsMeasuredFromTheStart) {
  Load();
  After(1, 2, 5);
  Tick();
  EXPECT_EQ(LabelText(*window_, "lblUptime"), "1 d 2:05");
  After(0, 23, 59, 45);
  Tick();
  EXPECT_EQ(LabelText(*window_, "lblUptime"), "0 d 0:00");
  After(0, 0, 31);
  Tick();
  EXPECT_EQ(LabelText(*window_, "lblUptime"), "0 d 1:31");
}

TEST_F(MainWindowTest, TheRequestCountHasNoDigitGrouping) {
  Load();
  server_.requestCount = 1234567;
  Tick();
  EXPECT_EQ(LabelText(*window_, "lblRequests"), "1234567");
}

TEST_F(MainWindowTest, TheButtonFollowsTheServer) {
  Load();
  Tick();
  EXPECT_EQ(ButtonText(), "&Stop");
  server_.buttonAction = "START";
  Tick();
  EXPECT_EQ(ButtonText(), "&Start");
  server_.buttonAction = "";
  Tick();
  EXPECT_EQ(ButtonText(), "&Start") << "whatever is not STOP";
}

TEST_F(MainWindowTest, WhatDidNotChangeIsNotWritten) {
  test::Show(Load());
  Tick();
  QCoreApplication::processEvents();
  EventCounter status(Find<QLabel>(*window_, "lblStatus"), QEvent::Paint);
  EventCounter uptime(Find<QLabel>(*window_, "lblUptime"), QEvent::Paint);
  EventCounter requests(Find<QLabel>(*window_, "lblRequests"), QEvent::Paint);
  EventCounter button(Find<QPushButton>(*window_, "cmdStart"), QEvent::Paint);
  server_.requestCount = 1;
  Tick();
  QCoreApplication::processEvents();
  EXPECT_GT(requests.count, 0);
  EXPECT_EQ(status.count + uptime.count + button.count, 0);
  const int before = requests.count;
  Tick();
  QCoreApplication::processEvents();
  EXPECT_EQ(requests.count, before);
}

// The size

TEST_F(MainWindowTest, SnapsBackToTheSizeOfItsLoad) {
  test::Show(Load());
  const QSize size = window_->size();
  window_->resize(size + QSize(100, 100));
  QCoreApplication::processEvents();
  EXPECT_EQ(window_->size(), size);
  window_->resize(10, 10);
  QCoreApplication::processEvents();
  EXPECT_EQ(window_->size(), size);
}

TEST_F(MainWindowTest, CannotBeMaximized) { EXPECT_FALSE(Load().windowFlags() & Qt::WindowMaximizeButtonHint); }

TEST_F(MainWindowTest, KeepsItsSizeWhateverItShows) {
  test::Show(Load());
  const QSize size = window_->size();
  server_.requestCount = 2147483647;
  After(99999, 23, 59);
  for (const char* status : {"Connect to Database", "", "Processing..."}) {
    server_.statusText = status;
    Tick();
    QCoreApplication::processEvents();
    EXPECT_EQ(window_->size(), size) << status;
  }
}

TEST_F(MainWindowTest, NothingIsCutOffWithALargerFont) {
  const QFont usual = QApplication::font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 2);
  QApplication::setFont(large);
  test::Show(Load());
  server_.statusText = "Connect to Database";
  server_.requestCount = 2147483647;
  Tick();
  QCoreApplication::processEvents();
  for (const char* name : {"lblProductName", "lblVersion", "lblStatus", "lblUptime", "lblRequests"}) {
    const auto& label = Find<QLabel>(*window_, name);
    EXPECT_GE(label.width(), label.fontMetrics().horizontalAdvance(label.text())) << name;
    EXPECT_GE(label.height(), label.fontMetrics().height()) << name;
  }
  QApplication::setFont(usual);
}

// Its end

TEST_F(MainWindowTest, TheButtonEndsTheServer) {
  test::Show(Load());
  Tick();
  ASSERT_EQ(ButtonText(), "&Stop");
  test::Click(*window_, "cmdStart");
  ExpectEnded();
}

TEST_F(MainWindowTest, ReturnPressesTheButtonThatHasTheKeyboard) {
  test::Show(Load());
  auto& button = Find<QPushButton>(*window_, "cmdStart");
  button.setFocus();
  QTest::keyClick(&button, Qt::Key_Return);
  ExpectEnded();
}

TEST_F(MainWindowTest, TheButtonEndsTheServerAlsoWhenItSaysStart) {
  server_.buttonAction = "START";
  test::Show(Load());
  Tick();
  ASSERT_EQ(ButtonText(), "&Start");
  test::Click(*window_, "cmdStart");
  ExpectEnded();
}

TEST_F(MainWindowTest, ExitEndsTheServer) {
  test::Show(Load());
  Trigger("mnuExit");
  ExpectEnded();
}

TEST_F(MainWindowTest, ClosingTheWindowEndsTheServer) {
  test::Show(Load());
  window_->close();
  ExpectEnded();
  EXPECT_FALSE(Timer().isActive());
}

// The other windows

TEST_F(MainWindowTest, TheMenuShowsTheOtherWindows) {
  Load();
  Trigger("mnuOptions");
  Trigger("mnuTraceLog");
  EXPECT_THAT(calls_, ElementsAre("options", "trace log"));
}

TEST_F(MainWindowTest, AboutDoesNothing) {
  test::Show(Load());
  const auto windows = QApplication::topLevelWidgets().size();
  Trigger("mnuAbout");
  EXPECT_THAT(calls_, ElementsAre());
  EXPECT_TRUE(server_.runFlag);
  EXPECT_TRUE(window_->isVisible());
  EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
}

// The debug session

TEST_F(MainWindowTest, ADebugSessionIsAnnouncedUntilTheWindowIsClosed) {
  test::Show(Load(mutex_));
  EXPECT_TRUE(MutexExists(mutex_));
  window_->close();
  EXPECT_FALSE(MutexExists(mutex_));
}

TEST_F(MainWindowTest, ASessionThatAnotherAnnouncedIsNotAnnouncedAgain) {
  auto other = std::make_unique<NamedMutex>(mutex_);
  Load(mutex_);
  other.reset();
  EXPECT_FALSE(MutexExists(mutex_));
}

TEST_F(MainWindowTest, OnlyADevelopmentBuildAnnouncesItsSession) {
#ifdef NDEBUG
  EXPECT_EQ(std::string(kDebugMutex), "");
#else
  EXPECT_EQ(std::string(kDebugMutex), "DS_DEBUG");
#endif
}

}  // namespace
}  // namespace ods
