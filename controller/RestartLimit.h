// A number of restarts a minute that is never exceeded, whichever minute one looks at.
#pragma once

#include <cstddef>
#include <deque>

#include "Backoff.h"

namespace ods::controller {

class RestartLimit {
 public:
  explicit RestartLimit(int mostPerMinute) : most_(static_cast<std::size_t>(mostPerMinute)) {}

  void SetMost(int mostPerMinute);
  /// When the next restart is allowed: `now`, or later.
  [[nodiscard]] TimePoint NextAllowed(TimePoint now) const;
  /// Counts a restart at `now`, which `NextAllowed` has allowed.
  void Count(TimePoint now);

 private:
  std::size_t most_;
  std::deque<TimePoint> latest_;  ///< the last `most_` of them
};

}  // namespace ods::controller
