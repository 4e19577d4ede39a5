#include "Tables.h"

#include <algorithm>
#include <string_view>

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
  const char* text;  ///< "a" followed by the number n
};

constexpr std::array<ProductSql, 3> kProducts = {{
    {"SQLite", "TIMESTAMP", "WITH RECURSIVE s(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM s WHERE n<$)", "s",
     "date('2020-01-01','+'||(n%1461)||' days')", "datetime('2020-01-01','+'||(n*37)||' seconds')", "'@'||n"},
    {"PostgreSQL", "TIMESTAMP", "", "(SELECT generate_series(1,$::integer) AS n) AS s", "date '2020-01-01'+n%1461",
     "timestamp '2020-01-01'+n*interval '37 seconds'", "'@'||n"},
    {"MariaDB", "DATETIME", "", "(SELECT seq AS n FROM seq_1_to_$) AS s", "DATE_ADD('2020-01-01',INTERVAL n%1461 DAY)",
     "TIMESTAMPADD(SECOND,n*37,'2020-01-01')", "CONCAT('@',n)"},
}};

std::string TableName(int rows) { return "pages_" + std::to_string(rows); }

void Run(const DataSession& session, const std::string& sql) { (void)session.connection->OpenRecordSet(sql, 0); }

}  // namespace

void MakeTable(const DataSession& session, const std::string& product, int rows) {
  const auto& sql = *std::ranges::find(kProducts, std::string_view(product),
                                       [](const ProductSql& each) { return std::string_view(each.name); });
  const auto text = [&](const char* words) { return ReplaceAll(sql.text, "@", words); };
  const std::string table = TableName(rows);
  DropTable(session, rows);
  Run(session,
      "CREATE TABLE " + table +
          " (no INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40) NOT NULL, city VARCHAR(40), quantity INTEGER NOT "
          "NULL, total BIGINT NOT NULL, amount DECIMAL(12,2), day DATE NOT NULL, changed " +
          sql.timestamp + ", note VARCHAR(80))");
  Run(session, "INSERT INTO " + table + " " + ReplaceAll(sql.with, "$", std::to_string(rows)) + " SELECT n, " +
                   text("Customer number ") +
                   ", CASE WHEN n%5=0 THEN NULL ELSE 'Malmö' END, n%50, n*3000000001, CASE WHEN n%11=0 THEN NULL ELSE "
                   "n*0.25 END, " +
                   sql.day + ", CASE WHEN n%7=0 THEN NULL ELSE " + sql.moment +
                   " END, CASE WHEN n%3=0 THEN NULL ELSE " + text("A note of some length on the row of the number ") +
                   " END FROM " + ReplaceAll(sql.numbers, "$", std::to_string(rows)));
  if (product == "PostgreSQL") Run(session, "VACUUM ANALYZE " + table);
}

void DropTable(const DataSession& session, int rows) { Run(session, "DROP TABLE IF EXISTS " + TableName(rows)); }

std::string PageRequest(int rows, int pageSize, const std::string& lastPosition) {
  std::string text = "<XML><Type>TableData</Type><TableId>[TABLE]" + TableName(rows) +
                     "</TableId><PrimaryKey>no</PrimaryKey><PageSize>" + std::to_string(pageSize) + "</PageSize>";
  if (!lastPosition.empty()) text += "<Navigate>gotonext</Navigate><LastPos>" + lastPosition + "</LastPos>";
  text += "<Fields>";
  for (const char* column : kColumns) text += std::string("<Field><Id>") + column + "</Id></Field>";
  return text + "</Fields></XML>";
}

int NumberBeforePage(int rows, int pageSize, const Place& place) {
  constexpr int kWhole = 100;
  const auto row = static_cast<int>(std::int64_t{rows} * place.percent / kWhole);
  return std::clamp(row, 1, rows - pageSize);
}

std::string RowBeforePage(int rows, int pageSize, const Place& place) {
  return ReplaceAll(PageRequest(rows, 1, ""), "<Fields>",
                    "<Filter><Condition><FieldId>no</FieldId><FilterOp>eq</FilterOp><Filter>" +
                        std::to_string(NumberBeforePage(rows, pageSize, place)) +
                        "</Filter></Condition></Filter><Fields>");
}

}  // namespace ods::bench
