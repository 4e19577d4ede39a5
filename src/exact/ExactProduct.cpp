#include "exact/ExactProduct.h"

#include <algorithm>
#include <array>

#include "exact/ExactLists.h"

namespace ods {

namespace {

// What the texts of times depend on, and floating numbers with all their digits.
constexpr std::array<const char*, 4> kPostgreSqlSetUp = {"SET TimeZone TO 'UTC'", "SET DateStyle TO 'ISO'",
                                                         "SET IntervalStyle TO 'postgres'",
                                                         "SET extra_float_digits TO 1"};
constexpr std::array<const char*, 1> kMariaDbSetUp = {"SET time_zone = '+00:00'"};

constexpr ExactProduct MariaDb(std::string_view dbmsName) {
  return {.dbmsName = dbmsName,
          .setUp = kMariaDbSetUp,
          .shape = ShapeForMariaDb,
          .correct = CorrectForMariaDb,
          .readKeys = ReadKeysOfMariaDb,
          .emptyBytes = "''",
          .textOfBytes = "_utf8mb4 0x$",
          .listTables = kTablesOfMariaDb,
          .equalityAsRange = true,
          .zeroDates = true,
          .longTimes = true,
          .fractionDigits = 6};
}

/// Jet, whose unions need tables and which knows neither CASE nor ESCAPE.
constexpr ExactProduct Jet(std::string_view dbmsName) {
  return {.dbmsName = dbmsName,
          .shape = ShapeByDriver,
          .readKeys = ReadKeysByDriver,
          .nullOrder = NullOrder::kFirst,
          .likeTakesBrackets = true,
          .fractionDigits = 0};
}

constexpr std::array<ExactProduct, 8> kProducts = {{
    {.dbmsName = "SQLite",
     .shape = ShapeForSqlite,
     .correct = CorrectForSqlite,
     .readKeys = ReadKeysOfSqlite,
     .listTables = kTablesOfSqlite},
    {.dbmsName = "PostgreSQL",
     .setUp = kPostgreSqlSetUp,
     .shape = ShapeForPostgreSql,
     .correct = CorrectForPostgreSql,
     .correctView = CorrectViewForPostgreSql,
     .readKeys = ReadKeysOfPostgreSql,
     .emptyBytes = "''",
     .currentSchema = "SELECT current_schema()",
     .listTables = kTablesOfPostgreSql,
     .farDates = true,
     .fractionDigits = 6},
    MariaDb("MariaDB"),
    MariaDb("MySQL"),
    Jet("ACCESS"),
    Jet("MS Jet"),
    Jet("EXCEL"),
    {.dbmsName = "Microsoft SQL Server", .shape = ShapeByDriver, .readKeys = ReadKeysByDriver, .nationalTexts = true},
}};
constexpr ExactProduct kOtherProduct = {.dbmsName = {}, .shape = ShapeByDriver, .readKeys = ReadKeysByDriver};

}  // namespace

const ExactProduct& ExactProductOf(std::string_view dbmsName) {
  const auto* const product = std::ranges::find(kProducts, dbmsName, &ExactProduct::dbmsName);
  return product == kProducts.end() ? kOtherProduct : *product;
}

}  // namespace ods
