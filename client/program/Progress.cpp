#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace odbc_data {

namespace {

constexpr std::string_view kFull = "\xE2\x94\x81";
constexpr std::string_view kEmpty = "\xE2\x94\x80";
constexpr std::size_t kWidestBar = 40;
constexpr std::size_t kNarrowestBar = 6;

std::int64_t Rate(const Progress& progress) {
  const double seconds = progress.elapsed.count();
  return seconds > 0 ? std::llround(static_cast<double>(progress.rows) / seconds) : 0;
}

/// The share that is done, from 0 to 1. Rows may have been added since they were counted.
double Share(const Progress& progress) {
  if (!progress.total) return 0;
  if (*progress.total <= 0) return 1;
  return std::min(1.0, static_cast<double>(progress.rows) / static_cast<double>(*progress.total));
}

std::string Bar(double share, std::size_t width) {
  const auto full = static_cast<std::size_t>(std::floor(share * static_cast<double>(width)));
  std::string bar;
  for (std::size_t i = 0; i < width; ++i) bar += i < full ? kFull : kEmpty;
  return bar;
}

std::string Percent(double share) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%3d %%", static_cast<int>(std::floor(share * 100)));
  return text.data();
}

}  // namespace

std::string Grouped(std::int64_t number) {
  std::string text = std::to_string(number);
  const std::size_t first = text.starts_with('-') ? 1 : 0;
  for (std::size_t place = text.size(); place > first + 3;) text.insert(place -= 3, ",");
  return text;
}

std::string Clock(std::chrono::duration<double> time) {
  const auto seconds = static_cast<std::int64_t>(std::max(0.0, time.count()));
  std::array<char, 48> text{};
  if (seconds >= 3600) {
    std::snprintf(text.data(), text.size(), "%lld:%02d:%02d", static_cast<long long>(seconds / 3600),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  } else {
    std::snprintf(text.data(), text.size(), "%d:%02d", static_cast<int>(seconds / 60), static_cast<int>(seconds % 60));
  }
  return text.data();
}

std::string ProgressLine(const Progress& progress, std::size_t width) {
  const std::string rows = Grouped(progress.rows);
  const std::string rate = Grouped(Rate(progress)) + " rows/s";
  const std::string elapsed = Clock(progress.elapsed);
  if (!progress.total) {
    const std::string line = rows + " rows  " + rate + "  " + elapsed;
    return line.substr(0, width);
  }
  const double share = Share(progress);
  const auto left = share > 0 ? progress.elapsed * ((1 - share) / share) : std::chrono::duration<double>(0);
  // The first that fits.
  std::string whole = rows + " of " + Grouped(*progress.total) + " rows  " + rate;
  whole.append("  ").append(elapsed).append("  ").append(Clock(left)).append(" left");
  const std::array<std::string, 4> tails = {whole, rows + " rows  " + rate + "  " + elapsed, rows + " rows  " + elapsed,
                                            rows};
  const std::string head = Percent(share);
  for (const std::string& tail : tails) {
    const std::size_t used = head.size() + 1 + 2 + tail.size();
    if (used + kNarrowestBar > width) continue;
    std::string line = head + " ";
    return line.append(Bar(share, std::min(kWidestBar, width - used))).append("  ").append(tail);
  }
  return head.substr(0, width);
}

std::string ProgressEnd(const Progress& progress) {
  return Grouped(progress.rows) + " rows in " + Clock(progress.elapsed) + ", " + Grouped(Rate(progress)) + " rows/s";
}

}  // namespace odbc_data
