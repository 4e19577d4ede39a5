#include "ui/windows/frmConfigure.h"

#include <QCoreApplication>
#include <exception>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Value.h"
#include "platform/ado/Ado.h"
#include "platform/system/Registry.h"
#include "platform/system/System.h"
#include "ui/modDatasources.h"
#include "ui/windows/WaitCursor.h"
#include "ui/windows/modAdministrator.h"
#include "ui/windows/modBox.h"
#include "ui/windows/modTabOrder.h"

namespace ods {

namespace {

constexpr int kTickMilliseconds = 1000;
constexpr int kOpenerTickMilliseconds = 100;
/// An opener that ends later than this (ticks) has opened something.
constexpr int kOpenerTicks = 100;
/// The width of the fields, in characters of a common width.
constexpr int kFieldCharacters = 34;
constexpr int kSpareCharacters = 3;
constexpr const char* kTestConnection = "Test Connection";
constexpr const char* kDataSources = "HKEY_LOCAL_MACHINE\\Software\\ODBC\\ODBC.INI\\";
constexpr const char* kColumnLimitName = "\\MaxColSupport";
constexpr const char* kColumnLimit = "5000";

QString ToText(const std::string& text) { return QString::fromStdString(text); }

void InitLabel(QLabel& label, const char* name, const char* text) {
  label.setObjectName(name);
  label.setTextFormat(Qt::PlainText);
  label.setText(text);
}

void InitCaption(QLabel& caption, const char* name, const char* text, QWidget& field) {
  InitLabel(caption, name, text);
  caption.setBuddy(&field);
}

void InitExplanation(QLabel& label, const char* name, const char* text) {
  InitLabel(label, name, text);
  label.setWordWrap(true);
}

template <typename Button>
void InitButton(Button& button, const char* name, const char* text) {
  button.setObjectName(name);
  button.setText(text);
}

/// The two controls of a row fill its height, so that they begin at the same line whatever their own heights.
void FillRow(QWidget& control) {
  QSizePolicy policy = control.sizePolicy();
  policy.setVerticalPolicy(QSizePolicy::Preferred);
  control.setSizePolicy(policy);
}

/// What the operator sees of a text field.
struct FieldState {
  explicit FieldState(const QLineEdit& field)
      : text(field.text()),
        cursor(field.cursorPosition()),
        selectionStart(field.selectionStart()),
        selectionLength(field.selectionLength()) {}
  bool operator==(const FieldState&) const = default;

  void PutBack(QLineEdit& field) const {
    if (FieldState(field) == *this) return;
    if (field.text() != text) field.setText(text);
    if (selectionStart < 0) {
      field.deselect();
      field.setCursorPosition(cursor);
    } else if (cursor == selectionStart) {  // selected from right to left
      field.setSelection(selectionStart + selectionLength, -selectionLength);
    } else {
      field.setSelection(selectionStart, selectionLength);
    }
  }

  QString text;
  int cursor;
  int selectionStart;
  int selectionLength;
};

std::string ConnectErrorText(std::int32_t number, const std::string& description) {
  return "An error occured when trying to connect to the database.\n\nError " + std::to_string(number) + ". " +
         description;
}

}  // namespace

frmConfigure::frmConfigure(ServerView& server, const ComponentRegistry& components, QWidget* parent)
    : QDialog(parent), server_(server), components_(components) {
  MakeControls();
  Arrange();
  Form_Load();
  Connect();
}

void frmConfigure::MakeControls() {
  setObjectName("frmConfigure");
  setWindowTitle("Configure");
  Frame1.setObjectName("Frame1");
  Frame1.setTitle("Database Connection");
  InitExplanation(Label2, "Label2",
                  "Please select a 32 bit ODBC data soruce. You can create new data sources using the ODBC Data Source "
                  "Administrator in your Control Panel.");
  cmbDSN.setObjectName("cmbDSN");
  cmbDSN.setToolTip("Only 32 bit data sources are listed here.");
  cmbDSN.setEditable(true);
  cmbDSN.setInsertPolicy(QComboBox::NoInsert);
  cmbDSN.setCompleter(nullptr);  // the text is what the operator typed, and no more
  InitCaption(Label1, "Label1", "Data Source Name:", cmbDSN);
  InitButton(cmdNewSource, "cmdNewSource", "New");
  cmdNewSource.setToolTip("Create or change a 32 bit data source.");
  txtUserId.setObjectName("txtUserId");
  InitCaption(Label4, "Label4", "User:", txtUserId);
  txtPassword.setObjectName("txtPassword");
  txtPassword.setEchoMode(QLineEdit::Password);
  txtPassword.setStyleSheet("lineedit-password-character: 42");  // "*", whatever character the platform shows
  InitCaption(Label5, "Label5", "Password:", txtPassword);
  txtConnectionString.setObjectName("txtConnectionString");
  InitCaption(Label6, "Label6", "Connection String:", txtConnectionString);
  InitButton(cmdTestConnection, "cmdTestConnection", kTestConnection);
  Frame2.setObjectName("Frame2");
  Frame2.setTitle("Debugging");
  InitExplanation(Label3, "Label3",
                  "If you enable debugging the program will write a log file with information that will help the "
                  "technical support resolve any issues with this program.");
  InitButton(chkDebug, "chkDebug", "Debug mode");
  InitButton(cmdOK, "cmdOK", "OK");
  cmdOK.setDefault(true);
  InitButton(cmdCancel, "cmdCancel", "Cancel");
  Timer1.setObjectName("Timer1");
  Timer1.setInterval(kTickMilliseconds);
  openerTimer_.setInterval(kOpenerTickMilliseconds);
}

void frmConfigure::Arrange() {
  cmbDSN.setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  cmbDSN.setMinimumContentsLength(kFieldCharacters);
  FillRow(cmbDSN);
  FillRow(cmdNewSource);

  int row = 0;
  connectionLayout_.addWidget(&Label2, row, 0, 1, 3);
  connectionLayout_.addWidget(&Label1, ++row, 0);
  connectionLayout_.addWidget(&cmbDSN, row, 1);
  connectionLayout_.addWidget(&cmdNewSource, row, 2);
  connectionLayout_.addWidget(&Label4, ++row, 0);
  connectionLayout_.addWidget(&txtUserId, row, 1, 1, 2);
  connectionLayout_.addWidget(&Label5, ++row, 0);
  connectionLayout_.addWidget(&txtPassword, row, 1, 1, 2);
  connectionLayout_.addWidget(&Label6, ++row, 0);
  connectionLayout_.addWidget(&txtConnectionString, row, 1, 1, 2);
  // Its text is a long one: some styles leave it no room at all.
  const int spare = kSpareCharacters * cmdTestConnection.fontMetrics().averageCharWidth();
  cmdTestConnection.setMinimumWidth(cmdTestConnection.sizeHint().width() + spare);
  connectionLayout_.addWidget(&cmdTestConnection, ++row, 1, 1, 2, Qt::AlignRight);
  connectionLayout_.setColumnStretch(1, 1);

  debugLayout_.addWidget(&Label3);
  debugLayout_.addWidget(&chkDebug);

  buttonLayout_.addStretch();
  buttonLayout_.addWidget(&cmdOK);
  buttonLayout_.addWidget(&cmdCancel);

  layout_.addWidget(&Frame1);
  layout_.addWidget(&Frame2);
  layout_.addLayout(&buttonLayout_);
  // Nobody resizes the dialog: it has the size of its contents.
  layout_.setSizeConstraint(QLayout::SetFixedSize);
  setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                 Qt::WindowCloseButtonHint);
}

void frmConfigure::Connect() {
  // Typing and selecting both end in the text of the field.
  connect(&cmbDSN, &QComboBox::editTextChanged, this, [this] { ComposeConnectionString(); });
  connect(&txtUserId, &QLineEdit::textChanged, this, [this] { ComposeConnectionString(); });
  connect(&txtPassword, &QLineEdit::textChanged, this, [this] { ComposeConnectionString(); });
  connect(&cmdNewSource, &QPushButton::clicked, this, [this] { cmdNewSource_Click(); });
  connect(&cmdTestConnection, &QPushButton::clicked, this, [this] { cmdTestConnection_Click(); });
  connect(&cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
  connect(&cmdCancel, &QPushButton::clicked, this, [this] { close(); });
  connect(&Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });
  connect(&openerTimer_, &QTimer::timeout, this, [this] { openerTimer_Timer(); });
  connect(this, &QDialog::finished, &Timer1, &QTimer::stop);
  connect(this, &QDialog::finished, &openerTimer_, &QTimer::stop);
  installEventFilter(this);
  for (QWidget* control : findChildren<QWidget*>()) control->installEventFilter(this);
}

void frmConfigure::Form_Load() {
  setWindowTitle(ToText("Configure " + server_.ApplicationTitle()));
  const OperatorSettings settings = server_.GetSettings();
  cmbDSN.setEditText(ToText(settings.DSN));
  txtUserId.setText(ToText(settings.User));
  txtPassword.setText(ToText(settings.Password));
  txtConnectionString.setText(ToText(settings.ConnectionString));
  txtConnectionString.setCursorPosition(0);
  chkDebug.setChecked(settings.DebugMode);
  if (const auto notice = RefreshDatasources()) {
    // A box runs events until it is closed: the dialog has to be there first.
    QMetaObject::invokeMethod(
        this, [this, notice] { Show(*notice); }, Qt::QueuedConnection);
  }
  Timer1.start();
}

bool frmConfigure::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && Form_KeyDown(static_cast<const QKeyEvent&>(*event))) return true;
  return QDialog::eventFilter(watched, event);
}

/// True when the key needs no further treatment.
bool frmConfigure::Form_KeyDown(const QKeyEvent& event) {
  SetTabOrder(*this);
  if (event.key() != Qt::Key_F1) return false;
  Box(server_.ApplicationTitle(), "Help on " + windowTitle().toStdString(), BoxStyle::kInformation);
  return true;
}

void frmConfigure::ComposeConnectionString() {
  if (refreshing_) return;
  txtConnectionString.setText("DSN=" + cmbDSN.currentText() + ";UID=" + txtUserId.text() +
                              ";PWD=" + txtPassword.text());
}

void frmConfigure::Timer1_Timer() {
  Timer1.stop();  // a slow tick does not overlap the next one
  if (const auto notice = RefreshDatasources()) Show(*notice);
  Timer1.start();
}

/// Brings the list up to date; gives what there is to tell the operator.
std::optional<frmConfigure::Notice> frmConfigure::RefreshDatasources() {
  std::optional<Notice> notice;
  try {
    const auto dataSources = GetDatasources(server_.DriverPattern(), components_, [&notice](const std::string& text) {
      notice = Notice{text, BoxStyle::kInformation};
    });
    ListDatasources(*dataSources);
    toldError_.clear();
  } catch (const Error& error) {
    if (toldError_ == error.Description()) return std::nullopt;
    toldError_ = error.Description();
    notice = Notice{toldError_, BoxStyle::kExclamation};
  }
  return notice;
}

void frmConfigure::ListDatasources(const Dictionary& dataSources) {
  QLineEdit& field = *cmbDSN.lineEdit();
  const FieldState before(field);
  refreshing_ = true;  // what happens to the field meanwhile is no change by the operator
  int position = 0;
  for (const auto& [name, values] : dataSources.Entries()) {
    const QString wanted = ToText(name);
    if (position >= cmbDSN.count()) {
      cmbDSN.addItem(wanted);
    } else if (cmbDSN.itemText(position) != wanted) {
      cmbDSN.setItemText(position, wanted);
    }
    ++position;
  }
  while (cmbDSN.count() > position) cmbDSN.removeItem(cmbDSN.count() - 1);
  // The arrow keys go on from the entry that the text names.
  cmbDSN.setCurrentIndex(cmbDSN.findText(before.text));
  before.PutBack(field);
  refreshing_ = false;
}

void frmConfigure::cmdNewSource_Click() {
  std::optional<StartedAdministrator> started = StartAdministrator(EnvironmentVariable("PATH"));
  if (!started) {
    Show({WithoutAdministratorText(), BoxStyle::kInformation});
    return;
  }
  opener_ = std::move(started->opener);
  openerTicks_ = 0;
  if (opener_) openerTimer_.start();
}

/// Tells of an opener that opened nothing, which ends soon and with a status of its own.
void frmConfigure::openerTimer_Timer() {
  const std::optional<int> status = opener_->FailedStatus();
  if (!status && ++openerTicks_ < kOpenerTicks) return;
  openerTimer_.stop();
  opener_.reset();
  if (status) Show({OpenerFailedText(*status), BoxStyle::kExclamation});
}

void frmConfigure::cmdTestConnection_Click() {
  if (testing_) return;  // window events may run while the driver connects
  testing_ = true;
  // The connection closes when its last owner goes, after the box.
  const TestResult result = OpenConnection(txtConnectionString.text().toStdString());
  // Nobody waits for the result of a dialog that was closed meanwhile.
  if (isVisible()) Tell(result);
  testing_ = false;
}

/// Tries a connection string; any failure is part of the result.
frmConfigure::TestResult frmConfigure::OpenConnection(const std::string& connectionString) {
  const WaitCursor waiting;
  // The screen shows the dialog as it is before the driver takes its time; what the operator does meanwhile waits.
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  TestResult result;
  try {
    result.connection = CreateObjectChecked<Connection>(components_, "ADODB.Connection");
    result.connection->SetLimits({.connectSeconds = server_.ConnectTimeout(), .giveUp = [this] {
                                    // The windows live while the driver is waited for, and closing the dialog ends
                                    // that.
                                    QCoreApplication::processEvents();
                                    return !isVisible() || server_.StopRequested();
                                  }});
    result.connection->Open(connectionString);
  } catch (const Error& error) {
    result.error = ConnectErrorText(error.Number(), error.Description());
  } catch (const std::exception& error) {
    result.error = ConnectErrorText(error_number::kOwn, error.what());
  }
  return result;
}

void frmConfigure::Tell(const TestResult& result) {
  if (result.error) {
    Box(kTestConnection, *result.error, BoxStyle::kExclamation);
  } else if (result.connection->Properties().empty()) {  // which every open connection has
    Box(kTestConnection, "The connection failed without an error.", BoxStyle::kExclamation);
  } else {
    Box(kTestConnection, "Connection is ok!", BoxStyle::kInformation);
  }
}

void frmConfigure::cmdOK_Click() {
  OperatorSettings settings;
  settings.DSN = cmbDSN.currentText().toStdString();
  settings.User = txtUserId.text().toStdString();
  settings.Password = txtPassword.text().toStdString();
  settings.ConnectionString = txtConnectionString.text().toStdString();
  settings.DebugMode = chkDebug.isChecked();
  try {
    RaiseColumnLimit(settings.DSN);
    // What cannot be saved is not taken over: then Cancel still leaves everything as it was.
    server_.SaveSettings(settings);
    server_.StoreSettings(settings);
  } catch (const Error& error) {
    Show({error.Description(), BoxStyle::kExclamation});
    return;
  }
  close();
}

/// A data source that limits its columns gets the limit that the server needs; any other is left as it is.
void frmConfigure::RaiseColumnLimit(const std::string& dataSource) {
  if (dataSource.empty()) return;
  const std::string path = kDataSources + dataSource + kColumnLimitName;
  const Value limit = RegRead(path);
  if (!limit.IsNull() && SafeStr(limit) != kColumnLimit) static_cast<void>(RegWrite(path, kColumnLimit));
}

void frmConfigure::Show(const Notice& notice) { Box(server_.ApplicationTitle(), notice.text, notice.style); }

/// Shows a box; the list rests meanwhile, so that no second box comes on top of it.
void frmConfigure::Box(const std::string& title, const std::string& text, BoxStyle style) {
  const bool ticking = Timer1.isActive();
  Timer1.stop();
  ShowBox(this, title, text, style);
  if (ticking) Timer1.start();
}

}  // namespace ods
