#include "sqlformat/modExactFilter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "common/Error.h"
#include "common/Text.h"
#include "database/modSelect.h"
#include "exact/ExactLiteral.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"
#include "sqlformat/modFilterValue.h"
#include "sqlformat/modSafeFilter.h"

namespace ods {
namespace {

/// The values of a condition: its `Value` elements, each as it is; without one the alternatives of `Filter`. A request
/// may have millions of them, so each is made when its turn comes.
class FilterValues {
 public:
  explicit FilterValues(const XmlNode& condition) : elements_(condition.SelectNodes("Value")) {
    if (elements_.empty()) alternatives_ = GetNodeText(condition, "Filter");
  }

  template <typename Action>
  void ForEach(const Action& action) const {
    for (const XmlNode& element : elements_) action(element.Text());
    if (!elements_.empty()) return;
    for (std::size_t start = 0; start <= alternatives_.size();) {
      const std::size_t end = std::min(alternatives_.find(kSeparator, start), alternatives_.size());
      action(alternatives_.substr(start, end - start));
      start = end + 1;
    }
  }
  [[nodiscard]] std::size_t Count() const {
    if (!elements_.empty()) return elements_.size();
    return 1 + static_cast<std::size_t>(std::ranges::count(alternatives_, kSeparator));
  }

 private:
  static constexpr char kSeparator = '|';

  std::vector<XmlNode> elements_;
  std::string alternatives_;
};

/// One condition of a request.
struct Asked {
  const DataSession& session;
  const std::string& table;
  const ExactColumn& column;
  FilterValues values;
  MomentRules rules;
};

constexpr std::string_view kNoRow = "1=0";

struct FilterOperator {
  std::string_view keyword;
  std::string (*write)(const Asked& asked, const FilterOperator& self);
  std::string_view sql = {};
  std::string_view prefix = {};  ///< of the pattern
  std::string_view suffix = {};
};

/// A client's text as an error shows it: its beginning, in whole characters.
std::string Shown(const std::string& text) {
  constexpr std::size_t kMost = 200;
  if (text.size() <= kMost) return text;
  std::size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "...";
}

FilterValue ValueOf(const Asked& asked, const std::string& text) {
  if (std::optional<FilterValue> value = ParseFilterValue(asked.column, asked.rules, text)) return *std::move(value);
  throw Error(error_number::kOwn, "The value \"" + Shown(text) + "\" of the filter on field \"" + asked.column.name +
                                      "\" is not a value of the type " +
                                      std::string(ValueClassName(asked.column.valueClass)) + ".");
}

std::string NotNull(const Asked& asked, bool isNull) {
  // MariaDB takes the date 0000-00-00 of a column that is never null for null; not so the text of it. PostgreSQL takes
  // a composite for null whose parts are null; not so what it is ordered by.
  const ExactColumn& column = asked.column;
  const std::string given = column.order ? column.order->expression : QuoteIdentifier(asked.session, column.name);
  const std::string& expression = column.nullable ? given : column.text;
  return expression + (isNull ? " IS NULL" : " IS NOT NULL");
}

std::string LiteralOf(const Asked& asked, const FilterValue& value, const ExactValue& form) {
  const LiteralStyle style = value.asDigits ? LiteralStyle::kNumber : ComparedOf(asked.column).literal;
  return ExactLiteral(asked.session, style, form);
}

/// `<`, `<=`, `>` and `>=` with a value that lies directly above or below one that can be written.
std::string_view OperatorBeyond(std::string_view sql, int beyond) {
  if (beyond == 0) return sql;
  if (sql.starts_with('<')) return beyond > 0 ? "<=" : "<";
  return beyond > 0 ? ">" : ">=";
}

std::string Compare(const Asked& asked, std::string_view sql, const std::string& text) {
  const FilterValue value = ValueOf(asked, text);
  const std::string_view sqlOperator = OperatorBeyond(sql, value.beyond);
  return ComparedOf(asked.column).expression + " " + std::string(sqlOperator) + " " +
         LiteralOf(asked, value, value.value);
}

/// The alternatives one after the other, each made by `write` of a text.
template <typename Writer>
std::string AnyOf(const Asked& asked, const Writer& write) {
  std::string condition;
  asked.values.ForEach([&](const std::string& text) {
    AppendToList(condition, " OR ", write(text));
    RequireStatementSize(condition.size());
  });
  return condition;
}

std::string WriteComparison(const Asked& asked, const FilterOperator& self) {
  return AnyOf(asked, [&](const std::string& text) { return Compare(asked, self.sql, text); });
}

/// Equality with one of the values, or with none of them. In a list, which products take at any length where they do
/// not take as many conditions.
std::string WriteEquality(const Asked& asked, const FilterOperator& self) {
  const bool equal = self.sql == "=";
  std::string list;
  std::size_t count = 0;
  const auto append = [&](const FilterValue& value, const ExactValue& form) {
    AppendToList(list, ", ", LiteralOf(asked, value, form));
    RequireStatementSize(list.size());
    ++count;
  };
  asked.values.ForEach([&](const std::string& text) {
    const FilterValue value = ValueOf(asked, text);
    if (value.beyond != 0) return;  // which no row has
    append(value, value.value);
    if (value.otherForm) append(value, *value.otherForm);
  });
  if (count == 0) return equal ? std::string(kNoRow) : NotNull(asked, false);
  const std::string expression = ComparedOf(asked.column).expression;
  if (count == 1) return expression + " " + std::string(self.sql) + " " + list;
  return expression + (equal ? " IN (" : " NOT IN (") + list + ")";
}

std::string WriteBetween(const Asked& asked, const FilterOperator& self) {
  if (asked.values.Count() != 2) {
    throw Error(error_number::kOwn, "The filter on field \"" + asked.column.name + "\" has " +
                                        std::to_string(asked.values.Count()) + " values: the operator \"" +
                                        std::string(self.keyword) + "\" takes two.");
  }
  std::string condition;
  asked.values.ForEach([&](const std::string& text) {
    AppendToList(condition, " AND ", Compare(asked, condition.empty() ? ">=" : "<=", text));
  });
  return condition;
}

std::string TextLiteral(const DataSession& session, const std::string& text) {
  return ExactLiteral(session, LiteralStyle::kQuoted, {ExactValue::Kind::kText, text});
}

/// The client writes the wildcards.
std::string WriteLike(const Asked& asked, const FilterOperator& /*self*/) {
  return AnyOf(
      asked, [&](const std::string& text) { return asked.column.text + " LIKE " + TextLiteral(asked.session, text); });
}

/// A wildcard in the value is a character.
std::string WritePattern(const Asked& asked, const FilterOperator& self) {
  const ExactProduct* const product = asked.session.exact ? asked.session.exact->product : nullptr;
  const bool brackets = product != nullptr && product->likeTakesBrackets;
  const std::string_view special = brackets ? "%_[" : asked.session.dialect->bracketedNames ? "!%_[" : "!%_";
  return AnyOf(asked, [&](const std::string& text) {
    std::string pattern(self.prefix);
    for (const char c : text) {
      const bool isSpecial = special.find(c) != std::string_view::npos;
      if (isSpecial) pattern += brackets ? '[' : '!';
      pattern += c;
      if (isSpecial && brackets) pattern += ']';
    }
    pattern += self.suffix;
    RequireStatementSize(pattern.size());
    const std::string condition = asked.column.text + " LIKE " + TextLiteral(asked.session, pattern);
    return brackets ? condition : condition + " ESCAPE '!'";
  });
}

std::string WriteNull(const Asked& asked, const FilterOperator& self) { return NotNull(asked, self.keyword == "null"); }

constexpr std::array kOperators = {
    FilterOperator{"eq", &WriteEquality, "="},
    FilterOperator{"", &WriteEquality, "="},
    FilterOperator{"lt", &WriteComparison, "<"},
    FilterOperator{"gt", &WriteComparison, ">"},
    FilterOperator{"lteq", &WriteComparison, "<="},
    FilterOperator{"gteq", &WriteComparison, ">="},
    FilterOperator{"not", &WriteEquality, "<>"},
    FilterOperator{"like", &WriteLike},
    FilterOperator{"null", &WriteNull},
    FilterOperator{"notnull", &WriteNull},
    FilterOperator{"between", &WriteBetween},
    FilterOperator{.keyword = "contains", .write = &WritePattern, .prefix = "%", .suffix = "%"},
    FilterOperator{.keyword = "startswith", .write = &WritePattern, .suffix = "%"},
    FilterOperator{.keyword = "endswith", .write = &WritePattern, .prefix = "%"},
};

MomentRules RulesOf(const DataSession& session) {
  const ExactProduct* const product = session.exact ? session.exact->product : nullptr;
  if (product == nullptr) return {};
  return {.zeroDates = product->zeroDates,
          .farDates = product->farDates,
          .longTimes = product->longTimes,
          .fractionDigits = static_cast<std::size_t>(product->fractionDigits)};
}

/// Navision's flow filters are set for the fields of a table, which need not be columns.
std::string FlowFilters(const DataSession& session, const std::string& table, const XmlNode& condition) {
  const std::string field = GetNodeText(condition, "FieldId");
  std::string text;
  FilterValues(condition).ForEach([&](const std::string& value) {
    AppendToList(text, " OR ", FlowFilterEscape(session, table, field, value));
    RequireStatementSize(text.size());
  });
  return text;
}

std::string Condition(DataSession& session, const std::string& table, const XmlNode& condition) {
  const std::string keyword = GetNodeText(condition, "FilterOp");
  if (keyword == kFlowFilter && session.dialect->flowFilters) return FlowFilters(session, table, condition);
  const auto* const found = std::ranges::find(kOperators, keyword, &FilterOperator::keyword);
  if (found == kOperators.end()) {
    throw Error(error_number::kOwn, "There is no filter operator \"" + Shown(keyword) + "\".");
  }
  const ExactColumn& column = LookupExactTable(session, table).Require(GetNodeText(condition, "FieldId"), table);
  return found->write({session, table, column, FilterValues(condition), RulesOf(session)}, *found);
}

}  // namespace

std::string BuildExactFilter(DataSession& session, const std::string& table, const XmlNode& request,
                             std::string& step) {
  std::string text;
  for (const XmlNode& condition : request.SelectNodes("Filter/Condition")) {
    step = "Read filter";
    AppendToList(text, " AND ", "(" + Condition(session, table, condition) + ")");
    RequireStatementSize(text.size());
  }
  return text;
}

std::string BuildExactSearch(DataSession& session, const std::string& table, const XmlNode& request,
                             const std::string& searchString) {
  std::string terms;
  for (const XmlNode& node : request.SelectNodes("SearchFields/Field")) {
    const std::string pattern = GetNodeText(node, "SearchString");
    if (pattern.empty()) continue;
    const ExactColumn& column = LookupExactTable(session, table).Require(GetNodeText(node, "Id"), table);
    const std::string literal = TextLiteral(session, FillPattern(pattern, searchString));
    AppendToList(terms, " OR ", "(" + FoldedCase(session, column.text) + " LIKE " + FoldedCase(session, literal) + ")");
    RequireStatementSize(terms.size());
  }
  return terms.empty() ? terms : "(" + terms + ")";
}

}  // namespace ods
