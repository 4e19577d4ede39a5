#include "sqlformat/modSafeFilter.h"

#include <algorithm>
#include <array>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modSelect.h"

namespace ods {
namespace {

struct Normaliser {
  std::string_view name;
  std::string (*routine)(const Value& value);
};

constexpr std::array kNormalisers = {
    Normaliser{"Boolean", SafeFilter_Boolean},     Normaliser{"String", SafeFilter_String},
    Normaliser{"Integer", SafeFilter_Integer},     Normaliser{"Float", SafeFilter_Float},
    Normaliser{"Date", SafeFilter_Date},           Normaliser{"DateTime", SafeFilter_Date},
    Normaliser{"BinaryHex", SafeFilter_BinaryHex},
};

struct FilterOperator {
  std::string_view keyword;
  std::string_view sqlOperator;
  std::string_view joiner;
};

constexpr std::array kOperators = {
    FilterOperator{"eq", "=", "OR"},
    FilterOperator{"", "=", "OR"},
    FilterOperator{"lt", "<", "OR"},
    FilterOperator{"gt", ">", "OR"},
    FilterOperator{"lteq", "<=", "OR"},
    FilterOperator{"gteq", ">=", "OR"},
    FilterOperator{"not", "<>", "AND"},
    FilterOperator{"like", " LIKE ", "OR"},
    FilterOperator{kFlowFilter, kFlowFilter, "OR"},
};

}  // namespace

std::string FoldedCase(const DataSession& session, const std::string& expression) {
  const std::string_view function = session.dialect->caseFolding;
  return function.empty() ? expression : std::string(function) + "(" + expression + ")";
}

std::string FillPattern(const std::string& pattern, const std::string& searchString) {
  constexpr std::string_view kPlace = "{0}";
  std::size_t length = pattern.size();
  for (std::size_t hit = pattern.find(kPlace); hit != std::string::npos; hit = pattern.find(kPlace, hit + 1)) {
    length += searchString.size();
    RequireStatementSize(length);
  }
  return ReplaceAll(pattern, kPlace, searchString);
}

std::string FlowFilterEscape(const DataSession& session, std::string_view table, const std::string& field,
                             const std::string& value) {
  const auto quoted = [&session](const Value& text) { return SafeVal_String(*session.dialect, text); };
  return "{pred SetFlowFilter, " + quoted(GetBareName(table)) + ", " + quoted(field) + ", " + quoted(value) + "}";
}

std::string SafeFilter(DataSession& session, const std::string& table, const std::string& field, const Value& value) {
  Column column(session, table, field);
  return SafeFilter(column, value);
}

std::string SafeFilter(Column& column, const Value& value) {
  const std::string& name = column.Type().SafeFilterFunction;
  const auto* const normaliser = std::ranges::find(kNormalisers, name, &Normaliser::name);
  return normaliser == kNormalisers.end() ? std::string() : normaliser->routine(value);
}

std::string SafeFilter_String(const Value& value) { return SafeStr(value); }

std::string SafeFilter_BinaryHex(const Value& value) { return SafeFilter_String(value); }

std::string SafeFilter_Integer(const Value& value) { return std::to_string(SafeLng(value)); }

std::string SafeFilter_Float(const Value& value) { return FormatDouble(SafeDbl(value)); }

std::string SafeFilter_Boolean(const Value& value) { return SafeBool(value) ? "1" : "0"; }

std::string SafeFilter_Date(const Value& value) { return FormatDate(SafeDate(value)); }

std::string BuildFilterCondition(std::string_view sqlOperator, const DataSession& session, Column& column,
                                 const std::string& values, std::string_view joiner) {
  const auto comparison = [&](const std::string& value) {
    const std::string text = column.Expression() + " " + std::string(sqlOperator) + " ";
    return text + column.Literal(value);
  };
  const std::string between = " " + std::string(joiner) + " ";
  if (values.empty()) return comparison(values);
  std::string text;
  for (std::size_t start = 0; start <= values.size();) {
    const std::size_t end = std::min(values.find('|', start), values.size());
    const std::string value = values.substr(start, end - start);
    AppendToList(text, between,
                 sqlOperator == kFlowFilter ? FlowFilterEscape(session, column.Table(), column.Field(), value)
                                            : comparison(value));
    RequireStatementSize(text.size());
    start = end + 1;
  }
  return text;
}

std::string BuildCondition(DataSession& session, const std::string& table, const XmlNode& condition,
                           std::string& step) {
  Column column(session, table, GetNodeText(condition, "FieldId"));
  const std::string keyword = GetNodeText(condition, "FilterOp");
  std::string values = GetNodeText(condition, "Filter");
  if (keyword == kFlowFilter) {
    values = SafeFilter_String(values);
  } else {
    step = "Modify filter value";
    values = SafeFilter(column, values);
  }
  const auto* const filterOperator = std::ranges::find(kOperators, keyword, &FilterOperator::keyword);
  std::string text = " AND (";
  if (filterOperator != kOperators.end()) {
    text += BuildFilterCondition(filterOperator->sqlOperator, session, column, values, filterOperator->joiner);
  }
  return text + ")";
}

std::string BuildFilter(DataSession& session, const std::string& table, const XmlNode& request, std::string& step) {
  constexpr std::size_t kLeadingAnd = std::string_view(" AND ").size();
  std::string text;
  for (const XmlNode& condition : request.SelectNodes("Filter/Condition")) {
    step = "Read filter";
    text += BuildCondition(session, table, condition, step);
    RequireStatementSize(text.size());
  }
  return text.empty() ? text : text.substr(kLeadingAnd);
}

std::string BuildSearch(DataSession& session, const std::string& table, const XmlNode& request,
                        const std::string& searchString) {
  std::string terms;
  for (const XmlNode& node : request.SelectNodes("SearchFields/Field")) {
    const std::string pattern = GetNodeText(node, "SearchString");
    if (pattern.empty()) continue;
    Column column(session, table, GetNodeText(node, "Id"));
    const std::string value = SafeFilter(column, FillPattern(pattern, searchString));
    const std::string folded = FoldedCase(session, column.Expression());
    AppendToList(terms, " OR ", "(" + folded + " LIKE " + FoldedCase(session, column.Literal(value)) + ")");
    RequireStatementSize(terms.size());
  }
  return "(" + terms + ")";
}

}  // namespace ods
