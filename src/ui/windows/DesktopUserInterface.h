// The user interface with windows: the application of the windows' library and the three windows, for one server.
#pragma once

#include <QTimer>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/ComponentRegistry.h"
#include "common/UserInterface.h"
#include "ui/ServerView.h"
#include "ui/windows/WaitCursor.h"
#include "ui/windows/frmConfigure.h"
#include "ui/windows/frmMain.h"
#include "ui/windows/frmTraceLog.h"

namespace ods {

class Application;

class DesktopUserInterface final : public UserInterface {
 public:
  /// `server` and `components` outlive the object. Ends the process, with the reason on standard error and the status
  /// 1, when the display cannot be opened.
  DesktopUserInterface(ServerView& server, const ComponentRegistry& components);
  ~DesktopUserInterface() override;
  DesktopUserInterface(const DesktopUserInterface&) = delete;
  DesktopUserInterface& operator=(const DesktopUserInterface&) = delete;
  DesktopUserInterface(DesktopUserInterface&&) = delete;
  DesktopUserInterface& operator=(DesktopUserInterface&&) = delete;

  void LetEventsRun() override;
  void BeginLongWork() override;
  void EndLongWork() override;
  /// Returns when the window is on the screen and painted, or the desktop takes too long to show it.
  void ShowMainWindow() override;
  void UnloadMainWindow() override;
  void ShowOptionsDialog() override;
  void WaitUntilClosed() override;
  void MessageBox(const std::string& title, const std::string& text, BoxStyle style) override;
  void AddTraceEntry(std::int32_t severity, const std::string& text) override;

 private:
  void ShowTraceLog();
  void UnloadOthers();
  void ForgetClosedOptions();
  void LetGoOfOptions();

  std::unique_ptr<Application> application_;
  ServerView& server_;
  const ComponentRegistry& components_;
  QTimer stopTimer_;
  std::unique_ptr<frmConfigure> options_;
  std::vector<std::unique_ptr<frmConfigure>> testing_;  ///< closed, but still testing a connection
  std::optional<WaitCursor> waitCursor_;
  bool sawDialogClose_ = false;  ///< since the last long work
  std::unique_ptr<frmTraceLog> traceLog_;
  std::unique_ptr<frmMain> mainWindow_;
};

}  // namespace ods
