// The key condition: which rows lie beyond a position in the order of the total key.
#pragma once

#include <string>
#include <vector>

#include "common/Dictionary.h"
#include "database/DataSession.h"
#include "sqlformat/modSafeVal.h"

namespace ods {

/// Columns of a request, borrowed.
using ColumnList = std::vector<Column*>;

/// On which side of the position the rows lie, and whether its own row is among them.
struct KeyComparison {
  bool greater = true;
  bool inclusive = false;
};

/// Reads the row of `position` again by its primary key and returns the condition on the fields of `totalKey`, such as
/// "(A>a) OR (A>=a AND B>b)". Raises error 3021 when that row is gone, and the errors of its statement.
[[nodiscard]] std::string BuildKeyCondition(const DataSession& session, const std::string& table,
                                            const Dictionary& position, const ColumnList& primaryKey,
                                            const ColumnList& totalKey, KeyComparison comparison);

/// The expressions of columns, joined by ",".
[[nodiscard]] std::string QuotedFieldList(const ColumnList& columns);

}  // namespace ods
