// The trace-log window: the entries that the log makes while the window is open, one row each. Adding an entry costs
// the server next to nothing: the view follows a moment later, for many entries at once, and shows no more than the
// beginning of a long one. The whole entry is had by "Copy" of the context menu, and in a window of its own by a double
// click.
#pragma once

#include <QAction>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "ui/ServerView.h"
#include "ui/windows/TraceLogModel.h"
#include "ui/windows/frmTraceEntry.h"

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
  void MakeList();
  void MakeColumns();
  [[nodiscard]] QFont ListFont() const;
  void SaveColumnWidths();
  void mnuCopy_Click();
  void ShowEntry(int row);
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
  QAction mnuCopy{&lvTrace};
  QWidget buttonRow_{this};
  QHBoxLayout buttonLayout_{&buttonRow_};
  QPushButton cmdClear{&buttonRow_};
  QPushButton cmdClose{&buttonRow_};
  QPushButton cmdHelp{&buttonRow_};
  std::vector<std::unique_ptr<frmTraceEntry>> entries_;  ///< closed ones go when the next one is shown
};

}  // namespace ods
