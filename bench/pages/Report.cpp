// Pages.
#include "Report.h"

#include <algorithm>

#include "Numbers.h"

namespace ods::bench {

namespace {

constexpr std::array<const char*, kWhole + 1> kWayNames = {"limit", "handler", "whole way"};

/// Median and 99th percentile of processor and of elapsed time.
std::string Taken(const Series& series) {
  return Time(Median(series.processor)) + ", " + Time(NinetyNinth(series.processor)) + "; " +
         Time(Median(series.elapsed)) + ", " + Time(NinetyNinth(series.elapsed));
}

std::string Paging(const WaysResult& result, std::size_t paging) {
  return "| " + result.product + ", " + kPagingNames.at(paging);
}
std::string Name(const PageResult& result, std::size_t paging) {
  return Paging(result, paging) + " | " + Count(result.rows) + " | " + Count(result.pageSize);
}

/// The ratios of one paging, ended by " |".
std::string Ratios(const WaysResult& result, std::size_t paging) {
  const auto& ways = result.ways.at(paging);
  std::string text;
  for (const double ratio :
       {Ratio(ways[kHandler].processor, ways[kLimit].processor), Ratio(ways[kWhole].processor, ways[kLimit].processor),
        Ratio(ways[kWhole].elapsed, ways[kLimit].elapsed), Ratio(result.peer.processor, ways[kWhole].processor),
        Ratio(result.peer.elapsed, ways[kWhole].elapsed)}) {
    text += " | " + Times(ratio);
  }
  return text + " |";
}
constexpr const char* kRatioTitles =
    "handler : limit, processor | whole way : limit, processor | the same, elapsed | script : whole way, processor | "
    "the same, elapsed |\n";
constexpr const char* kTimesTitle =
    "\nThe same in times: processor, its 99th percentile; elapsed, its 99th percentile.\n\n";

std::string AllTaken(const WaysResult& result, std::size_t paging) {
  std::string text;
  for (const Series& series : result.ways.at(paging)) text += " | " + Taken(series);
  return text + " | " + Taken(result.peer) + " |";
}

/// The result of the same table and size at another place; nullptr where there is none.
const PageResult* At(const std::vector<PageResult>& results, const PageResult& result, std::size_t place, int rows) {
  const auto found = std::ranges::find_if(results, [&](const PageResult& each) {
    return each.product == result.product && each.rows == rows && each.pageSize == result.pageSize &&
           each.place == place;
  });
  return found == results.end() ? nullptr : &*found;
}

/// A table with a column for each place; `ratio` gives what stands in it, of the page there, in one paging, and of the
/// first page.
template <typename RatioOf>
void WriteByPlace(std::ostream& out, const std::vector<PageResult>& results, const char* title, const RatioOf& ratio) {
  out << title << "\n\n| | Rows | A page";
  for (const Place& place : kPlaces) out << " | " << place.name;
  out << " |\n|---|---|---";
  for (std::size_t i = 0; i < kPlaces.size(); ++i) out << "|---";
  out << "|\n";
  for (const PageResult& result : results) {
    if (result.place != 0) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Name(result, paging);
      for (std::size_t place = 0; place < kPlaces.size(); ++place) {
        const PageResult* const there = At(results, result, place, result.rows);
        out << " | " << (there == nullptr ? "–" : Times(ratio(*there, paging, result)));
      }
      out << " |\n";
    }
  }
}

}  // namespace

void WritePages(std::ostream& out, const std::vector<PageResult>& results) {
  out << "| | Rows | A page | " << kRatioTitles << "|---|---|---|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    if (result.place != kMiddle) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Name(result, paging) << Ratios(result, paging) << '\n';
    }
  }
  out << kTimesTitle << "| | Rows | A page | limit | handler | whole way | script |\n|---|---|---|---|---|---|---|\n";
  for (const PageResult& result : results) {
    if (result.place != kMiddle) continue;
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Name(result, paging) << AllTaken(result, paging) << '\n';
    }
  }
}

void WritePlaces(std::ostream& out, const std::vector<PageResult>& results) {
  WriteByPlace(out, results, "handler : limit, processor", [](const PageResult& page, std::size_t paging, const auto&) {
    const auto& ways = page.ways.at(paging);
    return Ratio(ways[kHandler].processor, ways[kLimit].processor);
  });
  WriteByPlace(out, results, "\nwhole way : limit, processor",
               [](const PageResult& page, std::size_t paging, const auto&) {
                 const auto& ways = page.ways.at(paging);
                 return Ratio(ways[kWhole].processor, ways[kLimit].processor);
               });
  WriteByPlace(out, results, "\nscript : whole way, processor",
               [](const PageResult& page, std::size_t paging, const auto&) {
                 return Ratio(page.peer.processor, page.ways.at(paging)[kWhole].processor);
               });
  WriteByPlace(out, results, "\nwhole way : its first page, elapsed",
               [](const PageResult& page, std::size_t paging, const PageResult& first) {
                 return Ratio(page.ways.at(paging)[kWhole].elapsed, first.ways.at(paging)[kWhole].elapsed);
               });
}

void WriteGrowth(std::ostream& out, const std::vector<PageResult>& results) {
  if (results.empty() || results.back().rows == results.front().rows) return;
  const int few = results.front().rows;
  std::vector<PageResult> grown;
  std::ranges::copy_if(results, std::back_inserter(grown), [&](const PageResult& each) { return each.rows != few; });
  const auto growth = [&](Way way) {
    return [&results, few, way](const PageResult& page, std::size_t paging, const auto&) {
      const PageResult* const base = At(results, page, page.place, few);
      return base == nullptr ? 0 : Ratio(page.ways.at(paging).at(way).elapsed, base->ways.at(paging).at(way).elapsed);
    };
  };
  const std::string with = "with " + Count(few) + " rows, elapsed";
  WriteByPlace(out, grown, ("\nwhole way : " + with).c_str(), growth(kWhole));
  WriteByPlace(out, grown, ("\nlimit : " + with).c_str(), growth(kLimit));
}

void WriteLists(std::ostream& out, const std::vector<WaysResult>& results) {
  out << "| | " << kRatioTitles << "|---|---|---|---|---|---|\n";
  for (const WaysResult& result : results) {
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Paging(result, paging) << Ratios(result, paging) << '\n';
    }
  }
  out << kTimesTitle << "| | limit | handler | whole way | script |\n|---|---|---|---|---|\n";
  for (const WaysResult& result : results) {
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      out << Paging(result, paging) << AllTaken(result, paging) << '\n';
    }
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
