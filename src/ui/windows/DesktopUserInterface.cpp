#include "ui/windows/DesktopUserInterface.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QWindow>
#include <algorithm>
#include <functional>
#include <utility>

#include "platform/system/System.h"
#include "ui/windows/Application.h"
#include "ui/windows/modBox.h"

namespace ods {

namespace {

constexpr int kStopTestMilliseconds = 100;
/// How long a desktop may take to show a new window, and to tell what a closed one uncovered.
constexpr int kShowMilliseconds = 1000;
constexpr int kUncoverMilliseconds = 100;
constexpr int kEventPauseMilliseconds = 5;

/// Shows a window, or brings it to the front when it is open already.
void Present(QWidget& window) {
  window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
  window.show();
  window.raise();
  window.activateWindow();
}

/// Lets window events run until `isDone`, or until the time is over.
void RunEventsUntil(const std::function<bool()>& isDone, int mostMilliseconds) {
  const QDeadlineTimer end(mostMilliseconds);
  QCoreApplication::processEvents();
  while (!isDone() && !end.hasExpired()) {
    SleepMilliseconds(kEventPauseMilliseconds);
    QCoreApplication::processEvents();
  }
}

bool IsAnyWindowOpen() {
  return std::ranges::any_of(QApplication::topLevelWidgets(), [](const QWidget* window) {
    return window->isVisible() && (window->windowType() == Qt::Window || window->windowType() == Qt::Dialog);
  });
}

void CloseBoxes() {
  // The innermost first; each one's own loop ends only after this one.
  if (QWidget* box = QApplication::activeModalWidget()) box->close();
}

}  // namespace

DesktopUserInterface::DesktopUserInterface(ServerView& server, const ComponentRegistry& components)
    : application_(std::make_unique<Application>()), server_(server), components_(components) {
  // A box runs events by itself until somebody closes it: it must not keep a server from stopping.
  QObject::connect(&stopTimer_, &QTimer::timeout, &stopTimer_, [this] {
    if (server_.StopRequested()) CloseBoxes();
  });
  stopTimer_.start(kStopTestMilliseconds);
}

DesktopUserInterface::~DesktopUserInterface() = default;

void DesktopUserInterface::LetEventsRun() {
  QCoreApplication::processEvents();
  ForgetClosedOptions();
}

void DesktopUserInterface::ShowMainWindow() {
  mainWindow_ = std::make_unique<frmMain>(server_, MainWindowActions{.showOptions = [this] { ShowOptionsDialog(); },
                                                                     .showTraceLog = [this] { ShowTraceLog(); },
                                                                     .unloadOthers = [this] { UnloadOthers(); }});
  mainWindow_->show();
  RunEventsUntil([this] { return !mainWindow_->isVisible() || mainWindow_->windowHandle()->isExposed(); },
                 kShowMilliseconds);
  QGuiApplication::sync();
}

void DesktopUserInterface::BeginLongWork() {
  waitCursor_.emplace();
  if (mainWindow_ && mainWindow_->isVisible()) mainWindow_->GUIUpdate();
  LetEventsRun();
  // The desktop takes a closed window off the screen in its own time, and only then asks for what lay behind it.
  if (std::exchange(sawDialogClose_, false)) RunEventsUntil([] { return false; }, kUncoverMilliseconds);
  QGuiApplication::sync();
}

void DesktopUserInterface::EndLongWork() { waitCursor_.reset(); }

void DesktopUserInterface::UnloadMainWindow() {
  if (mainWindow_) mainWindow_->close();
  mainWindow_.reset();
  UnloadOthers();
}

void DesktopUserInterface::ShowOptionsDialog() {
  ForgetClosedOptions();
  if (!options_) options_ = std::make_unique<frmConfigure>(server_, components_);
  Present(*options_);
}

void DesktopUserInterface::ShowTraceLog() {
  if (!traceLog_) traceLog_ = std::make_unique<frmTraceLog>(server_);
  Present(*traceLog_);
}

void DesktopUserInterface::UnloadOthers() {
  LetGoOfOptions();
  if (traceLog_) traceLog_->Form_Unload();
  traceLog_.reset();
}

/// A closed options dialog is gone: the next one starts from the settings of that time.
void DesktopUserInterface::ForgetClosedOptions() {
  std::erase_if(testing_, [](const std::unique_ptr<frmConfigure>& options) { return !options->IsTesting(); });
  if (options_ && !options_->isVisible()) LetGoOfOptions();
}

/// One that tests a connection, while window events run, is still needed by the test.
void DesktopUserInterface::LetGoOfOptions() {
  if (!options_) return;
  sawDialogClose_ = true;
  options_->close();
  if (options_->IsTesting()) testing_.push_back(std::move(options_));
  options_.reset();
}

void DesktopUserInterface::WaitUntilClosed() {
  while (IsAnyWindowOpen() && !server_.StopRequested()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  UnloadMainWindow();
}

void DesktopUserInterface::MessageBox(const std::string& title, const std::string& text, BoxStyle style) {
  QWidget* parent = mainWindow_.get();
  if (options_ && options_->isVisible()) parent = options_.get();
  ShowBox(parent, title.empty() ? server_.ApplicationTitle() : title, text, style);
  sawDialogClose_ = true;
}

void DesktopUserInterface::AddTraceEntry(std::int32_t severity, const std::string& text) {
  if (traceLog_) traceLog_->AddEntry(text, std::to_string(severity));
}

}  // namespace ods
