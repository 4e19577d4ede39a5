// The total order that exact pages follow: what the client sorts by, then a key that tells rows apart, or all columns
// that can be compared where there is none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "database/DataSession.h"
#include "exact/ExactTable.h"

namespace ods {

/// Where the nulls of a term stand when it is read in the direction of the order.
enum class NullPlace : std::uint8_t {
  kNone,  ///< it has none, or an earlier term has set them apart
  kFirst,
  kLast,
};

/// A term of the order with its direction.
struct DirectedTerm {
  OrderTerm term;
  bool descending = false;
  NullPlace nulls = NullPlace::kNone;
};

struct ExactOrder {
  std::vector<DirectedTerm> terms;
  /// No two rows are equal in all terms.
  bool unique = false;
  /// So many terms at the front may be served by an index: beyond them the order is one of columns that merely tell
  /// rows apart.
  std::size_t indexed = 0;

  /// Tells this order from others.
  [[nodiscard]] std::uint64_t Fingerprint() const;
};

/// A hash of a text (FNV-1a, 64 bits).
[[nodiscard]] std::uint64_t FingerprintOf(std::string_view text);

struct SortColumn {
  std::string field;
  bool descending = false;
};

/// What a request wants of the order.
struct WantedOrder {
  std::vector<SortColumn> sort = {};
  std::vector<std::string> selectedKey = {};
  std::vector<std::string> primaryKey = {};  ///< empty where the client leaves the choice to the server
};

/// The order of a table. Keys follow in the direction of the last sort column. Raises error 1000 naming the field for
/// one that the table lacks, or by which the product cannot order.
[[nodiscard]] ExactOrder MakeExactOrder(const DataSession& session, const std::string& table, const ExactTable& known,
                                        const WantedOrder& wanted);

}  // namespace ods
