// The filter operators that exact paging adds to those that there are.
#pragma once

#include <string_view>

namespace ods {

/// Their keywords, joined by ",".
inline constexpr std::string_view kExactOperators = "null,notnull,between,contains,startswith,endswith";

}  // namespace ods
