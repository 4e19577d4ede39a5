// The options dialog: the data source, user and password, the connection string that is made of them, and the debug
// mode. It is opened anew, from the settings of that time, whenever it is wanted; it does not block other windows.
//
// Two things of the original platform have no counterpart here. The button that starts the ODBC administrator bears no
// shield, since what it starts needs no other rights: a user's data sources are the user's own file. And the dialog
// does not put its size back after it was resized: nobody can resize it.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <memory>
#include <optional>
#include <string>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"
#include "common/UserInterface.h"
#include "platform/ado/Ado.h"
#include "platform/system/System.h"
#include "ui/ServerView.h"

namespace ods {

class frmConfigure final : public QDialog {
 public:
  /// Loads the dialog from the server's settings; it shows itself when it is told to. `server` and `components` outlive
  /// it. What there is to say about the data sources is said as soon as events run.
  frmConfigure(ServerView& server, const ComponentRegistry& components, QWidget* parent = nullptr);

  /// True while a connection is being tested: the dialog must not go then, also when it was closed meanwhile.
  [[nodiscard]] bool IsTesting() const { return testing_; }

 protected:
  /// Sees the keys of all controls before they do.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  /// What a box is to say.
  struct Notice {
    std::string text;
    BoxStyle style;
  };

  /// How a test of a connection ended.
  struct TestResult {
    std::shared_ptr<Connection> connection;
    std::optional<std::string> error;
  };

  void MakeControls();
  void Arrange();
  void Connect();

  void Form_Load();
  bool Form_KeyDown(const QKeyEvent& event);
  void Timer1_Timer();
  void cmdNewSource_Click();
  void openerTimer_Timer();
  void cmdTestConnection_Click();
  void cmdOK_Click();

  [[nodiscard]] TestResult OpenConnection(const std::string& connectionString);
  void Tell(const TestResult& result);
  void ComposeConnectionString();
  [[nodiscard]] std::optional<Notice> RefreshDatasources();
  void ListDatasources(const Dictionary& dataSources);
  void RaiseColumnLimit(const std::string& dataSource);
  void Show(const Notice& notice);
  void Box(const std::string& title, const std::string& text, BoxStyle style);

  ServerView& server_;
  const ComponentRegistry& components_;
  bool refreshing_ = false;
  bool testing_ = false;
  std::unique_ptr<WatchedProgram> opener_;  ///< as long as it may still tell that it opened nothing
  int openerTicks_ = 0;                     ///< since it was started
  std::string toldError_;                   ///< an error of the refresh is told once, not every second

  // What contains comes before what it contains, and so goes after it.
  QVBoxLayout layout_{this};
  QGroupBox Frame1{this};
  QGridLayout connectionLayout_{&Frame1};
  QLabel Label2{&Frame1};
  QLabel Label1{&Frame1};
  QComboBox cmbDSN{&Frame1};
  QPushButton cmdNewSource{&Frame1};
  QLabel Label4{&Frame1};
  QLineEdit txtUserId{&Frame1};
  QLabel Label5{&Frame1};
  QLineEdit txtPassword{&Frame1};
  QLabel Label6{&Frame1};
  QLineEdit txtConnectionString{&Frame1};
  QPushButton cmdTestConnection{&Frame1};
  QGroupBox Frame2{this};
  QVBoxLayout debugLayout_{&Frame2};
  QLabel Label3{&Frame2};
  QCheckBox chkDebug{&Frame2};
  QHBoxLayout buttonLayout_;
  QPushButton cmdOK{this};
  QPushButton cmdCancel{this};
  QTimer Timer1{this};
  QTimer openerTimer_{this};
};

}  // namespace ods
