#include "ui/windows/frmConfigure.h"

#include <QAbstractItemView>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QTimer>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "common/Error.h"
#include "doubles/FakeServerView.h"
#include "doubles/OpeningConnection.h"
#include "platform/ado/Ado.h"
#include "platform/system/System.h"
#include "support/OdbcFolder.h"
#include "ui/windows/Boxes.h"
#include "ui/windows/EventCounter.h"
#include "ui/windows/Programs.h"
#include "ui/windows/Widgets.h"

namespace ods {
namespace {

using test::Boxes;
using test::Click;
using test::EventCounter;
using test::FakeServerView;
using test::Find;
using test::LabelText;
using test::OdbcFolder;
using test::OpeningConnection;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kOneDriver = "[SQLite3]\nDriver=libsqlite3odbc.so\n";
constexpr const char* kNoDriverText =
    "The program can not find an appropriate ODBC driver on this computer.\n"
    "Please install your ODBC driver and start this program again.";

std::string ContentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class FrmConfigure : public ::testing::Test {
 protected:
  FrmConfigure() {
    OdbcFolder::Write(odbc_.DriversFile(), kOneDriver);
    System("[Sales]\nDriver=SQLite3\n[Accounts]\nDriver=SQLite3\n");
    server_.settings = {"Sales", "sa", "secret", "DSN=Sales;UID=sa;PWD=secret", false};
  }

  void System(const std::string& text) const { OdbcFolder::Write(odbc_.SystemFile(), text); }
  frmConfigure& Open() {
    dialog_ = std::make_unique<frmConfigure>(server_, components_);
    test::Show(*dialog_);
    return *dialog_;
  }
  [[nodiscard]] QComboBox& DataSources() const { return Find<QComboBox>(*dialog_, "cmbDSN"); }
  [[nodiscard]] QLineEdit& Field(const std::string& name) const { return Find<QLineEdit>(*dialog_, name); }
  [[nodiscard]] std::string TextOf(const std::string& name) const { return Field(name).text().toStdString(); }
  [[nodiscard]] std::string ConnectionString() const { return TextOf("txtConnectionString"); }
  [[nodiscard]] std::string DataSource() const { return DataSources().currentText().toStdString(); }
  [[nodiscard]] QTimer& Timer() const { return Find<QTimer>(*dialog_, "Timer1"); }
  void Tick() const { ASSERT_TRUE(QMetaObject::invokeMethod(&Timer(), "timeout")); }
  [[nodiscard]] std::vector<std::string> List() const {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(DataSources().count()));
    for (int i = 0; i < DataSources().count(); ++i) names.push_back(DataSources().itemText(i).toStdString());
    return names;
  }
  void TypeInto(QWidget& field, const char* text) const {
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&field, text);
  }
  /// Registers a connection that `open` opens.
  void RegisterConnection(const std::function<void(OpeningConnection&)>& open) {
    components_.Register("ADODB.Connection", [this, open]() -> std::shared_ptr<Object> {
      auto connection = std::make_shared<OpeningConnection>(open);
      connection_ = connection;
      return connection;
    });
  }

  OdbcFolder odbc_;
  FakeServerView server_;
  ComponentRegistry components_;
  std::weak_ptr<OpeningConnection> connection_;
  std::unique_ptr<frmConfigure> dialog_;
};

// ------------------------------------------------------------------------------------------------------------ controls

TEST_F(FrmConfigure, TheCaptionIsConfigureAndTheTitleOfTheApplication) {
  EXPECT_EQ(Open().windowTitle(), "Configure ODBC Data Server");
}

TEST_F(FrmConfigure, HasItsControlsWithTheirTexts) {
  const frmConfigure& dialog = Open();
  EXPECT_EQ(dialog.objectName(), "frmConfigure");
  EXPECT_EQ(Find<QGroupBox>(dialog, "Frame1").title(), "Database Connection");
  EXPECT_EQ(LabelText(dialog, "Label2"),
            "Please select a 32 bit ODBC data soruce. You can create new data sources using the ODBC Data Source "
            "Administrator in your Control Panel.");
  EXPECT_EQ(LabelText(dialog, "Label1"), "Data Source Name:");
  EXPECT_EQ(DataSources().toolTip(), "Only 32 bit data sources are listed here.");
  EXPECT_EQ(Find<QPushButton>(dialog, "cmdNewSource").text(), "New");
  EXPECT_EQ(Find<QPushButton>(dialog, "cmdNewSource").toolTip(), "Create or change a 32 bit data source.");
  EXPECT_EQ(LabelText(dialog, "Label4"), "User:");
  EXPECT_EQ(LabelText(dialog, "Label5"), "Password:");
  EXPECT_EQ(LabelText(dialog, "Label6"), "Connection String:");
  EXPECT_EQ(Find<QPushButton>(dialog, "cmdTestConnection").text(), "Test Connection");
  EXPECT_EQ(Find<QGroupBox>(dialog, "Frame2").title(), "Debugging");
  EXPECT_EQ(LabelText(dialog, "Label3"),
            "If you enable debugging the program will write a log file with information that will help the technical "
            "support resolve any issues with this program.");
  EXPECT_EQ(Find<QCheckBox>(dialog, "chkDebug").text(), "Debug mode");
  EXPECT_EQ(Find<QPushButton>(dialog, "cmdOK").text(), "OK");
  EXPECT_EQ(Find<QPushButton>(dialog, "cmdCancel").text(), "Cancel");
}

TEST_F(FrmConfigure, LabelsBelongToTheirFields) {
  const frmConfigure& dialog = Open();
  EXPECT_EQ(Find<QLabel>(dialog, "Label1").buddy(), &DataSources());
  EXPECT_EQ(Find<QLabel>(dialog, "Label4").buddy(), &Field("txtUserId"));
  EXPECT_EQ(Find<QLabel>(dialog, "Label5").buddy(), &Field("txtPassword"));
  EXPECT_EQ(Find<QLabel>(dialog, "Label6").buddy(), &Field("txtConnectionString"));
}

TEST_F(FrmConfigure, DoesNotBlockOtherWindowsAndHasAFixedSize) {
  frmConfigure& dialog = Open();
  EXPECT_FALSE(dialog.isModal());
  EXPECT_EQ(dialog.minimumSize(), dialog.maximumSize());
  const QSize size = dialog.size();
  dialog.resize(size * 2);
  EXPECT_EQ(dialog.size(), size);
}

TEST_F(FrmConfigure, NoTextIsCutOffAndTheControlsOfARowBeginAtOneLine) {
  const frmConfigure& dialog = Open();
  for (const QWidget* control : dialog.findChildren<QWidget*>()) {
    if (control->objectName().isEmpty() || control->objectName().startsWith("qt_")) continue;
    const QString name = control->objectName();
    EXPECT_GE(control->width(), control->minimumSizeHint().width()) << name.toStdString();
    EXPECT_GE(control->height(), control->minimumSizeHint().height()) << name.toStdString();
    if (const auto* label = qobject_cast<const QLabel*>(control)) {
      EXPECT_GE(label->height(), label->heightForWidth(label->width())) << name.toStdString();
    }
  }
  const auto& test = Find<QPushButton>(dialog, "cmdTestConnection");
  EXPECT_GE(test.width(), test.sizeHint().width() + 2 * test.fontMetrics().averageCharWidth());
  const auto& explanation = Find<QLabel>(dialog, "Label2");
  EXPECT_LT(dialog.width(), explanation.fontMetrics().horizontalAdvance(explanation.text())) << "it takes two lines";
  EXPECT_EQ(DataSources().y(), Find(dialog, "cmdNewSource").y());
  EXPECT_EQ(Find(dialog, "cmdOK").y(), Find(dialog, "cmdCancel").y());
}

TEST_F(FrmConfigure, ThePasswordIsShownAsAsterisks) {
  Open();
  EXPECT_EQ(Field("txtPassword").displayText(), "******");
}

TEST_F(FrmConfigure, ThePasswordStandsNowhereButInTheConnectionString) {
  const frmConfigure& dialog = Open();
  EXPECT_FALSE(dialog.windowTitle().contains("secret"));
  for (const QWidget* control : dialog.findChildren<QWidget*>()) {
    const QString name = control->objectName();
    for (const QString& shown : {control->toolTip(), control->accessibleName(), control->accessibleDescription()}) {
      EXPECT_FALSE(shown.contains("secret")) << name.toStdString();
    }
    const auto* field = qobject_cast<const QLineEdit*>(control);
    if (field != nullptr && name != "txtConnectionString") {
      EXPECT_FALSE(field->displayText().contains("secret")) << name.toStdString();
    }
  }
}

// ---------------------------------------------------------------------------------------------------------------- load

TEST_F(FrmConfigure, LoadFillsTheFieldsFromTheSettings) {
  server_.settings = {"Sales", "sa", "secret", "Driver=Own;Password=other", true};
  Open();
  EXPECT_EQ(DataSource(), "Sales");
  EXPECT_EQ(TextOf("txtUserId"), "sa");
  EXPECT_EQ(TextOf("txtPassword"), "secret");
  EXPECT_EQ(ConnectionString(), "Driver=Own;Password=other") << "loading composes nothing";
  EXPECT_TRUE(Find<QCheckBox>(*dialog_, "chkDebug").isChecked());
}

TEST_F(FrmConfigure, LoadOfEmptySettingsLeavesAllFieldsEmpty) {
  server_.settings = {};
  Open();
  EXPECT_EQ(DataSource(), "") << "the first of the list is not chosen";
  EXPECT_EQ(TextOf("txtUserId") + TextOf("txtPassword") + ConnectionString(), "");
  EXPECT_FALSE(Find<QCheckBox>(*dialog_, "chkDebug").isChecked());
}

TEST_F(FrmConfigure, LoadKeepsADataSourceThatIsNotInTheList) {
  server_.settings.DSN = "Gone";
  Open();
  EXPECT_EQ(DataSource(), "Gone");
  EXPECT_THAT(List(), ElementsAre("Sales", "Accounts"));
}

TEST_F(FrmConfigure, LoadListsTheDataSourcesAndStartsTheTimer) {
  Open();
  EXPECT_THAT(List(), ElementsAre("Sales", "Accounts"));
  EXPECT_EQ(Timer().interval(), 1000);
  EXPECT_TRUE(Timer().isActive());
}

TEST_F(FrmConfigure, ClosingStopsTheTimer) {
  Open().close();
  EXPECT_FALSE(Timer().isActive());
}

// --------------------------------------------------------------------------------------------------- connection string

TEST_F(FrmConfigure, SalesSaAndAnEmptyPassword) {
  server_.settings = {};
  Open();
  TypeInto(DataSources(), "Sales");
  TypeInto(Field("txtUserId"), "sa");
  EXPECT_EQ(ConnectionString(), "DSN=Sales;UID=sa;PWD=");
}

TEST_F(FrmConfigure, AllThreePartsArePresentAlsoWhenTheyAreEmpty) {
  Open();
  for (const char* name : {"txtUserId", "txtPassword"}) Field(name).clear();
  DataSources().clearEditText();
  EXPECT_EQ(ConnectionString(), "DSN=;UID=;PWD=");
}

TEST_F(FrmConfigure, EveryChangeOfOneOfTheThreeFieldsComposesTheString) {
  Open();
  QTest::keyClicks(&DataSources(), "2");
  EXPECT_EQ(ConnectionString(), "DSN=Sales2;UID=sa;PWD=secret");
  QTest::keyClicks(&Field("txtUserId"), "3");
  EXPECT_EQ(ConnectionString(), "DSN=Sales2;UID=sa3;PWD=secret");
  QTest::keyClicks(&Field("txtPassword"), "4");
  EXPECT_EQ(ConnectionString(), "DSN=Sales2;UID=sa3;PWD=secret4");
}

TEST_F(FrmConfigure, ASelectionInTheListComposesTheString) {
  Open();
  DataSources().setFocus();
  QTest::keyClick(&DataSources(), Qt::Key_Down);
  EXPECT_EQ(DataSource(), "Accounts") << "it goes on from the entry that the field names";
  EXPECT_EQ(ConnectionString(), "DSN=Accounts;UID=sa;PWD=secret");
}

TEST_F(FrmConfigure, APasswordWithASemicolonIsPutInUnchanged) {
  Open();
  TypeInto(Field("txtPassword"), "a;b\"{c}");
  EXPECT_EQ(ConnectionString(), "DSN=Sales;UID=sa;PWD=a;b\"{c}");
}

TEST_F(FrmConfigure, TextsBeyondAsciiArePutInAsTheyAre) {
  server_.settings = {};
  Open();
  DataSources().setEditText(QString::fromUtf8("Ærø"));
  EXPECT_EQ(ConnectionString(), "DSN=Ærø;UID=;PWD=");
}

TEST_F(FrmConfigure, TheBeginningOfANameIsNotCompleted) {
  server_.settings.DSN = "";
  Open();
  DataSources().setFocus();
  QTest::keyClicks(&DataSources(), "Sal");
  EXPECT_EQ(DataSource(), "Sal");
}

TEST_F(FrmConfigure, AnEditOfTheStringIsKeptUntilTheNextChangeOfAField) {
  Open();
  TypeInto(Field("txtConnectionString"), "Driver=Own");
  System("[New]\nDriver=SQLite3\n");
  Tick();
  EXPECT_EQ(ConnectionString(), "Driver=Own") << "a refreshed list is no change";
  QTest::keyClicks(&Field("txtUserId"), "2");
  EXPECT_EQ(ConnectionString(), "DSN=Sales;UID=sa2;PWD=secret");
}

// ---------------------------------------------------------------------------------------------------------------- list

TEST_F(FrmConfigure, ADataSourceThatIsCreatedMeanwhileAppearsInTheList) {
  Open();
  System("[Sales]\nDriver=SQLite3\n[Accounts]\nDriver=SQLite3\n[Stock]\nDriver=SQLite3\n");
  Tick();
  EXPECT_THAT(List(), ElementsAre("Sales", "Accounts", "Stock"));
}

TEST_F(FrmConfigure, TheTimerItselfRefreshesTheList) {
  Open();
  System("[Stock]\nDriver=SQLite3\n");
  Timer().setInterval(1);
  EXPECT_TRUE(QTest::qWaitFor([this] { return List() == std::vector<std::string>{"Stock"}; }, 60'000));
}

TEST_F(FrmConfigure, EntriesAreReplacedAndRemovedAsTheListChanges) {
  Open();
  System("[Zeta]\nDriver=SQLite3\n");
  Tick();
  EXPECT_THAT(List(), ElementsAre("Zeta"));
  System("");
  Tick();
  EXPECT_THAT(List(), IsEmpty());
  System("[A]\nDriver=SQLite3\n[B]\nDriver=SQLite3\n");
  Tick();
  EXPECT_THAT(List(), ElementsAre("A", "B"));
  EXPECT_EQ(DataSource(), "Sales") << "whatever happens to the list";
  EXPECT_TRUE(Timer().isActive());
}

TEST_F(FrmConfigure, AnUnchangedListIsNotTouched) {
  Open();
  int changes = 0;
  QObject::connect(DataSources().model(), &QAbstractItemModel::dataChanged, dialog_.get(), [&] { ++changes; });
  QObject::connect(DataSources().model(), &QAbstractItemModel::rowsInserted, dialog_.get(), [&] { ++changes; });
  QObject::connect(DataSources().model(), &QAbstractItemModel::rowsRemoved, dialog_.get(), [&] { ++changes; });
  Tick();
  EXPECT_EQ(changes, 0);
  System("[Sales]\nDriver=SQLite3\n[Other]\nDriver=SQLite3\n");
  Tick();
  EXPECT_EQ(changes, 1) << "one entry has another text";
}

TEST_F(FrmConfigure, WhatWasTypedIsKeptWithTheCursorAndTheSelection) {
  server_.settings.DSN = "";
  Open();
  DataSources().setFocus();
  QTest::keyClicks(&DataSources(), "typed");
  QLineEdit& field = *DataSources().lineEdit();
  auto changeList = [&, count = 0]() mutable {
    System("[Data" + std::to_string(++count) + "]\nDriver=SQLite3\n");
    Tick();
  };
  field.setCursorPosition(2);
  changeList();
  EXPECT_EQ(DataSource(), "typed");
  EXPECT_EQ(field.cursorPosition(), 2);
  EXPECT_FALSE(field.hasSelectedText());
  field.setSelection(1, 3);
  changeList();
  EXPECT_EQ(field.selectedText(), "ype");
  EXPECT_EQ(field.cursorPosition(), 4);
  field.setSelection(4, -3);
  changeList();
  EXPECT_EQ(field.selectedText(), "ype");
  EXPECT_EQ(field.cursorPosition(), 1);
  QTest::keyClicks(&DataSources(), "X");
  EXPECT_EQ(DataSource(), "tXd");
}

TEST_F(FrmConfigure, TheNameOfAChosenEntryIsKeptWhenTheEntryBecomesAnother) {
  Open();
  DataSources().setFocus();
  QTest::keyClick(&DataSources(), Qt::Key_Down);
  QLineEdit& field = *DataSources().lineEdit();
  field.setCursorPosition(3);
  System("[Sales]\nDriver=SQLite3\n[New]\nDriver=SQLite3\n[Accounts]\nDriver=SQLite3\n");
  Tick();
  EXPECT_EQ(DataSource(), "Accounts");
  EXPECT_EQ(field.cursorPosition(), 3);
  EXPECT_EQ(DataSources().currentIndex(), 2);
}

TEST_F(FrmConfigure, AnOpenListStaysOpen) {
  Open();
  DataSources().showPopup();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(DataSources().view()->window()));
  DataSources().view()->setCurrentIndex(DataSources().model()->index(1, 0));
  Tick();
  System("[Sales]\nDriver=SQLite3\n[Accounts]\nDriver=SQLite3\n[Stock]\nDriver=SQLite3\n");
  Tick();
  EXPECT_TRUE(DataSources().view()->isVisible());
  EXPECT_EQ(DataSources().view()->currentIndex().row(), 1);
  EXPECT_EQ(DataSource(), "Sales");
  DataSources().hidePopup();
}

TEST_F(FrmConfigure, OnlyDataSourcesOfDriversThatMatchThePatternAreListed) {
  OdbcFolder::Write(odbc_.DriversFile(), "[SQLite3]\nDriver=s.so\n[Other]\nDriver=o.so\n");
  System("[Sales]\nDriver=SQLite3\n[Else]\nDriver=Other\n");
  server_.driverPattern = "^Oth";
  Open();
  EXPECT_THAT(List(), ElementsAre("Else"));
}

TEST_F(FrmConfigure, ThatNoDriverIsAppropriateIsToldAtEveryRefresh) {
  server_.driverPattern = "no such driver";
  Boxes boxes;
  Open();
  ASSERT_TRUE(QTest::qWaitFor([&] { return boxes.seen.size() == 1; }, 60'000)) << "at load, behind the dialog";
  EXPECT_EQ(boxes.seen[0].title, "ODBC Data Server");
  EXPECT_EQ(boxes.seen[0].text, kNoDriverText);
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kInformation);
  EXPECT_EQ(boxes.seen[0].buttons, 1);
  EXPECT_THAT(List(), IsEmpty());
  ASSERT_TRUE(QTest::qWaitFor([this] { return QApplication::activeModalWidget() == nullptr && Timer().isActive(); }));
  Tick();
  EXPECT_EQ(boxes.seen.size(), 2U);
  EXPECT_TRUE(Timer().isActive());
  server_.driverPattern = "SQLite3";
  Tick();
  EXPECT_EQ(boxes.seen.size(), 2U);
  EXPECT_THAT(List(), ElementsAre("Sales", "Accounts"));
}

TEST_F(FrmConfigure, TheListRestsWhileABoxIsOpen) {
  Open();
  bool looked = false;
  QTimer::singleShot(0, [&] {
    EXPECT_NE(QApplication::activeModalWidget(), nullptr);
    looked = !Timer().isActive();
    QApplication::activeModalWidget()->close();
  });
  QTest::keyClick(dialog_.get(), Qt::Key_F1);
  EXPECT_TRUE(looked);
  EXPECT_TRUE(Timer().isActive());
}

TEST_F(FrmConfigure, AnInvalidPatternIsToldOnceAndLeavesTheList) {
  Open();
  server_.driverPattern = "(";
  Boxes boxes;
  Tick();
  Tick();
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kExclamation);
  EXPECT_THAT(boxes.seen[0].text, ::testing::StartsWith("Invalid regular expression \"(\": "));
  EXPECT_THAT(boxes.seen[0].text, ::testing::EndsWith(" GetDatasources[Get driver files]"));
  EXPECT_THAT(List(), ElementsAre("Sales", "Accounts"));
  server_.driverPattern = "";
  Tick();
  server_.driverPattern = "(";
  Tick();
  EXPECT_EQ(boxes.seen.size(), 2U) << "a new failure is told again";
}

// ------------------------------------------------------------------------------------------------- ODBC administrator

TEST_F(FrmConfigure, NewStartsTheAdministratorAndDoesNotWaitForIt) {
  const test::TemporaryFolder programs;
  const std::string file = programs.Path() + "/started";
  test::WriteProgram(programs.Path() + "/ODBCManageDataSourcesQ4", test::StayingScript(file));
  // The script's own programs are found behind it.
  const test::EnvironmentValue path("PATH", programs.Path() + ":" + EnvironmentVariable("PATH"));
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdNewSource");
  const int pid = std::atoi(test::WaitForFile(file).c_str());
  ASSERT_GT(pid, 1);
  EXPECT_EQ(kill(pid, SIGKILL), 0) << "it still runs";
  EXPECT_THAT(boxes.seen, IsEmpty());
}

TEST_F(FrmConfigure, WithoutAnAdministratorNewTellsWhatToDo) {
  const test::TemporaryFolder empty;
  const test::EnvironmentValue path("PATH", empty.Path());
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdNewSource");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].title, "ODBC Data Server");
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kInformation);
  EXPECT_THAT(boxes.seen[0].text, ::testing::HasSubstr(odbc_.UserFile()));
}

TEST_F(FrmConfigure, AnEditorThatOpensNothingIsTold) {
  const test::TemporaryFolder programs;
  test::WriteProgram(programs.Path() + "/xdg-open", "exit 3\n");
  const test::EnvironmentValue path("PATH", programs.Path());
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdNewSource");
  EXPECT_THAT(boxes.seen, IsEmpty()) << "it is not waited for";
  ASSERT_TRUE(QTest::qWaitFor([&] { return !boxes.seen.empty(); }, 60'000));
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kExclamation);
  EXPECT_THAT(boxes.seen[0].text, ::testing::HasSubstr("xdg-open ended with the status 3."));
  EXPECT_THAT(boxes.seen[0].text, ::testing::HasSubstr(odbc_.UserFile()));
  QTest::qWait(300);
  EXPECT_EQ(boxes.seen.size(), 1U) << "once";
}

TEST_F(FrmConfigure, AnEditorThatOpensTheFileIsNotSpokenOf) {
  const test::TemporaryFolder programs;
  test::WriteProgram(programs.Path() + "/xdg-open", "exit 0\n");
  const test::EnvironmentValue path("PATH", programs.Path());
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdNewSource");
  QTest::qWait(500);
  EXPECT_THAT(boxes.seen, IsEmpty());
}

// ----------------------------------------------------------------------------------------------------- test connection

TEST_F(FrmConfigure, AConnectionThatOpensIsOkAndIsClosedAgain) {
  RegisterConnection([](OpeningConnection& connection) { connection.properties = {{"DBMS Name", "SQLite"}}; });
  Open();
  TypeInto(Field("txtConnectionString"), "DSN=Typed");
  bool open = false;
  std::string connectionString;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &look, [&] {
    if (test::OpenBox() == nullptr) return;
    open = !connection_.expired();
    if (open) connectionString = connection_.lock()->connectionString;
    look.stop();
  });
  look.start(0);
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].title, "Test Connection");
  EXPECT_EQ(boxes.seen[0].text, "Connection is ok!");
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kInformation);
  EXPECT_TRUE(open) << "until the box is closed";
  EXPECT_EQ(connectionString, "DSN=Typed") << "the string as it stands in the field";
  EXPECT_TRUE(connection_.expired());
  EXPECT_THAT(server_.calls, IsEmpty());
}

TEST_F(FrmConfigure, WhileItConnectsTheCursorWaits) {
  std::optional<Qt::CursorShape> shape;
  RegisterConnection([&](OpeningConnection&) {
    if (QGuiApplication::overrideCursor() != nullptr) shape = QGuiApplication::overrideCursor()->shape();
    throw Error(error_number::kGeneralFailure, "not there");
  });
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  EXPECT_EQ(shape, Qt::WaitCursor);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(FrmConfigure, BeforeItConnectsTheDialogIsPainted) {
  EventCounter paints(QEvent::Paint);
  RegisterConnection([&](OpeningConnection&) { EXPECT_GT(paints.count, 0); });
  Open();
  Boxes boxes;
  Find(*dialog_, "txtUserId").installEventFilter(&paints);
  Find(*dialog_, "txtUserId").update();  // as when something that covered it has gone
  Click(*dialog_, "cmdTestConnection");
  EXPECT_EQ(boxes.seen.size(), 1U);
}

TEST_F(FrmConfigure, WhereEventsRunWhileItConnectsASecondClickDoesNothing) {
  int opened = 0;
  RegisterConnection([&](OpeningConnection&) {
    if (++opened > 3) return;
    Click(*dialog_, "cmdTestConnection");
  });
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(boxes.seen.size(), 1U);
}

TEST_F(FrmConfigure, WhileTheDriverIsWaitedForTheDialogLivesAndCancelGivesItUp) {
  server_.connectTimeout = 7;
  RegisterConnection([&](OpeningConnection& connection) {
    EXPECT_EQ(connection.limits.connectSeconds, 7);
    bool isAlive = false;
    QTimer::singleShot(0, dialog_.get(), [&] { isAlive = true; });
    EXPECT_FALSE(connection.limits.giveUp());
    EXPECT_TRUE(isAlive);
    server_.stopRequested = true;
    EXPECT_TRUE(connection.limits.giveUp());
    server_.stopRequested = false;
    Click(*dialog_, "cmdCancel");
    EXPECT_TRUE(connection.limits.giveUp());
    throw Error(error_number::kGeneralFailure, "given up");
  });
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  EXPECT_THAT(boxes.seen, IsEmpty());
}

TEST_F(FrmConfigure, TheTestOfADialogThatWasClosedMeanwhileIsNotTold) {
  RegisterConnection([&](OpeningConnection&) {
    Click(*dialog_, "cmdCancel");
    EXPECT_TRUE(dialog_->IsTesting());
  });
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  EXPECT_THAT(boxes.seen, IsEmpty());
  EXPECT_FALSE(dialog_->IsTesting());
}

TEST_F(FrmConfigure, AConnectionThatFailsIsToldWithItsError) {
  RegisterConnection(
      [](OpeningConnection&) { throw Error(error_number::kGeneralFailure, "Data source name not found"); });
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].title, "Test Connection");
  EXPECT_EQ(boxes.seen[0].text,
            "An error occured when trying to connect to the database.\n\n"
            "Error -2147467259. Data source name not found");
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kExclamation);
  EXPECT_TRUE(connection_.expired());
}

TEST_F(FrmConfigure, AConnectionThatIsNotOpenWithoutAnErrorIsTold) {
  RegisterConnection([](OpeningConnection&) {});
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].title, "Test Connection");
  EXPECT_EQ(boxes.seen[0].text, "The connection failed without an error.");
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kExclamation);
}

TEST_F(FrmConfigure, AMissingConnectionComponentIsTold) {
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].text,
            "An error occured when trying to connect to the database.\n\n"
            "Error 429. Error creating object: ADODB.Connection");
}

TEST_F(FrmConfigure, TheRealConnectionIsTestedToo) {
  components_.Register("ADODB.Connection", [] { return CreateOdbcConnection(); });
  Open();
  TypeInto(Field("txtConnectionString"), "DSN=no such data source");
  Boxes boxes;
  Click(*dialog_, "cmdTestConnection");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_THAT(boxes.seen[0].text,
              ::testing::StartsWith("An error occured when trying to connect to the database.\n\nError -"));
}

// ------------------------------------------------------------------------------------------------------- OK and Cancel

TEST_F(FrmConfigure, OkStoresTheSettingsSavesThemAndCloses) {
  Open();
  DataSources().setEditText("Stock");
  Field("txtUserId").setText("me");
  Field("txtPassword").setText("p w");
  Field("txtConnectionString").setText("Driver=Own");
  Find<QCheckBox>(*dialog_, "chkDebug").setChecked(true);
  Click(*dialog_, "cmdOK");
  EXPECT_EQ(server_.settings, (OperatorSettings{"Stock", "me", "p w", "Driver=Own", true}));
  EXPECT_EQ(server_.saved, server_.settings);
  EXPECT_THAT(server_.calls, ElementsAre("save", "store"));
  EXPECT_FALSE(dialog_->isVisible());
}

TEST_F(FrmConfigure, ReturnAccepts) {
  Open();
  Boxes boxes;
  Field("txtUserId").setFocus();
  QTest::keyClick(&Field("txtUserId"), Qt::Key_Return);
  EXPECT_THAT(boxes.seen, IsEmpty());
  EXPECT_THAT(server_.calls, ElementsAre("save", "store"));
  EXPECT_FALSE(dialog_->isVisible());
}

TEST_F(FrmConfigure, ReturnPressesTheButtonThatHasTheKeyboard) {
  int opened = 0;
  RegisterConnection([&](OpeningConnection&) { ++opened; });
  Open();
  Boxes boxes;
  const auto press = [this](const char* name) {
    Find(*dialog_, name).setFocus();
    QTest::keyClick(&Find(*dialog_, name), Qt::Key_Return);
  };
  press("cmdTestConnection");
  EXPECT_EQ(opened, 1);
  const test::TemporaryFolder empty;
  const test::EnvironmentValue path("PATH", empty.Path());
  press("cmdNewSource");
  ASSERT_EQ(boxes.seen.size(), 2U);
  EXPECT_THAT(boxes.seen[1].text, ::testing::HasSubstr(odbc_.UserFile()));
  press("cmdCancel");
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_THAT(server_.calls, IsEmpty());
}

TEST_F(FrmConfigure, AColumnLimitOf255Becomes5000) {
  System("; sales\n[Sales]\nDriver=SQLite3\nMaxColSupport = 255\n[Accounts]\nMaxColSupport=255\n");
  Open();
  Click(*dialog_, "cmdOK");
  EXPECT_EQ(ContentOf(odbc_.SystemFile()),
            "; sales\n[Sales]\nDriver=SQLite3\nMaxColSupport = 5000\n[Accounts]\nMaxColSupport=255\n");
  EXPECT_THAT(server_.calls, ElementsAre("save", "store"));
}

TEST_F(FrmConfigure, WithoutAColumnLimitNothingIsWritten) {
  const std::string text = "[Sales]\nDriver=SQLite3\n[Accounts]\nMaxColSupport=255\n";
  System(text);
  Open();
  Click(*dialog_, "cmdOK");
  EXPECT_EQ(ContentOf(odbc_.SystemFile()), text);
}

TEST_F(FrmConfigure, AColumnLimitOf5000StaysAsItIs) {
  const std::string text = "[Sales]\nMaxColSupport = 5000 \n";
  System(text);
  Open();
  Click(*dialog_, "cmdOK");
  EXPECT_EQ(ContentOf(odbc_.SystemFile()), text);
}

TEST_F(FrmConfigure, OnlyTheSystemsDataSourceIsLookedAtForItsColumnLimit) {
  System("[Accounts]\nDriver=SQLite3\n");
  OdbcFolder::Write(odbc_.UserFile(), "[Sales]\nMaxColSupport=255\n");
  Open();
  Click(*dialog_, "cmdOK");
  EXPECT_EQ(ContentOf(odbc_.UserFile()), "[Sales]\nMaxColSupport=255\n");
}

TEST_F(FrmConfigure, AnEmptyOrUnknownDataSourceIsAcceptedWithoutAMessage) {
  for (const char* name : {"", "Unknown", "x\\y]\n"}) {
    server_.settings.DSN = name;
    server_.calls.clear();
    Open();
    Boxes boxes;
    Click(*dialog_, "cmdOK");
    EXPECT_THAT(boxes.seen, IsEmpty());
    EXPECT_THAT(server_.calls, ElementsAre("save", "store"));
  }
}

TEST_F(FrmConfigure, AFailedSaveIsToldAndTheDialogStays) {
  server_.saveFailure = "Unable to write file \"/no/dataserver.xml\": No such file or directory";
  Open();
  Boxes boxes;
  Click(*dialog_, "cmdOK");
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_EQ(boxes.seen[0].title, "ODBC Data Server");
  EXPECT_EQ(boxes.seen[0].text, server_.saveFailure);
  EXPECT_EQ(boxes.seen[0].style, BoxStyle::kExclamation);
  EXPECT_TRUE(dialog_->isVisible());
  EXPECT_TRUE(Timer().isActive());
  EXPECT_THAT(server_.calls, ElementsAre("save")) << "what was not saved is not taken over";
  server_.saveFailure = "";
  Click(*dialog_, "cmdOK");
  EXPECT_FALSE(dialog_->isVisible());
}

TEST_F(FrmConfigure, AfterAFailedSaveCancelLeavesEverythingAsItWas) {
  const OperatorSettings before = server_.settings;
  server_.saveFailure = "Unable to write file";
  Open();
  Field("txtUserId").setText("other");
  Boxes boxes;
  Click(*dialog_, "cmdOK");
  Click(*dialog_, "cmdCancel");
  EXPECT_EQ(server_.settings, before);
  EXPECT_THAT(server_.calls, ElementsAre("save"));
}

TEST_F(FrmConfigure, CancelAndEscapeStoreNothing) {
  const OperatorSettings before = server_.settings;
  Open();
  Field("txtUserId").setText("other");
  Click(*dialog_, "cmdCancel");
  EXPECT_FALSE(dialog_->isVisible());
  Open();
  Field("txtUserId").setText("other");
  QTest::keyClick(&Field("txtUserId"), Qt::Key_Escape);
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_EQ(server_.settings, before);
  EXPECT_THAT(server_.calls, IsEmpty());
}

// ---------------------------------------------------------------------------------------------------------------- keys

TEST_F(FrmConfigure, F1ShowsHelpOnTheCaption) {
  Open();
  for (const char* name : {"frmConfigure", "cmbDSN", "txtPassword", "cmdOK", "chkDebug"}) {
    Boxes boxes;
    QWidget& control = dialog_->objectName() == name ? *dialog_ : Find(*dialog_, name);
    QTest::keyClick(&control, Qt::Key_F1);
    ASSERT_EQ(boxes.seen.size(), 1U) << name;
    EXPECT_EQ(boxes.seen[0].text, "Help on Configure ODBC Data Server");
    EXPECT_EQ(boxes.seen[0].buttons, 1);
  }
}

TEST_F(FrmConfigure, AKeyPutsTheKeyboardOrderRowByRow) {
  Open();
  DataSources().setFocus();
  QWidget::setTabOrder(&DataSources(), &Find(*dialog_, "cmdCancel"));
  QWidget::setTabOrder(&Find(*dialog_, "cmdCancel"), &Field("txtConnectionString"));
  std::vector<std::string> order;
  for (int i = 0; i < 10; ++i) {
    ASSERT_NE(dialog_->focusWidget(), nullptr);
    order.push_back(dialog_->focusWidget()->objectName().toStdString());
    QTest::keyClick(dialog_->focusWidget(), Qt::Key_Tab);
  }
  EXPECT_THAT(order, ElementsAre("cmbDSN", "cmdNewSource", "txtUserId", "txtPassword", "txtConnectionString",
                                 "cmdTestConnection", "chkDebug", "cmdOK", "cmdCancel", "cmbDSN"));
}

}  // namespace
}  // namespace ods
