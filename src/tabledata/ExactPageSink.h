// Takes the rows of an exact page as they are read, from one statement or several, and keeps what the response and its
// positions need of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "exact/ExactTable.h"
#include "exact/ExactValue.h"
#include "platform/ado/Rows.h"
#include "tabledata/RecordsText.h"
#include "tabledata/modRecord.h"

namespace ods {

/// How a cell of the select list is read.
struct ExactCell {
  ReadStyle style = ReadStyle::kDriver;
  std::int32_t adoType = ado_type::kEmpty;
  std::string field;                      ///< the column that it is of
  bool isNumber = IsNumberType(adoType);  ///< looked up once for all rows
};

/// What an exact page is made of.
struct ExactPagePlan {
  std::vector<ExactCell> cells;    ///< of the select list; the first ones are the fields of the response
  std::vector<ValueClass> fields;  ///< what each field of the response holds
  std::vector<std::size_t> terms;  ///< which cell has the value of each term of the order
  bool unique = true;              ///< no two rows are equal in all terms
  std::size_t size = 0;            ///< the most rows
  bool reverse = false;            ///< rows are read against the order
  std::vector<ExactValue> start;   ///< the values of the terms where reading begins; empty at an end of the order
};

class ExactPageSink final : public RowSink {
 public:
  /// One end of the page, in the order in which rows are read.
  struct End {
    std::vector<ExactValue> values;  ///< of the terms
    std::uint32_t equal = 0;         ///< rows of the page up to this one that are equal to it, itself counted
  };

  explicit ExactPageSink(ExactPagePlan plan);

  /// What the next statement's rows are: at most `limit` of them belong to the page, behind `stepOver` that are equal
  /// to the start, or as many as there are. `byName` tells that its columns are found by their names.
  void Expect(std::size_t limit, std::uint32_t stepOver, bool byName);
  /// @param factor that of the process; 0 while it is not known
  void SetDecimalFactor(double factor) { decimalFactor_ = factor; }
  void Begin(const std::vector<Field>& fields) override;
  /// Raises error 13 for a cell that is not in the form in which it is read, and error 1000 for a page that is too
  /// large.
  bool Take(std::span<const CellView> row) override;

  [[nodiscard]] std::size_t RowCount() const { return count_; }
  /// True when rows followed the page in the direction in which it was read.
  [[nodiscard]] bool MoreRows() const { return moreRows_; }
  [[nodiscard]] const End& FirstRead() const { return first_; }
  [[nodiscard]] const End& LastRead() const { return last_; }
  [[nodiscard]] TextBuffer TakeRecords() { return records_.Take(); }

 private:
  /// How the value of a field is written.
  struct FieldForm {
    ValueMarkup markup;
    bool isBytes;  ///< bytes are what it holds: they need no mark
  };

  void AppendField(TextBuffer& xml, std::size_t field, const CellView& view) const;
  void ReadTerms(std::span<const CellView> row);

  ExactPagePlan plan_;
  double decimalFactor_ = 1;
  RecordsText records_;
  std::vector<FieldForm> forms_;
  std::vector<std::size_t> columns_;  ///< where the cells stand in a row
  bool byName_ = false;
  std::size_t limit_ = 0;       ///< rows of this statement that still belong to the page, or are the one behind it
  std::uint32_t stepOver_ = 0;  ///< rows of this statement that are still to be stepped over
  std::size_t count_ = 0;
  bool moreRows_ = false;
  std::vector<ExactValue> terms_;  ///< of the current row
  End first_;
  End last_;
};

}  // namespace ods
