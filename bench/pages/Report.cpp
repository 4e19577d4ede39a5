#include "Report.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace ods::bench {

namespace {

constexpr std::array<const char*, kWhole + 1> kWayNames = {"limit", "handler", "whole way"};

double Quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[std::min(values.size() - 1, static_cast<std::size_t>(static_cast<double>(values.size()) * part))];
}
double Median(const std::vector<double>& values) { return Quantile(values, 0.5); }
double NinetyNinth(const std::vector<double>& values) { return Quantile(values, 0.99); }

std::string Fixed(double number, int digits) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(digits) << number;
  return text.str();
}

/// How many times as much.
std::string Times(const std::vector<double>& of, const std::vector<double>& as) {
  const double base = Median(as);
  if (base <= 0) return "–";
  const double ratio = Median(of) / base;
  return Fixed(ratio, ratio < 10 ? 2 : 1);
}

std::string Time(double microseconds) {
  constexpr double kMilli = 1000;
  constexpr double kTenMilli = 10 * kMilli;
  if (microseconds < kMilli) return Fixed(microseconds, 0) + " µs";
  return Fixed(microseconds / kMilli, microseconds < kTenMilli ? 1 : 0) + " ms";
}

/// Processor time, elapsed time, its 99th percentile.
std::string Times(const Series& series) {
  return Time(Median(series.processor)) + ", " + Time(Median(series.elapsed)) + ", " +
         Time(NinetyNinth(series.elapsed));
}

/// 1000000 as "1,000,000".
std::string Count(int number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, ",");
  return text;
}

std::string Name(const PageResult& result, std::size_t paging) {
  return "| " + result.product + ", " + kPagingNames.at(paging) + " | " + Count(result.rows) + " | " +
         Count(result.pageSize);
}

bool IsMiddle(const PageResult& result) { return std::string_view(kPlaces.at(result.place).name) == "next, 50 %"; }

/// The result of the same table and size at another place; nullptr where there is none.
const PageResult* At(const std::vector<PageResult>& results, const PageResult& result, std::size_t place, int rows) {
  const auto found = std::ranges::find_if(results, [&](const PageResult& each) {
    return each.product == result.product && each.rows == rows && each.pageSize == result.pageSize &&
           each.place == place;
  });
  return found == results.end() ? nullptr : &*found;
}

}  // namespace

void WritePages(std::ostream& out, const std::vector<PageResult>& results) {
  out << "| | Rows | A page | handler : limit, processor | whole way : limit, elapsed | the same, processor | script : "
         "whole way, processor | the same, elapsed |\n|---|---|---|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    if (!IsMiddle(result)) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      const auto& ways = result.ways.at(paging);
      out << Name(result, paging) << " | " << Times(ways[kHandler].processor, ways[kLimit].processor) << " | "
          << Times(ways[kWhole].elapsed, ways[kLimit].elapsed) << " | "
          << Times(ways[kWhole].processor, ways[kLimit].processor) << " | "
          << Times(result.peer.processor, ways[kWhole].processor) << " | "
          << Times(result.peer.elapsed, ways[kWhole].elapsed) << " |\n";
    }
  }
  out << "\nThe same in times: processor, elapsed, 99th percentile of the elapsed.\n\n"
         "| | Rows | A page | limit | handler | whole way | script |\n|---|---|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    if (!IsMiddle(result)) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Name(result, paging);
      for (const Series& series : result.ways.at(paging)) out << " | " << Times(series);
      out << " | " << Times(result.peer) << " |\n";
    }
  }
}

void WritePlaces(std::ostream& out, const std::vector<PageResult>& results) {
  out << "| | Rows | A page | " << kPlaces.front().name;
  for (std::size_t place = 1; place < kPlaces.size(); ++place) out << " | " << kPlaces.at(place).name;
  out << " |\n|---|---|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    if (result.place != 0) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      const std::vector<double>& first = result.ways.at(paging)[kWhole].elapsed;
      out << Name(result, paging) << " | " << Time(Median(first));
      for (std::size_t place = 1; place < kPlaces.size(); ++place) {
        const PageResult* const other = At(results, result, place, result.rows);
        out << " | " << (other == nullptr ? "–" : Times(other->ways.at(paging)[kWhole].elapsed, first));
      }
      out << " |\n";
    }
  }
}

void WriteGrowth(std::ostream& out, const std::vector<PageResult>& results) {
  if (results.empty() || results.back().rows == results.front().rows) return;
  const int few = results.front().rows;
  out << "| | Rows | A page | whole way : with " << Count(few) << " rows, elapsed | limit, likewise |\n"
      << "|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    const PageResult* const base = At(results, result, result.place, few);
    if (result.rows == few || !IsMiddle(result) || base == nullptr) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      const auto& ways = result.ways.at(paging);
      const auto& baseWays = base->ways.at(paging);
      out << Name(result, paging) << " | " << Times(ways[kWhole].elapsed, baseWays[kWhole].elapsed) << " | "
          << Times(ways[kLimit].elapsed, baseWays[kLimit].elapsed) << " |\n";
    }
  }
}

void WriteProcesses(std::ostream& out, const std::vector<ProcessResult>& results) {
  out << "| | | `Ping`: processor, elapsed, 99th percentile | start to the answer of a `Ping` that waited | resident, "
         "idle | "
         "after all pages |\n|---|---|---|---|---|---|\n";
  for (const ProcessResult& result : results) {
    out << "| " << result.product << " | " << result.name << " | " << Times(result.ping) << " | "
        << Time(Median(result.start.elapsed)) << " | " << Fixed(result.idle, 1) << " MiB | "
        << Fixed(result.afterwards, 1) << " MiB |\n";
  }
}

void WriteDetails(std::ostream& out, const std::vector<PageResult>& results) {
  out << "product\tpaging\trows\tpage\tplace\tway\tpages\tprocessor median\tprocessor 99th\telapsed median\telapsed "
         "99th\n";
  const auto write = [&out](const PageResult& result, const char* paging, const char* way, const Series& series) {
    out << result.product << '\t' << paging << '\t' << result.rows << '\t' << result.pageSize << '\t'
        << kPlaces.at(result.place).name << '\t' << way << '\t' << series.elapsed.size();
    for (const double number : {Median(series.processor), NinetyNinth(series.processor), Median(series.elapsed),
                                NinetyNinth(series.elapsed)}) {
      out << '\t' << Fixed(number, 1);
    }
    out << '\n';
  };
  for (const PageResult& result : results) {
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      for (std::size_t way = 0; way <= kWhole; ++way) {
        write(result, kPagingNames.at(paging), kWayNames.at(way), result.ways.at(paging).at(way));
      }
    }
    write(result, "", "script", result.peer);
  }
}

}  // namespace ods::bench
