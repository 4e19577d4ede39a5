// The table of column types: for every ODBC type the ADO type, how a cell is fetched, and how it becomes a `Value`.
//
// Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "OdbcApi.h"
#include "common/Value.h"
#include "platform/ado/Rows.h"

namespace ods::odbc {

/// What values are made into.
enum class ReadForm : std::uint8_t {
  kUsual,
  kExact,  ///< nothing of a value is lost: see `Connection::OpenExactRecordSet`
};

/// What a fetched cell is made into.
enum class CellKind : std::uint8_t {
  kInteger,
  kUnsignedBigInteger,
  kSingle,
  kDouble,
  kBoolean,
  kDecimal,
  kText,
  kNarrowText,  ///< text of a driver without wide functions
  kGuid,
  kBytes,
  kDate,
  kTime,
  kTimeStamp,
  kTextDate,       ///< fetched as text
  kTextTimeStamp,  ///< fetched as text, which may tell a distance from universal time
  kExactDate,      ///< these are made into text
  kExactTimeStamp,
  kExactMoment,  ///< fetched as text, which it stays
};

/// One row of the type table.
struct ColumnType {
  SQLSMALLINT odbcType;
  std::int32_t adoType;
  std::int32_t unsignedAdoType;  ///< the ADO type when the driver says the column is unsigned
  CellKind kind;
  std::int32_t fixedSize;  ///< ADO's size in bytes; 0 for a type of variable size
  bool isLong;             ///< of no size worth reserving
};

/// The kind that dates and timestamps have where they are fetched as text; any other kind stays.
[[nodiscard]] CellKind AsTextDate(CellKind kind);

/// The kind that dates, times and timestamps have in the exact form of reading; any other kind stays.
[[nodiscard]] CellKind AsExact(CellKind kind);

/// The row of an ODBC type; the row for "anything else" when the table lacks it.
[[nodiscard]] const ColumnType& FindColumnType(SQLSMALLINT odbcType);

/// How cells of a kind are fetched.
struct CellFormat {
  SQLSMALLINT cType;
  std::size_t size;        ///< bytes of a cell; 0 when it varies
  std::size_t unit;        ///< bytes of one element of a cell whose size varies
  std::size_t terminator;  ///< bytes that the driver writes behind the data
};
[[nodiscard]] const CellFormat& FormatOf(CellKind kind);

/// What a fetched cell that is not null holds. `cell` is the data without terminator, in the format of `kind`, and
/// `scratch` what a text that is made of it is kept in. A date or time that is no moment of the calendar (drivers give
/// zeros) is null, in the exact form a text all the same; a decimal that is no number ("NaN") stays text.
[[nodiscard]] CellView ViewOfCell(CellKind kind, std::int32_t adoType, std::span<const std::byte> cell,
                                  std::string& scratch);
/// The same as a value.
[[nodiscard]] Value CellValue(CellKind kind, std::int32_t adoType, std::span<const std::byte> cell);

}  // namespace ods::odbc
