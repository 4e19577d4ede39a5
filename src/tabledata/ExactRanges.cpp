#include "tabledata/ExactRanges.h"

#include <algorithm>
#include <utility>

#include "common/Text.h"
#include "database/modSelect.h"
#include "exact/ExactLiteral.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"

namespace ods {
namespace {

/// More ranges cost more statements than they save.
constexpr std::size_t kMostCuts = 3;

std::string OrderByFrom(const ExactOrder& order, std::size_t first, bool reverse) {
  std::string text;
  for (std::size_t i = first; i < order.terms.size(); ++i) {
    const DirectedTerm& each = order.terms[i];
    AppendToList(text, ", ", each.term.expression + (each.descending != reverse ? " DESC" : ""));
  }
  return text;
}

void AddAlternative(std::string& text, const std::string& condition) {
  if (!condition.empty()) AppendToList(text, " OR ", condition);
}

/// The conditions on one term against the value of a position.
class TermCondition {
 public:
  TermCondition(const DataSession& session, const DirectedTerm& term, const ExactValue& value, bool reverse)
      : expression_(term.term.expression),
        literal_(value.IsNull() ? "" : ExactLiteral(session, term.term.literal, value)),
        isNull_(value.IsNull()),
        nulls_(PlaceOf(term.nulls, reverse)),
        operator_(term.descending != reverse ? "<" : ">") {}

  [[nodiscard]] std::string Equal() const { return isNull_ ? expression_ + " IS NULL" : expression_ + "=" + literal_; }
  /// The same as a range.
  [[nodiscard]] std::string EqualAsRange() const {
    // Nothing is less than null; without the alternative it were no range.
    if (isNull_) return NullsAsRange();
    return expression_ + ">=" + literal_ + " AND " + expression_ + "<=" + literal_;
  }
  [[nodiscard]] std::string NullsAsRange() const { return "(" + expression_ + " IS NULL OR " + expression_ + "<NULL)"; }
  /// The rows whose values come behind this one, without nulls behind a value; "" where there can be none.
  [[nodiscard]] std::string Behind() const {
    if (isNull_) return nulls_ == NullPlace::kFirst ? expression_ + " IS NOT NULL" : "";
    return expression_ + operator_ + literal_;
  }
  /// The nulls that come behind a value; "" where there can be none.
  [[nodiscard]] std::string NullsBehind() const {
    return !isNull_ && nulls_ == NullPlace::kLast ? expression_ + " IS NULL" : "";
  }
  /// The rows behind and those that are equal, without nulls behind a value; "" where these are not one range.
  [[nodiscard]] std::string EqualAndBehind() const {
    return isNull_ ? std::string() : expression_ + operator_ + "=" + literal_;
  }

 private:
  static NullPlace PlaceOf(NullPlace place, bool reverse) {
    if (!reverse || place == NullPlace::kNone) return place;
    return place == NullPlace::kFirst ? NullPlace::kLast : NullPlace::kFirst;
  }

  const std::string& expression_;
  std::string literal_;
  bool isNull_;
  NullPlace nulls_;
  std::string operator_;
};

/// Builds the ranges behind one position.
class RangeBuilder {
 public:
  RangeBuilder(const DataSession& session, const ExactOrder& order, const std::vector<ExactValue>& values, bool reverse)
      : order_(order), reverse_(reverse), equalityAsRange_(session.exact->product->equalityAsRange) {
    terms_.reserve(order.terms.size());
    for (std::size_t i = 0; i < order.terms.size(); ++i) {
      terms_.emplace_back(session, order.terms[i], values.at(i), reverse);
    }
  }

  std::vector<OrderRange> Build(EqualRows equalRows) {
    const std::size_t count = terms_.size();
    if (equalRows == EqualRows::kAlone) {
      Add(EqualUpTo(count), count);
      equalRows = EqualRows::kNone;
    }
    const std::size_t cuts = std::min({order_.indexed, kMostCuts, count});
    if (cuts < count) {
      AddNested(cuts, equalRows);
    } else {
      AddDeepest(count - 1, equalRows);
    }
    for (std::size_t level = cuts < count ? cuts : count - 1; level-- > 0;) AddBehind(level);
    return std::move(ranges_);
  }

 private:
  void Add(std::string where, std::size_t firstTerm) {
    RequireStatementSize(where.size());
    const std::size_t first = equalityAsRange_ && firstTerm < order_.terms.size() ? 0 : firstTerm;
    ranges_.push_back({.where = std::move(where), .orderBy = OrderByFrom(order_, first, reverse_)});
  }
  /// The terms before `end` have the values of the position.
  [[nodiscard]] std::string EqualUpTo(std::size_t end) const {
    std::string text;
    for (std::size_t i = 0; i < end; ++i) AppendToList(text, " AND ", terms_[i].Equal());
    return text;
  }
  [[nodiscard]] std::string Within(std::size_t level, const std::string& condition) const {
    std::string text;
    for (std::size_t i = 0; i < level; ++i) {
      AppendToList(text, " AND ", equalityAsRange_ ? terms_[i].EqualAsRange() : terms_[i].Equal());
    }
    AppendToList(text, " AND ", condition);
    return text;
  }
  /// The rows that first differ from the position in the term `level`.
  void AddBehind(std::size_t level) {
    if (const std::string behind = terms_[level].Behind(); !behind.empty()) Add(Within(level, behind), level);
    AddNullsBehind(level);
  }
  void AddNullsBehind(std::size_t level) {
    const std::string nulls = terms_[level].NullsBehind();
    if (nulls.empty()) return;
    Add(Within(level, equalityAsRange_ ? terms_[level].NullsAsRange() : nulls), level + 1);
  }
  /// The same for the last term, with the rows that are equal in all terms where they are wanted.
  void AddDeepest(std::size_t level, EqualRows equalRows) {
    if (equalRows == EqualRows::kNone) {
      AddBehind(level);
    } else if (const std::string both = terms_[level].EqualAndBehind(); !both.empty()) {
      Add(Within(level, both), level);
      AddNullsBehind(level);
    } else {
      Add(EqualUpTo(level + 1), level + 1);
      AddBehind(level);
    }
  }
  /// One range of all rows that are equal in the terms before `level`.
  void AddNested(std::size_t level, EqualRows equalRows) {
    std::string condition = Nested(level, equalRows == EqualRows::kFirst);
    const std::string bound = terms_[level].EqualAndBehind();
    // What follows from the nested condition, said once more where an index can use it.
    if (!bound.empty() && terms_[level].NullsBehind().empty()) condition = bound + " AND " + condition;
    Add(Within(level, condition), level);
  }
  /// The rows behind the position by the terms from `level` on.
  [[nodiscard]] std::string Nested(std::size_t level, bool withEqual) const {
    // From the last term to this one, so that a statement of many terms takes no deep recursion.
    std::string inner;
    for (std::size_t i = terms_.size(); i-- > level;) {
      const bool last = i + 1 == terms_.size();
      std::string text;
      AddAlternative(text, terms_[i].Behind());
      AddAlternative(text, terms_[i].NullsBehind());
      if (last && withEqual) AddAlternative(text, terms_[i].Equal());
      if (!last && !inner.empty()) AddAlternative(text, terms_[i].Equal() + " AND " + inner);
      inner = text.empty() ? std::string() : "(" + text + ")";
      RequireStatementSize(inner.size());
    }
    return inner.empty() ? "1=2" : inner;
  }

  const ExactOrder& order_;
  bool reverse_;
  bool equalityAsRange_;
  std::vector<TermCondition> terms_;
  std::vector<OrderRange> ranges_;
};

}  // namespace

OrderRange WholeOrder(const ExactOrder& order, bool reverse) {
  return {.where = "", .orderBy = OrderByFrom(order, 0, reverse)};
}

std::vector<OrderRange> RangesBehind(const DataSession& session, const ExactOrder& order,
                                     const std::vector<ExactValue>& values, bool reverse, EqualRows equalRows) {
  return RangeBuilder(session, order, values, reverse).Build(equalRows);
}

}  // namespace ods
