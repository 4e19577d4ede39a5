// A request's filter and search as the text of a WHERE clause.
#pragma once

#include <string>
#include <string_view>

#include "database/DataSession.h"
#include "platform/xml/Xml.h"
#include "sqlformat/modSafeVal.h"

namespace ods {

/// A filter value normalised by the type of its field. Raises error 1000 naming field and table for a field that the
/// table lacks. The normaliser sees the whole text with its "|": alternatives survive for text and binary columns only.
[[nodiscard]] std::string SafeFilter(DataSession& session, const std::string& table, const std::string& field,
                                     const Value& value);
[[nodiscard]] std::string SafeFilter(Column& column, const Value& value);

[[nodiscard]] std::string SafeFilter_String(const Value& value);
[[nodiscard]] std::string SafeFilter_BinaryHex(const Value& value);
[[nodiscard]] std::string SafeFilter_Integer(const Value& value);
[[nodiscard]] std::string SafeFilter_Float(const Value& value);
[[nodiscard]] std::string SafeFilter_Boolean(const Value& value);
[[nodiscard]] std::string SafeFilter_Date(const Value& value);

/// The operator that stands for Navision's flow-filter escape.
inline constexpr std::string_view kFlowFilter = "flowfilter";

/// The escape that sets a flow filter in Navision's driver.
[[nodiscard]] std::string FlowFilterEscape(const DataSession& session, std::string_view table, const std::string& field,
                                           const std::string& value);
/// `expression` in the product's function that folds case, alone where there is none.
[[nodiscard]] std::string FoldedCase(const DataSession& session, const std::string& expression);
/// `pattern` with every "{0}" as the search text. Both come from the client, and their lengths multiply: raises error
/// 1000 for a text that no statement may have.
[[nodiscard]] std::string FillPattern(const std::string& pattern, const std::string& searchString);

/// The body of one condition: the alternatives of `values`, split at "|", joined by `joiner`. "flowfilter" writes the
/// flow-filter escape of the driver instead of a comparison.
[[nodiscard]] std::string BuildFilterCondition(std::string_view sqlOperator, const DataSession& session, Column& column,
                                               const std::string& values, std::string_view joiner);

/// One `Condition` of a request as " AND (" ... ")". An unknown operator leaves the parentheses empty, which the
/// database rejects. `step` is set to the name of the step in work.
[[nodiscard]] std::string BuildCondition(DataSession& session, const std::string& table, const XmlNode& condition,
                                         std::string& step);

/// The conditions `Filter/Condition` below `request`, joined by AND, each in parentheses; "" when there is none.
[[nodiscard]] std::string BuildFilter(DataSession& session, const std::string& table, const XmlNode& request,
                                      std::string& step);

/// The search condition: the case-folded LIKE of `searchString` over `SearchFields/Field` below `request`, in
/// parentheses;
/// "()" when no field has a pattern.
[[nodiscard]] std::string BuildSearch(DataSession& session, const std::string& table, const XmlNode& request,
                                      const std::string& searchString);

}  // namespace ods
