// The message box of all windows. The library's own one neither breaks a text without blanks, such as a connection
// string, nor keeps to the screen.
#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QTextEdit>
#include <QVBoxLayout>
#include <string>

#include "common/UserInterface.h"

namespace ods {

/// A box with an icon, a text that can be selected and copied, and one button "OK". Its lines are broken where they get
/// too wide, also within a word; a text that is higher than the screen allows is scrolled.
class Box final : public QDialog {
 public:
  /// As `ShowBox` has it.
  Box(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style);

  [[nodiscard]] QString Text() const { return text_.toPlainText(); }
  [[nodiscard]] BoxStyle Style() const { return style_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void Arrange();
  void FitText();

  BoxStyle style_;
  // What contains comes before what it contains, and so goes after it.
  QVBoxLayout layout_{this};
  QHBoxLayout contentLayout_;
  QLabel icon_{this};
  QTextEdit text_{this};
  QDialogButtonBox buttons_{QDialogButtonBox::Ok, this};
};

/// Shows a box and returns when it was closed; meanwhile no other window takes input. `title` and `text` are UTF-8 and
/// shown as they are, never as markup; lines end with LF or CR LF. Of a text of more than 100,000 characters the
/// beginning is shown. `parent`, the window that it belongs to, may be nullptr.
void ShowBox(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style);

}  // namespace ods
