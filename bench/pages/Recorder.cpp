// A library to be loaded before a program's own (LD_PRELOAD): it stands between the program and the driver manager and
// writes each statement and each list of tables that is run into the file that ODS_BENCH_STATEMENTS names, a line each,
// with the bound on its rows. So it is known what a server really runs for a page.
#include <dlfcn.h>
#include <fstream>
#include <map>
#include <optional>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <stdlib.h>
#include <string>

#include "Statement.h"

namespace {

/// The bound that the thread has set last: a statement's attributes are set right before it is run.
struct Bound {
  SQLHSTMT statement = SQL_NULL_HSTMT;
  SQLULEN rows = 0;
};
thread_local Bound bound;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

/// The text that a statement was prepared with.
std::string& PreparedText(SQLHSTMT statement) {
  thread_local std::map<SQLHSTMT, std::string> texts;
  return texts[statement];
}

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void AppendUtf8(std::string& text, unsigned long code) {
  constexpr unsigned long kLast = 0x3F;
  const auto put = [&](unsigned long byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) return put(code);
  if (code < 0x800) {
    put(0xC0 | code >> 6U);
  } else {
    if (code < 0x10000) {
      put(0xE0 | code >> 12U);
    } else {
      put(0xF0 | code >> 18U);
      put(0x80 | (code >> 12U & kLast));
    }
    put(0x80 | (code >> 6U & kLast));
  }
  put(0x80 | (code & kLast));
}

/// `length` units of UTF-16, or up to a null character (SQL_NTS).
std::string Text(const SQLWCHAR* units, SQLINTEGER length) {
  std::string text;
  for (SQLINTEGER i = 0; length == SQL_NTS ? units[i] != 0 : i < length; ++i) {
    unsigned long code = units[i];
    const bool pair = code >= 0xD800 && code < 0xDC00 && (length == SQL_NTS || i + 1 < length);
    if (pair) code = 0x10000 + ((code - 0xD800) << 10U) + (units[++i] - 0xDC00UL);
    AppendUtf8(text, code);
  }
  return text;
}

std::string Text(const SQLCHAR* bytes, SQLINTEGER length) {
  const char* const text = reinterpret_cast<const char*>(bytes);
  return length == SQL_NTS ? std::string(text) : std::string(text, static_cast<std::size_t>(length));
}

/// An argument of SQLTables; nothing for none.
template <typename Unit>
std::optional<std::string> Pattern(const Unit* text, SQLSMALLINT length) {
  if (text == nullptr) return std::nullopt;
  return Text(text, length);
}

void Record(SQLHSTMT statement, std::string text) {
  const char* const file = getenv("ODS_BENCH_STATEMENTS");
  if (file == nullptr) return;
  const SQLULEN rows = bound.statement == statement ? bound.rows : 0;
  std::ofstream(file, std::ios::app) << ods::bench::ToLine({rows, std::move(text)}) << std::endl;
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLSetStmtAttr(SQLHSTMT statement, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  if (attribute == SQL_ATTR_MAX_ROWS) bound = {statement, reinterpret_cast<SQLULEN>(value)};
  // A handle that has become another statement's begins with its other attributes.
  if (attribute == SQL_ATTR_CURSOR_TYPE) bound = {};
  return Next<decltype(&SQLSetStmtAttr)>("SQLSetStmtAttr")(statement, attribute, value, length);
}

SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  Record(statement, Text(text, length));
  return Next<decltype(&SQLExecDirectW)>("SQLExecDirectW")(statement, text, length);
}

SQLRETURN SQL_API SQLExecDirect(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length) {
  Record(statement, Text(text, length));
  return Next<decltype(&SQLExecDirect)>("SQLExecDirect")(statement, text, length);
}

SQLRETURN SQL_API SQLPrepareW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  PreparedText(statement) = Text(text, length);
  return Next<decltype(&SQLPrepareW)>("SQLPrepareW")(statement, text, length);
}

SQLRETURN SQL_API SQLPrepare(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length) {
  PreparedText(statement) = Text(text, length);
  return Next<decltype(&SQLPrepare)>("SQLPrepare")(statement, text, length);
}

SQLRETURN SQL_API SQLExecute(SQLHSTMT statement) {
  Record(statement, PreparedText(statement));
  return Next<decltype(&SQLExecute)>("SQLExecute")(statement);
}

SQLRETURN SQL_API SQLTablesW(SQLHSTMT statement, SQLWCHAR* catalog, SQLSMALLINT catalogLength, SQLWCHAR* schema,
                             SQLSMALLINT schemaLength, SQLWCHAR* table, SQLSMALLINT tableLength, SQLWCHAR* type,
                             SQLSMALLINT typeLength) {
  Record(statement, ods::bench::ListOfTables({Pattern(catalog, catalogLength), Pattern(schema, schemaLength),
                                              Pattern(table, tableLength), Pattern(type, typeLength)}));
  return Next<decltype(&SQLTablesW)>("SQLTablesW")(statement, catalog, catalogLength, schema, schemaLength, table,
                                                   tableLength, type, typeLength);
}

SQLRETURN SQL_API SQLTables(SQLHSTMT statement, SQLCHAR* catalog, SQLSMALLINT catalogLength, SQLCHAR* schema,
                            SQLSMALLINT schemaLength, SQLCHAR* table, SQLSMALLINT tableLength, SQLCHAR* type,
                            SQLSMALLINT typeLength) {
  Record(statement, ods::bench::ListOfTables({Pattern(catalog, catalogLength), Pattern(schema, schemaLength),
                                              Pattern(table, tableLength), Pattern(type, typeLength)}));
  return Next<decltype(&SQLTables)>("SQLTables")(statement, catalog, catalogLength, schema, schemaLength, table,
                                                 tableLength, type, typeLength);
}

}  // extern "C"
