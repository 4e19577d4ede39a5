#include "product_driver/driver/Statement.h"

#include <utility>

#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

/// A cell is null, or goes into the buffer from byte `offset` on; true when all of it is there.
bool WriteCell(const Cell& cell, const ColumnType& type, CellTarget target, std::size_t& offset, bool omitsIndicators) {
  if (!std::holds_alternative<std::monostate>(cell)) {
    const RenderedCell rendered = RenderCell(cell, type, target.cType);
    if (omitsIndicators && rendered.unit == 0) target.indicator = nullptr;
    return CopyCell(rendered, target, offset);
  }
  if (target.indicator == nullptr) throw DriverError("22002", "A null needs an indicator.");
  *target.indicator = SQL_NULL_DATA;
  return true;
}

/// Bytes from one row's cell to the next one's.
SQLLEN Stride(const CellTarget& target) {
  switch (target.cType) {
    case SQL_C_BIT:
      return 1;
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
      return sizeof(SQLSMALLINT);
    case SQL_C_LONG:
    case SQL_C_SLONG:
    case SQL_C_FLOAT:
      return sizeof(SQLINTEGER);
    case SQL_C_SBIGINT:
    case SQL_C_DOUBLE:
      return sizeof(double);
    case SQL_C_TYPE_DATE:
      return sizeof(SQL_DATE_STRUCT);
    case SQL_C_TYPE_TIME:
      return sizeof(SQL_TIME_STRUCT);
    case SQL_C_TYPE_TIMESTAMP:
      return sizeof(SQL_TIMESTAMP_STRUCT);
    default:
      return target.size;
  }
}

/// A numeric attribute travels in the pointer itself.
SQLULEN NumberIn(SQLPOINTER value) { return reinterpret_cast<SQLULEN>(value); }

}  // namespace

void Statement::SetRows(std::unique_ptr<Rows> rows, bool ofCatalogue) {
  rows_ = std::move(rows);
  ofCatalogue_ = ofCatalogue;
  rowsRead_ = 0;
  current_ = 0;
  block_.clear();
  given_.clear();
  finished_.clear();
}

const Column& Statement::ColumnOf(SQLUSMALLINT number) const {
  if (number < 1 || number > ColumnCount()) {
    throw DriverError(sql_state::kWrongColumn, "There is no column number " + std::to_string(number) + ".");
  }
  return rows_->Columns()[number - 1U];
}

void Statement::SetAttribute(SQLINTEGER attribute, SQLPOINTER value) {
  const SQLULEN number = NumberIn(value);
  const auto refuseUnless = [&](bool possible) {
    if (!possible) throw DriverError(sql_state::kNotImplemented, "The driver does not have this attribute's value.");
  };
  switch (attribute) {
    case SQL_ATTR_ROW_ARRAY_SIZE:
      if (number == 0) throw DriverError(sql_state::kWrongValue, "A block has at least one row.");
      refuseUnless(number == 1 || connection_.DrivenProduct().hasRowArrays);
      blockSize_ = number;
      break;
    case SQL_ATTR_ROWS_FETCHED_PTR:
      rowsFetched_ = static_cast<SQLULEN*>(value);
      break;
    case SQL_ATTR_ROW_STATUS_PTR:
      rowStatus_ = static_cast<SQLUSMALLINT*>(value);
      break;
    case SQL_ATTR_MAX_ROWS:
      maxRows_ = number;
      break;
    case SQL_ATTR_CURSOR_TYPE:
      refuseUnless(number == SQL_CURSOR_FORWARD_ONLY);
      break;
    case SQL_ATTR_CONCURRENCY:
      refuseUnless(number == SQL_CONCUR_READ_ONLY);
      break;
    case SQL_ATTR_ROW_BIND_TYPE:
      refuseUnless(number == SQL_BIND_BY_COLUMN);
      break;
    case SQL_ATTR_QUERY_TIMEOUT:
    case SQL_ATTR_NOSCAN:
      break;
    default:
      refuseUnless(false);
  }
}

SQLULEN Statement::Attribute(SQLINTEGER attribute) const {
  switch (attribute) {
    case SQL_ATTR_ROW_ARRAY_SIZE:
      return blockSize_;
    case SQL_ATTR_MAX_ROWS:
      return maxRows_;
    case SQL_ATTR_CURSOR_TYPE:
      return SQL_CURSOR_FORWARD_ONLY;
    case SQL_ATTR_CONCURRENCY:
      return SQL_CONCUR_READ_ONLY;
    case SQL_ATTR_ROW_BIND_TYPE:
      return SQL_BIND_BY_COLUMN;
    default:
      throw DriverError(sql_state::kNotImplemented, "The driver does not have this attribute.");
  }
}

void Statement::Bind(SQLUSMALLINT number, const CellTarget& target) {
  if (number < 1) throw DriverError(sql_state::kWrongColumn, "The driver has no bookmarks.");
  if (target.buffer == nullptr) {
    bindings_.erase(number);
  } else {
    bindings_[number] = target;
  }
}

/// One more row into the block; false at the end.
bool Statement::ReadRow() {
  if (maxRows_ > 0 && rowsRead_ == maxRows_) return false;
  Row row;
  if (!rows_->Next(row)) return false;
  ++rowsRead_;
  if (!ofCatalogue_) connection_.Hanging().AtRow(static_cast<std::int64_t>(rowsRead_));
  if (!ofCatalogue_ && static_cast<std::int64_t>(rowsRead_) == connection_.FailingRow()) {
    throw DriverError(sql_state::kGeneral, "The driver was told to fail at this row.");
  }
  block_.push_back(std::move(row));
  return true;
}

void Statement::SetStatus(std::size_t index, SQLUSMALLINT status) const {
  if (rowStatus_ != nullptr) rowStatus_[index] = status;
}

/// Row `index` of the block into the bound buffers; false when a value was cut off.
bool Statement::WriteRow(std::size_t index) {
  bool whole = true;
  for (const auto& [number, target] : bindings_) {
    const Column& column = ColumnOf(number);
    CellTarget cell = target;
    cell.buffer = static_cast<std::uint8_t*>(target.buffer) + static_cast<SQLLEN>(index) * Stride(target);
    if (target.indicator != nullptr) cell.indicator = target.indicator + index;
    std::size_t offset = 0;
    whole = WriteCell(block_[index][number - 1U], column.type, cell, offset, connection_.OmitsIndicators()) && whole;
    if (connection_.OverrunsBuffers()) {
      static_cast<std::uint8_t*>(target.buffer)[static_cast<SQLLEN>(blockSize_) * Stride(target)] = 0;
    }
  }
  return whole;
}

SQLRETURN Statement::Fetch() {
  if (!rows_) throw DriverError(sql_state::kNoCursor, "The statement has no rows.");
  (void)connection_.File();
  block_.clear();
  given_.clear();
  finished_.clear();
  current_ = 0;
  if (rowsFetched_ != nullptr) *rowsFetched_ = 0;
  for (std::size_t i = 0; i < blockSize_; ++i) SetStatus(i, SQL_ROW_NOROW);
  bool clean = true;
  while (block_.size() < blockSize_) {
    const std::size_t index = block_.size();
    try {
      if (!ReadRow()) break;
      if (!WriteRow(index)) {
        AddDiagnostic(sql_state::kTruncated, "A value did not fit its buffer.");
        clean = false;
      }
      SetStatus(index, SQL_ROW_SUCCESS);
    } catch (const DriverError& error) {
      // A row that fails is told by its status among others, and by the call itself when it stands alone.
      if (blockSize_ == 1 || rowStatus_ == nullptr) throw;
      AddDiagnostic(error);
      block_.resize(index + 1, Row(ColumnCount()));
      SetStatus(index, SQL_ROW_ERROR);
      clean = false;
      break;
    }
  }
  if (block_.empty()) return SQL_NO_DATA;
  if (rowsFetched_ != nullptr) *rowsFetched_ = block_.size();
  current_ = 1;
  return clean ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

void Statement::Position(std::size_t row) {
  if (row < 1 || row > block_.size()) throw DriverError("HY107", "There is no such row in the block.");
  if (row != current_) {
    given_.clear();
    finished_.clear();
  }
  current_ = row;
}

SQLRETURN Statement::GetData(SQLUSMALLINT number, const CellTarget& target) {
  if (current_ == 0) throw DriverError(sql_state::kNoCursor, "There is no current row.");
  const Column& column = ColumnOf(number);
  if (!connection_.DrivenProduct().hasRowArrays && bindings_.contains(number)) {
    throw DriverError(sql_state::kWrongColumn, "The column is bound.");
  }
  if (finished_[number]) return SQL_NO_DATA;
  const bool whole =
      WriteCell(block_[current_ - 1][number - 1U], column.type, target, given_[number], connection_.OmitsIndicators());
  finished_[number] = whole;
  if (whole) return SQL_SUCCESS;
  AddDiagnostic(sql_state::kTruncated, "There is more of the value.");
  return SQL_SUCCESS_WITH_INFO;
}

}  // namespace ods::product_driver
