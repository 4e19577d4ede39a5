// The main window: what the server is doing, and the button that ends it. It holds no logic of the server: it shows
// what the server's view says, refreshed by a timer, and closing it, in whatever way, tells the server to stop.
#pragma once

#include <QAction>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <functional>
#include <memory>
#include <string>

#include "common/Value.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/System.h"
#include "ui/ServerView.h"
#include "ui/windows/ValueLabel.h"

namespace ods {

/// The mutex by which the main window of a build for development announces a debug session to other programs; none in a
/// release build.
#ifdef NDEBUG
inline constexpr const char* kDebugMutex = "";
#else
inline constexpr const char* kDebugMutex = "DS_DEBUG";
#endif

/// What the main window asks of the other windows.
struct MainWindowActions {
  std::function<void()> showOptions;
  std::function<void()> showTraceLog;
  /// Closes both, whether they are open or not.
  std::function<void()> unloadOthers;
};

class frmMain final : public QMainWindow {
 public:
  using Clock = std::function<Date()>;

  /// `server` outlives the window. `clock` gives the local time. The window holds the mutex of the name `debugMutex`,
  /// "" for none, until it is closed, unless somebody else does.
  frmMain(ServerView& server, MainWindowActions actions, Clock clock = LocalNow,
          const std::string& debugMutex = kDebugMutex);

  /// Brings the texts up to date, as every tick of the timer does.
  void GUIUpdate();

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void MakeControls();
  void MakeMenu();
  void Arrange();
  void Form_Load(const std::string& debugMutex);
  void Form_Unload();

  ServerView& server_;
  MainWindowActions actions_;
  Clock clock_;
  std::unique_ptr<NamedMutex> debugMutex_;

  // What contains comes before what it contains, and so goes after it.
  QWidget content_;
  QVBoxLayout contentLayout_{&content_};
  QHBoxLayout headLayout_;
  QVBoxLayout titleLayout_;
  QLabel picture_{&content_};
  QLabel lblProductName{&content_};
  QLabel lblVersion{&content_};
  QGroupBox Frame3{&content_};
  QGridLayout frameLayout_{&Frame3};
  QLabel Label1{&Frame3};
  QLabel Label2{&Frame3};
  QLabel Label4{&Frame3};
  ValueLabel lblStatus{&Frame3};
  ValueLabel lblUptime{&Frame3};
  ValueLabel lblRequests{&Frame3};
  QPushButton cmdStart{&Frame3};

  QMenu mnuFile{this};
  QMenu mnuTools{this};
  QMenu mnuHelp{this};
  QAction mnuExit{this};
  QAction mnuOptions{this};
  QAction mnuTraceLog{this};
  QAction mnuAbout{this};
  QTimer timerGUI{this};
};

}  // namespace ods
