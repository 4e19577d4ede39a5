// The values of filters: a client's text as a value of a column, or nothing when it cannot be one.
#pragma once

#include <optional>
#include <string_view>

#include "exact/ExactTable.h"
#include "exact/ExactValue.h"
#include "sqlformat/modFilterMoment.h"

namespace ods {

struct FilterValue {
  ExactValue value;
  /// 1 and -1: what was asked for lies directly above or below `value`, and nothing that the column can hold between
  /// the two. 0: it is `value`.
  int beyond = 0;
  /// The same in another form that the column may hold as well: only columns of any type have one.
  std::optional<ExactValue> otherForm = {};
  /// It stands as digits, whatever the column's literals are.
  bool asDigits = false;
};

/// What a column is compared with: `compared`, or the order's expression, or the value's text for one that has no
/// order.
[[nodiscard]] Operand ComparedOf(const ExactColumn& column);

/// The value that `text` denotes in a column. Nothing when it cannot be a value of the column's type; a number or
/// fraction that is only too large or too fine for it is one.
/// @param rules what dates and times the product has; what depends on the column is settled here
[[nodiscard]] std::optional<FilterValue> ParseFilterValue(const ExactColumn& column, const MomentRules& rules,
                                                          std::string_view text);

/// The name of a class of types in error texts: "integer".
[[nodiscard]] std::string_view ValueClassName(ValueClass valueClass);

}  // namespace ods
