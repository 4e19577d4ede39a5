// The application object of the windows' library, made for a process that is somebody else's: it leaves the process as
// it found it, and where it would abort, it says what to do instead.
#pragma once

#include <QApplication>
#include <array>
#include <memory>
#include <string>

namespace ods {

class Application {
 public:
  /// Opens the display, unless there is an application object already (tests have one of their own). Ends the process,
  /// with the reason and `NoWindowText` on standard error and the status 1, when the display cannot be opened.
  Application();

 private:
  // The library keeps references to them.
  std::string name_ = "odbc-data-server";
  int argumentCount_ = 1;
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  std::unique_ptr<QApplication> application_;
};

}  // namespace ods
