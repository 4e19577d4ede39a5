#include "Notify.h"

#include <cstdint>
#include <systemd/sd-daemon.h>
#include <utility>

namespace ods::controller {

namespace {

void Tell(const std::string& text) { (void)sd_notify(0, text.c_str()); }

}  // namespace

Notify::Notify() {
  std::uint64_t microseconds = 0;
  if (sd_watchdog_enabled(0, &microseconds) > 0) {
    constexpr int kPerInterval = 3;
    interval_ = std::chrono::microseconds(microseconds / kPerInterval);
  }
}

void Notify::Ready() {
  if (!std::exchange(ready_, true)) Tell("READY=1");
}

void Notify::Reloading() {
  const auto now = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch());
  Tell("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(now.count()));
}

void Notify::Reloaded() {
  ready_ = true;
  Tell("READY=1");
}

void Notify::Stopping() { Tell("STOPPING=1"); }

void Notify::Status(const std::string& text) {
  if (std::exchange(status_, text) != text) Tell("STATUS=" + text);
}

void Notify::Alive(TimePoint now) {
  if (!interval_ || (toldAlive_ && now - *toldAlive_ < *interval_)) return;
  toldAlive_ = now;
  Tell("WATCHDOG=1");
}

}  // namespace ods::controller
