// From the rows of a catalogue's indexes to the keys of a table: what the products' `ReadKeysOf...` share.
#pragma once

#include <string>
#include <vector>

#include "exact/ExactTable.h"

namespace ods {

/// One field of an index, as a catalogue tells it.
struct IndexPart {
  std::string index;      ///< its name
  bool unique = false;    ///< the index is
  bool declared = false;  ///< the index is the declared primary key's
  bool counts = true;     ///< the index is over all rows, and this part of it is a column
  std::string column;
  /// By what the index compares the column where that is not `ExactColumn::order`; none: by that.
  std::vector<OrderTerm> terms = {};
};

/// Appends the indexes to the keys of a table whose columns are known, each where its first part stands. An index that
/// has a part that does not count, or one whose column is not known or cannot be ordered by, is left out.
void AppendKeys(ExactTable& known, const std::vector<IndexPart>& parts);

}  // namespace ods
