#include "ui/Uptime.h"

#include <algorithm>

#include "common/Conversions.h"

namespace ods {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

/// `amount` / `unit` to the nearest whole number, halves to even; `amount` is not negative, `unit` is even.
std::int64_t RoundedUnits(std::int64_t amount, std::int64_t unit) {
  const std::int64_t whole = amount / unit;
  const std::int64_t rest = amount % unit;
  const bool isUp = rest > unit / 2 || (rest == unit / 2 && whole % 2 != 0);
  return isUp ? whole + 1 : whole;
}

}  // namespace

std::string UptimeText(std::int64_t seconds) {
  const std::int64_t uptime = std::max<std::int64_t>(seconds, 0);
  return std::to_string(uptime / kDay) + " d " + std::to_string(RoundedUnits(uptime, kHour) % 24) + ":" +
         PadNumber(RoundedUnits(uptime, kMinute) % 60, 2);
}

}  // namespace ods
