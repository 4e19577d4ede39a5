#include "RestartLimit.h"

#include <algorithm>

namespace ods::controller {

void RestartLimit::SetMost(int mostPerMinute) {
  most_ = static_cast<std::size_t>(mostPerMinute);
  while (latest_.size() > most_) latest_.pop_front();
}

TimePoint RestartLimit::NextAllowed(TimePoint now) const {
  if (latest_.size() < most_) return now;
  return std::max(now, latest_.front() + std::chrono::minutes(1));
}

void RestartLimit::Count(TimePoint now) {
  latest_.push_back(now);
  if (latest_.size() > most_) latest_.pop_front();
}

}  // namespace ods::controller
