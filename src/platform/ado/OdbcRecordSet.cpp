#include "platform/ado/OdbcRecordSet.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "common/Error.h"

namespace ods::odbc {

namespace {

constexpr std::size_t kMostRowsPerBlock = 64;
constexpr std::size_t kMostBlockBytes = std::size_t{1} << 20U;
/// Beyond this many characters or bytes a column counts as long.
constexpr SQLULEN kLongestBound = 4000;
/// The least characters or bytes that a column of varying size gets, for drivers that understate.
constexpr SQLULEN kLeastBound = 64;
constexpr std::size_t kFirstPieceBytes = std::size_t{8} << 10U;
constexpr std::size_t kMostPieceBytes = std::size_t{4} << 20U;
/// No response could carry a larger value.
constexpr std::size_t kMostCellBytes = std::size_t{64} << 20U;
/// What an indicator holds until the driver writes it; no driver gives it. A driver that writes none means a value that
/// is not null.
constexpr SQLLEN kNotWritten = std::numeric_limits<SQLLEN>::min();

[[noreturn]] void RaiseNoCurrentRecord() { throw Error(error_number::kNoCurrentRecord, "There is no current record."); }

/// Room for one cell of a column of varying size. A character takes up to four bytes of UTF-8 or two units of UTF-16.
std::size_t VariableCellBytes(const CellFormat& format, SQLULEN columnSize) {
  const auto elements = static_cast<std::size_t>(std::clamp(columnSize, kLeastBound, kLongestBound));
  const std::size_t units = format.cType == SQL_C_CHAR    ? 4 * elements
                            : format.cType == SQL_C_WCHAR ? 2 * elements
                                                          : elements;
  return units * format.unit + format.terminator;
}

}  // namespace

OdbcRecordSet::OdbcRecordSet(std::unique_ptr<Statement> statement, std::int32_t maxRecords, ReadForm form, Rows rows)
    : rows_(rows),
      recordsLeft_(maxRecords > 0 ? static_cast<std::size_t>(maxRecords) : std::numeric_limits<std::size_t>::max()),
      statement_(std::move(statement)) {
  const SQLUSMALLINT count = statement_->ColumnCount();
  if (count == 0) {
    statement_.reset();
    return;
  }
  fields_.reserve(count);
  columns_.reserve(count);
  for (std::size_t number = 1; number <= count; ++number) {
    DescribeColumn(static_cast<SQLUSMALLINT>(number), form);
  }
  values_.resize(columns_.size());
  if (rows_ == Rows::kAsCells) cells_.resize(columns_.size());
  PlanFetching();
  FetchBlock();
}

void OdbcRecordSet::DescribeColumn(SQLUSMALLINT number, ReadForm form) {
  ColumnDescription described = statement_->DescribeColumn(number);
  const ColumnType& type = FindColumnType(described.odbcType);
  Field field;
  field.name = std::move(described.name);
  const bool isUnsigned = type.unsignedAdoType != type.adoType && statement_->IsUnsigned(number);
  field.type = isUnsigned ? type.unsignedAdoType : type.adoType;
  constexpr auto kMostSize = static_cast<SQLULEN>(std::numeric_limits<std::int64_t>::max());
  field.definedSize =
      type.fixedSize > 0 ? type.fixedSize : static_cast<std::int64_t>(std::min(described.size, kMostSize));
  if (described.nullable == SQL_NULLABLE) field.attributes |= field_attribute::kIsNullable;
  if (described.nullable == SQL_NULLABLE_UNKNOWN) field.attributes |= field_attribute::kMayBeNull;

  if (form == ReadForm::kExact) {
    field.typeName = statement_->TypeNameOf(number);
    field.digits = described.digits;
    const bool isDecimal = described.odbcType == SQL_DECIMAL || described.odbcType == SQL_NUMERIC;
    if (isDecimal) field.definedSize = static_cast<std::int64_t>(std::min(described.size, kMostSize));
  }

  Column column;
  column.number = number;
  column.kind = type.kind;
  if (field.type == ado_type::kUnsignedBigInt) column.kind = CellKind::kUnsignedBigInteger;
  if (type.kind == CellKind::kText && statement_->Owner().HasNarrowCells()) column.kind = CellKind::kNarrowText;
  if (statement_->Owner().HasTextDates()) column.kind = AsTextDate(column.kind);
  if (form == ReadForm::kExact) column.kind = AsExact(column.kind);
  const CellFormat& format = FormatOf(column.kind);
  column.isLong = type.isLong || (type.fixedSize == 0 && (described.size == 0 || described.size > kLongestBound));
  column.cellBytes = format.size > 0 ? format.size : VariableCellBytes(format, described.size);
  column.fixedBytes = format.size;
  column.room = column.cellBytes - format.terminator;
  column.adoType = field.type;
  fields_.push_back(std::move(field));
  columns_.push_back(std::move(column));
}

void OdbcRecordSet::PlanFetching() {
  const SQLUINTEGER can = statement_->Owner().GetDataExtensions();
  const bool canReadAnyColumn = (can & SQL_GD_ANY_COLUMN) != 0;
  // A cell that did not fit its buffer is read again through SQLGetData; where the driver cannot do that for a bound
  // column, the columns of varying size are not bound.
  const bool canReadBound = canReadAnyColumn && (can & SQL_GD_BOUND) != 0;
  const bool canReadInBlock = canReadBound && (can & SQL_GD_BLOCK) != 0;

  bool allBound = true;
  bool anyVarying = false;
  for (Column& column : columns_) {
    const bool varying = FormatOf(column.kind).size == 0;
    anyVarying = anyVarying || varying;
    const bool bindable = !column.isLong && (!varying || canReadBound);
    // Without SQL_GD_ANY_COLUMN only the columns behind the last bound one may be read unbound.
    column.bound = bindable && (allBound || canReadAnyColumn);
    allBound = allBound && column.bound;
  }
  if (allBound && (!anyVarying || canReadInBlock)) blockSize_ = RowsPerBlock();
  if (blockSize_ > 1) {
    rowStatus_.Resize(blockSize_);
    const bool taken = statement_->SetAttribute(SQL_ATTR_ROW_ARRAY_SIZE, blockSize_) &&
                       SQL_SUCCEEDED(SQLSetStmtAttr(statement_->Get(), SQL_ATTR_ROWS_FETCHED_PTR, &rowsFetched_, 0)) &&
                       SQL_SUCCEEDED(SQLSetStmtAttr(statement_->Get(), SQL_ATTR_ROW_STATUS_PTR, rowStatus_.Data(), 0));
    if (!taken) {
      statement_->SetAttribute(SQL_ATTR_ROW_ARRAY_SIZE, 1);
      blockSize_ = 1;
    }
  }
  for (Column& column : columns_) {
    if (column.bound) Bind(column, blockSize_);
  }
}

std::size_t OdbcRecordSet::RowsPerBlock() const {
  std::size_t rowBytes = 1;  // no block is too large for a byte
  for (const Column& column : columns_) rowBytes += column.cellBytes + sizeof(SQLLEN);
  return std::min(std::clamp<std::size_t>(kMostBlockBytes / rowBytes, 1, kMostRowsPerBlock), recordsLeft_);
}

void OdbcRecordSet::Bind(Column& column, std::size_t rows) const {
  column.cells.Resize(rows * column.cellBytes);
  column.indicators.Resize(rows);
  statement_->Check(SQLBindCol(statement_->Get(), column.number, FormatOf(column.kind).cType, column.cells.Data(),
                               static_cast<SQLLEN>(column.cellBytes), column.indicators.Data()));
}

void OdbcRecordSet::MoveNext() {
  if (AtEnd()) RaiseNoCurrentRecord();
  if (++row_ < rowsInBlock_) {
    LoadRow();
  } else {
    FetchBlock();
  }
}

const Value& OdbcRecordSet::Item(std::size_t index) const {
  if (index >= fields_.size()) {
    throw Error(error_number::kItemNotFound, "The record set has no field number " + std::to_string(index) + ".");
  }
  if (AtEnd()) RaiseNoCurrentRecord();
  return values_[index];
}

void OdbcRecordSet::CheckGuards() const {
  if constexpr (!kGuardsBuffers) return;
  const auto check = [&](bool intact, const std::string& whose) {
    if (intact) return;
    throw Error(error_number::kGeneralFailure, "The database driver '" + statement_->Owner().InfoText(SQL_DRIVER_NAME) +
                                                   "' wrote beyond the buffer of " + whose + ".");
  };
  for (const Column& column : columns_) {
    check(column.cells.IsIntact() && column.indicators.IsIntact(),
          "the field '" + fields_[column.number - 1U].name + "'");
  }
  check(rowStatus_.IsIntact(), "the states of rows");
  check(pieces_.IsIntact(), "a piece of a value");
}

SQLRETURN OdbcRecordSet::FetchIntoBuffers() {
  for (Column& column : columns_) std::ranges::fill(column.indicators.Elements(), kNotWritten);
  std::ranges::fill(rowStatus_.Elements(), SQLUSMALLINT{SQL_ROW_SUCCESS});
  rowsFetched_ = 0;
  const SQLRETURN result = SQLFetch(statement_->Get());
  CheckGuards();
  return result;
}

void OdbcRecordSet::FetchBlock() {
  row_ = 0;
  rowsInBlock_ = 0;  // until the fetch has succeeded
  const SQLRETURN result = recordsLeft_ == 0 ? static_cast<SQLRETURN>(SQL_NO_DATA) : FetchIntoBuffers();
  statement_->Check(result);
  const std::size_t fetched = blockSize_ > 1 ? std::min<std::size_t>(rowsFetched_, blockSize_) : 1;
  if (result == SQL_NO_DATA || fetched == 0) {
    statement_.reset();
    return;
  }
  const auto states = rowStatus_.Elements().first(std::min(fetched, rowStatus_.Size()));
  if (std::find(states.begin(), states.end(), SQL_ROW_ERROR) != states.end()) statement_->Raise();
  rowsInBlock_ = std::min(fetched, recordsLeft_);
  recordsLeft_ -= rowsInBlock_;
  LoadRow();
}

void OdbcRecordSet::LoadRow() {
  if (rows_ == Rows::kAsCells) return;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    switch (column.PlaceOf(row_)) {
      case Column::Place::kNowhere:
        values_[i] = Null{};
        break;
      case Column::Place::kInBuffer:
        values_[i] = CellValue(column.kind, column.adoType, column.Cell(row_));
        break;
      case Column::Place::kUnread:
        values_[i] = ReadCell(column);
    }
  }
}

std::span<const CellView> OdbcRecordSet::Cells() {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Column& column = columns_[i];
    switch (column.PlaceOf(row_)) {
      case Column::Place::kNowhere:
        cells_[i] = Null{};
        break;
      case Column::Place::kInBuffer:
        cells_[i] = ViewOfCell(column.kind, column.adoType, column.Cell(row_), column.scratch);
        break;
      case Column::Place::kUnread:
        values_[i] = ReadCell(column);
        cells_[i] = ViewOf(values_[i]);
    }
  }
  return cells_;
}

Value OdbcRecordSet::ReadCell(const Column& column) {
  if (!column.bound) return FormatOf(column.kind).size > 0 ? ReadFixed(column) : ReadPieces(column, std::nullopt);
  if (blockSize_ > 1) {
    statement_->Check(
        SQLSetPos(statement_->Get(), static_cast<SQLSETPOSIROW>(row_ + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE));
  }
  const SQLLEN indicator = column.indicators.Elements()[row_];
  if (indicator == kNotWritten) return ReadPieces(column, 0);
  return ReadPieces(column, indicator > 0 ? static_cast<std::size_t>(indicator) : column.room);
}

SQLRETURN OdbcRecordSet::GetData(const Column& column, GuardedBuffer<std::byte>& buffer, std::size_t offset,
                                 SQLLEN& indicator) const {
  indicator = kNotWritten;
  const SQLRETURN result = SQLGetData(statement_->Get(), column.number, FormatOf(column.kind).cType,
                                      buffer.Data() + offset, static_cast<SQLLEN>(buffer.Size() - offset), &indicator);
  CheckGuards();
  statement_->Check(result);
  return result;
}

Value OdbcRecordSet::ReadFixed(const Column& column) {
  const std::size_t size = FormatOf(column.kind).size;
  if (pieces_.Size() < size) pieces_.Resize(kFirstPieceBytes);
  SQLLEN indicator = kNotWritten;
  GetData(column, pieces_, 0, indicator);
  if (indicator == SQL_NULL_DATA) return Null{};
  return CellValue(column.kind, column.adoType, pieces_.Elements().first(size));
}

Value OdbcRecordSet::ReadPieces(const Column& column, std::optional<std::size_t> atLeast) {
  const CellFormat& format = FormatOf(column.kind);
  const std::string& name = fields_[column.number - 1U].name;
  const auto raiseCutOff = [&] {
    throw Error(error_number::kGeneralFailure,
                "The database driver cut off a value of the field '" + name + "' and does not give the rest.");
  };
  if (pieces_.Size() < kFirstPieceBytes) pieces_.Resize(kFirstPieceBytes);
  std::size_t used = 0;
  for (bool first = true;; first = false) {
    const std::size_t room = pieces_.Size() - used;
    const std::size_t dataRoom = (room - format.terminator) / format.unit * format.unit;
    SQLLEN indicator = kNotWritten;
    if (GetData(column, pieces_, used, indicator) == SQL_NO_DATA) {
      if (first && atLeast) raiseCutOff();
      break;
    }
    if (indicator == SQL_NULL_DATA) return Null{};
    if (indicator == kNotWritten) {
      throw Error(error_number::kGeneralFailure,
                  "The database driver does not tell how long a value of the field '" + name + "' is.");
    }
    const bool known = indicator >= 0;
    if (known && static_cast<std::size_t>(indicator) <= dataRoom) {
      used += static_cast<std::size_t>(indicator);
      break;
    }
    used += dataRoom;
    if (used > kMostCellBytes) {
      throw Error(error_number::kOwn,
                  "A value of the field '" + name + "' has more than " + std::to_string(kMostCellBytes) + " bytes.");
    }
    // The indicator is what was left before this piece. It is not trusted with more than one piece's memory.
    const std::size_t rest = known ? static_cast<std::size_t>(indicator) - dataRoom : pieces_.Size();
    pieces_.Resize(used + std::min(rest, kMostPieceBytes) + format.terminator + format.unit);
  }
  if (used < atLeast.value_or(0)) raiseCutOff();
  return CellValue(column.kind, column.adoType, pieces_.Elements().first(used));
}

}  // namespace ods::odbc
