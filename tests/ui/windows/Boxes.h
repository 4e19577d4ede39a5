// Reads the message boxes that come while a test runs, and closes each with its button.
#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <string>
#include <vector>

namespace ods::test {

struct SeenBox {
  std::string title;
  std::string text;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  int buttons = 0;
};

class Boxes {
 public:
  Boxes() {
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { ReadAndClose(); });
    timer_.start(5);
  }

  std::vector<SeenBox> seen;

 private:
  void ReadAndClose() {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) return;
    seen.push_back({box->windowTitle().toStdString(), box->text().toStdString(), box->icon(),
                    static_cast<int>(box->buttons().size())});
    box->button(QMessageBox::Ok)->click();
  }

  QTimer timer_;
};

}  // namespace ods::test
