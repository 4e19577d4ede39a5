// What the comparison has found, as Markdown tables, ratios first, and as a table for programs.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "Readers.h"
#include "Tables.h"

namespace ods::bench {

/// The ways of reading; the first three are of one way of paging, plain or exact.
enum Way : std::size_t { kLimit, kHandler, kWhole };
inline constexpr std::size_t kPagings = 2;  ///< plain, exact
inline constexpr std::array<const char*, kPagings> kPagingNames = {"plain", "exact"};

/// The pages of one place and size.
struct PageResult {
  std::string product;
  int rows = 0;  ///< of the table
  int pageSize = 0;
  std::size_t place = 0;                                      ///< index of `kPlaces`
  std::array<std::array<Series, kWhole + 1>, kPagings> ways;  ///< by paging and `Way`
  Series peer;
};

/// What a process costs that answers requests.
struct ProcessResult {
  std::string product;
  std::string name;
  Series ping;
  Series start;           ///< from its start to the answer of a `Ping` that waited; no processor time
  double idle = 0;        ///< MiB, before any page
  double afterwards = 0;  ///< MiB, behind all pages
};

/// Ratios and times of the next page in the middle.
void WritePages(std::ostream& out, const std::vector<PageResult>& results);
/// What the whole way takes, by the place of the page.
void WritePlaces(std::ostream& out, const std::vector<PageResult>& results);
/// The same by the size of the table; nothing where all have one.
void WriteGrowth(std::ostream& out, const std::vector<PageResult>& results);
void WriteProcesses(std::ostream& out, const std::vector<ProcessResult>& results);
/// Every median and 99th percentile, in microseconds, with tabs between.
void WriteDetails(std::ostream& out, const std::vector<PageResult>& results);

}  // namespace ods::bench
