// A record set over a statement that has been run: fetched in blocks into bound buffers where the driver allows it, row
// by row with the long columns in pieces where it does not.
//
// Internal to this folder. Nothing of a value is lost when a driver understates a column's size: a cell that did not
// fit its buffer is read again whole. No value is taken for null because an earlier one was: every indicator is set
// before each fetch. Dropping a record set that was read in part reads nothing more.
//
// In debug and sanitizer builds a driver that writes beyond a buffer is found out at the fetch that did it, by an error
// that names the field and the driver.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/ado/Ado.h"
#include "platform/ado/GuardedBuffer.h"
#include "platform/ado/OdbcHandles.h"
#include "platform/ado/OdbcTypes.h"

namespace ods::odbc {

class OdbcRecordSet final : public RecordSet {
 public:
  /// How its rows are given out.
  enum class Rows : std::uint8_t {
    kAsValues,  ///< by `Item`
    kAsCells,   ///< by `Cells` alone
  };

  /// Takes a statement that has been run, and stands on its first row. `form` says what its values are made into. A
  /// statement without columns gives a record set without fields that is at its end. `maxRecords` bounds the records; 0
  /// or less does not. Raises the driver's errors.
  OdbcRecordSet(std::unique_ptr<Statement> statement, std::int32_t maxRecords, ReadForm form = ReadForm::kUsual,
                Rows rows = Rows::kAsValues);

  [[nodiscard]] const std::vector<Field>& Fields() const override { return fields_; }
  [[nodiscard]] bool AtEnd() const override { return statement_ == nullptr; }
  void MoveNext() override;
  using RecordSet::Item;
  [[nodiscard]] const Value& Item(std::size_t index) const override;
  /// The cells of the current row, borrowed until the next step. To be called once a row. Raises the driver's errors.
  [[nodiscard]] std::span<const CellView> Cells();
  /// Moves the values of the current row behind those of `rows`. Afterwards the row has none.
  void TakeRow(std::vector<Value>& rows) {
    rows.insert(rows.end(), std::make_move_iterator(values_.begin()), std::make_move_iterator(values_.end()));
  }

 private:
  struct Column {
    SQLUSMALLINT number = 0;  ///< from 1
    CellKind kind = CellKind::kText;
    bool isLong = false;
    bool bound = false;
    std::size_t cellBytes = 0;   ///< room for one cell, terminator included
    std::size_t fixedBytes = 0;  ///< of data, where every cell has the same; else 0
    std::size_t room = 0;        ///< for the data of one cell
    std::int32_t adoType = 0;
    GuardedBuffer<std::byte> cells;
    GuardedBuffer<SQLLEN> indicators;
    std::string scratch;  ///< text that was made of the current cell

    /// Where a cell is after a fetch.
    enum class Place : std::uint8_t {
      kNowhere,   ///< it is null
      kInBuffer,  ///< whole
      kUnread,    ///< it did not fit, or was not fetched with its row
    };
    [[nodiscard]] Place PlaceOf(std::size_t row) const {
      if (!bound) return Place::kUnread;
      const SQLLEN indicator = indicators.Data()[row];
      if (indicator == SQL_NULL_DATA) return Place::kNowhere;
      if (fixedBytes > 0) return Place::kInBuffer;
      return indicator >= 0 && static_cast<std::size_t>(indicator) <= room ? Place::kInBuffer : Place::kUnread;
    }
    /// The data of one that is in the buffer.
    [[nodiscard]] std::span<const std::byte> Cell(std::size_t row) const {
      const std::size_t bytes = fixedBytes > 0 ? fixedBytes : static_cast<std::size_t>(indicators.Data()[row]);
      return {cells.Data() + row * cellBytes, bytes};
    }
  };

  void DescribeColumn(SQLUSMALLINT number, ReadForm form);
  /// Decides which columns are bound and how many rows a block has, and binds.
  void PlanFetching();
  [[nodiscard]] std::size_t RowsPerBlock() const;
  void Bind(Column& column, std::size_t rows) const;
  /// Fetches the next block and loads its first row, or goes to the end.
  void FetchBlock();
  /// The next block into the bound buffers, with what an earlier one left in the indicators wiped out before.
  SQLRETURN FetchIntoBuffers();
  /// The next piece of a cell of the current row, as `SQLGetData` gives it. Raises the driver's error.
  SQLRETURN GetData(const Column& column, GuardedBuffer<std::byte>& buffer, std::size_t offset,
                    SQLLEN& indicator) const;
  /// Raises an error when the driver has written beyond a buffer; does nothing in a release build.
  void CheckGuards() const;
  void LoadRow();
  /// Reads a cell that was not fetched with the row, or did not fit.
  [[nodiscard]] Value ReadCell(const Column& column);
  [[nodiscard]] Value ReadFixed(const Column& column);
  /// The cell in the current row through `SQLGetData`, piece by piece. `atLeast` is the size in bytes that is known of
  /// a cell that was fetched before, if it was: raises an error when the driver gives less, or nothing at all.
  [[nodiscard]] Value ReadPieces(const Column& column, std::optional<std::size_t> atLeast);

  std::vector<Field> fields_;
  std::vector<Column> columns_;
  Rows rows_;
  std::vector<Value> values_;        ///< the current row
  std::vector<CellView> cells_;      ///< likewise
  GuardedBuffer<std::byte> pieces_;  ///< what `ReadPieces` gathers, kept for its memory
  GuardedBuffer<SQLUSMALLINT> rowStatus_;
  SQLULEN rowsFetched_ = 0;  ///< written by the driver
  std::size_t blockSize_ = 1;
  std::size_t rowsInBlock_ = 0;
  std::size_t row_ = 0;                   ///< the current row within the block
  std::size_t recordsLeft_;               ///< that may still be fetched
  std::unique_ptr<Statement> statement_;  ///< freed first, since the driver holds pointers to the buffers above
};

}  // namespace ods::odbc
