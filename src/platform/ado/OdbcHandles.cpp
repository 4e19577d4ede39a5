#include "platform/ado/OdbcHandles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"

namespace ods::odbc {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kFirstHighSurrogate = 0xD800;
constexpr std::uint32_t kFirstLowSurrogate = 0xDC00;
constexpr std::uint32_t kPastSurrogates = 0xE000;
constexpr std::uint32_t kFirstSupplementary = 0x10000;

constexpr std::int32_t Signed(std::uint32_t number) { return static_cast<std::int32_t>(number); }

struct StateNumber {
  std::string_view prefix;
  std::int32_t number;
};

/// ADO's numbers by the beginning of the SQLSTATE; a longer beginning stands before a shorter one.
constexpr std::array<StateNumber, 7> kStateNumbers = {{
    {"42S02", Signed(0x80040E37)},  // no such table
    {"HYT00", Signed(0x80040E31)},  // time-out
    {"HYT01", Signed(0x80040E31)},  // connection time-out
    {"42", Signed(0x80040E14)},     // syntax or access rule
    {"28", Signed(0x80040E4D)},     // log-in refused
    {"23", Signed(0x80040E2F)},     // constraint
    {"22", Signed(0x80040E07)},     // data
}};

/// The code point that begins at `position`, which moves past it. A byte that begins no well-formed sequence is
/// stepped over alone.
std::uint32_t NextCodePoint(std::string_view text, std::size_t& position) {
  const auto byteAt = [&](std::size_t index) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[index]));
  };
  const std::uint32_t lead = byteAt(position++);
  if (lead < 0x80) return lead;
  const std::size_t following = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - position < following) return kReplacement;
  std::uint32_t code = lead & (0x3FU >> following);
  for (std::size_t i = 0; i < following; ++i) {
    const std::uint32_t byte = byteAt(position + i);
    if ((byte & 0xC0U) != 0x80U) return kReplacement;
    code = (code << 6U) | (byte & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 4> kSmallest = {0, 0x80, 0x800, kFirstSupplementary};
  const bool surrogate = code >= kFirstHighSurrogate && code < kPastSurrogates;
  if (code < kSmallest[following] || code > 0x10FFFF || surrogate) return kReplacement;
  position += following;
  return code;
}

void AppendUtf8(std::string& text, std::uint32_t code) {
  const auto append = [&](std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    append(code);
  } else if (code < 0x800) {
    append(0xC0U | (code >> 6U));
    append(0x80U | (code & 0x3FU));
  } else if (code < kFirstSupplementary) {
    append(0xE0U | (code >> 12U));
    append(0x80U | ((code >> 6U) & 0x3FU));
    append(0x80U | (code & 0x3FU));
  } else {
    append(0xF0U | (code >> 18U));
    append(0x80U | ((code >> 12U) & 0x3FU));
    append(0x80U | ((code >> 6U) & 0x3FU));
    append(0x80U | (code & 0x3FU));
  }
}

std::string WithoutTrailingSpace(std::string text) {
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.pop_back();
  return text;
}

std::string FromUnits(std::span<const SQLWCHAR> text) { return ToUtf8(text); }
std::string FromUnits(std::span<const SQLCHAR> text) {
  return FromNarrowText({reinterpret_cast<const char*>(text.data()), text.size()});
}

/// The text in a buffer up to its closing null, which stands behind `units` units or later: odbc-mariadb understates
/// lengths.
template <typename Unit>
std::span<const Unit> UpToNull(std::span<const Unit> buffer, std::size_t units) {
  while (units < buffer.size() && buffer[units] != 0) ++units;
  return buffer.first(units);
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

struct DiagnosticRecord {
  std::string state;
  std::string text;
};

/// A diagnostic text. Where the driver manager could not convert a narrow driver's text by the locale, it has made
/// every byte a character: such a text is UTF-8 when its characters are taken as bytes again.
std::string FromDiagnosticText(std::span<const SQLWCHAR> text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const SQLWCHAR unit : text) {
    if (unit > 0xFF) return ToUtf8(text);
    bytes += static_cast<char>(static_cast<unsigned char>(unit));
  }
  return IsValidUtf8(bytes) ? bytes : ToUtf8(text);
}

/// The diagnostic record of a number from 1; nothing past the last.
std::optional<DiagnosticRecord> ReadDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle, SQLSMALLINT number) {
  constexpr std::size_t kMostUnits = 0x7FFF;
  std::array<SQLWCHAR, SQL_SQLSTATE_SIZE + 1> state{};
  std::vector<SQLWCHAR> text(1024);
  SQLINTEGER nativeError = 0;
  SQLSMALLINT given = 0;
  const auto read = [&] {
    return SQL_SUCCEEDED(SQLGetDiagRecW(handleType, handle, number, state.data(), &nativeError, text.data(),
                                        static_cast<SQLSMALLINT>(text.size()), &given));
  };
  if (!read()) return std::nullopt;
  auto units = static_cast<std::size_t>(std::max<SQLSMALLINT>(given, 0));
  if (units >= text.size()) {
    text.resize(std::min(units + 1, kMostUnits));
    if (!read()) return std::nullopt;
    units = std::min(units, text.size() - 1);
  }
  return DiagnosticRecord{ToUtf8(std::span(state).first(SQL_SQLSTATE_SIZE)),
                          WithoutTrailingSpace(FromDiagnosticText(UpToNull(std::span<const SQLWCHAR>(text), units)))};
}

/// A numeric attribute's value, which by the definition of the calls travels in the pointer itself.
SQLPOINTER NumberAsPointer(SQLULEN value) {
  return reinterpret_cast<SQLPOINTER>(value);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

std::vector<SQLWCHAR> ToUtf16(std::string_view text) {
  std::vector<SQLWCHAR> units;
  units.reserve(text.size() + 1);
  for (std::size_t position = 0; position < text.size();) {
    const std::uint32_t code = NextCodePoint(text, position);
    if (code < kFirstSupplementary) {
      units.push_back(static_cast<SQLWCHAR>(code));
    } else {
      units.push_back(static_cast<SQLWCHAR>(kFirstHighSurrogate + ((code - kFirstSupplementary) >> 10U)));
      units.push_back(static_cast<SQLWCHAR>(kFirstLowSurrogate + ((code - kFirstSupplementary) & 0x3FFU)));
    }
  }
  return units;
}

std::string ToUtf8(std::span<const SQLWCHAR> text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = text[i];
    if (code >= kFirstHighSurrogate && code < kPastSurrogates) {
      const std::uint32_t next = i + 1 < text.size() ? text[i + 1] : 0U;
      if (code < kFirstLowSurrogate && next >= kFirstLowSurrogate && next < kPastSurrogates) {
        code = kFirstSupplementary + ((code - kFirstHighSurrogate) << 10U) + (next - kFirstLowSurrogate);
        ++i;
      } else {
        code = kReplacement;
      }
    }
    AppendUtf8(result, code);
  }
  return result;
}

std::string FromNarrowText(std::string_view bytes) {
  return IsValidUtf8(bytes) ? std::string(bytes) : ToUtf8(ToUtf16(bytes));
}

std::int32_t ErrorNumberOfState(std::string_view sqlState) {
  const auto* const found = std::find_if(kStateNumbers.begin(), kStateNumbers.end(),
                                         [&](const StateNumber& row) { return sqlState.starts_with(row.prefix); });
  return found == kStateNumbers.end() ? error_number::kGeneralFailure : found->number;
}

void RaiseDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
  constexpr SQLSMALLINT kMostRecords = 16;
  std::string firstState;
  std::vector<std::string> texts;
  for (SQLSMALLINT number = 1; number <= kMostRecords; ++number) {
    std::optional<DiagnosticRecord> record = ReadDiagnostic(handleType, handle, number);
    if (!record) break;
    if (number == 1) firstState = record->state;
    const bool isNew = std::find(texts.begin(), texts.end(), record->text) == texts.end();
    if (isNew && !record->text.empty()) texts.push_back(std::move(record->text));
  }
  std::string description;
  for (const std::string& text : texts) description += (description.empty() ? "" : "; ") + text;
  if (description.empty()) description = "The database driver failed without saying why.";
  throw Error(ErrorNumberOfState(firstState), description);
}

Session::Environment::Environment() : handle_(SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
  auto* const version = NumberAsPointer(SQL_OV_ODBC3);
  if (!SQL_SUCCEEDED(SQLSetEnvAttr(handle_.Get(), SQL_ATTR_ODBC_VERSION, version, 0))) {
    RaiseDiagnostics(SQL_HANDLE_ENV, handle_.Get());
  }
}

Session::Session(const std::string& connectionString) : connection_(SQL_HANDLE_ENV, environment_.Get()) {
  constexpr std::size_t kLongest = 0x7FFF;
  if (connectionString.size() >= kLongest) {
    throw Error(error_number::kGeneralFailure, "The connection string is too long.");
  }
  Connect(connectionString);
  SQLSMALLINT ignored = 0;
  if (!SQL_SUCCEEDED(
          SQLGetInfoW(Get(), SQL_GETDATA_EXTENSIONS, &getDataExtensions_, sizeof getDataExtensions_, &ignored))) {
    getDataExtensions_ = 0;
  }
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

Statement::Statement(std::shared_ptr<Session> session)
    : session_(std::move(session)), handle_(SQL_HANDLE_DBC, session_->Get()) {}

void Statement::Execute(const std::string& sql) const {
  Check(WithFunctions(session_->IsWide(), [&](auto functions) {
    TextArgument<typename decltype(functions)::Unit> text(sql);
    if (!session_->PreparesStatements()) return functions.kExecDirect(Get(), text.Get(), SQL_NTS);
    const SQLRETURN result = functions.kPrepare(Get(), text.Get(), SQL_NTS);
    return SQL_SUCCEEDED(result) ? SQLExecute(Get()) : result;
  }));
}

void Statement::Tables(const CatalogNames& names) const {
  Check(WithFunctions(session_->IsWide(), [&](auto functions) {
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
  Check(WithFunctions(session_->IsWide(), [&](auto functions) {
    using Argument = TextArgument<typename decltype(functions)::Unit>;
    Argument catalog(names.catalog);
    Argument schema(names.schema);
    Argument table(names.table);
    return functions.kStatistics(Get(), catalog.GetOrNull(), catalog.SizeOrZero(), schema.GetOrNull(),
                                 schema.SizeOrZero(), table.GetOrNull(), table.SizeOrZero(), SQL_INDEX_ALL, SQL_QUICK);
  }));
}

void Statement::TypeInfo() const {
  Check(
      WithFunctions(session_->IsWide(), [&](auto functions) { return functions.kGetTypeInfo(Get(), SQL_ALL_TYPES); }));
}

SQLUSMALLINT Statement::ColumnCount() const {
  SQLSMALLINT count = 0;
  Check(SQLNumResultCols(Get(), &count));
  return static_cast<SQLUSMALLINT>(std::max<SQLSMALLINT>(count, 0));
}

ColumnDescription Statement::DescribeColumn(SQLUSMALLINT number) const {
  ColumnDescription column;
  column.name = WithFunctions(session_->IsWide(), [&](auto functions) {
    using Unit = typename decltype(functions)::Unit;
    return ReadText<Unit>([&](Unit* buffer, std::size_t units, std::int64_t& length) {
      SQLSMALLINT given = 0;
      SQLSMALLINT digits = 0;
      Check(functions.kDescribeCol(Get(), number, buffer, static_cast<SQLSMALLINT>(units), &given, &column.odbcType,
                                   &column.size, &digits, &column.nullable));
      length = given;
      return true;
    });
  });
  return column;
}

bool Statement::IsUnsigned(SQLUSMALLINT number) const {
  SQLLEN isUnsigned = SQL_FALSE;
  const SQLRETURN result = WithFunctions(session_->IsWide(), [&](auto functions) {
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
