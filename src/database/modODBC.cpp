#include "database/modODBC.h"

#include <algorithm>

#include "common/Error.h"
#include "common/Text.h"

namespace ods {

namespace {

constexpr const char* kWithheld = "The statement failed. The driver's description may quote a secret and is withheld.";

/// Traces a statement and has `open` run it.
template <typename Open>
auto Run(const DataSession& session, std::string sql, std::int32_t maxRecords, const ExecuteOptions& options,
         Open open) {
  for (const auto& [placeholder, value] : options.parameters) sql = ReplaceAll(sql, placeholder, value);
  const std::string_view shown = options.shownAs.empty() ? std::string_view(sql) : options.shownAs;
  session.Trace(std::string("SQL: ").append(shown));
  try {
    return open(sql, session.dialect->takesRecordLimit ? maxRecords : 0);
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

}  // namespace

std::shared_ptr<RecordSet> ExecuteSQL(const DataSession& session, std::string sql, std::int32_t maxRecords,
                                      const ExecuteOptions& options) {
  return Run(session, std::move(sql), maxRecords, options, [&](const std::string& statement, std::int32_t limit) {
    return options.exact ? session.connection->OpenExactRecordSet(statement, limit)
                         : session.connection->OpenRecordSet(statement, limit);
  });
}

std::unique_ptr<RowStream> StreamSQL(const DataSession& session, std::string sql, std::int32_t maxRecords,
                                     const std::shared_ptr<RowSink>& sink, const ExecuteOptions& options) {
  return Run(session, std::move(sql), maxRecords, options, [&](const std::string& statement, std::int32_t limit) {
    return session.connection->OpenStream(statement, limit, options.exact, sink);
  });
}

bool TableExists(const DataSession& session, const std::string& name) {
  const auto tables = session.connection->OpenSchema(Schema::kTables, {Value(), Value(), Value(name), Value()});
  return !tables->AtEnd();
}

}  // namespace ods
