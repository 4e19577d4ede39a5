// The database as the rest of the system sees it: a connection, its properties, schema rowsets, and forward-only record
// sets with typed fields. The ODBC driver manager stands behind it (OdbcConnection.cpp); tests put others there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Object.h"
#include "common/Value.h"
#include "platform/ado/Rows.h"

namespace ods {

/// The ADO data type numbers that a column can have.
namespace ado_type {
inline constexpr std::int32_t kEmpty = 0;
inline constexpr std::int32_t kSmallInt = 2;
inline constexpr std::int32_t kInteger = 3;
inline constexpr std::int32_t kSingle = 4;
inline constexpr std::int32_t kDouble = 5;
inline constexpr std::int32_t kCurrency = 6;
inline constexpr std::int32_t kDate = 7;
inline constexpr std::int32_t kBSTR = 8;
inline constexpr std::int32_t kError = 10;
inline constexpr std::int32_t kBoolean = 11;
inline constexpr std::int32_t kVariant = 12;
inline constexpr std::int32_t kDecimal = 14;
inline constexpr std::int32_t kTinyInt = 16;
inline constexpr std::int32_t kUnsignedTinyInt = 17;
inline constexpr std::int32_t kUnsignedSmallInt = 18;
inline constexpr std::int32_t kUnsignedInt = 19;
inline constexpr std::int32_t kBigInt = 20;
inline constexpr std::int32_t kUnsignedBigInt = 21;
inline constexpr std::int32_t kFileTime = 64;
inline constexpr std::int32_t kGUID = 72;
inline constexpr std::int32_t kBinary = 128;
inline constexpr std::int32_t kChar = 129;
inline constexpr std::int32_t kWChar = 130;
inline constexpr std::int32_t kNumeric = 131;
inline constexpr std::int32_t kDBDate = 133;
inline constexpr std::int32_t kDBTime = 134;
inline constexpr std::int32_t kDBTimeStamp = 135;
inline constexpr std::int32_t kVarNumeric = 139;
inline constexpr std::int32_t kVarChar = 200;
inline constexpr std::int32_t kLongVarChar = 201;
inline constexpr std::int32_t kVarWChar = 202;
inline constexpr std::int32_t kLongVarWChar = 203;
inline constexpr std::int32_t kVarBinary = 204;
inline constexpr std::int32_t kLongVarBinary = 205;
}  // namespace ado_type

/// Bits of `Field::attributes`.
namespace field_attribute {
inline constexpr std::int32_t kIsNullable = 32;
/// The driver does not know whether the column may be null.
inline constexpr std::int32_t kMayBeNull = 64;
}  // namespace field_attribute

/// A column of a record set.
struct Field {
  std::string name;
  std::int32_t type = ado_type::kEmpty;  ///< ADO data type number
  /// Bytes of a fixed type, column size of a variable one; of a decimal in the exact form of reading all its digits.
  std::int64_t definedSize = 0;
  std::int32_t attributes = 0;
  std::string typeName = {};  ///< as the driver calls it; only in the exact form of reading
  std::int32_t digits = 0;    ///< behind the decimal point, or of a fraction of a second; likewise
};

/// The index of a column by its exact name, else by its name without regard to ASCII case. Raises error 3265 naming it.
[[nodiscard]] std::size_t IndexOfField(const std::vector<Field>& fields, std::string_view name);

/// A forward-only, read-only record set. It stands on its first record after opening. Dropping it frees everything.
class RecordSet : public Object {
 public:
  [[nodiscard]] std::string TypeName() const override { return "RecordSet"; }
  [[nodiscard]] virtual const std::vector<Field>& Fields() const = 0;
  [[nodiscard]] virtual bool AtEnd() const = 0;
  /// Steps to the next record. Raises error 3021 at the end, and the driver's errors.
  virtual void MoveNext() = 0;
  /// The value of column `index` (from 0) in the current record, valid until the next step. Raises error 3021 at the
  /// end and 3265 for an index that there is not.
  [[nodiscard]] virtual const Value& Item(std::size_t index) const = 0;

  /// `IndexOfField`.
  [[nodiscard]] std::size_t IndexOf(std::string_view name) const { return IndexOfField(Fields(), name); }
  [[nodiscard]] const Value& Item(std::string_view name) const { return Item(IndexOf(name)); }
};

/// The schema rowsets, by ADO's numbers.
enum class Schema : std::int32_t {
  kIndexes = 12,
  kTables = 20,
  kProviderTypes = 22,
  kDBInfoLiterals = 31,
  /// None of ADO's: `kIndexes` with one column more, FILTER_CONDITION, which is not null for an index over a part of
  /// the rows.
  kFilteredIndexes = -12,
};

struct ConnectionProperty {
  std::string name;
  std::string value;
};

/// How long the calls of a connection may take.
struct ConnectionLimits {
  int connectSeconds = 15;  ///< for connecting; 0 for no limit
  int statementSeconds =
      30;  ///< from running a statement to its first rows, and for each later reading; 0 for no limit
  /// Runs on the caller's thread every few hundredths of a second while it waits for the driver; true makes the call
  /// raise an error at once. May be empty.
  std::function<bool()> giveUp = {};
};

/// A connection to one database. Errors of the driver carry ADO's numbers (by SQLSTATE) and the driver's texts.
class Connection : public Object {
 public:
  [[nodiscard]] std::string TypeName() const override { return "Connection"; }

  /// Sets the limits of what is opened from here on.
  virtual void SetLimits(ConnectionLimits /*limits*/) {}  // NOLINT(performance-unnecessary-value-param): others keep it
  /// True once an error has told that the open connection is lost: nothing can be asked of it any more.
  [[nodiscard]] virtual bool IsLost() const { return false; }
  /// True when it is lost because the driver does not come back from a call.
  [[nodiscard]] virtual bool IsStuck() const { return false; }
  /// Connects. `connectionString` is ODBC's ("DSN=...", "Driver=...;...").
  virtual void Open(const std::string& connectionString) = 0;
  /// The properties of the open connection, never the password: at least "DBMS Name", "DBMS Version", "Current
  /// Catalog", "Data Source Name", "Driver Name", "Driver Version", "Driver ODBC Version", "Server Name", "User Name"
  /// and "Identifier Quote Character", in this order.
  [[nodiscard]] virtual const std::vector<ConnectionProperty>& Properties() const = 0;
  [[nodiscard]] virtual std::string DefaultDatabase() const = 0;
  /// A schema rowset. Restrictions stand in the order that the schema defines; an empty value restricts nothing.
  /// Tables: catalogue, schema, name, type. Indexes: catalogue, schema, index name, type, table name. A table name is
  /// matched as it is, not as a pattern.
  [[nodiscard]] virtual std::shared_ptr<RecordSet> OpenSchema(Schema schema,
                                                              const std::vector<Value>& restrictions = {}) = 0;
  /// Runs a statement. `maxRecords` bounds the records that can be read; 0 or less does not.
  [[nodiscard]] virtual std::shared_ptr<RecordSet> OpenRecordSet(const std::string& sql, std::int32_t maxRecords) = 0;

  /// The same in the exact form of reading, which loses nothing: dates, times and timestamps come as text with all that
  /// the column holds (`yyyy-mm-dd`, `hh:nn:ss`, each with its fraction, or as the driver writes what is no moment of
  /// the calendar), and fields tell their type's name and digits.
  [[nodiscard]] virtual std::shared_ptr<RecordSet> OpenExactRecordSet(const std::string& sql, std::int32_t maxRecords) {
    return OpenRecordSet(sql, maxRecords);
  }
  /// Runs a statement in either form of reading, whose rows go into `sink`. What is raised before the stream is there
  /// is of the statement and its first rows.
  [[nodiscard]] virtual std::unique_ptr<RowStream> OpenStream(const std::string& sql, std::int32_t maxRecords,
                                                              bool exact, std::shared_ptr<RowSink> sink);
  /// True when statements may name tables with their schema (ODBC, SQL_SCHEMA_USAGE).
  [[nodiscard]] virtual bool HasSchemas() const { return false; }

  /// The value of a property, "" when it is missing.
  [[nodiscard]] std::string Property(std::string_view name) const;
};

/// A record set over rows that are at hand: the form of every schema rowset.
class MemoryRecordSet final : public RecordSet {
 public:
  /// Every row has as many values as there are fields.
  MemoryRecordSet(std::vector<Field> fields, std::vector<std::vector<Value>> rows);
  [[nodiscard]] const std::vector<Field>& Fields() const override { return fields_; }
  [[nodiscard]] bool AtEnd() const override { return row_ >= rows_.size(); }
  void MoveNext() override;
  using RecordSet::Item;
  [[nodiscard]] const Value& Item(std::size_t index) const override;

 private:
  std::vector<Field> fields_;
  std::vector<std::vector<Value>> rows_;
  std::size_t row_ = 0;
};

/// The value of the property of a name, "" when it is missing.
[[nodiscard]] std::string PropertyOf(const std::vector<ConnectionProperty>& properties, std::string_view name);

/// A new, closed connection over the ODBC driver manager: the component "ADODB.Connection". What takes longer than its
/// limits raises the error of a time-out (0x80040E31) with a text that names the limit.
[[nodiscard]] std::shared_ptr<Connection> CreateOdbcConnection();

/// Prepares the process for drivers, before it has threads: psqlodbc takes the encoding of its clients from the
/// environment, and then gives text as UTF-8 without a conversion (variable PGCLIENTENCODING, unless it is set).
void PrepareForDrivers();

/// True while a call of a driver that was given up has not come back: its thread must not see the end of the process's
/// static objects.
[[nodiscard]] bool DriverCallsAreStuck();

}  // namespace ods
