#include "desktop/Robot.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QScreen>
#include <QTextEdit>
#include <stdexcept>
#include <thread>

#include "e2e/ServerProcess.h"

namespace ods::test {

namespace {

void RunTool(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "xdotool");
  if (RunProgram(arguments) != 0) throw std::runtime_error("xdotool " + arguments[1] + " failed");
}

std::string ShownText(const QWidget* widget) {
  if (const auto* label = qobject_cast<const QLabel*>(widget)) return label->text().toStdString();
  if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) return button->text().toStdString();
  if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) return edit->text().toStdString();
  if (const auto* box = qobject_cast<const QComboBox*>(widget)) return box->currentText().toStdString();
  return "";
}

}  // namespace

Robot::Robot() {
  // The windows' thread makes its application object when the first window is wanted: until a window is on the screen,
  // nothing here may ask it anything.
  if (RunProgram({"timeout", std::to_string(kPatience.count()), "xdotool", "search", "--sync", "--onlyvisible",
                  "--name", "ODBC Data Server|Korvanta"}) != 0) {
    RaiseTooLate("The first window");
  }
}

void Robot::Post(std::function<void()> task) { QMetaObject::invokeMethod(qApp, std::move(task), Qt::QueuedConnection); }

void Robot::RaiseTooLate(const std::string& what) { throw std::runtime_error(what + " did not happen in time"); }

void Robot::WaitUntil(const std::string& what, const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!InWindows(condition)) {
    if (std::chrono::steady_clock::now() > deadline) RaiseTooLate(what);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void Robot::WaitForWidget(const std::string& name) {
  WaitUntil("The control " + name, [name] { return Find(name) != nullptr; });
}

void Robot::WaitForText(const std::string& name, const std::string& text) {
  WaitUntil("The text \"" + text + "\" of " + name,
            [&] { return Find(name) != nullptr && ShownText(Find(name)) == text; });
}

void Robot::WaitForActiveWindow(const std::string& title) {
  WaitUntil("The window \"" + title + "\"", [title] {
    const QWidget* window = QApplication::activeWindow();
    return window != nullptr && window->windowTitle().toStdString() == title;
  });
}

std::string Robot::TextOf(const std::string& name) {
  WaitForWidget(name);
  return InWindows([name] { return ShownText(Find(name)); });
}

std::string Robot::TextOfBox() {
  WaitForWidget("messageBox");
  return InWindows([] { return Find("messageBox")->findChild<QTextEdit*>()->toPlainText().toStdString(); });
}

void Robot::Click(const std::string& name) {
  WaitForWidget(name);
  const QPoint middle = InWindows([name] {
    const QWidget* widget = Find(name);
    return widget->mapToGlobal(widget->rect().center());
  });
  ClickAt(middle);
}

void Robot::ClickAt(const QPoint& place, int button, int times) {
  RunTool({"mousemove", std::to_string(place.x()), std::to_string(place.y()), "click", "--repeat",
           std::to_string(times), "--delay", "50", std::to_string(button)});
}

void Robot::MoveTo(const QPoint& place) {
  RunTool({"mousemove", std::to_string(place.x()), std::to_string(place.y()), "mousemove_relative", "1", "1"});
}

void Robot::Press(const std::vector<std::string>& keys) {
  for (const std::string& key : keys) RunTool({"key", key});
}

void Robot::Type(const std::string& text) { RunTool({"type", text}); }

void Robot::TakePicture(const std::string& windowName, const std::string& file) {
  const bool written = InWindows([&] {
    const QWidget* window = Find(windowName);
    return window != nullptr && OnScreen(window->frameGeometry()).save(QString::fromStdString(file), "PNG");
  });
  if (!written) throw std::runtime_error("No picture of " + windowName);
}

QImage Robot::OnScreen(const QRect& place) {
  return QGuiApplication::primaryScreen()
      ->grabWindow(0, place.x(), place.y(), place.width(), place.height())
      .toImage()
      .convertToFormat(QImage::Format_RGB32);
}

QWidget* Robot::Find(const std::string& name) {
  const QString wanted = QString::fromStdString(name);
  for (QWidget* widget : QApplication::allWidgets()) {
    if (widget->objectName() == wanted && widget->isVisible()) return widget;
  }
  return nullptr;
}

}  // namespace ods::test
