// An exact order cut into ranges that an index serves, to be read one after the other until a page is full.
//
// Behind a position (a, b) in the order A, B come the rows with A=a AND B>b, ordered by B alone; then those with A>a,
// ordered by A and B; then, where nulls stand last, those without an A. Most pages need the first range only. Terms
// beyond those that an index may serve share one range, whose condition nests them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "database/DataSession.h"
#include "exact/ExactValue.h"
#include "tabledata/ExactOrder.h"

namespace ods {

/// A part of the order, as a statement asks for it.
struct OrderRange {
  std::string where;    ///< "" for all rows
  std::string orderBy;  ///< "" where the rows of the range are all equal
};

/// Which rows that are equal to a position in the whole order belong to what is read.
enum class EqualRows {
  kNone,   ///< read behind them
  kFirst,  ///< they come first, in the first range
  kAlone,  ///< they are the first range, and nothing else is in it
};

/// The whole order, or backwards.
[[nodiscard]] OrderRange WholeOrder(const ExactOrder& order, bool reverse);

/// The ranges behind the row that has `values`, one for each term, in reading order. Raises what `ExactLiteral` raises,
/// and error 1000 for conditions beyond the size of a statement.
[[nodiscard]] std::vector<OrderRange> RangesBehind(const DataSession& session, const ExactOrder& order,
                                                   const std::vector<ExactValue>& values, bool reverse,
                                                   EqualRows equalRows);

}  // namespace ods
