// Dates and times of filters: a client's text as the canonical ISO text that a statement carries, with every digit that
// it has. What no calendar has is nothing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ods {

/// What the product has besides the calendar's years 1 to 9999 and the times of a day.
struct MomentRules {
  bool zeroDates = false;   ///< year, month and day may be 0
  bool zeroYear = false;    ///< the year may be 0
  bool farDates = false;    ///< infinity, -infinity, years of more than four digits, years BC, and the time 24:00:00
  bool longTimes = false;   ///< up to 838:59:59, and negative ones
  bool zoned = false;       ///< a time may end with its zone
  bool keepsZeros = false;  ///< a fraction's last zeros stay
  std::size_t fractionDigits = 9;  ///< the most of a second
};

struct FilterMoment {
  std::string text;
  /// 1 and -1: the fraction was cut, and the moment lies behind or before the one of `text`.
  int beyond = 0;
};

/// Each reads a whole text, nothing for any other: `2024-02-05`, maybe with a time of 0; `07:08`, seconds and their
/// fraction of up to nine digits optional, maybe a zone (`Z`, `+05:30`); both with "T" or a blank between, the time
/// optional.
[[nodiscard]] std::optional<FilterMoment> ParseFilterDate(std::string_view text, const MomentRules& rules);
[[nodiscard]] std::optional<FilterMoment> ParseFilterTime(std::string_view text, const MomentRules& rules);
[[nodiscard]] std::optional<FilterMoment> ParseFilterTimeStamp(std::string_view text, const MomentRules& rules);

}  // namespace ods
