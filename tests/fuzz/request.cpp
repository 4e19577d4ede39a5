// Request documents through the dispatcher, on real connections: the driver manager and the stand-in driver behind it,
// one connection a product, opened once, with and without exact paging. The first byte chooses the connection (a digit,
// or a letter for exact paging), the rest is the document. Nothing of it may reach a statement, as the driver gets it,
// outside a literal or a quoted name.
#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <sqlite3.h>
#include <string>

#include "common/Error.h"
#include "common/Text.h"
#include "database/Response.h"
#include "exact/ExactSession.h"
#include "fuzz/Fuzz.h"
#include "platform/system/ReadFile.h"
#include "server/modConnect.h"
#include "server/modDispatch.h"
#include "support/MessageSchemas.h"
#include "support/SqlTokens.h"
#include "users/NavisionContext.h"

namespace ods::test {
namespace {

/// How the driver is told which product it stands in for; the folder holds the product's tables.
struct Product {
  DatabaseKind kind;
  const char* folder;
  const char* settings;
  bool exact = false;
};
/// MySQL is without exact paging alone: this would ask it for what the driver does not play.
constexpr std::array<Product, 17> kProducts = {{
    {DatabaseKind::DbUnknown, "0-unknown", "Product=Any"},
    {DatabaseKind::DbSqlServer, "1-sql-server", "Product=Microsoft SQL Server;DefaultDatabase=sales"},
    {DatabaseKind::DbAccess, "2-access", "Product=ACCESS;DefaultDatabase=/data/sales.mdb"},
    {DatabaseKind::DbNavision, "3-navision", "Product=Navision;DefaultDatabase=company;ScaleDecimals=1"},
    {DatabaseKind::DbConcorde, "4-concorde", "Product=Concorde"},
    {DatabaseKind::DbMySql, "5-mysql", "Product=MySQL;DefaultDatabase=sales"},
    {DatabaseKind::DbPervasive, "6-pervasive", "Product=Pervasive.SQL;DefaultDatabase=demo"},
    {DatabaseKind::DbExcel, "7-excel", "Product=EXCEL;DefaultDatabase=/data/sales"},
    {DatabaseKind::DbUnnamed, "8-unnamed", "Product="},
    {DatabaseKind::DbUnknown, "0-unknown", "Product=Any", true},
    {DatabaseKind::DbSqlServer, "1-sql-server", "Product=Microsoft SQL Server;DefaultDatabase=sales", true},
    {DatabaseKind::DbAccess, "2-access", "Product=ACCESS;DefaultDatabase=/data/sales.mdb", true},
    {DatabaseKind::DbNavision, "3-navision", "Product=Navision;DefaultDatabase=company;ScaleDecimals=1", true},
    {DatabaseKind::DbConcorde, "4-concorde", "Product=Concorde", true},
    {DatabaseKind::DbPervasive, "6-pervasive", "Product=Pervasive.SQL;DefaultDatabase=demo", true},
    {DatabaseKind::DbExcel, "7-excel", "Product=EXCEL;DefaultDatabase=/data/sales", true},
    {DatabaseKind::DbUnnamed, "8-unnamed", "Product=", true},
}};

/// What every product has besides its own tables: names and values that nothing promises to spare the server, under
/// the name that a product with schemas gives them too, and Navision's users.
constexpr const char* kMoreTables = R"(
CREATE TABLE "Odd" ("No" int NOT NULL PRIMARY KEY, "odd ""] [`' name" varchar(50), "Text" text, "Number" double,
  "Bytes" image, "Stamp" timestamp);
INSERT INTO "Odd" VALUES (1, 'it''s \', char(1, 9, 10, 13, 133, 55357), 9e999, X'00FF27', '2024-02-29 23:59:59');
INSERT INTO "Odd" VALUES (2, '', CAST(X'C3FF' AS TEXT), -1e308, X'', '9999-12-31 00:00:00');
INSERT INTO "Odd" VALUES (3, '|%_', replace(hex(zeroblob(2000)), '00', '<&'), 1e-320, NULL, 'never');
CREATE TABLE "dbo.Odd" AS SELECT * FROM "Odd";
CREATE TABLE "User" ("User ID" varchar(20) PRIMARY KEY, "Password" varchar(20), "Name" varchar(30));
CREATE TABLE "Member Of" ("User ID" varchar(20), "Role ID" varchar(20));
CREATE TABLE "User Role" ("Role ID" varchar(20) PRIMARY KEY, "Name" varchar(30));
CREATE TABLE "User Filter" ("User" varchar(20), "Customer No" varchar(20), "Level" int);
INSERT INTO "User" VALUES ('ANN', 'open sesame', 'Ann O''Hara'), ('BOB', 'it''s', 'Bob');
INSERT INTO "User Role" VALUES ('SUPER', 'Superuser'), ('BOSS''S', 'The boss''s');
INSERT INTO "Member Of" VALUES ('ANN', 'SUPER'), ('BOB', 'BOSS''S');
INSERT INTO "User Filter" VALUES ('ANN', '1000..1999', NULL);
)";

/// Views in both of their forms, with braces for the identifier quotes of the product.
constexpr const char* kViews = R"(<Views>
  <View><Id>derived</Id><Query>SELECT {No}, {Text}, {Number} FROM {Odd}</Query></View>
  <View><Id>macro</Id><Query subquery="no" where="1=1" orderby='{No} ASC'
    fields='{No}, {Text}'>SELECT {No}, {Text} FROM {Odd} WHERE (1=1) ORDER BY {No} ASC</Query></View>
</Views>)";

/// A data session as the server has it, and what reached the driver through it.
class ProductSession {
 public:
  explicit ProductSession(const Product& product) {
    MakeDatabase(ReadFileText(std::string(ODS_PRODUCTS_FOLDER "/") + product.folder + "/data.sql") + kMoreTables);
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/users.xml", folder_.Path() + "/users.xml");
    components_.Register("ADODB.Connection", CreateOdbcConnection);
    state_.ui = &ui_;
    state_.tracer = &tracer_;
    state_.components = &components_;
    state_.configFolder = folder_.Path();
    state_.programFolder = folder_.Path();
    state_.context = &context_;
    state_.exact = product.exact;
    database_ = ConnectDatabase(state_, "DRIVER=" ODS_PRODUCT_DRIVER ";Database=" + DatabaseFile() +
                                            ";StatementFile=" + StatementFile() + ";" + product.settings);
    const DataSession& session = *database_.session;
    Require(session.dialect->kind == product.kind, "the connection is the product's", product.folder);
    std::ofstream(folder_.Path() + "/views.xml")
        << ReplaceAll(ReplaceAll(kViews, "{", session.QuotePrefix), "}", session.QuoteSuffix);
  }

  /// The session as it is right after connecting, so that an input does the same every time.
  DataSession& Renewed() {
    std::ofstream(StatementFile(), std::ios::trunc).flush();
    state_.decimalFactor = 0;
    ui_.calls.clear();
    DataSession& session = *database_.session;
    session.fieldCache.clear();
    session.cache = CreateHalvikDictionary(components_);
    if (session.exact) session.exact->tables.clear();
    return session;
  }
  /// The statements that reached the driver since then, one a line.
  [[nodiscard]] std::string Statements() const { return ReadFileText(StatementFile()); }

 private:
  [[nodiscard]] std::string DatabaseFile() const { return folder_.Path() + "/product.db"; }
  [[nodiscard]] std::string StatementFile() const { return folder_.Path() + "/statements.sql"; }
  void MakeDatabase(const std::string& script) const {
    sqlite3* handle = nullptr;
    Require(sqlite3_open(DatabaseFile().c_str(), &handle) == SQLITE_OK, "the database opens");
    const std::string quickly = "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; " + script;
    Require(sqlite3_exec(handle, quickly.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK, "the tables are made",
            sqlite3_errmsg(handle));
    sqlite3_close(handle);
  }

  TemporaryFolder folder_;
  RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  ComponentRegistry components_;
  XmlDocument context_{kNavisionContext};
  ProcessState state_;
  Database database_;
};

/// "0" is the first, "a" the first with exact paging.
std::size_t NumberOf(std::uint8_t byte) {
  constexpr std::size_t kPlain = 9;
  if (byte >= 'a') return kPlain + (byte - 'a') % (kProducts.size() - kPlain);
  return (byte + kPlain - '0' % kPlain) % kPlain;
}

ProductSession& SessionOf(std::size_t number) {
  static std::array<std::unique_ptr<ProductSession>, kProducts.size()> sessions;
  if (!sessions[number]) sessions[number] = std::make_unique<ProductSession>(kProducts[number]);
  return *sessions[number];
}

void CheckStatements(const std::string& statements, const DataSession& session) {
  // What the views, a flow filter without a value, the probe of a decimal number and the users of Navision bring along.
  constexpr auto kMore =
      std::to_array<std::string_view>({"ASC", "flowfilter", "Integer", "Number", "as", "UPDATE", "SET", "userid",
                                       "userpassword", "username", "roleid", "rolename"});
  constexpr auto kExact = std::to_array<std::string_view>(
      {"ASC",          "flowfilter", "Integer", "Number",   "as",   "UPDATE", "SET",  "userid",
       "userpassword", "username",   "roleid",  "rolename", "IN",   "NOT",    "IS",   "NULL",
       "ESCAPE",       "CASE",       "WHEN",    "THEN",     "ELSE", "END",    "COUNT"});
  const auto words = session.exact ? std::span<const std::string_view>(kExact) : kMore;
  for (std::size_t begin = 0; begin < statements.size();) {
    const std::size_t end = statements.find('\n', begin);
    const std::string_view sql = std::string_view(statements).substr(begin, end - begin);
    SqlTokens tokens(sql, session.QuotePrefix.front(), session.QuoteSuffix.front(), words);
    Require(!tokens.FirstForeignText(), "only the server's own text stands outside literals and names", sql);
    begin = end == std::string::npos ? statements.size() : end + 1;
  }
}

}  // namespace
}  // namespace ods::test

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ods::test;
  if (size == 0) return 0;
  ProductSession& product = SessionOf(NumberOf(data[0]));
  ods::DataSession& session = product.Renewed();
  const ods::XmlDocument request(InputText(data + 1, size - 1));
  const std::string type = GetNodeText(request, "/XML/Type");
  ods::XmlDocument response;
  try {
    DispatchRequest(type, request, response, &session, &ods::FindHandler);
  } catch (const ods::Error& error) {
    FillErrorDocument(response, error.Number(), error.Description());
  }
  StampResponse(response, "0A1B2C3D-0000-4000-8000-000000000001");
  const std::string fault = FaultOfResponse(response.Xml(), type, session.exact != nullptr);
  Require(fault.empty(), "every response is valid", fault);
  CheckStatements(product.Statements(), session);
  return 0;
}
