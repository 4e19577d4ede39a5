// Finds the table or the field that a user means, and what he may have meant when there is none of that name.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "OdbcDataClient.h"

namespace odbc_data {

/// The small letter of a capital one of ASCII; any other character as it is.
[[nodiscard]] char Lower(char letter);

/// How many letters must be put in, left out, exchanged for others or swapped with their neighbours to make one text of
/// the other; ASCII letters count without case.
[[nodiscard]] std::size_t EditDistance(std::string_view one, std::string_view other);

/// The names that are like `name`, the nearest first, three at most.
[[nodiscard]] std::vector<std::string> NearNames(const std::vector<std::string>& names, std::string_view name);

/// The name of a table without kind, schema and quotes: "customer" for `[TABLE]"sales"."customer"`.
[[nodiscard]] std::string BareName(std::string_view tableId);

/// The identifier of the table that a user calls `name`: an identifier, else a caption, else a bare name, each first
/// with regard to case and then without. Raises `UsageError` when there is none, which then names what is near, or more
/// than one.
[[nodiscard]] std::string FindTable(const std::vector<Table>& tables, const std::string& name);

/// The id of the field that a user calls `name`: an id, else a caption, each first with regard to case and then
/// without. Raises as `FindTable`.
[[nodiscard]] std::string FindField(const std::vector<Field>& fields, const std::string& name);

}  // namespace odbc_data
