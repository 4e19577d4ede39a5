// How tests find their way through a window: by the names of the controls.
#pragma once

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace ods::test {

/// The control of a name; raises when there is none of that kind.
template <typename Control = QWidget>
Control& Find(const QObject& window, const std::string& name) {
  auto* control = window.findChild<Control*>(QString::fromStdString(name));
  if (control == nullptr) throw std::runtime_error("no control " + name);
  return *control;
}

inline std::string LabelText(const QWidget& window, const std::string& name) {
  return Find<QLabel>(window, name).text().toStdString();
}

inline void Click(const QWidget& window, const std::string& name) {
  QTest::mouseClick(&Find<QPushButton>(window, name), Qt::LeftButton);
}

/// Shows a window and waits until it is on the screen.
inline void Show(QWidget& window) {
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
}

}  // namespace ods::test
