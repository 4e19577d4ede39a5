// What a hostile client puts into the elements of its requests never becomes a part of a statement: the statements that
// the server writes into its log, or that have come to the stand-in driver, are cut into tokens, and nothing of the
// client's stands outside literals and quoted names. Values are taken as they are, so a filter finds the rows that
// literally have them and no others.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>
#include <set>
#include <unistd.h>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Dictionary.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/ado/Ado.h"
#include "support/SqlTokens.h"

namespace ods::test {
namespace {

/// A product and how its own rows are made without any of the server's routines.
struct HostileDatabase {
  const char* name;
  const char* variable;  ///< environment variable of its scratch database; SQLite has a file of its own
  char quote;
  const char* textOfHex;             ///< an expression for a text, "{}" being the hexadecimal digits of its UTF-8
  const char* standInFor = nullptr;  ///< the DBMS name of the product that the stand-in driver plays; then no variable
  char closingQuote = '\0';          ///< where it is another one than `quote`
  const char* schema = "";           ///< what the stand-in keeps before a table's name
};

/// Failures name the database.
void PrintTo(const HostileDatabase& database, std::ostream* out) { *out << database.name; }

constexpr std::string_view kNavisionProbe = "SELECT 1.1 FROM Integer WHERE Number=1";

constexpr const char* kSqliteText = "CAST(X'{}' AS TEXT)";

constexpr HostileDatabase kDatabases[] = {
    {"SQLite", "ODS_TEST_SQLITE_SAMPLE", '"', kSqliteText},
    {"PostgreSQL", "ODS_TEST_POSTGRESQL_SCRATCH", '"', "convert_from(decode('{}', 'hex'), 'UTF8')"},
    {"MariaDB", "ODS_TEST_MARIADB_SCRATCH", '`', "CONVERT(X'{}' USING utf8mb4)"},
    {"Unknown", nullptr, '"', kSqliteText, "Oracle"},
    {"SqlServer", nullptr, '[', kSqliteText, "Microsoft SQL Server", ']', "dbo."},
    {"Access", nullptr, '`', kSqliteText, "ACCESS"},
    {"Navision", nullptr, '"', kSqliteText, "Navision"},
    {"Concorde", nullptr, '"', kSqliteText, "Concorde"},
    {"MySql", nullptr, '`', kSqliteText, "MySQL"},
    {"Pervasive", nullptr, '"', kSqliteText, "Pervasive.SQL"},
    {"Excel", nullptr, '`', kSqliteText, "EXCEL"},
    {"Unnamed", nullptr, '"', kSqliteText, ""},
};

/// Texts that end, or hide, a part of a statement in some product. No two are alike for a collation that folds case or
/// pads with blanks, and none has a "|", which would make alternatives of it.
const std::vector<std::string>& HostileTexts() {
  static const std::vector<std::string> texts = {
      "' OR 1=1 --",
      "\\' OR 1=1 -- ",
      "\\\\' OR 1=1 #",
      "\\",
      "'",
      "''",
      "'''; DROP TABLE hostile; --",
      "x'; DELETE FROM hostile; --",
      "\" OR \"\"=\"",
      "` OR ``=`",
      "] OR [id]=[id",
      "\" evil",  // a word that no statement has
      "` evil",
      "] evil",
      "[a] evil",
      "[a].[b] evil",
      "[a].[b evil",
      "; SELECT 1",
      "-- comment",
      "/* comment",
      "*/ OR 1=1 /*",
      "/*! OR 1=1 */",
      "# comment",
      "{d '2000-01-01'}",
      "{fn USER()}",
      "{call x}",
      "{",
      "?",
      "? OR 1=? ",
      ":id",
      "$1",
      "$$ OR 1=1 $$",
      "$tag$",
      "E'\\' OR 1=1'",
      "0x41 OR 1=1",
      "UCASE(x)",
      "LIMIT 0",
      "line\nbreak' OR 1=1",
      "tab\t'--",
      "\xC3\x98' OR 1=1 --",
      "\xCA\xBC OR 1=1 --",
      "\xEF\xBC\x87 OR 1=1 --",
      "\xF0\x9F\x98\x80' OR 1=1 --",
      "%' OR '1'='1",
      "1 OR 1=1",
      "NULL",
      "$$$$WHERE_MACRO$$$$",
      "</Message><Records/><Message>",  // of an error document
      "<b>bold</b> &amp; --",
  };
  return texts;
}

/// The entries "SQL: ..." of a log: an entry is a text in apostrophes, those inside doubled, "\" doubled and line
/// breaks as "\n".
std::vector<std::string> StatementsIn(const std::string& log) {
  constexpr std::string_view kBegin = "'SQL: ";
  std::vector<std::string> statements;
  for (std::size_t at = log.find(kBegin); at != std::string::npos; at = log.find(kBegin, at)) {
    std::string sql;
    for (at += kBegin.size(); at < log.size(); ++at) {
      if (log[at] == '\'' && (at + 1 >= log.size() || log[at + 1] != '\'')) break;
      if (log[at] == '\'') ++at;
      if (log[at] == '\\' && at + 1 < log.size()) {
        sql += log[++at] == 'n' ? '\n' : log[at];
      } else {
        sql += log[at];
      }
    }
    statements.push_back(sql);
  }
  return statements;
}

/// Tests run side by side on one database: each process has a table of its own.
const std::string& TableName() {
  static const std::string name = "hostile_" + std::to_string(getpid());
  return name;
}

class Hostile : public ::testing::TestWithParam<HostileDatabase> {
 protected:
  void SetUp() override {
    if (GetParam().standInFor != nullptr) {
      UseStandIn();
    } else if (!UseDatabase()) {
      GTEST_SKIP() << GetParam().variable << " is not set";
    }
    server_ = std::make_unique<ServerProcess>(Folders());
    client_ = std::make_unique<QueueClient>(Folders());
    EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/Ping"), "OK");
    (void)NewStatements();  // those of connecting
  }
  void TearDown() override {
    if (!server_) return;
    EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/Ping"), "OK") << "the server lives";
    EXPECT_EQ(server_->Stop(), 0);
    EXPECT_EQ(CountRows(), HostileTexts().size()) << "the table is as it was";
    Run("DROP TABLE " + StoredTable());
  }

  void UseStandIn() {
    standIn_ = std::make_unique<StandIn>(GetParam().standInFor);
    standIn_->Connect();
    MakeTable();
    standIn_->Run("CREATE TABLE \"Integer\" (\"Number\" int NOT NULL); INSERT INTO \"Integer\" VALUES (1);");
  }
  /// False when the environment names none.
  bool UseDatabase() {
    const char* variable = std::getenv(GetParam().variable);
    if (variable == nullptr || *variable == '\0') return false;
    const bool isFile = std::string_view(GetParam().name) == "SQLite";
    const std::string connectionString =
        isFile ? "Driver=SQLite3;Database=" + DriverPath(folders_.Root()) + "/hostile.db" : std::string(variable);
    direct_ = CreateOdbcConnection();
    direct_->Open(connectionString);
    try {
      Run("DROP TABLE " + TableName());  // of a run that was broken off
    } catch (const Error&) {             // NOLINT(bugprone-empty-catch): usually there is none
    }
    MakeTable();
    folders_.Configure(connectionString);
    return true;
  }

  [[nodiscard]] const ServerFolders& Folders() const { return standIn_ ? standIn_->Folders() : folders_; }
  /// The table as the database itself knows it.
  static std::string StoredTable() {
    return GetParam().standInFor == nullptr ? TableName() : "\"" + std::string(GetParam().schema) + TableName() + "\"";
  }
  /// Runs a statement behind the server's back.
  void Run(const std::string& sql) {
    if (standIn_) {
      standIn_->Run(sql);
    } else {
      (void)direct_->OpenRecordSet(sql, 0);
    }
  }
  std::size_t CountRows() {
    const std::string sql = "SELECT COUNT(*) FROM " + StoredTable();
    const std::int64_t count =
        standIn_ ? standIn_->NumberOf(sql) : SafeLng(direct_->OpenRecordSet(sql, 0)->Item(std::size_t{0}));
    return static_cast<std::size_t>(count);
  }
  /// One row a text, its number from 1 as `id`.
  void MakeTable() {
    Run("CREATE TABLE " + StoredTable() +
        " (id INTEGER NOT NULL PRIMARY KEY, word VARCHAR(100) NOT NULL, amount INTEGER)");
    for (std::size_t i = 0; i < HostileTexts().size(); ++i) {
      const std::string& text = HostileTexts()[i];
      Run("INSERT INTO " + StoredTable() + " VALUES (" + std::to_string(i + 1) + ", " +
          ReplaceAll(GetParam().textOfHex, "{}", BytesToHex(Bytes(text.begin(), text.end()))) + ", 0)");
    }
  }

  static std::string Rows(const std::string& elements, const std::string& fields = "<Field><Id>id</Id></Field>") {
    return Request("TableData", "<TableId>[TABLE]" + TableName() +
                                    "</TableId><PageSize>1000</PageSize>"
                                    "<PrimaryKey>id</PrimaryKey>" +
                                    elements + "<Fields>" + fields + "</Fields>");
  }
  static std::string FilterFor(const std::string& field, const std::string& op, const std::string& value) {
    return "<Filter><Condition><FieldId>" + EscapeXml(field) + "</FieldId><FilterOp>" + EscapeXml(op) +
           "</FilterOp><Filter>" + EscapeXml(value) + "</Filter></Condition></Filter>";
  }
  /// Sends a request, whatever becomes of it, and looks at the statements that it made.
  XmlDocument AskAndCheck(const Message& request) {
    XmlDocument answer = client_->AskDocument(request);
    CheckNewStatements(request.text);
    return answer;
  }
  /// What a column that has the text is compared by: on Concorde without the blanks around it.
  static std::string AsCompared(const std::string& text) {
    return GetParam().name == std::string_view("Concorde") ? std::string(Trim(text)) : text;
  }
  std::set<std::string> Ids(const std::string& request) {
    const XmlDocument answer = AskAndCheck(request);
    EXPECT_EQ(GetNodeText(answer, "/XML/Message"), "") << request;
    std::set<std::string> ids;
    for (const XmlNode& value : answer.SelectNodes("/XML/Records/R/V[@Id='id']")) ids.insert(value.Text());
    return ids;
  }
  /// The statements since the last call. The log keeps at least its newest 80,000 bytes, far more than one request
  /// writes.
  std::vector<std::string> NewStatements() {
    if (standIn_) {
      std::vector<std::string> statements = Split(standIn_->NewStatements(), "\n");
      statements.pop_back();  // the last one ends in a line break too
      return statements;
    }
    std::vector<std::string> statements = StatementsIn(folders_.LogText());
    for (const auto& entry : std::filesystem::directory_iterator(folders_.Root() + "/data/Logs")) {
      std::filesystem::remove(entry.path());  // the next entry makes a new file
    }
    return statements;
  }
  void CheckNewStatements(const std::string& request) {
    const char closing = GetParam().closingQuote == '\0' ? GetParam().quote : GetParam().closingQuote;
    for (const std::string& sql : NewStatements()) {
      if (sql == kNavisionProbe) continue;  // has names without quotes, of the server's own
      ++checked_;
      const auto foreign = SqlTokens(sql, GetParam().quote, closing).FirstForeignText();
      ASSERT_FALSE(foreign) << "\"" << *foreign << "\" in " << sql << "\nafter " << request;
    }
  }

  ServerFolders folders_;
  std::shared_ptr<Connection> direct_;
  std::unique_ptr<StandIn> standIn_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
  std::size_t checked_ = 0;
};

TEST_P(Hostile, AFilterFindsTheRowsThatLiterallyMatchAndNoOthers) {
  for (std::size_t i = 0; i < HostileTexts().size(); ++i) {
    const std::string& text = HostileTexts()[i];
    EXPECT_EQ(Ids(Rows(FilterFor("word", "eq", text))), std::set<std::string>{std::to_string(i + 1)}) << text;
    EXPECT_EQ(Ids(Rows(FilterFor("word", "not", text))).size(), HostileTexts().size() - 1) << text;
    EXPECT_EQ(Ids(Rows(FilterFor("word", "eq", text + "nobody has this"))), std::set<std::string>{}) << text;
  }
  EXPECT_GE(checked_, 3 * HostileTexts().size());
}

TEST_P(Hostile, EveryOperatorTakesTheValueAsALiteral) {
  for (const std::string& text : HostileTexts()) {
    for (const char* op : {"lt", "gt", "lteq", "gteq", "like", "flowfilter"}) {
      (void)AskAndCheck(Rows(FilterFor("word", op, text)));
      (void)AskAndCheck(Rows(FilterFor("word", op, text + "|" + text)));
    }
    (void)AskAndCheck(Rows(FilterFor("amount", "eq", text)));
    (void)AskAndCheck(Malformed(Rows(FilterFor("word", text, text))));
    (void)AskAndCheck(Rows(FilterFor(text, "flowfilter", text)));
  }
  EXPECT_GE(checked_, 10 * HostileTexts().size());
}

TEST_P(Hostile, ASearchFindsTheRowsThatHaveTheText) {
  for (std::size_t i = 0; i < HostileTexts().size(); ++i) {
    const std::string& text = HostileTexts()[i];
    // In a pattern a backslash and the wildcards have meanings of their own; the rest stands for itself.
    const bool isPattern = text.find_first_of("\\%_") != std::string::npos;
    const std::string pattern =
        "<SearchFields><Field><Id>word</Id><SearchString>%{0}%</SearchString></Field></SearchFields>";
    const XmlDocument answer = AskAndCheck(Rows("<SearchString>" + EscapeXml(text) + "</SearchString>" + pattern));
    if (isPattern) continue;
    std::set<std::string> expected;
    for (std::size_t j = 0; j < HostileTexts().size(); ++j) {
      if (ToUpper(AsCompared(HostileTexts()[j])).find(ToUpper(text)) != std::string::npos) {
        expected.insert(std::to_string(j + 1));
      }
    }
    std::set<std::string> found;
    for (const XmlNode& value : answer.SelectNodes("/XML/Records/R/V[@Id='id']")) found.insert(value.Text());
    EXPECT_EQ(found, expected) << text << GetNodeText(answer, "/XML/Message");
  }
  for (const std::string& text : HostileTexts()) {
    (void)AskAndCheck(Rows("<SearchString>a</SearchString><SearchFields><Field><Id>word</Id><SearchString>" +
                           EscapeXml(text) + "</SearchString></Field></SearchFields>"));
  }
}

TEST_P(Hostile, NamesOfAnyKindStayNames) {
  for (const std::string& text : HostileTexts()) {
    const std::string shown = EscapeXml(text);
    const auto askOf = [&](const std::string& table, bool hasKind) {
      const auto ask = [&](const std::string& type, const std::string& elements) {
        const std::string request = Request(type, "<TableId>" + table + "</TableId>" + elements);
        (void)AskAndCheck(hasKind ? Message(request) : Malformed(request));
      };
      for (const char* type : {"FieldList", "KeyList", "PrimaryKey"}) ask(type, "");
      ask("TableData", "<PrimaryKey>id</PrimaryKey><PageSize>1</PageSize><Fields><Field><Id>id</Id></Field></Fields>");
    };
    for (const char* kind : {"[TABLE]", "[VIEW]", "[APPVIEW]"}) askOf(kind + shown, true);
    askOf("[TABLE]" + TableName() + shown, true);
    askOf(shown, false);
    askOf("[" + shown + "]" + TableName(), false);
    (void)AskAndCheck(Rows("", "<Field><Id>" + shown + "</Id></Field>"));
    (void)AskAndCheck(
        Malformed(Rows("<SortColumn>" + shown + "</SortColumn><SortDirection>" + shown + "</SortDirection>")));
    (void)AskAndCheck(Malformed(Rows("<Navigate>" + shown + "</Navigate>")));
    (void)AskAndCheck(Rows("<Key>" + KeyToText({"word", text}) + "</Key>"));
    (void)AskAndCheck(Unchecked(Rows("<Key>" + shown + "</Key>")));
    (void)AskAndCheck(Rows(FilterFor(text, "eq", "1")));
    (void)AskAndCheck(Rows("<SearchString>a</SearchString><SearchFields><Field><Id>" + shown +
                           "</Id><SearchString>{0}</SearchString></Field></SearchFields>"));
    (void)AskAndCheck(Malformed(Request(shown)));
    (void)AskAndCheck(Malformed(Request("TableData", "<TableId>[TABLE]" + TableName() + "</TableId><PageSize>" + shown +
                                                         "</PageSize><PrimaryKey>" + KeyToText({text}) +
                                                         "</PrimaryKey><Fields><Field><Id>id</Id></Field></Fields>")));
  }
  EXPECT_GE(checked_, 11 * HostileTexts().size());
}

TEST_P(Hostile, PositionsCarryValuesAndNothingElse) {
  const auto page = [](const Dictionary& position, const std::string& elements) {
    return Rows("<Navigate>gotonext</Navigate><LastPos>" + BytesToHex(position.marshalldictionary()) + "</LastPos>" +
                elements);
  };
  std::vector<std::string> texts = HostileTexts();
  texts.insert(texts.end(),
               {std::string("nul\0' OR 1=1 --", 15), "\xC0\xA7 OR 1=1 --", "\xBF' OR 1=1 --", "\xED\xA0\x80'"});
  for (const std::string& text : texts) {
    Dictionary byNumber;
    byNumber.Set("id", text);
    (void)AskAndCheck(page(byNumber, ""));
    Dictionary byWord;
    byWord.Set("word", text);
    byWord.Set(text, text);
    const XmlDocument answer =
        AskAndCheck(ReplaceAll(page(byWord, ""), "<PrimaryKey>id</PrimaryKey>", "<PrimaryKey>word</PrimaryKey>"));
    const auto known = std::ranges::find(HostileTexts(), text);
    if (known == HostileTexts().end()) {
      EXPECT_EQ(answer.SelectNodes("/XML/Records/R").size(), 0U) << text;
    } else {
      EXPECT_EQ(GetNodeText(answer, "/XML/Message"), "") << text;
    }
  }
  EXPECT_GE(checked_, 2 * HostileTexts().size());
}

INSTANTIATE_TEST_SUITE_P(Products, Hostile, ::testing::ValuesIn(kDatabases),
                         [](const auto& instance) { return std::string(instance.param.name); });

/// The tokenizer that these tests rest on finds what it is there to find.
TEST(SqlTokensTest, FindsTextOutsideLiteralsAndNames) {
  const auto foreign = [](const std::string& sql) { return SqlTokens(sql, '"', '"').FirstForeignText().value_or(""); };
  EXPECT_EQ(
      foreign("SELECT \"a\"\"b\",\"c\" FROM \"t\" WHERE ((\"a\" >= 'it''s') AND (\"b\"<-1.5E+10)) ORDER BY \"a\" DESC"),
      "");
  EXPECT_EQ(foreign("SELECT * FROM \"t\" WHERE (1=2) LIMIT 1"), "");
  EXPECT_EQ(foreign("SELECT 0x0AfF, {ts '2000-01-01 00:00:00'}"), "");
  EXPECT_EQ(foreign("SELECT 'a'; SELECT"), "; SELECT");
  EXPECT_EQ(foreign("SELECT 'a' -- b"), "-- b");
  EXPECT_EQ(foreign("SELECT 'a' /* b"), "/* b");
  EXPECT_EQ(foreign("SELECT 'a' # b"), "# b");
  EXPECT_EQ(foreign("SELECT 'a' b"), "b");
  EXPECT_EQ(foreign("SELECT 'a\\' b"), "b");
  EXPECT_EQ(foreign("SELECT 'a"), "'a");
  EXPECT_EQ(foreign("SELECT \"a"), "\"a");
  EXPECT_EQ(foreign("SELECT a FROM"), "a FROM");
  EXPECT_EQ(foreign("SELECT 0x41zz"), "0x41zz");
}

}  // namespace
}  // namespace ods::test
