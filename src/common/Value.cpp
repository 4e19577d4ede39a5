#include "common/Value.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace ods {

namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr std::int64_t kSecondsPerDay = Date::kSecondsPerDay;
constexpr int kFirstYear = 1;
constexpr int kLastYear = 9999;

constexpr sys_days DayOf(int year, unsigned month, unsigned day) {
  return sys_days(std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day));
}

constexpr sys_days kZeroDay = DayOf(1899, 12, 30);
constexpr std::int64_t kFirstSecond = (DayOf(kFirstYear, 1, 1) - kZeroDay).count() * kSecondsPerDay;
constexpr std::int64_t kLastSecond = ((DayOf(kLastYear, 12, 31) - kZeroDay).count() + 1) * kSecondsPerDay - 1;

constexpr bool IsWithin(int number, int low, int high) { return number >= low && number <= high; }

std::chrono::year_month_day CalendarDay(const DateParts& parts) {
  return {std::chrono::year(parts.year), std::chrono::month(static_cast<unsigned>(parts.month)),
          std::chrono::day(static_cast<unsigned>(parts.day))};
}

// In the order of the alternatives of `Value::Storage`; an object names itself.
constexpr std::array<const char*, 11> kTypeNames{"Empty",   "Null", "Long",   "LongLong", "Double", "Currency",
                                                 "Decimal", "Date", "String", "Boolean",  "Byte()"};
static_assert(std::variant_size_v<Value::Storage> == kTypeNames.size() + 1);

}  // namespace

bool DateParts::AreOfCalendar() const {
  if (!IsWithin(year, kFirstYear, kLastYear) || !IsWithin(month, 1, 12) || !IsWithin(day, 1, 31) ||
      !IsWithin(hour, 0, 23) || !IsWithin(minute, 0, 59) || !IsWithin(second, 0, 59)) {
    return false;
  }
  constexpr int kDaysOfEveryMonth = 28;
  return day <= kDaysOfEveryMonth || CalendarDay(*this).ok();
}

std::optional<Date> Date::FromParts(const DateParts& parts) {
  if (!parts.AreOfCalendar()) return std::nullopt;
  const std::int64_t dayNumber = (sys_days(CalendarDay(parts)) - kZeroDay).count();
  return Date{((dayNumber * 24 + parts.hour) * 60 + parts.minute) * 60 + parts.second, false};
}

std::optional<Date> Date::FromSerial(double days) {
  const double seconds = std::round(days * static_cast<double>(kSecondsPerDay));
  // Written so that a number that is none (NaN) is refused too.
  if (!(seconds >= static_cast<double>(kFirstSecond) && seconds <= static_cast<double>(kLastSecond))) {
    return std::nullopt;
  }
  return Date{static_cast<std::int64_t>(seconds), false};
}

bool Date::IsInRange() const { return seconds >= kFirstSecond && seconds <= kLastSecond; }

DateParts Date::Parts() const {
  const std::chrono::seconds moment(std::clamp(seconds, kFirstSecond, kLastSecond));
  const days day = std::chrono::floor<days>(moment);
  const std::chrono::year_month_day date(kZeroDay + day);
  const std::chrono::hh_mm_ss time(moment - day);
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          static_cast<int>(time.hours().count()),
          static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count())};
}

int Date::SecondOfDay() const {
  const std::int64_t rest = seconds % kSecondsPerDay;
  return static_cast<int>(rest < 0 ? rest + kSecondsPerDay : rest);
}

double Date::Serial() const { return static_cast<double>(seconds) / static_cast<double>(kSecondsPerDay); }

std::string Value::TypeName() const {
  if (const auto* object = GetIf<std::shared_ptr<Object>>()) return *object ? (*object)->TypeName() : "Nothing";
  return kTypeNames[storage_.index()];
}

}  // namespace ods
