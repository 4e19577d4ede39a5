// Reads what a user asks in words: lists of fields, orders, conditions.
//
//     no, name, "Customer No."
//     name desc, city
//     name like A%          size between 3 and 5     city is null       no in 1|2|3
//
// A name or a value may stand in quotes (" or '), which are doubled inside. A name without them is the longest one of
// the table's fields that stands there, so that names with blanks need none.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OdbcDataClient.h"

namespace odbc_data {

/// The ids of the fields of a list. Raises `UsageError`.
[[nodiscard]] std::vector<std::string> ParseFieldList(const std::vector<Field>& fields, std::string_view text);

/// Fields, each with `asc`, `desc` or nothing behind it. Raises `UsageError`.
[[nodiscard]] std::vector<SortColumn> ParseSort(const std::vector<Field>& fields, std::string_view text);

/// A field, an operator (a keyword of the server, a sign as >=, or words as "starts with"), and its value. Values are
/// separated by "|", those of `between` by "and", those of `in` by commas too. Raises `UsageError`.
[[nodiscard]] Condition ParseCondition(const std::vector<Field>& fields, std::string_view text);

/// The operators that `ParseCondition` takes, for a help text: a line each, the keyword first.
[[nodiscard]] std::string OperatorHelp();

}  // namespace odbc_data
