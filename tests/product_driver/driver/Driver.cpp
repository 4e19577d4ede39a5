// The driver's entry points. Only those that the driver manager and the system call are here; of the functions with
// text only the wide ones, from which the driver manager makes the others.
#include <memory>
#include <optional>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <string>

#include "product_driver/driver/Catalogue.h"
#include "product_driver/driver/Connection.h"
#include "product_driver/driver/DriverError.h"
#include "product_driver/driver/Handle.h"
#include "product_driver/driver/Statement.h"
#include "product_driver/driver/Unicode.h"

#define ODS_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

namespace ods::product_driver {
namespace {

class Environment final : public Handle {};

template <typename T>
T& As(SQLHANDLE handle) {
  return static_cast<T&>(*static_cast<Handle*>(handle));
}

/// Runs a call on a handle: its old diagnostics go, and what it raises becomes a new one.
template <typename T, typename Action>
SQLRETURN Call(SQLHANDLE handle, Action action) {
  if (handle == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
  T& object = As<T>(handle);
  object.ClearDiagnostics();
  try {
    return static_cast<SQLRETURN>(action(object));
  } catch (const DriverError& error) {
    object.AddDiagnostic(error);
  } catch (const std::exception& error) {
    object.AddDiagnostic(sql_state::kGeneral, error.what());
  }
  return SQL_ERROR;
}

/// SQL_SUCCESS, or the warning that a text was cut off.
SQLRETURN TextResult(Handle& handle, bool whole) {
  if (whole) return SQL_SUCCESS;
  handle.AddDiagnostic(sql_state::kTruncated, "A text did not fit its buffer.");
  return SQL_SUCCESS_WITH_INFO;
}

/// Hands an object out as a handle; SQLFreeHandle takes it back.
SQLRETURN HandOut(std::unique_ptr<Handle> object, SQLHANDLE* result) {
  *result = object.release();
  return SQL_SUCCESS;
}

std::optional<std::string> OptionalText(const SQLWCHAR* text, SQLSMALLINT length) {
  if (text == nullptr) return std::nullopt;
  return ToUtf8(text, length);
}

template <typename Number>
SQLRETURN GiveNumber(SQLPOINTER buffer, SQLSMALLINT* length, Number number) {
  if (buffer != nullptr) *static_cast<Number*>(buffer) = number;
  if (length != nullptr) *length = sizeof number;
  return SQL_SUCCESS;
}

std::size_t RoomOf(SQLLEN size) { return size > 0 ? static_cast<std::size_t>(size) : 0; }

SQLRETURN GetInfo(Connection& connection, SQLUSMALLINT type, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  if (const std::optional<std::string> text = connection.InfoText(type)) {
    return TextResult(connection, PutTextBytes(*text, buffer, RoomOf(size), length));
  }
  const bool arrays = connection.DrivenProduct().hasRowArrays;
  switch (type) {
    case SQL_GETDATA_EXTENSIONS:
      return GiveNumber<SQLUINTEGER>(buffer, length,
                                     arrays ? SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BLOCK | SQL_GD_BOUND
                                            : SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER);
    case SQL_CURSOR_COMMIT_BEHAVIOR:
    case SQL_CURSOR_ROLLBACK_BEHAVIOR:
      return GiveNumber<SQLUSMALLINT>(buffer, length, SQL_CB_PRESERVE);
    case SQL_TXN_CAPABLE:                // none
    case SQL_MAX_CONCURRENT_ACTIVITIES:  // any number
      return GiveNumber<SQLUSMALLINT>(buffer, length, 0);
    default:
      throw DriverError(sql_state::kNotImplemented,
                        "The driver has no information number " + std::to_string(type) + ".");
  }
}

SQLLEN NumericColumnAttribute(const Column& column, SQLUSMALLINT field) {
  switch (field) {
    case SQL_DESC_UNSIGNED:
      return column.type.isUnsigned ? SQL_TRUE : SQL_FALSE;
    case SQL_DESC_CONCISE_TYPE:
    case SQL_DESC_TYPE:
      return column.type.odbcType;
    case SQL_DESC_NULLABLE:
      return column.nullable;
    case SQL_DESC_LENGTH:
    case SQL_DESC_PRECISION:
    case SQL_DESC_DISPLAY_SIZE:
    case SQL_COLUMN_LENGTH:
    case SQL_COLUMN_PRECISION:
      return static_cast<SQLLEN>(column.type.size);
    case SQL_DESC_SCALE:
    case SQL_COLUMN_SCALE:
      return column.type.digits;
    default:
      throw DriverError("HY091", "The driver has no column attribute number " + std::to_string(field) + ".");
  }
}

}  // namespace
}  // namespace ods::product_driver

using namespace ods::product_driver;  // NOLINT(google-build-using-namespace): the entry points are ODBC's, not ours

ODS_ENTRY SQLAllocHandle(SQLSMALLINT type, SQLHANDLE parent, SQLHANDLE* result) {
  switch (type) {
    case SQL_HANDLE_ENV:
      return HandOut(std::make_unique<Environment>(), result);
    case SQL_HANDLE_DBC:
      return Call<Environment>(parent, [&](Environment&) { return HandOut(std::make_unique<Connection>(), result); });
    case SQL_HANDLE_STMT:
      return Call<Connection>(parent, [&](Connection& connection) {
        (void)connection.File();
        return HandOut(std::make_unique<Statement>(connection), result);
      });
    default:
      return Call<Handle>(parent, [](Handle&) -> SQLRETURN {
        throw DriverError(sql_state::kNotImplemented, "The driver has no handles of this type.");
      });
  }
}

ODS_ENTRY SQLFreeHandle(SQLSMALLINT /*type*/, SQLHANDLE handle) {
  if (handle == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
  const std::unique_ptr<Handle> object(static_cast<Handle*>(handle));
  return SQL_SUCCESS;
}

ODS_ENTRY SQLSetEnvAttr(SQLHENV environment, SQLINTEGER /*attribute*/, SQLPOINTER /*value*/, SQLINTEGER /*size*/) {
  return Call<Environment>(environment, [](Environment&) { return SQL_SUCCESS; });
}

ODS_ENTRY SQLGetDiagRecW(SQLSMALLINT /*type*/, SQLHANDLE handle, SQLSMALLINT number, SQLWCHAR* state,
                         SQLINTEGER* native, SQLWCHAR* text, SQLSMALLINT size, SQLSMALLINT* length) {
  if (handle == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
  const auto& diagnostics = As<Handle>(handle).Diagnostics();
  if (number < 1 || static_cast<std::size_t>(number) > diagnostics.size()) return SQL_NO_DATA;
  const Diagnostic& diagnostic = diagnostics[static_cast<std::size_t>(number) - 1];
  if (native != nullptr) *native = 0;
  PutText<SQLSMALLINT>(diagnostic.state, state, SQL_SQLSTATE_SIZE + 1, nullptr);
  const bool whole = PutText("[product_driver]" + diagnostic.text, text, RoomOf(size), length);
  return whole ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

/// The driver manager takes the diagnostics of a driver only when it has this function, too.
ODS_ENTRY SQLGetDiagFieldW(SQLSMALLINT /*type*/, SQLHANDLE handle, SQLSMALLINT number, SQLSMALLINT field,
                           SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  if (handle == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
  const auto& diagnostics = As<Handle>(handle).Diagnostics();
  if (field == SQL_DIAG_NUMBER) return GiveNumber(buffer, length, static_cast<SQLINTEGER>(diagnostics.size()));
  if (number < 1 || static_cast<std::size_t>(number) > diagnostics.size()) return SQL_NO_DATA;
  const Diagnostic& diagnostic = diagnostics[static_cast<std::size_t>(number) - 1];
  const auto giveText = [&](std::string_view text) {
    return PutTextBytes(text, buffer, RoomOf(size), length) ? SQLRETURN{SQL_SUCCESS} : SQLRETURN{SQL_SUCCESS_WITH_INFO};
  };
  switch (field) {
    case SQL_DIAG_SQLSTATE:
      return giveText(diagnostic.state);
    case SQL_DIAG_MESSAGE_TEXT:
      return giveText(diagnostic.text);
    case SQL_DIAG_CLASS_ORIGIN:
    case SQL_DIAG_SUBCLASS_ORIGIN:
      return giveText("ODBC 3.0");
    case SQL_DIAG_CONNECTION_NAME:
    case SQL_DIAG_SERVER_NAME:
      return giveText("");
    case SQL_DIAG_NATIVE:
      return GiveNumber(buffer, length, SQLINTEGER{0});
    case SQL_DIAG_ROW_NUMBER:
      return GiveNumber(buffer, length, SQLLEN{SQL_ROW_NUMBER_UNKNOWN});
    case SQL_DIAG_COLUMN_NUMBER:
      return GiveNumber(buffer, length, SQLINTEGER{SQL_COLUMN_NUMBER_UNKNOWN});
    default:
      return SQL_ERROR;
  }
}

ODS_ENTRY SQLDriverConnectW(SQLHDBC connection, SQLHWND /*window*/, SQLWCHAR* text, SQLSMALLINT length,
                            SQLWCHAR* completed, SQLSMALLINT size, SQLSMALLINT* completedLength,
                            SQLUSMALLINT /*completion*/) {
  return Call<Connection>(connection, [&](Connection& object) {
    const std::string connectionString = ToUtf8(text, length);
    object.Open(connectionString);
    return TextResult(object, PutText(connectionString, completed, RoomOf(size), completedLength));
  });
}

ODS_ENTRY SQLDisconnect(SQLHDBC connection) {
  return Call<Connection>(connection, [](Connection& object) {
    object.Close();
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLGetInfoW(SQLHDBC connection, SQLUSMALLINT type, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  return Call<Connection>(connection, [&](Connection& object) { return GetInfo(object, type, buffer, size, length); });
}

ODS_ENTRY SQLGetConnectAttrW(SQLHDBC connection, SQLINTEGER attribute, SQLPOINTER buffer, SQLINTEGER size,
                             SQLINTEGER* length) {
  return Call<Connection>(connection, [&](Connection& object) {
    switch (attribute) {
      case SQL_ATTR_CURRENT_CATALOG:
        return TextResult(object, PutTextBytes(object.DefaultDatabase(), buffer, RoomOf(size), length));
      case SQL_ATTR_CONNECTION_DEAD:
        *static_cast<SQLUINTEGER*>(buffer) = object.IsOpen() ? SQL_CD_FALSE : SQL_CD_TRUE;
        return SQLRETURN{SQL_SUCCESS};
      case SQL_ATTR_AUTOCOMMIT:
        *static_cast<SQLUINTEGER*>(buffer) = SQL_AUTOCOMMIT_ON;
        return SQLRETURN{SQL_SUCCESS};
      default:
        throw DriverError(sql_state::kNotImplemented, "The driver does not have this attribute.");
    }
  });
}

ODS_ENTRY SQLSetConnectAttrW(SQLHDBC connection, SQLINTEGER attribute, SQLPOINTER /*value*/, SQLINTEGER /*size*/) {
  return Call<Connection>(connection, [&](Connection&) {
    const bool ignorable = attribute == SQL_ATTR_AUTOCOMMIT || attribute == SQL_ATTR_LOGIN_TIMEOUT;
    if (!ignorable) throw DriverError(sql_state::kNotImplemented, "The driver does not have this attribute.");
    return SQL_SUCCESS;
  });
}

/// The driver manager's own check of what the driver takes as text: nothing is rewritten.
ODS_ENTRY SQLNativeSqlW(SQLHDBC connection, SQLWCHAR* text, SQLINTEGER length, SQLWCHAR* buffer, SQLINTEGER size,
                        SQLINTEGER* given) {
  return Call<Connection>(connection, [&](Connection& object) {
    return TextResult(object, PutText(ToUtf8(text, length), buffer, RoomOf(size), given));
  });
}

ODS_ENTRY SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  return Call<Statement>(statement, [&](Statement& object) {
    object.CloseCursor();
    object.SetRows(object.Owner().Execute(ToUtf8(text, length), object.Attribute(SQL_ATTR_MAX_ROWS)), false);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLTablesW(SQLHSTMT statement, SQLWCHAR* /*catalogue*/, SQLSMALLINT /*catalogueLength*/, SQLWCHAR* schema,
                     SQLSMALLINT schemaLength, SQLWCHAR* table, SQLSMALLINT tableLength, SQLWCHAR* types,
                     SQLSMALLINT typesLength) {
  return Call<Statement>(statement, [&](Statement& object) {
    object.SetRows(ListTables(object.Owner(), {.schema = OptionalText(schema, schemaLength),
                                               .table = OptionalText(table, tableLength),
                                               .types = OptionalText(types, typesLength)}),
                   true);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLStatisticsW(SQLHSTMT statement, SQLWCHAR* /*catalogue*/, SQLSMALLINT /*catalogueLength*/, SQLWCHAR* schema,
                         SQLSMALLINT schemaLength, SQLWCHAR* table, SQLSMALLINT tableLength, SQLUSMALLINT unique,
                         SQLUSMALLINT /*accuracy*/) {
  return Call<Statement>(statement, [&](Statement& object) {
    object.SetRows(ListIndexes(object.Owner(),
                               {.schema = OptionalText(schema, schemaLength),
                                .table = OptionalText(table, tableLength),
                                .types = std::nullopt},
                               unique == SQL_INDEX_UNIQUE),
                   true);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLGetTypeInfoW(SQLHSTMT statement, SQLSMALLINT type) {
  return Call<Statement>(statement, [&](Statement& object) {
    (void)object.Owner().File();
    object.SetRows(ListTypes(object.Owner().DrivenProduct(), type), true);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLNumResultCols(SQLHSTMT statement, SQLSMALLINT* count) {
  return Call<Statement>(statement, [&](Statement& object) {
    *count = static_cast<SQLSMALLINT>(object.ColumnCount());
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLRowCount(SQLHSTMT statement, SQLLEN* count) {
  return Call<Statement>(statement, [&](Statement&) {
    *count = -1;
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLDescribeColW(SQLHSTMT statement, SQLUSMALLINT number, SQLWCHAR* name, SQLSMALLINT size,
                          SQLSMALLINT* length, SQLSMALLINT* type, SQLULEN* columnSize, SQLSMALLINT* digits,
                          SQLSMALLINT* nullable) {
  return Call<Statement>(statement, [&](Statement& object) {
    const Column& column = object.ColumnOf(number);
    if (type != nullptr) *type = column.type.odbcType;
    if (columnSize != nullptr) *columnSize = column.type.size;
    if (digits != nullptr) *digits = column.type.digits;
    if (nullable != nullptr) *nullable = column.nullable;
    return TextResult(object, PutText(column.name, name, RoomOf(size), length));
  });
}

ODS_ENTRY SQLColAttributeW(SQLHSTMT statement, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER buffer,
                           SQLSMALLINT size, SQLSMALLINT* length, SQLLEN* value) {
  return Call<Statement>(statement, [&](Statement& object) {
    const Column& column = object.ColumnOf(number);
    const bool isName = field == SQL_DESC_NAME || field == SQL_DESC_LABEL || field == SQL_COLUMN_NAME;
    if (isName || field == SQL_DESC_TYPE_NAME) {
      return TextResult(
          object, PutTextBytes(isName ? column.name : std::string(column.type.name), buffer, RoomOf(size), length));
    }
    if (value != nullptr) *value = NumericColumnAttribute(column, field);
    return SQLRETURN{SQL_SUCCESS};
  });
}

ODS_ENTRY SQLBindCol(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER buffer, SQLLEN size,
                     SQLLEN* indicator) {
  return Call<Statement>(statement, [&](Statement& object) {
    object.Bind(number, {.cType = cType, .buffer = buffer, .size = size, .indicator = indicator});
    return SQL_SUCCESS;
  });
}

/// Comes from another thread, beside a call on the same statement: it leaves no diagnostics.
ODS_ENTRY SQLCancel(SQLHSTMT statement) {
  As<Statement>(statement).Owner().Hanging().Cancel();
  return SQL_SUCCESS;
}

ODS_ENTRY SQLFetch(SQLHSTMT statement) {
  return Call<Statement>(statement, [](Statement& object) { return object.Fetch(); });
}

ODS_ENTRY SQLSetPos(SQLHSTMT statement, SQLSETPOSIROW row, SQLUSMALLINT operation, SQLUSMALLINT /*lock*/) {
  return Call<Statement>(statement, [&](Statement& object) {
    if (operation != SQL_POSITION) throw DriverError(sql_state::kNotImplemented, "The driver only reads.");
    object.Position(row);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLGetData(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER buffer, SQLLEN size,
                     SQLLEN* indicator) {
  return Call<Statement>(statement, [&](Statement& object) {
    return object.GetData(number, {.cType = cType, .buffer = buffer, .size = size, .indicator = indicator});
  });
}

ODS_ENTRY SQLMoreResults(SQLHSTMT statement) {
  return Call<Statement>(statement, [](Statement& object) {
    object.CloseCursor();
    return SQL_NO_DATA;
  });
}

ODS_ENTRY SQLSetStmtAttrW(SQLHSTMT statement, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER /*size*/) {
  return Call<Statement>(statement, [&](Statement& object) {
    object.SetAttribute(attribute, value);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLGetStmtAttrW(SQLHSTMT statement, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER /*size*/,
                          SQLINTEGER* /*length*/) {
  return Call<Statement>(statement, [&](Statement& object) {
    *static_cast<SQLULEN*>(value) = object.Attribute(attribute);
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLCloseCursor(SQLHSTMT statement) {
  return Call<Statement>(statement, [](Statement& object) {
    object.CloseCursor();
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLFreeStmt(SQLHSTMT statement, SQLUSMALLINT option) {
  return Call<Statement>(statement, [&](Statement& object) {
    if (option == SQL_CLOSE) object.CloseCursor();
    if (option == SQL_UNBIND) object.UnbindAll();
    return SQL_SUCCESS;
  });
}

ODS_ENTRY SQLEndTran(SQLSMALLINT /*type*/, SQLHANDLE handle, SQLSMALLINT /*completion*/) {
  return Call<Handle>(handle, [](Handle&) { return SQL_SUCCESS; });
}
