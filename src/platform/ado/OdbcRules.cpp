#include "platform/ado/OdbcRules.h"

#include <algorithm>
#include <array>

namespace ods::odbc {

namespace {

constexpr const char* kNoBackslashEscapes =
    "SET SESSION sql_mode = CONCAT(@@SESSION.sql_mode, ',NO_BACKSLASH_ESCAPES')";
constexpr const char* kLongestPacket = "SELECT @@max_allowed_packet";

// The session was ended by an administrator, by a crash, or may not begin yet.
constexpr std::array<std::string_view, 3> kEndedStates = {"57P01", "57P02", "57P03"};
// Server shutting down; session killed; server gone away; connection lost; the same while reading the answer; ended for
// having done nothing.
constexpr std::array<std::int32_t, 6> kEndedErrors = {1053, 1927, 2006, 2013, 2055, 4031};

constexpr std::array<ProductRule, 5> kProductRules = {{
    {.dbmsName = "MySQL",
     .sessionStatement = kNoBackslashEscapes,
     .longestMessage = kLongestPacket,
     .endedErrors = kEndedErrors},
    {.dbmsName = "MariaDB",
     .sessionStatement = kNoBackslashEscapes,
     .longestMessage = kLongestPacket,
     .listsAllDatabases = true,
     .miscountsWideCells = true,
     .endedErrors = kEndedErrors,
     // The driver appends a limit to every statement, also to one that has its own.
     .native = {.limitClause = "LIMIT ", .nameQuotes = "\"`", .lexis = SqlLexis::kMariaDb}},
    {.dbmsName = "PostgreSQL",
     .sessionStatement = "SET standard_conforming_strings = on",
     .endedStates = kEndedStates,
     .native = {.limitClause = "LIMIT ",
                .upperFunction = "UPPER",
                .binaryPrefix = "'\\x",
                .binarySuffix = "'::bytea",
                .nameQuotes = "\"",
                .lexis = SqlLexis::kPostgreSql}},
    {.dbmsName = "SQLite",
     .native = {.upperFunction = "UPPER", .binaryPrefix = "X'", .binarySuffix = "'", .nameQuotes = "\"`["}},
    {.dbmsName = "Microsoft SQL Server", .quotePrefix = "[", .quoteSuffix = "]"},
}};
constexpr ProductRule kOtherProduct = {};

/// odbc-mariadb 3.1.15 with libmariadb 10.11: a name has at most 64 characters there, so none that exists is too long.
/// And odbc-postgresql 13.02.
constexpr std::array<DriverRule, 2> kDriverRules = {{
    {.name = "maodbc", .formatsErrors = true, .connectLimit = "CONN_TIMEOUT", .longestName = 256},
    {.name = "psqlodbc", .inventsDates = true, .mayGiveUtf8 = true},
}};
constexpr DriverRule kOtherDriver = {};

}  // namespace

const ProductRule& RuleOfProduct(std::string_view dbmsName) {
  const auto* const rule = std::ranges::find(kProductRules, dbmsName, &ProductRule::dbmsName);
  return rule == kProductRules.end() ? kOtherProduct : *rule;
}

const DriverRule& RuleOfDriver(std::string_view driverName) {
  const auto* const rule = std::ranges::find_if(
      kDriverRules, [&](const DriverRule& each) { return driverName.find(each.name) != std::string_view::npos; });
  return rule == kDriverRules.end() ? kOtherDriver : *rule;
}

bool EndsSession(const ProductRule& product, std::string_view sqlState, std::int32_t nativeError) {
  const auto has = [](auto values, const auto& value) { return std::ranges::find(values, value) != values.end(); };
  return sqlState.starts_with("08") || has(product.endedStates, sqlState) || has(product.endedErrors, nativeError);
}

}  // namespace ods::odbc
