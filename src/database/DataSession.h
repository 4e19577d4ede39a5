// A data session: everything that belongs to one open connection, made anew at every connect and lent to the handlers
// for one call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"
#include "common/UserInterface.h"
#include "common/Value.h"
#include "database/Dialect.h"
#include "log/Trace.h"
#include "platform/ado/Ado.h"
#include "platform/xml/Xml.h"

namespace ods {

/// How a column type is written as a literal and how a filter text for it is normalised.
struct TypeEntry {
  std::string TypeName;
  std::string SafeValFunction;
  std::string SafeFilterFunction;
  std::vector<Value> SafeValParameters;
};

/// The type table: ADO data type number to entry.
using TypeTable = std::unordered_map<std::int32_t, TypeEntry>;

/// What is known of a column.
struct FieldDescription {
  std::string Name;
  std::int64_t DefinedSize = 0;
  std::int32_t Type = ado_type::kEmpty;
};

/// Columns by exact name.
using TableFields = std::unordered_map<std::string, FieldDescription>;

/// The state of the process that outlives every connection. Owned by start-up.
struct ProcessState {
  UserInterface* ui = nullptr;
  Tracer* tracer = nullptr;
  const ComponentRegistry* components = nullptr;
  std::string configFolder;
  /// The folder that holds the executable.
  std::string programFolder;
  /// The context document; an empty one when it did not load.
  const XmlDocument* context = nullptr;
  /// What every connection is opened with.
  ConnectionLimits limits;
  /// Pages are exact: each row comes exactly once, with all that its columns hold.
  bool exact = false;
  /// The id that every response carries. A client's `Initialize` replaces it; made when it is first needed.
  std::string ServerSessionId;
  /// Multiplies every decimal number that is written; 0 until the first `TableData` request settles it.
  double decimalFactor = 0;
};

struct ExactSession;

struct DataSession {
  explicit DataSession(ProcessState& state) : process(&state) {}

  void Trace(std::string_view text, double elapsed = -1, std::int32_t severity = severity::kInformation) const {
    process->tracer->Trace(text, elapsed, severity);
  }

  ProcessState* process;
  std::shared_ptr<Connection> connection;
  const Dialect* dialect = &UnknownDialect();
  std::string QuotePrefix;
  std::string QuoteSuffix;
  /// "1" when a Microsoft SQL Server database is a Navision one, else "0".
  std::string navisionOnSqlServer = "0";
  TypeTable typeTable;
  /// Table identifier to its columns. Of a table the identifier begins with "[TABLE]", of a server-side view with
  /// "[APPVIEW]", whatever word the request had in the brackets.
  std::unordered_map<std::string, TableFields> fieldCache;
  /// Table identifier to the fields of the key that was found for its pages.
  std::unordered_map<std::string, std::vector<std::string>> keyCache;
  std::shared_ptr<Dictionary> providerTypes;
  std::shared_ptr<Dictionary> literals;
  /// Made anew at every connect, for whatever a handler keeps per connection.
  std::shared_ptr<Dictionary> cache;
  /// What exact paging keeps; nullptr where it is not asked for.
  std::shared_ptr<ExactSession> exact;
  /// Names of tables are written with their schema, each part in quotes.
  bool namesWithSchema = false;
};

}  // namespace ods
