// What exact paging knows of a table: how each column is read without loss, how rows are ordered and compared by it,
// and which of its keys hold. Read once a connection, from the driver and from the database's own catalogue.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "database/DataSession.h"
#include "exact/ExactValue.h"

namespace ods {

/// How a cell of the select list becomes an `ExactValue`.
enum class ReadStyle : std::uint8_t {
  kDriver,  ///< what the driver gives in the exact form of reading
  kQuoted,  ///< a text that tells kind and value, see `ExactValueOfQuoted`
};

/// How a value stands in a statement.
enum class LiteralStyle : std::uint8_t {
  kNumber,     ///< its digits
  kSingle,     ///< the digits of the double that the nearest single is: columns of singles compare as doubles
  kQuoted,     ///< its text in apostrophes, whatever it is: the product brings it into the column's type
  kBytes,      ///< 0x...
  kHexText,    ///< the hexadecimal digits of bytes in apostrophes
  kDate,       ///< {d '...'}
  kTime,       ///< {t '...'}
  kTimeStamp,  ///< {ts '...'} with the fraction that it has
  kByKind,     ///< as the kind of the value says: SQLite's columns may hold anything
};

/// An expression by which rows are ordered and compared.
struct OrderTerm {
  std::string expression;  ///< in ORDER BY and in conditions
  std::string read;        ///< gives the value of `expression` in a select list, without an alias
  ReadStyle readStyle = ReadStyle::kDriver;
  LiteralStyle literal = LiteralStyle::kNumber;
  std::int32_t adoType = ado_type::kEmpty;  ///< of what `read` gives
  bool nullable = true;
  std::string field;  ///< the column that it is of; "" for a row identifier
};

/// An expression that values are compared with, and how these stand beside it.
struct Operand {
  std::string expression;
  LiteralStyle literal = LiteralStyle::kQuoted;
};

/// What a client's text must be to be a value of a column.
enum class ValueClass : std::uint8_t {
  kInteger,
  kDecimal,
  kFloat,
  kBoolean,
  kDate,
  kTime,
  kTimeStamp,
  kGuid,
  kBytes,
  kText,
  kOther,  ///< only the product knows its texts
};

struct ExactColumn {
  std::string name;
  std::int32_t adoType = ado_type::kEmpty;  ///< ADO data type number
  std::string typeName;                     ///< as the database calls the type
  std::int64_t size = 0;
  std::int32_t digits = 0;  ///< behind the decimal point, or of a fraction of a second
  bool nullable = true;
  /// The collation of a text, where it takes for equal what is not the same; "" where not, or where it is not known.
  std::string collation;
  ValueClass valueClass = ValueClass::kText;
  std::string read;   ///< gives the value for the client in a select list, without an alias
  bool plain = true;  ///< `read` is the name of the column alone
  ReadStyle readStyle = ReadStyle::kDriver;
  std::string text;  ///< expression of the value as a text, for LIKE
  /// Empty where the product cannot order and compare by the column. Learnt from the product.
  std::optional<OrderTerm> order;
  /// What clients' conditions compare with, where that is neither `order` nor, without one, `text`: an ENUM of MariaDB
  /// is ordered by its number and compared as a text, and a long text is ordered by its beginning only.
  std::optional<Operand> compared;
  /// Orders what `order` takes for equal and is not the same, by the bytes; empty where equal is the same.
  std::optional<OrderTerm> tieBreaker;
};

/// An index or a declared key.
struct ExactKey {
  std::string name;
  bool unique = false;    ///< no two rows are equal in all its fields, unless one of these is null
  bool declared = false;  ///< declared as primary key
  bool nullable = true;   ///< one of its fields may be null
  std::vector<std::string> fields;
  std::vector<OrderTerm> terms;  ///< of the fields, one or more each, by which no two rows are equal

  /// Each row has its own values.
  [[nodiscard]] bool TellsRowsApart() const { return unique && !nullable && !fields.empty(); }
};

struct ExactTable {
  std::vector<ExactColumn> columns;
  std::vector<ExactKey> keys;              ///< as listed, those that hold for the whole table
  std::optional<OrderTerm> rowIdentifier;  ///< a hidden column that is unique and stays the same
  /// The field list of the server-side view cannot be chosen: its columns are read by their names alone.
  bool fieldsFixed = false;

  /// The column of exactly this name, or nullptr.
  [[nodiscard]] const ExactColumn* Find(std::string_view name) const;
  /// The same. Raises error 1000 "Unable to get information about field '...' in table '...'. Please make sure that the
  /// field exist." for a field that there is not.
  [[nodiscard]] const ExactColumn& Require(std::string_view name, std::string_view table) const;
  /// The key that tells rows apart: a declared one first, then the one with the fewest fields; nullptr when there is
  /// none.
  [[nodiscard]] const ExactKey* BestKey() const;
};

/// What is known of a table or server-side view, kept with the connection. Raises what the statements raise; nothing is
/// kept then.
[[nodiscard]] const ExactTable& LookupExactTable(DataSession& session, const std::string& table);

}  // namespace ods
