#include "ui/windows/DesktopUserInterface.h"

#include <QApplication>
#include <algorithm>

#include "ui/windows/Application.h"
#include "ui/windows/modBox.h"

namespace ods {

namespace {

constexpr int kStopTestMilliseconds = 100;

/// Shows a window, or brings it to the front when it is open already.
void Present(QWidget& window) {
  window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
  window.show();
  window.raise();
  window.activateWindow();
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
}

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
  options_.reset();
  if (traceLog_) traceLog_->Form_Unload();
  traceLog_.reset();
}

/// A closed options dialog is gone: the next one starts from the settings of that time.
void DesktopUserInterface::ForgetClosedOptions() {
  if (options_ && !options_->isVisible()) options_.reset();
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
}

void DesktopUserInterface::AddTraceEntry(std::int32_t severity, const std::string& text) {
  if (traceLog_) traceLog_->AddEntry(text, std::to_string(severity));
}

}  // namespace ods
