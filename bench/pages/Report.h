// What the comparison has found, as Markdown tables, ratios first, and as a table for programs.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Readers.h"
#include "Tables.h"

namespace ods::bench {

/// The ways of reading; the first three are of one way of paging, plain or exact.
enum Way : std::size_t { kLimit, kHandler, kWhole };
inline constexpr std::size_t kPagings = 2;  ///< plain, exact
inline constexpr std::array<const char*, kPagings> kPagingNames = {"plain", "exact"};

/// What a request took in all ways.
struct WaysResult {
  std::string product;
  std::array<std::array<Series, kWhole + 1>, kPagings> ways;  ///< by paging and `Way`
  Series peer;
};

/// The pages of one place and size.
struct PageResult : WaysResult {
  int rows = 0;  ///< of the table
  int pageSize = 0;
  std::size_t place = 0;  ///< index of `kPlaces`
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

/// What one large answer took of a server that had just started.
struct LargeResult {
  std::string product;
  std::string paging;
  std::string what;
  double answer = 0;  ///< MiB
  double idle = 0;    ///< MiB resident before
  double peak = 0;    ///< MiB at most while it was made
};

/// What a server had resident after so many requests.
struct LongRunResult {
  std::string product;
  std::string paging;
  std::vector<std::pair<int, double>> resident;  ///< requests, MiB
};

/// A request to a server with a small log, and to one with a log that is as large as it may become.
struct LogResult {
  std::string request;
  Series small;
  Series full;
};

struct Results {
  std::vector<PageResult> pages;
  std::vector<WaysResult> lists;  ///< of `kManyTables` tables
  std::vector<ProcessResult> processes;
  std::vector<LargeResult> large;
  std::vector<LongRunResult> longRuns;
  std::vector<LogResult> logs;
};
inline constexpr int kManyTables = 1000;

/// Beside what is aimed at: what was measured.
void WriteAims(std::ostream& out, const Results& results);
/// Ratios and times of the next page in the middle.
void WritePages(std::ostream& out, const std::vector<PageResult>& results);
/// Ratios by the place of the page.
void WritePlaces(std::ostream& out, const std::vector<PageResult>& results);
/// What the whole way takes by the size of the table; nothing where all have one.
void WriteGrowth(std::ostream& out, const std::vector<PageResult>& results);
/// Every median and 99th percentile, in microseconds, with tabs between.
void WriteDetails(std::ostream& out, const std::vector<PageResult>& results);

void WriteLists(std::ostream& out, const std::vector<WaysResult>& results);
void WriteProcesses(std::ostream& out, const std::vector<ProcessResult>& results);
void WriteMemory(std::ostream& out, const std::vector<LargeResult>& large, const std::vector<LongRunResult>& longRuns);
void WriteLogs(std::ostream& out, const std::vector<LogResult>& results);

}  // namespace ods::bench
