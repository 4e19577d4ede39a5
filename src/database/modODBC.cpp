#include "database/modODBC.h"

#include <algorithm>

#include "common/Error.h"
#include "common/Text.h"

namespace ods {

namespace {

constexpr const char* kWithheld = "The statement failed. The driver's description may quote a secret and is withheld.";

}  // namespace

std::shared_ptr<RecordSet> ExecuteSQL(const DataSession& session, std::string sql, std::int32_t maxRecords,
                                      const ExecuteOptions& options) {
  for (const auto& [placeholder, value] : options.parameters) sql = ReplaceAll(sql, placeholder, value);
  const std::string_view shown = options.shownAs.empty() ? std::string_view(sql) : options.shownAs;
  session.Trace(std::string("SQL: ").append(shown));
  try {
    const std::int32_t limit = session.dialect->takesRecordLimit ? maxRecords : 0;
    return options.exact ? session.connection->OpenExactRecordSet(sql, limit)
                         : session.connection->OpenRecordSet(sql, limit);
  } catch (const Error& error) {
    const bool expected =
        options.mayFail || std::ranges::find(options.expectedErrors, error.Number()) != options.expectedErrors.end();
    const std::string description = options.shownAs.empty() ? error.Description() : kWithheld;
    session.Trace(std::string("SQL ") + (expected ? "Warning" : "Error") + ": " + std::to_string(error.Number()) +
                      " (0x" + ErrorNumberHex(error.Number()) + "), " + description,
                  -1, expected ? severity::kWarning : severity::kError);
    throw Error(error.Number(), (description + " SQL: ").append(shown));
  }
}

bool TableExists(const DataSession& session, const std::string& name) {
  const auto tables = session.connection->OpenSchema(Schema::kTables, {Value(), Value(), Value(name), Value()});
  return !tables->AtEnd();
}

}  // namespace ods
