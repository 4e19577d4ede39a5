// What is aimed at, and whether it was reached.
#include <algorithm>
#include <map>

#include "Numbers.h"
#include "Report.h"

namespace ods::bench {

namespace {

/// The least and the most on a product.
struct Range {
  double least = 0;
  double most = 0;
};
using Ranges = std::map<std::string, Range>;

void Add(Ranges& ranges, const std::string& product, double number) {
  if (number <= 0) return;
  const auto [found, isNew] = ranges.try_emplace(product, Range{number, number});
  found->second = {std::min(found->second.least, number), std::max(found->second.most, number)};
}

struct Bound {
  double number;
  bool isLeast;
};

/// A line of the table; `text` writes a number.
template <typename Text>
void WriteAim(std::ostream& out, const char* aim, const Ranges& ranges, Bound bound, const Text& text) {
  if (ranges.empty()) return;
  const bool reached = std::ranges::all_of(ranges, [&](const auto& each) {
    return bound.isLeast ? each.second.least >= bound.number : each.second.most <= bound.number;
  });
  out << "| " << aim << " | " << (reached ? "reached: " : "not reached: ");
  const char* separator = "";
  for (const auto& [product, range] : ranges) {
    const std::string least = text(range.least);
    const std::string most = text(range.most);
    out << separator << least;
    if (least != most) out << " to " << most;
    out << " on " << product;
    separator = ", ";
  }
  out << " |\n";
}

/// The numbers that `number` gives for the pages of these sizes in all ways of paging, at all depths.
template <typename Number>
Ranges OfPages(const Results& results, const std::vector<int>& sizes, const Number& number) {
  Ranges ranges;
  for (const PageResult& page : results.pages) {
    if (page.place >= kDepths || std::ranges::find(sizes, page.pageSize) == sizes.end()) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) Add(ranges, page.product, number(page, paging));
  }
  return ranges;
}

Ranges OfProcesses(const Results& results, bool sqliteOnly, double (*number)(const ProcessResult&)) {
  Ranges ranges;
  for (const ProcessResult& process : results.processes) {
    if (process.name == "script" || (sqliteOnly && process.product != "SQLite")) continue;
    Add(ranges, process.product, number(process));
  }
  return ranges;
}

/// How many times as long the whole way takes in the largest table.
Ranges Growth(const Results& results) {
  if (results.pages.empty()) return {};
  const int few = results.pages.front().rows;
  return OfPages(results, {10, 100, 1000}, [&](const PageResult& page, std::size_t paging) {
    const auto base = std::ranges::find_if(results.pages, [&](const PageResult& each) {
      return each.product == page.product && each.rows == few && each.pageSize == page.pageSize &&
             each.place == page.place;
    });
    if (page.rows == few || base == results.pages.end()) return 0.0;
    return Ratio(page.ways.at(paging)[kWhole].elapsed, base->ways.at(paging)[kWhole].elapsed);
  });
}

}  // namespace

void WriteAims(std::ostream& out, const Results& results) {
  const auto mebibytes = [](double number) { return Fixed(number, 1) + " MiB"; };
  out << "| Aim | Measured |\n|---|---|\n";
  WriteAim(out, "the handler takes at most 1.25 times the limit's processor time, pages of 100 and 1,000 rows",
           OfPages(results, {100, 1000},
                   [](const PageResult& page, std::size_t paging) {
                     const auto& ways = page.ways.at(paging);
                     return Ratio(ways[kHandler].processor, ways[kLimit].processor);
                   }),
           {1.25, false}, Times);
  WriteAim(out, "the whole way takes at most 1.5 times the limit's processor time, pages of 100 rows",
           OfPages(results, {100},
                   [](const PageResult& page, std::size_t paging) {
                     const auto& ways = page.ways.at(paging);
                     return Ratio(ways[kWhole].processor, ways[kLimit].processor);
                   }),
           {1.5, false}, Times);
  WriteAim(out, "the same of elapsed times",
           OfPages(results, {100},
                   [](const PageResult& page, std::size_t paging) {
                     const auto& ways = page.ways.at(paging);
                     return Ratio(ways[kWhole].elapsed, ways[kLimit].elapsed);
                   }),
           {1.5, false}, Times);
  WriteAim(out, "the script takes at least 10 times the whole way's processor time, pages of 1,000 rows",
           OfPages(results, {1000},
                   [](const PageResult& page, std::size_t paging) {
                     return Ratio(page.peer.processor, page.ways.at(paging)[kWhole].processor);
                   }),
           {10, true}, Times);
  WriteAim(out, "a page of a table of 1,000,000 rows takes at most 1.5 times as long as one of 10,000", Growth(results),
           {1.5, false}, Times);
  WriteAim(out, "a `Ping` by way of the folders at most 120 µs on an idle machine",
           OfProcesses(results, false, [](const ProcessResult& each) { return Median(each.ping.elapsed); }),
           {120, false}, Time);
  constexpr double kEightMegabytes = 8e6 / (1024 * 1024);
  WriteAim(out, "an idle server on SQLite at most 8 MB (7.6 MiB)",
           OfProcesses(results, true, [](const ProcessResult& each) { return each.idle; }), {kEightMegabytes, false},
           mebibytes);
  constexpr double kTwentyMilliseconds = 20000;
  WriteAim(out, "from its start to the first poll at most 20 ms on SQLite (to the answer of a `Ping` that waited)",
           OfProcesses(results, true, [](const ProcessResult& each) { return Median(each.start.elapsed); }),
           {kTwentyMilliseconds, false}, Time);
  Ranges peaks;
  for (const LargeResult& each : results.large) Add(peaks, each.product, (each.peak - each.idle) / each.answer);
  WriteAim(out, "the largest response raises the peak by at most 1.5 times its size", peaks, {1.5, false}, Times);
  Ranges growth;
  for (const LongRunResult& each : results.longRuns) {
    Add(growth, each.product, each.resident.back().second / each.resident.front().second);
  }
  constexpr double kFlat = 1.05;
  WriteAim(out, "memory stays flat over many requests", growth, {kFlat, false}, Times);
}

}  // namespace ods::bench
