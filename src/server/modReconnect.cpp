#include "server/modReconnect.h"

#include <algorithm>

namespace ods {

namespace {

constexpr std::chrono::milliseconds kFirstPause(100);

}  // namespace

Reconnect::Reconnect(int longestPause) : longest_(std::chrono::seconds(longestPause)), pause_(kFirstPause) {}

void Reconnect::Failed(Clock::time_point now) {
  if (!IsWanted()) return;
  next_ = now + pause_;
  pause_ = std::min(2 * pause_, longest_);
}

void Reconnect::Settled() {
  next_.reset();
  pause_ = kFirstPause;
}

}  // namespace ods
