#include "database/modODBC.h"

#include <algorithm>

#include "common/Error.h"
#include "common/Text.h"

namespace ods {

std::shared_ptr<RecordSet> ExecuteSQL(const DataSession& session, std::string sql, std::int32_t maxRecords,
                                      const ExecuteOptions& options) {
  for (const auto& [placeholder, value] : options.parameters) sql = ReplaceAll(sql, placeholder, value);
  session.Trace("SQL: " + sql);
  try {
    return session.connection->OpenRecordSet(sql, session.kind == DatabaseKind::DbMySql ? 0 : maxRecords);
  } catch (const Error& error) {
    const bool expected = std::ranges::find(options.expectedErrors, error.Number()) != options.expectedErrors.end();
    session.Trace(std::string("SQL ") + (expected ? "Warning" : "Error") + ": " + std::to_string(error.Number()) +
                      " (0x" + ErrorNumberHex(error.Number()) + "), " + error.Description(),
                  -1, expected ? severity::kWarning : severity::kError);
    throw Error(error.Number(), error.Description() + " SQL: " + sql);
  }
}

bool TableExists(const DataSession& session, const std::string& name) {
  const auto tables = session.connection->OpenSchema(Schema::kTables, {Value(), Value(), Value(name), Value()});
  return !tables->AtEnd();
}

}  // namespace ods
