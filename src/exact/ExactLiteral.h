// Exact values as literals: the only way of a value into a statement of exact paging.
#pragma once

#include <string>

#include "database/DataSession.h"
#include "exact/ExactTable.h"

namespace ods {

/// The literal of a value that is not null, which may come from a client: each style takes only what it can stand for.
/// Raises error 13 naming the value for any other, and error 1000 for a text with a null character where no statement
/// can carry it.
[[nodiscard]] std::string ExactLiteral(const DataSession& session, LiteralStyle style, const ExactValue& value);

}  // namespace ods
