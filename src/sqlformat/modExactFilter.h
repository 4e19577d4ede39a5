// A request's filter and search as the text of a WHERE clause, with exact values: what cannot be a value of a column is
// an error, and nothing of a value is lost.
#pragma once

#include <string>

#include "database/DataSession.h"
#include "platform/xml/Xml.h"

namespace ods {

/// The conditions `Filter/Condition` below `request`, joined by AND, each in parentheses; "" when there is none. `step`
/// is set to the name of the step in work. Raises error 1000 naming field, value and type for a value that cannot be
/// one of the column's type, and naming the operator for one that there is not.
[[nodiscard]] std::string BuildExactFilter(DataSession& session, const std::string& table, const XmlNode& request,
                                           std::string& step);

/// The search condition: the case-folded LIKE of `searchString` over `SearchFields/Field` below `request`, in
/// parentheses, over columns of any type by their texts; "" when no field has a pattern.
[[nodiscard]] std::string BuildExactSearch(DataSession& session, const std::string& table, const XmlNode& request,
                                           const std::string& searchString);

}  // namespace ods
