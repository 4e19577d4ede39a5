#include "platform/ado/NativeStatement.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace ods {
namespace {

struct Case {
  std::string sql;
  std::int32_t maxRecords;
  std::string expected;
};

std::string Native(std::string_view dbmsName, const std::string& sql, std::int32_t maxRecords) {
  return NativeStatement(odbc::RuleOfProduct(dbmsName).native, sql, maxRecords);
}

void ExpectAll(std::string_view dbmsName, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(Native(dbmsName, c.sql, c.maxRecords), c.expected) << "of: " << c.sql;
  }
}

TEST(NativeStatement, EveryOtherProductGetsTheStatementByteForByte) {
  const std::vector<std::string> statements = {
      "SELECT UCASE(a), 0x0A1B FROM t;", "", "'unterminated", "SELECT \"a", "/*", std::string("a\0b", 3)};
  for (const char* name : {"mariadb", "MySQL", "Microsoft SQL Server", "ACCESS", "EXCEL", "", "postgresql", "sqlite",
                           "PostgreSQL 15", "SQLite3"}) {
    for (const std::string& sql : statements) EXPECT_EQ(Native(name, sql, 5), sql) << name;
  }
}

TEST(NativeStatement, PostgreSqlGetsTheRecordLimitInTheText) {
  ExpectAll("PostgreSQL",
            {
                {"SELECT a FROM t", 5, "SELECT a FROM t LIMIT 5"},
                {"select a from t", 2147483647, "select a from t LIMIT 2147483647"},
                {"SELECT a FROM t", 0, "SELECT a FROM t"},
                {"SELECT a FROM t", -1, "SELECT a FROM t"},
                {"  \t\r\n SELECT 1", 5, "  \t\r\n SELECT 1 LIMIT 5"},
                {"/* c */ -- d\nSELECT 1", 5, "/* c */ -- d\nSELECT 1 LIMIT 5"},
                {"WITH q AS (SELECT 1) SELECT * FROM q", 5, "WITH q AS (SELECT 1) SELECT * FROM q LIMIT 5"},
                {"VALUES (1), (2)", 5, "VALUES (1), (2) LIMIT 5"},
                {"(SELECT 1) UNION (SELECT 2)", 5, "(SELECT 1) UNION (SELECT 2) LIMIT 5"},
                {"SELECT a FROM t ORDER BY a OFFSET 3", 5, "SELECT a FROM t ORDER BY a OFFSET 3 LIMIT 5"},
                {"SELECT * FROM (SELECT a FROM t LIMIT 9) q", 5, "SELECT * FROM (SELECT a FROM t LIMIT 9) q LIMIT 5"},
                {"SELECT \"LIMIT\" FROM t", 5, "SELECT \"LIMIT\" FROM t LIMIT 5"},
                {"SELECT 'x LIMIT 3' FROM t", 5, "SELECT 'x LIMIT 3' FROM t LIMIT 5"},
                {"SELECT t.limit FROM t", 5, "SELECT t.limit FROM t LIMIT 5"},
                {"SELECT limits FROM t", 5, "SELECT limits FROM t LIMIT 5"},
                {"SELECT a FROM t /* LIMIT 3 */", 5, "SELECT a FROM t /* LIMIT 3 */ LIMIT 5"},
            });
}

TEST(NativeStatement, MariaDbGetsTheRecordLimitInTheTextAndNothingElse) {
  ExpectAll("MariaDB",
            {
                {"SELECT UCASE(a), 0x0A1B FROM t", 5, "SELECT UCASE(a), 0x0A1B FROM t LIMIT 5"},
                {"SELECT a FROM t LIMIT 3", 5, "SELECT a FROM t LIMIT 3"},
                {"SELECT a FROM (SELECT a FROM t LIMIT 3) q;", 5, "SELECT a FROM (SELECT a FROM t LIMIT 3) q LIMIT 5"},
                {"SELECT `LIMIT`, \"LIMIT\" FROM t # LIMIT", 5, "SELECT `LIMIT`, \"LIMIT\" FROM t # LIMIT\nLIMIT 5"},
                {"SELECT 5--3 FROM t", 5, "SELECT 5--3 FROM t LIMIT 5"},
                {"SELECT 5 -- LIMIT", 5, "SELECT 5 -- LIMIT\nLIMIT 5"},
                {"SELECT a FROM t /*! LIMIT 3 */", 5, "SELECT a FROM t /*! LIMIT 3 */"},
                {"SELECT a FROM t FOR UPDATE", 5, "SELECT a FROM t FOR UPDATE"},
                {"SELECT 'a\\' FROM t", 5, "SELECT 'a\\' FROM t LIMIT 5"},
                {"SHOW VARIABLES", 5, "SHOW VARIABLES"},
            });
}

TEST(NativeStatement, PostgreSqlGetsNoSecondLimitAndNoneWhereItDoesNotBelong) {
  for (const char* sql : {
           "SELECT a FROM t LIMIT 3",
           "SELECT a FROM t limit 3",
           "SELECT a FROM t FETCH FIRST 3 ROWS ONLY",
           "INSERT INTO t VALUES (1)",
           "UPDATE t SET a = 1",
           "DELETE FROM t",
           "CREATE TABLE t (a int)",
           "SHOW server_version",
           "SELECT a INTO u FROM t",
           "WITH q AS (SELECT 1) INSERT INTO t SELECT * FROM q",
           "WITH q AS (SELECT 1) DELETE FROM t",
           "SELECT 1; SELECT 2",
           "SELECT 1; DELETE FROM t;",
           ";SELECT 1",
           "",
           "   ",
           "-- SELECT",
           "SELECTED",
           "\"SELECT\" 1",
           "'SELECT'",
           ";",
           "SELECT 'x",
           "SELECT \"x",
           "SELECT /* x",
           "SELECT $$ x",
           "SELECT $a$ x $b$",
           "SELECT /* /* x */",
       }) {
    EXPECT_EQ(Native("PostgreSQL", sql, 5), sql);
  }
}

TEST(NativeStatement, ATrailingSemicolonMakesRoomForTheLimit) {
  ExpectAll("PostgreSQL", {
                              {"SELECT 1;", 5, "SELECT 1 LIMIT 5"},
                              {"SELECT 1 ; ", 5, "SELECT 1 LIMIT 5"},
                              {"SELECT 1;; ;", 5, "SELECT 1 LIMIT 5"},
                              {"SELECT 1; /* c; */", 5, "SELECT 1 /* c; */ LIMIT 5"},
                              {"SELECT 1;", 0, "SELECT 1;"},
                              {"SELECT ';' FROM t", 5, "SELECT ';' FROM t LIMIT 5"},
                          });
}

TEST(NativeStatement, ATrailingLineCommentDoesNotSwallowTheLimit) {
  ExpectAll("PostgreSQL", {
                              {"SELECT 1 -- c", 5, "SELECT 1 -- c\nLIMIT 5"},
                              {"SELECT 1 -- c\n", 5, "SELECT 1 -- c\nLIMIT 5"},
                              {"SELECT 1; -- c", 5, "SELECT 1 -- c\nLIMIT 5"},
                              {"SELECT 1 -- c\n;", 5, "SELECT 1 -- c\nLIMIT 5"},
                              {"SELECT 1 -- c\n /* d */", 5, "SELECT 1 -- c\n /* d */ LIMIT 5"},
                              {"SELECT 1 -- c\n FROM t", 5, "SELECT 1 -- c\n FROM t LIMIT 5"},
                              {"SELECT 1 -- c\rFROM t LIMIT 2", 5, "SELECT 1 -- c\rFROM t LIMIT 2"},
                              {"SELECT 1 - -1", 5, "SELECT 1 - -1 LIMIT 5"},
                          });
}

TEST(NativeStatement, SqliteHandsTheLimitOnItself) {
  EXPECT_EQ(Native("SQLite", "SELECT a FROM t;", 5), "SELECT a FROM t;");
}

TEST(NativeStatement, UcaseBecomesUpper) {
  for (const char* product : {"PostgreSQL", "SQLite"}) {
    ExpectAll(product, {
                           {"SELECT UCASE(a)", 0, "SELECT UPPER(a)"},
                           {"ucase(a) uCaSe (b) UCASE\t\n(c)", 0, "UPPER(a) UPPER (b) UPPER\t\n(c)"},
                           {"UCASE(UCASE(a))", 0, "UPPER(UPPER(a))"},
                           {"{fn UCASE(a)}", 0, "{fn UPPER(a)}"},
                           {"a=UCASE('UCASE(x)')", 0, "a=UPPER('UCASE(x)')"},
                           {"UCASE", 0, "UCASE"},
                           {"UCASE + (1)", 0, "UCASE + (1)"},
                           {"UCASE   ", 0, "UCASE   "},
                           {"xUCASE(a) UCASEx(a) _UCASE(a) UCASE1(a) \xC3\xA4UCASE(a)", 0,
                            "xUCASE(a) UCASEx(a) _UCASE(a) UCASE1(a) \xC3\xA4UCASE(a)"},
                           {"s.UCASE(a) s . UCASE(a)", 0, "s.UCASE(a) s . UCASE(a)"},
                           {"\"UCASE\"(a)", 0, "\"UCASE\"(a)"},
                           {"-- UCASE(a)\nUCASE(b)", 0, "-- UCASE(a)\nUPPER(b)"},
                           {"/* UCASE(a) */UCASE(b)", 0, "/* UCASE(a) */UPPER(b)"},
                       });
  }
}

TEST(NativeStatement, BinaryLiteralsTakeTheProductsForm) {
  ExpectAll("SQLite",
            {
                {"a = 0x0A1B", 0, "a = X'0A1B'"},
                {"a = 0x", 0, "a = X''"},
                {"(0xff,0XFF)", 0, "(X'ff',X'FF')"},
                {"0x0A1", 0, "0x0A1"},
                {"0x0A1G", 0, "0x0A1G"},
                {"a0x0A 10x0A 0x0A.5 5.0x0A 0x0A_1", 0, "a0x0A 10x0A 0x0A.5 5.0x0A 0x0A_1"},
                {"'0x0A' \"0x0A\" `0x0A` [0x0A] /*0x0A*/ --0x0A", 0, "'0x0A' \"0x0A\" `0x0A` [0x0A] /*0x0A*/ --0x0A"},
                {"0 1 23 1.5 1e5 x'0A'", 0, "0 1 23 1.5 1e5 x'0A'"},
            });
  ExpectAll("PostgreSQL", {
                              {"a = 0x0A1B", 0, "a = '\\x0A1B'::bytea"},
                              {"a = 0x", 0, "a = '\\x'::bytea"},
                              {"SELECT a FROM t WHERE b=0x01", 7, "SELECT a FROM t WHERE b='\\x01'::bytea LIMIT 7"},
                              {"'0x0A' \"0x0A\" $$0x0A$$ E'\\'0x0A'", 0, "'0x0A' \"0x0A\" $$0x0A$$ E'\\'0x0A'"},
                              {"a[0x0A]", 0, "a['\\x0A'::bytea]"},
                          });
}

TEST(NativeStatement, LiteralsAndQuotedNamesEndWhereTheProductEndsThem) {
  ExpectAll("SQLite", {
                          {"'it''s UCASE(' UCASE(a)", 0, "'it''s UCASE(' UPPER(a)"},
                          {"\"a\"\"UCASE(\" UCASE(a)", 0, "\"a\"\"UCASE(\" UPPER(a)"},
                          {"`a``UCASE(` UCASE(a)", 0, "`a``UCASE(` UPPER(a)"},
                          {"[a'b] UCASE(a)", 0, "[a'b] UPPER(a)"},
                          {"E'\\' UCASE(a)", 0, "E'\\' UPPER(a)"},
                          {"/* /* */ UCASE(a) */", 0, "/* /* */ UPPER(a) */"},
                          {"'' UCASE(a)", 0, "'' UPPER(a)"},
                      });
  ExpectAll("PostgreSQL", {
                              {"'\\' UCASE(a)", 0, "'\\' UPPER(a)"},
                              {"E'\\' UCASE(' UCASE(a)", 0, "E'\\' UCASE(' UPPER(a)"},
                              {"e'a''\\'UCASE(' UCASE(a)", 0, "e'a''\\'UCASE(' UPPER(a)"},
                              {"fe'\\' UCASE(a)", 0, "fe'\\' UPPER(a)"},
                              {"$$ UCASE( $$ UCASE(a)", 0, "$$ UCASE( $$ UPPER(a)"},
                              {"$q$ $$ UCASE( $Q$ $q$ UCASE(a)", 0, "$q$ $$ UCASE( $Q$ $q$ UPPER(a)"},
                              {"a$q$ UCASE(a) $q$", 0, "a$q$ UPPER(a) $q$"},
                              {"$1 UCASE(a) $1", 0, "$1 UPPER(a) $1"},
                              {"$ UCASE(a)", 0, "$ UPPER(a)"},
                              {"/* /* */ UCASE( */ UCASE(a)", 0, "/* /* */ UCASE( */ UPPER(a)"},
                              {"a['x'] UCASE(a)", 0, "a['x'] UPPER(a)"},
                          });
}

TEST(NativeStatement, UnterminatedTextsStayAsTheyAre) {
  for (const char* tail : {"'UCASE(a) 0x0A", "\"UCASE(a) 0x0A", "/* UCASE(a) 0x0A", "'a''", "'"}) {
    for (const char* product : {"PostgreSQL", "SQLite"}) {
      EXPECT_EQ(Native(product, std::string("SELECT UCASE(b), ") + tail, 5), std::string("SELECT UPPER(b), ") + tail);
    }
  }
  EXPECT_EQ(Native("PostgreSQL", "E'a\\", 5), "E'a\\");
  EXPECT_EQ(Native("PostgreSQL", "$tag", 5), "$tag");
  EXPECT_EQ(Native("PostgreSQL", "$", 5), "$");
  EXPECT_EQ(Native("SQLite", "[UCASE(a)", 5), "[UCASE(a)");
}

/// A piece of a statement and what becomes of it, by product.
struct Piece {
  std::string written;
  std::string onPostgreSql;
  std::string onMariaDb;
  std::string onSqlite;
};

Piece Same(const std::string& text) { return {text, text, text, text}; }

// Whatever stands beside it, each piece becomes what it becomes alone, and the limit stands behind all of them.
TEST(NativeStatement, AStatementIsRewrittenPieceByPiece) {
  const std::vector<Piece> pieces = {
      {"UCASE(a)", "UPPER(a)", "UCASE(a)", "UPPER(a)"},
      {"ucase (0xfF)", "UPPER ('\\xfF'::bytea)", "ucase (0xfF)", "UPPER (X'fF')"},
      {"0x0A1B", "'\\x0A1B'::bytea", "0x0A1B", "X'0A1B'"},
      {"f('UCASE(', UCASE(b))", "f('UCASE(', UPPER(b))", "f('UCASE(', UCASE(b))", "f('UCASE(', UPPER(b))"},
      Same("t.UCASE(a)"),
      Same("t.0x0A"),
      Same("0x0A.5"),
      Same("'it''s 0x0A -- UCASE( /*'"),
      Same("\"0x0A \"\"UCASE(\""),
      Same("/* UCASE( 0x0A ' */"),
      Same("-- UCASE( 0x0A '\n"),
      Same("(SELECT a FROM t LIMIT 3)"),
      Same("t . limit"),
      Same("'\\'"),
      Same("'\xE2\x98\x83'"),
      Same("1e5 * 2.5 - -1 <> x"),
  };
  struct Product {
    const char* name;
    std::string Piece::*result;
    bool limits;
  };
  const Product products[] = {{"PostgreSQL", &Piece::onPostgreSql, true},
                              {"MariaDB", &Piece::onMariaDb, true},
                              {"SQLite", &Piece::onSqlite, false}};
  std::mt19937 random(20240101);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same statements every time
  for (int round = 0; round < 2000; ++round) {
    std::vector<Piece> chosen(random() % 12);
    for (Piece& piece : chosen) piece = pieces[random() % pieces.size()];
    for (const Product& product : products) {
      std::string sql = "SELECT 1";
      std::string expected = sql;
      for (const Piece& piece : chosen) {
        sql += " " + piece.written;
        expected += " " + piece.*product.result;
      }
      EXPECT_EQ(Native(product.name, sql, 0), expected) << product.name;
      if (product.limits) {
        const std::size_t end = expected.find_last_not_of(" \n");
        const bool inComment = expected.back() == '\n';
        expected = expected.substr(0, end + 1) + (inComment ? "\n" : " ") + "LIMIT 7";
        EXPECT_EQ(Native(product.name, sql + ";", 7), expected) << product.name;
      }
      EXPECT_EQ(Native(product.name, sql, 7), expected) << product.name;
    }
  }
}

// Each text is of the kind that makes a scanner look again and again at what it has seen; a quadratic one would take
// minutes.
TEST(NativeStatement, LongHostileStatementsTakeOnePass) {
  constexpr std::size_t kRepeats = 300000;
  const auto start = std::chrono::steady_clock::now();
  for (const char* piece :
       {"$a", "$a$", "$", "UCASE ", "/*", "/* */", "'", "''", ";", "0x", "E'", "(", "\"", "--", "-- \n"}) {
    std::string sql = "SELECT 1 ";
    for (std::size_t i = 0; i < kRepeats; ++i) sql += piece;
    for (const char* product : {"PostgreSQL", "SQLite"}) {
      EXPECT_GE(Native(product, sql, 5).size(), std::string("SELECT 1 LIMIT 5").size());
    }
  }
  const std::string blanks = "SELECT UCASE" + std::string(2000000, ' ');
  EXPECT_EQ(Native("SQLite", blanks, 5), blanks);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace ods
