// The least that a page can take: a bare program that runs given statements through the driver manager, binds and
// fetches their rows in blocks, and throws them away. Nothing of the server is in it.
//
// Everything is told on standard input, a line each: first the connection string, then
//   session STATEMENT    a statement without rows that sets the session up
//   add PAGE STATEMENT   a statement of a page, a number from 0; the statements of a page run in the order they came in
//   run PAGE             runs the page; answered by "ROWS ELAPSED PROCESSOR", the times in microseconds
// STATEMENT is the line of Statement.h. What fails ends the program with a text on standard error.
//
// A statement has its handle, its description and its buffers from its first run on, and is given as a text each time.
#include <algorithm>
#include <array>
#include <clocale>
#include <cstddef>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <time.h>
#include <vector>

#include "Statement.h"

namespace {

constexpr SQLULEN kBlockRows = 128;
constexpr std::size_t kMostCellBytes = 1024;

[[noreturn]] void Fail(SQLSMALLINT type, SQLHANDLE handle) {
  SQLCHAR state[6] = {};
  SQLCHAR text[1024] = {};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(type, handle, 1, state, &native, text, sizeof text, &length);
  throw std::runtime_error(std::string(reinterpret_cast<const char*>(state)) + " " +
                           reinterpret_cast<const char*>(text));
}

/// A handle, freed at the end.
class Handle {
 public:
  Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(type, parent, &handle_))) throw std::runtime_error("no handle");
  }
  ~Handle() { SQLFreeHandle(type_, handle_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle(Handle&&) = delete;
  Handle& operator=(Handle&&) = delete;
  [[nodiscard]] SQLHANDLE Get() const { return handle_; }
  void Check(SQLRETURN result) const {
    if (!SQL_SUCCEEDED(result)) Fail(type_, handle_);
  }

 private:
  SQLSMALLINT type_;
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

/// The value of a numeric attribute, which travels in the pointer itself.
SQLPOINTER Number(SQLULEN value) {
  return reinterpret_cast<SQLPOINTER>(value);  // NOLINT(performance-no-int-to-ptr)
}

/// The units of a text in ASCII, with a null character behind them.
std::vector<SQLWCHAR> Wide(std::string_view text) {
  std::vector<SQLWCHAR> units;
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) throw std::runtime_error("a statement that is not ASCII");
    units.push_back(static_cast<SQLWCHAR>(c));
  }
  units.push_back(0);
  return units;
}

class Connection {
 public:
  explicit Connection(const std::string& connectionString)
      : environment_(SQL_HANDLE_ENV, SQL_NULL_HANDLE), connection_(SQL_HANDLE_DBC, Prepared()) {
    std::vector<SQLWCHAR> text = Wide(connectionString);
    connection_.Check(
        SQLDriverConnectW(connection_.Get(), nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
  }
  ~Connection() { SQLDisconnect(connection_.Get()); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  Connection(Connection&&) = delete;
  Connection& operator=(Connection&&) = delete;
  [[nodiscard]] SQLHANDLE Get() const { return connection_.Get(); }

 private:
  [[nodiscard]] SQLHANDLE Prepared() const {
    environment_.Check(SQLSetEnvAttr(environment_.Get(), SQL_ATTR_ODBC_VERSION, Number(SQL_OV_ODBC3), 0));
    return environment_.Get();
  }
  Handle environment_;
  Handle connection_;
};

/// The C type that loses nothing of a column and costs least, and the bytes of a cell.
struct Cell {
  SQLSMALLINT type;
  std::size_t bytes;
};

Cell CellOf(SQLSMALLINT type, SQLULEN size) {
  switch (type) {
    case SQL_BIT:
      return {SQL_C_BIT, 1};
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
      return {SQL_C_SBIGINT, sizeof(SQLBIGINT)};
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return {SQL_C_DOUBLE, sizeof(double)};
    case SQL_TYPE_DATE:
      return {SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT)};
    case SQL_TYPE_TIMESTAMP:
      return {SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)};
    default:
      constexpr SQLULEN kLeast = 64;
      constexpr std::size_t kUtf8 = 4;
      const SQLULEN characters = std::clamp<SQLULEN>(size, kLeast, kMostCellBytes);
      return {SQL_C_CHAR, std::min(kUtf8 * characters + 1, kMostCellBytes)};
  }
}

class Query {
 public:
  Query(SQLHANDLE connection, const ods::bench::Statement& statement)
      : handle_(SQL_HANDLE_STMT, connection), text_(Wide(statement.text)) {
    if (statement.text.starts_with(ods::bench::kTablesCall)) {
      auto& tables = tables_.emplace();
      std::ranges::transform(ods::bench::TablesArguments(statement.text), tables.begin(),
                             [](const auto& each) { return each ? Wide(*each) : std::vector<SQLWCHAR>(); });
    }
    // What every driver can do best.
    SQLSetStmtAttr(handle_.Get(), SQL_ATTR_CURSOR_TYPE, Number(SQL_CURSOR_FORWARD_ONLY), 0);
    SQLSetStmtAttr(handle_.Get(), SQL_ATTR_CONCURRENCY, Number(SQL_CONCUR_READ_ONLY), 0);
    if (statement.maxRows > 0) {
      handle_.Check(SQLSetStmtAttr(handle_.Get(), SQL_ATTR_MAX_ROWS, Number(statement.maxRows), 0));
    }
    handle_.Check(SQLSetStmtAttr(handle_.Get(), SQL_ATTR_ROW_ARRAY_SIZE, Number(kBlockRows), 0));
    handle_.Check(SQLSetStmtAttr(handle_.Get(), SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
  }

  /// How many rows there were.
  std::size_t Run() {
    Execute();
    if (cells_.empty()) Bind();
    std::size_t rows = 0;
    for (SQLRETURN result = SQLFetch(handle_.Get()); result != SQL_NO_DATA; result = SQLFetch(handle_.Get())) {
      handle_.Check(result);
      // A value that did not fit would have been read once more by anybody who wants it.
      if (result == SQL_SUCCESS_WITH_INFO) throw std::runtime_error("a value is longer than its cell");
      rows += fetched_;
    }
    handle_.Check(SQLFreeStmt(handle_.Get(), SQL_CLOSE));
    return rows;
  }
  void Execute() { handle_.Check(tables_ ? ListTables() : SQLExecDirectW(handle_.Get(), text_.data(), SQL_NTS)); }

 private:
  SQLRETURN ListTables() {
    const auto text = [&](std::size_t i) { return (*tables_)[i].empty() ? nullptr : (*tables_)[i].data(); };
    return SQLTablesW(handle_.Get(), text(0), SQL_NTS, text(1), SQL_NTS, text(2), SQL_NTS, text(3), SQL_NTS);
  }

  void Bind() {
    SQLSMALLINT count = 0;
    handle_.Check(SQLNumResultCols(handle_.Get(), &count));
    for (SQLSMALLINT i = 1; i <= count; ++i) {
      SQLSMALLINT type = 0;
      SQLULEN size = 0;
      SQLWCHAR name[128] = {};
      SQLSMALLINT length = 0;
      SQLSMALLINT digits = 0;
      SQLSMALLINT nullable = 0;
      handle_.Check(SQLDescribeColW(handle_.Get(), static_cast<SQLUSMALLINT>(i), name, std::size(name), &length, &type,
                                    &size, &digits, &nullable));
      const Cell cell = CellOf(type, size);
      auto& bytes = cells_.emplace_back(kBlockRows * cell.bytes);
      auto& indicators = indicators_.emplace_back(kBlockRows);
      handle_.Check(SQLBindCol(handle_.Get(), static_cast<SQLUSMALLINT>(i), cell.type, bytes.data(),
                               static_cast<SQLLEN>(cell.bytes), indicators.data()));
    }
  }

  Handle handle_;
  std::vector<SQLWCHAR> text_;
  std::optional<std::array<std::vector<SQLWCHAR>, 4>> tables_;  ///< arguments, where it is a list of tables
  SQLULEN fetched_ = 0;
  std::vector<std::vector<std::byte>> cells_;
  std::vector<std::vector<SQLLEN>> indicators_;
};

/// A clock's time in microseconds.
double Now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

void Serve() {
  std::string line;
  std::getline(std::cin, line);
  const Connection connection(line);
  std::vector<std::vector<std::unique_ptr<Query>>> pages;
  while (std::getline(std::cin, line)) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word == "session") {
      Query(connection.Get(), ods::bench::FromLine(line.substr(word.size() + 1))).Execute();
      continue;
    }
    std::size_t page = 0;
    words >> page >> std::ws;
    if (word == "add") {
      if (page >= pages.size()) pages.resize(page + 1);
      std::getline(words, line);
      pages[page].push_back(std::make_unique<Query>(connection.Get(), ods::bench::FromLine(line)));
      continue;
    }
    const double start = Now(CLOCK_MONOTONIC);
    const double processor = Now(CLOCK_PROCESS_CPUTIME_ID);
    std::size_t rows = 0;
    for (const auto& query : pages.at(page)) rows += query->Run();
    const double used = Now(CLOCK_PROCESS_CPUTIME_ID) - processor;
    std::cout << rows << ' ' << Now(CLOCK_MONOTONIC) - start << ' ' << used << std::endl;
  }
}

}  // namespace

int main() {
  // By which drivers write the characters of a text.
  setlocale(LC_ALL, "C.UTF-8");
  try {
    Serve();
  } catch (const std::exception& error) {
    std::cerr << "pages-limit: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
