// What exact paging needs to know of a database product: one table, a row a "DBMS Name". A product without a row is
// read through the driver alone, with the literals of ODBC.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "database/DataSession.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"

namespace ods {

/// A table by the parts of its name, as the database's catalogue has them.
struct TableName {
  std::string schema;  ///< "" for the current one
  std::string name;
};

struct ExactProduct {
  std::string_view dbmsName = {};
  /// Run right after connecting.
  std::span<const char* const> setUp = {};
  /// Decides, from what the driver tells of a column (name, adoType, typeName, size, digits, nullable), all the rest of
  /// it but whether the product can order by it: `order` is what it would be.
  void (*shape)(const DataSession& session, ExactColumn& column) = nullptr;
  /// Corrects what the driver tells of the columns of a table, from the catalogue; nullptr where there is nothing to
  /// ask.
  void (*correct)(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns) = nullptr;
  /// The same of a server-side view, by a statement that gives its columns and no rows.
  void (*correctView)(const DataSession& session, const std::string& statement,
                      std::vector<ExactColumn>& columns) = nullptr;
  /// Reads the keys and the row identifier of a table, by whose columns the terms are made; nullptr to ask the driver.
  void (*readKeys)(const DataSession& session, const TableName& table, ExactTable& known) = nullptr;
  std::string_view emptyBytes = "0x";  ///< the literal of no bytes
  /// A text literal beyond ASCII is written N'...': without the N it loses what the database's code page lacks.
  bool nationalTexts = false;
  /// The literal of a text by the hexadecimal digits of its UTF-8 bytes, which stand for "$": for a text with a null
  /// character. "" where there is none, or no such text.
  std::string_view textOfBytes = {};
  /// A statement that gives the current schema, where there are schemas; nullptr where there are none.
  const char* currentSchema = nullptr;
  /// A statement that gives schema ("" where there are none) and name of every table and view that a client may
  /// browse, where the driver's list lacks some or has too many; nullptr to take the driver's.
  const char* listTables = nullptr;
  /// Where nulls stand in an ascending order, for a product that cannot be asked.
  NullOrder nullOrder = NullOrder::kUnknown;
  bool likeTakesBrackets = false;  ///< in a pattern of LIKE a character in brackets is itself; ESCAPE is not known
  /// An index serves a range of one column behind others only where what these equal is written as a range too, and the
  /// rows are ordered by them all.
  bool equalityAsRange = false;
  // Dates and times that the product has besides those of the calendar and of a day.
  bool zeroDates = false;           ///< year, month and day may be 0: 0000-00-00
  bool farDates = false;            ///< infinity, -infinity, years of more than four digits, and years BC
  bool longTimes = false;           ///< up to 838:59:59, and negative ones
  std::int32_t fractionDigits = 9;  ///< the most of a second
};

/// The row of the product that calls itself `dbmsName`.
[[nodiscard]] const ExactProduct& ExactProductOf(std::string_view dbmsName);

// The rows' routines, one file a product.
void ShapeByDriver(const DataSession& session, ExactColumn& column);
void ShapeForSqlite(const DataSession& session, ExactColumn& column);
void ShapeForPostgreSql(const DataSession& session, ExactColumn& column);
void ShapeForMariaDb(const DataSession& session, ExactColumn& column);
void CorrectForSqlite(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns);
void CorrectForPostgreSql(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns);
void CorrectViewForPostgreSql(const DataSession& session, const std::string& statement,
                              std::vector<ExactColumn>& columns);
void CorrectForMariaDb(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns);
void ReadKeysOfSqlite(const DataSession& session, const TableName& table, ExactTable& known);
void ReadKeysOfPostgreSql(const DataSession& session, const TableName& table, ExactTable& known);
void ReadKeysOfMariaDb(const DataSession& session, const TableName& table, ExactTable& known);
/// Through the driver: the index schema, without indexes over a part of the rows.
void ReadKeysByDriver(const DataSession& session, const TableName& table, ExactTable& known);

}  // namespace ods
