#include "ui/windows/frmMain.h"

#include <QCloseEvent>
#include <QLayout>
#include <QMenuBar>
#include <QString>
#include <utility>

#include "common/Error.h"
#include "ui/Uptime.h"
#include "ui/windows/ApplicationIcon.h"
#include "ui/windows/modTabOrder.h"

namespace ods {

namespace {

constexpr int kTickMilliseconds = 200;
constexpr int kPictureSize = 48;
constexpr double kTitleScale = 1.3;

/// Controls are written only when their text changes: everything else would flicker.
template <typename Control>
void SetTextIfOther(Control& control, const std::string& text) {
  const QString wanted = QString::fromStdString(text);
  if (control.text() != wanted) control.setText(wanted);
}

void InitLabel(QLabel& label, const char* name, const char* text) {
  label.setObjectName(name);
  label.setTextFormat(Qt::PlainText);
  label.setText(text);
}

void InitCaption(QLabel& caption, const char* name, const char* text, QLabel& value) {
  InitLabel(caption, name, text);
  caption.setBuddy(&value);
}

void InitAction(QAction& action, const char* name, const char* text, QMenu& menu) {
  action.setObjectName(name);
  action.setText(text);
  menu.addAction(&action);
}

void InitMenu(QMenu& menu, const char* name, const char* title, QMenuBar& bar) {
  menu.setObjectName(name);
  menu.setTitle(title);
  bar.addMenu(&menu);
}

void MakeTitle(QLabel& label) {
  QFont font = label.font();
  font.setBold(true);
  if (font.pointSizeF() > 0) font.setPointSizeF(font.pointSizeF() * kTitleScale);
  label.setFont(font);
}

}  // namespace

frmMain::frmMain(ServerView& server, MainWindowActions actions, Clock clock, const std::string& debugMutex)
    : server_(server), actions_(std::move(actions)), clock_(std::move(clock)) {
  MakeControls();
  MakeMenu();
  Arrange();
  Form_Load(debugMutex);
}

void frmMain::MakeControls() {
  setObjectName("frmMain");
  setWindowTitle("ODBC Data Server");
  InitLabel(lblProductName, "lblProductName", "Korvanta - ODBC Data Server");
  InitLabel(lblVersion, "lblVersion", "Version 1.0.0");
  Frame3.setObjectName("Frame3");
  Frame3.setTitle("Status");
  InitLabel(lblStatus, "lblStatus", "...");
  InitLabel(lblUptime, "lblUptime", "0 d 00:00");
  InitLabel(lblRequests, "lblRequests", "0");
  InitCaption(Label1, "Label1", "Status:", lblStatus);
  InitCaption(Label2, "Label2", "Uptime:", lblUptime);
  InitCaption(Label4, "Label4", "Requests:", lblRequests);
  cmdStart.setObjectName("cmdStart");
  cmdStart.setText("&Start");
  cmdStart.setAutoDefault(true);  // the Return key presses it when it has the keyboard
  // Whatever its caption, the button ends the server. No file is open between two steps of it that would have to be
  // closed here.
  connect(&cmdStart, &QPushButton::clicked, this, [this] { close(); });
  timerGUI.setObjectName("timerGUI");
  timerGUI.setInterval(kTickMilliseconds);
  connect(&timerGUI, &QTimer::timeout, this, [this] { GUIUpdate(); });
}

void frmMain::MakeMenu() {
  InitMenu(mnuFile, "mnuFile", "&File", *menuBar());
  InitMenu(mnuTools, "mnuTools", "&Tools", *menuBar());
  InitMenu(mnuHelp, "mnuHelp", "&Help", *menuBar());
  InitAction(mnuExit, "mnuExit", "E&xit", mnuFile);
  InitAction(mnuOptions, "mnuOptions", "&Options...", mnuTools);
  InitAction(mnuTraceLog, "mnuTraceLog", "Trace &Log", mnuTools);
  InitAction(mnuAbout, "mnuAbout", "&About", mnuHelp);  // nothing happens at it
  connect(&mnuExit, &QAction::triggered, this, [this] { close(); });
  connect(&mnuOptions, &QAction::triggered, this, [this] { actions_.showOptions(); });
  connect(&mnuTraceLog, &QAction::triggered, this, [this] { actions_.showTraceLog(); });
}

void frmMain::Arrange() {
  picture_.setPixmap(ApplicationIcon().pixmap(QSize(kPictureSize, kPictureSize), devicePixelRatioF()));
  MakeTitle(lblProductName);
  titleLayout_.addWidget(&lblProductName);
  titleLayout_.addWidget(&lblVersion);
  headLayout_.addWidget(&picture_);
  headLayout_.addLayout(&titleLayout_);
  headLayout_.addStretch();

  lblStatus.SetWidestTexts({status_text::kConnectToDatabase, status_text::kConnectToQueue, status_text::kRunning,
                            status_text::kStopped, status_text::kProcessing});
  lblUptime.SetWidestTexts({"99999 d 23:59"});
  lblRequests.SetWidestTexts({"2147483647"});
  int row = 0;
  for (const auto& [caption, value] :
       {std::pair{&Label1, &lblStatus}, {&Label2, &lblUptime}, {&Label4, &lblRequests}}) {
    frameLayout_.addWidget(caption, row, 0);
    frameLayout_.addWidget(value, row, 1);
    ++row;
  }
  frameLayout_.addWidget(&cmdStart, 0, 2, row, 1, Qt::AlignTop | Qt::AlignRight);
  frameLayout_.setColumnStretch(1, 1);

  contentLayout_.addLayout(&headLayout_);
  contentLayout_.addWidget(&Frame3);
  setCentralWidget(&content_);
  // Nobody resizes the window: it has the size of its contents.
  layout()->setSizeConstraint(QLayout::SetFixedSize);
  setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                 Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
}

void frmMain::Form_Load(const std::string& debugMutex) {
  SetTabOrder(*this);
  SetTextIfOther(lblProductName, server_.ApplicationTitle());
  SetTextIfOther(lblVersion, "Version " + server_.Version());
  if (!debugMutex.empty() && !MutexExists(debugMutex)) debugMutex_ = std::make_unique<NamedMutex>(debugMutex);
  timerGUI.start();
}

void frmMain::GUIUpdate() {
  timerGUI.stop();  // a slow tick does not overlap the next one
  SetTextIfOther(lblStatus, server_.StatusText());
  SetTextIfOther(lblUptime, UptimeText(clock_().seconds - server_.StartTime().seconds));
  SetTextIfOther(lblRequests, std::to_string(server_.RequestCount()));
  SetTextIfOther(cmdStart, server_.ButtonAction() == button_state::kStop ? "&Stop" : "&Start");
  timerGUI.start();
}

/// The texts of the design are never seen: a server that is busy from the start may not come to a tick for long.
void frmMain::showEvent(QShowEvent* event) {
  GUIUpdate();
  QMainWindow::showEvent(event);
}

void frmMain::closeEvent(QCloseEvent* event) {
  Form_Unload();
  event->accept();
}

void frmMain::Form_Unload() {
  timerGUI.stop();
  debugMutex_.reset();
  server_.ClearRunFlag();
  actions_.unloadOthers();
}

}  // namespace ods
