#include "database/Dialect.h"

#include <array>
#include <cstddef>

namespace ods {

namespace {

constexpr auto kDialects = std::to_array<Dialect>({
    {.kind = DatabaseKind::DbUnknown},
    {.kind = DatabaseKind::DbSqlServer,
     .rowLimit = RowLimit::kTop,
     .caseFolding = "UPPER",
     .bracketedNames = true,
     .listedTables = ListedTables::kTablesAndUserViews,
     .mayHoldNavision = true},
    {.kind = DatabaseKind::DbAccess, .rowLimit = RowLimit::kTop, .listedTables = ListedTables::kAllButSystemTables},
    {.kind = DatabaseKind::DbNavision,
     .splitsBraces = true,
     .flowFilters = true,
     .quoteWhereNoneIsTold = "\"",
     .underscoresAreDots = true,
     .constructsKeys = false,
     .usersInDatabase = true,
     .mayScaleDecimals = true},
    {.kind = DatabaseKind::DbConcorde, .trimsTexts = true},
    {.kind = DatabaseKind::DbMySql, .rowLimit = RowLimit::kLimit, .takesRecordLimit = false},
    {.kind = DatabaseKind::DbPervasive,
     .rowLimit = RowLimit::kTop,
     .castsSixteenBytes = true,
     .quotesFixedBinary = true},
    {.kind = DatabaseKind::DbExcel, .namesEndInDollar = true, .isWorkbook = true},
    {.kind = DatabaseKind::DbUnnamed,
     .caseFolding = "",
     .quoteWhereNoneIsTold = "\"",
     .underscoresAreDots = true,
     .constructsKeys = false},
});

/// The rows stand in the order of their numbers, so that a number finds its row.
constexpr bool StandInOrder() {
  for (std::size_t i = 0; i < kDialects.size(); ++i) {
    if (static_cast<std::size_t>(kDialects[i].kind) != i) return false;
  }
  return true;
}
static_assert(StandInOrder());

}  // namespace

const Dialect* FindDialect(DatabaseKind kind) {
  const auto index = static_cast<std::size_t>(kind);
  return index < kDialects.size() ? &kDialects[index] : nullptr;
}

const Dialect& UnknownDialect() { return kDialects.front(); }

const Dialect& DialectOf(DatabaseKind kind) {
  const Dialect* found = FindDialect(kind);
  return found != nullptr ? *found : UnknownDialect();
}

}  // namespace ods
