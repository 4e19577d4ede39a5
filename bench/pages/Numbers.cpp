#include "Numbers.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <sstream>

namespace ods::bench {

namespace {

double Quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[std::min(values.size() - 1, static_cast<std::size_t>(static_cast<double>(values.size()) * part))];
}

}  // namespace

double Median(const std::vector<double>& values) { return Quantile(values, 0.5); }
double NinetyNinth(const std::vector<double>& values) { return Quantile(values, 0.99); }
double Mean(const std::vector<double>& values) {
  if (values.empty()) return 0;
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

double Ratio(const std::vector<double>& of, const std::vector<double>& to) {
  const double base = Median(to);
  return base > 0 ? Median(of) / base : 0;
}

std::string Fixed(double number, int digits) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(digits) << number;
  return text.str();
}

std::string Times(double ratio) {
  constexpr double kLarge = 10;
  return ratio > 0 ? Fixed(ratio, ratio < kLarge ? 2 : 1) : "–";
}

std::string Time(double microseconds) {
  constexpr double kMilli = 1000;
  constexpr double kTenMilli = 10 * kMilli;
  if (microseconds < kMilli) return Fixed(microseconds, 0) + " µs";
  return Fixed(microseconds / kMilli, microseconds < kTenMilli ? 1 : 0) + " ms";
}

std::string Count(double number) {
  std::string text = Fixed(number, 0);
  const std::size_t sign = number < 0 ? 1 : 0;
  for (std::size_t at = text.size(); at > 3 + sign; at -= 3) text.insert(at - 3, ",");
  return text;
}

}  // namespace ods::bench
