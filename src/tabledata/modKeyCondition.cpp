#include "tabledata/modKeyCondition.h"

#include "database/modODBC.h"
#include "database/modSelect.h"
#include "sqlformat/modSafeVal.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {
namespace {

/// A field of the total key as it stands in the condition.
struct KeyTerm {
  std::string column;
  std::string literal;
};

/// The total key's values of the row that `position` names, as the database holds them now.
std::vector<KeyTerm> ReadBoundaryRow(DataSession& session, const std::string& table, const Dictionary& position,
                                     const std::vector<std::string>& primaryKey,
                                     const std::vector<std::string>& totalKey) {
  std::string where;
  for (const std::string& field : primaryKey) {
    if (!where.empty()) where += " AND ";
    where += SafeQuote(session, table, field) + "=" + LiteralOfRead(session, table, field, position.Item(field));
  }
  bool fieldsFixed = false;
  const std::string fieldList = QuotedFieldList(session, table, totalKey);
  const std::string sql =
      BuildSelectOne(session, table, {.where = where, .orderBy = "", .fields = fieldList}, fieldsFixed);
  const auto rows = ExecuteSQL(session, sql, 1);
  std::vector<KeyTerm> terms;
  terms.reserve(totalKey.size());
  for (std::size_t i = 0; i < totalKey.size(); ++i) {
    const std::string& field = totalKey[i];
    const Value& value = fieldsFixed ? rows->Item(field) : rows->Item(i);
    terms.push_back({SafeQuote(session, table, field), LiteralOfRead(session, table, field, value)});
  }
  return terms;
}

}  // namespace

std::string BuildKeyCondition(DataSession& session, const std::string& table, const Dictionary& position,
                              const std::vector<std::string>& primaryKey, const std::vector<std::string>& totalKey,
                              KeyComparison comparison) {
  const std::vector<KeyTerm> terms = ReadBoundaryRow(session, table, position, primaryKey, totalKey);
  const std::string base = comparison.greater ? ">" : "<";
  const std::size_t last = terms.size() - 1;
  std::string condition = "(";
  for (std::size_t i = 0; i < terms.size(); ++i) {
    if (i > 0) condition += ") OR (";
    for (std::size_t j = 0; j <= i; ++j) {
      if (j > 0) condition += " AND ";
      const bool orEqual = j != i || (i == last && comparison.inclusive);
      condition += terms[j].column + base + (orEqual ? "=" : "") + terms[j].literal;
      RequireStatementSize(condition.size());
    }
  }
  return condition + ")";
}

std::string QuotedFieldList(DataSession& session, const std::string& table, const std::vector<std::string>& fields) {
  std::string list;
  for (const std::string& field : fields) {
    if (!list.empty()) list += ",";
    // A column without a type of its own (12) is read like any other, though nothing can be compared with it.
    const bool hasType = RequireField(session, table, field).Type != ado_type::kVariant;
    list += hasType ? SafeQuote(session, table, field) : QuoteIdentifier(session, field);
  }
  return list;
}

}  // namespace ods
