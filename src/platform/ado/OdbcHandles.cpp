#include "platform/ado/OdbcHandles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "common/Error.h"
#include "platform/ado/ConnectionString.h"
#include "platform/ado/OdbcText.h"

namespace ods::odbc {

namespace {

std::string FromUnits(std::span<const SQLWCHAR> text) { return ToUtf8(text); }
std::string FromUnits(std::span<const SQLCHAR> text) {
  return FromNarrowText({reinterpret_cast<const char*>(text.data()), text.size()});
}

/// Reads a text of unknown length. `read(buffer, units, length)` sets `length` to the units that the whole text has and
/// tells whether the driver gave it; a text that did not fit is asked for once more.
template <typename Unit, typename Read>
std::string ReadText(Read read) {
  constexpr std::size_t kMostUnits = 0x7FFF / sizeof(Unit);
  std::vector<Unit> buffer(256);
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::int64_t length = 0;
    if (!read(buffer.data(), buffer.size(), length) || length <= 0) return {};
    const auto units = std::min(static_cast<std::size_t>(length), kMostUnits - 1);
    if (units < buffer.size()) return FromUnits(UpToNull(std::span<const Unit>(buffer), units));
    buffer.resize(units + 1);
  }
  return {};
}

/// A text as an argument of a wide or a narrow function, null-terminated: some drivers miscount characters when they
/// are given a length. Empty it becomes no pointer at all, which is how the catalogue functions are told "any".
template <typename Unit>
class TextArgument {
 public:
  explicit TextArgument(const std::string& text) {
    if constexpr (sizeof(Unit) == 1) {
      units_.assign(text.begin(), text.end());
    } else {
      units_ = ToUtf16(text);
    }
    units_.push_back(0);
  }
  [[nodiscard]] Unit* Get() { return units_.data(); }
  [[nodiscard]] Unit* GetOrNull() { return units_.size() > 1 ? units_.data() : nullptr; }
  [[nodiscard]] SQLSMALLINT SizeOrZero() const { return units_.size() > 1 ? SQLSMALLINT{SQL_NTS} : SQLSMALLINT{0}; }

 private:
  std::vector<Unit> units_;
};

/// The functions that take or give text, in their two forms.
struct Wide {
  using Unit = SQLWCHAR;
  static constexpr auto kDriverConnect = SQLDriverConnectW;
  static constexpr auto kGetInfo = SQLGetInfoW;
  static constexpr auto kGetConnectAttr = SQLGetConnectAttrW;
  static constexpr auto kExecDirect = SQLExecDirectW;
  static constexpr auto kPrepare = SQLPrepareW;
  static constexpr auto kTables = SQLTablesW;
  static constexpr auto kStatistics = SQLStatisticsW;
  static constexpr auto kGetTypeInfo = SQLGetTypeInfoW;
  static constexpr auto kDescribeCol = SQLDescribeColW;
  static constexpr auto kColAttribute = SQLColAttributeW;
};
struct Narrow {
  using Unit = SQLCHAR;
  static constexpr auto kDriverConnect = SQLDriverConnect;
  static constexpr auto kGetInfo = SQLGetInfo;
  static constexpr auto kGetConnectAttr = SQLGetConnectAttr;
  static constexpr auto kExecDirect = SQLExecDirect;
  static constexpr auto kPrepare = SQLPrepare;
  static constexpr auto kTables = SQLTables;
  static constexpr auto kStatistics = SQLStatistics;
  static constexpr auto kGetTypeInfo = SQLGetTypeInfo;
  static constexpr auto kDescribeCol = SQLDescribeCol;
  static constexpr auto kColAttribute = SQLColAttribute;
};

/// Calls `call` with the set of functions that a driver is called through.
template <typename Call>
decltype(auto) WithFunctions(bool wide, Call call) {
  return wide ? call(Wide{}) : call(Narrow{});
}

/// A numeric attribute's value, which by the definition of the calls travels in the pointer itself.
SQLPOINTER NumberAsPointer(SQLULEN value) {
  return reinterpret_cast<SQLPOINTER>(value);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

Session::Environment::Environment() : handle_(SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
  auto* const version = NumberAsPointer(SQL_OV_ODBC3);
  if (!SQL_SUCCEEDED(SQLSetEnvAttr(handle_.Get(), SQL_ATTR_ODBC_VERSION, version, 0))) {
    RaiseDiagnostics(SQL_HANDLE_ENV, handle_.Get());
  }
}

Session::Session(const std::string& connectionString, const DriverLimits& limits)
    : connection_(SQL_HANDLE_ENV, environment_.Get()), limits_(limits) {
  constexpr std::size_t kLongest = 0x7FFF;
  if (connectionString.size() >= kLongest) {
    throw Error(error_number::kGeneralFailure, "The connection string is too long.");
  }
  SetLimit(SQL_ATTR_LOGIN_TIMEOUT, limits_.connectSeconds);
  Connect(WithConnectLimit(connectionString, limits_.connectSeconds));
  SetLimit(SQL_ATTR_CONNECTION_TIMEOUT, limits_.statementSeconds);
  getDataExtensions_ = InfoNumber(SQL_GETDATA_EXTENSIONS);
}

SQLUINTEGER Session::InfoNumber(SQLUSMALLINT infoType) const {
  SQLUINTEGER number = 0;
  SQLSMALLINT ignored = 0;
  return SQL_SUCCEEDED(SQLGetInfoW(Get(), infoType, &number, sizeof number, &ignored)) ? number : 0;
}

/// A driver that refuses the attribute is bounded by nothing but the thread that it runs on.
void Session::SetLimit(SQLINTEGER attribute, int seconds) const {
  if (seconds > 0) SQLSetConnectAttr(Get(), attribute, NumberAsPointer(static_cast<SQLULEN>(seconds)), SQL_IS_UINTEGER);
}

bool Session::IsDead() const {
  SQLUINTEGER dead = SQL_CD_FALSE;
  const SQLRETURN result = SQLGetConnectAttr(Get(), SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
  return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

void Session::Connect(const std::string& connectionString) {
  // Whether the driver is wide is known only behind a connection. A string beyond ASCII is therefore tried on the
  // narrow function first: handed to a narrow driver through the wide one it would name another file.
  const bool ascii = std::all_of(connectionString.begin(), connectionString.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (!ascii && SQL_SUCCEEDED(ConnectThrough(connectionString, false))) {
    wide_ = DriverIsWide();
    if (!wide_) return;
    SQLDisconnect(Get());
  }
  if (!SQL_SUCCEEDED(ConnectThrough(connectionString, true))) RaiseDiagnostics(SQL_HANDLE_DBC, Get());
  wide_ = DriverIsWide();
}

SQLRETURN Session::ConnectThrough(const std::string& connectionString, bool wide) const {
  return WithFunctions(wide, [&](auto functions) {
    TextArgument<typename decltype(functions)::Unit> text(connectionString);
    return functions.kDriverConnect(Get(), nullptr, text.Get(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
  });
}

/// A statement text with a character beyond the basic plane comes back whole only from a driver that has wide functions
/// of its own. The text is not run, nor sent anywhere.
bool Session::DriverIsWide() const {
  const std::vector<SQLWCHAR> character = ToUtf16("\xF0\x9F\x98\x80");
  std::array<SQLWCHAR, 32> received{};
  // libsqliteodbc ends the text that it is given, not the one it gives, at the size of the buffer: so the text is
  // longer than the buffer.
  std::vector<SQLWCHAR> sent = character;
  sent.resize(4 * received.size(), ' ');
  sent.push_back(0);
  SQLINTEGER length = 0;
  const SQLRETURN result =
      SQLNativeSqlW(Get(), sent.data(), SQL_NTS, received.data(), static_cast<SQLINTEGER>(received.size()), &length);
  if (!SQL_SUCCEEDED(result)) return true;
  return std::search(received.begin(), received.end(), character.begin(), character.end()) != received.end();
}

std::string Session::InfoText(SQLUSMALLINT infoType) const {
  return WithFunctions(wide_, [&](auto functions) {
    using Unit = typename decltype(functions)::Unit;
    return ReadText<Unit>([&](Unit* buffer, std::size_t units, std::int64_t& length) {
      SQLSMALLINT bytes = 0;
      const SQLRETURN result =
          functions.kGetInfo(Get(), infoType, buffer, static_cast<SQLSMALLINT>(units * sizeof(Unit)), &bytes);
      length = bytes / static_cast<std::int64_t>(sizeof(Unit));
      return SQL_SUCCEEDED(result);
    });
  });
}

std::string Session::CurrentCatalog() const {
  std::string name = InfoText(SQL_DATABASE_NAME);
  if (!name.empty()) return name;
  return WithFunctions(wide_, [&](auto functions) {
    using Unit = typename decltype(functions)::Unit;
    return ReadText<Unit>([&](Unit* buffer, std::size_t units, std::int64_t& length) {
      SQLINTEGER bytes = 0;
      const SQLRETURN result = functions.kGetConnectAttr(Get(), SQL_ATTR_CURRENT_CATALOG, buffer,
                                                         static_cast<SQLINTEGER>(units * sizeof(Unit)), &bytes);
      length = bytes / static_cast<std::int64_t>(sizeof(Unit));
      return SQL_SUCCEEDED(result);
    });
  });
}

Statement::Statement(std::shared_ptr<Session> session) : parts_(std::make_shared<Parts>(std::move(session))) {
  const int seconds = Owner().Limits().statementSeconds;
  if (seconds > 0) SetAttribute(SQL_ATTR_QUERY_TIMEOUT, static_cast<SQLULEN>(seconds));
}

std::function<void()> Statement::Canceller() const {
  return [weak = std::weak_ptr<Parts>(parts_)] {
    if (const std::shared_ptr<Parts> parts = weak.lock()) SQLCancel(parts->handle.Get());
  };
}

void Statement::Execute(const std::string& sql) const {
  Check(WithFunctions(Owner().IsWide(), [&](auto functions) {
    TextArgument<typename decltype(functions)::Unit> text(sql);
    if (!Owner().PreparesStatements()) return functions.kExecDirect(Get(), text.Get(), SQL_NTS);
    const SQLRETURN result = functions.kPrepare(Get(), text.Get(), SQL_NTS);
    return SQL_SUCCEEDED(result) ? SQLExecute(Get()) : result;
  }));
}

void Statement::Tables(const CatalogNames& names) const {
  Check(WithFunctions(Owner().IsWide(), [&](auto functions) {
    using Argument = TextArgument<typename decltype(functions)::Unit>;
    Argument catalog(names.catalog);
    Argument schema(names.schema);
    Argument table(names.table);
    Argument type(names.type);
    return functions.kTables(Get(), catalog.GetOrNull(), catalog.SizeOrZero(), schema.GetOrNull(), schema.SizeOrZero(),
                             table.GetOrNull(), table.SizeOrZero(), type.GetOrNull(), type.SizeOrZero());
  }));
}

void Statement::Statistics(const CatalogNames& names) const {
  Check(WithFunctions(Owner().IsWide(), [&](auto functions) {
    using Argument = TextArgument<typename decltype(functions)::Unit>;
    Argument catalog(names.catalog);
    Argument schema(names.schema);
    Argument table(names.table);
    return functions.kStatistics(Get(), catalog.GetOrNull(), catalog.SizeOrZero(), schema.GetOrNull(),
                                 schema.SizeOrZero(), table.GetOrNull(), table.SizeOrZero(), SQL_INDEX_ALL, SQL_QUICK);
  }));
}

void Statement::TypeInfo() const {
  Check(WithFunctions(Owner().IsWide(), [&](auto functions) { return functions.kGetTypeInfo(Get(), SQL_ALL_TYPES); }));
}

SQLUSMALLINT Statement::ColumnCount() const {
  SQLSMALLINT count = 0;
  Check(SQLNumResultCols(Get(), &count));
  return static_cast<SQLUSMALLINT>(std::max<SQLSMALLINT>(count, 0));
}

ColumnDescription Statement::DescribeColumn(SQLUSMALLINT number) const {
  ColumnDescription column;
  column.name = WithFunctions(Owner().IsWide(), [&](auto functions) {
    using Unit = typename decltype(functions)::Unit;
    return ReadText<Unit>([&](Unit* buffer, std::size_t units, std::int64_t& length) {
      SQLSMALLINT given = 0;
      Check(functions.kDescribeCol(Get(), number, buffer, static_cast<SQLSMALLINT>(units), &given, &column.odbcType,
                                   &column.size, &column.digits, &column.nullable));
      length = given;
      return true;
    });
  });
  return column;
}

std::string Statement::TypeNameOf(SQLUSMALLINT number) const {
  return WithFunctions(Owner().IsWide(), [&](auto functions) {
    using Unit = typename decltype(functions)::Unit;
    return ReadText<Unit>([&](Unit* buffer, std::size_t units, std::int64_t& length) {
      SQLSMALLINT bytes = 0;
      const SQLRETURN result = functions.kColAttribute(Get(), number, SQL_DESC_TYPE_NAME, buffer,
                                                       static_cast<SQLSMALLINT>(units * sizeof(Unit)), &bytes, nullptr);
      length = bytes / static_cast<std::int64_t>(sizeof(Unit));
      return SQL_SUCCEEDED(result);
    });
  });
}

bool Statement::IsUnsigned(SQLUSMALLINT number) const {
  SQLLEN isUnsigned = SQL_FALSE;
  const SQLRETURN result = WithFunctions(Owner().IsWide(), [&](auto functions) {
    return functions.kColAttribute(Get(), number, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned);
  });
  return SQL_SUCCEEDED(result) && isUnsigned == SQL_TRUE;
}

void Statement::Check(SQLRETURN result) const {
  if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA) Raise();
}

bool Statement::SetAttribute(SQLINTEGER attribute, SQLULEN value) const {
  return SQL_SUCCEEDED(SQLSetStmtAttr(Get(), attribute, NumberAsPointer(value), 0));
}

}  // namespace ods::odbc
