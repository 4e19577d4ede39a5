// The comparison of the ways of reading a page, on one database.
#pragma once

#include <string>
#include <vector>

#include "Report.h"

namespace ods::bench {

struct Options {
  std::string peer;     ///< path of the script
  std::string details;  ///< path of the file of every median; "" for none
  bool quick = false;   ///< without the table of a million rows, fewer pages and fewer requests
  int rounds = 0;       ///< how often each page is read at most; 0: as often as is thought to be enough
  int requests = 0;     ///< to each server whose memory is watched; 0: 100,000, and 2,000 of a quick run
};

/// The tables that pages are read of.
[[nodiscard]] std::vector<int> TableSizes(const Options& options);

/// Reads pages and lists of tables in all ways on the database of an ODBC connection string, in tables that are made
/// for it and removed again. Raises std::runtime_error or `Error` where anything is not answered, or not the same by
/// all ways.
void CompareOn(const std::string& product, const std::string& connection, const Options& options, Results& results);

}  // namespace ods::bench
