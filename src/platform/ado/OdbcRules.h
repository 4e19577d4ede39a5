// The table of what depends on the database product or the driver behind a connection.
//
// Internal to this folder, where nothing else asks for the name of either. A product or driver that needs nothing has
// the empty rule.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "platform/ado/SqlLexer.h"

namespace ods::odbc {

/// How a product's statements differ from the SQL that the system writes (NativeStatement.h). Without quotes of names
/// they do not: a statement then goes to the driver as it is.
struct NativeForm {
  std::string_view limitClause = {};    ///< stands before the number of records; "" when the driver hands the limit on
  std::string_view upperFunction = {};  ///< stands for UCASE; "" when the product has that
  std::string_view binaryPrefix = {};   ///< stands for "0x"; "" when the product knows that
  std::string_view binarySuffix = {};
  std::string_view nameQuotes = {};  ///< characters that open a quoted name
  SqlLexis lexis = SqlLexis::kStandard;
};

/// What a product's session needs besides what ODBC asks for.
struct ProductRule {
  std::string_view dbmsName;  ///< the "DBMS Name" property
  /// Runs right after the connection is open; nullptr for none. In a text literal a backslash must be a character like
  /// any other, or a value that ends in one would run on beyond its closing apostrophe.
  const char* sessionStatement = nullptr;
  /// Asks how many bytes a message to the database may have, nullptr where there is no bound. A statement that is
  /// longer would end the connection, and with it the work of every client.
  const char* longestMessage = nullptr;
  /// The tables schema lists every database of the server unless it is asked for one.
  bool listsAllDatabases = false;
  /// The driver tells too small a length of UTF-16 cells with characters such as "Ø" (U+00D8): it takes a low byte
  /// from D8 to DB for half of a pair. Its UTF-8 cells are right.
  bool miscountsWideCells = false;
  /// The product's own SQLSTATEs, and its drivers' own error numbers, for a session that has ended.
  std::span<const std::string_view> endedStates = {};
  std::span<const std::int32_t> endedErrors = {};
  /// The quotes of a name, where they are others than the driver's identifier quote character; "" where not.
  std::string_view quotePrefix = {};
  std::string_view quoteSuffix = {};
  NativeForm native = {};
};

/// What a driver does wrong, and must be spared: some of it ends the process, since clients choose the names in
/// statements, and so what errors tell.
struct DriverRule {
  std::string_view name;  ///< a part of the file name that the driver tells
  /// The text of an error that SQLExecDirect meets while it prepares is taken for a format of printf: "%n" in the name
  /// of a table ends the process. The error of SQLPrepare is taken as it is.
  bool formatsErrors = false;
  /// A date that does not fit its structure comes as today's there, and as zeros in a text.
  bool inventsDates = false;
  /// Its text in bytes is UTF-8 as it comes from the database, with no conversion on the way, where the environment of
  /// the process names UTF-8; elsewhere the driver refuses a row whose text the locale lacks. To be tried.
  bool mayGiveUtf8 = false;
  /// What its connection string calls the limit for connecting, where it does not take SQL_ATTR_LOGIN_TIMEOUT.
  std::string_view connectLimit = {};
  /// SQLStatistics writes beyond its buffers for a longer name of a table, in bytes of UTF-8.
  std::size_t longestName = std::numeric_limits<std::size_t>::max();
};

/// The rule of the product that calls itself `dbmsName`.
[[nodiscard]] const ProductRule& RuleOfProduct(std::string_view dbmsName);
/// The rule of the driver whose "Driver Name" is `driverName`.
[[nodiscard]] const DriverRule& RuleOfDriver(std::string_view driverName);

/// True when an error of a product tells that its session has ended: a SQLSTATE of class 08, or one of its own.
[[nodiscard]] bool EndsSession(const ProductRule& product, std::string_view sqlState, std::int32_t nativeError);

}  // namespace ods::odbc
