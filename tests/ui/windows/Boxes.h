// Reads the message boxes that come while a test runs, and closes each with its button.
#pragma once

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTimer>
#include <string>
#include <vector>

#include "ui/windows/modBox.h"

namespace ods::test {

struct SeenBox {
  std::string title;
  std::string text;
  BoxStyle style = BoxStyle::kInformation;
  int buttons = 0;
};

/// The box that is open, nullptr when there is none.
inline Box* OpenBox() { return dynamic_cast<Box*>(QApplication::activeModalWidget()); }

inline QDialogButtonBox& ButtonsOf(const Box& box) { return *box.findChild<QDialogButtonBox*>(); }

class Boxes {
 public:
  Boxes() {
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { ReadAndClose(); });
    timer_.start(5);
  }

  std::vector<SeenBox> seen;

 private:
  void ReadAndClose() {
    const Box* box = OpenBox();
    if (box == nullptr) return;
    const QDialogButtonBox& buttons = ButtonsOf(*box);
    seen.push_back({box->windowTitle().toStdString(), box->Text().toStdString(), box->Style(),
                    static_cast<int>(buttons.buttons().size())});
    buttons.button(QDialogButtonBox::Ok)->click();
  }

  QTimer timer_;
};

}  // namespace ods::test
