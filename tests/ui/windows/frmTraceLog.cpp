#include "ui/windows/frmTraceLog.h"

#include <QApplication>
#include <QHeaderView>
#include <QSettings>
#include <QTableView>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "doubles/FakeServerView.h"
#include "ui/windows/GeneralDate.h"
#include "ui/windows/Widgets.h"

namespace ods {
namespace {

using test::Find;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTimeWidth = "Settings/Trace.Headers.Time.Width";
constexpr const char* kDescriptionWidth = "Settings/Trace.Headers.Description.Width";
constexpr const char* kInfoWidth = "Settings/Trace.Headers.Info.Width";

class TraceLogTest : public testing::Test {
 protected:
  TraceLogTest() { Settings().clear(); }

  static QSettings& Settings() {
    thread_local QSettings settings("Korvanta", "ODBC Data Server");
    return settings;
  }
  void Load() { window_ = std::make_unique<frmTraceLog>(server_); }
  void Open() {
    if (!window_) Load();
    test::Show(*window_);
  }
  [[nodiscard]] QTableView& List() const { return Find<QTableView>(*window_, "lvTrace"); }
  [[nodiscard]] int Rows() const { return List().model()->rowCount(); }
  [[nodiscard]] std::string Cell(int row, int column) const {
    return List().model()->index(row, column).data().toString().toStdString();
  }
  /// The descriptions of all rows, once the view shows what was added.
  [[nodiscard]] std::vector<std::string> Descriptions(int expected) const {
    (void)QTest::qWaitFor([&] { return Rows() == expected; }, 20000);
    QCoreApplication::processEvents();
    std::vector<std::string> texts;
    for (int row = 0; row < Rows(); ++row) texts.push_back(Cell(row, 1));
    return texts;
  }
  /// The same where nothing more is to come.
  [[nodiscard]] std::vector<std::string> DescriptionsLater() const {
    QTest::qWait(200);
    return Descriptions(Rows());
  }
  [[nodiscard]] int WidthInTwips(int column) const {
    return static_cast<int>(std::lround(List().columnWidth(column) * 1440.0 / window_->logicalDpiX()));
  }
  [[nodiscard]] int Pixels(int twips) const {
    return static_cast<int>(std::lround(twips * window_->logicalDpiX() / 1440.0));
  }

  test::FakeServerView server_;
  std::unique_ptr<frmTraceLog> window_;
};

// What it is made of

TEST_F(TraceLogTest, HasItsCaptionAndColumns) {
  Load();
  EXPECT_EQ(window_->objectName(), "frmTraceLog");
  EXPECT_EQ(window_->windowTitle(), "Trace Log");
  std::vector<std::string> titles;
  for (int column = 0; column < List().model()->columnCount(); ++column) {
    titles.push_back(List().model()->headerData(column, Qt::Horizontal).toString().toStdString());
  }
  EXPECT_THAT(titles, ElementsAre("Time", "Description", "Info"));
}

TEST_F(TraceLogTest, ItsButtonsTellWhatTheyDo) {
  Load();
  EXPECT_EQ(Find<QPushButton>(*window_, "cmdClear").toolTip(), "Clear the trace log window");
  EXPECT_EQ(Find<QPushButton>(*window_, "cmdClose").toolTip(), "Close the window");
  EXPECT_EQ(Find<QPushButton>(*window_, "cmdHelp").toolTip(), "Open online help");
}

TEST_F(TraceLogTest, TheListFillsTheWindowButForItsMarginsAndTheButtons) {
  Open();
  for (const QSize size : {QSize(600, 400), QSize(900, 300)}) {
    window_->resize(size);
    QCoreApplication::processEvents();
    EXPECT_EQ(List().width(), window_->width() - 2 * Pixels(120));
    EXPECT_EQ(List().height(), window_->height() - Pixels(800));
    for (const char* name : {"cmdClear", "cmdClose", "cmdHelp"}) {
      const auto& button = Find<QPushButton>(*window_, name);
      EXPECT_GT(button.mapTo(window_.get(), QPoint()).y(), List().geometry().bottom()) << name;
    }
  }
}

TEST_F(TraceLogTest, CanBeMadeVerySmall) {
  Open();
  window_->resize(1, 1);
  QCoreApplication::processEvents();
  EXPECT_GE(List().width(), 0);
  EXPECT_GE(List().height(), 0);
}

TEST_F(TraceLogTest, TheKeyboardGoesFromTheListAlongTheButtons) {
  Open();
  List().setFocus();
  std::vector<std::string> stops;
  for (int i = 0; i < 3; ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    stops.push_back(QApplication::focusWidget()->objectName().toStdString());
  }
  EXPECT_THAT(stops, ElementsAre("cmdClear", "cmdClose", "cmdHelp"));
}

// The column widths

TEST_F(TraceLogTest, WithoutStoredSettingsTheColumnsHaveTheirDefaultWidths) {
  Load();
  EXPECT_EQ(List().columnWidth(0), Pixels(1620));
  EXPECT_EQ(List().columnWidth(1), Pixels(4000));
  EXPECT_EQ(List().columnWidth(2), Pixels(1000));
  window_->Form_Unload();
  EXPECT_EQ(Settings().value(kTimeWidth).toInt(), 1620);
  EXPECT_EQ(Settings().value(kDescriptionWidth).toInt(), 4000) << "pixels in between do not wear it off";
  EXPECT_EQ(Settings().value(kInfoWidth).toInt(), 1000);
}

TEST_F(TraceLogTest, StoredWidthsCount) {
  Settings().setValue(kTimeWidth, 3000);
  Settings().setValue(kDescriptionWidth, 1500);
  Settings().setValue(kInfoWidth, 750);
  Settings().sync();
  Load();
  EXPECT_EQ(List().columnWidth(0), Pixels(3000));
  EXPECT_EQ(List().columnWidth(1), Pixels(1500));
  EXPECT_EQ(List().columnWidth(2), Pixels(750));
}

TEST_F(TraceLogTest, StoredNonsenseCountsAsNothing) {
  Settings().setValue(kTimeWidth, "wide");
  Settings().setValue(kDescriptionWidth, -5);
  Settings().setValue(kInfoWidth, "99999999999");
  Settings().sync();
  Load();
  EXPECT_EQ(List().columnWidth(0), Pixels(1620));
  EXPECT_EQ(List().columnWidth(1), Pixels(4000));
  EXPECT_EQ(List().columnWidth(2), Pixels(1000));
}

TEST_F(TraceLogTest, ChangedWidthsAreSavedWhenTheWindowIsUnloaded) {
  Open();
  List().setColumnWidth(1, 300);
  window_->CloseLog();
  EXPECT_FALSE(Settings().contains(kDescriptionWidth)) << "closing is not unloading";
  window_->Form_Unload();
  EXPECT_EQ(Settings().value(kDescriptionWidth).toInt(),
            static_cast<int>(std::lround(300 * 1440.0 / window_->logicalDpiX())));
  EXPECT_EQ(Settings().value(kTimeWidth).toInt(), 1620);
  Load();
  EXPECT_EQ(List().columnWidth(1), 300);
}

// Its entries

TEST_F(TraceLogTest, ShowsAnEntryWithItsTime) {
  Open();
  const QDateTime before = QDateTime::currentDateTime();
  window_->AddEntry("SQL: SELECT 1", "2");
  const QDateTime after = QDateTime::currentDateTime();
  EXPECT_THAT(Descriptions(1), ElementsAre("SQL: SELECT 1"));
  EXPECT_EQ(Cell(0, 2), "2");
  EXPECT_THAT(Cell(0, 0),
              AnyOf(GeneralDate(before, QLocale()).toStdString(), GeneralDate(after, QLocale()).toStdString()));
}

TEST_F(TraceLogTest, TheTimeIsThatOfTheEntryNotOfTheView) {
  TraceLogModel model;
  model.Append("one", "0");
  const std::string added = GeneralDate(QDateTime::currentDateTime(), QLocale()).toStdString();
  const QDateTime second = QDateTime::currentDateTime().addSecs(1);
  ASSERT_TRUE(QTest::qWaitFor([&] { return QDateTime::currentDateTime() > second; }, 20000));
  model.Publish();
  EXPECT_NE(model.index(0, 0).data().toString().toStdString(),
            GeneralDate(QDateTime::currentDateTime(), QLocale()).toStdString())
      << added;
}

TEST_F(TraceLogTest, KeepsTheOrderOfTheEntries) {
  Open();
  for (const char* text : {"one", "two", "three"}) window_->AddEntry(text, "0");
  EXPECT_THAT(Descriptions(3), ElementsAre("one", "two", "three"));
  window_->AddEntry("four", "0");
  EXPECT_THAT(Descriptions(4), ElementsAre("one", "two", "three", "four"));
}

TEST_F(TraceLogTest, TheNewestRowIsVisible) {
  Open();
  for (int i = 0; i < 500; ++i) window_->AddEntry("entry " + std::to_string(i), "0");
  ASSERT_EQ(Descriptions(500).size(), 500U);
  const QRect newest = List().visualRect(List().model()->index(499, 0));
  EXPECT_TRUE(List().viewport()->rect().contains(newest.center()));
  EXPECT_FALSE(List().viewport()->rect().contains(List().visualRect(List().model()->index(0, 0)).center()));
}

TEST_F(TraceLogTest, HoldsAHundredThousandRows) {
  Open();
  for (int i = 0; i < 100'000; ++i) window_->AddEntry(std::to_string(i), "0");
  const std::vector<std::string> texts = Descriptions(100'000);
  ASSERT_EQ(texts.size(), 100'000U);
  EXPECT_EQ(texts.front(), "0");
  EXPECT_EQ(texts.back(), "99999");
}

TEST_F(TraceLogTest, ALongEntryIsShownWholeByItsTip) {
  Open();
  const std::string text = "SQL: " + std::string(2000, 'x');
  window_->AddEntry(text, "0");
  (void)Descriptions(1);
  EXPECT_EQ(List().model()->index(0, 1).data(Qt::ToolTipRole).toString().toStdString(), text);
}

TEST_F(TraceLogTest, TextsThatAreNotUtf8AreShownAllTheSame) {
  Open();
  window_->AddEntry("broken \xFF byte", "0");
  ASSERT_EQ(Descriptions(1).size(), 1U);
  EXPECT_EQ(Cell(0, 1).substr(0, 7), "broken ");
}

// When it collects

TEST_F(TraceLogTest, CollectsNothingBeforeItIsOpened) {
  Load();
  window_->AddEntry("unseen", "0");
  Open();
  window_->AddEntry("seen", "0");
  EXPECT_THAT(Descriptions(1), ElementsAre("seen"));
}

TEST_F(TraceLogTest, EntriesLoggedWhileItIsHiddenNeverAppear) {
  Open();
  window_->CloseLog();
  window_->AddEntry("unseen", "0");
  Open();
  EXPECT_THAT(DescriptionsLater(), IsEmpty());
}

TEST_F(TraceLogTest, CollectsAlsoBehindOtherWindows) {
  Open();
  QWidget other;
  test::Show(other);
  other.activateWindow();
  window_->AddEntry("behind", "0");
  EXPECT_THAT(Descriptions(1), ElementsAre("behind"));
}

// Its buttons

TEST_F(TraceLogTest, ClearRemovesEveryRowAndGoesOnCollecting) {
  Open();
  window_->AddEntry("one", "0");
  (void)Descriptions(1);
  test::Click(*window_, "cmdClear");
  EXPECT_EQ(Rows(), 0);
  EXPECT_TRUE(window_->isVisible());
  window_->AddEntry("two", "0");
  EXPECT_THAT(Descriptions(1), ElementsAre("two"));
}

TEST_F(TraceLogTest, ClearRemovesAlsoWhatTheViewHasNotShownYet) {
  Open();
  window_->AddEntry("one", "0");
  test::Click(*window_, "cmdClear");
  EXPECT_THAT(DescriptionsLater(), IsEmpty());
}

TEST_F(TraceLogTest, ClosedAndReopenedItIsEmpty) {
  Open();
  window_->AddEntry("one", "0");
  (void)Descriptions(1);
  test::Click(*window_, "cmdClose");
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(Rows(), 0) << "cleared on close, not on open";
  Open();
  EXPECT_EQ(Rows(), 0);
}

TEST_F(TraceLogTest, ClosingTheWindowIsTheSameAsItsButton) {
  Open();
  window_->AddEntry("one", "0");
  (void)Descriptions(1);
  window_->close();
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(Rows(), 0);
  window_->AddEntry("unseen", "0");
  Open();
  EXPECT_THAT(DescriptionsLater(), IsEmpty());
}

TEST_F(TraceLogTest, HelpDoesNothing) {
  Open();
  window_->AddEntry("one", "0");
  (void)Descriptions(1);
  const auto windows = QApplication::topLevelWidgets().size();
  test::Click(*window_, "cmdHelp");
  QCoreApplication::processEvents();
  EXPECT_EQ(Rows(), 1);
  EXPECT_TRUE(window_->isVisible());
  EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
}

}  // namespace
}  // namespace ods
