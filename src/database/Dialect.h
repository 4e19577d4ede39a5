// What the database products do differently: one table, a row a product. A data session holds the row of its product,
// and nothing but the detection at the connect asks which product that is.
#pragma once

#include <cstdint>
#include <string_view>

namespace ods {

/// The database product behind the connection.
enum class DatabaseKind : std::int32_t {
  DbUnknown = 0,
  DbSqlServer = 1,
  DbAccess = 2,
  DbNavision = 3,
  DbConcorde = 4,
  DbMySql = 5,
  DbPervasive = 6,
  DbExcel = 7,
  DbUnnamed = 8,
};

/// How a statement says how many rows it wants.
enum class RowLimit { kNone, kTop, kLimit };

/// Which rows of the tables schema are offered to clients.
enum class ListedTables { kAll, kAllButSystemTables, kTablesAndUserViews };

/// One product. A member that a row leaves out is what an unknown product does.
struct Dialect {
  DatabaseKind kind = DatabaseKind::DbUnknown;

  // Statements.
  RowLimit rowLimit = RowLimit::kNone;
  bool takesRecordLimit = true;            ///< a record set may be given a limit of records besides
  std::string_view caseFolding = "UCASE";  ///< the function that folds case; "" where there is none
  bool trimsTexts = false;                 ///< texts are padded, and stand in statements without blanks at their ends
  bool castsSixteenBytes = false;          ///< a binary column of 16 bytes is cast to be compared
  bool quotesFixedBinary = false;  ///< literals of type 128 (fixed binary) are digits in apostrophes, without "0x"
  bool splitsBraces = false;       ///< a "{" in a literal would begin an escape, and is kept apart
  bool flowFilters = false;        ///< takes the flow-filter escape

  // Names.
  /// The identifier quote on both sides where the driver tells none; "": names then stand bare.
  std::string_view quoteWhereNoneIsTold = {};
  bool bracketedNames = false;      ///< tables are named with their schema, each part in brackets
  bool underscoresAreDots = false;  ///< drivers write "_" for the "." of a name
  bool namesEndInDollar = false;    ///< a "$" at the end of a table's name is no part of what it is called

  // The catalogue.
  ListedTables listedTables = ListedTables::kAll;
  bool constructsKeys = true;  ///< a table without a unique index gets a key of its columns; else its first index

  // What is behind the connection.
  bool isWorkbook = false;        ///< the catalogue is the path of a file, which may be exchanged
  bool usersInDatabase = false;   ///< keeps users and roles in tables of its own
  bool mayScaleDecimals = false;  ///< some drivers hand out decimals as whole numbers
  bool mayHoldNavision = false;   ///< may hold the tables of a Navision database
};

/// The row of a product; nullptr for a number that is none.
[[nodiscard]] const Dialect* FindDialect(DatabaseKind kind);
/// The row of an unknown product.
[[nodiscard]] const Dialect& UnknownDialect();
/// The row of a product; for a number that is none `UnknownDialect`.
[[nodiscard]] const Dialect& DialectOf(DatabaseKind kind);

}  // namespace ods
