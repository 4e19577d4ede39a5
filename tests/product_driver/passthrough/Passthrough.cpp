// A driver that hands every call on to another driver and changes one answer: the DBMS name is "MySQL". With it the
// statements for that product meet a real server whose own driver calls itself something else.
//
// The environment variable ODS_PASSTHROUGH_DRIVER names the other driver's library. It is loaded at the first call,
// which comes before any connection string does, and stays loaded. Only the functions that the driver manager and the
// system call are handed on.
#include <cstdlib>
#include <dlfcn.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <string_view>

namespace {

/// A function of the other driver; no pointer when it is not there. Loading a library again only finds it, so that
/// nothing is kept between calls.
template <typename Function>
Function* Find(const char* name) {
  const char* const path = std::getenv("ODS_PASSTHROUGH_DRIVER");
  void* const library = path == nullptr ? nullptr : dlopen(path, RTLD_NOW | RTLD_LOCAL);
  return library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
}

/// Gives `text` as SQLGetInfoW does: `size` and `length` count bytes.
SQLRETURN GiveText(std::u16string_view text, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  if (length != nullptr) *length = static_cast<SQLSMALLINT>(text.size() * sizeof(SQLWCHAR));
  auto* const units = static_cast<SQLWCHAR*>(buffer);
  const std::size_t room = size > 0 ? static_cast<std::size_t>(size) / sizeof(SQLWCHAR) : 0;
  if (units == nullptr || room == 0) return SQL_SUCCESS;
  const std::size_t copied = text.copy(reinterpret_cast<char16_t*>(units), room - 1);
  units[copied] = 0;
  return copied == text.size() ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

}  // namespace

#define ODS_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

/// Defines the entry point `name` as a call of the other driver's function of that name.
#define HAND_ON(name, parameters, arguments)                        \
  ODS_ENTRY name parameters {                                       \
    auto* const next = Find<decltype(name)>(#name);                 \
    return next == nullptr ? SQLRETURN{SQL_ERROR} : next arguments; \
  }

ODS_ENTRY SQLGetInfoW(SQLHDBC connection, SQLUSMALLINT type, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  auto* const next = Find<decltype(SQLGetInfoW)>("SQLGetInfoW");
  if (next == nullptr) return SQL_ERROR;
  if (type == SQL_DBMS_NAME) return GiveText(u"MySQL", buffer, size, length);
  return next(connection, type, buffer, size, length);
}

HAND_ON(SQLAllocHandle, (SQLSMALLINT type, SQLHANDLE parent, SQLHANDLE* result), (type, parent, result))
HAND_ON(SQLFreeHandle, (SQLSMALLINT type, SQLHANDLE handle), (type, handle))
HAND_ON(SQLSetEnvAttr, (SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size),
        (handle, attribute, value, size))
HAND_ON(SQLDriverConnectW,
        (SQLHDBC handle, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length, SQLWCHAR* completed, SQLSMALLINT size,
         SQLSMALLINT* completedLength, SQLUSMALLINT completion),
        (handle, window, text, length, completed, size, completedLength, completion))
HAND_ON(SQLDisconnect, (SQLHDBC handle), (handle))
HAND_ON(SQLGetConnectAttrW,
        (SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size, SQLINTEGER* length),
        (handle, attribute, value, size, length))
HAND_ON(SQLSetConnectAttrW, (SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size),
        (handle, attribute, value, size))
HAND_ON(SQLGetDiagRecW,
        (SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
         SQLSMALLINT size, SQLSMALLINT* length),
        (type, handle, number, state, native, text, size, length))
HAND_ON(SQLGetDiagFieldW,
        (SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLSMALLINT field, SQLPOINTER value, SQLSMALLINT size,
         SQLSMALLINT* length),
        (type, handle, number, field, value, size, length))
HAND_ON(SQLNativeSqlW,
        (SQLHDBC handle, SQLWCHAR* text, SQLINTEGER length, SQLWCHAR* buffer, SQLINTEGER size, SQLINTEGER* given),
        (handle, text, length, buffer, size, given))
HAND_ON(SQLExecDirectW, (SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length), (handle, text, length))
HAND_ON(SQLPrepareW, (SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length), (handle, text, length))
HAND_ON(SQLExecute, (SQLHSTMT handle), (handle))
HAND_ON(SQLTablesW,
        (SQLHSTMT handle, SQLWCHAR* catalogue, SQLSMALLINT catalogueLength, SQLWCHAR* schema, SQLSMALLINT schemaLength,
         SQLWCHAR* table, SQLSMALLINT tableLength, SQLWCHAR* types, SQLSMALLINT typesLength),
        (handle, catalogue, catalogueLength, schema, schemaLength, table, tableLength, types, typesLength))
HAND_ON(SQLStatisticsW,
        (SQLHSTMT handle, SQLWCHAR* catalogue, SQLSMALLINT catalogueLength, SQLWCHAR* schema, SQLSMALLINT schemaLength,
         SQLWCHAR* table, SQLSMALLINT tableLength, SQLUSMALLINT unique, SQLUSMALLINT accuracy),
        (handle, catalogue, catalogueLength, schema, schemaLength, table, tableLength, unique, accuracy))
HAND_ON(SQLGetTypeInfoW, (SQLHSTMT handle, SQLSMALLINT type), (handle, type))
HAND_ON(SQLNumResultCols, (SQLHSTMT handle, SQLSMALLINT* count), (handle, count))
HAND_ON(SQLRowCount, (SQLHSTMT handle, SQLLEN* count), (handle, count))
HAND_ON(SQLDescribeColW,
        (SQLHSTMT handle, SQLUSMALLINT number, SQLWCHAR* name, SQLSMALLINT size, SQLSMALLINT* length, SQLSMALLINT* type,
         SQLULEN* columnSize, SQLSMALLINT* digits, SQLSMALLINT* nullable),
        (handle, number, name, size, length, type, columnSize, digits, nullable))
HAND_ON(SQLColAttributeW,
        (SQLHSTMT handle, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER buffer, SQLSMALLINT size,
         SQLSMALLINT* length, SQLLEN* value),
        (handle, number, field, buffer, size, length, value))
HAND_ON(SQLBindCol,
        (SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER buffer, SQLLEN size, SQLLEN* indicator),
        (handle, number, type, buffer, size, indicator))
HAND_ON(SQLFetch, (SQLHSTMT handle), (handle))
HAND_ON(SQLSetPos, (SQLHSTMT handle, SQLSETPOSIROW row, SQLUSMALLINT operation, SQLUSMALLINT lock),
        (handle, row, operation, lock))
HAND_ON(SQLGetData,
        (SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER buffer, SQLLEN size, SQLLEN* indicator),
        (handle, number, type, buffer, size, indicator))
HAND_ON(SQLMoreResults, (SQLHSTMT handle), (handle))
HAND_ON(SQLSetStmtAttrW, (SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size),
        (handle, attribute, value, size))
HAND_ON(SQLGetStmtAttrW, (SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size, SQLINTEGER* length),
        (handle, attribute, value, size, length))
HAND_ON(SQLCloseCursor, (SQLHSTMT handle), (handle))
HAND_ON(SQLFreeStmt, (SQLHSTMT handle, SQLUSMALLINT option), (handle, option))
HAND_ON(SQLEndTran, (SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion), (type, handle, completion))
