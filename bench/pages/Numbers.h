// What a series of measurements comes to, and how numbers are written in the report.
#pragma once

#include <string>
#include <vector>

namespace ods::bench {

/// 0 of nothing.
[[nodiscard]] double Median(const std::vector<double>& values);
[[nodiscard]] double NinetyNinth(const std::vector<double>& values);
[[nodiscard]] double Mean(const std::vector<double>& values);

/// How many times as much the median of one is as that of the other; 0 where there is nothing to compare.
[[nodiscard]] double Ratio(const std::vector<double>& of, const std::vector<double>& to);

[[nodiscard]] std::string Fixed(double number, int digits);
/// A ratio; "–" for 0.
[[nodiscard]] std::string Times(double ratio);
/// With the unit that fits.
[[nodiscard]] std::string Time(double microseconds);
/// 1000000 as "1,000,000".
[[nodiscard]] std::string Count(double number);

}  // namespace ods::bench
