#include "Tables.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "common/Text.h"

namespace ods::bench {

namespace {

constexpr std::array<const char*, 9> kColumns = {"no",     "name", "city",    "quantity", "total",
                                                 "amount", "day",  "changed", "note"};

/// What the products write in different ways. "$" stands for the number of rows.
struct ProductSql {
  const char* name;
  const char* timestamp;  ///< type of a moment without a time zone
  const char* with;       ///< before the SELECT
  const char* numbers;    ///< a source with a column n from 1 on
  const char* day;
  const char* moment;
  const char* text;      ///< "a" followed by the number n
  const char* longText;  ///< "x" so many times as "$" says
  const char* tail;      ///< of a CREATE TABLE that shall be quick
};

constexpr std::array<ProductSql, 3> kProducts = {{
    {"SQLite", "TIMESTAMP", "WITH RECURSIVE s(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM s WHERE n<$)", "s",
     "date('2020-01-01','+'||(n%1461)||' days')", "datetime('2020-01-01','+'||(n*37)||' seconds')", "'@'||n",
     "replace(hex(zeroblob($/2)),'0','x')", ""},
    {"PostgreSQL", "TIMESTAMP", "", "(SELECT generate_series(1,$::integer) AS n) AS s", "date '2020-01-01'+n%1461",
     "timestamp '2020-01-01'+n*interval '37 seconds'", "'@'||n", "repeat('x',$)", ""},
    {"MariaDB", "DATETIME", "", "(SELECT seq AS n FROM seq_1_to_$) AS s", "DATE_ADD('2020-01-01',INTERVAL n%1461 DAY)",
     "TIMESTAMPADD(SECOND,n*37,'2020-01-01')", "CONCAT('@',n)", "REPEAT('x',$)", " ENGINE=MyISAM"},
}};

std::string TableName(int rows) { return "pages_" + std::to_string(rows); }
constexpr const char* kLongTable = "pages_long";

void Run(const DataSession& session, const std::string& sql) { (void)session.connection->OpenRecordSet(sql, 0); }

const ProductSql& SqlOf(const std::string& product) {
  return *std::ranges::find(kProducts, std::string_view(product),
                            [](const ProductSql& each) { return std::string_view(each.name); });
}

/// "INSERT INTO <table> SELECT <columns>" for the numbers n from 1 to `rows`.
void Insert(const DataSession& session, const ProductSql& sql, const std::string& table, const std::string& columns,
            int rows) {
  const auto numbers = [&](const char* text) { return ReplaceAll(text, "$", std::to_string(rows)); };
  Run(session,
      "INSERT INTO " + table + " " + numbers(sql.with) + " SELECT " + columns + " FROM " + numbers(sql.numbers));
}

/// The start of a request for rows of a table.
std::string RequestOf(const std::string& table, int pageSize) {
  return "<XML><Type>TableData</Type><TableId>[TABLE]" + table + "</TableId><PrimaryKey>no</PrimaryKey><PageSize>" +
         std::to_string(pageSize) + "</PageSize>";
}

std::string Fields(const std::vector<const char*>& columns) {
  std::string text = "<Fields>";
  for (const char* column : columns) text += std::string("<Field><Id>") + column + "</Id></Field>";
  return text + "</Fields></XML>";
}

/// The number of the row before a page, from 1. It is one of those that are filtered and searched for: 4970 of 10,000.
int NumberBeforePage(int rows, int pageSize, const Place& place) {
  constexpr int kWhole = 100;
  constexpr int kBack = 30;
  const auto row = static_cast<int>(std::int64_t{rows} * place.percent / kWhole);
  return std::clamp(*place.elements == 0 ? row : row - kBack, 1, rows - pageSize);
}

}  // namespace

void MakeTable(const DataSession& session, const std::string& product, int rows) {
  const ProductSql& sql = SqlOf(product);
  const auto text = [&](const char* words) { return ReplaceAll(sql.text, "@", words); };
  const std::string table = TableName(rows);
  DropTable(session, rows);
  Run(session,
      "CREATE TABLE " + table +
          " (no INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40) NOT NULL, city VARCHAR(40), quantity INTEGER NOT "
          "NULL, total BIGINT NOT NULL, amount DECIMAL(12,2), day DATE NOT NULL, changed " +
          sql.timestamp + ", note VARCHAR(80))");
  Insert(session, sql, table,
         "n, " + text("Customer number ") +
             ", CASE WHEN n%5=0 THEN NULL ELSE 'Malmö' END, n%50, n*3000000001, CASE WHEN n%11=0 THEN NULL ELSE "
             "n*0.25 END, " +
             sql.day + ", CASE WHEN n%7=0 THEN NULL ELSE " + sql.moment + " END, CASE WHEN n%3=0 THEN NULL ELSE " +
             text("A note of some length on the row of the number ") + " END",
         rows);
  Run(session, "CREATE INDEX " + table + "_name ON " + table + " (name)");
  if (product == "PostgreSQL") Run(session, "VACUUM ANALYZE " + table);
}

void DropTable(const DataSession& session, int rows) { Run(session, "DROP TABLE IF EXISTS " + TableName(rows)); }

void MakeTableOfLongTexts(const DataSession& session, const std::string& product, int rows, int bytes) {
  const ProductSql& sql = SqlOf(product);
  const std::string table = kLongTable;
  DropTableOfLongTexts(session);
  Run(session, "CREATE TABLE " + table + " (no INTEGER NOT NULL PRIMARY KEY, note " +
                   (product == "MariaDB" ? "LONGTEXT" : "TEXT") + ")");
  Insert(session, sql, table, "n, " + ReplaceAll(sql.longText, "$", std::to_string(bytes)), rows);
}

void DropTableOfLongTexts(const DataSession& session) {
  Run(session, std::string("DROP TABLE IF EXISTS ") + kLongTable);
}

void MakeManyTables(const DataSession& session, const std::string& product, int count) {
  if (product == "SQLite") Run(session, "BEGIN");
  for (int i = 1; i <= count; ++i) {
    Run(session, "CREATE TABLE " + (kManyPrefix + std::to_string(i)) + " (no INTEGER NOT NULL PRIMARY KEY)" +
                     SqlOf(product).tail);
  }
  if (product == "SQLite") Run(session, "COMMIT");
}

void DropManyTables(const DataSession& session, const std::string& product, int count) {
  if (product == "SQLite") Run(session, "BEGIN");
  for (int i = 1; i <= count; ++i) Run(session, "DROP TABLE " + (kManyPrefix + std::to_string(i)));
  if (product == "SQLite") Run(session, "COMMIT");
}

std::string PageRequest(int rows, int pageSize, const Place& place, const std::string& lastPosition) {
  return RequestOf(TableName(rows), pageSize) + "<Navigate>" + place.navigate + "</Navigate><LastPos>" + lastPosition +
         "</LastPos>" + place.elements + Fields({kColumns.begin(), kColumns.end()});
}

std::string RowBeforePage(int rows, int pageSize, const Place& place) {
  const std::string number = std::to_string(NumberBeforePage(rows, pageSize, place));
  // The order belongs to a position; filter and search would be in the way of this filter.
  const bool sorted = std::string_view(place.elements).starts_with("<Sort");
  return RequestOf(TableName(rows), 1) + (sorted ? place.elements : "") +
         "<Filter><Condition><FieldId>no</FieldId><FilterOp>eq</FilterOp><Filter>" + number +
         "</Filter></Condition></Filter>" + Fields({kColumns.begin(), kColumns.end()});
}

std::string LongTextsRequest(int rows) { return RequestOf(kLongTable, rows) + Fields({"no", "note"}); }

}  // namespace ods::bench
