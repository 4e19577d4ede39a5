// Takes the rows of a page as they are read, and keeps what the response needs of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/Error.h"
#include "platform/ado/Rows.h"
#include "tabledata/RecordsText.h"
#include "tabledata/modRecord.h"

namespace ods {

/// A value that cannot be written, or the name of a column that cannot.
class FieldError : public Error {
 public:
  FieldError(const Error& error, std::size_t field) : Error(error), field_(field) {}
  [[nodiscard]] std::size_t Field() const { return field_; }

 private:
  std::size_t field_;
};

/// What a page is made of.
struct PagePlan {
  std::vector<std::string> fields;    ///< in the order of the response
  std::vector<std::size_t> position;  ///< which of them a position holds
  bool byName = false;                ///< columns are found by their names, else they stand in the order of the fields
  std::size_t size = 0;               ///< the most rows
  bool reverse = false;               ///< rows are read against the order
  RecordRules rules;
};

class PageSink final : public RowSink {
 public:
  explicit PageSink(PagePlan plan) : plan_(std::move(plan)), records_(plan_.reverse) {}

  /// @param factor that of the process; 0 while it is not known
  void SetDecimalFactor(double factor) { plan_.rules.decimalFactor = factor; }
  void Begin(const std::vector<Field>& fields) override;
  /// Raises `FieldError`, and error 1000 for a page that is too large.
  bool Take(std::span<const CellView> row) override;

  [[nodiscard]] std::size_t RowCount() const { return count_; }
  /// True when rows followed the page in the direction in which it was read.
  [[nodiscard]] bool MoreRows() const { return moreRows_; }
  /// The values of a position: those of the first row of the page, and of the last one.
  [[nodiscard]] const std::vector<Value>& First() const { return plan_.reverse ? last_ : first_; }
  [[nodiscard]] const std::vector<Value>& Last() const { return plan_.reverse ? first_ : last_; }
  /// ADO data type number of each field.
  [[nodiscard]] const std::vector<std::int32_t>& Types() const { return types_; }
  [[nodiscard]] TextBuffer TakeRecords() { return records_.Take(); }

 private:
  PagePlan plan_;
  RecordsText records_;
  std::vector<std::size_t> columns_;  ///< where the fields stand in a row
  std::vector<std::int32_t> types_;
  std::vector<FieldWriter> writers_;
  std::size_t count_ = 0;
  bool moreRows_ = false;
  std::vector<Value> first_;  ///< the values of a position, in the order in which rows are read
  std::vector<Value> last_;
};

}  // namespace ods
