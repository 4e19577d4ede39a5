// What a service tells its manager (sd_notify(3)). Without a manager nothing is told.
#pragma once

#include <optional>
#include <string>

#include "Backoff.h"

namespace ods::controller {

class Notify {
 public:
  Notify();

  /// It has started; told once.
  void Ready();
  void Reloading();
  /// The end of a reload.
  void Reloaded();
  void Stopping();
  /// A line for `systemctl status`; told when it is another than the last one.
  void Status(const std::string& text);
  /// It lives; told as often as the manager's watchdog wants.
  void Alive(TimePoint now);

 private:
  std::optional<Clock::duration> interval_;
  std::optional<TimePoint> toldAlive_;
  std::string status_;
  bool ready_ = false;
};

}  // namespace ods::controller
