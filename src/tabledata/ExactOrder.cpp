#include "tabledata/ExactOrder.h"

#include <algorithm>
#include <utility>

#include "common/Error.h"
#include "exact/ExactSession.h"

namespace ods {
namespace {

/// Puts the terms of an order together, each expression once, up to the one from which on rows are told apart.
class OrderBuilder {
 public:
  OrderBuilder(const DataSession& session, const std::string& table, const ExactTable& known)
      : nullOrder_(session.exact->nullOrder), table_(table), known_(known) {}

  void AddField(const std::string& field, bool descending) {
    const ExactColumn& column = known_.Require(field, table_);
    if (!column.order) {
      throw Error(error_number::kOwn, "The table '" + table_ + "' cannot be ordered by the field '" + field +
                                          "': the database does not compare values of its type" +
                                          (column.typeName.empty() ? "" : " " + column.typeName) + ".");
    }
    Add(*column.order, descending);
  }
  void AddFields(const std::vector<std::string>& fields, bool descending) {
    for (const std::string& field : fields) AddField(field, descending);
  }
  /// What tells the rows of the table apart, as far as that can be.
  void AddKey(bool descending) {
    if (const ExactKey* key = known_.BestKey()) {
      for (const OrderTerm& term : key->terms) Add(term, descending);
    } else if (known_.rowIdentifier) {
      Add(*known_.rowIdentifier, descending);
      order_.unique = true;
    } else {
      indexed_ = order_.terms.size();
      for (const auto member : {&ExactColumn::order, &ExactColumn::tieBreaker}) {
        for (const ExactColumn& column : known_.columns) {
          if (column.*member) Add(*(column.*member), descending);
        }
      }
    }
  }
  [[nodiscard]] ExactOrder Take() {
    order_.indexed = std::min(indexed_, order_.terms.size());
    return std::move(order_);
  }

 private:
  void Add(const OrderTerm& term, bool descending) {
    if (order_.unique || Has(term.expression)) return;
    if (term.nullable && nullOrder_ == NullOrder::kUnknown) {
      Append(NullFlag(term), descending, NullPlace::kNone);
      Append(term, descending, NullPlace::kNone);
    } else {
      const bool first = (nullOrder_ == NullOrder::kFirst) != descending;
      const NullPlace place = first ? NullPlace::kFirst : NullPlace::kLast;
      Append(term, descending, term.nullable ? place : NullPlace::kNone);
    }
    order_.unique = std::ranges::any_of(known_.keys, [this](const ExactKey& key) {
      return key.TellsRowsApart() &&
             std::ranges::all_of(key.terms, [this](const OrderTerm& each) { return Has(each.expression); });
    });
  }
  void Append(const OrderTerm& term, bool descending, NullPlace nulls) {
    order_.terms.push_back({.term = term, .descending = descending, .nulls = nulls});
  }
  [[nodiscard]] bool Has(const std::string& expression) const {
    return std::ranges::any_of(order_.terms,
                               [&](const DirectedTerm& each) { return each.term.expression == expression; });
  }
  /// A number that sets nulls apart, 1 for null.
  static OrderTerm NullFlag(const OrderTerm& term) {
    OrderTerm flag;
    flag.expression = "CASE WHEN " + term.expression + " IS NULL THEN 1 ELSE 0 END";
    flag.read = flag.expression;
    flag.literal = LiteralStyle::kNumber;
    flag.adoType = ado_type::kInteger;
    flag.nullable = false;
    return flag;
  }

  NullOrder nullOrder_;
  const std::string& table_;
  const ExactTable& known_;
  ExactOrder order_;
  std::size_t indexed_ = static_cast<std::size_t>(-1);
};

}  // namespace

std::uint64_t FingerprintOf(std::string_view text) {
  constexpr std::uint64_t kBasis = 14695981039346656037U;
  constexpr std::uint64_t kPrime = 1099511628211U;
  std::uint64_t hash = kBasis;
  for (const char c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * kPrime;
  return hash;
}

std::uint64_t ExactOrder::Fingerprint() const {
  std::string text;
  for (const DirectedTerm& each : terms) {
    text += each.term.expression;
    text += each.descending ? '\2' : '\1';
  }
  return FingerprintOf(text);
}

ExactOrder MakeExactOrder(const DataSession& session, const std::string& table, const ExactTable& known,
                          const WantedOrder& wanted) {
  OrderBuilder order(session, table, known);
  for (const SortColumn& column : wanted.sort) order.AddField(column.field, column.descending);
  const bool descending = !wanted.sort.empty() && wanted.sort.back().descending;
  order.AddFields(wanted.selectedKey, descending);
  order.AddFields(wanted.primaryKey, descending);
  order.AddKey(descending);
  return order.Take();
}

}  // namespace ods
