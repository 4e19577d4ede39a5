#include "platform/ado/OdbcRules.h"

#include <algorithm>
#include <array>

namespace ods::odbc {

namespace {

constexpr const char* kNoBackslashEscapes =
    "SET SESSION sql_mode = CONCAT(@@SESSION.sql_mode, ',NO_BACKSLASH_ESCAPES')";
constexpr const char* kLongestPacket = "SELECT @@max_allowed_packet";

constexpr std::array<ProductRule, 4> kProductRules = {{
    {.dbmsName = "MySQL", .sessionStatement = kNoBackslashEscapes, .longestMessage = kLongestPacket},
    {.dbmsName = "MariaDB",
     .sessionStatement = kNoBackslashEscapes,
     .longestMessage = kLongestPacket,
     .listsAllDatabases = true,
     .miscountsWideCells = true},
    {.dbmsName = "PostgreSQL", .sessionStatement = "SET standard_conforming_strings = on"},
    {.dbmsName = "Microsoft SQL Server", .quotePrefix = "[", .quoteSuffix = "]"},
}};
constexpr ProductRule kOtherProduct = {};

/// odbc-mariadb 3.1.15 with libmariadb 10.11: a name has at most 64 characters there, so none that exists is too long.
/// And odbc-postgresql 13.02.
constexpr std::array<DriverRule, 2> kDriverRules = {{
    {.name = "maodbc", .formatsErrors = true, .longestName = 256},
    {.name = "psqlodbc", .inventsDates = true},
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

}  // namespace ods::odbc
