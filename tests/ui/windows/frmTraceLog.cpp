#include "ui/windows/frmTraceLog.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTableView>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "doubles/FakeServerView.h"
#include "ui/windows/GeneralDate.h"
#include "ui/windows/ShownText.h"
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
  [[nodiscard]] QString Tip(int row, int column) const {
    return List().model()->index(row, column).data(Qt::ToolTipRole).toString();
  }
  void DoubleClick(int row) const {
    const QPoint middle = List().visualRect(List().model()->index(row, 1)).center();
    QTest::mouseClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, middle);
    QTest::mouseDClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, middle);
  }
  /// A window of an entry, nullptr when none is open.
  static QWidget* OpenEntry() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (window->objectName() == "frmTraceEntry" && window->isVisible()) return window;
    }
    return nullptr;
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

TEST_F(TraceLogTest, TheDefaultWidthShowsTheWholeTime) {
  const QLocale usual;
  for (const char* name : {"C", "en_GB", "de_DE", "da_DK"}) {
    QLocale::setDefault(QLocale(name));
    window_.reset();
    Open();
    window_->AddEntry("entry", "0");
    (void)Descriptions(1);
    const QModelIndex cell = List().model()->index(0, 0);
    const QFontMetrics metrics(List().font(), &List());
    QStyleOptionViewItem option;
    option.initFrom(&List());
    option.font = List().font();
    EXPECT_LE(List().itemDelegate()->sizeHint(option, cell).width(), List().columnWidth(0)) << name;
    const QDateTime wide(QDate(2028, 12, 28), QTime(20, 58, 58));
    EXPECT_LT(metrics.horizontalAdvance(GeneralDate(wide, QLocale())), List().columnWidth(0)) << name;
    EXPECT_GE(List().font().pointSizeF(), 6) << name;
  }
  QLocale::setDefault(usual);
}

TEST_F(TraceLogTest, ChangedWidthsAreSavedWhenTheWindowIsClosedByItsTitleBar) {
  Open();
  List().setColumnWidth(1, 300);
  window_->close();
  EXPECT_EQ(Settings().value(kDescriptionWidth).toInt(),
            static_cast<int>(std::lround(300 * 1440.0 / window_->logicalDpiX())));
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

TEST_F(TraceLogTest, TheTipShowsWhatANarrowColumnCutsOffAndNeverAsMarkup) {
  Open();
  const std::string text = "SQL: <img src='/dev/zero'> " + std::string(200, 'x');
  window_->AddEntry(text, "<b>0</b>");
  (void)Descriptions(1);
  EXPECT_EQ(Cell(0, 1), text);
  EXPECT_EQ(Tip(0, 1), ToolTipOf(QString::fromStdString(text)));
  EXPECT_FALSE(Tip(0, 1).contains("<img"));
  EXPECT_FALSE(Tip(0, 2).contains("<b>"));
}

TEST_F(TraceLogTest, OfALongEntryCellAndTipShowTheBeginning) {
  Open();
  window_->AddEntry("SQL: " + std::string(1 << 20, 'x'), std::string(1 << 20, 'y'));
  (void)Descriptions(1);
  for (const int column : {1, 2}) {
    const QString cell = List().model()->index(0, column).data().toString();
    EXPECT_EQ(cell.size(), 1001);
    EXPECT_TRUE(cell.endsWith(QChar(0x2026)));
    EXPECT_EQ(Tip(0, column), ToolTipOf(cell));
  }
}

// The whole entry

TEST_F(TraceLogTest, CopyOfTheContextMenuPutsTheWholeEntryIntoTheClipboard) {
  Open();
  EXPECT_EQ(List().contextMenuPolicy(), Qt::ActionsContextMenu);
  ASSERT_EQ(List().actions().size(), 1);
  EXPECT_EQ(List().actions()[0]->text(), "&Copy");
  const std::string text = "SQL: <b>" + std::string(1 << 20, 'x');
  window_->AddEntry(text, "2");
  (void)Descriptions(1);
  QGuiApplication::clipboard()->setText("before");
  Find<QAction>(List(), "mnuCopy").trigger();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "before") << "no row is selected";
  List().selectRow(0);
  Find<QAction>(List(), "mnuCopy").trigger();
  EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), Cell(0, 0) + "\t" + text + "\t2");
}

TEST_F(TraceLogTest, TheKeyThatCopiesCopiesEverySelectedRow) {
  Open();
  for (const char* text : {"one", "two", "three"}) window_->AddEntry(text, "0");
  (void)Descriptions(3);
  window_->activateWindow();
  List().setFocus();
  List().selectAll();
  QTest::keyClick(&List(), Qt::Key_C, Qt::ControlModifier);
  const std::string text = QGuiApplication::clipboard()->text().toStdString();
  EXPECT_EQ(text, Cell(0, 0) + "\tone\t0\n" + Cell(1, 0) + "\ttwo\t0\n" + Cell(2, 0) + "\tthree\t0");
}

TEST_F(TraceLogTest, ADoubleClickShowsTheWholeEntryToRead) {
  Open();
  const std::string text = "SQL: <b>" + std::string(1 << 20, 'x');
  window_->AddEntry(text, "0");
  (void)Descriptions(1);
  DoubleClick(0);
  const QWidget* entry = OpenEntry();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->windowTitle().toStdString(), "Trace Log - " + Cell(0, 0));
  auto& field = Find<QPlainTextEdit>(*entry, "txtEntry");
  EXPECT_EQ(field.toPlainText().remove('\n').toStdString(), text);
  field.selectAll();
  field.copy();
  EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), text) << "as it was, however it is shown";
  EXPECT_TRUE(field.isReadOnly());
  EXPECT_FALSE(entry->isModal());
  test::Click(*entry, "cmdCloseEntry");
  EXPECT_EQ(OpenEntry(), nullptr);
  DoubleClick(0);
  ASSERT_NE(OpenEntry(), nullptr);
  QTest::keyClick(OpenEntry(), Qt::Key_Escape);
  EXPECT_EQ(OpenEntry(), nullptr);
}

TEST_F(TraceLogTest, TheWindowsOfEntriesGoWithTheLog) {
  Open();
  for (const char* text : {"one", "two"}) window_->AddEntry(text, "0");
  (void)Descriptions(2);
  DoubleClick(0);
  DoubleClick(1);
  EXPECT_EQ(window_->findChildren<QWidget*>("frmTraceEntry").size(), 2);
  window_->close();
  EXPECT_EQ(OpenEntry(), nullptr);
  EXPECT_EQ(window_->findChildren<QWidget*>("frmTraceEntry").size(), 0);
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

TEST_F(TraceLogTest, ReturnPressesTheButtonThatHasTheKeyboard) {
  Open();
  window_->AddEntry("one", "0");
  (void)Descriptions(1);
  Find<QPushButton>(*window_, "cmdClear").setFocus();
  QTest::keyClick(&Find<QPushButton>(*window_, "cmdClear"), Qt::Key_Return);
  EXPECT_EQ(Rows(), 0);
  Find<QPushButton>(*window_, "cmdClose").setFocus();
  QTest::keyClick(&Find<QPushButton>(*window_, "cmdClose"), Qt::Key_Enter);
  EXPECT_FALSE(window_->isVisible());
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
