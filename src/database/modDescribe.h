// The columns of a table or view, as a statement that returns no rows tells them.
#pragma once

#include <string>
#include <vector>

#include "database/DataSession.h"

namespace ods {

/// A statement that gives all columns and no rows.
/// @param fieldsFixed as `BuildSelect`
[[nodiscard]] std::string DescribingStatement(const DataSession& session, const std::string& table, bool& fieldsFixed);

/// The columns in the order of the result. Tables, database views and server-side views are treated alike.
/// Raises what `BuildSelect` and `ExecuteSQL` raise.
[[nodiscard]] std::vector<Field> DescribeTable(const DataSession& session, const std::string& table);

/// The same in the exact form of reading: fields tell their type's name and digits.
/// @param fieldsFixed as `BuildSelect`
[[nodiscard]] std::vector<Field> DescribeTableExactly(const DataSession& session, const std::string& table,
                                                      bool& fieldsFixed);

}  // namespace ods
