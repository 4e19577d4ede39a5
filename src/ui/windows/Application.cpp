#include "ui/windows/Application.h"

#include <clocale>
#include <cstdlib>
#include <iostream>

#include "ui/WindowsModule.h"
#include "ui/windows/ApplicationIcon.h"

namespace ods {

namespace {

/// The library knows no other answer to a display that it cannot open than a message and the end of the process: the
/// message becomes ours, and the end an orderly one.
void ExplainFatalMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
  std::cerr << message.toStdString() << std::endl;
  if (type != QtFatalMsg) return;
  std::cerr << "odbc-data-server: " << NoWindowText("the display cannot be opened.") << std::endl;
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

Application::Application() {
  if (QCoreApplication::instance() != nullptr) return;
  const QtMessageHandler usual = qInstallMessageHandler(ExplainFatalMessage);
  application_ = std::make_unique<QApplication>(argumentCount_, arguments_.data());
  qInstallMessageHandler(usual);
  // The library has taken over the user's locale for the whole process; numbers in messages and in SQL are written as
  // without windows.
  std::setlocale(LC_ALL, "C");
  QApplication::setDesktopFileName("odbc-data-server");
  QApplication::setWindowIcon(ApplicationIcon());
}

}  // namespace ods
