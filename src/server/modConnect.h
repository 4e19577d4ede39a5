// The connection to the database: what is done at every connect, and which product stands behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "database/DataSession.h"

namespace ods {

/// The product of a connection, by its properties "DBMS Name" and default database.
[[nodiscard]] DatabaseKind DetectDatabaseKind(const Connection& connection);

/// The current catalogue; for a workbook its path, with ".xls" where the catalogue has no file
/// extension.
[[nodiscard]] std::string GetCurrentCatalog(const Connection& connection, const Dialect& dialect);

/// The open database of the moment. Without a session there is none.
struct Database {
  std::unique_ptr<DataSession> session;
  /// `FileModificationStamp` of the workbook at the connect, of an Excel database.
  std::int64_t workbookStamp = 0;
};

/// Opens a connection, with the limits of the process, and makes the data session of it: the type table, the look-ups,
/// the quote characters. Traces each step, the first one unless `again`. Raises what opening or a look-up raises;
/// nothing stays open then.
[[nodiscard]] Database ConnectDatabase(ProcessState& process, const std::string& connectionString, bool again = false);

/// True when the workbook of an Excel database is another one, by its modification time, than at the connect.
[[nodiscard]] bool ExcelWorkbookChanged(const Database& database);

}  // namespace ods
