// The database helpers that every request handler uses.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "database/DataSession.h"

namespace ods {

/// What a caller of `ExecuteSQL` may give besides the statement.
struct ExecuteOptions {
  /// Numbers of errors that the caller foresees: they are traced as warnings.
  std::span<const std::int32_t> expectedErrors = {};
  /// The caller foresees any error: it is traced as a warning.
  bool mayFail = false;
  /// Placeholder texts and their values: every occurrence is replaced, pair by pair.
  std::span<const std::pair<std::string, std::string>> parameters = {};
  /// For a statement that holds a secret: what the log and errors show in its place. The driver's description of a
  /// failure, which may quote the statement, is then withheld too.
  std::string_view shownAs = {};
  /// Values come in the exact form of reading.
  bool exact = false;
};

/// Runs a statement, tracing it, and returns its record set. `maxRecords` bounds the records read (0: no bound),
/// where the product takes such a bound. A failure is traced and raised again with its number and its
/// description + " SQL: " + the statement.
[[nodiscard]] std::shared_ptr<RecordSet> ExecuteSQL(const DataSession& session, std::string sql,
                                                    std::int32_t maxRecords, const ExecuteOptions& options = {});

/// The same for rows that go into a sink.
[[nodiscard]] std::unique_ptr<RowStream> StreamSQL(const DataSession& session, std::string sql, std::int32_t maxRecords,
                                                   const std::shared_ptr<RowSink>& sink,
                                                   const ExecuteOptions& options = {});

/// True when the tables schema lists a table of exactly this name. Raises the driver's errors.
[[nodiscard]] bool TableExists(const DataSession& session, const std::string& name);

}  // namespace ods
