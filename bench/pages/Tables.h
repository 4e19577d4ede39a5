// The tables that are read, on each product, and the requests for their pages.
#pragma once

#include <array>
#include <string>

#include "database/DataSession.h"

namespace ods::bench {

/// Makes the table of so many rows anew, in nine columns: integers, texts, a decimal, a date, a timestamp, and nulls.
/// `product` is "SQLite", "PostgreSQL" or "MariaDB". Raises the driver's errors.
void MakeTable(const DataSession& session, const std::string& product, int rows);
/// Removes it, where it is.
void DropTable(const DataSession& session, int rows);

/// Which page of a table is asked for.
struct Place {
  const char* name;
  int percent;  ///< how much of the table is before a next page; -1 for the first page
};
inline constexpr std::array<Place, 4> kPlaces = {
    {{"first", -1}, {"next, 0 %", 0}, {"next, 50 %", 50}, {"next, 100 %", 100}}};

/// The request for a page. `lastPosition` is that of the row before the page; "" asks for the first page.
[[nodiscard]] std::string PageRequest(int rows, int pageSize, const std::string& lastPosition);
/// The request for the one row that a next page is behind: its answer has the position.
[[nodiscard]] std::string RowBeforePage(int rows, int pageSize, const Place& place);
/// The number of that row, from 1.
[[nodiscard]] int NumberBeforePage(int rows, int pageSize, const Place& place);

}  // namespace ods::bench
