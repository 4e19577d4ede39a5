// The trace-log window: the entries that the log makes while the window is open, one row each. Adding an entry costs
// the server next to nothing: the view follows a moment later, for many entries at once.
#pragma once

#include <QHBoxLayout>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <array>
#include <string>

#include "ui/ServerView.h"
#include "ui/windows/TraceLogModel.h"

namespace ods {

class frmTraceLog final : public QWidget {
 public:
  /// The column widths are kept among the user's settings, under the names that `server` gives.
  explicit frmTraceLog(const ServerView& server);

  /// Adds a row, while the window is active: from its first activation after it was opened until it is closed.
  void AddEntry(const std::string& description, const std::string& info);
  void ClearLog();
  /// Hides the window, empty and inactive.
  void CloseLog();
  /// Saves the column widths and closes.
  void Form_Unload();

 protected:
  bool event(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void Form_Load();
  void Arrange();
  void MakeColumns();
  void ShowNewest();
  [[nodiscard]] int PixelsOf(int twips) const;
  [[nodiscard]] int TwipsOf(int pixels) const;

  QString organisation_;
  QString application_;
  bool active_ = false;
  /// In twips, as last read or saved.
  std::array<int, TraceLogModel::kColumnCount> columnWidths_{};
  TraceLogModel model_;
  QTimer refresh_;

  // What contains comes before what it contains, and so goes after it.
  QVBoxLayout layout_{this};
  QTableView lvTrace{this};
  QWidget buttonRow_{this};
  QHBoxLayout buttonLayout_{&buttonRow_};
  QPushButton cmdClear{&buttonRow_};
  QPushButton cmdClose{&buttonRow_};
  QPushButton cmdHelp{&buttonRow_};
};

}  // namespace ods
