#include "ui/windows/modBox.h"

#include <QMessageBox>
#include <QString>

#include "common/Text.h"

namespace ods {

void ShowBox(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style) {
  QMessageBox box(parent);
  box.setObjectName("messageBox");
  box.setWindowModality(Qt::ApplicationModal);
  box.setIcon(style == BoxStyle::kExclamation ? QMessageBox::Warning : QMessageBox::Information);
  box.setWindowTitle(QString::fromStdString(title));
  // Connection strings and drivers' texts may look like markup.
  box.setTextFormat(Qt::PlainText);
  box.setText(QString::fromStdString(ReplaceAll(text, "\r\n", "\n")));
  box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  box.setStandardButtons(QMessageBox::Ok);
  box.exec();
}

}  // namespace ods
