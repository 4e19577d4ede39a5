#include "server/modConnect.h"

#include <string_view>
#include <utility>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "exact/ExactSession.h"
#include "platform/system/System.h"
#include "sqlformat/modTypes.h"

namespace ods {

namespace {

struct ConnectionFacts {
  std::string name;
  std::string upperName;
  std::string defaultDatabase;
};

struct KindRule {
  DatabaseKind kind;
  bool (*matches)(const ConnectionFacts& facts);
};

bool Contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

/// The first rule that matches decides.
constexpr KindRule kKindRules[] = {
    {DatabaseKind::DbSqlServer, [](const ConnectionFacts& f) { return f.name == "Microsoft SQL Server"; }},
    {DatabaseKind::DbAccess, [](const ConnectionFacts& f) { return f.name == "MS Jet" || f.name == "ACCESS"; }},
    {DatabaseKind::DbMySql, [](const ConnectionFacts& f) { return f.name == "MySQL"; }},
    {DatabaseKind::DbConcorde, [](const ConnectionFacts& f) { return Contains(f.upperName, "CONCORDE"); }},
    {DatabaseKind::DbNavision,
     [](const ConnectionFacts& f) {
       return Contains(f.upperName, "NAVISION") || (f.name.empty() && !f.defaultDatabase.empty());
     }},
    {DatabaseKind::DbUnnamed, [](const ConnectionFacts& f) { return f.name.empty() && f.defaultDatabase.empty(); }},
    {DatabaseKind::DbPervasive, [](const ConnectionFacts& f) { return f.name == "Pervasive.SQL"; }},
    {DatabaseKind::DbExcel, [](const ConnectionFacts& f) { return f.name == "EXCEL"; }},
};

bool HasFileExtension(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  const std::string_view name = separator == std::string_view::npos ? path : path.substr(separator + 1);
  return name.find('.') != std::string_view::npos;
}

/// The path of the workbook of an Excel database, "" for every other one.
std::string WorkbookPath(const DataSession& session) {
  return session.dialect->isWorkbook ? GetCurrentCatalog(*session.connection, *session.dialect) : "";
}

/// The "LiteralValue" of an entry of the literals; "" when there is none.
std::string LiteralValue(const DataSession& session, const char* literal) {
  const Value literals = std::shared_ptr<Object>(session.literals);
  return SafeStr(GetValueByPath(literals, {Value(literal), Value("LiteralValue")}));
}

void SetQuoteCharacters(DataSession& session) {
  session.QuotePrefix = LiteralValue(session, "QUOTE");
  session.QuoteSuffix = LiteralValue(session, "QUOTE_SUFFIX");
  const std::string_view fallback = session.dialect->quoteWhereNoneIsTold;
  if (session.QuotePrefix.empty() && !fallback.empty()) {
    session.QuotePrefix = fallback;
    session.QuoteSuffix = fallback;
  }
}

bool IsNavisionOnSqlServer(const DataSession& session) {
  return session.dialect->mayHoldNavision && TableExists(session, "$ndo$dbproperty");
}

void ReadDatabaseInformation(DataSession& session) {
  session.Trace("Get database information");
  for (const ConnectionProperty& property : session.connection->Properties()) {
    session.Trace("Property: " + property.name + "=" + property.value);
  }
  session.dialect = &DialectOf(DetectDatabaseKind(*session.connection));
  session.typeTable = CreateTypeTable(session.dialect->kind);
  session.providerTypes = GetProviderTypes(session);
  session.literals = GetLiterals(session);
  SetQuoteCharacters(session);
  session.navisionOnSqlServer = IsNavisionOnSqlServer(session) ? "1" : "0";
}

}  // namespace

DatabaseKind DetectDatabaseKind(const Connection& connection) {
  const std::string name = connection.Property("DBMS Name");
  const ConnectionFacts facts = {name, ToUpper(name), connection.DefaultDatabase()};
  for (const KindRule& rule : kKindRules) {
    if (rule.matches(facts)) return rule.kind;
  }
  return DatabaseKind::DbUnknown;
}

std::string GetCurrentCatalog(const Connection& connection, const Dialect& dialect) {
  std::string catalog = connection.Property("Current Catalog");
  if (dialect.isWorkbook && !catalog.empty() && !HasFileExtension(catalog)) catalog += ".xls";
  return catalog;
}

Database ConnectDatabase(ProcessState& process, const std::string& connectionString, bool again) {
  Database database;
  auto session = std::make_unique<DataSession>(process);
  session->cache = CreateHalvikDictionary(*process.components);
  if (!again) session->Trace("Connect to database: " + connectionString);
  session->connection = CreateObjectChecked<Connection>(*process.components, "ADODB.Connection");
  session->connection->SetLimits(process.limits);
  session->connection->Open(connectionString);
  ReadDatabaseInformation(*session);
  if (process.exact) OpenExactSession(*session);
  const std::string workbook = WorkbookPath(*session);
  if (!workbook.empty()) database.workbookStamp = FileModificationStamp(workbook);
  database.session = std::move(session);
  return database;
}

bool ExcelWorkbookChanged(const Database& database) {
  if (!database.session) return false;
  const std::string workbook = WorkbookPath(*database.session);
  return !workbook.empty() && FileModificationStamp(workbook) != database.workbookStamp;
}

}  // namespace ods
