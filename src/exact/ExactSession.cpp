#include "exact/ExactSession.h"

#include <optional>

#include "common/Conversions.h"
#include "common/Error.h"
#include "database/modODBC.h"
#include "exact/ExactForm.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

/// Which of the two rows comes first: true for the null.
std::optional<bool> NullComesFirst(const DataSession& session, std::string_view direction) {
  const auto rows =
      TrySQL(session, "SELECT x FROM (SELECT 1 AS x UNION ALL SELECT NULL) AS t ORDER BY x" + std::string(direction));
  if (!rows || rows->AtEnd() || rows->Fields().empty()) return std::nullopt;
  const bool first = rows->Item(0).IsNull();
  rows->MoveNext();
  if (rows->AtEnd() || rows->Item(0).IsNull() == first) return std::nullopt;
  return first;
}

NullOrder AskNullOrder(const DataSession& session) {
  const std::optional<bool> ascending = NullComesFirst(session, "");
  const std::optional<bool> descending = NullComesFirst(session, " DESC");
  if (!ascending || !descending || *ascending == *descending) return NullOrder::kUnknown;
  return *ascending ? NullOrder::kFirst : NullOrder::kLast;
}

std::string AskCurrentSchema(const DataSession& session, const char* statement) {
  if (statement == nullptr) return "";
  const auto rows = TrySQL(session, statement);
  return rows && !rows->AtEnd() ? SafeStr(rows->Item(0)) : "";
}

}  // namespace

void OpenExactSession(DataSession& session) {
  auto exact = std::make_shared<ExactSession>();
  exact->product = &ExactProductOf(session.connection->Property("DBMS Name"));
  for (const char* const statement : exact->product->setUp) (void)ExecuteSQL(session, statement, 0);
  exact->nullOrder = exact->product->nullOrder;
  if (exact->nullOrder == NullOrder::kUnknown) exact->nullOrder = AskNullOrder(session);
  // A dialect of bracketed names has the schema in every name already.
  exact->hasSchemas =
      session.connection->HasSchemas() && !session.dialect->bracketedNames && !session.QuotePrefix.empty();
  if (exact->hasSchemas) exact->currentSchema = AskCurrentSchema(session, exact->product->currentSchema);
  session.namesWithSchema = exact->hasSchemas;
  session.exact = std::move(exact);
}

}  // namespace ods
