// A data session over a scripted connection: tests say which statements return what, and see every statement that came.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/ComponentRegistry.h"
#include "common/Error.h"
#include "database/DataSession.h"
#include "doubles/RecordingUserInterface.h"
#include "sqlformat/modTypes.h"
#include "support/TemporaryFolder.h"

namespace ods::test {

using Row = std::vector<Value>;

inline std::shared_ptr<RecordSet> MakeRows(std::vector<Field> fields, std::vector<Row> rows = {}) {
  return std::make_shared<MemoryRecordSet>(std::move(fields), std::move(rows));
}

/// Text columns of the given names: enough for schema rowsets.
inline std::vector<Field> TextColumns(const std::vector<std::string>& names) {
  std::vector<Field> fields;
  fields.reserve(names.size());
  for (const std::string& name : names) fields.push_back({name, ado_type::kVarWChar, 128, 0});
  return fields;
}

class FakeConnection final : public Connection {
 public:
  void Open(const std::string& text) override { connectionString = text; }
  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const override { return properties; }
  [[nodiscard]] std::string DefaultDatabase() const override { return defaultDatabase; }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema schema, const std::vector<Value>& restrictions) override {
    schemaRestrictions = restrictions;
    const auto found = schemas.find(schema);
    if (found == schemas.end()) throw Error(error_number::kGeneralFailure, "No such schema rowset");
    return found->second();
  }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenRecordSet(const std::string& sql, std::int32_t maxRecords) override {
    statements.push_back(sql);
    limits.push_back(maxRecords);
    return answer(sql);
  }

  std::string connectionString;
  std::vector<ConnectionProperty> properties;
  std::string defaultDatabase;
  std::map<Schema, std::function<std::shared_ptr<RecordSet>()>> schemas;
  std::vector<Value> schemaRestrictions;
  std::function<std::shared_ptr<RecordSet>(const std::string&)> answer = [](const std::string& sql) {
    throw Error(error_number::kGeneralFailure, "unexpected statement: " + sql);
    return std::shared_ptr<RecordSet>();
  };
  std::vector<std::string> statements;
  std::vector<std::int32_t> limits;
};

/// The identifier quotes that the products have.
inline std::pair<std::string, std::string> QuotesOf(DatabaseKind kind) {
  switch (kind) {
    case DatabaseKind::DbSqlServer:
    case DatabaseKind::DbAccess:
      return {"[", "]"};
    case DatabaseKind::DbMySql:
    case DatabaseKind::DbExcel:
      return {"`", "`"};
    default:
      return {"\"", "\""};
  }
}

/// Everything a handler borrows, for one product.
class FakeSession {
 public:
  explicit FakeSession(DatabaseKind kind = DatabaseKind::DbSqlServer) {
    state.ui = &ui;
    state.tracer = &tracer;
    state.components = &components;
    state.configFolder = folder.Path();
    state.programFolder = folder.Path();
    state.context = &context;
    session.connection = connection;
    Use(kind);
    std::tie(session.QuotePrefix, session.QuoteSuffix) = QuotesOf(kind);
    session.typeTable = CreateTypeTable(kind);
  }

  /// Lets the session be one of another product; quotes and type table stay.
  void Use(DatabaseKind kind) { session.dialect = &DialectOf(kind); }
  /// Makes the columns of a table known, as if it had been described already.
  void Describe(const std::string& table, const std::vector<Field>& fields) {
    for (const Field& field : fields) {
      session.fieldCache[table][field.name] = {field.name, field.definedSize, field.type};
    }
  }
  /// Starts a log in the session's folder, so that traces reach `ui.entries`.
  void StartLog() {
    auto log = std::make_unique<Log>();
    log->folder = folder.Path();
    tracer.SetLog(std::move(log));
  }
  [[nodiscard]] const std::string& LastStatement() const { return connection->statements.back(); }

  TemporaryFolder folder;
  RecordingUserInterface ui;
  Tracer tracer{ui};
  ComponentRegistry components;
  XmlDocument context;
  ProcessState state;
  std::shared_ptr<FakeConnection> connection = std::make_shared<FakeConnection>();
  DataSession session{state};
};

}  // namespace ods::test
