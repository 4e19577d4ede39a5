// The columns of a table or view, as a statement that returns no rows tells them.
#pragma once

#include <string>
#include <vector>

#include "database/DataSession.h"

namespace ods {

/// The columns in the order of the result. Tables, database views and server-side views are treated alike.
/// Raises what `BuildSelect` and `ExecuteSQL` raise.
[[nodiscard]] std::vector<Field> DescribeTable(const DataSession& session, const std::string& table);

}  // namespace ods
