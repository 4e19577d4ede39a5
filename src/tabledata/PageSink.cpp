#include "tabledata/PageSink.h"

#include <string_view>

#include "platform/ado/Ado.h"

namespace ods {

namespace {

/// Some drivers hand out an empty text as the single character with code 2.
const CellView& Cleaned(const CellView& cell) {
  static constexpr CellView kEmpty = std::string_view();
  const auto* const text = std::get_if<std::string_view>(&cell);
  return text != nullptr && *text == "\x02" ? kEmpty : cell;
}

}  // namespace

void PageSink::Begin(const std::vector<Field>& fields) {
  writers_.reserve(plan_.fields.size());
  for (std::size_t i = 0; i < plan_.fields.size(); ++i) {
    columns_.push_back(plan_.byName ? IndexOfField(fields, plan_.fields[i]) : i);
    types_.push_back(fields.at(columns_[i]).type);
    try {
      writers_.emplace_back(plan_.fields[i], types_[i], plan_.rules);
    } catch (const Error& error) {
      throw FieldError(error, i);
    }
  }
}

bool PageSink::Take(std::span<const CellView> row) {
  moreRows_ = count_ == plan_.size;
  if (moreRows_) return false;
  records_.BeginRow();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    records_.AddValue([&](TextBuffer& text) {
      try {
        writers_[i].Append(text, Cleaned(row[columns_[i]]));
      } catch (const Error& error) {
        throw FieldError(error, i);
      }
    });
  }
  records_.EndRow();
  last_.clear();
  for (const std::size_t field : plan_.position) last_.push_back(ValueOf(Cleaned(row[columns_[field]])));
  if (count_++ == 0) first_ = last_;
  return true;
}

}  // namespace ods
