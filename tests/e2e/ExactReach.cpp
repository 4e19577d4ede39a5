// What a server with exact paging reaches on the three databases: tables of every schema, and keys that hold. Each
// table of a case is one that a key taken for good would give rows of twice or not at all.
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Text.h"
#include "e2e/ExactPages.h"
#include "e2e/ServerProcess.h"
#include "platform/ado/Ado.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods::test {
namespace {

using Texts = std::vector<std::string>;

/// A server with exact paging on a database that the test fills.
class ExactReach : public ::testing::Test {
 protected:
  void Open(const std::string& connectionString) {
    connection_ = CreateOdbcConnection();
    connection_->Open(connectionString);
    folders_.Configure(connectionString);
    server_ = std::make_unique<ServerProcess>(folders_, Texts{"exact"});
    client_ = std::make_unique<QueueClient>(folders_);
  }
  void TearDown() override {
    if (server_) {
      EXPECT_EQ(server_->Stop(), 0);
    }
  }
  void Run(const std::string& sql) { (void)connection_->OpenRecordSet(sql, 0); }

  XmlDocument Ask(const std::string& type, const std::string& table, const std::string& more = "") {
    return client_->AskDocument(Request(type, "<TableId>" + EscapeXml(table) + "</TableId>" + more));
  }
  /// The listed tables with `part` in their identifier, each as identifier and caption.
  std::string Tables(const std::string& part) {
    const XmlDocument list = client_->AskDocument(Request("TableList"));
    std::string text;
    for (const XmlNode& table : list.SelectNodes("/XML/Tables/Table")) {
      const std::string identifier = GetNodeText(table, "Id");
      if (identifier.find(part) != std::string::npos) text += identifier + "=" + GetNodeText(table, "Caption") + "\n";
    }
    return text;
  }
  /// Each key as its fields, "unique" and "primary", one a line.
  std::string Keys(const std::string& table) {
    const XmlDocument list = Ask("KeyList", table);
    EXPECT_EQ(GetNodeText(list, "/XML/Message"), "");
    std::string text;
    for (const XmlNode& key : list.SelectNodes("/XML/Keys/Key")) {
      text += GetNodeText(key, "Caption") + (GetNodeText(key, "Unique") == "1" ? " unique" : "") +
              (GetNodeText(key, "Primary") == "1" ? " primary" : "") + "\n";
    }
    return text;
  }
  /// Each field as its name, type, size, digits and whether it may be null, one a line.
  std::string Fields(const std::string& table) {
    const XmlDocument list = Ask("FieldList", table);
    std::string text;
    for (const XmlNode& field : list.SelectNodes("/XML/Fields/Field")) {
      text += GetNodeText(field, "Id") + " " + GetNodeText(field, "TypeName") + " " + GetNodeText(field, "Size") + " " +
              GetNodeText(field, "Digits") + " " + GetNodeText(field, "Nullable") + "\n";
    }
    return text;
  }
  std::string PrimaryKey(const std::string& table) {
    const XmlDocument answer = Ask("PrimaryKey", table);
    return GetNodeText(answer, "/XML/PrimaryKey") + " " + GetNodeText(answer, "/XML/Constructed");
  }
  XmlDocument Page(const std::string& table, const Texts& fields, const std::string& more) {
    std::string elements;
    for (const std::string& field : fields) elements += "<Field><Id>" + EscapeXml(field) + "</Id></Field>";
    XmlDocument page = Ask("TableData", table, "<PageSize>1</PageSize>" + more + "<Fields>" + elements + "</Fields>");
    EXPECT_EQ(GetNodeText(page, "/XML/Message"), "") << table;
    return page;
  }
  /// All rows, walked through in pages of one row, forwards, and backwards as well, which must give the same.
  Texts Walk(const std::string& table, const Texts& fields) {
    constexpr std::size_t kMostRows = 100;
    Texts forwards;
    XmlDocument page = Page(table, fields, "<Navigate>gotofirst</Navigate>");
    while (true) {
      for (const std::string& row : RowsOf(page)) forwards.push_back(row);
      if (GetNodeText(page, "/XML/HasNextPage") != "1" || forwards.size() > kMostRows) break;
      page = Page(table, fields, From(page, "gotonext"));
    }
    Texts backwards;
    page = Page(table, fields, "<Navigate>gotolast</Navigate>");
    while (true) {
      for (const std::string& row : RowsOf(page)) backwards.insert(backwards.begin(), row);
      if (GetNodeText(page, "/XML/HasPreviousPage") != "1" || backwards.size() > kMostRows) break;
      page = Page(table, fields, From(page, "gotoprev"));
    }
    EXPECT_EQ(backwards, forwards) << table;
    return forwards;
  }

  std::shared_ptr<Connection> connection_;
  std::unique_ptr<QueueClient> client_;

 private:
  ServerFolders folders_;
  std::unique_ptr<ServerProcess> server_;
};

std::string UniqueName() { return "reach_" + std::to_string(getpid()); }

class PostgreSqlReach : public ExactReach {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv("ODS_TEST_POSTGRESQL_SCRATCH");
    if (connectionString == nullptr) GTEST_SKIP() << "ODS_TEST_POSTGRESQL_SCRATCH names no server";
    Open(connectionString);
    for (const std::string& schema : schemas_) Run("CREATE SCHEMA " + schema);
  }
  void TearDown() override {
    ExactReach::TearDown();
    if (!connection_) return;
    for (const std::string& schema : schemas_) Run("DROP SCHEMA IF EXISTS " + schema + " CASCADE");
    Run("DROP TABLE IF EXISTS " + bare_);
  }
  /// A table of the first schema.
  [[nodiscard]] std::string In(const std::string& table) const { return schemas_[0] + "." + table; }
  [[nodiscard]] std::string Identifier(const std::string& table) const {
    return "[TABLE]" + schemas_[0] + ".\"" + table + "\"";
  }

  std::string name_ = UniqueName();
  Texts schemas_ = {"\"" + name_ + "\"", "\"" + name_ + ".\"\"x\""};
  std::string bare_ = "\"" + name_ + "_bare\"";
};

TEST_F(PostgreSqlReach, TablesOfOneNameInTwoSchemasAreTwoTables) {
  Run("CREATE TABLE " + schemas_[0] + ".\"order\" (id int PRIMARY KEY, \"a.\"\"b\" text)");
  Run("CREATE TABLE " + schemas_[1] + ".\"order\" (\"no\" int, city text, PRIMARY KEY (city, \"no\"))");
  Run("INSERT INTO " + schemas_[0] + ".\"order\" VALUES (1, 'one'), (2, 'two')");
  Run("INSERT INTO " + schemas_[1] + ".\"order\" VALUES (7, 'Oslo')");
  Run("CREATE TABLE " + schemas_[1] + ".\"c\"\"d.e\" (x int)");
  const std::string first = "[TABLE]" + schemas_[0] + ".\"order\"";
  const std::string second = "[TABLE]" + schemas_[1] + ".\"order\"";
  EXPECT_EQ(Tables(name_), first + "=" + name_ + ".order\n[TABLE]" + schemas_[1] + ".\"c\"\"d.e\"=" + name_ +
                               ".\"x.c\"d.e\n" + second + "=" + name_ + ".\"x.order\n");
  EXPECT_EQ(Keys(first), "id unique primary\n");
  EXPECT_EQ(Keys(second), "city, no unique primary\n");
  EXPECT_EQ(Walk(first, {"id", "a.\"b"}), (Texts{"1,one", "2,two"}));
  EXPECT_EQ(Walk(second, {"no", "city"}), (Texts{"7,Oslo"}));
  EXPECT_EQ(GetNodeText(Ask("FieldList", second), "/XML/Fields/Field[2]/Id"), "city");
}

TEST_F(PostgreSqlReach, ABareNameIsOneOfTheCurrentSchema) {
  Run("CREATE TABLE " + bare_ + " (id int PRIMARY KEY)");
  Run("CREATE TABLE " + schemas_[0] + "." + bare_ + " (other int)");
  Run("INSERT INTO " + bare_ + " VALUES (3)");
  const std::string bare = name_ + "_bare";
  EXPECT_EQ(Tables("\"" + bare), "[TABLE]\"public\"." + bare_ + "=" + bare + "\n[TABLE]\"" + name_ + "\"." + bare_ +
                                     "=" + name_ + "." + bare + "\n");
  for (const std::string& identifier : {"[TABLE]" + bare, "[TABLE]" + bare_, "[TABLE]\"public\"." + bare_}) {
    EXPECT_EQ(Keys(identifier), "id unique primary\n") << identifier;
    EXPECT_EQ(Walk(identifier, {"id"}), (Texts{"3"})) << identifier;
  }
  EXPECT_NE(GetNodeText(Ask("KeyList", "[TABLE]" + name_ + "." + bare), "/XML/Error"), "")
      << "a point without quotes is a part of the name";
}

TEST_F(PostgreSqlReach, EveryKindOfTableIsListedAndRead) {
  Run("CREATE TABLE " + In("plain") + " (id int)");
  Run("INSERT INTO " + In("plain") + " VALUES (1), (1), (NULL)");
  Run("CREATE VIEW " + In("view") + " AS SELECT * FROM " + In("plain"));
  Run("CREATE MATERIALIZED VIEW " + In("stored") + " AS SELECT * FROM " + In("plain"));
  Run("CREATE TABLE " + In("parted") + " (id int NOT NULL, part int, PRIMARY KEY (id, part)) PARTITION BY LIST (part)");
  Run("CREATE TABLE " + In("parted_1") + " PARTITION OF " + In("parted") + " FOR VALUES IN (1)");
  Run("CREATE TABLE " + In("parted_2") + " PARTITION OF " + In("parted") + " FOR VALUES IN (2)");
  Run("INSERT INTO " + In("parted") + " VALUES (1, 1), (1, 2), (2, 1)");
  Run("CREATE SEQUENCE " + In("numbers"));
  Run("CREATE TYPE " + In("composite") + " AS (a int)");
  std::string wanted;
  for (const char* table : {"parted", "parted_1", "parted_2", "plain", "stored", "view"}) {
    wanted += Identifier(table) + "=" + name_ + "." + table + "\n";
  }
  EXPECT_EQ(Tables(schemas_[0]), wanted);
  EXPECT_EQ(Tables("pg_"), "");
  EXPECT_EQ(Tables("information_schema"), "");
  for (const char* table : {"plain", "view", "stored"}) {
    EXPECT_EQ(PrimaryKey(Identifier(table)), " 1");
    EXPECT_EQ(Walk(Identifier(table), {"id"}), (Texts{"1", "1", "null"})) << table;
  }
  EXPECT_EQ(Keys(Identifier("parted")), "id, part unique primary\n");
  EXPECT_EQ(Walk(Identifier("parted"), {"id", "part"}), (Texts{"1,1", "1,2", "2,1"}));
  EXPECT_EQ(Walk(Identifier("parted_1"), {"id"}), (Texts{"1,1", "2,1"})) << "the fields of the key come, too";
}

TEST_F(PostgreSqlReach, OnlyKeysThatHoldTellRowsApart) {
  Run("CREATE TABLE " + In("k") +
      " (part int NOT NULL, expr text NOT NULL, empty int, late int NOT NULL CONSTRAINT late UNIQUE DEFERRABLE, a text "
      "NOT NULL, b int NOT NULL)");
  Run("CREATE UNIQUE INDEX k1 ON " + In("k") + " (part) WHERE b > 5");
  Run("CREATE UNIQUE INDEX k2 ON " + In("k") + " (lower(expr))");
  Run("CREATE UNIQUE INDEX k3 ON " + In("k") + " (empty)");
  Run("CREATE INDEX k4 ON " + In("k") + " (b, a)");
  Run("CREATE INDEX k5 ON " + In("k") + " USING hash (b)");
  Run("INSERT INTO " + In("k") + " VALUES (1, 'x', NULL, 1, 'a', 1), (1, 'y', NULL, 2, 'a', 1)");
  EXPECT_EQ(Keys(Identifier("k")), "empty unique\nb, a\nlate\n");
  EXPECT_EQ(PrimaryKey(Identifier("k")), " 1");
  EXPECT_EQ(Walk(Identifier("k"), {"expr"}), (Texts{"x", "y"}));
}

TEST_F(PostgreSqlReach, ADeclaredKeyComesFirstAndThenTheSmallest) {
  Run("CREATE TABLE " + In("k") +
      " (a int, b int, c int NOT NULL UNIQUE, d int NOT NULL, e int NOT NULL, UNIQUE (d, e))");
  EXPECT_EQ(PrimaryKey(Identifier("k")), "c 0");
  Run("CREATE TABLE " + In("d") + " (a int, b int, c int NOT NULL UNIQUE, PRIMARY KEY (b, a))");
  EXPECT_EQ(PrimaryKey(Identifier("d")), "b\\09a 0");
  EXPECT_EQ(Keys(Identifier("d")), "c unique\nb, a unique primary\n");
}

TEST_F(PostgreSqlReach, AKeyComparesAsItsIndexDoes) {
  Run("CREATE COLLATION " + In("folding") + " (provider = icu, locale = 'und-u-ks-level2', deterministic = false)");
  Run("CREATE TABLE " + In("c") + " (a text COLLATE " + In("folding") + " NOT NULL, b int)");
  Run("CREATE UNIQUE INDEX bytes ON " + In("c") + " (a COLLATE \"C\") INCLUDE (b)");
  Run("INSERT INTO " + In("c") + " VALUES ('b', 1), ('A', 2), ('a', 3), ('B', 4)");
  EXPECT_EQ(PrimaryKey(Identifier("c")), "a 0");
  EXPECT_EQ(Walk(Identifier("c"), {"a"}), (Texts{"A", "B", "a", "b"}));
}

TEST_F(PostgreSqlReach, FieldsTellTheirTypes) {
  Run("CREATE TABLE " + In("t") + " (id int NOT NULL, price numeric(18,4), name varchar(30), seen timestamp(3))");
  EXPECT_EQ(Fields(Identifier("t")),
            "id int4 4 0 0\nprice numeric 18 4 1\nname varchar 30 0 1\nseen timestamp 16 3 1\n");
}

TEST_F(PostgreSqlReach, RowsOfTablesThatInheritAreInNoIndexOfTheirParent) {
  Run("CREATE TABLE " + In("parent") + " (id int PRIMARY KEY)");
  Run("CREATE TABLE " + In("child") + " () INHERITS (" + In("parent") + ")");
  Run("INSERT INTO " + In("parent") + " VALUES (1), (2)");
  Run("INSERT INTO " + In("child") + " VALUES (1), (2)");
  EXPECT_EQ(Keys(Identifier("parent")), "id\n");
  EXPECT_EQ(Walk(Identifier("parent"), {"id"}), (Texts{"1", "1", "2", "2"}));
}

class MariaDbReach : public ExactReach {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv("ODS_TEST_MARIADB_SCRATCH");
    if (connectionString == nullptr) GTEST_SKIP() << "ODS_TEST_MARIADB_SCRATCH names no server";
    Open(connectionString);
  }
  void TearDown() override {
    ExactReach::TearDown();
    if (!connection_) return;
    for (const std::string& table : made_) Run("DROP TABLE IF EXISTS `" + ReplaceAll(table, "`", "``") + "`");
  }
  /// Makes a table, whose name begins with the test's, and gives its identifier.
  std::string Create(const std::string& name, const std::string& definition) {
    made_.insert(made_.begin(), name_ + name);
    Run("CREATE TABLE " + Quoted(name) + " " + definition);
    return Identifier(name);
  }
  [[nodiscard]] std::string Quoted(const std::string& name) const {
    return "`" + ReplaceAll(name_ + name, "`", "``") + "`";
  }
  [[nodiscard]] std::string Identifier(const std::string& name) const { return "[TABLE]" + name_ + name; }

  std::string name_ = UniqueName();

 private:
  Texts made_;
};

TEST_F(MariaDbReach, EveryKindOfTableIsListedAndRead) {
  const std::string odd = Create(".a`\"b", "(`i.``d` int PRIMARY KEY)");
  const std::string history = Create("_history", "(id int) WITH SYSTEM VERSIONING");
  const std::string parts = Create("_parts", "(id int) PARTITION BY HASH (id) PARTITIONS 2");
  Run("CREATE SEQUENCE " + Quoted("_numbers"));
  Run("CREATE VIEW " + Quoted("_view") + " AS SELECT * FROM " + Quoted("_history"));
  std::string wanted;
  for (const char* table : {".a`\"b", "_history", "_parts", "_view"}) {
    wanted += Identifier(table) + "=" + name_ + table + "\n";
  }
  EXPECT_EQ(Tables(name_), wanted);
  EXPECT_EQ(Tables("SYSTEM"), "");
  Run("INSERT INTO " + Quoted(".a`\"b") + " VALUES (2), (1)");
  for (const char* table : {"_history", "_parts"})
    Run("INSERT INTO " + Quoted(table) + " VALUES (2), (1), (1), (NULL)");
  EXPECT_EQ(Keys(odd), "i.`d unique primary\n");
  EXPECT_EQ(Walk(odd, {"i.`d"}), (Texts{"1", "2"}));
  for (const std::string& table : {history, parts, Identifier("_view")}) {
    EXPECT_EQ(Walk(table, {"id"}), (Texts{"null", "1", "1", "2"})) << table;
  }
  Run("DROP VIEW " + Quoted("_view"));
  Run("DROP SEQUENCE " + Quoted("_numbers"));
}

TEST_F(MariaDbReach, AnIndexOverTheBeginningOfATextComparesTheBeginning) {
  // In full both are equal, since the letter is two to the collation; their first two characters are not.
  const std::string table = Create("_prefix",
                                   "(a varchar(20) NOT NULL, n int, UNIQUE KEY (a(2))) CHARACTER SET utf8mb4 COLLATE "
                                   "utf8mb4_unicode_ci");
  Run("INSERT INTO " + Quoted("_prefix") + " VALUES ('ass', 1), (_utf8mb4 X'61C39F', 2), ('b', 3)");
  EXPECT_EQ(Keys(table), "a unique primary\n");
  EXPECT_EQ(Walk(table, {"n"}).size(), 3U);
}

TEST_F(MariaDbReach, LongTextsInAKeyAreToldApartBehindWhatIsSortedBy) {
  const std::string table = Create("_long", "(a varchar(700) NOT NULL, n int, UNIQUE KEY (a)) CHARACTER SET latin1");
  for (const char* last : {"x", "y", "z"}) {
    Run("INSERT INTO " + Quoted("_long") + " VALUES (CONCAT(REPEAT('a', 600), '" + last + "'), 1)");
  }
  EXPECT_EQ(Keys(table), "a unique primary\n");
  EXPECT_EQ(Walk(table, {"a"}).size(), 3U);
}

TEST_F(MariaDbReach, OnlyKeysThatHoldTellRowsApart) {
  const std::string nullable = Create("_null", "(a int, UNIQUE KEY (a))");
  Run("INSERT INTO " + Quoted("_null") + " VALUES (NULL), (NULL), (1)");
  EXPECT_EQ(Keys(nullable), "a unique\n");
  EXPECT_EQ(PrimaryKey(nullable), " 1");
  EXPECT_EQ(Walk(nullable, {"a"}), (Texts{"null", "null", "1"}));

  (void)Create("_one", "(a int PRIMARY KEY) ENGINE=MyISAM");
  (void)Create("_two", "(a int PRIMARY KEY) ENGINE=MyISAM");
  const std::string merged =
      Create("_merged", "(a int PRIMARY KEY) ENGINE=MERGE UNION=(" + Quoted("_one") + "," + Quoted("_two") + ")");
  Run("INSERT INTO " + Quoted("_one") + " VALUES (1), (2)");
  Run("INSERT INTO " + Quoted("_two") + " VALUES (1), (2)");
  EXPECT_EQ(Keys(merged), "a\n");
  EXPECT_EQ(Walk(merged, {"a"}), (Texts{"1", "1", "2", "2"}));
}

TEST_F(MariaDbReach, FieldsTellTheirTypes) {
  const std::string table = Create(
      "_types", "(id bigint unsigned NOT NULL, price decimal(18,4), name varchar(30), seen datetime(3), e enum('a'))");
  EXPECT_EQ(Fields(table),
            "id bigint 8 0 0\nprice decimal 18 4 1\nname varchar 30 0 1\nseen datetime 16 3 1\ne enum 1 0 1\n");
}

TEST_F(MariaDbReach, KeysAreThoseOfTheTableOfExactlyThisName) {
  const std::string lower = Create("_case", "(a int PRIMARY KEY)");
  const std::string upper = Create("_CASE", "(b int PRIMARY KEY)");
  EXPECT_EQ(Keys(lower), "a unique primary\n");
  EXPECT_EQ(Keys(upper), "b unique primary\n");
}

class SqliteReach : public ExactReach {
 protected:
  void SetUp() override { Open("Driver=SQLite3;Database=" + test::DriverPath(folder_.Path()) + "/reach.db"); }

 private:
  TemporaryFolder folder_;
};

TEST_F(SqliteReach, TablesOfTheSystemAreNotListed) {
  Run("CREATE TABLE \"a.\"\"b\" (id INTEGER PRIMARY KEY AUTOINCREMENT, \"x.\"\"y\" text)");
  Run("CREATE VIEW v AS SELECT * FROM \"a.\"\"b\"");
  Run("INSERT INTO \"a.\"\"b\" VALUES (2, 'two'), (1, NULL)");
  Run("ANALYZE");
  EXPECT_EQ(Tables(""), "[TABLE]a.\"b=a.\"b\n[TABLE]v=v\n");
  EXPECT_EQ(Walk("[TABLE]a.\"b", {"x.\"y"}), (Texts{"null,1", "two,2"}));
  EXPECT_EQ(Walk("[TABLE]v", {"id"}), (Texts{"1", "2"}));
}

TEST_F(SqliteReach, OnlyKeysThatHoldTellRowsApart) {
  Run("CREATE TABLE k (n INT UNIQUE, a TEXT NOT NULL, b TEXT NOT NULL)");
  Run("CREATE UNIQUE INDEX partial ON k (a) WHERE n > 3");
  Run("CREATE UNIQUE INDEX expression ON k (a || b)");
  Run("CREATE INDEX several ON k (b, a)");
  Run("INSERT INTO k VALUES (NULL, 'x', 'y'), (NULL, 'x', 'z'), (1, 'x', 'w')");
  EXPECT_EQ(Keys("[TABLE]k"), "b, a\nn unique\n");
  EXPECT_EQ(PrimaryKey("[TABLE]k"), " 1");
  EXPECT_EQ(Walk("[TABLE]k", {"b"}), (Texts{"y", "z", "w"})) << "in the order of their numbers";
}

TEST_F(SqliteReach, AKeyComparesAsItsIndexDoes) {
  Run("CREATE TABLE c (a TEXT NOT NULL COLLATE NOCASE)");
  Run("CREATE UNIQUE INDEX bytes ON c (a COLLATE BINARY)");
  Run("INSERT INTO c VALUES ('b'), ('A'), ('a'), ('B')");
  EXPECT_EQ(PrimaryKey("[TABLE]c"), "a 0");
  EXPECT_EQ(Walk("[TABLE]c", {"a"}), (Texts{"A", "B", "a", "b"}));
  Run("CREATE TABLE n (a TEXT NOT NULL)");
  Run("CREATE UNIQUE INDEX folded ON n (a COLLATE NOCASE)");
  Run("INSERT INTO n VALUES ('b'), ('A'), ('C')");
  EXPECT_EQ(Walk("[TABLE]n", {"a"}), (Texts{"A", "b", "C"}));
}

TEST_F(SqliteReach, TablesWithoutNumbersOfRowsAreReadByTheirKey) {
  Run("CREATE TABLE w (x TEXT COLLATE NOCASE, y INT, z, PRIMARY KEY (x, y)) WITHOUT ROWID");
  Run("INSERT INTO w VALUES ('a', 2, 1), ('A', 1, 2), ('b', 1, 3)");
  EXPECT_EQ(Keys("[TABLE]w"), "x, y unique primary\n");
  EXPECT_EQ(Walk("[TABLE]w", {"z"}), (Texts{"2,A,1", "1,a,2", "3,b,1"}));
}

TEST_F(SqliteReach, TheNumberOfTheRowIsFoundWhateverColumnsAreCalled) {
  Run("CREATE TABLE none (v)");
  Run("CREATE TABLE one (RowId, v)");
  Run("CREATE TABLE three (rowid, _ROWID_, oid, v)");
  Run("CREATE TABLE alias (oid INTEGER PRIMARY KEY, v)");
  for (const std::string table : {"none", "one", "three", "alias"}) {
    Run("INSERT INTO " + table + " (v) VALUES ('b'), ('a'), ('a')");
  }
  EXPECT_EQ(Walk("[TABLE]none", {"v"}), (Texts{"b", "a", "a"}));
  EXPECT_EQ(Walk("[TABLE]one", {"v"}), (Texts{"b", "a", "a"}));
  EXPECT_EQ(Walk("[TABLE]three", {"v"}), (Texts{"a", "a", "b"})) << "by all columns";
  EXPECT_EQ(Walk("[TABLE]alias", {"v"}), (Texts{"b,1", "a,2", "a,3"}));
  EXPECT_EQ(PrimaryKey("[TABLE]alias"), "oid 0");
  EXPECT_EQ(PrimaryKey("[TABLE]one"), " 1");
}

TEST_F(SqliteReach, APrimaryKeyThatMayBeNullTellsNoRowsApart) {
  Run("CREATE TABLE p (a TEXT PRIMARY KEY, v)");
  Run("INSERT INTO p VALUES (NULL, 1), (NULL, 2), ('a', 3)");
  EXPECT_EQ(Keys("[TABLE]p"), "a unique\n");
  EXPECT_EQ(Walk("[TABLE]p", {"v"}), (Texts{"1", "2", "3"}));
  Run("CREATE TABLE d (a INTEGER PRIMARY KEY DESC, v)");
  Run("INSERT INTO d VALUES (NULL, 1), (NULL, 2), (1, 3)");
  EXPECT_EQ(Walk("[TABLE]d", {"v"}), (Texts{"1", "2", "3"}));
}

TEST_F(SqliteReach, VirtualTablesAreReadByTheirColumns) {
  Run("CREATE VIRTUAL TABLE f USING fts5(x)");
  Run("INSERT INTO f VALUES ('b'), ('a'), ('a')");
  EXPECT_EQ(PrimaryKey("[TABLE]f"), " 1");
  EXPECT_EQ(Walk("[TABLE]f", {"x"}), (Texts{"a", "a", "b"}));
}

TEST_F(SqliteReach, FieldsTellTheirTypes) {
  Run("CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(30) NOT NULL, price DECIMAL(9,2))");
  EXPECT_EQ(Fields("[TABLE]t"), "id INTEGER 4 0 0\nname VARCHAR(30) 30 0 0\nprice DECIMAL(9,2) 9 2 1\n");
}

}  // namespace
}  // namespace ods::test
