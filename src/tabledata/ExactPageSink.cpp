#include "tabledata/ExactPageSink.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "common/Conversions.h"
#include "platform/ado/Ado.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {

namespace {

using Kind = ExactValue::Kind;
using Digits = std::array<char, 24>;

/// The value of a cell, borrowed.
struct ExactView {
  Kind kind;
  std::string_view text;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsWholeNumber(std::string_view text) {
  constexpr std::size_t kMostDigits = 20;
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  return !digits.empty() && digits.size() <= kMostDigits && std::ranges::all_of(digits, IsDigit);
}

/// What `ExactValueOfQuoted` makes of the texts that are mostly met; nothing for any other.
std::optional<ExactView> ViewQuoted(std::string_view quoted) {
  if (quoted == "NULL") return ExactView{Kind::kNull, {}};
  if (IsWholeNumber(quoted)) return ExactView{Kind::kNumber, quoted};
  if (quoted.size() < 2 || quoted.front() != '\'' || quoted.back() != '\'') return std::nullopt;
  const std::string_view text = quoted.substr(1, quoted.size() - 2);
  if (text.find('\'') != std::string_view::npos) return std::nullopt;
  return ExactView{Kind::kText, text};
}

ExactView ViewInteger(std::int64_t number, Digits& digits) {
  const auto* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  return {Kind::kNumber, {digits.data(), end}};
}

/// The value of a cell of the kinds that are mostly met; nothing for any other. `digits` is where those of a number
/// are.
std::optional<ExactView> ViewExactCell(const ExactCell& cell, const CellView& view, double decimalFactor,
                                       Digits& digits) {
  const auto* const text = std::get_if<std::string_view>(&view);
  if (cell.style == ReadStyle::kQuoted) return text != nullptr ? ViewQuoted(*text) : std::nullopt;
  if (std::holds_alternative<Null>(view)) return ExactView{Kind::kNull, {}};
  if (cell.isNumber && decimalFactor != 1) return std::nullopt;
  if (text != nullptr && !cell.isNumber) return ExactView{Kind::kText, *text};
  if (const auto* const number = std::get_if<std::int32_t>(&view)) return ViewInteger(*number, digits);
  if (const auto* const number = std::get_if<std::int64_t>(&view)) return ViewInteger(*number, digits);
  if (const auto* const decimal = std::get_if<DecimalDigits>(&view)) return ExactView{Kind::kNumber, decimal->digits};
  return std::nullopt;
}

/// The value of any cell.
ExactValue ReadExactCell(const ExactCell& cell, const CellView& view, double decimalFactor) {
  if (cell.style == ReadStyle::kQuoted) {
    const auto* const text = std::get_if<std::string_view>(&view);
    return ExactValueOfQuoted(text != nullptr ? *text : SafeStr(ValueOf(view)));
  }
  const Value value = ValueOf(view);
  ExactValue exact = ExactValueOf(value, cell.adoType);
  if (decimalFactor == kScaledDecimalFactor && HasDecimals(cell.adoType) && exact.kind == Kind::kNumber) {
    exact.text = ScaledNumber(value, decimalFactor);
  }
  return exact;
}

}  // namespace

ExactPageSink::ExactPageSink(ExactPagePlan plan) : plan_(std::move(plan)), records_(plan_.reverse) {
  forms_.reserve(plan_.fields.size());
  for (std::size_t i = 0; i < plan_.fields.size(); ++i) {
    forms_.push_back({ValueMarkup(plan_.cells[i].field), plan_.fields[i] == ValueClass::kBytes});
  }
}

void ExactPageSink::Expect(std::size_t limit, std::uint32_t stepOver, bool byName) {
  limit_ = limit;
  stepOver_ = stepOver;
  byName_ = byName;
}

void ExactPageSink::Begin(const std::vector<Field>& fields) {
  columns_.clear();
  for (std::size_t i = 0; i < plan_.cells.size(); ++i) {
    columns_.push_back(byName_ ? IndexOfField(fields, plan_.cells[i].field) : i);
  }
}

bool ExactPageSink::Take(std::span<const CellView> row) {
  if (limit_ == 0) return false;
  ReadTerms(row);
  if (stepOver_ > 0 && terms_ == plan_.start) {
    --stepOver_;
    return true;
  }
  stepOver_ = 0;  // a row that is not equal: those that are have become fewer
  moreRows_ = count_ == plan_.size;
  if (moreRows_) return false;
  const bool equal = count_ > 0 && !plan_.unique && terms_ == last_.values;
  last_.equal = equal ? last_.equal + 1 : 1;
  std::swap(last_.values, terms_);
  if (count_ == 0) first_ = last_;

  records_.BeginRow();
  for (std::size_t field = 0; field < forms_.size(); ++field) {
    records_.AddValue([&](TextBuffer& xml) { AppendField(xml, field, row[columns_[field]]); });
  }
  records_.EndRow();
  ++count_;
  return --limit_ > 0;
}

void ExactPageSink::ReadTerms(std::span<const CellView> row) {
  terms_.resize(plan_.terms.size());
  for (std::size_t i = 0; i < terms_.size(); ++i) {
    const ExactCell& cell = plan_.cells[plan_.terms[i]];
    const CellView& view = row[columns_[plan_.terms[i]]];
    Digits digits;  // NOLINT(cppcoreguidelines-pro-type-member-init): written where it is used
    if (const auto exact = ViewExactCell(cell, view, decimalFactor_, digits)) {
      terms_[i].kind = exact->kind;
      terms_[i].text = exact->text;
    } else {
      terms_[i] = ReadExactCell(cell, view, decimalFactor_);
    }
  }
}

void ExactPageSink::AppendField(TextBuffer& xml, std::size_t field, const CellView& view) const {
  const auto& [markup, isBytes] = forms_[field];
  Digits digits;  // NOLINT(cppcoreguidelines-pro-type-member-init): likewise
  const auto exact = ViewExactCell(plan_.cells[field], view, decimalFactor_, digits);
  if (exact && exact->kind == Kind::kNull) return markup.AppendNull(xml);
  if (exact && exact->kind == Kind::kNumber) return markup.AppendPlain(xml, exact->text);
  if (exact && markup.Append(xml, exact->text)) return;

  const ExactValue value = ReadExactCell(plan_.cells[field], view, decimalFactor_);
  if (value.IsNull()) return markup.AppendNull(xml);
  const bool marked = value.kind == Kind::kBytes && !isBytes;
  if (marked || !markup.Append(xml, DisplayText(value))) markup.AppendHex(xml, value.text);
}

}  // namespace ods
