// An X server of the test's own, without a screen, and a window manager on it. Both end with the object.
#pragma once

#include <string>
#include <sys/types.h>

namespace ods::test {

class XServer {
 public:
  /// Starts Xvfb on a free display and openbox there. Raises error 1000 when one of them does not come up.
  XServer();
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  XServer(XServer&&) = delete;
  XServer& operator=(XServer&&) = delete;

  /// The name of the display, such as ":5", for the environment variable DISPLAY.
  [[nodiscard]] const std::string& Display() const { return display_; }

 private:
  void StartServer();
  void StartWindowManager();

  std::string display_;
  pid_t server_ = -1;
  pid_t windowManager_ = -1;
};

}  // namespace ods::test
