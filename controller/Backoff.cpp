#include "Backoff.h"

#include <algorithm>
#include <utility>

namespace ods::controller {

Backoff::Backoff(int least, int most, std::function<double()> random)
    : least_(least), most_(most), end_(least), random_(std::move(random)) {}

void Backoff::SetRange(int least, int most) {
  least_ = least;
  most_ = most;
  end_ = std::clamp(end_, least_, most_);
}

Seconds Backoff::Next() {
  const double end = end_;
  end_ = std::min(end * 2, most_);
  return Seconds(std::max(least_, end / 2 + end / 2 * random_()));
}

}  // namespace ods::controller
