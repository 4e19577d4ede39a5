#include "server/modConnect.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "doubles/ServerDoubles.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::_;
using testing::ElementsAre;

class ConnectTest : public testing::Test {
 protected:
  ConnectTest() {
    auto log = std::make_unique<Log>();
    log->folder = folder_.Path();
    tracer_.SetLog(std::move(log));
    process_.ui = &ui_;
    process_.tracer = &tracer_;
    process_.components = &components_;
    test::RegisterDoubles(components_, queues_, script_);
  }

  void SetName(const std::string& name) { script_.properties.front() = {"DBMS Name", name}; }
  [[nodiscard]] DatabaseKind KindOf(const std::string& name, const std::string& defaultDatabase = "") {
    SetName(name);
    script_.defaultDatabase = defaultDatabase;
    return DetectDatabaseKind(test::ScriptedConnection(script_));
  }
  [[nodiscard]] Database Connect() { return ConnectDatabase(process_, "DSN=test;PWD=secret"); }
  [[nodiscard]] std::string CatalogOf(const std::string& catalog, DatabaseKind kind) {
    script_.properties = {{"Current Catalog", catalog}};
    return GetCurrentCatalog(test::ScriptedConnection(script_), DialectOf(kind));
  }

  test::TemporaryFolder folder_;
  test::RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  ComponentRegistry components_;
  test::QueueScript queues_;
  test::DatabaseScript script_;
  ProcessState process_;
};

TEST_F(ConnectTest, TheProductIsKnownByItsName) {
  EXPECT_EQ(KindOf("Microsoft SQL Server"), DatabaseKind::DbSqlServer);
  EXPECT_EQ(KindOf("MS Jet"), DatabaseKind::DbAccess);
  EXPECT_EQ(KindOf("ACCESS"), DatabaseKind::DbAccess);
  EXPECT_EQ(KindOf("MySQL"), DatabaseKind::DbMySql);
  EXPECT_EQ(KindOf("Concorde XAL"), DatabaseKind::DbConcorde);
  EXPECT_EQ(KindOf("My navision 3.0"), DatabaseKind::DbNavision);
  EXPECT_EQ(KindOf("Pervasive.SQL"), DatabaseKind::DbPervasive);
  EXPECT_EQ(KindOf("EXCEL"), DatabaseKind::DbExcel);
  EXPECT_EQ(KindOf("SQLite"), DatabaseKind::DbUnknown);
}

TEST_F(ConnectTest, AMicrosoftSqlServerWithAVersionNumberInItsNameIsUnknown) {
  for (const char* name : {"Microsoft SQL Server 2019", "Microsoft SQL Server 15", "microsoft sql server"}) {
    EXPECT_EQ(KindOf(name), DatabaseKind::DbUnknown) << name;
  }
}

TEST_F(ConnectTest, AnyNameThatContainsNavisionInAnyCaseIsNavision) {
  for (const char* name : {"navision", "NAVISION", "Company NaviSion 3", "xnavisionx"}) {
    EXPECT_EQ(KindOf(name), DatabaseKind::DbNavision) << name;
  }
}

TEST_F(ConnectTest, AnyNameThatContainsConcordeInAnyCaseIsConcorde) {
  for (const char* name : {"concorde", "My CONCORDE 2"}) EXPECT_EQ(KindOf(name), DatabaseKind::DbConcorde) << name;
}

TEST_F(ConnectTest, EveryOtherNameIsExact) {
  for (const char* name : {"MS JET", "Access", "ACCESS 97", "mysql", "MySQL 8", "pervasive.sql", "Excel", " EXCEL"}) {
    EXPECT_EQ(KindOf(name), DatabaseKind::DbUnknown) << name;
  }
}

TEST_F(ConnectTest, TheFirstRuleThatMatchesWins) { EXPECT_EQ(KindOf("Navision Concorde"), DatabaseKind::DbConcorde); }

TEST_F(ConnectTest, ADatabaseWithoutANameIsKnownByItsDefaultDatabase) {
  EXPECT_EQ(KindOf("", "CRONUS"), DatabaseKind::DbNavision);
  EXPECT_EQ(KindOf("", ""), DatabaseKind::DbUnnamed);
  script_.properties.clear();
  EXPECT_EQ(DetectDatabaseKind(test::ScriptedConnection(script_)), DatabaseKind::DbUnnamed);
}

TEST_F(ConnectTest, AConnectTracesEachStepAndTheConnectionString) {
  const Database database = Connect();
  EXPECT_THAT(ui_.entries, ElementsAre("Connect to database: DSN=test;PWD=secret", "Get database information",
                                       "Property: DBMS Name=SQLite", "Property: Current Catalog=main"));
  EXPECT_THAT(script_.opened, ElementsAre("DSN=test;PWD=secret"));
}

TEST_F(ConnectTest, AConnectFillsTheSession) {
  SetName("MySQL");
  const Database database = Connect();
  ASSERT_NE(database.session, nullptr);
  const DataSession& session = *database.session;
  EXPECT_EQ(session.dialect->kind, DatabaseKind::DbMySql);
  EXPECT_EQ(session.process, &process_);
  EXPECT_FALSE(session.typeTable.empty());
  EXPECT_EQ(session.providerTypes->Keys(), (std::vector<std::string>{"integer"}));
  ASSERT_NE(session.cache, nullptr);
  EXPECT_EQ(session.cache->Count(), 0U);
  EXPECT_EQ(session.navisionOnSqlServer, "0");
}

TEST_F(ConnectTest, EveryConnectHasACacheOfItsOwn) {
  Database first = Connect();
  first.session->cache->Set("key", "value");
  first = Database();
  EXPECT_EQ(Connect().session->cache->Count(), 0U);
}

TEST_F(ConnectTest, EveryConnectHasAFieldCacheOfItsOwn) {
  Database first = Connect();
  first.session->fieldCache["[TABLE]t"] = {};
  first = Database();
  EXPECT_TRUE(Connect().session->fieldCache.empty());
}

TEST_F(ConnectTest, QuotesComeFromTheLiterals) {
  script_.literals = {{"QUOTE", "["}, {"QUOTE_SUFFIX", "]"}};
  const Database database = Connect();
  EXPECT_EQ(database.session->QuotePrefix, "[");
  EXPECT_EQ(database.session->QuoteSuffix, "]");
}

TEST_F(ConnectTest, AMissingLiteralLeavesItsQuoteEmpty) {
  script_.literals = {{"QUOTE_SUFFIX", "]"}};
  const Database database = Connect();
  EXPECT_EQ(database.session->QuotePrefix, "");
  EXPECT_EQ(database.session->QuoteSuffix, "]");
}

TEST_F(ConnectTest, NavisionAndUnnamedDatabasesQuoteAnyway) {
  for (const char* name : {"Navision", ""}) {
    SetName(name);
    script_.literals = {{"QUOTE_SUFFIX", "]"}};
    const Database database = Connect();
    EXPECT_EQ(database.session->QuotePrefix, "\"");
    EXPECT_EQ(database.session->QuoteSuffix, "\"");
  }
}

TEST_F(ConnectTest, ADriverThatTellsNeitherNameNorDefaultDatabaseIsUnnamedAndQuotes) {
  SetName("");
  script_.defaultDatabase = "";
  script_.literals.clear();
  const Database database = Connect();
  EXPECT_EQ(database.session->dialect->kind, DatabaseKind::DbUnnamed);
  EXPECT_EQ(database.session->QuotePrefix, "\"");
  EXPECT_EQ(database.session->QuoteSuffix, "\"");
}

TEST_F(ConnectTest, NavisionKeepsTheQuotesThatItTells) {
  SetName("Navision");
  script_.literals = {{"QUOTE", "`"}};
  const Database database = Connect();
  EXPECT_EQ(database.session->QuotePrefix, "`");
  EXPECT_EQ(database.session->QuoteSuffix, "");
}

TEST_F(ConnectTest, ASqlServerWithTheNavisionTableIsANavisionOne) {
  SetName("Microsoft SQL Server");
  script_.tables = {{"main", "dbo", "$ndo$dbproperty", "TABLE"}};
  EXPECT_EQ(Connect().session->navisionOnSqlServer, "1");
  EXPECT_THAT(script_.tableRestrictions, testing::Contains(Value("$ndo$dbproperty")));
  script_.tables.clear();
  EXPECT_EQ(Connect().session->navisionOnSqlServer, "0");
}

TEST_F(ConnectTest, NoOtherProductIsAskedForTheNavisionTable) {
  script_.tables = {{"main", "dbo", "$ndo$dbproperty", "TABLE"}};
  EXPECT_EQ(Connect().session->navisionOnSqlServer, "0");
  EXPECT_THAT(script_.schemas, testing::Not(testing::Contains(Schema::kTables)));
}

TEST_F(ConnectTest, AFailedOpenIsRaisedAndLeavesNothingOpen) {
  script_.openFailures.emplace_back(Error(-2147217843, "Login failed"));
  EXPECT_RAISES(Connect(), -2147217843, "Login failed");
  EXPECT_EQ(script_.alive, 0);
}

TEST_F(ConnectTest, AFailedLookUpLeavesNothingOpen) {
  script_.schemaFailures.emplace_back(Error(error_number::kGeneralFailure, "no types"));
  EXPECT_RAISES(Connect(), _, "no types");
  EXPECT_EQ(script_.alive, 0);
}

TEST_F(ConnectTest, WithoutTheComponentThereIsNoConnection) {
  ComponentRegistry empty;
  process_.components = &empty;
  EXPECT_RAISES(Connect(), error_number::kCannotCreate, "Error creating object: ADODB.Connection");
}

TEST_F(ConnectTest, TheCatalogueOfAWorkbookHasAFileExtension) {
  EXPECT_EQ(CatalogOf("sales", DatabaseKind::DbSqlServer), "sales");
  EXPECT_EQ(CatalogOf("C:\\data.d\\Book", DatabaseKind::DbExcel), "C:\\data.d\\Book.xls");
  EXPECT_EQ(CatalogOf("/data.d/Book", DatabaseKind::DbExcel), "/data.d/Book.xls");
  EXPECT_EQ(CatalogOf("/data/Book.xlsx", DatabaseKind::DbExcel), "/data/Book.xlsx");
  EXPECT_EQ(CatalogOf("", DatabaseKind::DbExcel), "");
}

class WorkbookTest : public ConnectTest {
 protected:
  WorkbookTest() {
    SetName("EXCEL");
    script_.properties[1] = {"Current Catalog", folder_.Path() + "/Book"};
  }
  void SaveWorkbook(const std::string& content) const {
    std::ofstream(path_) << content;
    // Whatever the resolution of the file system's clock: a save is a later time.
    std::filesystem::last_write_time(path_,
                                     std::filesystem::file_time_type::clock::now() + std::chrono::seconds(saves_));
    ++saves_;
  }

  std::string path_ = folder_.Path() + "/Book.xls";
  mutable int saves_ = 1;
};

TEST_F(WorkbookTest, AWorkbookHasChangedOnceItIsSaved) {
  SaveWorkbook("1");
  const Database database = Connect();
  EXPECT_FALSE(ExcelWorkbookChanged(database));
  SaveWorkbook("2");
  EXPECT_TRUE(ExcelWorkbookChanged(database));
}

TEST_F(WorkbookTest, AWorkbookThatIsNotThereHasNotChanged) {
  const Database database = Connect();
  EXPECT_FALSE(ExcelWorkbookChanged(database));
}

TEST_F(WorkbookTest, OnlyExcelDatabasesHaveAWorkbook) {
  SetName("SQLite");
  SaveWorkbook("1");
  const Database database = Connect();
  SaveWorkbook("2");
  EXPECT_FALSE(ExcelWorkbookChanged(database));
  EXPECT_FALSE(ExcelWorkbookChanged(Database()));
}

TEST_F(WorkbookTest, AWorkbookWithoutAPathHasNotChanged) {
  script_.properties[1] = {"Current Catalog", ""};
  EXPECT_FALSE(ExcelWorkbookChanged(Connect()));
}

}  // namespace
}  // namespace ods
