// The tables that are read, on each product, and the requests for their pages.
#pragma once

#include <array>
#include <string>

#include "database/DataSession.h"

namespace ods::bench {

/// Makes the table of so many rows anew, in nine columns: integers, texts, a decimal, a date, a timestamp, and nulls.
/// The column `no` is its key, `name` is indexed, without nulls and unique.
/// `product` is "SQLite", "PostgreSQL" or "MariaDB". Raises the driver's errors.
void MakeTable(const DataSession& session, const std::string& product, int rows);
/// Removes it, where it is.
void DropTable(const DataSession& session, int rows);

/// Makes a table `pages_long` of `rows` rows with a number `no` and a text `note` of `bytes` bytes.
void MakeTableOfLongTexts(const DataSession& session, const std::string& product, int rows, int bytes);
void DropTableOfLongTexts(const DataSession& session);

/// Makes so many tables of one column, whose names begin with `kManyPrefix`, or removes them.
inline constexpr const char* kManyPrefix = "many_";
void MakeManyTables(const DataSession& session, const std::string& product, int count);
void DropManyTables(const DataSession& session, const std::string& product, int count);

/// Which page of a table is asked for, and in which order or of which rows.
struct Place {
  const char* name;
  const char* navigate;  ///< element of that name
  int percent;           ///< how much of the table is before a next page; of no meaning for others
  const char* elements;  ///< order, filter or search
};
inline constexpr std::size_t kMiddle = 2;  ///< index of the next page in the middle
inline constexpr std::size_t kDepths = 5;  ///< of these all read one order
inline constexpr std::array<Place, 8> kPlaces = {
    {{"first", "gotofirst", 0, ""},
     {"next, 0 %", "gotonext", 0, ""},
     {"next, 50 %", "gotonext", 50, ""},
     {"next, 100 %", "gotonext", 100, ""},
     {"last", "gotolast", 0, ""},
     {"sorted, 50 %", "gotonext", 50, "<SortColumn>name</SortColumn>"},
     {"filtered, 50 %", "gotonext", 50,
      "<Filter><Condition><FieldId>quantity</FieldId><FilterOp>lt</FilterOp><Filter>25</Filter></Condition></Filter>"},
     {"searched, 50 %", "gotonext", 50,
      "<SearchString>7</SearchString><SearchFields><Field><Id>name</Id><SearchString>%{0}%</SearchString></Field>"
      "</SearchFields>"}}};

/// The request for a page. `lastPosition` is that of the row before a next page.
[[nodiscard]] std::string PageRequest(int rows, int pageSize, const Place& place, const std::string& lastPosition);
/// The request for the one row that a next page is behind: its answer has the position.
[[nodiscard]] std::string RowBeforePage(int rows, int pageSize, const Place& place);
/// The request for the first rows of the table of long texts.
[[nodiscard]] std::string LongTextsRequest(int rows);

}  // namespace ods::bench
