// How long to wait before the next try of something that keeps failing.
#pragma once

#include <chrono>
#include <functional>

namespace ods::controller {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;
using Seconds = std::chrono::duration<double>;

/// Pauses whose upper end doubles from `least` to `most` seconds; each is drawn from its upper half, so that servers
/// that failed together do not try again together, and is never below `least`.
class Backoff {
 public:
  /// `random` gives numbers from 0 up to 1.
  Backoff(int least, int most, std::function<double()> random);

  /// The pause before the next try; the one after it is longer.
  [[nodiscard]] Seconds Next();
  void SetRange(int least, int most);
  /// It has succeeded: the next pause is the shortest again.
  void Reset() { end_ = least_; }

 private:
  double least_;
  double most_;
  double end_;
  std::function<double()> random_;
};

}  // namespace ods::controller
