// When a database that is not there is tried again.
//
// Without the parameter `reconnect` it never is: whoever watches the server starts it anew. With it the first pause is
// a tenth of a second, each further one is twice as long, and none is longer than the parameter says.
#pragma once

#include <chrono>
#include <optional>

namespace ods {

class Reconnect {
 public:
  using Clock = std::chrono::steady_clock;

  /// `longestPause` in seconds; 0 never tries again.
  explicit Reconnect(int longestPause);

  [[nodiscard]] bool IsWanted() const { return longest_ > Clock::duration::zero(); }
  /// There is no connection, or none any more: it is to be tried after a pause.
  void Failed(Clock::time_point now);
  /// There is a connection, or nobody wants one.
  void Settled();
  /// True when the pause is over.
  [[nodiscard]] bool IsDue(Clock::time_point now) const { return next_ && now >= *next_; }

 private:
  Clock::duration longest_;
  Clock::duration pause_;  ///< the next one
  std::optional<Clock::time_point> next_;
};

}  // namespace ods
