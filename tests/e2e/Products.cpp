// Every database product, as the stand-in driver plays it: whole exchanges with the real executable, compared with the
// transcripts under products/.
//
// An exchange is the request, the statements that reached the driver, each behind the number of rows that it may give
// where it has one, and the response. A product's stand in one file (support/Transcript.h), in the order in which they
// are run on one server. With ODS_TEST_REWRITE=1 in the environment the files are written anew, to be read before they
// are kept.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <thread>

#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/system/ReadFile.h"
#include "support/Transcript.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;

/// One product and what is asked of it.
struct ProductCase {
  std::string folder;                ///< under products/
  std::string data = {};             ///< the folder whose data it has, where that is another one
  std::string name;                  ///< the DBMS name
  std::string settings;              ///< more of the connection string
  std::string table;                 ///< table identifier
  std::string log;                   ///< a table without indexes
  std::string key;                   ///< the column of the primary key
  bool givesKey = false;             ///< the client must name the key
  std::vector<std::string> fields;   ///< the columns of the form
  std::vector<std::string> filters;  ///< field, operator and value of each condition, one after the other
  std::vector<std::string> dates;    ///< the same of conditions that few rows meet
};

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + EscapeXml(text) + "</" + name + ">";
}

std::string Filter(const std::vector<std::string>& conditions) {
  std::string text;
  for (std::size_t i = 0; i + 2 < conditions.size(); i += 3) {
    text += "<Condition>" + Element("FieldId", conditions[i]) + Element("FilterOp", conditions[i + 1]) +
            Element("Filter", conditions[i + 2]) + "</Condition>";
  }
  return "<Filter>" + text + "</Filter>";
}

std::string Fields(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += "<Field>" + Element("Id", name) + "</Field>";
  return "<Fields>" + text + "</Fields>";
}

/// Line breaks before the elements that begin something, so that a file can be read and compared by lines.
std::string InLines(std::string text) {
  for (const char* element : {"<Table>",       "<Field>",       "<Key>",         "<ChoosePrimary>", "<FirstPosition",
                              "<LastPosition", "<HasNextPage>", "<Columns",      "<Column>",        "<Records",
                              "<R>",           "<V ",           "<DataSession>", "<Message>",       "<Fields",
                              "<Filter>",      "<Condition>",   "<FirstPos>",    "<LastPos>",       "<SearchFields>",
                              "<Navigate",     "</XML>"}) {
    text = ReplaceAll(text, element, std::string("\n") + element);
  }
  return text + "\n";
}

/// The stand-in for a product with the data of its folder.
std::unique_ptr<StandIn> StandInFor(const ProductCase& product, const std::string& more = "") {
  const std::string folder =
      std::string(ODS_PRODUCTS_FOLDER) + "/" + (product.data.empty() ? product.folder : product.data);
  auto standIn = std::make_unique<StandIn>(product.name, product.settings);
  standIn->Run(ReadFileText(folder + "/data.sql"));
  std::filesystem::copy(folder + "/views.xml", standIn->Folders().Config() + "/views.xml");
  standIn->Connect(";ShowMaxRows=1" + more);
  return standIn;
}

/// Runs exchanges one after the other and compares each with the product's transcript.
class Exchanges {
 public:
  explicit Exchanges(const ProductCase& product)
      : product_(product), standIn_(StandInFor(product)), server_(standIn_->Folders()), client_(standIn_->Folders()) {
    if (!Rewrites()) kept_ = ReadTranscript(ReadFileText(File()));
  }

  /// Sends a request; `title` tells what it is.
  void Run(const std::string& title, const Message& request) {
    SCOPED_TRACE(product_.folder + ": " + title);
    const XmlDocument response = client_.AskDocument(request);
    answers_[title] = {GetNodeText(response, "/XML/FirstPosition"), GetNodeText(response, "/XML/LastPosition")};
    XmlDocument fixed;
    ASSERT_TRUE(fixed.LoadXML(response.Xml()));
    fixed.SelectSingleNode("/XML/DataSession").SetText("SESSION");
    done_.push_back({title, InLines(request.text), standIn_->NewStatements(), InLines(fixed.Xml())});
    if (!Rewrites()) Compare(done_.back());
  }

  /// A page of the product's table, with the key where the client must name it.
  void Page(const std::string& name, const std::string& elements) {
    PageOf(name, product_.table, elements, product_.fields);
  }
  void PageOf(const std::string& name, const std::string& table, const std::string& elements,
              const std::vector<std::string>& fields, bool givesKey = false) {
    Run(name, RequestFor(table, elements, fields, givesKey));
  }
  [[nodiscard]] std::string RequestFor(const std::string& table, const std::string& elements,
                                       const std::vector<std::string>& fields, bool givesKey = false) const {
    std::string text = Element("TableId", table) + Element("PageSize", "2");
    if (givesKey || product_.givesKey) text += Element("PrimaryKey", product_.key);
    return Request("TableData", text + elements + Fields(fields));
  }
  /// The positions of an earlier page, as a client sends them back.
  [[nodiscard]] std::string From(const std::string& name, const std::string& navigate) const {
    const auto& [first, last] = answers_.at(name);
    return Element("Navigate", navigate) + Element("FirstPos", first) + Element("LastPos", last);
  }
  void Stop() {
    EXPECT_EQ(server_.Stop(), 0);
    if (Rewrites()) {
      WriteTextFile(File(), WriteTranscript(done_));
    } else {
      EXPECT_EQ(kept_.size(), done_.size()) << "exchanges of the transcript that were not run";
    }
  }

 private:
  static bool Rewrites() { return std::getenv("ODS_TEST_REWRITE") != nullptr; }
  [[nodiscard]] std::string File() const {
    return std::string(ODS_PRODUCTS_FOLDER) + "/" + product_.folder + "/exchanges.txt";
  }
  /// Compares an exchange with the one that has its place in the transcript.
  void Compare(const Exchange& exchange) const {
    ASSERT_LE(done_.size(), kept_.size()) << "the transcript has no more exchanges";
    const Exchange& kept = kept_[done_.size() - 1];
    EXPECT_EQ(kept.title, exchange.title);
    EXPECT_EQ(kept.request, exchange.request);
    EXPECT_EQ(kept.statements, exchange.statements);
    EXPECT_EQ(kept.response, exchange.response);
  }

  const ProductCase& product_;
  std::unique_ptr<StandIn> standIn_;
  ServerProcess server_;
  QueueClient client_;
  std::vector<Exchange> kept_;  ///< as the transcript has them
  std::vector<Exchange> done_;
  std::map<std::string, std::pair<std::string, std::string>> answers_;
};

const std::vector<ProductCase>& Cases() {
  static const std::vector<ProductCase> cases = {
      {.folder = "0-unknown",
       .name = "Microsoft SQL Server 2019",
       .settings = "",
       .table = "[TABLE]Customer",
       .log = "[TABLE]Log",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Created", "Modified", "Opens", "Code"},
       .filters = {"City", "eq", "Oslo|Rome", "Balance", "gteq", "2.5", "Blocked", "eq", "0", "Code", "not", "FF|00"},
       .dates = {"Created", "gt", "2024-01-31", "Modified", "lteq", "2024-03-01 12:00:00", "Opens", "not", "08:00:00"}},
      {.folder = "1-sql-server",
       .name = "Microsoft SQL Server",
       .settings = ";DefaultDatabase=sales",
       .table = "[TABLE][dbo].[Customer]",
       .log = "[TABLE][dbo].[Log]",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Created", "Modified", "Opens", "Code", "Id", "Term"},
       .filters = {"City", "eq", "Oslo|Rome", "Balance", "lt", "2.5", "Blocked", "eq", "0|1", "Id", "eq",
                   "{0A1B2C3D-0000-4000-8000-000000000004}"},
       .dates = {"Created", "gt", "2024-01-31", "Modified", "lteq", "2024-02-29 23:59:59", "Code", "eq",
                 "0A1B0001|0a1b0002"}},
      {.folder = "2-access",
       .name = "ACCESS",
       .settings = ";DefaultDatabase=/data/sales.mdb",
       .table = "[TABLE]Customer",
       .log = "[TABLE]Log",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Modified", "Code", "Id"},
       .filters = {"City", "like", "%o%", "Balance", "gt", "-1250", "Blocked", "eq", "1"},
       .dates = {"Modified", "gteq", "2024-02-29 23:59:59", "Id", "not", "{0A1B2C3D-0000-4000-8000-000000000004}",
                 "Code", "eq", "0A1B0002|FF000000"}},
      {.folder = "3-navision",
       .name = "Company NaviSion 3",
       .settings = ";DefaultDatabase=company;ScaleDecimals=1",
       .table = "[TABLE]Customer",
       .log = "[TABLE]G_L_Entry",
       .key = "No_",
       .fields = {"No_", "Name", "City", "Blocked", "Created_Date", "Opens", "Balance"},
       .filters = {"City", "not", "Rome|", "Name", "eq", "{curly}|Ann", "Blocked", "eq", "0"},
       .dates = {"Created_Date", "gteq", "2024-02-29", "No_", "lt", "C50000"}},
      {.folder = "3-navision-without-name",
       .data = "3-navision",
       .name = "",
       .settings = ";DefaultDatabase=company",
       .table = "[TABLE]Customer",
       .log = "[TABLE]G_L_Entry",
       .key = "No_",
       .fields = {"No_", "Name", "Balance"},
       .filters = {"Name", "not", "{curly}|Ann", "Blocked", "eq", "0"},
       .dates = {"Created_Date", "gteq", "2024-02-29"}},
      {.folder = "4-concorde",
       .name = "My Concorde 2",
       .settings = "",
       .table = "[TABLE]Customer",
       .log = "[TABLE]Log",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Created"},
       .filters = {"City", "eq", "Oslo|Rome", "Balance", "gt", "2", "Name", "gteq", "O'Brien"},
       .dates = {"Created", "gt", "2024-02-01", "Balance", "lt", "1"}},
      {.folder = "5-mysql",
       .name = "MySQL",
       .settings = ";DefaultDatabase=sales",
       .table = "[TABLE]Customer",
       .log = "[TABLE]Log",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Created", "Modified", "Opens", "Code"},
       .filters = {"City", "eq", "Oslo|Rome", "Name", "not", "C:\\", "Balance", "lteq", "2.5"},
       .dates = {"Created", "gt", "2024-01-31", "Modified", "lteq", "2024-03-01 12:00:00", "Code", "eq",
                 "0A1B0002|FF"}},
      {.folder = "6-pervasive",
       .name = "Pervasive.SQL",
       .settings = ";DefaultDatabase=demo",
       .table = "[TABLE]Customer",
       .log = "[TABLE]Log",
       .key = "No",
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Created", "Modified", "Opens", "Code", "Id", "Mark"},
       .filters = {"Id", "eq", "00000000000000000000000000001E10|a0000000000000000000000000000004", "Mark", "gteq",
                   "0A02", "Blocked", "not", "1"},
       .dates = {"Code", "eq", "0A1B0002|FF", "Created", "lteq", "2024-02-29"}},
      {.folder = "7-excel",
       .name = "EXCEL",
       .settings = ";DefaultDatabase=/data/sales",
       .table = "[TABLE]Customer$",
       .log = "[TABLE]Log",
       .key = "No",
       .givesKey = true,
       .fields = {"No", "Name", "City", "Balance", "Blocked", "Modified"},
       .filters = {"City", "eq", "Oslo|Rome", "No", "not", "2", "Blocked", "eq", "1"},
       .dates = {"Modified", "gteq", "2024-02-29 23:59:59", "Balance", "lt", "0"}},
      {.folder = "8-unnamed",
       .name = "",
       .settings = "",
       .table = "[TABLE]Customer_Card",
       .log = "[TABLE]Log",
       .key = "No_",
       .fields = {"No_", "Name", "City", "Balance", "Blocked", "Created"},
       .filters = {"City", "eq", "Oslo|", "Name", "not", "{curly}", "Blocked", "eq", "0"},
       .dates = {"Created", "gteq", "2024-02-29", "No_", "gt", "3"}},
  };
  return cases;
}

std::string Search(const std::string& text, const std::string& field) {
  return Element("SearchString", text) + "<SearchFields><Field>" + Element("Id", field) +
         Element("SearchString", "%{0}%") + "</Field></SearchFields>";
}

/// The catalogue.
void RunCatalogue(Exchanges& exchanges, const ProductCase& product) {
  const std::string table = Element("TableId", product.table);
  exchanges.Run("table-list", Request("TableList"));
  exchanges.Run("field-list", Request("FieldList", table));
  exchanges.Run("key-list", Request("KeyList", table));
  exchanges.Run("primary-key", Request("PrimaryKey", table));
  exchanges.Run("primary-key-constructed", Request("PrimaryKey", Element("TableId", product.log)));
  exchanges.Run("field-list-of-view", Request("FieldList", Element("TableId", "[APPVIEW]fixed")));
}

/// Every way through the table.
void RunNavigation(Exchanges& exchanges) {
  exchanges.Page("first", Element("Navigate", "gotofirst"));
  exchanges.Page("next", exchanges.From("first", "gotonext"));
  exchanges.Page("previous", exchanges.From("next", "gotoprev"));
  exchanges.Page("again", exchanges.From("next", ""));
  exchanges.Page("last", Element("Navigate", "gotolast"));
  exchanges.Page("beyond-last", exchanges.From("last", "gotonext"));
  exchanges.Page("before-first", exchanges.From("first", "gotoprev"));
}

void RunOrderAndConditions(Exchanges& exchanges, const ProductCase& product) {
  const std::string down = Element("SortColumn", "Name") + Element("SortDirection", "desc");
  exchanges.Page("sorted-down", down + Element("Navigate", "gotofirst"));
  exchanges.Page("sorted-down-next", down + exchanges.From("sorted-down", "gotonext"));
  exchanges.Page("sorted-down-previous", down + exchanges.From("sorted-down-next", "gotoprev"));
  exchanges.Page("filtered", Filter(product.filters));
  exchanges.Page("filtered-by-date", Filter(product.dates));
  exchanges.Page("searched", Search("S", "Name"));
  exchanges.Page("filtered-searched-sorted",
                 Filter({"Name", "gt", "A"}) + Search("n", "Name") + Element("SortColumn", "Name"));
  exchanges.Run("unknown-operator",
                Malformed(exchanges.RequestFor(product.table, Filter({"Name", "between", "a"}), product.fields)));
}

void RunViews(Exchanges& exchanges, const ProductCase& product) {
  const std::vector<std::string> fields = {product.key, "Name", "Balance"};
  const std::string sorted = Element("SortColumn", "Name");
  const std::string some = Filter({"Name", "not", "Ann"});
  exchanges.PageOf("derived-first", "[APPVIEW]derived", sorted + some, fields, true);
  exchanges.PageOf("derived-next", "[APPVIEW]derived", sorted + some + exchanges.From("derived-first", "gotonext"),
                   fields, true);
  exchanges.PageOf("macro-first", "[APPVIEW]macro", sorted + some, fields, true);
  exchanges.PageOf("macro-next", "[APPVIEW]macro", sorted + some + exchanges.From("macro-first", "gotonext"), fields,
                   true);
  exchanges.PageOf("macro-fixed-fields", "[APPVIEW]fixed", sorted + some, {product.key, "Name"}, true);
}

/// A name that begins with a bracket: one of one to three bracketed parts stands as it is, any other is one name.
void RunBracketedNames(Exchanges& exchanges) {
  const auto fieldList = [&](const std::string& name, const std::string& table) {
    exchanges.Run("field-list-of-" + name, Request("FieldList", Element("TableId", "[TABLE]" + table)));
  };
  fieldList("one-bracketed-part", "[Customer]");
  fieldList("three-bracketed-parts", "[archive].[dbo].[Customer]");
  fieldList("four-bracketed-parts", "[a].[archive].[dbo].[Customer]");
  fieldList("doubled-bracket", "[sales].[Order]]s]");
  fieldList("bracket-that-is-not-doubled", "[sales].[Order]s]");
  fieldList("bracket-that-is-not-closed", "[Customer");
  fieldList("empty-brackets", "[].[Customer]");
  fieldList("text-behind-brackets", "[Customer]; SELECT 1 --");
  fieldList("text-between-brackets", "[dbo]. [Customer]");
}

/// Decimals that the driver hands out multiplied.
void RunDecimals(Exchanges& exchanges) {
  const std::string sorted = Element("SortColumn", "Balance") + Filter({"Balance", "gt", "-1240"});
  exchanges.Page("sorted-by-decimals", sorted);
  exchanges.Page("sorted-by-decimals-next", sorted + exchanges.From("sorted-by-decimals", "gotonext"));
  exchanges.Page("sorted-by-decimals-previous", sorted + exchanges.From("sorted-by-decimals-next", "gotoprev"));
}

class Products : public ::testing::TestWithParam<ProductCase> {};

/// What tells the product from every other one, for one that another case asks everything.
void RunBriefly(Exchanges& exchanges, const ProductCase& product) {
  exchanges.Run("initialize", Request("Initialize"));
  exchanges.Run("table-list", Request("TableList"));
  exchanges.Run("field-list", Request("FieldList", Element("TableId", product.table)));
  exchanges.Run("primary-key-constructed", Request("PrimaryKey", Element("TableId", product.log)));
  exchanges.Page("first", "");
  exchanges.Page("next", exchanges.From("first", "gotonext"));
  exchanges.Page("filtered", Filter(product.filters));
  exchanges.Page("filtered-by-date", Filter(product.dates));
  exchanges.Page("searched", Search("S", "Name"));
  exchanges.Page("flow-filter", Filter({"Location_Filter", "flowfilter", "BLUE"}));
}

TEST_P(Products, AnswersAsTheTranscriptSays) {
  const ProductCase& product = GetParam();
  Exchanges exchanges(product);
  if (!product.data.empty()) {
    RunBriefly(exchanges, product);
    return exchanges.Stop();
  }
  RunCatalogue(exchanges, product);
  RunNavigation(exchanges);
  RunOrderAndConditions(exchanges, product);
  RunViews(exchanges, product);
  if (product.folder == "1-sql-server") {
    const std::string lines = Element("TableId", "[TABLE][sales].[Line]");
    exchanges.Run("key-list-of-clustered", Request("KeyList", lines));
    exchanges.Run("primary-key-of-clustered", Request("PrimaryKey", lines));
    // A doubled bracket stays doubled in the name that the indexes are asked for, so that none are found.
    exchanges.Run("key-list-of-doubled-bracket", Request("KeyList", Element("TableId", "[TABLE][sales].[Order]]s]")));
    RunBracketedNames(exchanges);
  }
  if (product.folder == "3-navision") {
    exchanges.Page("flow-filter", Filter({"Location_Filter", "flowfilter", "BLUE", "City", "not", "Rome"}));
    exchanges.Page("flow-filter-without-value", Filter({"Location_Filter", "flowfilter", ""}));
    RunDecimals(exchanges);
  }
  if (product.folder != "1-sql-server") {
    exchanges.Run("field-list-of-bracketed-name", Request("FieldList", Element("TableId", "[TABLE][dbo].[Customer]")));
  }
  exchanges.Run("initialize", Request("Initialize"));
  exchanges.Stop();
}

INSTANTIATE_TEST_SUITE_P(Kind, Products, ::testing::ValuesIn(Cases()),
                         [](const auto& test) { return ReplaceAll(test.param.folder.substr(2), "-", ""); });

class ProductFailures : public ::testing::Test {
 protected:
  static const ProductCase& Product() { return Cases().front(); }
  static std::string FirstPage() {
    return Request("TableData",
                   Element("TableId", Product().table) + Element("PageSize", "4") + Fields({"No", "Name"}));
  }
  void Start(const std::string& failure) {
    standIn_ = StandInFor(Product(), failure);
    server_ = std::make_unique<ServerProcess>(standIn_->Folders());
    client_ = std::make_unique<QueueClient>(standIn_->Folders());
  }
  std::pair<std::string, std::string> ErrorOf(const std::string& request) {
    const XmlDocument answer = client_->AskDocument(request);
    return {GetNodeText(answer, "/XML/Error"), GetNodeText(answer, "/XML/Message")};
  }
  void ExpectAlive() {
    EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/Ping"), "OK");
    EXPECT_EQ(server_->Stop(), 0);
  }
  void ExpectPage() {
    const XmlDocument page = client_->AskDocument(FirstPage());
    EXPECT_EQ(page.SelectNodes("/XML/Records/R").size(), 4U);
  }

  std::unique_ptr<StandIn> standIn_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

constexpr const char* kGeneralFailure = "-2147467259";

TEST_F(ProductFailures, WithoutAConnectionEveryRequestIsError1000) {
  Start(";FailConnect=1");
  const auto [code, message] = ErrorOf(FirstPage());
  EXPECT_EQ(code, "1000");
  EXPECT_EQ(message, "The database connection is not open. The database configuration may be invalid.");
  EXPECT_NE(standIn_->Folders().LogText().find("The driver was told to fail to connect."), std::string::npos);
  EXPECT_EQ(server_->Stop(), 0);
}

TEST_F(ProductFailures, AFailedStatementIsAnErrorDocumentAndTheNextIsRun) {
  Start(";FailStatement=2");
  const auto [code, message] = ErrorOf(FirstPage());
  EXPECT_EQ(code, kGeneralFailure);
  EXPECT_NE(message.find("The driver was told to fail at this statement. SQL: SELECT \"No\",\"Name\" FROM"),
            std::string::npos)
      << message;
  ExpectPage();
  ExpectAlive();
}

TEST_F(ProductFailures, AFailureInTheMiddleOfAFetchIsAnErrorDocument) {
  for (const char* row : {"1", "3"}) {
    Start(std::string(";FailFetch=") + row);
    const auto [code, message] = ErrorOf(FirstPage());
    EXPECT_EQ(code, kGeneralFailure);
    EXPECT_NE(message.find("The driver was told to fail at this row."), std::string::npos) << message;
    ExpectAlive();
  }
}

TEST_F(ProductFailures, ALostConnectionIsAnErrorDocumentEachTime) {
  Start(";LoseStatement=2");
  for (int i = 0; i < 2; ++i) {
    const auto [code, message] = ErrorOf(FirstPage());
    EXPECT_EQ(code, kGeneralFailure);
    EXPECT_NE(message.find("The connection is lost."), std::string::npos) << message;
  }
  ExpectAlive();
}

TEST_F(ProductFailures, ASlowStatementIsWaitedFor) {
  constexpr milliseconds kDelay(300);
  Start(";DelayStatement=" + std::to_string(kDelay.count()));
  const auto start = std::chrono::steady_clock::now();
  ExpectPage();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 2 * kDelay);
  ExpectAlive();
}

TEST_F(ProductFailures, AfterADriverThatEndsTheProcessANewServerAnswers) {
  Start(";ExitStatement=2");
  const std::string id = client_->Send(FirstPage());
  for (int i = 0; i < 2000 && server_->IsRunning(); ++i) std::this_thread::sleep_for(milliseconds(10));
  ASSERT_FALSE(server_->IsRunning());
  EXPECT_EQ(server_->Stop(), 42);
  standIn_->Connect();
  server_ = std::make_unique<ServerProcess>(standIn_->Folders());
  ExpectPage();
  ExpectAlive();
}

}  // namespace
}  // namespace ods::test
