#include "tabledata/modKeyCondition.h"

#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {
namespace {

/// A field of the total key as it stands in the condition.
struct KeyTerm {
  std::string column;
  std::string literal;
};

/// The total key's values of the row that `position` names, as the database holds them now.
std::vector<KeyTerm> ReadBoundaryRow(const DataSession& session, const std::string& table, const Dictionary& position,
                                     const ColumnList& primaryKey, const ColumnList& totalKey) {
  std::string where;
  for (Column* column : primaryKey) {
    const std::string& expression = column->Expression();
    AppendToList(where, " AND ", expression + "=" + LiteralOfRead(session, *column, position.Item(column->Field())));
  }
  bool fieldsFixed = false;
  const std::string fieldList = QuotedFieldList(totalKey);
  const std::string sql =
      BuildSelectOne(session, table, {.where = where, .orderBy = "", .fields = fieldList}, fieldsFixed);
  const auto rows = ExecuteSQL(session, sql, 1);
  std::vector<KeyTerm> terms;
  terms.reserve(totalKey.size());
  for (std::size_t i = 0; i < totalKey.size(); ++i) {
    Column& column = *totalKey[i];
    const Value& value = fieldsFixed ? rows->Item(column.Field()) : rows->Item(i);
    terms.push_back({column.Expression(), LiteralOfRead(session, column, value)});
  }
  return terms;
}

}  // namespace

std::string BuildKeyCondition(const DataSession& session, const std::string& table, const Dictionary& position,
                              const ColumnList& primaryKey, const ColumnList& totalKey, KeyComparison comparison) {
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

std::string QuotedFieldList(const ColumnList& columns) {
  std::string list;
  for (Column* column : columns) {
    // A column without a type of its own (12) is read like any other, though nothing can be compared with it.
    const bool hasType = column->DataType() != ado_type::kVariant;
    AppendToList(list, ",", hasType ? column->Expression() : QuoteIdentifier(column->Session(), column->Field()));
  }
  return list;
}

}  // namespace ods
